// The boundary around applications, as users run them: what they cannot do to this machine, and what still
// works. This program itself calls nothing that could do harm, and the application that does looks for the
// filter first.

#include "sim/launcher.hpp"
#include "support/paths.hpp"
#include "support/serial_keeper.hpp"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <span>
#include <sstream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace dravik::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using words = std::vector<std::string>;

const words ordinary_user = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};

/// As the simulator itself starts it: a sanitizer's launcher has no library preloaded before its own.
const std::string own_launcher = std::string{"env -u LD_PRELOAD "} + launcher_path;

bool has_program(const char *name) {
  return run({"sh", "-c", std::string{"command -v "} + name}).exit_status() == 0;
}

bool ordinary_user_reaches_launcher() {
  words command = ::geteuid() == 0 ? ordinary_user : words{};
  command.insert(
      command.end(),
      {"sh", "-c", std::string{"test -x "} + launcher_path}); // setpriv itself still has root's rights
  return run(command).exit_status() == 0;
}

/// A board, a directory to write in and one that is not; the test works in the first.
class Boundary : public testing::Test {
protected:
  Boundary() {
    ::mkdtemp(directory_.data());
    directory_ = std::filesystem::canonical(directory_).string();
    ::chmod(directory_.c_str(), 0777);
    for (const char *name : {"work", "named", "outside"})
      make_directory(name);
    std::filesystem::current_path(at("work"));
    EXPECT_EQ(launch({"new", at("desk"), "--card", "0"}).exit_status(), 0);
  }
  ~Boundary() override {
    std::filesystem::current_path("/");
    await_serial_keeper(at("desk"));
    std::filesystem::remove_all(directory_);
  }

  void make_directory(const char *name) const {
    std::filesystem::create_directory(at(name));
    ::chmod(at(name).c_str(), 0777);
  }
  std::string at(const std::string &name) const { return directory_ + "/" + name; }
  bool exists(const std::string &name) const { return std::filesystem::exists(at(name)); }
  outcome run_on_board(const words &application, words options = {}) const {
    options.insert(options.begin(), {"run", at("desk")});
    options.emplace_back("--");
    options.insert(options.end(), application.begin(), application.end());
    return launch(options);
  }
  outcome run_shell(const std::string &script, const words &options = {}) const {
    return run_on_board({"sh", "-c", script}, options);
  }
  std::string checked_explanation(words options = {}) const {
    options.insert(options.begin(), {"run", "--explain", at("desk")});
    const outcome result = launch(options);
    EXPECT_EQ(result.exit_status(), 0) << result.errors;
    return result.output;
  }
  bool has_landlock() const { return checked_explanation().find("Landlock, ABI") != std::string::npos; }

private:
  std::string directory_ = "/tmp/dravik-boundary-XXXXXX"; ///< not in /dev/shm, which is open to all
};

// --- what is kept in ---

TEST_F(Boundary, RejectsCallsThatActOnTheMachine) {
  const outcome result = run_on_board({calls_the_host_path});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_THAT(result.output, StartsWith("reboot EPERM\n"));
  size_t lines = 0;
  std::istringstream text{result.output};
  for (std::string line; std::getline(text, line); ++lines)
    EXPECT_THAT(line, EndsWith(" EPERM"));
  EXPECT_GE(lines, 27U);
}

TEST_F(Boundary, OpensNoDeviceThatIsInABoard) {
  std::filesystem::remove(at("desk/dev/ambad"));
  if (::mknod(at("desk/dev/ambad").c_str(), S_IFCHR | 0666, 0x103) != 0) // that of /dev/null
    GTEST_SKIP() << "requires permission to create device nodes";
  const outcome result = run_on_board({"cat", "/dev/ambad"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(result.errors, HasSubstr("Permission denied"));
}

TEST_F(Boundary, AppliesToChildrenWithoutSimulator) {
  const outcome result =
      run_shell(std::string{"unset LD_PRELOAD DRAVIK_BOARD; env -i "} + calls_the_host_path + " umount2");
  EXPECT_EQ(result.output, "umount2 EPERM\n");
}

TEST_F(Boundary, LeavesNoDangerousCapability) {
  const outcome result = run_shell("grep -E '^(Cap|NoNewPrivs|Seccomp:)' /proc/self/status");
  EXPECT_THAT(result.output, AllOf(HasSubstr("NoNewPrivs:\t1\n"), HasSubstr("Seccomp:\t2\n")));
  std::istringstream text{result.output};
  for (std::string name, value; text >> name >> value;)
    if (name.starts_with("Cap") &&
        (name != "CapBnd:" || ::geteuid() == 0)) { // only root can lower the bounding set
      EXPECT_EQ(std::stoull(value, nullptr, 16) & ~0x8845FBULL, 0U) << name << value;
    }
}

TEST_F(Boundary, LetsWriteTheBoardAndTheWorkingDirectoryAlone) {
  if (!has_landlock())
    GTEST_SKIP() << "NOT TESTED: this kernel has no Landlock";
  const std::string script =
      "echo x >in-work; echo x >" + at("desk/on-board") + "; echo x >" + at("outside/file");
  const outcome result = run_shell(script);
  EXPECT_TRUE(exists("work/in-work"));
  EXPECT_TRUE(exists("desk/on-board"));
  EXPECT_FALSE(exists("outside/file"));
  EXPECT_NE(result.exit_status(), 0);
}

TEST_F(Boundary, LetsWriteNamedDirectories) {
  const outcome result =
      run_shell("echo x >" + at("named/file") + "; echo \"$DRAVIK_WRITABLE\"", {"--writable", "../named"});
  EXPECT_TRUE(exists("named/file"));
  EXPECT_EQ(result.output, at("work") + ":" + at("named") + "\n");
}

TEST_F(Boundary, WritesNotInTheRootOrASystemDirectory) {
  for (const char *directory : {"/", "/usr/lib"}) {
    std::filesystem::current_path(directory);
    EXPECT_EQ(run_shell("echo \"$DRAVIK_WRITABLE\"").output, "\n") << directory;
    EXPECT_THAT(checked_explanation(),
                HasSubstr("not the working directory " + std::string{directory} + ": "));
  }
}

TEST_F(Boundary, RejectsToMakeTheKernelsDirectoriesWritable) {
  for (const char *directory : {"/", "/dev", "/proc", "/sys", "/proc/sys", "/no-such-directory"}) {
    const outcome result = run_on_board({"true"}, {"--writable", directory});
    EXPECT_EQ(result.exit_status(), 1);
    EXPECT_THAT(result.errors, StartsWith("dravik-sim: " + std::string{directory} + ": "));
  }
}

TEST_F(Boundary, ReturnsToolsATemporaryDirectoryOnTheBoard) {
  const outcome result = run_shell("echo \"$TMPDIR\"");
  EXPECT_EQ(result.output, at("desk/tmp") + "\n");
}

// --- what still works ---

TEST_F(Boundary, KeepsExitStatusAndSignals) {
  EXPECT_EQ(run_shell("exit 5").exit_status(), 5);
  const outcome result = run_shell("kill -SEGV $$");
  ASSERT_TRUE(WIFSIGNALED(result.status));
  EXPECT_EQ(WTERMSIG(result.status), SIGSEGV);
}

TEST_F(Boundary, LetsDevicesOfEveryDayBeUsed) {
  const outcome result =
      run_shell("echo x >/dev/null; head -c 4 /dev/zero | wc -c; head -c 2 /dev/urandom | wc -c; "
                "echo y >>/dev/stdout");
  EXPECT_EQ(result.output, "4\n2\ny\n");
  EXPECT_EQ(result.errors, "");
}

TEST_F(Boundary, LetsADebuggerWork) {
  if (!has_program("gdb"))
    GTEST_SKIP() << "NOT TESTED: gdb is not installed";
  const outcome result =
      run_on_board({"gdb", "-q", "-batch", "-ex", "break main", "-ex", "run", "-ex", "set var count=9", "-ex",
                    "print count", "-ex", "continue", calls_the_host_path});
  EXPECT_THAT(result.output, AllOf(HasSubstr("Breakpoint 1, "), HasSubstr("exited normally")));
}

TEST_F(Boundary, LetsATracerWork) {
  if (!has_program("strace"))
    GTEST_SKIP() << "NOT TESTED: strace is not installed";
  const outcome result = run_on_board({"strace", "-e", "trace=umount2", calls_the_host_path, "umount2"});
  EXPECT_EQ(result.output, "umount2 EPERM\n");
  EXPECT_THAT(result.errors, HasSubstr("EPERM"));
}

TEST_F(Boundary, KeepsRealTimePriorityThatTheUserHas) {
  rlimit limit;
  ::getrlimit(RLIMIT_RTPRIO, &limit);
  if (::geteuid() != 0 && limit.rlim_cur == 0)
    GTEST_SKIP() << "NOT TESTED: this user has no real-time priority";
  EXPECT_EQ(run_on_board({"chrt", "-f", "1", "true"}).exit_status(),
            run({"chrt", "-f", "1", "true"}).exit_status());
}

TEST_F(Boundary, AppliesInsideBoundary) {
  const std::string inner = own_launcher + " run " + at("desk") + " -- ";
  EXPECT_EQ(run_shell(inner + calls_the_host_path + " umount2").output, "umount2 EPERM\n");
  EXPECT_EQ(run_shell(inner + "sh -c 'echo x >" + at("desk/on-board") + "'").exit_status(), 0);
}

TEST_F(Boundary, LetsTheCardBeHandled) {
  if (!has_program("mcopy") || ::access("/sbin/mkfs.vfat", X_OK) != 0)
    GTEST_SKIP() << "NOT TESTED: dosfstools and mtools are not installed";
  EXPECT_EQ(launch({"new", at("carded"), "--card", "64"}).exit_status(), 0);
  const std::string card = own_launcher + " card " + at("carded");
  const outcome result = launch({"run", at("carded"), "--", "sh", "-c",
                                 "echo kept >/tmp/mmcblk0p1/FILE && " + card + " umount && " + card +
                                     " mount && cat /tmp/mmcblk0p1/FILE"});
  EXPECT_EQ(result.output, "kept\n");
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
}

TEST_F(Boundary, LetsLocalSocketsBeUsedWhenAsked) {
  EXPECT_EQ(run_on_board({calls_the_host_path, "local-socket"}).output, "local-socket EPERM\n");
  EXPECT_EQ(run_on_board({calls_the_host_path, "local-socket"}, {"--local-sockets"}).output,
            "local-socket 0\n");
}

TEST_F(Boundary, AppliesToOrdinaryUser) {
  if (::geteuid() != 0)
    GTEST_SKIP() << "all these tests run as one";
  words command = ordinary_user;
  command.insert(command.end(), {launcher_path, "run", at("desk"), "--", calls_the_host_path, "umount2"});
  if (!ordinary_user_reaches_launcher())
    GTEST_SKIP() << "NOT TESTED: an ordinary user cannot reach the build tree";
  EXPECT_EQ(run(command).output, "umount2 EPERM\n");
}

// --- explanation ---

TEST_F(Boundary, ExplainsEachPart) {
  const std::string text = checked_explanation({"--writable", at("named")});
  for (const char *part :
       {"capabilities", "privileges", "system calls", "local sockets", "tracing", "signals", "unconfined"})
    EXPECT_THAT("\n" + text, HasSubstr("\n" + std::string{part} + " "));
  if (!has_landlock())
    return;
  for (const std::string &line :
       {at("desk") + " (the board)", at("work") + " (the working directory)", at("named") + " (--writable)"})
    EXPECT_THAT(text, HasSubstr(line));
}

TEST_F(Boundary, RejectsInvalidUsage) {
  EXPECT_EQ(launch({"run", "--explain"}).exit_status(), 2);
  EXPECT_EQ(launch({"run", at("desk"), "--writable"}).exit_status(), 2);
  EXPECT_EQ(launch({"run", at("desk"), "--eat", "--", "true"}).exit_status(), 2);
  EXPECT_EQ(launch({"run", at("desk"), "--trust"}).exit_status(), 2);
}

// --- older kernels ---

/// A part of the boundary that a kernel lacks: this system call fails, if its first argument has
/// this value.
struct missing {
  long call;
  int error;
  long first_argument = -1; ///< any, if negative
};

constexpr missing no_landlock[] = {{444, ENOSYS}};
constexpr missing no_boundary[] = {
    {444, ENOSYS},
    {SYS_seccomp, ENOSYS},
    {SYS_capset, EPERM},
    {SYS_prctl, EINVAL, PR_SET_SECCOMP},
    {SYS_prctl, EPERM, PR_CAPBSET_DROP},
};

std::vector<sock_filter> filter_without(std::span<const missing> parts) {
  std::vector<sock_filter> steps;
  const auto add = [&](int code, uint32_t value, uint8_t if_false = 0) {
    steps.push_back({static_cast<uint16_t>(code), 0, if_false, value});
  };
  for (const missing &part : parts) {
    const bool is_any = part.first_argument < 0;
    add(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    add(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(part.call), is_any ? 1 : 3);
    if (!is_any) {
      add(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args));
      add(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(part.first_argument), 1);
    }
    add(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<uint32_t>(part.error));
  }
  add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  return steps;
}

enum class user { same, ordinary };

[[noreturn]] void become_without(std::span<const missing> parts, const words &command, user who, int output,
                                 int errors) {
  std::vector<sock_filter> steps = filter_without(parts);
  const sock_fprog program = {static_cast<unsigned short>(steps.size()), steps.data()};
  const bool changes = who == user::ordinary && ::geteuid() == 0;
  if ((changes && (::setgid(65534) != 0 || ::setuid(65534) != 0)) ||
      ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) != 0)
    ::_exit(126);
  become(command, output, errors);
}

/// Run a command as on a kernel without these parts.
outcome run_without(std::span<const missing> parts, const words &command, user who = user::same) {
  outcome result;
  FILE *output = std::tmpfile();
  FILE *errors = std::tmpfile();
  const pid_t child = ::fork();
  if (child == 0)
    become_without(parts, command, who, ::fileno(output), ::fileno(errors));
  ::waitpid(child, &result.status, 0);
  result.output = contents(output);
  result.errors = contents(errors);
  return result;
}

TEST_F(Boundary, IsRequiredByRootUnlessTrusted) {
  if (::geteuid() != 0)
    GTEST_SKIP() << "for root alone";
  const outcome refused =
      run_without(no_boundary, {launcher_path, "run", at("desk"), "--", "touch", "started"});
  EXPECT_EQ(refused.exit_status(), 1);
  EXPECT_THAT(refused.errors, AllOf(StartsWith("dravik-sim: run: "), HasSubstr("--trust")));
  EXPECT_FALSE(exists("work/started"));
  const outcome trusted =
      run_without(no_boundary, {launcher_path, "run", at("desk"), "--trust", "--", "touch", "started"});
  EXPECT_EQ(trusted.exit_status(), 0);
  EXPECT_EQ(trusted.errors, "");
  EXPECT_TRUE(exists("work/started"));
}

TEST_F(Boundary, WarnsAnOrdinaryUserOnceWhereItIsMissing) {
  if (!ordinary_user_reaches_launcher())
    GTEST_SKIP() << "NOT TESTED: an ordinary user cannot reach the build tree";
  const outcome result =
      run_without(no_boundary, {launcher_path, "run", at("desk"), "--", "sh", "-c", ":"}, user::ordinary);
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_THAT(result.errors, StartsWith("dravik-sim: warning: "));
  EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1);
}

TEST_F(Boundary, ExplainsWhatIsMissing) {
  const outcome result = run_without(no_landlock, {launcher_path, "run", "--explain", at("desk")});
  EXPECT_THAT(result.output, AllOf(HasSubstr("devices, files  not confined"),
                                   HasSubstr("system calls    rejected"), Not(HasSubstr("sys_ptrace"))));
  EXPECT_THAT(run_without(no_boundary, {launcher_path, "run", "--explain", at("desk")}).output,
              AllOf(HasSubstr("devices, files  not confined"), HasSubstr("system calls    not confined")));
}

} // namespace
} // namespace dravik::test
