// The port and the token of a board's page, kept so that a page finds a server that was started again.

#include "panel/access.hpp"
#include "base/unique_fd.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

constexpr const char *file_name = "panel.access";
constexpr size_t token_bytes = 16;

/// A copy of a board is another directory.
std::string identity_of(const std::string &board) {
  struct stat status = {};
  ::stat(board.c_str(), &status);
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

bool is_private(const std::string &board) {
  const unique_fd file{open_in_board(board, file_name, O_RDONLY)};
  struct stat status = {};
  return file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == ::geteuid() && (status.st_mode & 077) == 0;
}

bool is_token(std::string_view text) {
  return text.size() == token_bytes * 2 &&
         text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

bool make_token(std::string &token, std::string &error) {
  std::array<uint8_t, token_bytes> random = {};
  if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    error = std::string{"no random numbers: "} + std::strerror(errno);
    return false;
  }
  token.clear();
  for (const uint8_t byte : random) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    token += digits;
  }
  return true;
}

} // namespace

bool load_access(const std::string &board, panel_access &access, std::string &error) {
  std::string text;
  std::string unused;
  access = {};
  if (is_private(board) && read_text_in_board(board, file_name, text, unused) &&
      value_of(text, "directory") == identity_of(board) && is_token(value_of(text, "token"))) {
    access.token = value_of(text, "token");
    access.port = static_cast<uint16_t>(std::min(number_of(text, "port", 0), uint32_t{UINT16_MAX}));
    return true;
  }
  return make_token(access.token, error);
}

/// The file is private before it has content.
bool save_access(const std::string &board, const panel_access &access, std::string &error) {
  const std::string text = "directory=" + identity_of(board) + "\nport=" + std::to_string(access.port) +
                           "\ntoken=" + access.token + "\n";
  const mode_t before = ::umask(077);
  const bool is_saved = replace_in_board(board, file_name, text, error);
  ::umask(before);
  return is_saved;
}

} // namespace dravik::sim
