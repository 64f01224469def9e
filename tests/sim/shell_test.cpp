// Shell commands, mounts and restarts of an application: they reach the board and nothing else.

#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::IsEmpty;

/// The exit status of a command, as the shell of an application has it.
int run(const std::string &command) {
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class SimShell : public testing::Test {
protected:
  std::string witness() const { return board_.path() + "/witness"; }
  board board_;
};

// --- what is no command of the board ---

class SimShellRefuses : public SimShell, public testing::WithParamInterface<const char *> {};

TEST_P(SimShellRefuses, WithStatus127AnEventAndAMessage) {
  stderr_capture said;
  EXPECT_EQ(run(GetParam()), 127);
  EXPECT_THAT(board_.events(), ElementsAre(std::string{"shell: "} + GetParam() + " refused"));
  EXPECT_EQ(said.take(),
            std::string{"dravik-sim: "} + GetParam() + ": not a command of the board; rejected\n");
}

INSTANTIATE_TEST_SUITE_P(
    Commands, SimShellRefuses,
    testing::Values("true", "rm -rf /tmp/dravik-nothing", "umount /", "umount", "mount /dev/sda1 /mnt",
                    "mount /dev/mmcblk0p1 /mnt", "mkfs.vfat /dev/sda1", "dosfsck -a /dev/sda1", "poweroff",
                    "sync; true", "sync && true", "sync | cat", "sync > /tmp/file", "sync < /dev/null",
                    "amixer cset numid=1 $(true)", "amixer cset numid=1 `true`", "amixer cset 'numid=1' 5",
                    "amixer cset numid=1 5 2> /tmp/file", "sync & true", "reboots", "/bin/", "&"));

TEST_F(SimShell, RejectsAnEmptyCommandAndOneThatIsTooLong) {
  stderr_capture said;
  EXPECT_EQ(run(""), 127);
  EXPECT_EQ(run("sync " + std::string(2000, ' ') + std::string(2000, 'x')), 127);
  EXPECT_EQ(run("reboot" +
                [] {
                  std::string words;
                  for (int i = 0; i < 100; ++i)
                    words += " x";
                  return words;
                }()),
            127);
}

TEST_F(SimShell, RunsNothingOfTheHostUnlessTheSettingsSaySo) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  stderr_capture said;
  const std::string command = "echo seen > " + witness() + "; exit 3";
  EXPECT_EQ(run(command), 127);
  EXPECT_FALSE(board_.exists("witness"));
  board_.set("shell", "host");
  EXPECT_EQ(run(command), 3);
  EXPECT_EQ(board_.read("witness"), "seen\n");
  board_.set("shell", "board");
  EXPECT_EQ(run(command), 127);
}

TEST_F(SimShell, RunsCommandsOfBoardWithAnySettings) {
  board_.set("shell", "host");
  EXPECT_EQ(run("/bin/sync"), 0);
  EXPECT_THAT(board_.events(), ElementsAre("shell: /bin/sync"));
}

TEST_F(SimShell, ReportsThatThereIsAShell) {
  EXPECT_NE(std::system(nullptr), 0);
  EXPECT_THAT(board_.events(), IsEmpty());
}

TEST_F(SimShell, FailsIfInjected) {
  board_.set_fault("shell", "amixer", "EIO");
  EXPECT_EQ(run("amixer cset numid=1 5"), 1);
  EXPECT_EQ(run("sync"), 0);
  EXPECT_THAT(board_.events(), ElementsAre("shell: amixer cset numid=1 5 fails (injected)", "shell: sync"));
  EXPECT_FALSE(board_.exists("sound/mixer"));
}

// --- the mixer ---

TEST_F(SimShell, KeepsLastValueOfEachMixerControl) {
  EXPECT_EQ(run("amixer cset numid=77 on"), 0);
  EXPECT_EQ(run("amixer cset numid=5 108"), 0);
  EXPECT_EQ(run("amixer cset numid=1 113 &"), 0);
  EXPECT_EQ(run("amixer cset numid=5 0&"), 0);
  EXPECT_EQ(run("/usr/bin/amixer -q cset numid=64 off >/dev/null 2>&1"), 0);
  EXPECT_EQ(board_.read("sound/mixer"), "numid 77 = on\nnumid 1 = 113\nnumid 5 = 0\nnumid 64 = off\n");
  EXPECT_EQ(board_.events().at(2), "shell: amixer cset numid=1 113 &");
}

TEST_F(SimShell, RejectsMixerControlWithoutNumber) {
  EXPECT_EQ(run("amixer cset name=Master 5"), 1);
  EXPECT_FALSE(board_.exists("sound/mixer"));
}

// --- the flash ---

constexpr const char *dump_command = "/usr/sbin/nanddump -l 2048 -f /tmp/ptb -o /dev/mtd1 >& /dev/null";

TEST_F(SimShell, DumpsSplashLanguageFromFlash) {
  board_.set("splash_language", "ko");
  EXPECT_EQ(run(dump_command), 0);
  EXPECT_EQ(board_.read("tmp/ptb"), std::string(896, '\xFF') + "ko" + std::string(1150, '\xFF'));
  EXPECT_THAT(board_.events(), ElementsAre(std::string{"shell: "} + dump_command));
}

TEST_F(SimShell, DumpsEnglishByDefault) {
  EXPECT_EQ(run(dump_command), 0);
  EXPECT_EQ(board_.read("tmp/ptb").substr(896, 2), "en");
}

TEST_F(SimShell, DumpsOntoBoardOnly) {
  stderr_capture said;
  EXPECT_EQ(run("nanddump -l 2048 -f " + witness() + " /dev/mtd1"), 1);
  EXPECT_EQ(run("nanddump -l 2048 /dev/mtd1"), 1);
  EXPECT_FALSE(board_.exists("witness"));
}

// --- dd ---

TEST_F(SimShell, WritesIntoCardWithoutTruncation) {
  board_.write("dev/mmcblk0", std::string(4096, 'c'));
  board_.write("tmp/mbr.img", std::string(512, 'm'));
  EXPECT_EQ(run("/bin/dd if=/tmp/mbr.img of=/dev/mmcblk0 2>/dev/null"), 0);
  EXPECT_EQ(board_.read("dev/mmcblk0"), std::string(512, 'm') + std::string(3584, 'c'));
}

TEST_F(SimShell, PrintsCopiedSizeOfDd) {
  board_.write("tmp/mbr.img", std::string(512, 'm'));
  stderr_capture said;
  EXPECT_EQ(run("dd if=/tmp/mbr.img of=/tmp/ptb"), 0);
  EXPECT_THAT(said.take(), HasSubstr("512 bytes"));
}

TEST_F(SimShell, TouchesNoFileOfHostWithDd) {
  stderr_capture said;
  board_.write("tmp/mbr.img", "bytes");
  EXPECT_EQ(run("dd if=/tmp/mbr.img of=" + witness()), 1);
  EXPECT_EQ(run("dd if=/etc/passwd of=/tmp/ptb"), 1);
  EXPECT_EQ(run("dd if=/tmp/mbr.img"), 1);
  EXPECT_FALSE(board_.exists("witness"));
  EXPECT_FALSE(board_.exists("tmp/ptb"));
}

TEST_F(SimShell, UsesLastOutputOfDd) {
  board_.write("tmp/mbr.img", "bytes");
  stderr_capture said;
  EXPECT_EQ(run("dd of=/tmp/ptb if=/tmp/mbr.img of=" + witness()), 1);
  EXPECT_FALSE(board_.exists("witness"));
  EXPECT_FALSE(board_.exists("tmp/ptb"));
  EXPECT_EQ(run("dd of=" + witness() + " if=/tmp/mbr.img of=/tmp/ptb"), 0);
  EXPECT_FALSE(board_.exists("witness"));
  EXPECT_EQ(board_.read("tmp/ptb"), "bytes");
}

TEST_F(SimShell, CopiesBlocksBetweenPositions) {
  board_.write("tmp/mbr.img", "0123456789abcdef");
  board_.write("tmp/ptb", "................");
  EXPECT_EQ(run("dd if=/tmp/mbr.img of=/tmp/ptb bs=2 skip=3 seek=1 count=2 conv=notrunc 2>/dev/null"), 0);
  EXPECT_EQ(board_.read("tmp/ptb"), "..6789..........");
  EXPECT_EQ(run("dd if=/tmp/mbr.img of=/tmp/ptb bs=2 seek=1 count=1 2>/dev/null"), 0);
  EXPECT_EQ(board_.read("tmp/ptb"), "..01");
  EXPECT_EQ(run("dd if=/dev/zero of=/tmp/ptb bs=1k count=2x2 2>/dev/null"), 0);
  EXPECT_EQ(board_.read("tmp/ptb"), std::string(4096, '\0'));
}

/// The report of GNU dd, without the time and the rate.
TEST_F(SimShell, CountsRecordsOfDd) {
  board_.write("tmp/mbr.img", std::string(1300, 'm'));
  stderr_capture said;
  EXPECT_EQ(run("dd if=/tmp/mbr.img of=/tmp/ptb"), 0);
  EXPECT_THAT(said.take(),
              testing::StartsWith("2+1 records in\n2+1 records out\n1300 bytes (1.3 kB, 1.3 KiB) copied, "));
  EXPECT_EQ(run("dd if=/tmp/mbr.img of=/tmp/ptb bs=1300 status=noxfer"), 0);
  EXPECT_EQ(said.take(), "1+0 records in\n1+0 records out\n");
}

TEST_F(SimShell, ReportsFailuresOfDd) {
  board_.write("dev/mmcblk0", std::string(512, 'c'));
  stderr_capture said;
  EXPECT_EQ(run("dd if=/tmp/add/absent of=/tmp/ptb"), 1);
  EXPECT_EQ(said.take(), "dd: failed to open '/tmp/add/absent': No such file or directory\n");
  EXPECT_EQ(run("dd if=/dev/zero of=/dev/mmcblk0 count=2 status=none"), 1);
  EXPECT_EQ(said.take(), "dd: error writing '/dev/mmcblk0': No space left on device\n");
  for (const char *operand : {"bs=0", "bs=x", "count=99999999999999999999", "conv=swab", "bs", "frob=1"})
    EXPECT_EQ(run(std::string{"dd if=/dev/zero of=/tmp/ptb "} + operand), 1) << operand;
  EXPECT_FALSE(board_.exists("tmp/ptb"));
}

TEST_F(SimShell, LeavesLockedCardAlone) {
  stderr_capture said;
  board_.write("dev/mmcblk0", std::string(1024, 'c'));
  board_.write("gpio/68", "1\n");
  EXPECT_EQ(run("/bin/dd if=/dev/zero of=/dev/mmcblk0 count=1"), 1);
  EXPECT_EQ(board_.read("dev/mmcblk0"), std::string(1024, 'c'));
}

// --- the children of the simulator ---

TEST_F(SimShell, LeavesStatusOfOwnChildrenToApplication) {
  board_.write("tmp/mbr.img", "bytes");
  struct sigaction action = {};
  action.sa_handler = [](int) {
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
  };
  ASSERT_EQ(::sigaction(SIGCHLD, &action, nullptr), 0);
  EXPECT_EQ(run("dd if=/tmp/mbr.img of=/tmp/ptb 2>/dev/null"), 0);
  sigset_t mask;
  ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, nullptr, &mask), 0);
  EXPECT_EQ(::sigismember(&mask, SIGCHLD), 0) << "blocked for good";
}

TEST_F(SimShell, ServesSeveralThreadsAtTheSameTime) {
  board_.write("tmp/mbr.img", std::string(512, 'm'));
  const auto copy = [] {
    for (int i = 0; i < 5; ++i)
      EXPECT_EQ(run("dd if=/tmp/mbr.img of=/tmp/ptb 2>/dev/null"), 0);
  };
  std::thread other{copy};
  copy();
  other.join();
  EXPECT_EQ(board_.events().size(), 10U);
}

// --- restarts, sync, mounts ---

class SimRestart : public SimShell, public testing::WithParamInterface<const char *> {};

TEST_P(SimRestart, EndsTheApplicationWithStatus75AndANotice) {
  EXPECT_EXIT(std::system(GetParam()), ExitedWithCode(75),
              "^dravik-sim: .*reboot: board reboots; application terminated with exit status 75\n$");
  EXPECT_THAT(board_.events(), ElementsAre(std::string{"shell: "} + GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Commands, SimRestart,
                         testing::Values("/sbin/reboot", "reboot", "/sbin/reboot -f &"));

TEST_F(SimShell, RestartsByCallAsByCommand) {
  EXPECT_EXIT(::reboot(RB_AUTOBOOT), ExitedWithCode(75), "board reboots");
  EXPECT_EXIT(::reboot(RB_POWER_OFF), ExitedWithCode(75), "board reboots");
  EXPECT_THAT(board_.events(), ElementsAre("reboot: 0x1234567", "reboot: 0x4321fedc"));
}

TEST_F(SimShell, AcceptsRestartKeysWithoutRestart) {
  EXPECT_EQ(::reboot(static_cast<int>(RB_ENABLE_CAD)), 0);
  EXPECT_EQ(::reboot(RB_DISABLE_CAD), 0);
}

TEST_F(SimShell, RecordsSync) {
  ::sync();
  EXPECT_THAT(board_.events(), ElementsAre("sync"));
}

TEST_F(SimShell, NeitherMountsNorUnmountsHost) {
  const auto expect_refusal = [](int result) {
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, EPERM);
  };
  expect_refusal(::mount("none", "/mnt", "tmpfs", 0, nullptr));
  expect_refusal(::mount("/dev/mmcblk0p1", "/mnt", "vfat", 0, nullptr));
  expect_refusal(::mount(nullptr, nullptr, nullptr, 0, nullptr));
  expect_refusal(::umount("/"));
  expect_refusal(::umount2("/proc", MNT_DETACH));
  EXPECT_THAT(board_.events(), ElementsAre("mount: none /mnt", "mount: /dev/mmcblk0p1 /mnt",
                                           "mount: (none) (none)", "umount: /", "umount: /proc"));
}

} // namespace
} // namespace dravik::test
