// Mounting a card without the kernel: its files are copied out of the image, and back into it.

#include "host/card_mount.hpp"
#include "base/unique_fd.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"
#include "host/card_image.hpp"
#include "host/card_journal.hpp"
#include "host/card_record.hpp"
#include "host/card_reports.hpp"
#include "host/fat_files.hpp"
#include "host/host_tool.hpp"
#include "host/sparse_file.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;
using words = std::vector<std::string>;

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

/// Return the first words of a command of mtools for the file system on an image.
words tool_on_image(const std::string &board, const std::string &image, const words &tool) {
  words command = tool;
  command.emplace_back("-i");
  command.push_back(image + "@@" + std::to_string(known_partition(board).start_bytes()));
  return command;
}

/// mtools interprets names on the card as patterns.
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

enum class file_system : bool { clean, unclean };

file_system state_of(const std::string &board) {
  const unique_fd card{::open(card_files{board}.image().c_str(), O_RDONLY | O_CLOEXEC)};
  const sector first = read_sector(card.get(), known_partition(board).start);
  return (first[state_position(first)] & unclean) != 0 ? file_system::unclean : file_system::clean;
}

/// The only change of an image in place: of one byte.
bool mark(const std::string &board, file_system state, std::string &error) {
  const std::string image = card_files{board}.image();
  const unique_fd card{::open(image.c_str(), O_RDWR | O_CLOEXEC)};
  const partition known = known_partition(board);
  const sector first = read_sector(card.get(), known.start);
  const size_t position = state_position(first);
  const auto others = static_cast<uint8_t>(first[position] & ~unclean);
  const auto byte = static_cast<uint8_t>(others | (state == file_system::unclean ? unclean : 0));
  if (::pwrite(card.get(), &byte, 1, static_cast<off_t>(known.start_bytes() + position)) == 1)
    return true;
  error = image + ": " + std::strerror(errno);
  return false;
}

// ------------------------------------------------------------------------------------------------ mounting

/// The names that mdir reports of an image, as paths from the root; none if it cannot be read.
std::optional<std::set<std::string>> names_on_image(const std::string &board, const std::string &image,
                                                    const words &options) {
  words look = tool_on_image(board, image, {"mdir", "-a", "-b"});
  look.insert(look.end(), options.begin(), options.end());
  look.emplace_back("::");
  std::string said;
  if (run_tool(look, &said) != 0)
    return std::nullopt;
  std::set<std::string> names;
  for (std::string_view rest = said; !rest.empty();) {
    std::string_view name = take_until(rest, '\n');
    name.remove_prefix(name.starts_with("::/") ? 3 : 0);
    name.remove_suffix(name.ends_with('/') ? 1 : 0);
    if (!name.empty())
      names.emplace(name);
  }
  return names;
}

std::string why_not_mountable(const std::string &board) {
  const std::string lacking = lacking_card_tools();
  if (read_mount_state(board) != mount_state::none)
    return "is mounted already";
  if (known_partition(board).length == 0)
    return "there is no such partition";
  if (volume_of(board).clusters == 0)
    return "has no FAT file system";
  if (!lacking.empty())
    return "missing on this host: " + lacking;
  return names_on_image(board, card_files{board}.image(), {}) ? "" : "its root directory cannot be read";
}

/// All paths on an image. mdir -/ fails on a file system without files.
std::optional<std::set<std::string>> paths_on_image(const std::string &board, const std::string &image) {
  auto names = names_on_image(board, image, {});
  return names && !names->empty() ? names_on_image(board, image, {"-/"}) : names;
}

/// mcopy writes all zeros of a file.
void make_sparse(const std::string &directory) {
  std::error_code code;
  for (files::recursive_directory_iterator entry{directory, code};
       !code && entry != files::recursive_directory_iterator{}; entry.increment(code))
    if (const unique_fd file{::open(entry->path().c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC)}; file)
      free_zeros(file.get());
}

/// Fill a directory with the files of an image. Returns whether all of them could be read.
bool copy_out(const std::string &board, const std::string &image, const std::string &directory) {
  const auto names = names_on_image(board, image, {});
  if (!names || names->empty())
    return names.has_value();
  words copy = tool_on_image(board, image, {"mcopy", "-s", "-p", "-m", "-n"});
  copy.insert(copy.end(), {"::/*", directory});
  std::string said;
  const bool is_whole = run_tool(copy, &said) == 0;
  make_sparse(directory);
  return is_whole;
}

/// Fill a file of a directory from its chain of clusters.
bool copy_chain(int image, const fat_file &from, const std::string &directory) {
  const files::path path = directory + "/" + from.path;
  std::error_code code;
  files::create_directories(path.parent_path(), code);
  const unique_fd file{::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644)};
  const timespec times[2] = {{from.modified, 0}, {from.modified, 0}};
  return file && copy_fat_file(image, from, file.get()) && ::futimens(file.get(), times) == 0;
}

constexpr size_t longest_list = 8000; ///< that applications read

/// mtools reads nothing that follows a broken chain or a loop, and leaves files incomplete: copy these, and list the
/// files with such a chain. Return whether the directory has all files; `is_whole`, whether mtools has copied all.
bool copy_broken_chains(const std::string &board, const std::string &directory, bool is_whole) {
  const card_files card{board};
  const unique_fd image{::open(card.image().c_str(), O_RDONLY | O_CLOEXEC)};
  const auto all = list_fat_files(image.get(), known_partition(board));
  std::string list;
  std::string error;
  std::error_code code;
  ::unlink(card.broken().c_str());
  if (!all || (is_whole && std::ranges::none_of(*all, &fat_file::is_damaged)))
    return is_whole;
  for (const fat_file &file : *all) {
    if ((file.is_damaged() || files::file_size(directory + "/" + file.path, code) != file.size) &&
        !copy_chain(image.get(), file, directory))
      return false;
    if (file.is_damaged())
      list += std::to_string(file.readable) + " " + file.path + "\n";
  }
  return list.size() <= longest_list && write_file(card.broken(), list, error);
}

bool make_empty_directory(const std::string &path, std::string &error) {
  std::error_code code;
  files::remove_all(path, code);
  files::create_directories(path, code);
  if (code)
    error = path + ": " + code.message();
  return !code;
}

// ------------------------------------------------------------------------------------------------ unmounting

bool fits(const std::string &board, std::string &error) {
  const unique_fd directory{
      ::open(card_files{board}.mount_point().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  const fat_volume volume = volume_of(board);
  if (clusters_of_tree(directory.get(), volume.cluster_bytes) <= volume.clusters)
    return true;
  error = "its files exceed the capacity of the card";
  return false;
}

/// Changes that bring the files of the mount point to an image.
struct card_changes {
  words gone;              ///< paths on the image
  words fresh;             ///< paths in the mount point
  bool is_foreign = false; ///< something else has changed the image since it was mounted

  bool none() const { return gone.empty() && fresh.empty(); }
};

/// For an unchanged image: replace what differs, with all below it.
card_changes changes_since(const file_list &before, const file_list &now,
                           const std::set<std::string> &on_image) {
  const std::set<std::string> names = names_at_top(now);
  card_changes changes;
  for (const std::string &name : names_at_top(difference(before, now))) {
    if (on_image.contains(name))
      changes.gone.push_back(name);
    if (names.contains(name))
      changes.fresh.push_back(name);
  }
  return changes;
}

bool is_below_any(const words &paths, const std::string &path) {
  return std::ranges::any_of(paths, [&](const std::string &above) { return path.starts_with(above + "/"); });
}

/// For an image with broken chains, which mtools must not follow: replace nothing but what differs.
card_changes changes_beside_broken_files(const file_list &before, const file_list &now,
                                         const std::set<std::string> &on_image) {
  card_changes changes;
  for (const auto &[path, stamp] : difference(before, now)) {
    if (on_image.contains(path) && !is_below_any(changes.gone, path))
      changes.gone.push_back(path);
    if (now.contains(path) && !is_below_any(changes.fresh, path))
      changes.fresh.push_back(path);
  }
  return changes;
}

/// mtools would destroy more than such a file.
bool replaces_broken_file(const std::string &board, const card_changes &changes) {
  std::string list;
  std::string error;
  if (!read_file(card_files{board}.broken(), list, error))
    return false;
  for (std::string_view rest = list; !rest.empty();) {
    std::string_view line = take_until(rest, '\n');
    take_until(line, ' ');
    const std::string path{line};
    if (is_below_any(changes.gone, path) || std::ranges::find(changes.gone, path) != changes.gone.end())
      return true;
  }
  return false;
}

/// For an image that was changed meanwhile: write all files, and remove only those that
/// were removed from the mount point.
card_changes changes_of_foreign_image(const file_list &before, const file_list &now,
                                      const std::set<std::string> &on_image) {
  card_changes changes;
  for (const auto &[path, stamp] : before)
    if (!now.contains(path) && on_image.contains(path) && !is_below_any(changes.gone, path))
      changes.gone.push_back(path);
  const std::set<std::string> names = names_at_top(now);
  changes.fresh.assign(names.begin(), names.end());
  changes.is_foreign = true;
  return changes;
}

bool change_image(words command, const words &names, std::string &error) {
  command.insert(command.end(), names.begin(), names.end());
  std::string said;
  const bool done = run_tool(command, &said) == 0;
  if (!done)
    error = "its files cannot be written: " + said.substr(0, said.find('\n'));
  return done;
}

bool remove_from_image(const std::string &board, const std::string &image, const words &paths,
                       std::string &error) {
  words names;
  std::ranges::transform(paths, std::back_inserter(names), name_on_card);
  return names.empty() || change_image(tool_on_image(board, image, {"mdeltree"}), names, error);
}

bool add_to_image(const std::string &board, const std::string &image, const words &paths,
                  std::string &error) {
  std::map<std::string, words> sources; // by the directory that they are copied to
  for (const std::string &path : paths)
    sources[files::path{path}.parent_path().string()].push_back(card_files{board}.mount_point() + "/" + path);
  return std::ranges::all_of(sources, [&](auto &entry) {
    auto &[directory, names] = entry;
    names.push_back(name_on_card(directory) + (directory.empty() ? "" : "/"));
    return change_image(tool_on_image(board, image, {"mcopy", "-s", "-m", "-o"}), names, error);
  });
}

/// Names that are equal on the card, such as "film" and "Film", would lose one of the files.
bool has_all(const std::string &board, const std::string &image, const file_list &expected,
             std::string &error) {
  const auto paths = paths_on_image(board, image);
  const bool is_complete = paths && paths->size() >= expected.size();
  if (!is_complete)
    error = "two file names are equal on the card";
  return is_complete;
}

bool has_same_contents(const std::string &one, const std::string &other) {
  std::string first;
  std::string second;
  std::string error;
  return read_file(one, first, error) && read_file(other, second, error) && first == second;
}

/// Whether all files of the mount point are read from an image as they are.
bool reads_back(const std::string &board, const std::string &image, const file_list &expected) {
  const card_files card{board};
  std::string error;
  bool is_same = make_empty_directory(card.read_back(), error) && copy_out(board, image, card.read_back());
  std::error_code code;
  for (const auto &[path, stamp] : expected)
    is_same = is_same && (files::is_directory(card.mount_point() + "/" + path, code) ||
                          has_same_contents(card.mount_point() + "/" + path, card.read_back() + "/" + path));
  files::remove_all(card.read_back(), code);
  return is_same;
}

bool update_image(const std::string &board, const card_changes &changes, const file_list &now,
                  std::string &error) {
  fresh_image image{board};
  if (!image.copy_all()) {
    error = "the card cannot be copied: " + std::string{std::strerror(errno)};
    return false;
  }
  if (!remove_from_image(board, image.path(), changes.gone, error) ||
      !add_to_image(board, image.path(), changes.fresh, error) || !has_all(board, image.path(), now, error))
    return false;
  if (changes.is_foreign && !reads_back(board, image.path(), now)) {
    error = "its file system is damaged";
    return false;
  }
  if (image.replace_card())
    return true;
  error = std::string{"the card cannot be replaced: "} + std::strerror(errno);
  return false;
}

enum class written : uint8_t { all, none, unusable_card };

/// Write what has changed in the mount point to the image.
written copy_back(const std::string &board, const mount_record &record, std::string &error) {
  const card_files card{board};
  const bool is_foreign = stamp_of_image(card.image()) != record.image;
  const file_list now = list_files(card.mount_point());
  std::error_code code;
  if (!files::exists(card.mount_point(), code) || (!is_foreign && now == record.files))
    return written::all;
  const auto on_image = volume_of(board).clusters != 0 ? paths_on_image(board, card.image()) : std::nullopt;
  const bool has_broken_files = files::exists(card.broken(), code);
  const written otherwise = is_foreign || has_broken_files ? written::unusable_card : written::none;
  if (!on_image) {
    const std::string lacking = lacking_card_tools();
    error = lacking.empty() ? "its file system cannot be read" : "missing on this host: " + lacking;
    return lacking.empty() ? otherwise : written::none;
  }
  const auto find_changes = is_foreign         ? changes_of_foreign_image
                            : has_broken_files ? changes_beside_broken_files
                                               : changes_since;
  const card_changes changes = find_changes(record.files, now, *on_image);
  if (changes.none())
    return written::all;
  if (replaces_broken_file(board, changes)) {
    error = "a file with a broken cluster chain was changed";
    return otherwise;
  }
  if (!fits(board, error))
    return written::none;
  return update_image(board, changes, now, error) ? written::all : otherwise;
}

/// `finish` ends a mount whose files the card has.
bool end_mount(const std::string &board, const mount_record &record,
               bool (*finish)(const std::string &board, std::string &error), std::string &error) {
  switch (record.is_writable ? copy_back(board, record, error) : written::all) {
  case written::all:
    return finish(board, error);
  case written::unusable_card:
    error += "; its files stay in " + card_files{board}.mount_point();
    return leave_files_behind(board, error);
  case written::none:
    break;
  }
  return false;
}

bool put_away_cleanly(const std::string &board, std::string &error) {
  return put_away(board, error) && mark(board, file_system::clean, error);
}

} // namespace

bool mount_files(const std::string &board, mount_way way, std::string &error) {
  const card_files card{board};
  error = why_not_mountable(board);
  if (!error.empty() || !make_empty_directory(card.staged(), error))
    return false;
  const bool is_writable =
      copy_broken_chains(board, card.staged(), copy_out(board, card.image(), card.staged())) &&
      way == mount_way::writable;
  const bool was_unclean = state_of(board) == file_system::unclean;
  if (is_writable && !was_unclean && !mark(board, file_system::unclean, error))
    return false;
  const mount_record record = {is_writable, was_unclean, stamp_of_image(card.image()),
                               list_files(card.staged())};
  return save_record(card.record(), record, error) && put_in_place(board, error);
}

bool remount_read_only(const std::string &board, std::string &error) {
  if (read_mount_state(board) != mount_state::none)
    return report_mount(board, mount_state::read_only, error);
  error = "is not mounted";
  return false;
}

bool unmount_files(const std::string &board, mount_end end, std::string &error) {
  const auto record = load_record(card_files{board}.record());
  if (!record && read_mount_state(board) == mount_state::none) {
    error = "is not mounted";
    return false;
  }
  if (!record) // /proc/mounts was written by hand
    return report_mount(board, mount_state::none, error);
  if (is_pulled(board))
    return put_away(board, error);
  const bool becomes_clean = end == mount_end::unmounted && record->is_writable && !record->was_unclean;
  return end_mount(board, *record, becomes_clean ? put_away_cleanly : put_away, error);
}

bool leave_mount_without_card(const std::string &board, std::string &error) {
  const auto record = load_record(card_files{board}.record());
  if (is_pulled(board))
    return true;
  return record ? end_mount(board, *record, begin_pull, error)
                : unmount_files(board, mount_end::abandoned, error);
}

} // namespace dravik::sim
