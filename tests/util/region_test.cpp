// The region: numbers, the checksums that represent them, and their files.

#include "dravik.h"
#include "support/board.hpp"
#include "support/bytes.hpp"
#include "support/descriptors.hpp"
#include "support/emulation.hpp"
#include "support/random.hpp"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <zlib.h>

namespace dravik::test {
namespace {

constexpr uint32_t none = DRAVIK_NONE;
constexpr uint32_t numbers = DRAVIK_REGION_NUMBERS;
constexpr const char *region_file = "/tmp/add/areacode.bin";

/// Bit by bit: the number above in bits 0 to 9, the number in 11 to 20, the number below in 22 to 31. The
/// first and the last number represent their neighbours too.
bytes word_of(uint32_t number) {
  const bool is_end = number == 0 || number == 1023;
  const uint32_t fields[3] = {is_end ? number : number + 1, number, is_end ? number : number - 1};
  bytes word(4);
  for (uint32_t field = 0; field < 3; ++field)
    for (uint32_t bit = 0; bit < 10; ++bit)
      if ((fields[field] >> bit & 1) != 0)
        word[(field * 11 + bit) / 8] |= static_cast<uint8_t>(1U << (field * 11 + bit) % 8);
  return word;
}

uint32_t value_of(const bytes &word) {
  return static_cast<uint32_t>(::crc32_z(0, word.data(), word.size()));
}

uint32_t value_of_number(uint32_t number) {
  return value_of(word_of(number));
}

std::string file_of(uint32_t value, std::string_view rest = "") {
  bytes four(4);
  put_u32(four, 0, value);
  return std::string{four.begin(), four.end()} + std::string{rest};
}

/// The number that has a value, by a table of all of them.
uint32_t number_of(uint32_t value) {
  static const std::map<uint32_t, uint32_t> all = [] {
    std::map<uint32_t, uint32_t> made;
    for (uint32_t number = 0; number < numbers; ++number)
      made.emplace(value_of_number(number), number);
    return made;
  }();
  const auto found = all.find(value);
  return found != all.end() ? found->second : none;
}

TEST(RegionModel, MatchesWorkedExamples) {
  EXPECT_EQ(word_of(86), (bytes{0x57, 0xB0, 0x42, 0x15}));
  EXPECT_EQ(word_of(886), (bytes{0x77, 0xB3, 0x5B, 0xDD}));
  EXPECT_EQ(word_of(1), (bytes{0x02, 0x08, 0x00, 0x00}));
  EXPECT_EQ(word_of(0), (bytes{0x00, 0x00, 0x00, 0x00}));
  EXPECT_EQ(word_of(1023), (bytes{0xFF, 0xFB, 0xDF, 0xFF}));
}

TEST(RegionModel, HasDifferentValuesForAllNumbers) {
  for (uint32_t number = 0; number < numbers; ++number)
    ASSERT_EQ(number_of(value_of_number(number)), number);
}

TEST(AreaCodeList, RecordsByteForByte) {
  struct record {
    const char *upper, *lower;
    uint32_t number;
  };
  const record records[10] = {{"TW", "tw", 886}, {"CN", "cn", 86}, {"HK", "hk", 852}, {"US", "us", 1},
                              {"JP", "jp", 81},  {"RU", "ru", 7},  {"MY", "my", 60},  {"ID", "id", 62},
                              {"TH", "th", 66},  {"MX", "es", 52}};
  ASSERT_EQ(sizeof area_code_list, 160U);
  const auto *list = reinterpret_cast<const uint8_t *>(area_code_list);
  for (size_t i = 0; i < 10; ++i) {
    bytes expected(16);
    expected[0] = static_cast<uint8_t>(i);
    std::memcpy(&expected[1], records[i].upper, 2);
    std::memcpy(&expected[5], records[i].lower, 2);
    put_u32(expected, 12, records[i].number);
    EXPECT_EQ(bytes(list + i * 16, list + i * 16 + 16), expected) << "record " << i;
  }
}

TEST(AreaCodeList, HasFieldsOfApplications) {
  EXPECT_EQ(offsetof(area_code, index), 0U);
  EXPECT_EQ(offsetof(area_code, upper), 1U);
  EXPECT_EQ(offsetof(area_code, lower), 5U);
  EXPECT_EQ(offsetof(area_code, dialling_code), 12U);
}

TEST(AreaId, FindsEveryNumberByItsValue) {
  for (uint32_t number = 0; number < numbers; ++number)
    EXPECT_EQ(get_area_id(value_of_number(number)), number);
}

TEST(AreaId, EndsDoNotWrap) {
  EXPECT_EQ(get_area_id(value_of({0x01, 0x00, 0xC0, 0xFF})), none); // 0 between 1 and 1023
  EXPECT_EQ(get_area_id(value_of({0x00, 0xF8, 0x9F, 0xFF})), none); // 1023 between 0 and 1022
}

TEST(AreaId, RejectsWordsThatAreNearlyRight) {
  for (const uint32_t number : {1U, 86U, 886U, 1022U})
    for (size_t bit = 0; bit < 32; ++bit) {
      bytes word = word_of(number);
      word[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
      EXPECT_EQ(get_area_id(value_of(word)), none) << number << " with bit " << bit << " changed";
    }
}

TEST(AreaId, RejectsRandomValues) {
  seeded_random random;
  for (int i = 0; i < rounds(500); ++i) {
    const uint32_t value = random.word();
    EXPECT_EQ(get_area_id(value), number_of(value)) << value;
  }
  for (const uint32_t value : {0U, 1U, 86U, 886U, none})
    EXPECT_EQ(get_area_id(value), number_of(value)) << value;
}

class Region : public testing::Test {
protected:
  board board_;

  /// The device's region, number and code, for a file.
  std::pair<uint32_t, std::string> region_of(std::string_view file) const {
    write_region(file);
    return checked_region();
  }

  /// As a new file: cutting an old one waits for the disk.
  void write_region(std::string_view file) const {
    board_.remove(region_file);
    board_.write(region_file, file);
  }

  static std::pair<uint32_t, std::string> checked_region() {
    char code[4] = {'z', 'z', 'z', '!'};
    const uint32_t number = get_area_code(code);
    EXPECT_EQ(code[3], '!') << "more than three bytes";
    return {number, code};
  }
};

std::pair<uint32_t, std::string> is(uint32_t number, const char *code) {
  return {number, code};
}

TEST_F(Region, ReadsEveryNumberFromFile) {
  for (uint32_t number = 0; number < numbers; ++number) {
    write_region(file_of(value_of_number(number)));
    EXPECT_EQ(get_area_id_file(region_file), number);
  }
}

TEST_F(Region, ReturnsCodeOfEveryNumberOrDefault) {
  const std::map<uint32_t, const char *> codes = {{886, "TW"}, {86, "CN"}, {852, "HK"}, {1, "US"},
                                                  {81, "JP"},  {7, "RU"},  {60, "MY"},  {62, "ID"},
                                                  {66, "TH"},  {52, "MX"}};
  for (uint32_t number = 0; number < numbers; ++number) {
    const auto known = codes.find(number);
    EXPECT_EQ(region_of(file_of(value_of_number(number))),
              is(number, known != codes.end() ? known->second : "tw"));
  }
}

TEST_F(Region, ReturnsUpperCaseFieldOfMexico) {
  EXPECT_EQ(region_of(file_of(value_of_number(52))), is(52, "MX"));
}

TEST_F(Region, ReturnsDefaultForUnlistedNumber) {
  EXPECT_EQ(region_of(file_of(value_of_number(44))), is(44, "tw"));
}

TEST_F(Region, FailsWithDefaultForInvalidValue) {
  EXPECT_EQ(region_of("\xDE\xAD\xBE\xEF"), is(none, "tw"));
  EXPECT_EQ(get_area_id_file(region_file), none);
}

TEST_F(Region, ReadsValueInLittleEndian) {
  bytes four(4);
  put_u32(four, 0, value_of_number(86));
  EXPECT_EQ(region_of(std::string{four.rbegin(), four.rend()}), is(none, "tw"));
}

TEST_F(Region, IgnoresRestOfFile) {
  EXPECT_EQ(region_of(file_of(value_of_number(86), "\nTW and more")), is(86, "CN"));
  EXPECT_EQ(get_area_id_file(region_file), 86U);
  EXPECT_EQ(region_of(file_of(value_of_number(86), std::string(100000, '\0'))), is(86, "CN"));
}

TEST_F(Region, ReturnsEmptyCodeForMissingFile) {
  EXPECT_EQ(checked_region(), is(none, ""));
  EXPECT_EQ(get_area_id_file(region_file), none);
}

TEST_F(Region, ReturnsEmptyCodeIfFileMayNotBeOpened) {
  board_.write(region_file, file_of(value_of_number(86)));
  board_.set_fault("open", region_file, "EACCES");
  EXPECT_EQ(checked_region(), is(none, ""));
  EXPECT_EQ(get_area_id_file(region_file), none);
}

TEST_F(Region, ReadsZerosAfterShortFile) {
  const std::string whole = file_of(value_of_number(86));
  for (size_t length = 0; length < 4; ++length) {
    bytes four(4);
    std::memcpy(four.data(), whole.data(), length);
    const uint32_t number = number_of(get_u32(four, 0));
    EXPECT_EQ(region_of(whole.substr(0, length)), is(number, "tw")) << length;
    EXPECT_EQ(get_area_id_file(region_file), number) << length;
  }
}

TEST_F(Region, ReadsValueWithoutFourthByteZero) {
  int found = 0;
  for (uint32_t number = 0; number < numbers; ++number) {
    const uint32_t value = value_of_number(number);
    if (value >> 24 != 0)
      continue;
    write_region(file_of(value).substr(0, 3));
    EXPECT_EQ(get_area_id_file(region_file), number);
    ++found;
  }
  EXPECT_GT(found, 0);
}

TEST_F(Region, ReadsDirectoryAsZero) {
  EXPECT_EQ(get_area_id_file("/tmp/add"), number_of(0));
}

TEST_F(Region, AgreesWithModelOfRandomFiles) {
  seeded_random random;
  for (int i = 0; i < rounds(100); ++i) {
    bytes file(static_cast<size_t>(random.between(4, 64)));
    for (uint8_t &byte : file)
      byte = static_cast<uint8_t>(random.word());
    if (number_of(get_u32(file, 0)) == none) {
      EXPECT_EQ(region_of(std::string{file.begin(), file.end()}), is(none, "tw"));
    }
  }
}

TEST_F(Region, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  checked_region();
  region_of("1234");
  get_area_id_file(region_file);
  EXPECT_EQ(open_descriptors(), before);
}

} // namespace
} // namespace dravik::test
