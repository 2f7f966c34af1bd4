#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <future>
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
  std::thread([&other] { other = pthread_self(), ov_log("other"); }).join();
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

TEST_F(LogLine, reportsEachFailedWriteOnce) {
  std::filesystem::create_symlink("/dev/full", member('0'));
  ASSERT_EQ(start(), OV_OK);
  testing::internal::CaptureStderr();
  ov_log_set_echo(0);
  ov_log("lost");
  ov_log("lost too");
  ov_err("after");
  const std::string report = "ERR ov_file_write: write failed. error=28\n";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), report + report + "ERR after\n" + report);
}

TEST_F(LogLine, isNeverTornByOtherThreads) {
  ASSERT_EQ(start(":1"), OV_OK);
  std::vector<std::future<void>> writers;
  for (int writer = 0; writer < 4; ++writer) {
    writers.push_back(std::async(std::launch::async, [writer] {
      for (int line = 0; line < 3000; ++line) {
        ov_log("%d %d %s end", writer, line, std::string(100, 'x').c_str());
      }
    }));
  }
  writers.clear();  // when all have written
  int next[4] = {};
  for (const std::string& line : linesOf(readFile(member('0')) + readFile(member('1')))) {
    unsigned writer = 4;
    int number = -1;
    int length = 0;
    sscanf(line.c_str(), "%*d-%*d-%*d %*d:%*d:%*d [%*x-%*x] LOG %u %d %*100[x] end%n", &writer,
           &number, &length);
    ASSERT_EQ(static_cast<size_t>(length), line.size()) << line;
    ASSERT_EQ(number, next[writer]++);
  }
  EXPECT_THAT(next, testing::Each(3000));
  EXPECT_TRUE(std::filesystem::exists(member('1')));
}

TEST_F(LogLine, survivesAnEndUnderWay) {
  std::atomic<bool> stop{false};
  std::vector<std::future<void>> writers;
  for (int writer = 0; writer < 3; ++writer) {
    writers.push_back(std::async(std::launch::async, [&stop, writer] {
      for (int line = 0; !stop; ++line) {
        ov_err("%d %d", writer, line);
      }
    }));
  }
  for (int round = 0; round < 50; ++round) {
    ASSERT_EQ(start(), OV_OK);
    ov_log_rotate();
    ov_log_cleanup();
  }
  stop = true;
}

}  // namespace
