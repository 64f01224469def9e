// Programs that an application starts: they are on its board, whatever it makes of its environment, and
// those that are commands of the board act on the board alone. A filter of the kernel ends a process that
// comes near the host.

#include "sim/library_call.hpp"
#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/harm_filter.hpp"
#include "support/paths.hpp"
#include "support/stderr_capture.hpp"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/timex.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

int status_of(pid_t child) {
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// A child that does something under the filter; return its exit status, or errno on failure.
int in_child(const std::function<void()> &work) {
  const pid_t child = ::fork();
  if (child == 0) {
    if (!forbid_harm())
      ::_exit(99);
    work();
    ::_exit(errno);
  }
  return status_of(child);
}

char **list(std::vector<const char *> &words) {
  words.push_back(nullptr);
  return const_cast<char **>(words.data());
}

using words = std::vector<const char *>;

/// A way to start a program with arguments; it comes back only when that fails.
struct way {
  const char *name;
  void (*start)(const char *program, words arguments);
};

void PrintTo(const way &shown, std::ostream *to) {
  *to << shown.name;
}

void spawn_by(decltype(::posix_spawn) call, const char *program, words &arguments, char *const *variables) {
  pid_t child = -1;
  errno = call(&child, program, nullptr, nullptr, list(arguments), variables);
  if (errno == 0)
    ::_exit(status_of(child));
}

char *const no_variables[] = {nullptr};

const way ways[] = {
    {"execv", [](const char *program, words with) { ::execv(program, list(with)); }},
    {"execve", [](const char *program, words with) { ::execve(program, list(with), no_variables); }},
    {"execvp", [](const char *program, words with) { ::execvp(program, list(with)); }},
    {"execvpe", [](const char *program, words with) { ::execvpe(program, list(with), no_variables); }},
    {"execl", [](const char *program, words with) { ::execl(program, with[0], with[1], with[2], nullptr); }},
    {"execlp",
     [](const char *program, words with) { ::execlp(program, with[0], with[1], with[2], nullptr); }},
    {"execle", [](const char *program,
                  words with) { ::execle(program, with[0], with[1], with[2], nullptr, no_variables); }},
    {"execveat",
     [](const char *program, words with) {
       const auto call = library_call<int(int, const char *, char **, char *const *, int)>("execveat");
       call(AT_FDCWD, program, list(with), no_variables, 0);
     }},
    {"posix_spawn",
     [](const char *program, words with) { spawn_by(::posix_spawn, program, with, no_variables); }},
    {"posix_spawnp",
     [](const char *program, words with) { spawn_by(::posix_spawnp, program, with, no_variables); }},
    {"vfork",
     [](const char *program, words with) {
       char **arguments = list(with);
       const pid_t child = ::vfork(); // NOLINT
       if (child == 0) {
         ::execve(program, arguments, no_variables);
         ::_exit(errno);
       }
       ::_exit(status_of(child));
     }},
};

class SimStart : public testing::TestWithParam<way> {
protected:
  void SetUp() override { SKIP_UNDER_EMULATION("passes on no filter of system calls"); }
  int start(const char *program, const words &arguments) const {
    return in_child([&] { GetParam().start(program, arguments); });
  }
  board board_;
};

TEST_P(SimStart, KeepsTheBoardForAProgramWithoutAnEnvironment) {
  board_.write("proc/modules", "seen 1 0\n");
  EXPECT_EQ(start("/bin/sh", {"sh", "-c", "exec grep -q ^seen /proc/modules"}), 0);
  EXPECT_EQ(start("/bin/sh", {"sh", "-c", "grep -q ^absent /proc/modules"}), 1);
}

TEST_P(SimStart, RunsCommandOfBoard) {
  EXPECT_EQ(start("/usr/sbin/nanddump", {"nanddump", "-f", "/dev/mtd2"}), 127) << "no such command";
  EXPECT_EQ(start("/no/such/place/umount", {"umount", "-f", "/"}), 127);
  EXPECT_EQ(start("/bin/sync", {"sync", nullptr, nullptr}), 0);
  EXPECT_THAT(board_.events(), ElementsAre("shell: /usr/sbin/nanddump -f /dev/mtd2 refused",
                                           "shell: /no/such/place/umount -f / refused", "shell: /bin/sync"));
}

TEST_P(SimStart, RunsCommandOfBoardThroughShell) {
  EXPECT_EQ(start("/bin/sh", {"sh", "-c", "amixer cset numid=1 7"}), 0);
  EXPECT_EQ(board_.read("sound/mixer"), "numid 1 = 7\n");
  EXPECT_EQ(start("/bin/sh", {"sh", "-c", "true; umount /; test $? -eq 127"}), 0);
  EXPECT_THAT(board_.events(), ElementsAre("shell: amixer cset numid=1 7", HasSubstr("umount / refused")));
}

TEST_P(SimStart, RejectsAStaticProgram) {
  EXPECT_EQ(start(linked_statically_path, {"static", nullptr, nullptr}), ENOEXEC);
  EXPECT_THAT(board_.events(), ElementsAre(std::string{"exec: "} + linked_statically_path + " refused"));
}

INSTANTIATE_TEST_SUITE_P(By, SimStart, testing::ValuesIn(ways),
                         [](const auto &tested) { return tested.param.name; });

TEST(SimStartOfDescriptor, RunsCommandsAndRejectsStaticPrograms) {
  SKIP_UNDER_EMULATION("passes on no filter of system calls");
  const board board;
  const auto by_descriptor = [](const char *program) {
    return in_child([=] {
      words with = {"x"};
      ::fexecve(::open(program, O_RDONLY), list(with), no_variables);
    });
  };
  EXPECT_EQ(by_descriptor("/bin/true"), 0);
  EXPECT_EQ(by_descriptor("/bin/umount"), 127);
  EXPECT_EQ(by_descriptor(linked_statically_path), ENOEXEC);
}

TEST(SimStart, RejectsAScriptOfAStaticProgram) {
  SKIP_UNDER_EMULATION("passes on no filter of system calls");
  const board board;
  board.write("script", std::string{"#!"} + linked_statically_path + "\n");
  ASSERT_EQ(::chmod(board.path("script").c_str(), 0755), 0);
  const auto become = [](const std::string &program) {
    return in_child([&] { ::execl(program.c_str(), "x", nullptr); });
  };
  EXPECT_EQ(become(board.path("script")), ENOEXEC);
  EXPECT_EQ(become(board.path("absent")), ENOENT);
}

TEST(SimStart, EndsApplicationWithStatus75OnRestartOfChild) {
  SKIP_UNDER_EMULATION("passes on no filter of system calls");
  const board board;
  const int status = in_child([] {
    words with = {"reboot"};
    pid_t child = -1;
    ::posix_spawn(&child, "/sbin/reboot", nullptr, nullptr, list(with), environ);
  });
  EXPECT_EQ(status, 75);
  EXPECT_THAT(board.events(), ElementsAre("shell: /sbin/reboot"));
}

// --- popen() ---

std::string checked_output(const char *command, int expected_status) {
  std::FILE *stream = ::popen(command, "r");
  EXPECT_NE(stream, nullptr);
  std::string text;
  for (int c; (c = std::fgetc(stream)) != EOF;)
    text += static_cast<char>(c);
  const int status = ::pclose(stream);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), expected_status);
  return text;
}

TEST(SimPipe, RunsCommandsOfBoardAndRejectsOthers) {
  const board board;
  EXPECT_EQ(checked_output("amixer cset numid=1 9", 0), "");
  EXPECT_EQ(checked_output("echo host", 127), "");
  EXPECT_EQ(board.read("sound/mixer"), "numid 1 = 9\n");
  EXPECT_THAT(board.events(), ElementsAre("shell: amixer cset numid=1 9", "shell: echo host refused"));
}

TEST(SimPipe, RunsShellOfHostIfSettingsSaySo) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const board board;
  board.set("shell", "host");
  board.write("proc/modules", "seen\n");
  EXPECT_EQ(checked_output("cat /proc/modules; sync", 0), "seen\n");
  EXPECT_THAT(board.events(), ElementsAre(HasSubstr("sync")));
  std::FILE *stream = ::popen("cat >/tmp/ptb", "w");
  std::fputs("typed", stream);
  EXPECT_EQ(::pclose(stream), 0);
  EXPECT_EQ(board.read("tmp/ptb"), "typed");
}

TEST(SimPipe, RequiresOneDirection) {
  const board board;
  EXPECT_EQ(::popen("sync", "x"), nullptr);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_THAT(board.events(), IsEmpty());
}

TEST(SimShellOfHost, KeepsBoardCommandsInLine) {
  SKIP_UNDER_EMULATION("passes on no filter of system calls");
  const board board;
  board.set("shell", "host");
  const auto run = [](const char *command) {
    return in_child([=] { ::_exit(WEXITSTATUS(std::system(command))); });
  };
  EXPECT_EQ(run("true && /bin/umount / || exit 3"), 3);
  EXPECT_EQ(run("unset LD_PRELOAD DRAVIK_BOARD; sh -c 'umount2=1; umount /proc'"), 127);
  EXPECT_EQ(run("env -i /bin/umount /"), 127);
  EXPECT_THAT(board.events(), ElementsAre("shell: /bin/umount / refused", HasSubstr("umount /proc refused"),
                                          "shell: /bin/umount / refused"));
}

// --- the board is chosen once ---

TEST(SimBoard, IsNotChangedByTheEnvironment) {
  const board board;
  board.write("tmp/ptb", "here");
  ::setenv("DRAVIK_BOARD", "/", 1);
  EXPECT_EQ(::access("/tmp/ptb", F_OK), 0);
  ::unsetenv("DRAVIK_BOARD");
  EXPECT_EQ(::access("/tmp/ptb", F_OK), 0);
  ::clearenv();
  EXPECT_EQ(::access("/tmp/ptb", F_OK), 0);
  EXPECT_EQ(::umount("/"), -1);
  EXPECT_THAT(board.events(), ElementsAre("umount: /"));
}

// --- the clock, and devices that have power over the host ---

TEST(SimClock, IsNotSet) {
  SKIP_UNDER_EMULATION("passes on no filter of system calls");
  const board board;
  EXPECT_EQ(in_child([] {
              timespec time = {};
              timeval value = {};
              timex change = {};
              change.modes = ADJ_OFFSET;
              const auto refused = [](int result) {
                if (result != -1 || errno != EPERM)
                  ::_exit(98);
              };
              refused(::clock_settime(CLOCK_REALTIME, &time));
              refused(::settimeofday(&value, nullptr));
              refused(::adjtime(&value, nullptr));
              refused(::adjtimex(&change));
              refused(::clock_adjtime(CLOCK_REALTIME, &change));
              refused(::ntp_adjtime(&change));
              ::_exit(0);
            }),
            0);
  EXPECT_THAT(board.events(), ElementsAre("clock: clock_settime refused", "clock: settimeofday refused",
                                          "clock: adjtime refused", "clock: adjtimex refused",
                                          "clock: clock_adjtime refused", "clock: ntp_adjtime refused"));
}

class SimPowerfulFile : public testing::TestWithParam<const char *> {};

TEST_P(SimPowerfulFile, IsNotTheHosts) {
  const board board;
  EXPECT_EQ(::open(GetParam(), O_WRONLY), -1);
  EXPECT_EQ(errno, ENOENT);
  board.write(GetParam(), "");
  const int own = ::open(GetParam(), O_WRONLY);
  EXPECT_GE(own, 0);
  ::close(own);
}

INSTANTIATE_TEST_SUITE_P(Paths, SimPowerfulFile,
                         testing::Values("/sys/power/state", "/dev/watchdog", "/dev/watchdog0", "/dev/mtd0",
                                         "/dev/mtdblock1", "/dev/rtc", "/dev/rtc0", "/dev/mem", "/dev/kmem",
                                         "/dev/port", "/dev/kmsg", "/proc/sysrq-trigger",
                                         "/proc/sys/kernel/hostname", "/sys/class/rtc/rtc0/wakealarm"));

} // namespace
} // namespace dravik::test
