#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "ovlib/overrno.h"
#include "ovlib/ovprocess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/WaitFor.h"

namespace {

using test_support::readFile;
using test_support::waitFor;

struct Outcome {
  int state = OV_PROCESS_ACTIVE;
  int exit_code = 99;
  bool operator==(const Outcome& o) const { return state == o.state && exit_code == o.exit_code; }
};

Outcome outcomeOf(ov_process_t* process) {
  Outcome outcome;
  EXPECT_TRUE(waitFor([&] {
    EXPECT_EQ(ov_process_exited(process, &outcome.state, &outcome.exit_code), OV_OK);
    return outcome.state != OV_PROCESS_ACTIVE;
  }));
  return outcome;
}

Outcome run(const std::string& command) {
  ov_process_t process = {};
  EXPECT_EQ(ov_process_create(&process, command.c_str()), OV_OK);
  return outcomeOf(&process);
}

using Process = test_support::Sandbox;

TEST_F(Process, tellsHowItEndedAndStartsWithNoSignalBlocked) {
  sigset_t blocked, before, after;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  EXPECT_EQ(run("kill -TERM $$; exit 0"), (Outcome{OV_PROCESS_TERMINATED, -1}));
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_EQ(sigismember(&after, SIGTERM) + 2 * sigismember(&after, SIGINT), 1);
  EXPECT_EQ(run("exit 3"), (Outcome{OV_PROCESS_EXITED, 3}));
  EXPECT_EQ(run("test \"$HOME\" = '" + home() + "' && exit 5"), (Outcome{OV_PROCESS_EXITED, 5}));
}

TEST_F(Process, isActiveUntilItEnds) {
  const std::string gate = path("gate");
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  ov_process_t process = {};
  ASSERT_EQ(ov_process_create(&process, ("read line < " + gate).c_str()), OV_OK);
  Outcome outcome;
  EXPECT_EQ(ov_process_exited(&process, &outcome.state, &outcome.exit_code), OV_OK);
  EXPECT_EQ(outcome, (Outcome{OV_PROCESS_ACTIVE, 99}));
  test_support::writeFile(gate, "go\n");
  EXPECT_EQ(outcomeOf(&process), (Outcome{OV_PROCESS_EXITED, 0}));
  EXPECT_EQ(ov_process_exited(&process, &outcome.state, &outcome.exit_code), ECHILD);
}

// Makes the calls in `missing` fail as on a kernel without them, and a close above `highest_close`
// deadly: nothing is open there, so only a walk up to the limit would do it.
bool limitCalls(const std::vector<unsigned>& missing, unsigned highest_close) {
  std::vector<sock_filter> filter = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close, 0, 4),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
      BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, highest_close, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  for (const unsigned call : missing) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// 0 when the command ran to its end; 77 where calls cannot be limited.
int runLimited(const std::vector<unsigned>& missing, unsigned limit, unsigned highest_close,
               const std::string& command) {
  const pid_t child = fork();
  if (child == 0) {
    rlimit descriptors = {};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = limit;
    setrlimit(RLIMIT_NOFILE, &descriptors);
    if (!limitCalls(missing, highest_close)) {
      _exit(77);
    }
    _exit(run(command) == (Outcome{OV_PROCESS_EXITED, 0}) ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Process, hasNoDescriptorOfOurs) {
  const struct {
    const char* label;
    std::vector<unsigned> missing;
    unsigned limit, highest_close;
  } kCases[] = {{"closed in one call", {}, 4096, 1000},
                {"closed by listing", {SYS_close_range}, 4096, 1000},
                {"closed up to the limit", {SYS_close_range, SYS_getdents64}, 256, 4096}};
  for (const int lowest : {3, 9, 200}) {
    ASSERT_NE(fcntl(STDIN_FILENO, F_DUPFD, lowest), -1);
  }
  const std::string output = path("output");
  const std::string command = "exec > " + output +
                              "; for i in 0 1 2 3 4 5 6 7 8 9 200; do "
                              "test -e /proc/$$/fd/$i && echo $i; done; exit 0";
  for (const auto& c : kCases) {
    const int result = runLimited(c.missing, c.limit, c.highest_close, command);
    if (result == 77) {
      GTEST_SKIP() << "this system does not let a process limit its calls";
    }
    EXPECT_EQ(result, 0) << c.label;
    EXPECT_EQ(readFile(output), "0\n1\n2\n") << c.label;
    std::remove(output.c_str());
  }
}

}  // namespace
