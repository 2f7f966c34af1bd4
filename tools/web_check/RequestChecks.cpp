#include <string>

#include "plugin/src/HttpRequest.h"
#include "plugin/src/Json.h"
#include "plugin/src/Utils.h"
#include "tools/web_check/Check.h"
#include "tools/web_check/Exchange.h"

using Pellion::Web::HttpRequest;
using Pellion::Web::Json;
using Pellion::Web::Utils::apiPath;

namespace web_check {

namespace {

constexpr char kActivityBody[] =
    "{\n"
    "    \"iteration_token\": \"\",\n"
    "    \"orvane_pellion_settings\" : {\n"
    "        \"app_id\": \"orvane-web-check\"\n"
    "    }\n"
    "}\n";
constexpr char kRestart[] =
    "end the application and start it again; when that does not help, install it anew";
constexpr unsigned short kSuccess = 200;

std::string member(const Json& json, const char* name) {
  const char* path[] = {name, nullptr};
  return json.getString(path);
}

// Asks for a JSON document. False, with the finding that says why, when there is none.
bool ask(const Context& context, const std::string& method, const std::string& path,
         const std::string& body, Json* json, Finding* finding) {
  const std::string seen = method + " " + path + ": ";
  const Exchange exchange = request(context.host, context.port, method, path, body);
  if (exchange.tooLarge) {
    *finding = Finding::failed(seen + "the answer has more than 64 MiB", kRestart);
    return false;
  }
  if (exchange.reached != Reached::kAnswer) {
    *finding = Finding::failed(
        seen + "no answer (" + exchange.error + "), so a page waits for ever", kRestart);
    return false;
  }
  const std::string text = exchange.response->data();
  const unsigned short status = exchange.response->statusCode();
  if (status != kSuccess || !json->parse(text) || json->containsError()) {
    *finding = Finding::failed(
        seen + "status " + std::to_string(status) + ", " + quote(text),
        std::string("another program may have this port: look which one; else ") + kRestart);
    return false;
  }
  return true;
}

}  // namespace

Finding checkPort(Context* context) {
  const std::string where = context->host + ":" + std::to_string(context->port);
  const Exchange exchange = tryConnect(context->host, context->port);
  if (exchange.reached == Reached::kConnection) {
    return Finding::ok(where + " takes connections");
  }
  if (exchange.refused) {
    return Finding::pause("the application does not run (nothing listens at " + where + ")",
                          kStart);
  }
  return Finding::failed(where + ": " + exchange.error,
                         "let your firewall and security policies pass connections to it");
}

Finding checkVersion(Context* context) {
  Json json;
  Finding finding;
  if (!ask(*context, HttpRequest::kGetMethod, apiPath("/pellion/version"), "", &json, &finding)) {
    return finding;
  }
  const std::string version = member(json, "version");
  return version.empty() ? Finding::warning("it answers, but names no version", kRestart)
                         : Finding::ok("version " + version + " answers");
}

Finding checkActivity(Context* context) {
  Json json;
  Finding finding;
  if (!ask(*context, HttpRequest::kPostMethod, apiPath("/transfers/activity"), kActivityBody, &json,
           &finding)) {
    return finding;
  }
  const std::string token = member(json, "iteration_token");
  return token.empty()
             ? Finding::warning("it answers without a token, so each report tells everything again",
                                kRestart)
             : Finding::ok("transfer events are reported");
}

}  // namespace web_check
