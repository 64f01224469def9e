// Temporary simulated boards for tests.

#include "support/board.hpp"
#include "board/use_board.h"
#include "host/board_directory.hpp"
#include "support/paths.hpp"
#include "support/serial_keeper.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

namespace dravik::test {
namespace {

constexpr const char *nowhere = "/dev/null/no-board";

[[noreturn]] void die(const std::string &why) {
  std::fprintf(stderr, "%s\n", why.c_str());
  std::exit(EXIT_FAILURE);
}

std::string make_temporary_directory() {
  std::error_code code;
  std::string name = std::filesystem::temp_directory_path(code).string() + "/dravik-board-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr)
    die(name + ": cannot be made");
  return std::filesystem::canonical(name, code).string();
}

} // namespace

void offer_sound_card(const std::string &directory) {
  ::setenv("ALSA_CONFIG_PATH", (directory + "/asound.conf").c_str(), 1);
  ::setenv("ALSA_PLUGIN_DIR", directory.c_str(), 1);
}

board::board(const sim::screen &shown) : directory_(make_temporary_directory()) {
  std::string error;
  if (!sim::create_board(directory_, shown, error))
    die(error);
  ::dravik_sim_use_board(directory_.c_str());
}

board::~board() {
  ::dravik_sim_use_board(nowhere);
  offer_sound_card(sound_card_directory);
  await_serial_keeper(directory_);
  std::error_code code;
  std::filesystem::remove_all(directory_, code);
}

std::string board::path(std::string_view inside) const {
  if (inside.empty())
    return directory_;
  return directory_ + (inside.front() == '/' ? "" : "/") + std::string{inside};
}

bool board::exists(std::string_view inside) const {
  std::error_code code;
  return std::filesystem::exists(path(inside), code);
}

std::string board::read(std::string_view inside) const {
  std::string text;
  std::string error;
  if (!sim::read_file(path(inside), text, error))
    ADD_FAILURE() << error;
  return text;
}

void board::write(std::string_view inside, std::string_view contents) const {
  std::string error;
  if (!sim::write_file(path(inside), contents, error))
    die(error);
}

void board::remove(std::string_view inside) const {
  std::error_code code;
  std::filesystem::remove_all(path(inside), code);
}

std::vector<uint16_t> board::pixels() const {
  const std::string memory = read("dev/fb0");
  std::vector<uint16_t> pixels(memory.size() / 2);
  std::memcpy(pixels.data(), memory.data(), pixels.size() * 2);
  return pixels;
}

void board::set(std::string_view key, std::string_view value) const {
  write("board.conf", sim::with_setting(read("board.conf"), key, value));
}

std::vector<std::string> board::events() const {
  std::vector<std::string> lines;
  std::istringstream text{read("events")};
  for (std::string line; std::getline(text, line);)
    lines.push_back(line);
  return lines;
}

void board::clear_events() const {
  write("events", "");
}

void board::set_fault(std::string_view request, std::string_view path, std::string_view error) const {
  std::ostringstream line;
  line << request << ' ' << path << ' ' << error << '\n';
  write("faults", read("faults") + line.str());
}

void board::clear_faults() const {
  write("faults", "");
}

void board::open_to_everyone() const {
  std::error_code code;
  std::filesystem::copy(sound_card_directory, path("sound-card"), code);
  if (code)
    die(path("sound-card") + ": " + code.message());
  for (const char *inside : {"", "sound", "sound-card", "tmp"})
    std::filesystem::permissions(path(inside), std::filesystem::perms::all, code);
  offer_sound_card(path("sound-card"));
}

} // namespace dravik::test
