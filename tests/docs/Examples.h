#ifndef TESTS_DOCS_EXAMPLES_H_
#define TESTS_DOCS_EXAMPLES_H_

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace docs {

inline constexpr char kPromiseApi[] = "docs/promise-api.md";

// One runnable example of a page of the documentation: a "js" block below a marker such as
//
//   <!-- example: NAME; user: save picked/copy.pdf -->
//
// An embed element in an "html" block above it, below the same heading, gives its parameters.
struct Example {
  std::string page;  // of the documentation, by its path from the top
  std::string name;
  std::string user;  // what somebody does at the screen; empty: nothing
  std::vector<std::pair<std::string, std::string>> parameters;
  std::string script;
  std::vector<std::string> prints;  // what stands behind "// prints: "; "…" is any text

  bool awaits() const { return page == kPromiseApi; }
};

// The name alone, for the names of tests.
void PrintTo(const Example& example, std::ostream* out);

// The contents of a file of the project, by its path from the top. Throws when it is not there.
std::string readProjectFile(const std::string& path);

// The whole page that a document tells its reader to save.
std::string firstPage(const std::string& document);

// All examples of a page. Throws when a "js" block has no marker or prints nothing.
std::vector<Example> readExamples(const std::string& path);

// As it runs in a page: one that awaits is connected, and prints what it throws.
std::string scriptOf(const Example& example);

// The files and folders of the user, below the directory.
void writeFiles(const std::string& home);

// What an example's user does in dialogs and windows, with the files below `home`; nothing when
// `step` is empty. Blocks; throws a runtime error when the window does not come.
void act(const std::string& step, const std::string& home);

// What of the printed lines was not expected, and what is missing; empty when all is well. Their
// order does not matter.
std::string difference(const Example& example, const std::string& printed);

}  // namespace docs

#endif  // TESTS_DOCS_EXAMPLES_H_
