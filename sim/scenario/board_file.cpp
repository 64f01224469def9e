// Files of the board in a scenario, by the paths that applications use.

#include "scenario/board_file.hpp"
#include "base/unique_fd.hpp"
#include "host/board_directory.hpp"
#include "host/printable_text.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::sim::scenario {
namespace {

std::string_view inside_of(std::string_view path) {
  return path.substr(1);
}

bool exists(const std::string &board, const std::string &path) {
  struct stat status;
  const std::string place = place_in_board(board, inside_of(path));
  return !place.empty() && ::lstat(place.c_str(), &status) == 0;
}

std::string start_of(const std::string &board, const std::string &path) {
  std::string text;
  std::string unused;
  static_cast<void>(read_in_board(board, inside_of(path), longest_text, text, unused));
  return text;
}

bool has(const std::string &board, const file_condition &wanted) {
  return exists(board, wanted.path) &&
         (wanted.text.empty() || start_of(board, wanted.path).find(wanted.text) != std::string::npos);
}

bool fail(const std::string &path, std::string &error) {
  error = path + ": " + std::strerror(errno);
  return false;
}

} // namespace

bool is_as_wanted(const std::string &board, const file_condition &wanted) {
  return has(board, wanted) == wanted.is_wanted;
}

std::string describe_file(const std::string &board, const file_condition &wanted) {
  constexpr size_t longest_shown = 200;
  if (!exists(board, wanted.path))
    return "the file does not exist";
  if (wanted.text.empty())
    return "the file exists";
  return "the file contains '" + printable(start_of(board, wanted.path).substr(0, longest_shown)) + "'";
}

bool write_board_file(const std::string &board, const write_file_of_board &wanted, std::string &error) {
  if (!replace_in_board(board, inside_of(wanted.path), wanted.text, error) || wanted.bytes == 0)
    return error.empty();
  const unique_fd file{open_in_board(board, inside_of(wanted.path), O_WRONLY)};
  return (file && ::ftruncate(file.get(), static_cast<off_t>(wanted.bytes)) == 0) || fail(wanted.path, error);
}

bool remove_board_file(const std::string &board, const std::string &path, std::string &error) {
  const std::string place = place_in_board(board, inside_of(path));
  errno = EACCES;
  return (!place.empty() && ::unlink(place.c_str()) == 0) || fail(path, error);
}

} // namespace dravik::sim::scenario
