#include "tests/docs/ExamplePage.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/support/Sandbox.h"
#include "tests/support/XDisplay.h"

namespace fs = std::filesystem;
namespace user = test_support::user;

namespace docs {

namespace {

// A text that the page's script reads as it stands.
std::string textElement(const std::string& id, const std::string& text) {
  return "<script type=\"text/plain\" id=\"" + id + "\">" + text + "</script>\n";
}

}  // namespace

std::vector<Example> promiseExamples(bool dropping) {
  std::vector<Example> examples = readExamples(kPromiseApi);
  const auto isOther = [dropping](const Example& example) {
    return dropping != (example.user.rfind("drop", 0) == 0);
  };
  examples.erase(std::remove_if(examples.begin(), examples.end(), isOther), examples.end());
  return examples;
}

void writeFiles(const std::string& home) {
  for (const char* folder : {"/picked", "/received"}) {
    fs::create_directories(home + folder);
  }
  for (const char* name : {"notes.txt", "report.pdf", "at 9:30.txt"}) {
    test_support::writeFile(home + "/" + name, name);
  }
}

std::string embedElement(const Example& example, const std::map<std::string, std::string>& given) {
  std::string attributes = example.parameters.empty() ? " type=\"application/x-orvane-web\"" : "";
  for (auto [name, value] : example.parameters) {
    const auto text =
        value.front() == '{' ? given.find(value.substr(1, value.size() - 2)) : given.end();
    value = text != given.end() ? text->second : value;
    attributes.append(" ").append(name).append("=\"").append(value).append("\"");
  }
  return "<embed" + attributes + ">\n";
}

std::string promisePage(const Example& example, const std::map<std::string, std::string>& given,
                        const std::string& print) {
  std::string page = "<!DOCTYPE html>\n<meta charset=\"utf-8\">\n<title>" + example.name +
                     "</title>\n<body>\n" + embedElement(example, given) +
                     textElement("module", readProjectFile("web/orvane-web.mjs")) +
                     textElement("example", example.script);
  std::string names = "plugin: document.querySelector('embed')";
  for (const auto& [name, text] : given) {
    page += textElement(name, text);
    names.append(", ").append(name).append(": textOf('").append(name).append("')");
  }
  return page + "<script>\n" + readProjectFile("tests/docs/promise_runner.js") +
         "function textOf(id) { return document.getElementById(id).textContent; }\n"
         "runExample(textOf('module'), textOf('example'), { " +
         names + " }, " + print + ");\n</script>\n";
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
