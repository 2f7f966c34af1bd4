#ifndef TOOLS_WEB_CHECK_REPORT_H_
#define TOOLS_WEB_CHECK_REPORT_H_

#include <string>
#include <vector>

#include "tools/web_check/Check.h"

namespace web_check {

// The findings in the order of the chain, for people and for machines. All texts come out as
// printable UTF-8.
class Report {
 public:
  void add(const std::string& check, const Finding& finding);

  // The worst of all findings.
  Status status() const;
  // One line a check, and a last one that names the first broken link.
  std::string text() const;
  // One object: "version", "status", "broken" (a check's name or null) and "checks".
  std::string json() const;

 private:
  struct Line {
    std::string check;
    Status status;
    std::string seen;
    std::string remedy;
  };

  // The first of the worst; null when all is well.
  const Line* broken() const;

  std::vector<Line> _lines;
};

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_REPORT_H_
