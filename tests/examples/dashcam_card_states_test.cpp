// What the demonstration makes of the card at each look, while the kernel reports it piece by piece.

#include "dravik.h"
#include "support/board.hpp"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow" // in C, a function may have the name of a structure
extern "C" {
#include "board.h"
}
#pragma GCC diagnostic pop

#include <filesystem>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class DashcamCardStates : public testing::Test {
protected:
  DashcamCardStates() {
    take_out();
    ::board_look_around();
    on_.clear_events();
  }

  // What the kernel reports, in its order.
  void insert_disk(const std::string &sectors = "131072\n") const {
    on_.write("sys/block/mmcblk0/size", sectors);
    list_partitions(" 179        0      65536 mmcblk0\n");
  }
  void find_partition() const {
    std::string sector(512, '\0');
    sector[450] = 0x0B;
    on_.write("dev/mmcblk0", sector);
    list_partitions(" 179        0      65536 mmcblk0\n 179        1      65520 mmcblk0p1\n");
  }
  void mount() const {
    on_.write("proc/mounts", "rootfs / rootfs rw 0 0\n/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw,relatime 0 0\n");
  }
  /// The mount stays.
  void take_out() const {
    std::filesystem::remove_all(on_.path("sys/block/mmcblk0"));
    list_partitions("");
  }
  void insert_and_mount() const {
    insert_disk();
    find_partition();
    mount();
  }
  void list_partitions(const std::string &lines) const {
    on_.write("proc/partitions", "major minor  #blocks  name\n\n" + lines);
  }

  static const card &look() {
    ::board_look_around();
    return ::board()->card;
  }
  void expect_detached() const {
    EXPECT_THAT(on_.events(), Contains("umount: /tmp/mmcblk0p1"));
    EXPECT_THAT(on_.read("proc/mounts"), Not(HasSubstr("mmcblk0p1")));
  }

  const test::board on_;
};

TEST_F(DashcamCardStates, HealthyCardIsUsable) {
  insert_and_mount();
  EXPECT_EQ(look().status, DRAVIK_CARD_HEALTHY);
  EXPECT_TRUE(look().is_usable);
  EXPECT_THAT(on_.events(), Not(Contains("umount: /tmp/mmcblk0p1")));
}

TEST_F(DashcamCardStates, PartitionAndMountAreAwaited) {
  insert_disk();
  EXPECT_EQ(look().status, 0);
  find_partition();
  EXPECT_EQ(look().status, 0);
  mount();
  EXPECT_EQ(look().status, DRAVIK_CARD_HEALTHY);
}

TEST_F(DashcamCardStates, SlowPartitionIsAwaitedForSixSeconds) {
  insert_disk();
  for (int looks = 0; looks < 12; ++looks) // two per second
    EXPECT_EQ(look().status, 0);
  EXPECT_EQ(look().status, DRAVIK_CARD_PRESENT);
  EXPECT_FALSE(look().is_usable);
}

/// A board may have no script that mounts it.
TEST_F(DashcamCardStates, CardThatStaysUnmountedIsMountedAfterSixSeconds) {
  insert_disk();
  find_partition();
  for (int looks = 0; looks < 12; ++looks)
    EXPECT_EQ(look().status, 0);
  EXPECT_THAT(on_.events(), Not(Contains(HasSubstr("mount"))));
  EXPECT_EQ(look().status, DRAVIK_CARD_PRESENT | DRAVIK_CARD_PARTITIONED) << "has no file system";
  EXPECT_THAT(on_.events(), ElementsAre("mount: /dev/mmcblk0p1 /tmp/mmcblk0p1", // writable, then read-only
                                        "mount: /dev/mmcblk0p1 /tmp/mmcblk0p1"));
  EXPECT_THAT(on_.read("tmp/dravik.log"), HasSubstr("card: cannot be mounted: "));
  look();
  EXPECT_EQ(on_.events().size(), 2U) << "once";
}

/// It is unmounted first, and not an error meanwhile.
TEST_F(DashcamCardStates, CardThatIsBeingRemovedIsAwaited) {
  insert_and_mount();
  look();
  on_.write("proc/mounts", "rootfs / rootfs rw 0 0\n");
  EXPECT_TRUE(look().is_usable);
  take_out();
  EXPECT_EQ(look().status, 0);
}

TEST_F(DashcamCardStates, UnmountedCardIsReportedAtTheSecondLook) {
  insert_and_mount();
  look();
  on_.write("proc/mounts", "rootfs / rootfs rw 0 0\n");
  EXPECT_EQ(look().status, DRAVIK_CARD_HEALTHY);
  EXPECT_EQ(look().status, DRAVIK_CARD_PRESENT | DRAVIK_CARD_PARTITIONED);
  look();
  EXPECT_THAT(on_.events(), Not(Contains(HasSubstr("mount")))) << "someone has unmounted it";
}

TEST_F(DashcamCardStates, MountOfARemovedCardIsDetached) {
  insert_and_mount();
  look();
  take_out();
  EXPECT_EQ(look().status, 0);
  expect_detached();
}

TEST_F(DashcamCardStates, MountOfAnExchangedCardIsDetached) {
  insert_and_mount();
  look();
  take_out();
  insert_disk();
  EXPECT_EQ(look().status, 0);
  expect_detached();
  EXPECT_EQ(look().status, 0) << "its partition is awaited";
  find_partition();
  mount();
  EXPECT_TRUE(look().is_usable);
}

TEST_F(DashcamCardStates, CardWithoutASizeIsNotUsable) {
  insert_and_mount();
  on_.write("sys/block/mmcblk0/size", "0\n");
  EXPECT_EQ(look().status, DRAVIK_CARD_HEALTHY);
  EXPECT_FALSE(look().is_usable);
}

TEST_F(DashcamCardStates, CardThatCannotBeSurveyedIsNotUsable) {
  insert_and_mount();
  on_.set_fault("open", "/tmp/mmcblk0p1", "EIO");
  EXPECT_EQ(look().status, DRAVIK_CARD_HEALTHY);
  EXPECT_FALSE(look().is_usable);
  on_.clear_faults();
  EXPECT_TRUE(look().is_usable);
  std::filesystem::remove(on_.path("tmp/mmcblk0p1"));
  EXPECT_FALSE(look().is_usable);
}

} // namespace
} // namespace dravik::test
