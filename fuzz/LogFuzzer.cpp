// The log in a file: formats, lengths, repeats, and a ring that turns over, against a model.
#include <filesystem>
#include <fstream>

#include "fuzz/FuzzInput.h"
#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "tests/support/Sandbox.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kLongestText = 4089;
constexpr size_t kLimit = 1024 * 1024;
constexpr size_t kRingSize = 10;

class Home : public test_support::Sandbox {
 public:
  using Sandbox::dataPath;

 private:
  void TestBody() override {}
};

// What the log remembers for good, and what it should have written since the start.
std::string lastMessage;
int repeats = 0;
std::string expected;
// How many zero bytes a ring member that is full, or nearly so, begins with.
size_t filling = 0;

void expect(const std::string& level, const std::string& text) {
  const std::string message = level + " " + text.substr(0, kLongestText);
  if (message == lastMessage) {
    ++repeats;
    return;
  }
  if (repeats > 0) {
    expected += "Last message repeated " + std::to_string(repeats) + " times\n";
  }
  repeats = 0;
  lastMessage = message;
  expected += message.substr(0, 4093) + "\n";
}

// The length of "YYYY-MM-DD hh:mm:ss [process-thread] " at `at`; 0 when there is none.
size_t headerAt(const std::string& text, size_t at) {
  const size_t end = text.find("] ", at);
  const bool shaped = end != std::string::npos && text.size() > at + 20 && text[at + 4] == '-' &&
                      text[at + 20] == '[';
  return shaped ? end + 2 - at : 0;
}

// True when `log` is `expected` with a header before each line that begins a message.
bool matches(const std::string& log) {
  size_t at = 0;
  for (size_t i = 0; i < expected.size(); ++i) {
    const std::string tag = i == 0 || expected[i - 1] == '\n' ? expected.substr(i, 4) : "";
    if (tag == "ERR " || tag == "LOG " || tag == "DBG ") {
      // A text may hold a line that looks like the start of a message.
      at += headerAt(log, at);
    }
    if (at >= log.size() || log[at++] != expected[i]) {
      return false;
    }
  }
  return at == log.size();
}

std::string padded(const std::string& text, int width) {
  const std::string blanks(static_cast<size_t>(std::abs(width)), ' ');
  const size_t missing = text.size() < blanks.size() ? blanks.size() - text.size() : 0;
  return width < 0 ? text + blanks.substr(0, missing) : blanks.substr(0, missing) + text;
}

void writeOne(FuzzInput* input) {
  const uint8_t kind = input->byte();
  const int number = input->word() - 32768;
  std::string text = input->text();
  if (kind >= 192 && !text.empty()) {
    text.append(kLongestText - 300 + kind - text.size() % 64, text.back());
  }
  text = upToZero(text);
  switch (kind % 5) {
    case 0:
      ov_log("%s", text.c_str());
      return expect("LOG", text);
    case 1:
      ov_err("%s/%d", text.c_str(), number);
      return expect("ERR", text + "/" + std::to_string(number));
    case 2:
      ov_dbg("%-20s|%x", text.c_str(), 171);
      return expect("DBG", padded(text, -20) + "|ab");
    case 3:
      ov_err("%s", text.c_str());
      return expect("ERR", text);
    default:
      ov_log("%.7s%4100d", text.c_str(), number);
      return expect("LOG", text.substr(0, 7) + padded(std::to_string(number), 4100));
  }
}

// Leaves ring members of an earlier log behind, empty or filled (without taking the room).
void makeRing(const fs::path& directory, FuzzInput* input) {
  for (const auto& entry : fs::directory_iterator(directory)) {
    fs::remove(entry);
  }
  const size_t present = input->word();
  const size_t full = input->word();
  filling = kLimit + (full >> 15) - (full >> 10 & 31) / 2 * 512;
  for (size_t digit = 0; digit < kRingSize; ++digit) {
    if ((present >> digit & 1) != 0) {
      const fs::path member = directory / ("log." + std::to_string(digit));
      std::ofstream(member).flush();
      fs::resize_file(member, (full >> digit & 1) != 0 ? filling : 0);
    }
  }
}

// True when the ring's members, from one of them on, hold what should have been written.
bool isWritten(const fs::path& directory) {
  std::string parts[kRingSize];
  for (const auto& entry : fs::directory_iterator(directory)) {
    FUZZ_CHECK(entry.path().stem() == "log");
    const std::string number = entry.path().extension();
    if (!number.empty()) {
      std::ifstream file(entry.path(), std::ios::binary);
      file.seekg(static_cast<std::streamoff>(entry.file_size() < filling ? 0 : filling));
      parts[number.at(1) - '0'].assign(std::istreambuf_iterator<char>(file), {});
    }
  }
  for (size_t first = 0; first < kRingSize; ++first) {
    std::string log;
    for (size_t i = 0; i < kRingSize; ++i) {
      log += parts[(first + i) % kRingSize];
    }
    if (matches(log)) {
      return true;
    }
  }
  return false;
}

}  // namespace

void tryInput(FuzzInput input) {
  static const Home home;
  const fs::path directory = home.dataPath("var/log");
  makeRing(directory, &input);
  const std::string name = directory / "log";
  expected.clear();
  FUZZ_CHECK(ov_log_init(OV_LOG_FILE, (name + ":1").c_str()) == OV_OK);
  ov_dbg_set(1);
  for (int lines = 0; !input.empty() && lines < 64; ++lines) {
    if (input.below(16) == 0) {
      ov_log_cleanup();
      FUZZ_CHECK(ov_log_init(OV_LOG_FILE, name.c_str()) == OV_OK);
    }
    writeOne(&input);
  }
  ov_log_cleanup();
  FUZZ_CHECK(isWritten(directory));
}
