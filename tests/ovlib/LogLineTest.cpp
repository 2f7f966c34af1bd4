#include <gmock/gmock.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <sstream>
#include <thread>

#include "ovlib/overrno.h"
#include "tests/ovlib/LogFixture.h"

namespace {

using test_support::readFile;
using testing::ElementsAre;
using testing::MatchesRegex;

// POSIX expressions: gmock's own has no intervals.
constexpr char kStamp[] = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} ";

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

// "[process-thread] " of a thread, its hexadecimal digits padded or not.
std::string identity(bool padded, pthread_t thread = pthread_self()) {
  char text[64];
  const unsigned process = static_cast<unsigned>(getpid());
  const unsigned low = static_cast<unsigned>(thread);
  snprintf(text, sizeof(text), padded ? "\\[%x-%08x\\] " : "\\[%x-%x\\] ", process, low);
  return text;
}

// Runs `routine` in a thread whose identity needs padding: its stack, and so its handle, lies where
// the low half of an address begins with zeros. The handle, or 0 when there was no room.
pthread_t runWithShortIdentity(void* (*routine)(void*)) {
  constexpr size_t kSize = 1024 * 1024;
  for (uintptr_t place = 0x7f0001000000; place < 0x7f8000000000; place += 0x100000000) {
    void* stack = mmap(reinterpret_cast<void*>(place), kSize, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    if (stack != MAP_FAILED) {
      pthread_attr_t attributes;
      pthread_t thread = 0;
      pthread_attr_init(&attributes);
      pthread_attr_setstack(&attributes, stack, kSize);
      EXPECT_EQ(pthread_create(&thread, &attributes, routine, nullptr), 0);
      pthread_join(thread, nullptr);
      pthread_attr_destroy(&attributes);
      munmap(stack, kSize);
      return thread;
    }
  }
  return 0;
}

class LogLine : public LogFixture {
 protected:
  std::string text() const { return readFile(member('0')); }
};

TEST_F(LogLine, hasHeaderTagAndText) {
  ASSERT_EQ(start(), OV_OK);
  ov_dbg("not yet %d", 1);
  ov_dbg_set(3);
  EXPECT_EQ(ov_err("error %d", 1), OV_OK);
  EXPECT_EQ(ov_log("%s", "two\nlines"), OV_OK);
  EXPECT_EQ(ov_dbg("debug"), OV_OK);
  pthread_t other = 0;
  std::thread([&other] {
    other = pthread_self();
    ov_log("other");
  }).join();
  ov_log_set(0);
  EXPECT_EQ(ov_err("silenced"), OV_OK);
  const std::string header = kStamp + identity(true);
  EXPECT_THAT(linesOf(text()),
              ElementsAre(MatchesRegex(header + "ERR error 1"), MatchesRegex(header + "LOG two"),
                          "lines", MatchesRegex(header + "DBG debug"),
                          MatchesRegex(kStamp + identity(true, other) + "LOG other")));
}

TEST_F(LogLine, countsRepeatsInFrontOfTheNextLine) {
  ASSERT_EQ(start(), OV_OK);
  const pthread_t thread = runWithShortIdentity([](void*) -> void* {
    for (const char* message : {"a", "a", "a", "b", "b"}) {
      ov_log("%s", message);
    }
    ov_err("b");  // The tag counts: no repeat.
    ov_err("c");
    return nullptr;
  });
  const std::string plain = kStamp + identity(true, thread);
  const std::string unpadded = kStamp + identity(false, thread);
  EXPECT_NE(plain, unpadded);
  EXPECT_THAT(linesOf(text()),
              ElementsAre(MatchesRegex(plain + "LOG a"), "Last message repeated 2 times",
                          MatchesRegex(unpadded + "LOG b"), "Last message repeated 1 times",
                          MatchesRegex(unpadded + "ERR b"), MatchesRegex(plain + "ERR c")));
}

TEST_F(LogLine, cutsALongMessage) {
  ASSERT_EQ(start(), OV_OK);
  for (const size_t length : {4088, 4089, 4090, 6000}) {
    ov_log("%s", std::string(length, 'x').c_str());
  }
  const std::vector<std::string> lines = linesOf(text());
  // 4090 and 6000 are cut to what 4089 wrote: repeats.
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].substr(lines[0].find("LOG ")).size(), 4092U);
  EXPECT_EQ(lines[1].substr(lines[1].find("LOG ")), "LOG " + std::string(4089, 'x'));
}

TEST_F(LogLine, goesToStandardErrorWithoutHeader) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(ov_log_init(OV_LOG_FILE, "-"), OV_OK);
  ov_log("first");
  ov_log("first");
  ov_err("second");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "LOG first\nERR second\n");
  // The next start is a fresh one.
  ov_log_cleanup();
  testing::internal::CaptureStderr();
  ASSERT_EQ(start(), OV_OK);
  ov_log_set_echo(0);
  ov_err("echoed");
  ov_log("file only");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERR echoed\n");
  EXPECT_EQ(linesOf(text()).size(), 3U);  // The pending repeat is told first.
}

TEST_F(LogLine, reportsAFailedWriteOnce) {
  ASSERT_EQ(start(), OV_OK);
  ov_log("before");
  const std::string before = text();
  signal(SIGXFSZ, SIG_IGN);
  rlimit old = {};
  getrlimit(RLIMIT_FSIZE, &old);
  const rlimit full = {before.size(), old.rlim_max};
  // A pipe has no size limit.
  const int standard_error = dup(STDERR_FILENO);
  int pipes[2];
  ASSERT_EQ(pipe(pipes), 0);
  dup2(pipes[1], STDERR_FILENO);
  ov_log_set_echo(0);
  setrlimit(RLIMIT_FSIZE, &full);
  ov_log("lost");
  ov_log("lost too");
  setrlimit(RLIMIT_FSIZE, &old);
  dup2(standard_error, STDERR_FILENO);
  for (const int used : {standard_error, pipes[1]}) {
    close(used);
  }
  char reported[1024] = "";
  EXPECT_GT(read(pipes[0], reported, sizeof(reported) - 1), 0);
  close(pipes[0]);
  EXPECT_STREQ(reported,
               "ERR ov_file_write: write failed. error=27\n"
               "ERR ov_file_write: write failed. error=27\n");
  EXPECT_EQ(text(), before);
  ov_log("after");
  ASSERT_EQ(linesOf(text()).size(), 2U);
  EXPECT_THAT(linesOf(text())[1], MatchesRegex(kStamp + identity(true) + "LOG after"));
}

TEST_F(LogLine, isNeverTornByOtherThreads) {
  ASSERT_EQ(start(":1"), OV_OK);
  constexpr int kThreads = 4;
  constexpr int kLines = 3000;
  std::vector<std::thread> writers;
  for (int writer = 0; writer < kThreads; ++writer) {
    writers.emplace_back([writer] {
      for (int line = 0; line < kLines; ++line) {
        ov_log("%d %d %s end", writer, line, std::string(100, 'x').c_str());
      }
    });
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  ov_log_cleanup();
  std::vector<int> next(kThreads);
  for (char digit = '0'; digit <= '9'; ++digit) {
    for (const std::string& line : linesOf(readFile(member(digit)))) {
      int writer = -1;
      int number = -1;
      char tail[128] = "";
      ASSERT_EQ(sscanf(line.c_str(), "%*d-%*d-%*d %*d:%*d:%*d [%*x-%*x] LOG %d %d %*[x] %127s",
                       &writer, &number, tail),
                3)
          << line;
      ASSERT_STREQ(tail, "end");
      ASSERT_EQ(number, next.at(static_cast<size_t>(writer))++);
    }
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
  EXPECT_TRUE(std::filesystem::exists(member('1')));
}

TEST_F(LogLine, survivesAnEndUnderWay) {
  std::atomic<bool> stop{false};
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 3; ++writer) {
    writers.emplace_back([&stop, writer] {
      for (int line = 0; !stop; ++line) {
        ov_err("%d %d", writer, line);
      }
    });
  }
  for (int round = 0; round < 50; ++round) {
    ASSERT_EQ(start(), OV_OK);
    ov_log_rotate();
    ov_log_cleanup();
  }
  stop = true;
  for (std::thread& writer : writers) {
    writer.join();
  }
}

std::string g_handed;  // What the registered function got.

TEST_F(LogLine, isHandedToARegisteredFunction) {
  const auto run = [] {
    const bool started = ov_log_init_function(nullptr) == OV_EINVAL &&
                         ov_log_init_function([](const char* text) { g_handed = text; }) == OV_OK;
    ov_log("%s", std::string(5000, 'x').c_str());
    exit(started && g_handed == "LOG " + std::string(4091, 'x') ? 0 : 1);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(LogText, losesItsConversions) {
  const struct {
    const char* text;
    const char* expected;
  } kCases[] = {
      {"", ""},         {"plain", "plain"}, {"100%", "100%"}, {"100%%", "100%"},
      {"%s%n", "%s%n"}, {"%%%%", "%%"},     {"%%%d", "%%d"},  {"a%%20b", "a%20b"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(ov_log_text_as_format(c.text), c.expected) << c.text;
  }
}

}  // namespace
