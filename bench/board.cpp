// A simulated board, for files at fixed paths of the device.

#include "board.hpp"

#include "board/use_board.h"
#include "scratch_folder.hpp"

namespace bench {
namespace {

constexpr const char *picture_folder = "/usr/local/dravik/jpg";
constexpr const char *card_folder = "/tmp/mmcblk0p1";

/// Whether a file of the board is seen through its path.
bool is_in_charge(const std::string &folder) {
  const std::string path = folder + "/dravik-bench-probe";
  std::FILE *file = std::fopen(host_path(path).c_str(), "wb");
  if (file == nullptr)
    return false;
  std::fclose(file);
  std::FILE *seen = std::fopen(path.c_str(), "rb");
  std::filesystem::remove(host_path(path));
  return seen != nullptr && std::fclose(seen) == 0;
}

} // namespace

std::string host_path(const std::string &board_path) {
  return scratch().file("board") + board_path;
}

std::FILE *open_on_board(const std::string &path, const char *mode) {
  std::FILE *file = std::fopen(path.c_str(), mode);
  if (file == nullptr) {
    std::perror(path.c_str());
    std::exit(EXIT_FAILURE);
  }
  return file;
}

void use_board() {
  prefer_memory_for_scratch();
  std::filesystem::create_directories(host_path(picture_folder));
  std::filesystem::create_directories(host_path(card_folder));
  ::dravik_sim_use_board(scratch().file("board").c_str());
  if (is_in_charge(picture_folder) && is_in_charge(card_folder))
    return;
  std::fputs("the simulated board is not in charge\n", stderr);
  std::exit(EXIT_FAILURE);
}

} // namespace bench
