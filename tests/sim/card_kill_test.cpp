// An action on the memory card that is killed at any of its system calls loses no file, and the next one
// repairs what it left. harmless_calls.hpp tells at which calls a kill is the same as at another one.

#include "sim/card_stage.hpp"
#include "sim/directory_state.hpp"
#include "sim/killed_program.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <thread>

namespace dravik::test {
namespace {

namespace files = std::filesystem;
using testing::AnyOf;

#ifdef SANITIZED
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

struct kill_point {
  size_t number; ///< of the call, from 0
  bool is_only_process;
};

/// A board that is copied for every kill.
class SimCardKilled : public SimCard {
protected:
  void SetUp() override {
    SKIP_UNDER_EMULATION("traces no program");
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
  /// Mounts stay when their card is pulled.
  void leave_mounts() const { board_.set("card_mounts", "kernel"); }
  void put(const std::string &name, const std::string &contents) {
    board_.write("tmp/mmcblk0p1/" + name, contents);
    expected_[name] = contents;
  }

  /// Kill an action wherever that leaves something else than a kill before.
  void kill_and_expect_files(const words &action) {
    const std::vector<traced_call> stops = run_to_the_end(action, calls::changing);
    expect_only_harmless_calls_left_out(run_to_the_end(action, calls::all), stops);
    const std::vector<kill_point> points = points_to_kill_at(action);
    std::printf("%s: %zu different states at %zu calls that may change one\n", action[0].c_str(),
                points.size(), stops.size());
    EXPECT_GT(points.size(), 10U);
    work_on(action, points);
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
  /// In memory if possible: a disk takes most of the time, and what a killed process leaves is the same.
  std::string place_of_copies() const {
    return ::access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : files::path{board_.path()}.parent_path() / "";
  }
  words command(const words &action) const {
    words all = {launcher_path, "card", copy_};
    all.insert(all.end(), action.begin(), action.end());
    return all;
  }
  void copy_board() const { copy_directory(board_.path(), copy_); }
  static void copy_directory(const std::string &from, const std::string &to) {
    files::remove_all(to);
    ASSERT_EQ(run_program({"cp", "-a", "--sparse=always", from, to}), 0);
  }

  std::vector<traced_call> run_to_the_end(const words &action, calls counted) {
    copy_board();
    std::vector<traced_call> seen;
    const killed_program whole{command(action), counted, [&](const traced_call &call) {
                                 seen.push_back(call);
                                 return victim::nobody;
                               }};
    EXPECT_EQ(whole.exit_status(), 0);
    return seen;
  }

  static void expect_only_harmless_calls_left_out(const std::vector<traced_call> &all,
                                                  const std::vector<traced_call> &stops) {
    std::multiset<long> others;
    std::multiset<long> stopped;
    for (const traced_call &call : all)
      if (!is_harmless(call))
        others.insert(call.number);
    for (const traced_call &call : stops)
      stopped.insert(call.number);
    EXPECT_EQ(stopped, others);
    EXPECT_TRUE(std::ranges::none_of(stops, maps_file_for_writing)) << "files change without a system call";
  }

  /// The numbers of the calls before which the board is not as it was before the previous one: a call that
  /// failed, wrote what was there already (mkfs.vfat clears the tables sector by sector) or went to a pipe
  /// left the same. Times are no part of the state: utimensat() always counts as a change of it.
  std::vector<kill_point> points_to_kill_at(const words &action) {
    copy_board();
    std::vector<kill_point> points;
    std::string state;
    size_t number = 0;
    bool sets_time = false;
    const killed_program whole{command(action), calls::changing, [&](const traced_call &call) {
                                 const std::string now = state_of(copy_);
                                 if (now != state || sets_time)
                                   points.push_back({number, call.is_only_process});
                                 state = now;
                                 sets_time = call.number == SYS_utimensat;
                                 ++number;
                                 return victim::nobody;
                               }};
    EXPECT_EQ(state_of(copy_), state) << "something changed after the last call";
    return points;
  }

  /// Several processes share the work.
  void work_on(const words &action, const std::vector<kill_point> &points) {
    const unsigned workers = std::max(std::thread::hardware_concurrency(), 1U);
    std::vector<pid_t> children;
    std::fflush(stdout);
    for (unsigned worker = 0; worker < workers; ++worker)
      if (children.emplace_back(::fork()) == 0)
        work_on_part(action, points, worker, workers);
    for (const pid_t child : children) {
      int status = -1;
      ::waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    }
  }
  [[noreturn]] void work_on_part(const words &action, const std::vector<kill_point> &points, unsigned worker,
                                 unsigned workers) {
    copy_ += "." + std::to_string(worker);
    for (size_t i = worker; i < points.size() && !HasFailure(); i += workers)
      if (is_taken(i, points.size()))
        kill_at(action, points[i], i);
    files::remove_all(copy_);
    std::fflush(stdout);
    ::_exit(HasFailure() ? 1 : 0);
  }

  /// All; a sanitized launcher takes several times as long to start, and is killed at about 8 points.
  static bool is_taken(size_t point, size_t count) {
    return !is_sanitized || point % std::max<size_t>(count / 8, 1) == 0;
  }

  void kill_at(const words &action, const kill_point &point, size_t round) {
    kill_before(action, point.number, victim::program, round);
    if (point.is_only_process)
      return;
    kill_before(action, point.number, victim::parent, round + 1);
    kill_before(action, point.number, victim::caller, round + 2);
  }
  void kill_before(const words &action, size_t point, victim killed, size_t round) {
    copy_board();
    size_t number = 0;
    const killed_program traced{command(action), calls::changing, [&](const traced_call &) {
                                  return number++ == point ? killed : victim::nobody;
                                }};
    SCOPED_TRACE("victim " + std::to_string(static_cast<int>(killed)) + " killed before call " +
                 std::to_string(point));
    EXPECT_TRUE(traced.was_killed());
    expect_files_exist();
    expect_repair(action, round);
  }

  /// The next action is the same one, which succeeds or is done already, or any other. A restart and taking
  /// the card out always succeed.
  void expect_repair(const words &action, size_t round) {
    static const std::vector<words> next = {{"umount"}, {"mount"}, {"in"}, {"check", "-a"}, {"out"}};
    if (round % 2 == 0)
      expect_repeated(action, is_mounted());
    else
      launch_on_copy(next[round / 2 % next.size()]);
    expect_files_exist();
    std::ofstream{copy_ + "/board.conf"} << settings_;
    EXPECT_EQ(launch_on_copy({"restart"}), 0);
    EXPECT_EQ(launch_on_copy({"out"}), 0);
    expect_settled();
    expect_tidy();
  }
  /// What had its effect when the process was killed is reported as by mount and umount of BusyBox.
  void expect_repeated(const words &action, bool was_mounted) {
    const bool had_effect = action[0] == "mount" ? was_mounted : (action[0] == "umount" && !was_mounted);
    const int failed = action[0] == "mount" ? 255 : 1;
    EXPECT_EQ(launch_on_copy(action), had_effect ? failed : 0) << action[0];
  }

  static void clear_dirty_bit(const std::string &partition) {
    std::fstream{partition, std::ios::in | std::ios::out | std::ios::binary}.seekp(65).put('\0');
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
    clear_dirty_bit(partition); // of a mount that was killed, or ended by the restart
    EXPECT_EQ(run_program({"/usr/sbin/fsck.fat", "-n", partition}), 0);
  }

protected:
  const std::string settings_ = board_.read("board.conf"); ///< before a test changes them
  tree expected_;
  std::string copy_ = place_of_copies() + files::path{board_.path()}.filename().string() + ".copy";
};

TEST_F(SimCardKilled, KeepsEveryFileOnUnmount) {
  write_files();
  change_files();
  kill_and_expect_files({"umount"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnMount) {
  write_files();
  unmount();
  kill_and_expect_files({"mount"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnIn) {
  write_files();
  take_out();
  kill_and_expect_files({"in"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnOut) {
  write_files();
  change_files();
  kill_and_expect_files({"out"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnPull) {
  write_files();
  change_files();
  leave_mounts();
  kill_and_expect_files({"out"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnInBesideMountOfPulledCard) {
  write_files();
  change_files();
  leave_mounts();
  take_out();
  kill_and_expect_files({"in"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnUnmountOfPulledCard) {
  write_files();
  change_files();
  leave_mounts();
  take_out();
  put_in();
  kill_and_expect_files({"umount"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnRestart) {
  write_files();
  change_files();
  kill_and_expect_files({"restart"});
}

TEST_F(SimCardKilled, KeepsEveryFileOnCheck) {
  write_files();
  unmount();
  kill_and_expect_files({"check", "-a"});
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
  kill_and_expect_files({"format", "-F", "32"});
}

} // namespace
} // namespace dravik::test
