// The serial port of applications that the launcher has started: a terminal, whose text a keeper keeps.

#include "base/unique_fd.hpp"
#include "log/terminal_pair.hpp"
#include "sim/follower.hpp"
#include "sim/launcher.hpp"
#include "support/application.hpp"
#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"
#include "support/serial_keeper.hpp"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace dravik::test {
namespace {

namespace files = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char *port = "dev/ttyS0";
constexpr const char *list = "dev/ttyS0.keeper";
constexpr const char *shell = "/bin/sh";

class SimSerialTerminal : public testing::Test {
protected:
  void SetUp() override { SKIP_HOST_PROGRAM_UNDER_EMULATION(); }
  outcome run_shell(const std::string &script) const {
    return launch({"run", board_.path(), "--", shell, "-c", script});
  }
  void type(std::string_view keys) const { board_.write("dev/ttyS0.in", keys); }
  /// A command of a shell that waits until let_go().
  std::string wait_here() const {
    ::mkfifo(board_.path("gate").c_str(), 0600);
    return "read go <" + board_.path("gate");
  }
  void let_go() const { board_.write("gate", "\n"); }
  std::string text() const { return board_.read("console"); }
  void expect_rest() const {
    EXPECT_TRUE(files::is_regular_file(files::symlink_status(board_.path(port))));
    EXPECT_FALSE(board_.exists(list));
    EXPECT_FALSE(board_.exists("dev/ttyS0.new"));
    EXPECT_EQ(board_.read(port), text());
  }
  /// As a keeper leaves it that was killed.
  void leave_behind(const std::string &terminal) const {
    board_.remove(port);
    files::create_symlink(terminal, board_.path(port));
    board_.write(list, terminal + "\n1\n");
  }

  const board board_;
};

// ------------------------------------------------------------------------------------------- the terminal

TEST_F(SimSerialTerminal, IsOneInEachDirection) {
  const outcome result =
      run_shell("exec 3</dev/ttyS0 4>/dev/ttyS0 5<>/dev/ttyS0\n"
                "test -t 3 && test -t 4 && test -t 5 && tty <&3 && stat -Lc %F /dev/ttyS0");
  EXPECT_THAT(result.output, testing::MatchesRegex("/dev/pts/[0-9]+\ncharacter special file\n"));
}

TEST_F(SimSerialTerminal, EchoesWhatIsTyped) {
  follower events{board_.path()};
  application reader{board_, shell, {"-c", "echo ready >/dev/ttyS0; head -n1 </dev/ttyS0"}};
  EXPECT_TRUE(events.sees("ttyS0: ready"));
  type("status\n");
  EXPECT_TRUE(events.sees("ttyS0: status"));
  EXPECT_EQ(reader.finish(), 0);
  EXPECT_EQ(reader.output(), "status\n");
  EXPECT_EQ(text(), "ready\r\nstatus\r\n");
}

TEST_F(SimSerialTerminal, EditsLines) {
  application reader{board_, shell, {"-c", "stty -F /dev/ttyS0 -echo; echo; head -n1 </dev/ttyS0"}};
  reader.await_output("\n");
  type("stop\x7F\x7F");
  type("art\n");
  EXPECT_EQ(reader.finish(), 0);
  EXPECT_EQ(reader.output(), "\nstart\n");
  EXPECT_EQ(text(), "");
}

TEST_F(SimSerialTerminal, PassesKeysInRawModeWithoutEcho) {
  application reader{board_, shell, {"-c", "stty -F /dev/ttyS0 raw -echo; echo; head -c3 </dev/ttyS0"}};
  reader.await_output("\n");
  type("\x03\x7Fk");
  EXPECT_EQ(reader.finish(), 0);
  EXPECT_EQ(reader.output(), "\n\x03\x7Fk");
  EXPECT_EQ(text(), "");
}

TEST_F(SimSerialTerminal, AcceptsMoreThanItHolds) {
  application reader{
      board_, shell, {"-c", "stty -F /dev/ttyS0 raw -echo; echo; head -c300000 </dev/ttyS0 | wc -c"}};
  reader.await_output("\n");
  type(std::string(300000, 'x'));
  EXPECT_EQ(reader.finish(), 0);
  EXPECT_EQ(reader.output(), "\n300000\n");
}

TEST_F(SimSerialTerminal, FailsToSetIfInjected) {
  for (const char *request : {"tcgetattr", "tcsetattr"}) {
    board_.set_fault(request, "/dev/ttyS0", "EIO");
    EXPECT_THAT(run_shell("stty -F /dev/ttyS0 raw").errors, HasSubstr("Input/output error")) << request;
    board_.clear_faults();
  }
  EXPECT_FALSE(board_.exists("dev/ttyS0.termios"));
  EXPECT_THAT(board_.events(), IsEmpty());
}

// ------------------------------------------------------------------------------------------- the text

TEST_F(SimSerialTerminal, KeepsEachByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte)
    bytes += static_cast<char>(byte);
  std::string all;
  while (all.size() < 200000)
    all += bytes;
  board_.write("usr/local/dravik/all", all);
  EXPECT_EQ(run_shell("stty -F /dev/ttyS0 raw; cat /usr/local/dravik/all >/dev/ttyS0").exit_status(), 0);
  EXPECT_TRUE(text() == all);
  expect_rest();
}

TEST_F(SimSerialTerminal, ReportsWholeLinesAsEvents) {
  EXPECT_EQ(run_shell("exec 3>/dev/ttyS0; printf 'one\\ntw' >&3; printf 'o\\n\\nthr' >&3; printf ee >&3")
                .exit_status(),
            0);
  EXPECT_THAT(board_.events(), ElementsAre("ttyS0: one", "ttyS0: two", "ttyS0: three"));
}

TEST_F(SimSerialTerminal, AppendsToSentText) {
  board_.write(port, "first\n");
  run_shell("echo second >/dev/ttyS0");
  expect_rest();
  const unique_fd plain{::open("/dev/ttyS0", O_WRONLY)};
  EXPECT_EQ(::write(plain.get(), "third\n", 6), 6);
  run_shell("echo fourth >/dev/ttyS0");
  expect_rest();
  EXPECT_EQ(text(), "first\nsecond\r\nthird\nfourth\r\n");
}

TEST_F(SimSerialTerminal, RestartsTextThatIsRemoved) {
  follower events{board_.path()};
  application sender{
      board_, shell, {"-c", "echo one >/dev/ttyS0; " + wait_here() + "; echo two >/dev/ttyS0"}};
  EXPECT_TRUE(events.sees("ttyS0: one"));
  board_.remove("console");
  let_go();
  EXPECT_TRUE(events.sees("ttyS0: two"));
  EXPECT_EQ(sender.finish(), 0);
  await_serial_keeper(board_.path());
  EXPECT_EQ(text(), "two\r\n");
  expect_rest();
}

// ------------------------------------------------------------------------------------------- the application

TEST_F(SimSerialTerminal, LeavesStatusAndChildrenOfApplicationAlone) {
  const outcome result = launch({"run", board_.path(), "--", "perl", "-e", "print wait(); exit 9"});
  EXPECT_EQ(result.output, "-1");
  EXPECT_EQ(result.exit_status(), 9);
  EXPECT_EQ(text(), "");
  expect_rest();
}

TEST_F(SimSerialTerminal, LeavesDescriptorsOfApplicationAlone) {
  EXPECT_THAT(run_shell("ls -l /proc/$$/fd").output,
              testing::Not(testing::AnyOf(HasSubstr("ptmx"), HasSubstr("pts"), HasSubstr("keeper"),
                                          HasSubstr("pidfd"))));
}

/// The first one's output has an end, as $(...) awaits it, though the keeper stays for the second.
TEST_F(SimSerialTerminal, IsSharedAndKeptForTheLastApplication) {
  follower events{board_.path()};
  const char *script = "readlink -f /dev/ttyS0; echo; head -n1 </dev/ttyS0; echo $0 >/dev/ttyS0";
  application first{
      board_, shell, {"-c", "readlink -f /dev/ttyS0; " + wait_here() + "; echo first >/dev/ttyS0"}};
  first.await_output("\n");
  application second{board_, shell, {"-c", script, "second"}};
  second.await_output("\n\n");
  let_go();
  EXPECT_TRUE(events.sees("ttyS0: first"));
  EXPECT_EQ(first.finish(), 0);
  type("go\n");
  EXPECT_EQ(second.finish(), 0);
  EXPECT_TRUE(events.sees("ttyS0: second"));
  EXPECT_EQ(second.output(), first.output() + "\ngo\n");
  await_serial_keeper(board_.path());
  expect_rest();
}

// ------------------------------------------------------------------------------------------- recovery,
// refusal

TEST_F(SimSerialTerminal, RecoversFromAKeeperThatWasKilled) {
  run_shell("echo before >/dev/ttyS0");
  leave_behind("/dev/pts/999999");
  EXPECT_EQ(run_shell("echo after >/dev/ttyS0").exit_status(), 0);
  EXPECT_EQ(text(), "before\r\nafter\r\n");
  expect_rest();
}

TEST_F(SimSerialTerminal, ReplacesTerminalOfKilledKeeper) {
  const terminal_pair window;
  leave_behind(window.name());
  EXPECT_EQ(run_shell("echo text >/dev/ttyS0").exit_status(), 0);
  EXPECT_EQ(text(), "text\r\n");
  EXPECT_EQ(window.read_all(), "");
}

TEST_F(SimSerialTerminal, KeepsLinkOfUser) {
  const terminal_pair cable;
  board_.remove(port);
  files::create_symlink(cable.name(), board_.path(port));
  EXPECT_EQ(run_shell("echo far >/dev/ttyS0").exit_status(), 0);
  EXPECT_EQ(cable.read_all(), "far\r\n");
  EXPECT_EQ(files::read_symlink(board_.path(port)), cable.name());
  EXPECT_FALSE(board_.exists(list));
  EXPECT_FALSE(board_.exists("console"));
}

TEST_F(SimSerialTerminal, IsMissingOnBoardWithoutPort) {
  board_.remove(port);
  EXPECT_NE(run_shell("echo none >/dev/ttyS0").exit_status(), 0);
  EXPECT_FALSE(board_.exists(port));
  EXPECT_FALSE(board_.exists(list));
}

TEST_F(SimSerialTerminal, StaysRemoved) {
  run_shell("rm " + board_.path(port));
  EXPECT_FALSE(board_.exists(port));
  EXPECT_FALSE(board_.exists(list));
}

TEST_F(SimSerialTerminal, WorksWithoutThePipe) {
  board_.remove("dev/ttyS0.in");
  EXPECT_EQ(run_shell("echo text >/dev/ttyS0").exit_status(), 0);
  EXPECT_EQ(text(), "text\r\n");
  board_.write("dev/ttyS0.in", "a plain file");
  EXPECT_EQ(run_shell("stty -F /dev/ttyS0 -echo; echo more >/dev/ttyS0").exit_status(), 0);
  EXPECT_THAT(text(), HasSubstr("more\r\n"));
}

TEST_F(SimSerialTerminal, UsesPlainFileWithoutTerminals) {
  board_.write("usr/local/dravik/text", "text\n");
  const std::string script = "exec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-; exec prlimit --nofile=$0:$0 \"$@\" <" +
                             board_.path("usr/local/dravik/text");
  for (const char *descriptors : {"6", "7"}) {
    const outcome result = run(
        {shell, "-c", script, descriptors, launcher_path, "run", board_.path(), "--", "tee", "/dev/ttyS0"});
    EXPECT_EQ(result.exit_status(), 0) << descriptors;
    EXPECT_EQ(result.errors, "") << descriptors;
    EXPECT_FALSE(board_.exists(list)) << descriptors;
  }
  EXPECT_EQ(board_.read(port), "text\ntext\n");
}

// ------------------------------------------------------------------------------------------- boards of strangers

/// Some of a board's files are links to those of the host's directory outside().
class SimSerialTerminalLinks : public SimSerialTerminal {
protected:
  SimSerialTerminalLinks() {
    files::create_directory(outside());
    std::ofstream{outside("secret")} << "host";
  }
  ~SimSerialTerminalLinks() override { files::remove_all(outside()); }

  std::string outside(const std::string &name = "") const { return board_.path() + "-outside/" + name; }
  void link(const std::string &name, const char *inside) const {
    files::remove_all(board_.path(inside));
    files::create_symlink(outside(name), board_.path(inside));
  }
  int send_a_line() const {
    const outcome result = run_shell("echo line >/dev/ttyS0");
    await_serial_keeper(board_.path());
    return result.exit_status();
  }
  void expect_outside_unchanged() const {
    std::ifstream secret{outside("secret")};
    std::string text;
    std::getline(secret, text);
    EXPECT_EQ(text, "host");
    EXPECT_EQ(std::distance(files::directory_iterator{outside()}, {}), 1);
  }
};

TEST_F(SimSerialTerminalLinks, KeepListOffTheHost) {
  for (const char *target : {"secret", "new"}) {
    link(target, list);
    EXPECT_EQ(send_a_line(), 0);
    expect_outside_unchanged();
  }
}

TEST_F(SimSerialTerminalLinks, KeepTextOffTheHost) {
  link("secret", "console");
  EXPECT_EQ(send_a_line(), 0);
  expect_outside_unchanged();
  EXPECT_EQ(text(), "line\r\n");
  expect_rest();
}

TEST_F(SimSerialTerminalLinks, KeepTextOfKilledKeeperOffTheHost) {
  leave_behind("/dev/pts/999999");
  link("new", "console");
  send_a_line();
  expect_outside_unchanged();
  EXPECT_FALSE(files::is_symlink(board_.path(port)) &&
               files::read_symlink(board_.path(port)) == outside("new"));
}

TEST_F(SimSerialTerminalLinks, IgnoreDirectoryOutside) {
  files::remove(outside("secret"));
  files::rename(board_.path("dev"), outside("dev"));
  link("dev", "dev");
  send_a_line();
  EXPECT_TRUE(files::is_regular_file(files::symlink_status(outside("dev/ttyS0"))));
  EXPECT_FALSE(files::exists(outside("dev/ttyS0.keeper")));
  EXPECT_FALSE(board_.exists("console"));
}

TEST_F(SimSerialTerminalLinks, IgnorePipeOutside) {
  ASSERT_EQ(::mkfifo(outside("pipe").c_str(), 0600), 0);
  const unique_fd pipe{::open(outside("pipe").c_str(), O_RDWR | O_NONBLOCK)};
  ASSERT_EQ(::write(pipe.get(), "typed\n", 6), 6);
  link("pipe", "dev/ttyS0.in");
  follower events{board_.path()};
  application sender{board_, shell, {"-c", "echo line >/dev/ttyS0; " + wait_here()}};
  EXPECT_TRUE(events.sees("ttyS0: line"));
  let_go();
  EXPECT_EQ(sender.finish(), 0);
  await_serial_keeper(board_.path());
  char typed[16];
  EXPECT_EQ(::read(pipe.get(), typed, sizeof typed), 6);
}

} // namespace
} // namespace dravik::test
