// The steps by which a memory card is mounted and unmounted.

#include "host/card_journal.hpp"
#include "host/board_directory.hpp"
#include "host/card_record.hpp"
#include "host/card_reports.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>
#include <vector>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

bool exists(const std::string &path) {
  std::error_code code;
  return files::exists(files::symlink_status(path, code));
}

bool is_real_directory(const files::path &path) {
  std::error_code code;
  return files::is_directory(files::symlink_status(path, code));
}

bool failed_at(const std::string &path, std::string &error) {
  error = path + ": " + std::strerror(errno);
  return false;
}

files::path free_name(const files::path &wanted) {
  files::path name = wanted;
  for (int number = 1; exists(name.string()); ++number)
    name = wanted.string() + "." + std::to_string(number);
  return name;
}

/// Move the contents of one directory to another. Nothing is overwritten: the second of two files of the same
/// name gets a number.
bool merge_into(const files::path &from, const files::path &to,
                std::string &error) { // NOLINT(misc-no-recursion)
  std::error_code code;
  const std::vector<files::path> entries{files::directory_iterator{from, code}, {}};
  for (const files::path &entry : entries) {
    const files::path target = to / entry.filename();
    if (is_real_directory(entry) && is_real_directory(target)) {
      if (!merge_into(entry, target, error))
        return false;
    } else if (::rename(entry.c_str(), free_name(target).c_str()) != 0) {
      return failed_at(entry.string(), error);
    }
  }
  return ::rmdir(from.c_str()) == 0 || failed_at(from.string(), error);
}

/// Rename a directory, or move its contents if the target has some. Does nothing if there is none.
bool move_directory(const std::string &from, const std::string &to, std::string &error) {
  if (!exists(from))
    return true;
  if (!make_directory(files::path{to}.parent_path().string(), error))
    return false;
  if (::rename(from.c_str(), to.c_str()) == 0)
    return true;
  return errno == ENOTEMPTY || errno == EEXIST ? merge_into(from, to, error) : failed_at(to, error);
}

bool uncover(const card_files &card, std::string &error) {
  return move_directory(card.below_mount(), card.mount_point(), error) &&
         make_directory(card.mount_point(), error);
}

bool finish_put_away(const std::string &board, std::string &error) {
  const card_files card{board};
  ::unlink(card.record().c_str());
  ::unlink(card.pulled().c_str());
  ::unlink(card.broken().c_str());
  if (!uncover(card, error) || !report_mount(board, mount_state::none, error))
    return false;
  std::error_code code;
  files::remove_all(card.discarded(), code);
  return true;
}

mount_state recorded_state(const mount_record &record) {
  return record.is_writable ? mount_state::writable : mount_state::read_only;
}

bool finish_mount(const std::string &board, const mount_record &record, std::string &error) {
  if (exists(card_files{board}.staged()))
    return put_in_place(board, error);
  return read_mount_state(board) != mount_state::none || report_mount(board, recorded_state(record), error);
}

/// Files that an action reads, replaces or moves. A board is untrusted: none of them may be a link.
constexpr const char *used_paths[] = {
    "card",          "card/below",      "card/broken", "card/files",     "card/mmcblk0",
    "card/mounting", "card/pulled",     "card/report", "card/unmounted", "dev",
    "dev/mmcblk0",   "dev/mmcblk0p1",   "gpio",        "gpio/68",        "proc",
    "proc/mounts",   "proc/partitions", "sys",         "sys/block",      "sys/block/mmcblk0",
    "tmp",           "tmp/mmcblk0p1"};

bool has_no_links(const std::string &board, std::string &error) {
  std::error_code code;
  for (const char *path : used_paths)
    if (files::is_symlink(board + "/" + path, code))
      error = board + "/" + path + ": a symbolic link, not followed";
  return error.empty();
}

/// Files of a killed process that no other file refers to.
void remove_leftovers(const card_files &card) {
  ::unlink(card.fresh_image().c_str());
  ::unlink(card.copy_of_partition().c_str());
  std::error_code code;
  files::remove_all(card.read_back(), code);
  for (const char *directory : {"/card", "/proc", "/gpio"})
    for (const auto &entry : files::directory_iterator{card.board + directory, code})
      if (entry.path().filename().string().find(".new-") != std::string::npos)
        ::unlink(entry.path().c_str());
}

/// Whether a card was put in while the mount of a pulled one existed.
constexpr std::string_view outlived = "outlived\n";
bool is_outlived(const card_files &card) {
  std::string text;
  std::string error;
  return read_file(card.pulled(), text, error) && text == outlived;
}

} // namespace

bool begin_pull(const std::string &board, std::string &error) {
  return replace_file(card_files{board}.pulled(), "", error);
}

bool outlive_pull(const std::string &board, std::string &error) {
  return !is_pulled(board) || replace_file(card_files{board}.pulled(), outlived, error);
}

bool is_pulled(const std::string &board) {
  return exists(card_files{board}.pulled());
}

bool put_in_place(const std::string &board, std::string &error) {
  const card_files card{board};
  const auto record = load_record(card.record());
  std::error_code code;
  const bool is_clear = !exists(card.mount_point()) || files::is_empty(card.mount_point(), code);
  return (is_clear || move_directory(card.mount_point(), card.below_mount(), error)) &&
         move_directory(card.staged(), card.mount_point(), error) &&
         report_mount(board, record ? recorded_state(*record) : mount_state::read_only, error);
}

bool put_away(const std::string &board, std::string &error) {
  const card_files card{board};
  if (::rename(card.mount_point().c_str(), card.discarded().c_str()) != 0 &&
      (errno != ENOENT || !make_directory(card.discarded(), error)))
    return failed_at(card.mount_point(), error);
  return finish_put_away(board, error);
}

bool leave_files_behind(const std::string &board, std::string &error) {
  const card_files card{board};
  if (!report_mount(board, mount_state::none, error))
    return false;
  ::unlink(card.record().c_str());
  ::unlink(card.broken().c_str());
  return uncover(card, error);
}

bool finish_interrupted(const std::string &board, std::string &error) {
  if (!has_no_links(board, error))
    return false;
  const card_files card{board};
  remove_leftovers(card);
  const auto record = load_record(card.record());
  std::error_code code;
  if (!record)
    files::remove_all(card.staged(), code);
  if (!record || (exists(card.image()) && !is_outlived(card)))
    ::unlink(card.pulled().c_str());
  const bool is_settled = exists(card.discarded()) ? finish_put_away(board, error)
                          : record                 ? finish_mount(board, *record, error)
                                                   : !exists(card.below_mount()) || uncover(card, error);
  return is_settled && (!exists(card.report_begun()) || report_card(board, error));
}

} // namespace dravik::sim
