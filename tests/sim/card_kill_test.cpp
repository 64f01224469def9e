// An action on the memory card that is killed at any of its system calls loses no file, and the next one
// repairs what it left.

#include "sim/card_stage.hpp"
#include "sim/killed_program.hpp"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <map>

namespace dravik::test {
namespace {

namespace files = std::filesystem;
using testing::AnyOf;

#ifdef __SANITIZE_ADDRESS__
constexpr bool is_sanitized = true;
#else
constexpr bool is_sanitized = false;
#endif

/// Paths below a directory, and what the files hold.
using tree = std::map<std::string, std::string>;

tree files_below(const std::string &directory) {
  tree found;
  std::error_code code;
  for (const auto &entry : files::recursive_directory_iterator{directory, code}) {
    if (!entry.is_regular_file(code))
      continue;
    std::ifstream file{entry.path(), std::ios::binary};
    found.emplace(files::relative(entry.path(), directory).string(),
                  std::string{std::istreambuf_iterator<char>{file}, {}});
  }
  return found;
}

/// A board that is copied for every kill.
class SimCardKilled : public SimCard {
protected:
  void SetUp() override {
    if (!can_trace())
      GTEST_SKIP() << "ptrace() is not permitted: nothing was killed";
    unmount();
    board_.write("tmp/mmcblk0p1/of the board", "below");
    mount();
  }
  ~SimCardKilled() override {
    std::error_code code;
    files::remove_all(copy_, code);
  }

  /// Files on the card, and with `later` what the application has done since it was mounted.
  void write_files() {
    put("kept", "kept");
    put("changed", "before");
    put("removed", "removed");
    put("REC/KVX00001.TS", std::string(5000, 'f'));
    unmount();
    mount();
  }
  void change_files() {
    put("changed", "after it");
    put("REC/KVX00002.TS", std::string(3000, 'g'));
    put("new/deep/film", "film");
    board_.remove("tmp/mmcblk0p1/removed");
    expected_.erase("removed");
  }
  void put(const std::string &name, const std::string &contents) {
    board_.write("tmp/mmcblk0p1/" + name, contents);
    expected_[name] = contents;
  }

  /// Kill an action before each call that changes files, and before a few of the others.
  void kill_everywhere(const words &action) {
    const int changing =
        kill_each(action, calls::changing_files, run_to_the_end(action, calls::changing_files));
    const int all = run_to_the_end(action, calls::all);
    const int others = kill_each(action, calls::all, all);
    std::printf("killed at %d calls that change files, and at %d others of %d\n", changing, others, all);
    EXPECT_GT(changing, 10);
  }

  virtual void expect_files_exist() const {
    const tree in_folder = files_below(copy_ + "/tmp/mmcblk0p1");
    EXPECT_THAT((std::array{in_folder, on_image()}), testing::Contains(expected_));
  }
  virtual void expect_settled() const { EXPECT_EQ(on_image(), expected_); }

  tree on_image() const {
    const std::string from = image_of_copy() + "@@16384";
    const std::string to = copy_ + "/read";
    files::create_directory(to);
    run_program(
        {"env", "LC_ALL=C.UTF-8", "MTOOLS_SKIP_CHECK=1", "mcopy", "-s", "-n", "-i", from, "::/*", to});
    const tree found = files_below(to);
    files::remove_all(to);
    return found;
  }
  std::string image_of_copy() const {
    const std::string in_slot = copy_ + "/dev/mmcblk0";
    return files::exists(in_slot) ? in_slot : copy_ + "/card/mmcblk0";
  }

private:
  words command(const words &action) const {
    words all = {LAUNCHER, "card", copy_};
    all.insert(all.end(), action.begin(), action.end());
    return all;
  }
  void copy_board() const {
    files::remove_all(copy_);
    ASSERT_EQ(run_program({"cp", "-a", "--sparse=always", board_.path(), copy_}), 0);
  }
  int run_to_the_end(const words &action, calls counted) {
    copy_board();
    const killed_program all{command(action), counted, 0};
    EXPECT_EQ(all.exit_status(), 0);
    return all.count();
  }

  /// Of a few hundred calls that change files, all; mkfs.vfat writes each sector of the tables by itself, and
  /// of these only some are taken, between the first and the last of the action.
  static bool is_taken(calls counted, int number, int count) {
    if (counted == calls::all)
      return number % std::max(count / 12, 1) == 0;
    constexpr int most = is_sanitized ? 60 : 200; // a sanitized launcher takes several times as long to start
    constexpr int edge = is_sanitized ? 15 : 30;
    return count <= most || number <= edge || number > count - edge || number % (count / edge) == 0;
  }

  /// How often the action was killed, until it came to its end.
  int kill_each(const words &action, calls counted, int count) {
    int kills = 0;
    for (int number = 1; !HasFailure(); ++number) {
      if (number <= count && !is_taken(counted, number, count))
        continue;
      copy_board();
      const killed_program killed{command(action), counted, number};
      if (!killed.was_killed())
        break;
      SCOPED_TRACE("killed at call " + std::to_string(number) +
                   (counted == calls::all ? "" : " of those that change files"));
      expect_files_exist();
      expect_repair(action, kills++);
      if (counted == calls::all && number >= count)
        break;
    }
    return kills;
  }

  /// The same action succeeds or is done already; after any other one, so do a restart and taking the card
  /// out.
  void expect_repair(const words &action, int kills) {
    static const std::vector<words> next = {{"umount"},      {"mount"}, {"in"},
                                            {"check", "-a"}, {"out"},   {"restart"}};
    const bool was_mounted = is_mounted();
    if (kills % 2 == 0) {
      expect_repeated(action, was_mounted);
    } else {
      launch_on_copy(next[static_cast<size_t>(kills / 2) % next.size()]);
      expect_files_exist();
      EXPECT_EQ(launch_on_copy({"restart"}), 0);
    }
    EXPECT_EQ(launch_on_copy({"out"}), 0);
    expect_settled();
    expect_tidy();
  }
  /// What had its effect when the process was killed is told as by mount(8) and umount(8).
  void expect_repeated(const words &action, bool was_mounted) {
    const bool had_effect = action[0] == "mount" ? was_mounted : (action[0] == "umount" && !was_mounted);
    EXPECT_EQ(launch_on_copy(action), had_effect ? 32 : 0) << action[0];
  }

  int launch_on_copy(const words &action) const { return run_program(command(action)); }
  bool is_mounted() const {
    return files_below(copy_ + "/proc")["mounts"].find("mmcblk0p1") != std::string::npos;
  }

  /// The board as it is without a card, a sound file system, and no file but the image in card/.
  void expect_tidy() const {
    EXPECT_EQ(files_below(copy_ + "/tmp/mmcblk0p1"), (tree{{"of the board", "below"}}));
    EXPECT_FALSE(is_mounted());
    EXPECT_EQ(std::distance(files::directory_iterator{copy_ + "/card"}, {}), 1);
    EXPECT_FALSE(files::exists(copy_ + "/sys/block/mmcblk0"));
    const std::string partition = copy_ + "/partition";
    run_program(
        {"dd", "if=" + image_of_copy(), "of=" + partition, "bs=16384", "skip=1", "count=512", "conv=sparse"});
    files::resize_file(partition, files::file_size(image_of_copy()) - 16384);
    EXPECT_EQ(run_program({"/usr/sbin/fsck.fat", "-n", partition}), 0);
  }

protected:
  tree expected_;
  std::string copy_ = board_.path() + ".copy";
};

TEST_F(SimCardKilled, UnmountKeepsEveryFile) {
  write_files();
  change_files();
  kill_everywhere({"umount"});
}

TEST_F(SimCardKilled, MountKeepsEveryFile) {
  write_files();
  unmount();
  kill_everywhere({"mount"});
}

TEST_F(SimCardKilled, InKeepsEveryFile) {
  write_files();
  take_out();
  kill_everywhere({"in"});
}

TEST_F(SimCardKilled, OutKeepsEveryFile) {
  write_files();
  change_files();
  kill_everywhere({"out"});
}

TEST_F(SimCardKilled, RestartKeepsEveryFile) {
  write_files();
  change_files();
  kill_everywhere({"restart"});
}

TEST_F(SimCardKilled, CheckKeepsEveryFile) {
  write_files();
  unmount();
  kill_everywhere({"check", "-a"});
}

/// A format leaves all files or an empty file system.
class SimCardKilledFormat : public SimCardKilled {
protected:
  void expect_files_exist() const override { EXPECT_THAT(on_image(), AnyOf(expected_, tree{})); }
  void expect_settled() const override { expect_files_exist(); }
};

TEST_F(SimCardKilledFormat, LeavesAllFilesOrNone) {
  write_files();
  unmount();
  kill_everywhere({"format", "-F", "32"});
}

} // namespace
} // namespace dravik::test
