#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>

#include "tests/docs/Examples.h"

namespace {

// The first cells of the rows of all tables.
std::set<std::string> firstCells(const std::string& page) {
  std::set<std::string> cells;
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    const size_t end = line.find(" | ");
    if (line.rfind("| ", 0) == 0 && end != std::string::npos) {
      cells.insert(line.substr(2, end - 2));
    }
  }
  return cells;
}

// Joins the adjacent literals of a C++ text.
std::string joined(const std::string& literals) {
  static const std::regex seam("\"\\s*\"");
  return std::regex_replace(literals, seam, "");
}

}  // namespace

TEST(Troubleshooting, hasARowForEveryMessageConstant) {
  const std::set<std::string> cells = firstCells(docs::readProjectFile("docs/troubleshooting.md"));
  const std::string code = docs::readProjectFile("plugin/src/Constants.h");
  static const std::regex constant("(k(?:Error|Msg)\\w+)\\[\\]\\s*=\\s*((?:\"[^\"]*\"\\s*)+);");
  int count = 0;
  for (std::sregex_iterator found(code.begin(), code.end(), constant), end; found != end; ++found) {
    ++count;
    const std::string literals = joined((*found)[2]);
    EXPECT_EQ(cells.count(literals.substr(1, literals.rfind('"') - 1)), 1u) << (*found)[1];
  }
  static const std::regex name("k(?:Error|Msg)\\w+\\[\\]");
  EXPECT_EQ(count, std::distance(std::sregex_iterator(code.begin(), code.end(), name), {}));
  EXPECT_GT(count, 10);
}

// Every line that the core and the glue write as an error, or as a warning.
TEST(Troubleshooting, hasARowForEveryErrorLine) {
  const std::string page = docs::readProjectFile("docs/troubleshooting.md");
  static const std::regex line("ov_(err|log)\\(\\s*((?:\"(?:[^\"\\\\]|\\\\.)*\"\\s*)+)[,)]");
  int count = 0;
  for (const std::string& file : docs::projectFiles({"plugin/src", "browsers", "os/src"})) {
    const std::string code = docs::readProjectFile(file);
    for (std::sregex_iterator found(code.begin(), code.end(), line), end; found != end; ++found) {
      std::string text = joined((*found)[2]);
      text = text.substr(1, text.rfind('"') - 1);
      const bool isProblem = (*found)[1] == "err" || text.rfind("WARNING", 0) == 0 ||
                             text.rfind("ERROR", 0) == 0 || text.rfind("Warning", 0) == 0;
      text = std::regex_replace(text, std::regex("\\\\n +"), "\\n ");
      // Lines that only join other texts say nothing of their own.
      if (isProblem && text != "%s" && text != "%s: %s") {
        ++count;
        // One of them begins with a blank, and is the other's text besides.
        const size_t own = text.find("ov_time_gettimeofday");
        EXPECT_NE(page.find(own != std::string::npos ? text.substr(own) : text), std::string::npos)
            << file << ": " << text;
      }
    }
  }
  EXPECT_GT(count, 30);
}
