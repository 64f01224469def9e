// "region": reading and writing of region files.

#include "common/files.hpp"
#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/reports.hpp"
#include "dravik.h"
#include "util/region_word.hpp"

#include <algorithm>
#include <array>
#include <filesystem>

namespace dravik::ctl {
namespace {

constexpr std::string_view region_help =
    R"(Usage: dravik-ctl region [FILE]
       dravik-ctl region write REGION FILE

Print the device's region, or read or write a region file.

Without FILE, prints the region of /tmp/add/areacode.bin as the application
receives it: code is tw for a number without one. 'write' creates or replaces
FILE; REGION is a number, 0 to 1023, or the two letters of a known region. An
existing FILE of another length than 4 bytes is not replaced.

Output: number and code, null if it has none; 'write' also prints file

Examples:
  dravik-ctl region
  dravik-ctl region write JP /tmp/add/areacode.bin
  dravik-ctl region write 49 areacode.bin && dravik-ctl region areacode.bin

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr uint32_t no_number = 0xFFFFFFFF;
constexpr size_t region_file_bytes = 4;

value code_of(uint32_t number) {
  const auto *const known = std::ranges::find(area_code_list, number, &area_code::dialling_code);
  return known != std::end(area_code_list) ? value{known->upper} : value{nullptr};
}

/// A number, or that of two letters.
std::optional<uint32_t> region_named(const std::string &text) {
  for (const area_code &known : area_code_list)
    if (text == known.upper)
      return known.dialling_code;
  return tools::number_of(text, 0, DRAVIK_REGION_NUMBERS - 1);
}

std::array<uint8_t, region_file_bytes> region_file(uint32_t number) {
  const auto word = util::region_word(number);
  const uint32_t value = get_data_crc(word.data(), static_cast<uint32_t>(word.size()));
  return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value >> 16),
          static_cast<uint8_t>(value >> 24)};
}

bool may_replace(const std::string &path, std::string &error) {
  std::error_code code;
  const auto status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status) || (std::filesystem::is_regular_file(status) &&
                                           std::filesystem::file_size(path, code) == region_file_bytes))
    return true;
  error = path + ": not a region file; not replaced";
  return false;
}

outcome write(const std::string &region, const std::string &path, value::fields &report, std::string &error) {
  const auto number = region_named(region);
  if (!number)
    return misused(error,
                   "invalid REGION '" + region + "'; must be 0 to 1023 or the letters of a known region");
  tools::pending_file file{path};
  if (!may_replace(path, error) || !file.write(region_file(*number), error) || !file.commit(error))
    return outcome::failed;
  if (get_area_id_file(path.c_str()) != *number)
    return failed(error, path + ": differs from what was written");
  report = {{"number", *number}, {"code", code_of(*number)}, {"file", path}};
  return outcome::done;
}

outcome read(const std::string &path, value::fields &report, std::string &error) {
  std::vector<uint8_t> bytes;
  if (!tools::read_file(path, bytes, error))
    return outcome::failed;
  const uint32_t number = get_area_id_file(path.c_str());
  if (number == no_number)
    return failed(error, path + ": not a region");
  report = {{"number", number}, {"code", code_of(number)}};
  return outcome::done;
}

outcome region(const command_line &given, value::fields &report, std::string &error) {
  const auto &words = given.operands();
  if (words.size() == 3 && words[0] == "write")
    return write(words[1], words[2], report, error);
  if (words.size() > 1 || (words.size() == 1 && words[0] == "write"))
    return misused(error, "invalid arguments; must be [FILE] or write REGION FILE");
  if (words.size() == 1)
    return read(words[0], report, error);
  report = region_of_board(error);
  return error.empty() ? outcome::done : outcome::failed;
}

} // namespace

value::fields region_of_board(std::string &error) {
  char code[3];
  const uint32_t number = get_area_code(code);
  if (number != no_number)
    return {{"number", number}, {"code", code}};
  error = *code == '\0' ? device_failure("/tmp/add/areacode.bin: cannot be opened")
                        : "/tmp/add/areacode.bin: not a region";
  return {};
}

extern constinit const command region_command = {.name = "region",
                                                 .summary = "print or write the region",
                                                 .help = region_help,
                                                 .optional_operands = 3,
                                                 .run = reporting<region>};

} // namespace dravik::ctl
