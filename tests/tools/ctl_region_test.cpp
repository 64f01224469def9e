// "region": reading and writing of region files.

#include "ctl_fixture.hpp"

#include <zlib.h>

namespace dravik::ctl_test {
namespace {

constexpr const char *region_file = "/tmp/add/areacode.bin";

/// The checksum of four bytes, the lowest byte first.
std::string value_of(std::initializer_list<uint8_t> bytes) {
  const std::vector<uint8_t> word = bytes;
  const uLong value = ::crc32(0, word.data(), static_cast<uInt>(word.size()));
  std::string file;
  for (int shift = 0; shift < 32; shift += 8)
    file += static_cast<char>(value >> shift);
  return file;
}

const std::string region_86 = value_of({0x57, 0xB0, 0x42, 0x15});
const std::string region_886 = value_of({0x77, 0xB3, 0x5B, 0xDD});
const std::string region_1 = value_of({0x02, 0x08, 0x00, 0x00});
const std::string region_0 = value_of({0x00, 0x00, 0x00, 0x00});
const std::string region_1023 = value_of({0xFF, 0xFB, 0xDF, 0xFF});
const std::string region_44 = value_of({0x2D, 0x60, 0xC1, 0x0A}); // 43 << 22 | 44 << 11 | 45

using CtlRegion = CtlTool;

TEST_F(CtlRegion, ReportsThatOfTheDevice) {
  board_.write(region_file, region_86);
  EXPECT_EQ(checked_output({"region"}), "number: 86\ncode: CN\n");
  EXPECT_EQ(asked({"region"}, "."), R"({"number":86,"code":"CN"})");
}

TEST_F(CtlRegion, ReportsDefaultOfUnknownRegion) {
  board_.write(region_file, region_44);
  EXPECT_EQ(checked_output({"region"}), "number: 44\ncode: tw\n");
}

TEST_F(CtlRegion, ReportsWhenTheDeviceHasNone) {
  expect_refusal({"region"}, 1, "/tmp/add/areacode.bin: cannot be opened");
  board_.write(region_file, "abcd");
  expect_refusal({"region"}, 1, "/tmp/add/areacode.bin: not a region");
}

TEST_F(CtlRegion, ReportsThatOfAFile) {
  EXPECT_EQ(checked_output({"region", put("a.bin", region_886)}), "number: 886\ncode: TW\n");
  EXPECT_EQ(asked({"region", put("b.bin", region_44)}, "."), R"({"number":44,"code":null})");
  EXPECT_EQ(checked_output({"region", put("c.bin", region_1 + "more")}), "number: 1\ncode: US\n");
}

TEST_F(CtlRegion, ReportsWhenAFileIsNone) {
  expect_refusal({"region", "/tmp/add/none"}, 1, "/tmp/add/none: No such file or directory");
  expect_refusal({"region", "/tmp/add"}, 1, "/tmp/add: not a regular file");
  expect_refusal({"region", put("a.bin", std::string{"abcd"})}, 1, "/usr/local/dravik/a.bin: not a region");
}

TEST_F(CtlRegion, WritesEveryKindOfNumber) {
  const std::pair<const char *, const std::string &> numbers[] = {{"86", region_86},     {"886", region_886},
                                                                  {"1", region_1},       {"0", region_0},
                                                                  {"1023", region_1023}, {"44", region_44}};
  for (const auto &[number, file] : numbers) {
    EXPECT_EQ(asked({"region", "write", number, region_file}, ".number, .file"),
              number + std::string{"\n"} + region_file);
    EXPECT_EQ(board_.read(region_file), file) << number;
  }
}

TEST_F(CtlRegion, WritesByLetters) {
  EXPECT_EQ(checked_output({"region", "write", "TW", region_file}),
            "number: 886\ncode: TW\nfile: /tmp/add/areacode.bin\n");
  EXPECT_EQ(board_.read(region_file), region_886);
}

TEST_F(CtlRegion, RejectsInvalidRegion) {
  for (const std::string word : {"1024", "tw", "XX", "", "0x1"})
    expect_misuse({"region", "write", word, region_file},
                  "region: invalid REGION '" + word +
                      "'; must be 0 to 1023 or the letters of a known region");
  EXPECT_FALSE(board_.exists(region_file));
}

TEST_F(CtlRegion, RejectsInvalidArguments) {
  for (const words &given : {words{"write"}, words{"write", "86"}, words{"read", "86", "x"}})
    expect_misuse(
        [&] {
          words all = {"region"};
          all.insert(all.end(), given.begin(), given.end());
          return all;
        }(),
        "region: invalid arguments; must be [FILE] or write REGION FILE");
}

TEST_F(CtlRegion, KeepsFilesOfAnotherKind) {
  const std::string path = put("notes.txt", std::string{"notes"});
  expect_refusal({"region", "write", "86", path}, 1, path + ": not a region file; not replaced");
  expect_refusal({"region", "write", "86", "/tmp/add"}, 1, "/tmp/add: not a region file; not replaced");
  EXPECT_EQ(board_.read(path), "notes");
}

TEST_F(CtlRegion, ReportsWhenAFileCannotBeWritten) {
  expect_refusal({"region", "write", "86", "/tmp/add/none/a.bin"}, 1,
                 "/tmp/add/none/a.bin: No such file or directory");
}

} // namespace
} // namespace dravik::ctl_test
