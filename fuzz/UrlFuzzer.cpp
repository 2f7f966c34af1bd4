// Url: the fields of any text, and a URL put together from parts.
#include "fuzz/FuzzInput.h"
#include "plugin/src/Url.h"

using Pellion::Web::Url;

namespace {

void checkFields(const Url& url, const std::string& text) {
  const size_t schemeEnd = text.find("://");
  FUZZ_CHECK(url.valid() == (schemeEnd != std::string::npos));
  FUZZ_CHECK(url.url() == (url.valid() ? text : ""));
  FUZZ_CHECK(url.scheme() == (url.valid() ? text.substr(0, schemeEnd) : ""));
  const std::string rest = url.valid() ? text.substr(schemeEnd + 3) : "";
  for (const std::string* field :
       {&url.host(), &url.user(), &url.password(), &url.path(), &url.query()}) {
    FUZZ_CHECK(contains(rest, *field));
  }
  FUZZ_CHECK(rest.substr(rest.size() - url.query().size()) == url.query());
  FUZZ_CHECK(!contains(url.path(), "?"));
  FUZZ_CHECK(url.port(7) == (url.port(0) == 0 ? 7 : url.port(0)));
}

bool isSame(const Url& a, const Url& b) {
  return a.url() == b.url() && a.host() == b.host() && a.port(0) == b.port(0) &&
         a.user() == b.user() && a.password() == b.password() && a.path() == b.path() &&
         a.query() == b.query() && a.scheme() == b.scheme();
}

// A part without any delimiter, and never empty.
std::string part(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return contains("@:/?", {c}); }, '.');
  return "x" + text;
}

void checkParts(FuzzInput* input) {
  const uint16_t port = input->word();
  const bool named = input->flag();
  const bool secret = named && input->flag();
  const std::string scheme = part(input->text());
  const std::string user = named ? part(input->text()) : "";
  const std::string password = secret ? part(input->text()) : "";
  const std::string host = part(input->text());
  const std::string path = part(input->text());
  const std::string query = input->text();
  const std::string login = named ? user + (secret ? ":" + password : "") + "@" : "";
  const Url url(scheme + "://" + login + host + ":" + std::to_string(port) + "/" + path + "?" +
                query);
  FUZZ_CHECK(url.scheme() == scheme && url.query() == query);
  // An '@' behind the host is taken for the end of a user's name.
  FUZZ_CHECK(contains(query, "@") ||
             (url.path() == path && url.host() == host && url.port(0) == port &&
              url.user() == user && url.password() == password));
}

}  // namespace

void tryInput(FuzzInput input) {
  const Url url(input.whole());
  checkFields(url, input.whole());
  Url other("http://u:p@host:1/x?y");
  other.parse(input.whole());
  FUZZ_CHECK(isSame(url, other));
  other.clear();
  FUZZ_CHECK(isSame(other, Url()));
  checkParts(&input);
}
