// What the native messaging host reads of the browser, and of the sites files.
#include <map>
#include <optional>
#include <sstream>

#include "fuzz/FuzzInput.h"
#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"
#include "tools/web_host/FrameParser.h"
#include "tools/web_host/Message.h"
#include "tools/web_host/OperationOrder.h"
#include "tools/web_host/Origin.h"
#include "tools/web_host/SiteList.h"

using namespace web_host;

namespace {

std::optional<std::string> normal(const std::string& text) {
  try {
    return normalOrigin(text);
  } catch (const OriginError& error) {
    FUZZ_CHECK(*error.what() != '\0');
    return std::nullopt;
  }
}

// Frames come out as they went in, wherever the stream is cut.
void checkFrames(FuzzInput input) {
  const std::vector<std::string> texts = input.texts(8);
  std::string bytes;
  for (const std::string& text : texts) {
    bytes += frameOf(text);
  }
  FrameParser parser;
  size_t found = 0;
  for (size_t start = 0, cut = 1; start < bytes.size(); start += cut) {
    cut = 1 + (start * 7 + texts.size()) % 13;
    const std::string part = bytes.substr(start, cut);
    parser.add(part.data(), part.size());
    for (std::string text; parser.next(&text);) {
      FUZZ_CHECK(found < texts.size() && text == texts[found++]);
    }
  }
  FUZZ_CHECK(found == texts.size());
}

void checkStream(const std::string& bytes) {
  FrameParser parser;
  parser.add(bytes.data(), bytes.size());
  try {
    size_t sum = 0;
    for (std::string text; parser.next(&text);) {
      sum += text.size() + 4;
    }
    FUZZ_CHECK(sum <= bytes.size());
  } catch (const FrameError& error) {
    FUZZ_CHECK(contains(error.what(), "is larger than"));
  }
}

void checkOperation(const Operation& operation) {
  using Kind = Operation::Kind;
  FUZZ_CHECK(operation.number >= 1 && operation.number <= kLargestNumber);
  FUZZ_CHECK((operation.kind == Kind::kWrong) == !operation.complaint.empty());
  FUZZ_CHECK(operation.kind == Kind::kWrong || operation.kind == Kind::kSkip ||
             (operation.element >= 1 && operation.element <= kLargestNumber));
  FUZZ_CHECK(operation.kind != Kind::kSet || operation.values.size() == 1);
  FUZZ_CHECK(operation.params.size() <= kMostParams);
  FUZZ_CHECK(operation.width >= 0 && operation.width <= 65535 && operation.height >= 0 &&
             operation.height <= 65535);
  for (const Value& value : operation.values) {
    FUZZ_CHECK((value.kind == Value::Kind::kObject) == (value.id != 0));
    FUZZ_CHECK(value.methods.size() <= 16);
  }
}

void checkMessage(const std::string& text) {
  try {
    const json::JsonDocument document(text);
    try {
      checkOperation(readOperation(document.root()));
    } catch (const MessageError&) {
      FUZZ_CHECK(!numberOf(document.root()).has_value());
    }
    readHello(document.root());
  } catch (const json::JsonError& error) {
    FUZZ_CHECK(*error.what() != '\0');
  } catch (const MessageError& error) {
    FUZZ_CHECK(*error.what() != '\0');
  }
}

// Whatever comes, the numbers come out from 1 on, each once.
void checkOrder(FuzzInput input) {
  OperationOrder order;
  std::map<uint64_t, bool> given;
  uint64_t next = 1;
  while (!input.empty()) {
    Operation operation;
    operation.number = 1 + input.below(32);
    operation.bytes = input.byte();
    const uint64_t number = operation.number;
    try {
      order.add(operation);
      FUZZ_CHECK(!given[number]);
      given[number] = true;
    } catch (const MessageError&) {
      FUZZ_CHECK(given[number]);
    }
    while (input.flag()) {
      const std::optional<Operation> taken = order.next();
      FUZZ_CHECK(taken.has_value() == given[next]);
      if (!taken.has_value()) {
        break;
      }
      FUZZ_CHECK(taken->number == next++);
    }
  }
}

// A line says one thing, by its own word and origin and no more, or is complained about; it takes
// nothing from the others.
void checkLines(const std::string& text) {
  const char kBlanks[] = " \t\r";
  const SiteList list(text);
  std::map<std::string, Leave> said;
  size_t complaints = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const SiteList alone(line);
    FUZZ_CHECK(alone.entries().size() + alone.complaints().size() <= 1);
    complaints += alone.complaints().size();
    for (const SiteList::Entry& entry : alone.entries()) {
      const size_t start = line.find_first_not_of(kBlanks);
      const size_t origin = line.find_first_not_of(kBlanks, line.find_first_of(kBlanks, start));
      FUZZ_CHECK(startsWith(line.substr(start), leaveWord(entry.leave)));
      FUZZ_CHECK(normal(line.substr(origin, line.find_last_not_of(kBlanks) + 1 - origin)) ==
                 entry.origin);
      said[entry.origin] = entry.leave;
    }
  }
  FUZZ_CHECK(list.complaints().size() == complaints && list.entries().size() == said.size());
  for (const auto& [origin, leave] : said) {
    FUZZ_CHECK(list.find(origin) == leave);
  }
}

// What is set is found again, and nothing else changes.
void checkSites(const std::string& text, bool allow) {
  const std::string origin = "https://set.example";
  SiteList list(text);
  const auto before = list.entries();
  const size_t complaints = list.complaints().size();
  list.set(origin, allow ? std::optional<Leave>(Leave::kAllow) : std::nullopt);
  const SiteList again(list.text());
  FUZZ_CHECK(again.text() == list.text());
  FUZZ_CHECK(again.complaints().size() == complaints);
  FUZZ_CHECK(again.find(origin).has_value() == allow);
  for (const SiteList::Entry& entry : before) {
    FUZZ_CHECK(normal(entry.origin) == entry.origin);
    FUZZ_CHECK(entry.origin == origin || again.find(entry.origin) == entry.leave);
  }
}

}  // namespace

void tryInput(FuzzInput input) {
  const std::string& whole = input.whole();
  checkFrames(input);
  checkStream(whole);
  checkMessage(whole);
  checkOrder(input);
  checkLines(whole);
  checkSites(whole, !whole.empty() && whole[0] % 2 != 0);
  if (const std::optional<std::string> origin = normal(whole)) {
    FUZZ_CHECK(normal(*origin) == origin);
    FUZZ_CHECK(origin->find_first_of(std::string(" \n\t\0#", 5)) == std::string::npos);
    FUZZ_CHECK(SiteList("deny " + *origin).find(*origin) == Leave::kDeny);
  }
}
