#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "tests/docs/Examples.h"

namespace {

// Joins the adjacent literals of a C++ text.
std::string joined(const std::string& literals) {
  static const std::regex seam("\"\\s*\"");
  return std::regex_replace(literals, seam, "");
}

}  // namespace

TEST(Troubleshooting, hasARowForEveryMessageConstant) {
  const std::string page = docs::readProjectFile("docs/troubleshooting.md");
  const std::vector<std::string> firstCells = docs::found(page, "\n\\| (.*?) \\| ");
  const std::string code = docs::readProjectFile("plugin/src/Constants.h");
  const std::vector<std::string> texts =
      docs::found(code, "k(?:Error|Msg)\\w+\\[\\]\\s*=\\s*((?:\"[^\"]*\"\\s*)+);");
  for (const std::string& text : texts) {
    const std::string literals = joined(text);
    const std::string cell = literals.substr(1, literals.rfind('"') - 1);
    EXPECT_EQ(std::count(firstCells.begin(), firstCells.end(), cell), 1) << cell;
  }
  EXPECT_EQ(texts.size(), docs::found(code, "(k(?:Error|Msg)\\w+\\[\\])").size());
  EXPECT_GT(texts.size(), 10u);
}

// Every error and note of the module.
TEST(Troubleshooting, hasARowForEveryLineOfTheLog) {
  const std::string page = docs::readProjectFile("docs/troubleshooting.md");
  static const std::regex margins("^\"( |\\\\n)*|(\\\\n)?\"\\s*$");
  static const std::regex indentation("\\\\n +");
  int count = 0;
  for (const std::string& file :
       docs::projectFiles({"plugin/src", "browsers", "os/src", "base/src", "ovlib"})) {
    for (const std::string& literals :
         docs::found(docs::readProjectFile(file),
                     "ov_(?:err|log)\\(\\s*((?:\"(?:[^\"\\\\]|\\\\.)*\"\\s*)+)[,)]")) {
      std::string text = std::regex_replace(joined(literals), margins, "");
      text = std::regex_replace(text, indentation, "\\n ");
      // Lines that begin with another text are that text's.
      if (text.rfind("%s", 0) != 0 || text == "%s() - invalid arguments") {
        ++count;
        EXPECT_NE(page.find(text), std::string::npos) << file << ": " << text;
      }
    }
  }
  EXPECT_GT(count, 50);
}
