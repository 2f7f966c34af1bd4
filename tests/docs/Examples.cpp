#include "tests/docs/Examples.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "tests/support/Sandbox.h"
#include "tests/support/XDisplay.h"

namespace fs = std::filesystem;
namespace user = test_support::user;

namespace docs {

namespace {

std::vector<std::pair<std::string, std::string>> readParameters(const std::string& html) {
  static const std::regex attribute("([a-z-]+)=\"([^\"]*)\"");
  std::vector<std::pair<std::string, std::string>> parameters;
  for (std::sregex_iterator found(html.begin(), html.end(), attribute), end; found != end;
       ++found) {
    parameters.emplace_back((*found)[1], (*found)[2]);
  }
  return parameters;
}

std::vector<std::string> printsOf(const std::string& script) {
  static const std::regex prints("// prints: (.*)");
  return {std::sregex_token_iterator(script.begin(), script.end(), prints, 1), {}};
}

bool matches(const std::string& line, const std::string& pattern) {
  static const std::regex special(R"([[\](){}.*+?^$|\\])"), gap("…");
  const std::string plain = std::regex_replace(pattern, special, "\\$&");
  return std::regex_match(line, std::regex(std::regex_replace(plain, gap, ".*")));
}

}  // namespace

void PrintTo(const Example& example, std::ostream* out) {
  *out << example.name;
}

std::string readProjectFile(const std::string& path) {
  const std::string content = test_support::readFile(PROJECT_DIRECTORY "/" + path);
  if (content.empty()) {
    throw std::runtime_error("no file " + path);
  }
  return content;
}

std::string firstPage(const std::string& document) {
  const std::string text = readProjectFile(document);
  const size_t begin = text.find("<!DOCTYPE html>");
  return text.substr(begin, text.find("```", begin) - begin);
}

std::vector<Example> readExamples(const std::string& path) {
  // A heading, an "html" block, or a "js" block, which should have a marker.
  static const std::regex part(
      "\n#|```html\n([\\s\\S]*?)\n```\n|"
      "(?:<!-- example: ([\\w-]+)(?:; user: (.*))? -->\n)?```js\n([\\s\\S]*?\n)```\n");
  const std::string page = readProjectFile(path);
  std::vector<std::pair<std::string, std::string>> parameters;
  std::vector<Example> examples;
  for (std::sregex_iterator at(page.begin(), page.end(), part), end; at != end; ++at) {
    if (!(*at)[4].matched) {
      parameters = readParameters((*at)[1]);
      continue;
    }
    const std::string script = (*at)[4];
    examples.push_back({path, (*at)[2], (*at)[3], parameters, script, printsOf(script)});
    if (examples.back().name.empty() || examples.back().prints.empty()) {
      throw std::runtime_error("an example without a name, or that prints nothing:\n" + script);
    }
  }
  return examples;
}

std::string scriptOf(const Example& example) {
  const std::string& script = example.script;
  const bool connects = script.find("const orvane = ") != std::string::npos ||
                        script.find("orvane") == std::string::npos;
  return !example.awaits()
             ? script
             : "(async () => {\n" +
                   std::string(connects ? "" : "const orvane = await connect(plugin);\n") + script +
                   "})().catch((error) => console.log('thrown: ' + error));\n";
}

void writeFiles(const std::string& home) {
  for (const char* folder : {"/picked", "/received"}) {
    fs::create_directories(home + folder);
  }
  for (const char* name : {"notes.txt", "report.pdf", "at 9:30.txt"}) {
    test_support::writeFile(home + "/" + name, name);
  }
}

void act(const std::string& step, const std::string& home) {
  const size_t blank = std::min(step.find(' '), step.size());
  const std::string what = step.substr(0, blank);
  const std::string object = blank < step.size() ? step.substr(blank + 1) : "";
  const std::map<std::string, std::string> titles = {
      {"open", "Open"}, {"folder", "Select Folder"}, {"save", "Save As"}};
  const auto dialog = titles.find(what);
  if (dialog != titles.end()) {
    user::choosePath(dialog->second, home + "/" + object);
  } else if (what == "cancel") {
    user::cancel(object);
  } else if (what == "window") {
    user::waitForWindow(object);
  } else if (!what.empty()) {
    throw std::runtime_error("nobody knows how to " + step);
  }
}

std::string difference(const Example& example, const std::string& printed) {
  std::string said;
  std::vector<std::string> expected = example.prints;
  std::istringstream lines(printed);
  for (std::string line; std::getline(lines, line);) {
    const auto found = std::find_if(expected.begin(), expected.end(),
                                    [&](const auto& pattern) { return matches(line, pattern); });
    if (found == expected.end()) {
      said += "not expected: " + line + "\n";
    } else {
      expected.erase(found);
    }
  }
  for (const std::string& line : expected) {
    said += "missing: " + line + "\n";
  }
  return said;
}

}  // namespace docs
