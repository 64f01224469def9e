// A board with a real memory card, and the card seen by other programs.
#pragma once

#include "host/card.hpp"
#include "support/board.hpp"
#include "support/program.hpp"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {

/// The exit status of a shell command.
inline int run_command(const char *command) {
  const int status = std::system(command);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// What follows a card that comes and goes: nothing but the kernel, or a script that mounts and unmounts it.
enum class mounts_by : bool { kernel, script };

class SimCard : public testing::Test {
protected:
  explicit SimCard(uint32_t mebibytes = sim::smallest_card_mebibytes,
                   mounts_by follower = mounts_by::script) {
    std::string error;
    if (follower == mounts_by::script)
      board_.set("card_mounts", "script");
    if (!sim::make_card(board_.path(), mebibytes, error))
      ADD_FAILURE() << error;
  }

  void take_out() const {
    std::string error;
    EXPECT_TRUE(sim::remove_card(board_.path(), error)) << error;
  }
  void put_in(sim::card_lock lock = sim::card_lock::off) const {
    std::string error;
    EXPECT_TRUE(sim::insert_card(board_.path(), lock, error)) << error;
  }
  void unmount() const { EXPECT_EQ(run_command("/bin/umount /dev/mmcblk0p1"), 0); }
  void mount() const { EXPECT_EQ(run_command("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0); }

  /// Where the image is, in the slot or out of it.
  std::string image() const {
    return board_.path(board_.exists("dev/mmcblk0") ? "dev/mmcblk0" : "card/mmcblk0");
  }

  /// The output of a program of the host for the card.
  std::string checked_output(const words &command, int expected_status = 0) const {
    const std::string output = board_.path("said");
    EXPECT_EQ(run_program(command, output), expected_status) << command.front();
    return board_.read("said");
  }
  /// mtools, with the card's partition at sector 32.
  std::string said_by_mtools(const std::string &tool, const words &arguments, int expected_status = 0) const {
    words command = {"env", "LC_ALL=C.UTF-8", "MTOOLS_SKIP_CHECK=1", tool, "-i", image() + "@@16384"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return checked_output(command, expected_status);
  }
  /// Every file and directory on the card: "::/REC/", "::/REC/KVX00001.TS".
  std::string files_on_card() const { return said_by_mtools("mdir", {"-/", "-a", "-b", "::"}); }
  /// For a card without any, mdir -/ reports that it found no file.
  void expect_no_files_on_card() const { EXPECT_EQ(said_by_mtools("mdir", {"-a", "-b", "::"}), ""); }
  std::string file_on_card(const std::string &name) const { return said_by_mtools("mtype", {"::/" + name}); }

  /// The output of fsck.fat for the file system at sector 32. It checks a copy only: of the first 8
  /// MiB, where all is that matters, and of nothing as far as the card goes.
  std::string checked_output_of_fsck(int expected_status = 0) const {
    const std::string partition = board_.path("partition");
    EXPECT_EQ(run_program({"dd", "if=" + image(), "of=" + partition, "bs=16384", "skip=1", "count=512"}), 0);
    std::filesystem::resize_file(partition, std::filesystem::file_size(image()) - 16384);
    return checked_output({"/usr/sbin/fsck.fat", "-n", partition}, expected_status);
  }

  std::string bytes_of_image(off_t offset, size_t length) const {
    std::string bytes(length, '\0');
    const int card = ::open(image().c_str(), O_RDONLY);
    EXPECT_EQ(::pread(card, bytes.data(), length, offset), static_cast<ssize_t>(length));
    ::close(card);
    return bytes;
  }
  void change_image(off_t offset, const std::string &bytes) const {
    const int card = ::open(image().c_str(), O_WRONLY);
    EXPECT_EQ(::pwrite(card, bytes.data(), bytes.size(), offset), static_cast<ssize_t>(bytes.size()));
    ::close(card);
  }

  std::string mount_line() const {
    const std::string mounts = board_.read("proc/mounts");
    const size_t start = mounts.find("/dev/mmcblk0p1");
    return start == std::string::npos ? "" : mounts.substr(start, mounts.find('\n', start) - start);
  }

  board board_;
};

} // namespace dravik::test
