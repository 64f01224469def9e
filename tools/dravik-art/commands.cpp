// The table of commands, and those that only look at an archive.

#include "dravik-art/commands.hpp"

#include "common/files.hpp"
#include "dravik-art/archive_file.hpp"
#include "dravik-art/help.hpp"

#include <cinttypes>
#include <cstdio>

namespace dravik::art {
namespace {

constexpr option_rule pack_options[] = {{"--levels", true}, {"--list", true}, {"--header", true}};
constexpr option_rule unpack_options[] = {{"--ramp", true}, {"--theme", true}};
constexpr option_rule preview_options[] = {
    {"--bg", true}, {"--fg", true}, {"--theme", true}, {"--scale", true}, {"--ramps", false}};

constexpr command all_commands[] = {
    {"pack", pack_help, pack_options, 1, SIZE_MAX, pack},
    {"list", list_help, {}, 1, 1, list},
    {"check", check_help, {}, 1, 1, check_archive},
    {"unpack", unpack_help, unpack_options, 2, 2, unpack},
    {"preview", preview_help, preview_options, 3, 3, preview},
};

} // namespace

std::span<const command> commands() noexcept {
  return all_commands;
}

outcome list(const command_line &given, std::string &error) {
  archive shown;
  if (!open_archive(given.operands()[0], shown, error))
    return outcome::failed;
  std::puts("index   width  height      offset       bytes");
  for (uint32_t i = 0; i < shown.count(); ++i) {
    const image_record record = shown.record(i);
    std::printf("%5" PRIu32 " %7" PRIu32 " %7" PRIu32 " %11" PRIu32 " %11" PRIu64 "\n", i, record.width,
                record.height, record.start, record.bytes());
  }
  return outcome::done;
}

outcome check_archive(const command_line &given, std::string &error) {
  std::vector<uint8_t> file;
  if (!tools::read_file(given.operands()[0], file, error))
    return outcome::failed;
  const std::vector<std::string> findings = check(file);
  for (const std::string &line : findings)
    std::puts(line.c_str());
  return findings.empty() ? outcome::done : outcome::failed;
}

} // namespace dravik::art
