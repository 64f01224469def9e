// The boundary itself, without the simulator and without the launcher: what each part keeps off the
// machine. Every call is made in a child, after the child has seen that the filter is in force, with
// arguments that no kernel carries out.

#include "confinement/boundary.hpp"
#include "confinement/ordinary_directory.hpp"
#include "support/as_nobody.hpp"
#include "support/harmful_calls.hpp"
#include "support/paths.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <spawn.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/reboot.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using dravik::sim::boundary;
using dravik::sim::boundary_rules;
using dravik::sim::enter_boundary;
using dravik::sim::forbidden_call;
using dravik::sim::local_sockets;

constexpr const char *nowhere = "/no-such-directory/no-such-file";
constexpr int no_filter = 99; ///< exit status of a child that found none, and so called nothing
constexpr int no_landlock = 98;

/// The wait status of a child that does this.
int status_of_child(const std::function<int()> &work) {
  const pid_t child = ::fork();
  if (child == 0)
    ::_exit(work());
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return status;
}

bool has_filter() {
  return ::prctl(PR_GET_SECCOMP, 0, 0, 0, 0) == 2;
}

/// The same inside a boundary.
int status_inside(const boundary_rules &rules, const std::function<int(const boundary &)> &work) {
  return status_of_child([&] {
    const boundary granted = enter_boundary(rules);
    return granted.calls_are_filtered && has_filter() ? work(granted) : no_filter;
  });
}

/// The error of a call inside a boundary; 0 if it succeeds.
int error_inside(const boundary_rules &rules, const std::function<long()> &call) {
  const int status = status_inside(rules, [&](const boundary &) { return call() < 0 ? errno : 0; });
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// --- harmful calls, with nothing between them and the kernel ---

char *const no_words[] = {const_cast<char *>(calls_the_host_path), const_cast<char *>("reboot"), nullptr};
const std::string command_line = std::string{"exec "} + calls_the_host_path + " reboot >/dev/null";
const char *const command = command_line.c_str();

int end_of(pid_t child) {
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFSIGNALED(status))
    ::kill(::getpid(), WTERMSIG(status)); // ends as its child did
  return WEXITSTATUS(status);
}

int end_of_shell(int status) {
  return WIFSIGNALED(status) ? ::kill(::getpid(), WTERMSIG(status)) : WEXITSTATUS(status);
}

int spawned(bool by_name) {
  pid_t child = -1;
  const auto spawn = by_name ? ::posix_spawnp : ::posix_spawn;
  return spawn(&child, calls_the_host_path, nullptr, nullptr, no_words, environ) == 0 ? end_of(child) : 1;
}

int set_clock() {
  constexpr clockid_t no_clock = 99;
  const timespec time = {1, 0};
  return ::clock_settime(no_clock, &time);
}

int set_time_of_day() {
  return static_cast<int>(::syscall(SYS_settimeofday, 1, 1));
}

/// How each call is made; those that start a program start one that calls the kernel's reboot.
const std::map<std::string, std::function<int()>> ways = {
    {"mount", [] { return ::mount(nowhere, nowhere, nowhere, 0, nullptr); }},
    {"umount", [] { return ::umount(nowhere); }},
    {"umount2", [] { return ::umount2(nowhere, 0); }},
    {"reboot", [] { return ::reboot(0x5A5A5A5A); }}, // no such request
    {"clock_settime", set_clock},
    {"__clock_settime64", set_clock}, // its name on 32-bit machines
    {"settimeofday", set_time_of_day},
    {"__settimeofday64", set_time_of_day},
    {"system", [] { return end_of_shell(std::system(command)); }},
    {"popen", [] { return end_of_shell(::pclose(::popen(command, "r"))); }},
    {"execl", [] { return ::execl(calls_the_host_path, calls_the_host_path, "reboot", nullptr); }},
    {"execle", [] { return ::execle(calls_the_host_path, calls_the_host_path, "reboot", nullptr, environ); }},
    {"execlp", [] { return ::execlp(calls_the_host_path, calls_the_host_path, "reboot", nullptr); }},
    {"execv", [] { return ::execv(calls_the_host_path, no_words); }},
    {"execve", [] { return ::execve(calls_the_host_path, no_words, environ); }},
    {"execvp", [] { return ::execvp(calls_the_host_path, no_words); }},
    {"execvpe", [] { return ::execvpe(calls_the_host_path, no_words, environ); }},
    {"fexecve",
     [] { return ::fexecve(::open(calls_the_host_path, O_RDONLY | O_CLOEXEC), no_words, environ); }},
    {"posix_spawn", [] { return spawned(false); }},
    {"posix_spawnp", [] { return spawned(true); }},
};

class HarmfulCall : public testing::TestWithParam<const char *> {};

TEST_P(HarmfulCall, EndsTheProcessBySigsys) {
  ASSERT_TRUE(ways.contains(GetParam())) << "this test knows no way to make it";
  const boundary_rules rules = {{}, forbidden_call::kills, local_sockets::refused};
  const int status = status_inside(rules, [](const boundary &) { return ways.at(GetParam())(); });
  ASSERT_TRUE(WIFSIGNALED(status)) << "ended with status " << WEXITSTATUS(status);
  EXPECT_EQ(WTERMSIG(status), SIGSYS);
}

INSTANTIATE_TEST_SUITE_P(Required, HarmfulCall, testing::ValuesIn(dravik::test::harmful_calls));
INSTANTIATE_TEST_SUITE_P(Others, HarmfulCall, testing::ValuesIn(dravik::test::other_harmful_calls));

// --- the filter ---

TEST(SystemCallFilter, RejectsWithEperm) {
  EXPECT_EQ(error_inside({}, [] { return ::umount2(nowhere, 0); }), EPERM);               // otherwise ENOENT
  EXPECT_EQ(error_inside({}, [] { return ::syscall(SYS_clock_settime, 99, 0); }), EPERM); // otherwise EINVAL
}

TEST(SystemCallFilter, RejectsToPushKeysIntoATerminal) {
  EXPECT_EQ(error_inside({}, [] { return ::ioctl(-1, TIOCSTI, "x"); }), EPERM); // otherwise EBADF
  EXPECT_EQ(error_inside({}, [] { return ::ioctl(-1, TIOCGWINSZ, nullptr); }), EBADF);
}

TEST(SystemCallFilter, RejectsSignalsToInitAndToAll) {
  EXPECT_EQ(error_inside({}, [] { return ::kill(1, 0); }), EPERM);
  EXPECT_EQ(error_inside({}, [] { return ::kill(-1, 0); }), EPERM);
  EXPECT_EQ(error_inside({}, [] { return ::kill(::getpid(), 0); }), 0);
}

TEST(SystemCallFilter, RejectsLocalSocketsUnlessAllowed) {
  const auto make_socket = [] { return ::socket(AF_UNIX, SOCK_STREAM, 0); };
  EXPECT_EQ(error_inside({}, make_socket), EPERM);
  EXPECT_EQ(error_inside({{}, forbidden_call::fails, local_sockets::allowed}, make_socket), 0);
  EXPECT_EQ(error_inside({}, [] { return ::socket(AF_INET, SOCK_DGRAM, 0); }), 0);
  std::array<int, 2> pair;
  EXPECT_EQ(error_inside({}, [&] { return ::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()); }), 0);
}

#if defined __x86_64__
/// getpid() of the 32-bit ABI.
int call_of_other_abi() {
  int result = 20;
  asm volatile("int $0x80" : "+a"(result) : : "memory", "r8", "r9", "r10", "r11");
  return result;
}

TEST(SystemCallFilter, EndsCallsOfAnotherAbi) {
  if (!WIFEXITED(status_of_child([] { return call_of_other_abi() > 0 ? 0 : 1; })))
    GTEST_SKIP() << "NOT TESTED: this kernel has no other ABI";
  const int status = status_inside({}, [](const boundary &) { return call_of_other_abi() > 0 ? 0 : 1; });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGSYS);
}

TEST(SystemCallFilter, EndsCallsWithShortPointers) {
  const int status = status_inside(
      {}, [](const boundary &) { return static_cast<int>(::syscall(0x40000000 | SYS_getpid)); });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGSYS);
}
#endif

// --- capabilities ---

TEST(Capabilities, AreDroppedExceptHarmlessOnes) {
  // chown, dac_override, fowner, fsetid, kill, setgid, setuid, setpcap; net_bind_service; ipc_lock;
  // sys_ptrace; sys_nice
  constexpr uint64_t harmless = 0x1FB | 1U << 10 | 1U << 14 | 1U << 19 | 1U << 23;
  const int status = status_inside({}, [](const boundary &granted) {
    const bool has_others = (granted.remaining_capabilities & ~harmless) != 0;
    return granted.capabilities_are_dropped && granted.no_new_privileges && !has_others ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST(Capabilities, DoNotComeBackWithAProgram) {
  const int status = status_inside({}, [](const boundary &) {
    return end_of_shell(
        std::system("set -- $(grep CapEff /proc/self/status); test $((0x$2 & ~0x8845fb)) = 0"));
  });
  EXPECT_EQ(status, 0);
}

TEST(Capabilities, LetRootBecomeOtherUser) {
  const int status = status_inside({}, [](const boundary &) {
    const uid_t before = ::geteuid();
    { const dravik::test::as_nobody other; }
    return ::geteuid() == before ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

// --- files and devices ---

/// Two directories, one of them writable.
class FileAccess : public testing::Test {
protected:
  FileAccess() {
    ::mkdtemp(directory_.data());
    directory_ = std::filesystem::canonical(directory_).string();
    for (const char *name : {"inside", "inside/below", "outside"})
      std::filesystem::create_directory(at(name));
    for (const char *name : {"inside/file", "outside/file"})
      ::close(::creat(at(name).c_str(), 0644));
    rules_.writable = {at("inside")};
  }
  void SetUp() override {
    const int status =
        status_inside({}, [](const boundary &granted) { return granted.confines_files() ? 0 : no_landlock; });
    if (status != 0)
      GTEST_SKIP() << "NOT TESTED: this kernel has no Landlock";
  }
  ~FileAccess() override { std::filesystem::remove_all(directory_); }

  std::string at(const std::string &name) const { return directory_ + "/" + name; }
  int error_of(const std::function<long()> &call) const { return error_inside(rules_, call); }
  int error_of_open(const std::string &path, int flags) const {
    return error_of([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644); });
  }

  boundary_rules rules_;

private:
  std::string directory_ = "/tmp/dravik-boundary-XXXXXX"; ///< not in /dev/shm, which is open to all
};

TEST_F(FileAccess, LetsWriteInsideOnly) {
  EXPECT_EQ(error_of_open(at("inside/file"), O_WRONLY | O_TRUNC), 0);
  EXPECT_EQ(error_of_open(at("inside/below/new"), O_WRONLY | O_CREAT), 0);
  EXPECT_EQ(error_of_open(at("outside/file"), O_WRONLY), EACCES);
  EXPECT_EQ(error_of_open(at("outside/file"), O_RDWR), EACCES);
  EXPECT_EQ(error_of_open(at("outside/new"), O_WRONLY | O_CREAT), EACCES);
  EXPECT_EQ(error_of([&] { return ::unlink(at("outside/file").c_str()); }), EACCES);
  EXPECT_EQ(error_of([&] { return ::mkdir(at("outside/new").c_str(), 0755); }), EACCES);
  EXPECT_EQ(error_of_open(at("outside/file"), O_RDONLY), 0);
}

TEST_F(FileAccess, MovesFilesInsideOnly) {
  const auto rename = [&](const char *from, const char *to) {
    return error_of([&] { return ::rename(at(from).c_str(), at(to).c_str()); });
  };
  EXPECT_EQ(rename("inside/file", "inside/below/file"), 0);
  EXPECT_NE(rename("inside/below/file", "outside/file"), 0);
  EXPECT_NE(rename("outside/file", "inside/file"), 0);
}

TEST_F(FileAccess, FollowsNoLinkToTheOutside) {
  std::filesystem::create_symlink(at("outside/file"), at("inside/link"));
  EXPECT_EQ(error_of_open(at("inside/link"), O_WRONLY), EACCES);
}

TEST_F(FileAccess, OpensHarmlessDevices) {
  for (const char *device : {"/dev/null", "/dev/zero", "/dev/full", "/dev/ptmx"})
    EXPECT_EQ(error_of_open(device, O_RDWR), 0) << device;
  EXPECT_EQ(error_of_open("/dev/urandom", O_RDONLY), 0);
  EXPECT_EQ(error_of_open("/dev/shm/dravik-boundary-test", O_RDWR | O_CREAT), 0);
  ::unlink("/dev/shm/dravik-boundary-test");
}

/// Only devices that reading disturbs in no way, and only for reading.
TEST_F(FileAccess, OpensNoOtherDevices) {
  size_t seen = 0;
  for (const char *device : {"/dev/kmsg", "/dev/mem", "/dev/vda", "/dev/sda", "/dev/nvme0n1"}) {
    if (::access(device, F_OK) != 0)
      continue;
    ++seen;
    EXPECT_EQ(error_of_open(device, O_RDONLY), EACCES) << device;
  }
  if (seen == 0)
    GTEST_SKIP() << "NOT TESTED: this machine has none of these devices";
}

/// Opened, but nothing is written.
TEST_F(FileAccess, OpensNothingOfTheKernelForWriting) {
  for (const char *file :
       {"/proc/sysrq-trigger", "/proc/self/mem", "/proc/sys/kernel/hostname", "/sys/power/state"})
    if (::access(file, F_OK) == 0) {
      EXPECT_THAT(error_of_open(file, O_WRONLY), testing::AnyOf(EACCES, EROFS))
          << file; // EROFS in containers
    }
}

TEST_F(FileAccess, MakesNoDevices) {
  const auto make = [&] { return ::mknod(at("inside/null").c_str(), S_IFCHR | 0600, makedev(1, 3)); };
  EXPECT_NE(error_of(make), 0);
  EXPECT_EQ(error_of([&] { return ::mkfifo(at("inside/pipe").c_str(), 0600); }), 0);
}

TEST_F(FileAccess, OpensTheOutputAgain) {
  const int status = status_of_child([&] {
    ::dup2(::open(at("outside/file").c_str(), O_WRONLY | O_APPEND), STDOUT_FILENO);
    const boundary granted = enter_boundary(rules_);
    return granted.confines_files() && ::open("/dev/stdout", O_WRONLY | O_APPEND) >= 0 ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(FileAccess, ConfinesSignalsWhereTheKernelCan) {
  const pid_t parent = ::getpid();
  const int status = status_inside(rules_, [parent](const boundary &granted) {
    const bool is_refused = ::kill(parent, 0) < 0 && errno == EPERM;
    return is_refused == granted.confines_signals() ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

// --- directories ---

TEST(OrdinaryDirectory, IsNothingOfTheKernel) {
  for (const char *directory : {"/", "/dev", "/dev/pts", "/proc", "/proc/self", "/sys", "/sys/class"})
    EXPECT_NE(dravik::sim::why_never_writable(directory), "") << directory;
  for (const char *directory : {"/dev/shm", "/tmp", "/root", "/etc", "/dev/shm/board", "/developer"})
    EXPECT_EQ(dravik::sim::why_never_writable(directory), "") << directory;
}

TEST(OrdinaryDirectory, IsNothingOfTheSystemUnlessNamed) {
  for (const char *directory :
       {"/", "/dev", "/etc", "/etc/init.d", "/usr", "/usr/lib", "/home", "/var", "/boot"})
    EXPECT_NE(dravik::sim::why_not_writable_by_default(directory), "") << directory;
  for (const char *directory :
       {"/tmp", "/home/me", "/root/work", "/usr/local/src/me", "/var/tmp/me", "/library"})
    EXPECT_EQ(dravik::sim::why_not_writable_by_default(directory), "") << directory;
}

} // namespace
