// Reports of the kernel about the memory card: below /sys/block, in /proc/partitions and in /proc/mounts.

#include "host/card_reports.hpp"
#include "base/unique_fd.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

constexpr std::string_view disk = "mmcblk0";
constexpr const char *partition_list = "proc/partitions";
constexpr std::string_view mounted_device = "/dev/mmcblk0p1 ";
constexpr const char *mount_information = "proc/self/mountinfo";
constexpr std::string_view fat_options =
    ",fmask=0022,dmask=0022,codepage=437,iocharset=ascii,shortname=mixed,utf8,errors=remount-ro";

std::string mount_line(const std::string &access) {
  return "/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat " + access + ",relatime" + std::string{fat_options} + " 0 0\n";
}

std::string mount_information_line(const std::string &access) {
  return "30 1 179:1 / /tmp/mmcblk0p1 " + access + ",relatime - vfat /dev/mmcblk0p1 " + access +
         std::string{fat_options} + "\n";
}

/// Return a text of the board, empty if there is none.
std::string text_of(const std::string &board, const char *inside) {
  std::string text;
  std::string error;
  return read_file(board + "/" + inside, text, error) ? text : "";
}

/// Return a list of the board without the lines that contain `subject`.
std::string lines_without(const std::string &board, const char *list, std::string_view subject) {
  const std::string text = text_of(board, list);
  std::string kept;
  for (std::string_view rest = text; !rest.empty();)
    if (const std::string_view line = take_until(rest, '\n'); line.find(subject) == line.npos)
      kept.append(line).append("\n");
  return kept;
}

std::string partition_line(uint32_t minor, uint64_t sectors, std::string_view name) {
  char line[64];
  std::snprintf(line, sizeof line, " 179 %8u %10llu %.*s\n", minor,
                static_cast<unsigned long long>(sectors / 2), static_cast<int>(name.size()), name.data());
  return line;
}

std::string below_sys(const std::string &board) {
  return board + "/sys/block/mmcblk0";
}
std::string partition_device(const std::string &board) {
  return board + "/dev/mmcblk0p1";
}

bool report_empty_slot(const std::string &board, std::string &error) {
  std::error_code code;
  files::remove_all(below_sys(board), code);
  files::remove(partition_device(board), code);
  return replace_file(board + "/" + partition_list, lines_without(board, partition_list, disk), error);
}

bool report_partition(const std::string &board, const partition &first, std::string &error) {
  const std::string root = board + "/";
  return write_file(partition_device(board), {}, error) &&
         write_file(root + card_texts::partition_start, std::to_string(first.start) + "\n", error) &&
         write_file(root + card_texts::partition_size, std::to_string(first.length) + "\n", error);
}

constexpr auto time_to_find_partition = std::chrono::milliseconds{500};

enum class scan : uint8_t { of_card, of_partition };

bool report_slot(const std::string &board, scan done, std::string &error) {
  const unique_fd card{::open(card_files{board}.image().c_str(), O_RDONLY | O_CLOEXEC)};
  struct stat status;
  if (!card || ::fstat(card.get(), &status) != 0)
    return true;
  const uint64_t sectors = static_cast<uint64_t>(status.st_size) / sector_bytes;
  const partition first =
      done == scan::of_partition ? first_partition(read_sector(card.get(), 0), sectors) : partition{};
  std::string lines = lines_without(board, partition_list, disk) + partition_line(0, sectors, "mmcblk0");
  if (first.length != 0)
    lines += partition_line(1, first.length, "mmcblk0p1");
  return write_file(below_sys(board) + "/size", std::to_string(sectors) + "\n", error) &&
         (first.length == 0 || report_partition(board, first, error)) &&
         replace_file(board + "/" + partition_list, lines, error);
}

} // namespace

bool begin_report(const std::string &board, std::string &error) {
  return write_file(card_files{board}.report_begun(), {}, error);
}

bool report_arrival(const std::string &board, std::string &error) {
  if (!begin_report(board, error) || !report_empty_slot(board, error) ||
      !report_slot(board, scan::of_card, error))
    return false;
  std::this_thread::sleep_for(time_to_find_partition);
  if (!report_slot(board, scan::of_partition, error))
    return false;
  ::unlink(card_files{board}.report_begun().c_str());
  return true;
}

bool report_card(const std::string &board, std::string &error) {
  if (!begin_report(board, error) || !report_empty_slot(board, error) ||
      !report_slot(board, scan::of_partition, error))
    return false;
  ::unlink(card_files{board}.report_begun().c_str());
  return true;
}

partition known_partition(const std::string &board) {
  return {first_number(text_of(board, card_texts::partition_start)),
          first_number(text_of(board, card_texts::partition_size))};
}

mount_state read_mount_state(const std::string &board) {
  return mount_state_of(text_of(board, card_texts::mounts));
}

bool report_mount(const std::string &board, mount_state state, std::string &error) {
  const std::string access = state == mount_state::writable ? "rw" : "ro";
  std::string mounts = lines_without(board, card_texts::mounts, mounted_device);
  std::string information = lines_without(board, mount_information, mounted_device);
  if (state != mount_state::none) {
    mounts += mount_line(access);
    information += mount_information_line(access);
  }
  return replace_file(board + "/" + mount_information, information, error) &&
         replace_file(board + "/" + card_texts::mounts, mounts, error);
}

} // namespace dravik::sim
