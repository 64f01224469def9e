// Mounting a card without the kernel: its files are copied out of the image, and back into it.

#include "board/card_mount.hpp"
#include "base/unique_fd.hpp"
#include "board/board_directory.hpp"
#include "board/card_reports.hpp"
#include "board/host_tool.hpp"
#include "board/settings_text.hpp"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;
using words = std::vector<std::string>;

/// Every path below the mount point, with what tells one state of it from another.
using file_list = std::map<std::string, std::string>;

std::string stamp_of(const std::string &path) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode))
    return "directory";
  return std::to_string(status.st_size) + " " + std::to_string(status.st_ctim.tv_sec) + "." +
         std::to_string(status.st_ctim.tv_nsec);
}

file_list list_files(const std::string &directory) {
  file_list list;
  std::error_code code;
  for (files::recursive_directory_iterator entry{directory, code};
       !code && entry != files::recursive_directory_iterator{}; entry.increment(code)) {
    const std::string path = entry->path().string();
    list.emplace(path.substr(directory.size() + 1), stamp_of(path));
  }
  return list;
}

bool save(const file_list &list, const std::string &path, std::string &error) {
  std::string text;
  for (const auto &[name, stamp] : list)
    text += stamp + "\t" + name + "\n";
  return write_file(path, text, error);
}

file_list load(const std::string &path) {
  std::string text;
  std::string error;
  file_list list;
  if (!read_file(path, text, error))
    return list;
  for (std::string_view rest = text; !rest.empty();) {
    std::string_view line = take_until(rest, '\n');
    const std::string stamp{take_until(line, '\t')};
    list.emplace(line, stamp);
  }
  return list;
}

std::set<std::string> names_at_top(const file_list &list) {
  std::set<std::string> names;
  for (const auto &[path, stamp] : list)
    names.insert(path.substr(0, path.find('/')));
  return names;
}

file_list difference(const file_list &one, const file_list &other) {
  file_list list;
  std::ranges::set_symmetric_difference(one, other, std::inserter(list, list.end()));
  return list;
}

/// The words that begin a command of mtools for the card's file system.
words tool_on_card(const std::string &board, const words &tool) {
  words command = tool;
  command.emplace_back("-i");
  command.push_back(card_files{board}.image() + "@@" + std::to_string(known_partition(board).start_bytes()));
  return command;
}

/// mtools takes names on the card for patterns.
std::string name_on_card(const std::string &name) {
  std::string escaped = "::/";
  for (const char c : name) {
    if (std::string_view{"*?[]\\"}.find(c) != std::string_view::npos)
      escaped += '\\';
    escaped += c;
  }
  return escaped;
}

fat_volume volume_of(const std::string &board) {
  const partition known = known_partition(board);
  const unique_fd card{::open(card_files{board}.image().c_str(), O_RDONLY | O_CLOEXEC)};
  return known.length != 0 && card ? read_fat_volume(read_sector(card.get(), known.start)) : fat_volume{};
}

// ------------------------------------------------------------------------------------------------ mounting

std::string why_not_mountable(const std::string &board) {
  const std::string lacking = lacking_card_tools();
  if (read_mount_state(board) != mount_state::none)
    return "is mounted already";
  if (known_partition(board).length == 0)
    return "there is no such partition";
  if (volume_of(board).clusters == 0)
    return "has no FAT file system";
  return lacking.empty() ? "" : "this machine lacks " + lacking;
}

/// Whether all of the card could be read.
bool copy_out(const std::string &board) {
  std::string names;
  words look = tool_on_card(board, {"mdir", "-a", "-b"});
  look.emplace_back("::");
  if (run_tool(look, &names) != 0)
    return false;
  if (names.empty())
    return true;
  words copy = tool_on_card(board, {"mcopy", "-s", "-p", "-m", "-n"});
  copy.insert(copy.end(), {"::/*", card_files{board}.mount_point()});
  return run_tool(copy, &names) == 0;
}

/// An empty mount point; what was there before is kept aside.
bool clear_way(const card_files &card, std::string &error) {
  std::error_code code;
  files::create_directories(card.mount_point(), code);
  files::create_directories(card.board + "/card", code);
  files::remove_all(card.below_mount(), code);
  if (!files::is_empty(card.mount_point(), code) && !code) {
    files::rename(card.mount_point(), card.below_mount(), code);
    files::create_directory(card.mount_point(), code);
  }
  if (code)
    error = card.mount_point() + ": " + code.message();
  return !code;
}

// ------------------------------------------------------------------------------------------------ unmounting

bool fits(const std::string &board, std::string &error) {
  const unique_fd directory{
      ::open(card_files{board}.mount_point().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  const fat_volume volume = volume_of(board);
  if (volume.clusters == 0) {
    error = "has no FAT file system any more";
    return false;
  }
  if (clusters_of_tree(directory.get(), volume.cluster_bytes) <= volume.clusters)
    return true;
  error = "what was written does not fit on the card";
  return false;
}

bool change_card(words command, const words &names, std::string &error) {
  if (names.empty())
    return true;
  command.insert(command.end(), names.begin(), names.end());
  std::string said;
  const bool done = run_tool(command, &said) == 0;
  if (!done)
    error = "its files cannot be written: " + said.substr(0, said.find('\n'));
  return done;
}

bool copy_back(const std::string &board, std::string &error) {
  const card_files card{board};
  const file_list before = load(card.list());
  const file_list now = list_files(card.mount_point());
  const std::set<std::string> old_names = names_at_top(before);
  const std::set<std::string> new_names = names_at_top(now);
  words gone;
  words fresh;
  for (const std::string &name : names_at_top(difference(before, now))) {
    if (old_names.contains(name))
      gone.push_back(name_on_card(name));
    if (new_names.contains(name))
      fresh.push_back(card.mount_point() + "/" + name);
  }
  if (gone.empty() && fresh.empty())
    return true;
  if (!fresh.empty())
    fresh.emplace_back("::/");
  return fits(board, error) && change_card(tool_on_card(board, {"mdeltree"}), gone, error) &&
         change_card(tool_on_card(board, {"mcopy", "-s", "-m", "-o"}), fresh, error);
}

void show_what_was_below(const card_files &card) {
  std::error_code code;
  for (const auto &entry : files::directory_iterator{card.mount_point(), code})
    files::remove_all(entry.path(), code);
  if (!files::exists(card.below_mount(), code))
    return;
  files::remove(card.mount_point(), code);
  files::rename(card.below_mount(), card.mount_point(), code);
}

} // namespace

bool mount_files(const std::string &board, mount_way way, std::string &error) {
  const card_files card{board};
  error = why_not_mountable(board);
  if (!error.empty() || !clear_way(card, error))
    return false;
  const bool is_sound = copy_out(board);
  const mount_state state =
      is_sound && way == mount_way::writable ? mount_state::writable : mount_state::read_only;
  return save(list_files(card.mount_point()), card.list(), error) && report_mount(board, state, error);
}

bool unmount_files(const std::string &board, std::string &error) {
  const card_files card{board};
  const mount_state state = read_mount_state(board);
  std::error_code code;
  const bool has_image = files::exists(card.list(), code); // otherwise someone wrote the list by hand
  if (state == mount_state::none)
    error = "is not mounted";
  if (state == mount_state::none || (has_image && state == mount_state::writable && !copy_back(board, error)))
    return false;
  if (has_image)
    show_what_was_below(card);
  files::remove(card.list(), code);
  return report_mount(board, mount_state::none, error);
}

} // namespace dravik::sim
