// The board, the recorder of commands and the screen of a fuzz target.

#include "rig.hpp"
#include "board/use_board.h"
#include "support/recorded_system.hpp"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace dravik::fuzz {
namespace {

constexpr const char *input_path = "/usr/local/dravik/jpg/input";
constexpr const char *board_folders[] = {
    "/dev",     "/proc/ambarella",    "/sys/block/mmcblk0",
    "/tmp/add", "/tmp/mmcblk0p1/REC", "/usr/local/dravik/jpg",
};

} // namespace

rig &rig::the() {
  static rig only;
  only.check_guard_band();
  test::recorded_commands.clear(); // those of the input before
  return only;
}

const char *rig::file(byte_span bytes) {
  put(input_path, bytes);
  return input_path;
}

void rig::put(const char *path, byte_span bytes) {
  std::FILE *file = std::fopen(host_path(path).c_str(), "wb");
  require(file != nullptr);
  require(bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
  require(std::fclose(file) == 0);
}

rig::rig() {
  std::ranges::fill(guard_band(), guard_byte);
  make_board();
  require_simulator();
  test::require_recorder();

  fbp = memory_.last(screen_bytes).data();
  fbinfo[FBINFO_LINE_LENGTH] = width * 2;
  fbinfo[FBINFO_XRES] = width;
  fbinfo[FBINFO_YRES] = height;
  fbinfo[FBINFO_SCREEN_SIZE] = width * height * 2;
  set_theme_color(DRAVIK_DEFAULT_THEME);
}

rig::~rig() {
  check_guard_band();
  std::filesystem::remove_all(board_);
}

void rig::check_guard_band() const {
  require(std::ranges::all_of(guard_band(), [](uint8_t byte) { return byte == guard_byte; }));
}

void rig::make_board() {
  board_ = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
  board_ += "/dravik-fuzz-XXXXXX";
  require(mkdtemp(board_.data()) != nullptr);
  for (const char *folder : board_folders)
    std::filesystem::create_directories(host_path(folder));
  ::dravik_sim_use_board(board_.c_str());
}

/// A target never touches the host's files: it ends when a file of the board is not seen through its
/// fixed path.
void rig::require_simulator() {
  file({});
  struct stat status;
  if (stat(input_path, &status) == 0)
    return;
  std::fputs("the simulated board is not in charge\n", stderr);
  std::abort();
}

} // namespace dravik::fuzz
