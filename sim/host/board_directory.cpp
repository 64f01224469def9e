// Making and reading boards, for the launcher and for tests.

#include "host/board_directory.hpp"
#include "base/unique_fd.hpp"
#include "base/unique_file.hpp"
#include "board/accelerometer.hpp"
#include "board/board_links.hpp"
#include "board/board_table.hpp"
#include "board/settings_text.hpp"
#include "host/reports.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

constexpr uint32_t code_of_30_degrees = 0x1CF;
constexpr uint32_t middle_code = 0x200;

std::string first_codes() {
  std::string text;
  for (uint32_t channel = 0; channel < reports::adc_channels; ++channel)
    text = reports::with_adc_code(text, channel,
                                  channel == reports::temperature_channel ? code_of_30_degrees : middle_code);
  return text;
}

/// After power-on.
std::string first_registers() {
  std::string registers(accelerometer::registers, '\0');
  registers[accelerometer::identity_register] = accelerometer::identity;
  registers[accelerometer::rate_and_axes] = 0x07;
  return registers;
}

std::string reason() {
  return std::strerror(errno);
}

std::string settings_of(const screen &shown) {
  const std::pair<const char *, uint32_t> settings[] = {
      {"xres", shown.xres},
      {"yres", shown.yres},
      {"xres_virtual", shown.xres_virtual},
      {"yres_virtual", shown.yres_virtual},
      {"bits_per_pixel", shown.bits_per_pixel},
      {"line_length", shown.line_length},
  };
  std::string text =
      "# The screen, in pixels; line_length in bytes. Takes effect when an application next opens it.\n";
  for (const auto &[key, value] : settings)
    text = with_setting(text, key, std::to_string(value));
  return text.append("# Acceleration in mg: x, y, z.\n"
                     "accel=0,0,1000\n");
}

/// A comment with the requests of each device.
std::string first_faults() {
  std::string text =
      "# Faults to inject, one per line: request, path, error. Effective from the next request on.\n"
      "# open: all paths; read: paths below /dev; write: paths below /dev and /sys; mmap and\n"
      "# descriptor-0: devices; shell COMMAND. In addition:\n";
  for (const board_entry &entry : board_table)
    if (!entry.requests.empty())
      text.append("#   ").append(entry.path).append(": ").append(entry.requests).append("\n");
  return text.append("# Example: fscreeninfo /dev/fb0 EIO\n");
}

/// The memory takes no space on the host until something is drawn.
bool make_screen_memory(const std::string &path, const screen &shown, std::string &error) {
  if (!write_file(path, {}, error))
    return false;
  if (::truncate(path.c_str(), static_cast<off_t>(shown.memory_bytes())) == 0)
    return true;
  error = path + ": " + reason();
  return false;
}

bool make_pipe(const std::string &path, const screen &, std::string &error) {
  if (::mkfifo(path.c_str(), 0666) == 0)
    return true;
  error = path + ": " + reason();
  return false;
}

/// The first contents of a path that are not a constant.
struct maker {
  std::string_view path;
  bool (*make)(const std::string &path, const screen &shown, std::string &error);
};

template <std::string (*text)()> bool make_text(const std::string &path, const screen &, std::string &error) {
  return write_file(path, text(), error);
}

constexpr maker makers[] = {
    {"/dev/fb0", make_screen_memory},
    {"/dev/ttyS0.in", make_pipe},
    {"/proc/ambarella/adc", make_text<first_codes>},
    {"faults", make_text<first_faults>},
    {"i2c/0x18", make_text<first_registers>},
    {"board.conf", [](const std::string &path, const screen &shown,
                      std::string &error) { return write_file(path, settings_of(shown), error); }},
};

constexpr const maker *maker_of(const board_entry &entry) {
  return std::ranges::find(makers, entry.path, &maker::path);
}

static_assert(std::ranges::all_of(board_table,
                                  [](const board_entry &entry) {
                                    return entry.first != first_state::made ||
                                           maker_of(entry) != std::end(makers);
                                  }),
              "each entry of board_table that is made has its function in makers");

bool make_entry(const std::string &board, const board_entry &entry, const screen &shown, std::string &error) {
  const std::string path =
      board + "/" + std::string{entry.path.substr(is_path_of_applications(entry) ? 1 : 0)};
  switch (entry.first) {
  case first_state::absent:
    return true;
  case first_state::file:
    return write_file(path, entry.text, error);
  case first_state::directory:
    return make_directory(path, error);
  case first_state::made:
    return make_directory(files::path{path}.parent_path(), error) &&
           maker_of(entry)->make(path, shown, error);
  }
  return false;
}

bool make_place(const std::string &directory, std::string &error) {
  std::error_code code;
  if (files::exists(directory, code) && !files::is_directory(directory, code)) {
    error = directory + ": not a directory";
    return false;
  }
  if (files::exists(directory, code) && !files::is_empty(directory, code)) {
    error = directory + ": exists and is not empty";
    return false;
  }
  return make_directory(directory, error);
}

} // namespace

bool make_directory(const std::string &path, std::string &error) {
  std::error_code code;
  files::create_directories(path, code);
  if (code)
    error = path + ": " + code.message();
  return !code;
}

bool create_board(const std::string &directory, const screen &shown, std::string &error) {
  if (!make_place(directory, error))
    return false;
  return std::ranges::all_of(
      board_table, [&](const board_entry &entry) { return make_entry(directory, entry, shown, error); });
}

bool is_board(const std::string &directory) {
  std::error_code code;
  return files::is_regular_file(directory + "/board.conf", code);
}

std::string place_in_board(const std::string &board, std::string_view inside) {
  char path[longest_path];
  const std::string whole = board + "/" + std::string{inside};
  if (whole.size() >= sizeof path)
    return {};
  *std::copy(whole.begin(), whole.end(), path) = '\0';
  return follow_board_links(path, board.size(), last_link::followed) ? path : "";
}

int open_in_board(const std::string &board, std::string_view inside, int flags) {
  const std::string path = place_in_board(board, inside);
  errno = EACCES;
  if (path.empty() || is_host_device(path.c_str()))
    return -1;
  return ::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
}

namespace {

bool open_regular(const std::string &board, std::string_view inside, unique_fd &file, struct stat &status) {
  file.reset(open_in_board(board, inside, O_RDONLY));
  if (!file || ::fstat(file.get(), &status) != 0)
    return false;
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return S_ISREG(status.st_mode);
}

bool read_at(int file, uint64_t position, std::span<uint8_t> bytes, size_t &count) {
  for (count = 0; count < bytes.size();) {
    const auto rest = bytes.subspan(count);
    const ssize_t got = ::pread(file, rest.data(), rest.size(), static_cast<off_t>(position + count));
    if (got <= 0)
      return got == 0;
    count += static_cast<size_t>(got);
  }
  return true;
}

bool not_read(const std::string &board, std::string_view inside, std::string &error) {
  error = board + "/" + std::string{inside} + ": " + reason();
  return false;
}

} // namespace

bool read_part_in_board(const std::string &board, std::string_view inside, uint64_t position,
                        std::span<uint8_t> bytes, size_t &count, std::string &error) {
  unique_fd file;
  struct stat status;
  return (open_regular(board, inside, file, status) && read_at(file.get(), position, bytes, count)) ||
         not_read(board, inside, error);
}

bool read_in_board(const std::string &board, std::string_view inside, uint64_t most_bytes, std::string &bytes,
                   std::string &error) {
  unique_fd file;
  struct stat status;
  bytes.clear();
  if (!open_regular(board, inside, file, status))
    return not_read(board, inside, error);
  bytes.resize(static_cast<size_t>(std::min(most_bytes, static_cast<uint64_t>(status.st_size))));
  size_t count = 0;
  const bool is_read =
      read_at(file.get(), 0, {reinterpret_cast<uint8_t *>(bytes.data()), bytes.size()}, count);
  bytes.resize(count);
  return is_read || not_read(board, inside, error);
}

bool read_text_in_board(const std::string &board, std::string_view inside, std::string &text,
                        std::string &error) {
  if (!read_in_board(board, inside, longest_text + 1, text, error))
    return false;
  if (text.size() <= longest_text)
    return true;
  error = board + "/" + std::string{inside} + ": larger than 1 MiB";
  return false;
}

bool replace_in_board(const std::string &board, std::string_view inside, std::string_view text,
                      std::string &error) {
  const std::string path = place_in_board(board, inside);
  if (!path.empty())
    return replace_file(path, text, error);
  error = board + "/" + std::string{inside} + ": leads out of the board";
  return false;
}

bool read_file(const std::string &path, std::string &text, std::string &error) {
  const unique_file file = open_file(path.c_str(), "rb");
  text.clear();
  char block[65536];
  size_t count = 0;
  while (file != nullptr && (count = std::fread(block, 1, sizeof block, file.get())) > 0)
    text.append(block, count);
  const bool ok = file != nullptr && std::ferror(file.get()) == 0;
  if (!ok)
    error = path + ": " + reason();
  return ok;
}

namespace {

/// Return false, with the reason in errno, on failure.
bool write_whole(const std::string &path, std::string_view text) {
  unique_file file = open_file(path.c_str(), "wb");
  const bool written =
      file != nullptr && (text.empty() || std::fwrite(text.data(), text.size(), 1, file.get()) == 1);
  return written && std::fclose(file.release()) == 0;
}

} // namespace

bool write_file(const std::string &path, std::string_view text, std::string &error) {
  if (!make_directory(files::path{path}.parent_path(), error))
    return false;
  const bool ok = write_whole(path, text);
  if (!ok)
    error = path + ": " + reason();
  return ok;
}

bool replace_file(const std::string &path, std::string_view text, std::string &error) {
  const std::string fresh = path + ".new-" + std::to_string(::getpid());
  if (!make_directory(files::path{path}.parent_path(), error))
    return false;
  if (write_whole(fresh, text) && ::rename(fresh.c_str(), path.c_str()) == 0)
    return true;
  error = path + ": " + reason();
  ::unlink(fresh.c_str());
  return false;
}

std::string with_setting(std::string_view settings, std::string_view key, std::string_view value) {
  std::string changed;
  while (!settings.empty()) {
    const std::string_view line = take_until(settings, '\n');
    std::string_view rest = line;
    if (trimmed(take_until(rest, '=')) != key)
      changed.append(line).append("\n");
  }
  return changed.append(key).append("=").append(value).append("\n");
}

} // namespace dravik::sim
