// The simulated memory card: what other programs find on its image, and what applications find of it.

#include "sim/card_stage.hpp"
#include "support/changed_variable.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

namespace dravik::test {
namespace {

using sim::card_lock;
using testing::HasSubstr;
using testing::StartsWith;

// --- a new card ---

TEST_F(SimCard, HasOneFat32PartitionFromSector32IfNew) {
  const std::string table = checked_output({"/usr/sbin/sfdisk", "-d", image()});
  EXPECT_THAT(table, HasSubstr("label: dos\n"));
  EXPECT_THAT(table, HasSubstr(": start=          32, size=      131040, type=b\n"));
  EXPECT_EQ(table.find("mmcblk02"), std::string::npos);
}

TEST_F(SimCard, HasSoundEmptyFat32FileSystemIfNew) {
  unmount();
  EXPECT_THAT(checked_output_of_fsck(), HasSubstr(": 0 files, 1/"));
  EXPECT_EQ(bytes_of_image(16384 + 82, 8), "FAT32   ");
  expect_no_files_on_card();
}

TEST_F(SimCard, TakesLittleSpaceOnHostIfNew) {
  struct stat status;
  ASSERT_EQ(::stat(image().c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 64 << 20);
  EXPECT_LT(status.st_blocks * 512, 4 << 20);
}

TEST_F(SimCard, IsReportedByKernelIfInserted) {
  EXPECT_EQ(board_.read("sys/block/mmcblk0/size"), "131072\n");
  EXPECT_EQ(board_.read("sys/block/mmcblk0/mmcblk0p1/start"), "32\n");
  EXPECT_EQ(board_.read("sys/block/mmcblk0/mmcblk0p1/size"), "131040\n");
  EXPECT_EQ(board_.read("proc/partitions"), "major minor  #blocks  name\n\n"
                                            " 179        0      65536 mmcblk0\n"
                                            " 179        1      65520 mmcblk0p1\n");
  EXPECT_THAT(mount_line(), StartsWith("/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw,"));
}

TEST_F(SimCard, FollowsNoLinksOutOfBoard) {
  namespace files = std::filesystem;
  const files::path outside = board_.path() + ".outside";
  files::create_directory(outside);
  std::ofstream{outside / "mmcblk0"} << "of the host";
  for (const char *used : {"tmp/mmcblk0p1", "dev/mmcblk0", "dev", "card", "proc"}) {
    const files::path path = board_.path(used), aside = board_.path("aside");
    if (files::exists(path))
      files::rename(path, aside);
    files::create_symlink(files::is_directory(aside) || !files::exists(aside) ? outside : outside / "mmcblk0",
                          path);
    std::string error;
    EXPECT_FALSE(sim::remove_card(board_.path(), error)) << used;
    EXPECT_EQ(error, path.string() + ": a symbolic link, not followed");
    EXPECT_NE(run_command("/bin/umount /dev/mmcblk0p1"), 0) << used;
    files::remove(path);
    if (files::exists(aside))
      files::rename(aside, path);
  }
  std::string text;
  std::getline(std::ifstream{outside / "mmcblk0"}, text);
  EXPECT_EQ(text, "of the host");
  EXPECT_EQ(std::distance(files::directory_iterator{outside}, files::directory_iterator{}), 1);
  files::remove_all(outside);
}

TEST_F(SimCard, ExistsOncePerBoard) {
  std::string error;
  EXPECT_FALSE(sim::make_card(board_.path(), 64, error));
  EXPECT_THAT(error, HasSubstr("already has a memory card"));
}

// --- out and in ---

TEST_F(SimCard, IsNotReportedByKernelIfRemoved) {
  take_out();
  EXPECT_FALSE(board_.exists("dev/mmcblk0"));
  EXPECT_FALSE(board_.exists("dev/mmcblk0p1"));
  EXPECT_FALSE(board_.exists("sys/block/mmcblk0"));
  EXPECT_EQ(board_.read("proc/partitions"), "major minor  #blocks  name\n\n");
  EXPECT_EQ(mount_line(), "");
  EXPECT_EQ(board_.read("proc/self/mountinfo").find("mmcblk0p1"), std::string::npos);
}

TEST_F(SimCard, TakesFilesOutAndIn) {
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", "film");
  take_out();
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/REC"));
  EXPECT_TRUE(board_.exists("tmp/mmcblk0p1"));
  EXPECT_EQ(files_on_card(), "::/REC/\n::/REC/KVX00001.TS\n");
  put_in();
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/KVX00001.TS"), "film");
}

TEST_F(SimCard, AllowsSecondOutAndIn) {
  take_out();
  take_out();
  put_in();
  board_.write("tmp/mmcblk0p1/kept", "");
  put_in();
  EXPECT_TRUE(board_.exists("tmp/mmcblk0p1/kept"));
}

TEST_F(SimCard, IsUnmountedWithoutPartition) {
  take_out();
  change_image(0, std::string(512, '\0'));
  put_in();
  EXPECT_EQ(board_.read("proc/partitions"), "major minor  #blocks  name\n\n"
                                            " 179        0      65536 mmcblk0\n");
  EXPECT_FALSE(board_.exists("sys/block/mmcblk0/mmcblk0p1"));
  EXPECT_FALSE(board_.exists("dev/mmcblk0p1"));
  EXPECT_EQ(mount_line(), "");
  EXPECT_EQ(run_command("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"), 255);
}

TEST_F(SimCard, IsUnmountedWithoutFileSystem) {
  take_out();
  change_image(16384, std::string(512, '\0'));
  put_in();
  EXPECT_TRUE(board_.exists("dev/mmcblk0p1"));
  EXPECT_EQ(mount_line(), "");
  EXPECT_EQ(run_command("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"), 255);
}

TEST_F(SimCard, EndsPartitionWithCard) {
  take_out();
  change_image(458, {"\xFF\xFF\xFF\x7F", 4});
  put_in();
  EXPECT_EQ(board_.read("sys/block/mmcblk0/mmcblk0p1/size"), "131040\n");
}

// --- the switch ---

TEST_F(SimCard, MountsLockedCardReadOnly) {
  board_.write("tmp/mmcblk0p1/kept", "bytes");
  put_in(card_lock::on);
  EXPECT_THAT(mount_line(), StartsWith("/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat ro,"));
  EXPECT_EQ(board_.read("gpio/68"), "1\n");
  const int file = ::open("/tmp/mmcblk0p1/kept", O_RDONLY);
  EXPECT_GE(file, 0);
  ::close(file);
  put_in();
  EXPECT_THAT(mount_line(), StartsWith("/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw,"));
  EXPECT_EQ(board_.read("gpio/68"), "0\n");
}

TEST_F(SimCard, RejectsWritesToReadOnlyMount) {
  board_.write("tmp/mmcblk0p1/kept", "bytes");
  put_in(card_lock::on);
  const auto expect_refusal = [](int result) {
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, EROFS);
  };
  expect_refusal(::open("/tmp/mmcblk0p1/kept", O_WRONLY));
  expect_refusal(::open("/tmp/mmcblk0p1/kept", O_RDWR));
  expect_refusal(::open("/tmp/mmcblk0p1/kept", O_RDONLY | O_TRUNC));
  expect_refusal(::creat("/tmp/mmcblk0p1/new", 0644));
  EXPECT_EQ(std::fopen("/tmp/mmcblk0p1/new", "w"), nullptr);
  EXPECT_EQ(errno, EROFS);
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/kept"), "bytes");
}

TEST_F(SimCard, IsMadeReadOnlyWhileMounted) {
  board_.write("tmp/mmcblk0p1/film", "film");
  EXPECT_EQ(run_command("mount -o remount,ro /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0);
  EXPECT_THAT(mount_line(), HasSubstr(" vfat ro,"));
  unmount();
  EXPECT_EQ(file_on_card("film"), "film");
  EXPECT_EQ(run_command("mount -o remount,ro /dev/mmcblk0p1 /tmp/mmcblk0p1 2> /dev/null"), 255);
  EXPECT_EQ(mount_line(), "");
}

TEST_F(SimCard, DropsFilesForcedOntoReadOnlyMount) {
  put_in(card_lock::on);
  board_.write("tmp/mmcblk0p1/forced", "");
  take_out();
  expect_no_files_on_card();
}

TEST_F(SimCard, RejectsFormatAndRepairOfLockedCard) {
  board_.write("tmp/mmcblk0p1/kept", "");
  put_in(card_lock::on);
  unmount();
  EXPECT_EQ(run_command("/sbin/mkfs.vfat /dev/mmcblk0p1"), 1);
  EXPECT_EQ(run_command("/usr/local/bin/dosfsck -a /dev/mmcblk0p1"), 2);
  EXPECT_EQ(run_command("/usr/local/bin/dosfsck -vn /dev/mmcblk0p1 > /dev/null"), 0);
  EXPECT_EQ(files_on_card(), "::/kept\n");
}

// --- mounting and unmounting ---

TEST_F(SimCard, CopiesNewFilesOnUnmount) {
  board_.write("tmp/mmcblk0p1/REC/deep/er/KVX00001.TS", std::string(100000, 'f'));
  board_.write("tmp/mmcblk0p1/empty", "");
  std::filesystem::create_directories(board_.path("tmp/mmcblk0p1/folder"));
  unmount();
  EXPECT_EQ(mount_line(), "");
  EXPECT_TRUE(std::filesystem::is_empty(board_.path("tmp/mmcblk0p1")));
  EXPECT_EQ(files_on_card(), "::/REC/\n::/empty\n::/folder/\n::/REC/deep/\n::/REC/deep/er/\n"
                             "::/REC/deep/er/KVX00001.TS\n");
  EXPECT_EQ(file_on_card("REC/deep/er/KVX00001.TS"), std::string(100000, 'f'));
  EXPECT_THAT(checked_output_of_fsck(), HasSubstr(" files, "));
}

TEST_F(SimCard, CopiesChangesAndRemovalsOnUnmount) {
  for (const char *name : {"changed", "removed", "renamed", "REC/kept", "REC/removed"})
    board_.write(std::string{"tmp/mmcblk0p1/"} + name, name);
  unmount();
  mount();
  board_.write("tmp/mmcblk0p1/changed", "CHANGED"); // of the same length
  board_.remove("tmp/mmcblk0p1/removed");
  board_.remove("tmp/mmcblk0p1/REC/removed");
  std::filesystem::rename(board_.path("tmp/mmcblk0p1/renamed"), board_.path("tmp/mmcblk0p1/other"));
  unmount();
  EXPECT_EQ(file_on_card("changed"), "CHANGED");
  EXPECT_EQ(file_on_card("REC/kept"), "REC/kept");
  EXPECT_EQ(file_on_card("other"), "renamed");
  const std::string files = files_on_card();
  EXPECT_EQ(files.find("removed"), std::string::npos) << files;
  EXPECT_EQ(files.find("renamed"), std::string::npos) << files;
  checked_output_of_fsck();
}

TEST_F(SimCard, ShowsFilesOfOthersOnMount) {
  take_out();
  board_.write("film", "of another program");
  said_by_mtools("mmd", {"::/REC"});
  said_by_mtools("mcopy", {board_.path("film"), "::/REC/KVX00007.TS"});
  put_in();
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/KVX00007.TS"), "of another program");
}

TEST_F(SimCard, NamesComeThroughUnchanged) {
  const std::vector<std::string> names = {"a[1].txt", "größe Ω 録画.txt", "with blanks.long extension",
                                          "lower.ts", "UPPER.TS",         "#hash;semicolon",
                                          ".hidden"};
  for (const std::string &name : names)
    board_.write("tmp/mmcblk0p1/" + name, name);
  unmount();
  mount();
  for (const std::string &name : names)
    EXPECT_EQ(board_.read("tmp/mmcblk0p1/" + name), name);
  for (const std::string &name : names)
    board_.remove("tmp/mmcblk0p1/" + name);
  unmount();
  expect_no_files_on_card();
}

TEST_F(SimCard, KeepsFileTimesToTwoSeconds) {
  board_.write("tmp/mmcblk0p1/film", "");
  const timespec times[2] = {{1700000001, 0}, {1700000001, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, board_.path("tmp/mmcblk0p1/film").c_str(), times, 0), 0);
  take_out();
  put_in();
  struct stat status;
  ASSERT_EQ(::stat("/tmp/mmcblk0p1/film", &status), 0);
  EXPECT_EQ(status.st_mtime / 2, 1700000001 / 2);
}

TEST_F(SimCard, ShowsFileTimesOfItsFileSystem) {
  const std::string film = "/tmp/mmcblk0p1/film";
  board_.write("tmp/mmcblk0p1/film", "");
  const std::pair<time_t, time_t> cases[] = {
      {1700000001, 1700000000}, {1700000002, 1700000002}, {0, 315532800}, {5000000000, 4354819198}};
  for (const auto &[set, expected] : cases) {
    const timespec times[2] = {{set, 999}, {set, 999}};
    ASSERT_EQ(::utimensat(AT_FDCWD, film.c_str(), times, 0), 0);
    struct stat status;
    ASSERT_EQ(::lstat(film.c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, expected);
    EXPECT_EQ(status.st_mtim.tv_nsec, 0);
    EXPECT_EQ(status.st_dev, makedev(179, 1));
    const int file = ::open(film.c_str(), O_RDONLY);
    EXPECT_EQ(::fstat(file, &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, expected);
    EXPECT_EQ(status.st_dev, makedev(179, 1)) << "the same by its descriptor";
    struct statx more;
    EXPECT_EQ(::statx(file, "", AT_EMPTY_PATH, STATX_MTIME, &more), 0);
    EXPECT_EQ(more.stx_mtime.tv_sec, expected);
    ::close(file);
  }
}

TEST_F(SimCard, HasOneFileOfNamesInBothCases) {
  const auto write = [](const char *path, const std::string &text) {
    const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(file);
  };
  ASSERT_EQ(::mkdir("/tmp/mmcblk0p1/REC", 0755), 0);
  write("/tmp/mmcblk0p1/REC/KVX00010.TS", "first");
  write("/tmp/mmcblk0p1/rec/kvx00010.ts", "second");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/KVX00010.TS"), "second");
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/rec"));
  EXPECT_EQ(::mkdir("/tmp/mmcblk0p1/Rec", 0755), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(::access("/tmp/mmcblk0p1/rec/KVX00011.TS", F_OK), -1);
  write("/tmp/mmcblk0p1/rec/\xCE\xB1", "lower"); // letters beyond ASCII are not folded
  EXPECT_EQ(::access("/tmp/mmcblk0p1/rec/\xCE\x91", F_OK), -1);
  EXPECT_EQ(::unlink("/tmp/mmcblk0p1/rec/kvx00010.TS"), 0);
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/REC/KVX00010.TS"));
  unmount();
  write("/tmp/mmcblk0p1/rec", "below the mount");
  write("/tmp/mmcblk0p1/REC", "another");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/rec"), "below the mount");
}

TEST_F(SimCard, RejectsWhatItsFileSystemCannotHave) {
  const auto error_of = [](int result) {
    EXPECT_EQ(result, -1);
    return errno;
  };
  const char *place = "/tmp/mmcblk0p1/new";
  board_.write("tmp/mmcblk0p1/file", "");
  EXPECT_EQ(error_of(::symlink("file", place)), EPERM);
  EXPECT_EQ(error_of(::link("/tmp/mmcblk0p1/file", place)), EPERM);
  EXPECT_EQ(error_of(::mkfifo(place, 0644)), EPERM);
  for (const std::string name : {"a:b", "a*", "a?", "<a>", "a|b", "\"a\"", "a\\b", "a\nb"}) {
    const std::string path = "/tmp/mmcblk0p1/" + name;
    EXPECT_EQ(error_of(::open(path.c_str(), O_WRONLY | O_CREAT, 0644)), EINVAL) << name;
    EXPECT_EQ(error_of(::mkdir(path.c_str(), 0755)), EINVAL) << name;
    EXPECT_EQ(error_of(::rename("/tmp/mmcblk0p1/file", path.c_str())), EINVAL) << name;
    EXPECT_EQ(error_of(::open(path.c_str(), O_RDONLY)), ENOENT) << name;
  }
  EXPECT_EQ(::rename("/tmp/mmcblk0p1/file", place), 0);
  unmount();
  EXPECT_EQ(::symlink("file", "/tmp/mmcblk0p1/link"), 0) << "not of the card";
}

TEST_F(SimCard, ReportsMountAsKernel) {
  struct statfs64 space;
  const auto expect_access = [&](const std::string &access, int64_t flags) {
    const std::string options =
        "fmask=0022,dmask=0022,codepage=437,iocharset=ascii,shortname=mixed,utf8,errors=remount-ro";
    EXPECT_EQ(mount_line(), "/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat " + access + ",relatime," + options + " 0 0");
    EXPECT_NE(board_.read("proc/self/mountinfo")
                  .find(" 179:1 / /tmp/mmcblk0p1 " + access + ",relatime - vfat /dev/mmcblk0p1 "),
              std::string::npos);
    EXPECT_EQ(::statfs64("/tmp/mmcblk0p1", &space), 0);
    EXPECT_EQ(space.f_flags, flags);
  };
  expect_access("rw", 0x1020);
  unmount();
  EXPECT_EQ(run_command("mount -r /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0);
  expect_access("ro", 0x1021);
  struct statvfs other;
  EXPECT_EQ(::statvfs("/tmp/mmcblk0p1", &other), 0);
  EXPECT_EQ(other.f_flag, 0x1001U);
}

TEST_F(SimCard, IsCheckedByTheNameOfItsDevice) {
  unmount();
  const std::string output = board_.path("tmp/said");
  const int said = ::open(output.c_str(), O_WRONLY | O_CREAT, 0644), before = ::dup(STDOUT_FILENO);
  ::dup2(said, STDOUT_FILENO);
  const int status = run_command("dosfsck -n /dev/mmcblk0p1");
  ::dup2(before, STDOUT_FILENO);
  EXPECT_EQ(status, 0);
  EXPECT_NE(board_.read("tmp/said").find("\n/dev/mmcblk0p1: 0 files, "), std::string::npos)
      << board_.read("tmp/said");
  take_out();
  EXPECT_EQ(run_command("dosfsck -n /dev/mmcblk0p1 2>/dev/null"), 6);
  ::close(said);
  ::close(before);
}

TEST_F(SimCard, HidesDirectoryOnMount) {
  take_out();
  board_.write("tmp/mmcblk0p1/of the board", "");
  put_in();
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/of the board"));
  board_.write("tmp/mmcblk0p1/of the card", "");
  take_out();
  EXPECT_TRUE(board_.exists("tmp/mmcblk0p1/of the board"));
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/of the card"));
  EXPECT_EQ(files_on_card(), "::/of the card\n");
}

TEST_F(SimCard, RejectsSecondMountAndSecondUnmount) {
  EXPECT_EQ(run_command("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"), 255);
  unmount();
  EXPECT_EQ(run_command("/bin/umount /dev/mmcblk0p1"), 1);
  EXPECT_EQ(run_command("mount -t vfat -o ro,noatime /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0);
  EXPECT_THAT(mount_line(), HasSubstr(" vfat ro,"));
  EXPECT_EQ(run_command("umount -l /tmp/mmcblk0p1"), 0);
}

TEST_F(SimCard, MountsByCallsAsByCommands) {
  EXPECT_EQ(::umount("/tmp/mmcblk0p1"), 0);
  EXPECT_EQ(mount_line(), "");
  EXPECT_EQ(::umount2("/tmp/mmcblk0p1", 0), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(::mount("/dev/mmcblk0p1", "/tmp/mmcblk0p1", "vfat", MS_RDONLY, nullptr), 0);
  EXPECT_THAT(mount_line(), HasSubstr(" vfat ro,"));
}

TEST_F(SimCard, StaysMountedIfFilesDoNotFit) {
  board_.write("tmp/mmcblk0p1/small", "bytes");
  board_.write("tmp/mmcblk0p1/large", "");
  std::filesystem::resize_file(board_.path("tmp/mmcblk0p1/large"), 65 << 20);
  EXPECT_EQ(run_command("/bin/umount /dev/mmcblk0p1"), 1);
  EXPECT_NE(mount_line(), "");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/small"), "bytes");
  board_.remove("tmp/mmcblk0p1/large");
  unmount();
  EXPECT_EQ(files_on_card(), "::/small\n");
}

TEST_F(SimCard, UnmountsListWithoutCard) {
  take_out();
  board_.write("proc/mounts", "rootfs / rootfs rw 0 0\n/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw 0 0\n");
  board_.write("tmp/mmcblk0p1/kept", "");
  unmount();
  EXPECT_EQ(board_.read("proc/mounts"), "rootfs / rootfs rw 0 0\n");
  EXPECT_TRUE(board_.exists("tmp/mmcblk0p1/kept"));
}

TEST_F(SimCard, UnmountsNoCardWhoseFilesAreInUse) {
  board_.write("tmp/mmcblk0p1/film", "film");
  const int file = ::open("/tmp/mmcblk0p1/film", O_RDONLY | O_CLOEXEC);
  ASSERT_GE(file, 0);
  const std::string said = board_.path("said");
  const int output = ::open(said.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const int before = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  ::dup2(output, STDERR_FILENO);
  EXPECT_EQ(run_command("/bin/umount /dev/mmcblk0p1"), 1);
  ::dup2(before, STDERR_FILENO);
  ::close(before);
  ::close(output);
  EXPECT_EQ(board_.read("said"), "umount: /tmp/mmcblk0p1: target is busy.\n");
  EXPECT_EQ(::umount("/tmp/mmcblk0p1"), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(::umount2("/tmp/mmcblk0p1", MNT_FORCE), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_NE(mount_line(), "");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/film"), "film");
  ::close(file);
  unmount();
  EXPECT_EQ(files_on_card(), "::/film\n");
}

TEST_F(SimCard, UnmountsNoCardWhoseFilesAreMapped) {
  board_.write("tmp/mmcblk0p1/film", "film");
  const int file = ::open("/tmp/mmcblk0p1/film", O_RDONLY | O_CLOEXEC);
  void *mapped = ::mmap(nullptr, 4, PROT_READ, MAP_SHARED, file, 0);
  ::close(file);
  EXPECT_EQ(::umount("/tmp/mmcblk0p1"), -1);
  EXPECT_EQ(errno, EBUSY);
  ::munmap(mapped, 4);
  EXPECT_EQ(::umount("/tmp/mmcblk0p1"), 0);
}

TEST_F(SimCard, UnmountsNoCardThatAChildWorksIn) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const int status = ::chdir(board_.path("tmp/mmcblk0p1").c_str());
    ::close(ends[0]);
    ::dprintf(ends[1], "%d", status);
    ::pause();
    ::_exit(0);
  }
  char status = 0;
  EXPECT_EQ(::read(ends[0], &status, 1), 1);
  EXPECT_EQ(run_command("/bin/umount /dev/mmcblk0p1 2> /dev/null"), 1);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  unmount();
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(SimCard, DetachesACardWhoseFilesAreInUse) {
  for (const auto unmount_lazily : {+[] { return ::umount2("/tmp/mmcblk0p1", MNT_DETACH); },
                                    +[] { return run_command("umount -l /tmp/mmcblk0p1"); }}) {
    board_.write("tmp/mmcblk0p1/film", "film");
    const int file = ::open("/tmp/mmcblk0p1/film", O_RDONLY);
    EXPECT_EQ(unmount_lazily(), 0);
    EXPECT_EQ(mount_line(), "");
    char byte = 0;
    EXPECT_EQ(::read(file, &byte, 1), 1) << "what is open remains readable";
    EXPECT_EQ(files_on_card(), "::/film\n");
    ::close(file);
    mount();
  }
}

TEST_F(SimCard, IsRemovedWhileFilesAreInUse) {
  board_.write("tmp/mmcblk0p1/film", "film");
  const int file = ::open("/tmp/mmcblk0p1/film", O_RDONLY);
  take_out();
  EXPECT_EQ(files_on_card(), "::/film\n");
  ::close(file);
}

// --- what would lose files ---

TEST_F(SimCard, KeepsBothOfTwoNamesThatAreOneOnTheCard) {
  board_.write("tmp/mmcblk0p1/film", "one");
  board_.write("tmp/mmcblk0p1/Film", "other");
  EXPECT_EQ(run_command("/bin/umount /dev/mmcblk0p1 2> /dev/null"), 1);
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/film"), "one");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/Film"), "other");
}

TEST_F(SimCard, KeepsFilesWhoseDirectoryWasRemovedAsAWhole) {
  board_.write("tmp/mmcblk0p1/film", "film");
  unmount();
  mount();
  board_.remove("tmp/mmcblk0p1");
  unmount();
  EXPECT_EQ(files_on_card(), "::/film\n");
}

class SimCardRestart : public SimCard {
protected:
  void expect_restart() const {
    std::string warning;
    EXPECT_TRUE(sim::restart_card(board_.path(), warning)) << warning;
  }
};

TEST_F(SimCardRestart, KeepsFilesOfOverwrittenCard) {
  board_.write("tmp/mmcblk0p1/old", "old");
  unmount();
  board_.write("tmp/mmcblk0p1/of the board", "below");
  mount();
  board_.write("tmp/mmcblk0p1/new", "new");
  EXPECT_EQ(run_command("dd if=/dev/zero of=/dev/mmcblk0 bs=65536 count=64 conv=notrunc 2> /dev/null"), 0);
  expect_restart();
  EXPECT_EQ(mount_line(), "");
  EXPECT_FALSE(board_.exists("dev/mmcblk0p1"));
  for (const auto &[name, contents] : {std::pair{"old", "old"}, {"new", "new"}, {"of the board", "below"}})
    EXPECT_EQ(board_.read(std::string{"tmp/mmcblk0p1/"} + name), contents);
  expect_restart();
  take_out();
  put_in();
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/old"), "old");
}

TEST_F(SimCardRestart, KeepsFilesOfCardWithoutTables) {
  board_.write("tmp/mmcblk0p1/old", "old");
  unmount();
  mount();
  change_image(16384 + 512, std::string(2 << 20, '\0')); // all of the file system but its first sector
  expect_restart();
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/old"), "old");
}

TEST_F(SimCardRestart, LeavesOverfullCardMounted) {
  board_.write("tmp/mmcblk0p1/large", "");
  std::filesystem::resize_file(board_.path("tmp/mmcblk0p1/large"), 65 << 20);
  expect_restart();
  EXPECT_NE(mount_line(), "");
  EXPECT_TRUE(board_.exists("tmp/mmcblk0p1/large"));
  board_.remove("tmp/mmcblk0p1/large");
  expect_restart();
  EXPECT_NE(mount_line(), "");
}

TEST_F(SimCardRestart, KeepsFilesThatOthersWrote) {
  board_.write("tmp/mmcblk0p1/REC/old", "old");
  board_.write("tmp/mmcblk0p1/removed", "");
  unmount();
  mount();
  board_.remove("tmp/mmcblk0p1/removed");
  board_.write("tmp/mmcblk0p1/REC/new", "new");
  board_.write("film", "film");
  said_by_mtools("mcopy", {board_.path("film"), "::/REC/"});
  expect_restart();
  for (const std::string name : {"old", "new", "film"})
    EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/" + name), name);
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/removed"));
}

// --- the space on the host ---

/// Of all blocks below a directory, in bytes.
uint64_t space_on_host(const std::string &directory) {
  uint64_t blocks = 0;
  for (const auto &entry : std::filesystem::recursive_directory_iterator{directory}) {
    struct stat status;
    if (::lstat(entry.path().c_str(), &status) == 0)
      blocks += static_cast<uint64_t>(status.st_blocks);
  }
  return blocks * 512;
}

class SimLargeCard : public SimCard {
protected:
  SimLargeCard() : SimCard(1024) {}
};

TEST_F(SimLargeCard, KeepsSparseRecordingsSparse) {
  for (int i = 0; i < 6; ++i) {
    const std::string name = "tmp/mmcblk0p1/REC/KVX0000" + std::to_string(i) + ".TS";
    board_.write(name, "film");
    std::filesystem::resize_file(board_.path(name), 62000000);
  }
  unmount();
  EXPECT_LT(space_on_host(board_.path()), 20U << 20);
  mount();
  EXPECT_LT(space_on_host(board_.path()), 20U << 20);
  const std::string film = board_.read("tmp/mmcblk0p1/REC/KVX00005.TS");
  EXPECT_EQ(film.size(), 62000000U);
  EXPECT_TRUE(film == "film" + std::string(62000000 - 4, '\0'));
}

TEST_F(SimCard, KeepsDataBetweenHoles) {
  std::string film(1000000, '\0');
  for (const size_t position : {0U, 4095U, 12288U, 300000U, 999999U})
    film[position] = 'f';
  board_.write("tmp/mmcblk0p1/film", film);
  unmount();
  EXPECT_TRUE(file_on_card("film") == film);
  mount();
  EXPECT_TRUE(board_.read("tmp/mmcblk0p1/film") == film);
}

// --- the application's environment ---

TEST_F(SimCard, IsHandledWithoutTheEnvironmentOfTheApplication) {
  board_.write("trap/mcopy", "#!/bin/sh\nexit 1\n");
  std::filesystem::permissions(board_.path("trap/mcopy"), std::filesystem::perms::all);
  board_.write("tmp/mmcblk0p1/film", "film");
  const timespec times[2] = {{1700000000, 0}, {1700000000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, board_.path("tmp/mmcblk0p1/film").c_str(), times, 0), 0);
  {
    const changed_variable path{"PATH", board_.path("trap").c_str()};
    const changed_variable zone{"TZ", "XYZ-5"};
    const changed_variable locale{"LC_ALL", "C"};
    const changed_variable prefix{"MTOOLS_LOWER_CASE", "1"};
    const changed_variable directory{"TMPDIR", "/nonexistent"};
    unmount();
  }
  mount();
  struct stat status;
  ASSERT_EQ(::stat("/tmp/mmcblk0p1/film", &status), 0);
  EXPECT_EQ(status.st_mtime, 1700000000);
}

TEST_F(SimCard, IsHandledWithoutTheMaskAndTheSignalsOfTheApplication) {
  board_.write("tmp/mmcblk0p1/REC/film", "film");
  unmount();
  const mode_t mask = ::umask(0777);
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::sigprocmask(SIG_BLOCK, &all, &before);
  EXPECT_EQ(run_command("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0);
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  ::umask(mask);
  struct stat status;
  ASSERT_EQ(::stat("/tmp/mmcblk0p1/REC/film", &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644U);
  ASSERT_EQ(::stat("/tmp/mmcblk0p1/REC", &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0755U);
}

TEST_F(SimCard, IsHandledWhereTheApplicationIgnoresItsChildren) {
  std::string error;
  const auto before = std::signal(SIGCHLD, SIG_IGN);
  EXPECT_TRUE(sim::unmount_card(board_.path(), sim::unmount_way::if_unused, error)) << error;
  EXPECT_TRUE(sim::mount_card(board_.path(), false, error)) << error;
  EXPECT_EQ(std::signal(SIGCHLD, before), SIG_IGN);
}

// --- room ---

/// The clusters in the output of fsck.fat: "... files, USED/ALL clusters".
std::pair<uint64_t, uint64_t> clusters_in(const std::string &report) {
  const size_t slash = report.rfind('/');
  const size_t used = report.rfind(' ', slash);
  return {std::stoull(report.substr(used)), std::stoull(report.substr(slash + 1))};
}

TEST_F(SimCard, HasSpaceOfFileSystem) {
  for (int i = 0; i < 40; ++i)
    board_.write("tmp/mmcblk0p1/REC/a long name number " + std::to_string(i), std::string(1000, 'x'));
  for (int i = 10; i < 50; ++i) {
    board_.write("tmp/mmcblk0p1/Greek/ΑΒΓΔΕΖΗΘΙΚΛ" + std::to_string(i), ""); // 13 letters in 24 bytes
    board_.write("tmp/mmcblk0p1/short/KVX000" + std::to_string(i) + ".TS", "");
  }
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", std::string(100001, 'x'));
  struct statfs reported;
  ASSERT_EQ(::statfs("/tmp/mmcblk0p1", &reported), 0);
  unmount();
  const auto [used, all] = clusters_in(checked_output_of_fsck());
  const auto cluster_bytes = static_cast<uint8_t>(bytes_of_image(16384 + 13, 1)[0]) * 512;
  EXPECT_EQ(reported.f_bsize, cluster_bytes);
  EXPECT_EQ(reported.f_frsize, cluster_bytes);
  EXPECT_EQ(reported.f_blocks, all);
  EXPECT_EQ(reported.f_bfree, all - used);
  EXPECT_EQ(reported.f_bavail, all - used);
  EXPECT_EQ(reported.f_type, 0x4D44);
}

TEST_F(SimCard, ReportsSameSpaceInEveryCall) {
  board_.write("tmp/mmcblk0p1/REC/film", std::string(5000, 'x'));
  struct statfs expected;
  ASSERT_EQ(::statfs("/tmp/mmcblk0p1", &expected), 0);
  struct statfs64 large;
  EXPECT_EQ(::statfs64("/tmp/mmcblk0p1/REC/film", &large), 0);
  EXPECT_EQ(large.f_bavail, expected.f_bavail);
  struct statvfs other;
  EXPECT_EQ(::statvfs("/tmp/mmcblk0p1/REC", &other), 0);
  EXPECT_EQ(other.f_bavail, expected.f_bavail);
  struct statvfs64 large_other;
  EXPECT_EQ(::statvfs64("/tmp/mmcblk0p1", &large_other), 0);
  EXPECT_EQ(large_other.f_bavail, expected.f_bavail);
  const int folder = ::open("/tmp/mmcblk0p1", O_RDONLY | O_DIRECTORY);
  EXPECT_EQ(::fstatfs(folder, &expected), 0);
  EXPECT_EQ(expected.f_bavail, large.f_bavail);
  EXPECT_EQ(::fstatfs64(folder, &large), 0);
  EXPECT_EQ(::fstatvfs(folder, &other), 0);
  EXPECT_EQ(::fstatvfs64(folder, &large_other), 0);
  EXPECT_EQ(large.f_blocks, expected.f_blocks);
  EXPECT_EQ(other.f_blocks, expected.f_blocks);
  EXPECT_EQ(large_other.f_blocks, expected.f_blocks);
  ::close(folder);
}

TEST_F(SimCard, HasSpaceOfHostWithoutCard) {
  struct statfs host;
  struct statfs reported;
  ASSERT_EQ(::statfs(board_.path("proc").c_str(), &host), 0);
  take_out();
  ASSERT_EQ(::statfs("/tmp/mmcblk0p1", &reported), 0);
  EXPECT_EQ(reported.f_blocks, host.f_blocks);
  EXPECT_EQ(::statfs("/tmp/mmcblk0p1/absent", &reported), -1);
}

TEST_F(SimCard, HasNoSpaceIfOverfull) {
  board_.write("tmp/mmcblk0p1/large", "");
  std::filesystem::resize_file(board_.path("tmp/mmcblk0p1/large"), 65 << 20);
  struct statfs reported;
  ASSERT_EQ(::statfs("/tmp/mmcblk0p1", &reported), 0);
  EXPECT_EQ(reported.f_bavail, 0U);
}

// --- the partition as a device ---

TEST_F(SimCard, ReadsPartitionUnchanged) {
  const int device = ::open("/dev/mmcblk0p1", O_RDONLY);
  ASSERT_GE(device, 0);
  EXPECT_EQ(::lseek(device, 0, SEEK_END), off_t{131040} * 512);
  std::string bytes(4096, '\0');
  EXPECT_EQ(::pread(device, bytes.data(), bytes.size(), 0), 4096);
  EXPECT_EQ(bytes, bytes_of_image(16384, 4096));
  ::close(device);
}

TEST_F(SimCard, RejectsWritesToPartition) {
  EXPECT_EQ(::open("/dev/mmcblk0p1", O_RDWR), -1);
  EXPECT_EQ(errno, EROFS);
  EXPECT_EQ(std::fopen("/dev/mmcblk0p1", "w"), nullptr);
  EXPECT_EQ(errno, EROFS);
}

// --- damage ---

/// The position of a cluster's entry in the first table, and the distance to the second: from the fields of
/// the file system's first sector.
struct table_place {
  explicit table_place(const std::string &first_sector) {
    const auto number = [&](size_t at, int bytes) {
      off_t value = 0;
      for (int i = bytes - 1; i >= 0; --i)
        value = value * 256 + static_cast<uint8_t>(first_sector[at + static_cast<size_t>(i)]);
      return value;
    };
    start = 16384 + number(14, 2) * 512;
    length = number(36, 4) * 512;
  }
  off_t start, length;
};

/// `damaged` is in one piece from cluster 3 on, `REC/whole` after it.
class SimDamagedCard : public SimCard {
protected:
  SimDamagedCard() {
    board_.write("tmp/mmcblk0p1/damaged", contents_);
    unmount();
    mount();
    board_.write("tmp/mmcblk0p1/REC/whole", std::string(3000, 'w'));
    unmount();
    const table_place table{bytes_of_image(16384, 512)};
    table_ = table.start;
    EXPECT_EQ(bytes_of_image(table_ + 12, 8), std::string("\4\0\0\0\5\0\0\0", 8));
  }
  /// Change what follows the second cluster of the damaged file, so that 1024 bytes can be read.
  void damage(uint32_t next) const {
    change_image(table_ + (cluster_ + 1) * 4, {reinterpret_cast<const char *>(&next), 4});
    mount();
  }
  static ssize_t read_at(const char *path, off_t position, size_t size) {
    std::string bytes(size, '\0');
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t count = ::pread(file, bytes.data(), size, position);
    const int error = errno;
    ::close(file);
    const std::string read = bytes.substr(0, static_cast<size_t>(std::max<ssize_t>(count, 0)));
    EXPECT_EQ(read, contents_.substr(static_cast<size_t>(position), read.size()));
    errno = error;
    return count;
  }
  void expect_damage_found() const {
    EXPECT_EQ(read_at("/tmp/mmcblk0p1/damaged", 1024, 1), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_THAT(mount_line(), HasSubstr(" vfat ro,"));
  }

  static inline const std::string contents_ = std::string(600, 'a') + std::string(19400, 'd');
  off_t table_ = 0;
  static constexpr uint32_t cluster_ = 3;
};

TEST_F(SimDamagedCard, IsMountedWritableUntilADamagedPartIsRead) {
  for (const uint32_t next : {0U, 1U, 0x00FF0000U, 0x0FFFFFF7U, 0x0FFFFFFFU}) {
    damage(next);
    EXPECT_THAT(mount_line(), HasSubstr(" vfat rw,")) << next;
    EXPECT_EQ(std::filesystem::file_size(board_.path("tmp/mmcblk0p1/damaged")), contents_.size());
    EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/whole"), std::string(3000, 'w'));
    EXPECT_EQ(read_at("/tmp/mmcblk0p1/damaged", 0, 1024), 1024);
    EXPECT_EQ(read_at("/tmp/mmcblk0p1/damaged", 500, 9000), 524) << "up to the damage";
    EXPECT_EQ(read_at("/tmp/mmcblk0p1/damaged", 20000, 1), 0) << "at the end";
    EXPECT_THAT(mount_line(), HasSubstr(" vfat rw,")) << next;
    expect_damage_found();
    unmount();
  }
}

TEST_F(SimDamagedCard, IsReadOnlyInEveryWayAfterwards) {
  damage(1);
  const int film = ::open("/tmp/mmcblk0p1/film", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  EXPECT_EQ(::write(film, "film", 4), 4);
  const int damaged = ::open("/tmp/mmcblk0p1/damaged", O_RDONLY | O_CLOEXEC);
  std::string bytes(2000, '\0');
  EXPECT_EQ(::read(damaged, bytes.data(), bytes.size()), 1024);
  EXPECT_EQ(::read(damaged, bytes.data(), bytes.size()), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(::write(film, "late", 4), -1);
  EXPECT_EQ(errno, EROFS);
  EXPECT_EQ(::ftruncate(film, 0), -1);
  EXPECT_EQ(::open("/tmp/mmcblk0p1/other", O_WRONLY | O_CREAT, 0644), -1);
  EXPECT_EQ(errno, EROFS);
  struct statvfs space;
  EXPECT_EQ(::statvfs("/tmp/mmcblk0p1", &space), 0);
  EXPECT_NE(space.f_flag & ST_RDONLY, 0U);
  ::close(film);
  ::close(damaged);
  unmount();
  EXPECT_EQ(file_on_card("film"), "film") << "was written before";
}

TEST_F(SimDamagedCard, KeepsDamagedFileUntilRepair) {
  damage(1);
  const std::string table = bytes_of_image(table_, 4 * 64);
  board_.write("tmp/mmcblk0p1/REC/new/deep", "deep");
  board_.write("tmp/mmcblk0p1/beside", "beside");
  board_.write("tmp/mmcblk0p1/REC/whole", "changed");
  unmount();
  EXPECT_EQ(bytes_of_image(table_ + cluster_ * 4, 4 * 30), table.substr(cluster_ * 4, 4 * 30));
  mount();
  EXPECT_THAT(mount_line(), HasSubstr(" vfat rw,"));
  EXPECT_EQ(std::filesystem::file_size(board_.path("tmp/mmcblk0p1/damaged")), contents_.size());
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/new/deep"), "deep");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/beside"), "beside");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/whole"), "changed");
  expect_damage_found();
  unmount();
  mount();
  EXPECT_THAT(mount_line(), HasSubstr(" vfat rw,")) << "as at every mount";
}

/// Freeing a chain that leads nowhere would destroy more than the file.
TEST_F(SimDamagedCard, LeavesTheCardAsItIsIfTheDamagedFileIsReplacedOrRemoved) {
  for (const uint32_t next : {0U, 1U, cluster_ + 1, 0x0FFFFFFFU})
    for (const bool is_removed : {false, true}) {
      damage(next);
      const std::string before = bytes_of_image(16384 + 512, 1 << 20);
      if (is_removed)
        board_.remove("tmp/mmcblk0p1/damaged");
      else
        board_.write("tmp/mmcblk0p1/damaged", "replaced");
      board_.write("tmp/mmcblk0p1/film", "film");
      EXPECT_EQ(run_command("umount /dev/mmcblk0p1 2> /dev/null"), 0);
      EXPECT_EQ(board_.exists("tmp/mmcblk0p1/damaged"), !is_removed) << next;
      EXPECT_EQ(board_.read("tmp/mmcblk0p1/film"), "film");
      EXPECT_TRUE(bytes_of_image(16384 + 512, 1 << 20) == before) << next;
      std::filesystem::remove_all(board_.path("tmp/mmcblk0p1"));
    }
}

/// A kernel follows a loop up to the size of the file.
TEST_F(SimDamagedCard, ReadsALoopAgainAndAgain) {
  damage(cluster_ + 1);
  std::string expected = contents_.substr(0, 512);
  while (expected.size() < contents_.size())
    expected += contents_.substr(512, 512);
  expected.resize(contents_.size());
  EXPECT_TRUE(board_.read("tmp/mmcblk0p1/damaged") == expected);
  EXPECT_THAT(mount_line(), HasSubstr(" vfat rw,"));
}

TEST_F(SimDamagedCard, IsRepairedAndThenMountedAsEver) {
  damage(cluster_ + 1);
  unmount();
  EXPECT_EQ(run_command("/usr/local/bin/dosfsck -a /dev/mmcblk0p1 > /dev/null"), 1); // errors were corrected
  checked_output_of_fsck();
  mount();
  EXPECT_THAT(mount_line(), HasSubstr(" vfat rw,"));
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/damaged"), contents_.substr(0, 1024)) << "what was before the damage";
}

TEST_F(SimDamagedCard, IsLeftAsItIsByACheckThatOnlyLooks) {
  damage(1);
  unmount();
  EXPECT_EQ(run_command("dosfsck -vn /dev/mmcblk0p1 > /dev/null"), 1);
  checked_output_of_fsck(1);
}

// --- the dirty bit ---

/// A byte of the boot sector, from which other bits are kept.
class SimCardDirtyBit : public SimCard {
protected:
  SimCardDirtyBit() {
    unmount();
    change_image(position, "\6");
  }
  std::string state() const { return bytes_of_image(position, 1); }
  void restart() const {
    std::string error;
    EXPECT_TRUE(sim::restart_card(board_.path(), error)) << error;
  }

  static constexpr off_t position = 16384 + 65;
};

TEST_F(SimCardDirtyBit, IsSetWhileMountedWritable) {
  mount();
  EXPECT_EQ(state(), "\7");
  EXPECT_EQ(run_command("/usr/local/bin/dosfsck -n /dev/mmcblk0p1 > /dev/null"), 1);
  unmount();
  EXPECT_EQ(state(), "\6");
  mount();
  board_.write("tmp/mmcblk0p1/film", "film");
  EXPECT_EQ(state(), "\7");
  unmount();
  EXPECT_EQ(state(), "\6") << "of a new image";
  mount();
  EXPECT_EQ(run_command("/bin/umount -l /dev/mmcblk0p1"), 0);
  EXPECT_EQ(state(), "\6");
}

TEST_F(SimCardDirtyBit, IsNotSetByAReadOnlyMount) {
  EXPECT_EQ(run_command("mount -r /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0);
  EXPECT_EQ(state(), "\6");
  unmount();
  EXPECT_EQ(state(), "\6");
}

TEST_F(SimCardDirtyBit, IsLeftByARestartUntilRepair) {
  mount();
  board_.write("tmp/mmcblk0p1/film", "film");
  restart();
  unmount();
  EXPECT_EQ(state(), "\7") << "was unclean before";
  EXPECT_EQ(run_command("mount -r /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0);
  unmount();
  EXPECT_EQ(state(), "\7");
  EXPECT_EQ(run_command("/usr/local/bin/dosfsck -a /dev/mmcblk0p1 > /dev/null"), 1);
  mount();
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/film"), "film");
  unmount();
  EXPECT_EQ(state(), "\6");
  checked_output_of_fsck();
}

TEST_F(SimCardDirtyBit, IsInAnotherByteOfFat16) {
  EXPECT_EQ(run_command("/sbin/mkfs.vfat -F 16 /dev/mmcblk0p1 > /dev/null"), 0);
  mount();
  EXPECT_EQ(bytes_of_image(16384 + 37, 1), "\1");
  unmount();
  EXPECT_EQ(bytes_of_image(16384 + 37, 1), std::string(1, '\0'));
}

// --- the tools' options ---

TEST_F(SimCard, FormatsWithOptionsButWithoutFiles) {
  unmount();
  EXPECT_EQ(run_command("/sbin/mkfs.vfat -F 32 -n HOLIDAY -s2 /dev/mmcblk0p1 > /dev/null"), 0);
  EXPECT_EQ(bytes_of_image(16384 + 71, 11), "HOLIDAY    ");
  EXPECT_EQ(bytes_of_image(16384 + 13, 1), "\2");
  for (const char *command : {"mkfs.vfat /tmp/other /dev/mmcblk0p1", "mkfs.vfat -C /dev/mmcblk0p1",
                              "mkfs.vfat -l file /dev/mmcblk0p1", "mkfs.vfat - /dev/mmcblk0p1",
                              "mkfs.vfat --offset 0 /dev/mmcblk0p1", "mkfs.vfat file /dev/mmcblk0p1"})
    EXPECT_EQ(run_command(command), 1) << command;
  EXPECT_EQ(run_command("dosfsck -d file /dev/mmcblk0p1"), 2);
  EXPECT_EQ(bytes_of_image(16384 + 71, 11), "HOLIDAY    ");
}

TEST_F(SimCard, RejectsFormatOfMountedCard) {
  board_.write("tmp/mmcblk0p1/kept", "");
  EXPECT_EQ(run_command("/sbin/mkfs.vfat /dev/mmcblk0p1"), 1);
  unmount();
  EXPECT_EQ(files_on_card(), "::/kept\n");
}

} // namespace
} // namespace dravik::test
