#include "tests/docs/Examples.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace docs {

namespace {

const char kPrints[] = "// prints: ";
const char kAnyText[] = "…";

std::vector<std::pair<std::string, std::string>> readParameters(const std::string& html) {
  static const std::regex attribute("([a-z-]+)=\"([^\"]*)\"");
  std::vector<std::pair<std::string, std::string>> parameters;
  for (std::sregex_iterator found(html.begin(), html.end(), attribute), end; found != end;
       ++found) {
    parameters.emplace_back((*found)[1], (*found)[2]);
  }
  return parameters;
}

// Reads a page line by line.
class Reader {
 public:
  explicit Reader(std::string page) : _page(std::move(page)), _lines(_page) {}

  std::vector<Example> read() {
    for (std::string line; std::getline(_lines, line);) {
      readLine(line);
    }
    return std::move(_examples);
  }

 private:
  void readLine(const std::string& line) {
    static const std::regex marker("<!-- example: ([\\w-]+)(; user: (.*))? -->");
    std::smatch parts;
    if (line.rfind("#", 0) == 0) {
      _parameters.clear();
    } else if (std::regex_match(line, parts, marker)) {
      _next.name = parts[1];
      _next.user = parts[3];
    } else if (line == "```js") {
      readScript();
    } else if (line.rfind("```", 0) == 0) {
      const std::string block = readBlock();
      if (line == "```html") {
        _parameters = readParameters(block);
      }
    }
  }

  std::string readBlock() {
    std::string block;
    for (std::string line; std::getline(_lines, line) && line != "```";) {
      block += line + "\n";
    }
    return block;
  }

  void readScript() {
    _next.script = readBlock();
    _next.parameters = _parameters;
    std::istringstream lines(_next.script);
    for (std::string line; std::getline(lines, line);) {
      const size_t at = line.find(kPrints);
      if (at != std::string::npos) {
        _next.prints.push_back(line.substr(at + sizeof(kPrints) - 1));
      }
    }
    if (_next.name.empty() || _next.prints.empty()) {
      throw std::runtime_error("an example without a name, or that prints nothing:\n" +
                               _next.script);
    }
    _examples.push_back(std::move(_next));
    _next = Example();
  }

  std::string _page;
  std::istringstream _lines;
  std::vector<std::pair<std::string, std::string>> _parameters;
  Example _next;
  std::vector<Example> _examples;
};

}  // namespace

void PrintTo(const Example& example, std::ostream* out) {
  *out << example.name;
}

std::string readProjectFile(const std::string& path) {
  std::ifstream file(PROJECT_DIRECTORY "/" + path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("no file " + path);
  }
  std::stringstream content;
  content << file.rdbuf();
  return content.str();
}

std::vector<std::string> projectFiles(const std::vector<std::string>& directories) {
  const std::filesystem::path top = PROJECT_DIRECTORY;
  std::vector<std::string> files;
  for (const std::string& directory : directories) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top / directory)) {
      if (entry.path().extension() == ".cpp") {
        files.push_back(entry.path().lexically_relative(top));
      }
    }
  }
  return files;
}

std::vector<Example> readExamples(const std::string& path) {
  return Reader(readProjectFile(path)).read();
}

bool matches(const std::string& line, const std::string& pattern) {
  const size_t gap = pattern.find(kAnyText);
  if (gap == std::string::npos) {
    return line == pattern;
  }
  if (line.compare(0, gap, pattern, 0, gap) != 0) {
    return false;
  }
  const std::string rest = pattern.substr(gap + sizeof(kAnyText) - 1);
  for (size_t at = gap; at <= line.size(); ++at) {
    if (matches(line.substr(at), rest)) {
      return true;
    }
  }
  return false;
}

}  // namespace docs
