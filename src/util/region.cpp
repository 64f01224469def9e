// Region of the device: a number whose checksum is stored in a file.

#include "base/byte_reader.hpp"
#include "base/unique_file.hpp"
#include "dravik.h"
#include "util/crc32.hpp"
#include "util/region_word.hpp"

#include <array>
#include <cstddef>
#include <cstring>

extern "C" {
constexpr area_code area_code_list[DRAVIK_REGIONS] = {
    {0, "TW", "tw", 886}, {1, "CN", "cn", 86}, {2, "HK", "hk", 852}, {3, "US", "us", 1},  {4, "JP", "jp", 81},
    {5, "RU", "ru", 7},   {6, "MY", "my", 60}, {7, "ID", "id", 62},  {8, "TH", "th", 66}, {9, "MX", "es", 52},
};
}

static_assert(sizeof(area_code) == 16 && offsetof(area_code, upper) == 1 && offsetof(area_code, lower) == 5 &&
                  offsetof(area_code, dialling_code) == 12,
              "applications read the list as records of 16 bytes");

namespace dravik::util {
namespace {

constexpr const char *region_file = "/tmp/add/areacode.bin";
constexpr const char *default_code = "tw";

uint32_t find_number(uint32_t value) noexcept {
  for (uint32_t n = 0; n < DRAVIK_REGION_NUMBERS; ++n)
    if (crc32(region_word(n)) == value)
      return n;
  return DRAVIK_NONE;
}

/// Read the value in a region file; missing bytes are 0. Return false if the file cannot be opened.
bool read_value(const char *path, uint32_t &value) noexcept {
  const unique_file file = open_file(path, "r");
  if (file == nullptr)
    return false;
  std::array<uint8_t, 4> bytes = {};
  [[maybe_unused]] const size_t got = std::fread(bytes.data(), 1, bytes.size(), file.get());
  value = byte_reader{bytes}.u32le();
  return true;
}

/// Return the upper-case code of a number, or the default if the number is not in ::area_code_list.
const char *code_of(uint32_t number) noexcept {
  for (const area_code &record : area_code_list)
    if (record.dialling_code == number)
      return record.upper;
  return default_code;
}

} // namespace
} // namespace dravik::util

extern "C" {

using namespace dravik::util;

uint32_t get_area_id(uint32_t value) noexcept {
  return find_number(value);
}

uint32_t get_area_id_file(const char *path) noexcept {
  uint32_t value = 0;
  return read_value(path, value) ? find_number(value) : DRAVIK_NONE;
}

uint32_t get_area_code(char *code) noexcept {
  code[0] = '\0';
  uint32_t value = 0;
  if (!read_value(region_file, value))
    return DRAVIK_NONE;
  const uint32_t number = find_number(value);
  std::strcpy(code, code_of(number));
  return number;
}

} // extern "C"
