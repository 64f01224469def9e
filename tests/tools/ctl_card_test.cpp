// "card" and "recordings".

#include "ctl_fixture.hpp"
#include "host/card.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace dravik::ctl_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class CtlCard : public CtlTool {
protected:
  void plug_in() const {
    board_.write("sys/block/mmcblk0/size", "15523840\n");
    list_partitions(" 179        0    7761920 mmcblk0\n 179        1    7761904 mmcblk0p1\n");
    mount("vfat rw");
    std::string sector(512, '\0');
    sector[450] = 0x0B;
    board_.write("dev/mmcblk0", sector);
  }
  void list_partitions(const std::string &lines) const {
    board_.write("proc/partitions", "major minor  #blocks  name\n\n" + lines);
  }
  void mount(const std::string &how) const {
    board_.write("proc/mounts",
                 how.empty() ? "" : "/dev/mmcblk0p1 /tmp/mmcblk0p1 " + how + ",relatime 0 0\n");
  }
};

TEST_F(CtlCard, ReportsThatThereIsNone) {
  EXPECT_EQ(asked({"card"}, ".present, .partitioned, .mounted, .healthy, .sectors, .size_mib"),
            "false\nfalse\nfalse\nfalse\n0\n0");
  EXPECT_EQ(asked({"card"}, ".file_system_mib, .free_mib"), "null\nnull");
}

TEST_F(CtlCard, ReportsSizes) {
  plug_in();
  struct statfs of_folder;
  ASSERT_EQ(::statfs(board_.path("tmp/mmcblk0p1").c_str(), &of_folder), 0);
  const auto mib = [&](auto blocks) {
    return static_cast<int64_t>(blocks) * static_cast<int64_t>(of_folder.f_bsize) / (1024 * 1024);
  };
  EXPECT_EQ(asked({"card"}, ".sectors, .size_mib"), "15523840\n7580");
  EXPECT_EQ(asked({"card"}, ".file_system_mib"), std::to_string(mib(of_folder.f_blocks)));
}

TEST_F(CtlCard, ReportsEachFinding) {
  plug_in();
  EXPECT_EQ(asked({"card"}, "[.present, .partitioned, .mounted, .fat32, .writable]"),
            "[true,true,true,true,true]");
  mount("vfat ro");
  EXPECT_EQ(asked({"card"}, "[.mounted, .fat32, .writable, .healthy]"), "[true,true,false,false]");
  mount("ext4 rw");
  EXPECT_EQ(asked({"card"}, "[.mounted, .fat32, .writable, .healthy]"), "[true,false,false,false]");
  mount("");
  EXPECT_EQ(asked({"card"}, "[.partitioned, .mounted, .free_mib]"), "[true,false,null]");
  list_partitions(" 179        0    7761920 mmcblk0\n");
  EXPECT_EQ(asked({"card"}, "[.present, .partitioned]"), "[true,false]");
}

TEST_F(CtlCard, ReportsWhetherItIsLocked) {
  plug_in();
  EXPECT_EQ(asked({"card"}, "[.locked, .healthy, .status]"), "[false,true,188]");
  board_.write("gpio/68", "1\n");
  EXPECT_EQ(asked({"card"}, "[.locked, .healthy, .status]"), "[true,false,252]");
}

TEST_F(CtlCard, ReportsUnknownLockWithoutDriver) {
  plug_in();
  board_.remove("proc/modules");
  EXPECT_EQ(asked({"card"}, "[.locked, .healthy, .status]"), "[null,false,252]");
  EXPECT_THAT(checked_output({"card"}), HasSubstr("\nlocked: -\n"));
}

TEST_F(CtlCard, ReportsProblemsOnCheck) {
  const auto complaint = [this] {
    const run_result result = run({"card", "check"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, HasSubstr("healthy: no\n"));
    return result.err;
  };
  EXPECT_EQ(complaint(), "dravik-ctl: card: not inserted\n");
  plug_in();
  mount("vfat ro");
  EXPECT_EQ(complaint(), "dravik-ctl: card: mounted read-only\n");
  mount("ext4 rw");
  EXPECT_EQ(complaint(), "dravik-ctl: card: file system or partition is not FAT32\n");
  mount("");
  EXPECT_EQ(complaint(), "dravik-ctl: card: not mounted\n");
  list_partitions(" 179        0    7761920 mmcblk0\n");
  EXPECT_EQ(complaint(), "dravik-ctl: card: no partition\n");
  board_.write("gpio/68", "1\n");
  EXPECT_EQ(complaint(), "dravik-ctl: card: write-protected\n");
  board_.remove("proc/modules");
  EXPECT_EQ(complaint(), "dravik-ctl: card: write-protect switch cannot be read without the GPIO driver\n");
}

TEST_F(CtlCard, WatchesTheState) {
  plug_in();
  const std::string line =
      "present: yes, locked: no, partitioned: yes, mounted: yes, fat32: yes, writable: yes, "
      "healthy: yes, status: 188, ";
  EXPECT_THAT(checked_output({"card", "--watch", "--count", "1"}), testing::StartsWith(line));
  test::application tool{board_, dravik_ctl_path, {"card", "--watch", "--interval", "10", "--json"}};
  tool.await_output("\"locked\": false");
  board_.write("gpio/68", "1\n");
  tool.await_output("\"locked\": true");
  tool.send(SIGTERM);
  EXPECT_EQ(tool.finish(), 0);
  EXPECT_EQ(tool.errors(), "");
  expect_misuse({"card", "check", "--watch"}, "card: extra --watch; must be without 'check'");
}

TEST_F(CtlCard, AcceptsHealthyCardOnCheck) {
  plug_in();
  EXPECT_EQ(asked({"card", "check"}, ".healthy"), "true");
}

// Without a card: should the question for --yes ever be lost, no command runs all the same.
TEST_F(CtlCard, DoesNotChangeTheCardUnlessThatIsMeant) {
  expect_misuse({"card", "repair"}, "card: missing --yes; repair unmounts the card");
  expect_misuse({"card", "partition"}, "card: missing --yes; partition destroys the contents of the card");
  expect_misuse({"card", "format"}, "card: missing --yes; format destroys the contents of the card");
  EXPECT_FALSE(board_.exists("tmp/debugfs") || board_.exists("tmp/mbr.img"));
}

TEST_F(CtlCard, ChangesNothingWhereThereIsNoCard) {
  for (const char *how : {"repair", "partition", "format"})
    expect_refusal({"card", how, "--yes"}, 1, "card: not inserted");
}

TEST_F(CtlCard, RejectsInvalidArguments) {
  expect_misuse({"card", "erase"},
                "card: invalid action 'erase'; must be check, repair, partition or format");
  expect_misuse({"card", "erase", "--yes"},
                "card: invalid action 'erase'; must be check, repair, partition or format");
  expect_misuse({"card", "check", "--yes"}, "card: extra --yes; must be with repair, partition or format");
  expect_misuse({"card", "--yes"}, "card: extra --yes; must be with repair, partition or format");
  expect_misuse({"card", "--force-not-a-board"},
                "card: extra --force-not-a-board; must be with repair, partition or format");
  expect_usage_error({"card", "check", "now"}, "extra argument 'now'");
}

/// A board with a real card. Nothing runs unless the simulator answers for the shell commands.
class CtlCardRepair : public CtlTool {
protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(sim::make_card(board_.path(), sim::smallest_card_mebibytes, error)) << error;
    board_.set("card_mounts", "script");
    checked_output({"mic", "off"});
    ASSERT_THAT(board_.events(), ElementsAre("shell: amixer cset numid=64 off"));
    board_.clear_events();
  }

  void put_in_again(sim::card_lock lock) const {
    std::string error;
    ASSERT_TRUE(sim::remove_card(board_.path(), error)) << error;
    ASSERT_TRUE(sim::insert_card(board_.path(), lock, error)) << error;
  }
};

TEST_F(CtlCardRepair, UnmountsChecksAndMountsOnRepair) {
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", "film");
  EXPECT_EQ(checked_output({"card", "repair", "--yes"}), "unmount: 0\ncheck: 0\nmount: 0\n");
  EXPECT_THAT(board_.events(), ElementsAre("umount: /tmp/mmcblk0p1", "shell: /bin/umount /dev/mmcblk0p1",
                                           "shell: /usr/local/bin/dosfsck -a /dev/mmcblk0p1",
                                           "shell: mount /dev/mmcblk0p1 /tmp/mmcblk0p1"));
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/KVX00001.TS"), "film");
  EXPECT_EQ(asked({"card", "repair", "--yes"}, "."), R"({"unmount":0,"check":0,"mount":0})");
}

TEST_F(CtlCardRepair, PrintsOutputOfCommandsIfVerbose) {
  const run_result result = run({"card", "repair", "--yes", "--verbose", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(checked_find(result.out, ".check"), "0");
  EXPECT_THAT(result.err, HasSubstr("fsck.fat "));
}

TEST_F(CtlCardRepair, ReportsWhenTheCardIsNotMountedAfterwards) {
  board_.set_fault("shell", "mount");
  const run_result result = run({"card", "repair", "--yes"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "unmount: 0\ncheck: 0\nmount: 1\n");
  EXPECT_THAT(result.err, testing::StartsWith("dravik-ctl: card: mount failed with exit status 1"));
}

TEST_F(CtlCardRepair, ReportsAFailedCheck) {
  std::filesystem::remove_all(board_.path("sys/block/mmcblk0/mmcblk0p1"));
  const run_result result = run({"card", "repair", "--yes"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "unmount: 0\ncheck: 6\nmount: 255\n");
  EXPECT_THAT(result.err, testing::StartsWith("dravik-ctl: card: check failed with exit status 6"));
}

TEST_F(CtlCardRepair, RepairsErrors) {
  board_.set_fault("shell", "dosfsck"); // exits with status 1, as after a repair
  EXPECT_EQ(checked_output({"card", "repair", "--yes"}), "unmount: 0\ncheck: 1\nmount: 0\n");
}

TEST_F(CtlCardRepair, RepairsACardThatIsNotMounted) {
  ASSERT_EQ(std::system("/bin/umount /dev/mmcblk0p1"), 0);
  EXPECT_THAT(checked_output({"card", "repair", "--yes"}), testing::EndsWith("check: 0\nmount: 0\n"));
  EXPECT_EQ(asked({"card", "check"}, ".healthy"), "true");
}

TEST_F(CtlCardRepair, RejectsABusyCardAndNamesItsUser) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  board_.write("tmp/mmcblk0p1/film", "film");
  for (const std::string how : {"repair", "format"})
    for (const std::string use : {"exec 3</tmp/mmcblk0p1/film", "cd /tmp/mmcblk0p1"}) {
      board_.clear_events();
      const std::string script = use + "; echo $$; (cd /; exec \"$0\" card " + how + " --yes 3<&-)";
      test::application shell{board_, "/bin/sh", {"-c", script, dravik_ctl_path}};
      EXPECT_EQ(shell.finish(), 1) << use;
      std::string process = shell.output();
      process.resize(process.find('\n'));
      EXPECT_EQ(shell.output(), process + "\n");
      EXPECT_EQ(shell.errors(), "dravik-ctl: card: busy, in use by sh (" + process + "); nothing changed\n");
      EXPECT_THAT(board_.events(), ElementsAre("umount: /tmp/mmcblk0p1")) << use;
    }
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/film"), "film");
}

TEST_F(CtlCardRepair, FormatsCardAndRestarts) {
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", "film");
  run({"card", "format", "--yes"});
  EXPECT_THAT(board_.events(), ElementsAre("umount: /tmp/mmcblk0p1", "shell: /bin/umount /dev/mmcblk0p1",
                                           "shell: /sbin/mkfs.vfat /dev/mmcblk0p1", "shell: /sbin/reboot"));
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/REC"));
  EXPECT_EQ(asked({"card", "check"}, ".healthy"), "true");
}

TEST_F(CtlCardRepair, PartitionsWholeCard) {
  run({"card", "partition", "--yes"});
  EXPECT_THAT(board_.events(),
              ElementsAre("shell: /bin/dd if=/tmp/mbr.img of=/dev/mmcblk0", "sync", "shell: /sbin/reboot"));
  const std::string table = board_.read("tmp/mbr.img");
  ASSERT_EQ(table.size(), 512U);
  EXPECT_EQ(table.substr(446, 16), std::string("\0\1\1\0\x0B\0\0\0\x20\0\0\0\xE0\xFF\x01\0", 16))
      << "sectors 32 to 131071";
}

TEST_F(CtlCardRepair, RejectsPartitionOfTinyCard) {
  board_.write("sys/block/mmcblk0/size", "2047\n");
  expect_refusal({"card", "partition", "--yes"}, 1, "card: too small: 2047 sectors; must be at least 2048");
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(CtlCardRepair, RunsNothingWithoutYes) {
  for (const char *how : {"repair", "partition", "format"})
    EXPECT_EQ(run({"card", how}).status, 2);
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(CtlCardRepair, RunsNothingOnLockedCard) {
  put_in_again(sim::card_lock::on);
  board_.clear_events();
  for (const char *how : {"repair", "partition", "format"})
    expect_refusal({"card", how, "--yes"}, 1, "card: write-protected");
  EXPECT_TRUE(board_.events().empty());
}

constexpr const char *not_a_board = "card: not a board, /dev/ambad and /proc/ambarella are missing; nothing "
                                    "changed; try --force-not-a-board";

TEST_F(CtlCardRepair, RejectsAMachineThatIsNotABoard) {
  board_.remove("dev/ambad");
  std::filesystem::remove_all(board_.path("proc/ambarella"));
  for (const char *how : {"repair", "partition", "format"})
    expect_refusal({"card", how, "--yes"}, 1, not_a_board);
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(CtlCardRepair, AcceptsABoardWithOneOfItsTwoMarks) {
  std::filesystem::remove_all(board_.path("proc/ambarella"));
  EXPECT_EQ(checked_output({"card", "repair", "--yes"}), "unmount: 0\ncheck: 0\nmount: 0\n");
}

TEST_F(CtlCardRepair, RunsWithForceOutsideBoard) {
  board_.remove("dev/ambad");
  std::filesystem::remove_all(board_.path("proc/ambarella"));
  EXPECT_EQ(checked_output({"card", "repair", "--yes", "--force-not-a-board"}),
            "unmount: 0\ncheck: 0\nmount: 0\n");
}

TEST_F(CtlCardRepair, RequiresYesWithForce) {
  EXPECT_EQ(run({"card", "format", "--force-not-a-board"}).status, 2);
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(CtlCardRepair, TreatsAnUnknownLockAsLocked) {
  board_.remove("proc/modules");
  for (const char *how : {"repair", "partition", "format"})
    expect_refusal({"card", how, "--yes"}, 1,
                   "card: write-protect switch cannot be read without the GPIO driver");
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(CtlCardRepair, RejectsLockedCardWithForce) {
  put_in_again(sim::card_lock::on);
  board_.clear_events();
  for (const char *how : {"repair", "partition", "format"})
    expect_refusal({"card", how, "--yes", "--force-not-a-board"}, 1, "card: write-protected");
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(CtlCardRepair, RejectsRepairWithoutPartition) {
  board_.write("proc/partitions", "major minor  #blocks  name\n\n 179        0      65536 mmcblk0\n");
  for (const char *how : {"repair", "format"})
    expect_refusal({"card", how, "--yes"}, 1, "card: no partition");
  EXPECT_TRUE(board_.events().empty());
}

class CtlRecordings : public CtlTool {
protected:
  void add(const std::string &name, time_t time, uintmax_t size) const {
    const std::string path = "tmp/mmcblk0p1/REC/" + name;
    board_.write(path, "");
    std::filesystem::resize_file(board_.path(path), size);
    const timespec times[2] = {{time, 0}, {time, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, board_.path(path).c_str(), times, 0), 0);
  }
};

TEST_F(CtlRecordings, ReportsRecordings) {
  add("KVX00007.TS", 2000, 3 << 20);
  add("KVX00042.TS", 1000, 2 << 20);
  add("EMB00001.TS", 1000, 0);
  add("EMD00002.TS", 3000, 0);
  EXPECT_EQ(asked({"recordings"}, "."),
            R"({"normal":{"count":2,"oldest":42,"size_mib":5},"event":{"count":2,"oldest":"B","next":"C"}})");
  EXPECT_EQ(checked_output({"recordings"}), "normal:\n  count: 2\n  oldest: 42\n  size mib: 5\n"
                                            "event:\n  count: 2\n  oldest: B\n  next: C\n");
}

TEST_F(CtlRecordings, ReportsOfAnEmptyDirectory) {
  add("other.txt", 1, 1);
  EXPECT_EQ(
      asked({"recordings"}, "."),
      R"({"normal":{"count":0,"oldest":null,"size_mib":0},"event":{"count":0,"oldest":null,"next":"A"}})");
}

TEST_F(CtlRecordings, ReportsWhenAllSlotsAreUsed) {
  for (const char slot : {'A', 'B', 'C', 'D', 'E'})
    add(std::string{"EM"} + slot + "00001.TS", 5000 - slot, 0);
  EXPECT_EQ(asked({"recordings"}, ".event"), R"({"count":5,"oldest":"E","next":null})");
}

TEST_F(CtlRecordings, ReportsWhenThereIsNoDirectory) {
  expect_refusal({"recordings"}, 1, "recordings: /tmp/mmcblk0p1/REC cannot be read");
}

} // namespace
} // namespace dravik::ctl_test
