#ifndef TESTS_DOCS_EXAMPLE_PAGE_H_
#define TESTS_DOCS_EXAMPLE_PAGE_H_

#include <map>
#include <string>

#include "tests/docs/Examples.h"

namespace docs {

inline constexpr char kPromiseApi[] = "docs/promise-api.md";

// The examples of the promise API whose user drops files, or all the others.
std::vector<Example> promiseExamples(bool dropping);

// The files and folders of the user, below the directory.
void writeFiles(const std::string& home);

// The element with the example's parameters, in which "{name}" stands for what is given.
std::string embedElement(const Example& example, const std::map<std::string, std::string>& given);

// A page for any browser that runs an example of the promise API. The example finds the texts
// `given` by their names ("source", "upload", "target"); `print` is a function of JavaScript, which
// gets each line that the example prints.
std::string promisePage(const Example& example, const std::map<std::string, std::string>& given,
                        const std::string& print);

// What an example's user does in dialogs and windows, with the files below `home`; nothing when
// `step` is empty. Blocks; throws a runtime error when the window does not come.
void act(const std::string& step, const std::string& home);

// What of the printed lines was not expected, and what is missing; empty when all is well. Their
// order does not matter.
std::string difference(const Example& example, const std::string& printed);

}  // namespace docs

#endif  // TESTS_DOCS_EXAMPLE_PAGE_H_
