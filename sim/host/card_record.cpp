// Contents of the mount point of a memory card when it was mounted.

#include "host/card_record.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"

#include <filesystem>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

std::string stamp(const struct stat &status, const timespec &time) {
  return std::to_string(status.st_size) + " " + std::to_string(time.tv_sec) + "." +
         std::to_string(time.tv_nsec);
}

std::string stamp_of_file(const std::string &path) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode))
    return "directory";
  return stamp(status, status.st_ctim);
}

} // namespace

file_list list_files(const std::string &directory) {
  file_list list;
  std::error_code code;
  for (files::recursive_directory_iterator entry{directory, code};
       !code && entry != files::recursive_directory_iterator{}; entry.increment(code)) {
    const std::string path = entry->path().string();
    list.emplace(path.substr(directory.size() + 1), stamp_of_file(path));
  }
  return list;
}

std::string stamp_of_image(const std::string &path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? stamp(status, status.st_mtim) : "";
}

constexpr std::string_view read_only = "ro", writable = "rw", writable_and_unclean = "unclean";

bool save_record(const std::string &path, const mount_record &record, std::string &error) {
  const std::string_view state = !record.is_writable  ? read_only
                                 : record.was_unclean ? writable_and_unclean
                                                      : writable;
  std::string text = std::string{state} + " " + record.image + "\n";
  for (const auto &[name, stamp] : record.files)
    text.append(stamp).append("\t").append(name).append("\n");
  return replace_file(path, text, error);
}

std::optional<mount_record> load_record(const std::string &path) {
  std::string text;
  std::string error;
  if (!read_file(path, text, error))
    return std::nullopt;
  std::string_view rest = text;
  std::string_view first = take_until(rest, '\n');
  mount_record record;
  const std::string_view state = take_word(first);
  record.is_writable = state != read_only;
  record.was_unclean = state == writable_and_unclean;
  record.image = trimmed(first);
  while (!rest.empty()) {
    std::string_view line = take_until(rest, '\n');
    const std::string stamp{take_until(line, '\t')};
    record.files.emplace(line, stamp);
  }
  return record;
}

} // namespace dravik::sim
