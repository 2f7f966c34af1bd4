#include "tools/web_host/SiteList.h"

#include <algorithm>

#include "tools/web_host/Origin.h"

namespace web_host {
namespace {

const char kBlanks[] = " \t\r";

// The next word, and what is behind it in `rest`.
std::string takeWord(std::string* rest) {
  const size_t start = std::min(rest->find_first_not_of(kBlanks), rest->size());
  const size_t end = std::min(rest->find_first_of(kBlanks, start), rest->size());
  const std::string word = rest->substr(start, end - start);
  rest->erase(0, end);
  return word;
}

// Nothing for a line without an entry. Throws OriginError for a broken one.
std::optional<SiteList::Entry> readLine(const std::string& text) {
  std::string rest = text;
  const std::string word = takeWord(&rest);
  if (word.empty() || word[0] == '#') {
    return std::nullopt;
  }
  if (word != "allow" && word != "deny") {
    throw OriginError("a line begins with \"allow\" or \"deny\"");
  }
  const std::string origin = normalOrigin(takeWord(&rest));
  if (!takeWord(&rest).empty()) {
    throw OriginError("there is more behind the origin");
  }
  return SiteList::Entry{origin, word == "allow" ? Leave::kAllow : Leave::kDeny};
}

}  // namespace

const char* leaveWord(Leave leave) {
  return leave == Leave::kAllow ? "allow" : "deny";
}

SiteList::SiteList(const std::string& text) {
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    addLine(text.substr(start, end - start));
    start = end + 1;
  }
}

void SiteList::addLine(const std::string& text) {
  Line line = {text, std::nullopt};
  try {
    line.entry = readLine(text);
  } catch (const OriginError& error) {
    _complaints.push_back("line " + std::to_string(_lines.size() + 1) + ": " + error.what());
  }
  _lines.push_back(line);
}

std::optional<Leave> SiteList::find(const std::string& origin) const {
  const auto found = std::find_if(_lines.rbegin(), _lines.rend(), [&](const Line& line) {
    return line.entry.has_value() && line.entry->origin == origin;
  });
  return found != _lines.rend() ? std::optional<Leave>(found->entry->leave) : std::nullopt;
}

std::vector<SiteList::Entry> SiteList::entries() const {
  std::vector<Entry> entries;
  for (const Line& line : _lines) {
    const auto same = [&](const Entry& each) { return each.origin == line.entry->origin; };
    if (line.entry.has_value() && std::none_of(entries.begin(), entries.end(), same)) {
      entries.push_back({line.entry->origin, *find(line.entry->origin)});
    }
  }
  return entries;
}

void SiteList::set(const std::string& origin, std::optional<Leave> leave) {
  _lines.erase(std::remove_if(_lines.begin(), _lines.end(),
                              [&](const Line& line) {
                                return line.entry.has_value() && line.entry->origin == origin;
                              }),
               _lines.end());
  if (leave.has_value()) {
    addLine(std::string(leaveWord(*leave)) + " " + origin);
  }
}

std::string SiteList::text() const {
  std::string text;
  for (const Line& line : _lines) {
    text += line.text + "\n";
  }
  return text;
}

}  // namespace web_host
