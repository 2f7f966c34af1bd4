#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "tests/faults/FaultPage.h"

namespace fs = std::filesystem;

namespace {

const char kName[] = "/orvane-pellion-browser-plugin.log";
const char kMember[] = "/orvane-pellion-browser-plugin.0.log";

// What happens before the module starts its log.
struct LogFault {
  const char* label;
  std::function<void(const std::string& directory)> make;
  const char* message = nullptr;  // on standard error, with the path that `wrong` adds; or none
  const char* wrong = "";
  bool isLogged = false;

  friend std::ostream& operator<<(std::ostream& out, const LogFault& f) { return out << f.label; }
};

// Root may write everywhere, so it goes on as somebody else, who may publish an address.
void forbid(const std::string& directory) {
  chmod(getenv("HOME"), 0755);
  chmod((directory + "/../run").c_str(), 0777);
  chmod(directory.c_str(), 0555);
  if (getuid() == 0) {
    EXPECT_EQ(0, seteuid(65534));
    prctl(PR_SET_DUMPABLE, 1);  // so that /proc/self stays readable
  }
}

class LogFaults : public FaultPage, public testing::WithParamInterface<LogFault> {
 protected:
  ~LogFaults() override {
    EXPECT_EQ(0, seteuid(getuid()));
    chmod(dataPath("var/log").c_str(), 0755);
  }
};

TEST_P(LogFaults, keepThePageWorking) {
  const LogFault& fault = GetParam();
  const std::string directory = dataPath("var/log");
  fault.make(directory);
  testing::internal::CaptureStderr();
  open();
  serveWell();
  const std::string page = askBothWays();
  EXPECT_EQ("\"good\"", page);
  serveNothing();
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(fault.message != nullptr ? fault.message + directory + fault.wrong + "\n" : "", said);
  if (fault.message != nullptr) {
    logged = {std::string("on standard error: ") + fault.message};
  }
  takeLevels();  // without the capture's file
  const std::string member = directory + kMember;
  const bool isLogged = fs::is_regular_file(fs::symlink_status(member)) && !logText().empty();
  EXPECT_EQ(fault.isLogged, isLogged);
  close(fault.label, page + (isLogged ? "; all lines logged" : "; lines dropped"));
}

const LogFault kFaults[] = {
    {"the log's directory is missing", [](const std::string& d) { fs::remove(d); },
     "Error opening log directory "},
    {"a file stands in place of the log's directory",
     [](const std::string& d) { fs::remove(d), test_support::writeFile(d, ""); },
     "Error opening log directory "},
    {"the log's directory cannot be written", forbid, "Cannot open log file: ", kMember},
    {"a directory stands in place of the log file",
     [](const std::string& d) { fs::create_directory(d + kMember); },
     "Cannot open log file: ", kMember},
    {"a FIFO stands in place of the log file",
     [](const std::string& d) { mkfifo((d + kMember).c_str(), 0600); },
     "Cannot open log file: ", kMember},
    {"a directory stands in place of the log's plain name",
     [](const std::string& d) { fs::create_directory(d + kName); }, nullptr, "", true},
    {"the log's disk is full",
     [](const std::string& d) { fs::create_symlink("/dev/full", d + kMember); }},
};

INSTANTIATE_TEST_SUITE_P(, LogFaults, testing::ValuesIn(kFaults),
                         [](const auto& suite) { return nameOfRow(suite.param.label); });

std::function<void(const std::string& path)> beforeUnlink;

// Several processes with one log, whose members are full at 1 MiB.
class LogRotation : public test_support::Sandbox {
 protected:
  static constexpr int kLines = 6000;
  static constexpr size_t kHeaderEnd = 40;  // "2026-11-15 10:59:01 [1a2b-f7e3c700" at most

  static std::string message(int writer, int line) {
    return "writer " + std::to_string(writer) + " line " + std::to_string(line) + " " +
           std::string(20 + static_cast<size_t>(line * 37 % 300), 'x');
  }
  void write(int writer, int lines) const {
    EXPECT_EQ(OV_OK, ov_log_init(OV_LOG_FILE, (dataPath("var/log") + kName + ":1").c_str()));
    for (int line = 0; line < lines; ++line) {
      ov_log("%s", message(writer, line).c_str());
    }
  }
  // In a process of its own.
  template <typename Function>
  static pid_t start(Function function) {
    const pid_t pid = fork();
    if (pid == 0) {
      function();
      _exit(HasFailure() ? 1 : 0);
    }
    return pid;
  }
  static void await(pid_t pid) {
    int status = -1;
    EXPECT_EQ(pid, waitpid(pid, &status, 0));
    EXPECT_EQ(0, status);
  }
  // Whole lines of each writer; the others, and those that stand behind a later one, are torn.
  void count(const std::string& log) {
    std::map<int, int> last;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
      const size_t text = line.find("] LOG ");
      int writer = 0;
      int number = 0;
      const bool whole =
          text != std::string::npos && text < kHeaderEnd &&
          std::sscanf(&line[text], "] LOG writer %d line %d", &writer, &number) == 2 &&
          line.substr(text + 6) == message(writer, number) &&
          (last.count(writer) == 0 || last[writer] < number);
      if (whole) {
        last[writer] = number;
      }
      ++(whole ? found[writer] : torn);
    }
  }

  std::map<int, int> found;
  int torn = 0;
  const Levels before = Levels::now();
};

}  // namespace

extern "C" int unlink(const char* path) noexcept {
  if (beforeUnlink) {
    beforeUnlink(path);
  }
  return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

namespace {

TEST_F(LogRotation, ofTenProcessesTearsNoLine) {
  constexpr int kWriters = 10;
  constexpr int kEach = 3000;
  std::vector<pid_t> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(start([&] { write(writer, kEach); }));
  }
  for (const pid_t writer : writers) {
    await(writer);
  }
  count(logText());
  int all = 0;
  for (const auto& [writer, lines] : found) {
    all += lines;
  }
  EXPECT_EQ(0, torn);
  // They have turned: the first member is full. Usually all lines are there; some are lost only as
  // in the next row, however many that may be on a busy machine.
  EXPECT_GE(fs::file_size(dataPath("var/log") + kMember), uintmax_t{1} << 20);
  EXPECT_GT(all, 0);
  printRow("ten processes write and rotate one log",
           std::to_string(all) + " of " + std::to_string(kWriters * kEach) + " lines there, " +
               std::to_string(torn) + " torn",
           {}, before, Levels::now());
}

// A process that turns to the next member deletes the one behind it, to leave a gap. Should it be
// held just before that for so long that another one has filled the next member and gone on to the
// one behind, then that one's lines go with the file: those that it has written there, and will
// write until it turns the next time.
TEST_F(LogRotation, losesWhatAProcessDeletesTooLate) {
  int held[2];
  int go[2];
  ASSERT_EQ(0, pipe(held) + pipe(go));
  test_support::writeFile(dataPath("var/log") + kMember, std::string((1 << 20) - 1, 'x') + "\n");
  const std::string second = dataPath("var/log/orvane-pellion-browser-plugin.2.log");
  const pid_t late = start([&] {
    char byte = 0;
    beforeUnlink = [&](const std::string& path) {
      if (path == second) {
        EXPECT_EQ(1, ::write(held[1], &byte, 1));
        EXPECT_EQ(1, read(go[0], &byte, 1));
      }
    };
    write(0, 10);
  });
  char byte = 0;
  ASSERT_EQ(1, read(held[0], &byte, 1));
  write(1, kLines);
  count(test_support::readFile(second));
  const int lost = found[1];
  EXPECT_GT(lost, 0);
  ASSERT_EQ(1, ::write(go[1], &byte, 1));
  await(late);
  found.clear();
  count(logText());
  EXPECT_EQ(10, found[0]);
  EXPECT_EQ(kLines - lost, found[1]);
  for (const int end : {held[0], held[1], go[0], go[1]}) {
    ::close(end);
  }
  ov_log_cleanup();
  printRow("two processes rotate one log, one held before it deletes",
           std::to_string(lost) + " of " + std::to_string(kLines + 10) +
               " lines lost with the deleted file",
           {}, before, Levels::now());
}

}  // namespace
