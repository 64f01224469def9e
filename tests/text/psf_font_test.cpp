// Bitmap fonts in slots: the contents of a slot, and the messages of files that fail.

#include "dravik.h"
#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/log_lines.hpp"
#include "support/psf_maker.hpp"

#include <filesystem>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using strings = std::vector<std::string>;

class PsfFont : public testing::Test {
protected:
  board board_;
  psf_font slot_ = {};

  /// A file on the board.
  std::string file(const std::string &name, const bytes &content) const {
    write_file(board_.path(name), content);
    return board_.path(name);
  }

  strings messages() const { return log_messages(board_.path("tmp/dravik.log")); }

  int load(const bytes &content) { return psf_font_load(file("font.psf", content).c_str(), &slot_); }

  static void alloc(int32_t count, const strings &paths) {
    std::vector<const char *> pointers;
    for (const std::string &path : paths)
      pointers.push_back(path.c_str());
    psf_font_alloc(count, pointers.data());
  }

  void expect_slot(int32_t version, int32_t length, int32_t charsize, int32_t width, int32_t height) const {
    EXPECT_EQ(slot_.version, version);
    EXPECT_EQ(slot_.length, length);
    EXPECT_EQ(slot_.charsize, charsize);
    EXPECT_EQ(slot_.width, width);
    EXPECT_EQ(slot_.height, height);
  }

  void expect_glyphs(const bytes &expected) const {
    ASSERT_NE(slot_.ptr, nullptr);
    EXPECT_EQ(bytes(slot_.ptr, slot_.ptr + expected.size()), expected);
  }

  void TearDown() override { std::free(slot_.ptr); }
};

bytes counted(size_t count) {
  bytes made(count);
  for (size_t i = 0; i < count; ++i)
    made[i] = static_cast<uint8_t>(i * 7 + i / 256);
  return made;
}

TEST_F(PsfFont, HasRecordOfSixWords) {
  EXPECT_EQ(offsetof(psf_font, ptr), 0U);
  EXPECT_EQ(offsetof(psf_font, charsize), sizeof(void *));
  EXPECT_EQ(offsetof(psf_font, length), sizeof(void *) + 4);
  EXPECT_EQ(offsetof(psf_font, version), sizeof(void *) + 8);
  EXPECT_EQ(offsetof(psf_font, width), sizeof(void *) + 12);
  EXPECT_EQ(offsetof(psf_font, height), sizeof(void *) + 16);
  EXPECT_EQ(sizeof(psf_font), sizeof(void *) == 8 ? 32U : 24U);
  EXPECT_EQ(std::size(psf), 16U);
}

// ------------------------------------------------------------------------------------------------ version 1

TEST_F(PsfFont, ReadsNumberOfGlyphsFromVersion1Mode) {
  const struct {
    uint8_t mode;
    int32_t length;
  } modes[] = {{0, 256}, {1, 512}, {2, 256}, {3, 512}};
  for (const auto &[mode, length] : modes) {
    SCOPED_TRACE(int{mode});
    const bytes glyphs = counted(size_t(length) * 16);
    EXPECT_EQ(load(psf1_file(mode, 16, glyphs)), 0);
    expect_slot(1, length, 16, 8, 16);
    expect_glyphs(glyphs);
    std::free(slot_.ptr);
  }
  slot_.ptr = nullptr;
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfFont, LoadsNoGlyphsForUnknownVersion1Mode) {
  for (const uint8_t mode : bytes{4, 5, 8, 255}) {
    EXPECT_EQ(load(psf1_file(mode, 16, counted(4096))), 0);
    expect_slot(1, 0, 16, 8, 16);
    std::free(slot_.ptr);
  }
  slot_.ptr = nullptr;
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfFont, LimitsSizeOfVersion1) {
  EXPECT_EQ(load(psf1_file(0, 128, counted(32768))), 0);
  expect_slot(1, 256, 128, 8, 128);
  std::free(slot_.ptr);
  EXPECT_EQ(load(psf1_file(0, 129, counted(33024))), -1);
  expect_slot(1, 256, 129, 8, 129);
  EXPECT_EQ(slot_.ptr, nullptr);
  EXPECT_EQ(messages(),
            (strings{"font character size > 128 bytes", "psf_font_load(): font file size err = 33024",
                     "8 x 129 font, 129 x 256 bytes"}));
}

TEST_F(PsfFont, LoadsEmptyGlyphsForVersion1Magic) {
  EXPECT_EQ(load({0x36, 0x04}), 0);
  expect_slot(1, 256, 0, 8, 0);
}

// ------------------------------------------------------------------------------------------------ version 2

TEST_F(PsfFont, ReadsVersion2Header) {
  psf2_maker font = {100, 26, 13, 9, counted(2600)};
  font.version = 77;
  font.flags = 0xFFFFFFFF;
  bytes content = font.file();
  append(content, counted(500)); // a table of characters, which is passed over
  EXPECT_EQ(load(content), 0);
  expect_slot(2, 100, 26, 9, 13);
  expect_glyphs(font.glyphs);
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfFont, ReadsVersion2GlyphsAtHeaderOffset) {
  for (const uint32_t position : {32U, 33U, 64U, 4096U}) {
    SCOPED_TRACE(position);
    psf2_maker font = {10, 8, 8, 8, counted(80)};
    font.glyphs_at = position;
    EXPECT_EQ(load(font.file()), 0);
    expect_glyphs(font.glyphs);
    std::free(slot_.ptr);
  }
  slot_.ptr = nullptr;
}

TEST_F(PsfFont, ReadsVersion2GlyphsInHeader) {
  psf2_maker font = {2, 8, 8, 8, counted(16)};
  font.glyphs_at = 0;
  const bytes content = font.file();
  EXPECT_EQ(load(content), 0);
  expect_glyphs(first_bytes(content, 16));
}

TEST_F(PsfFont, LimitsSizeTo32768Bytes) {
  EXPECT_EQ(load(psf2_maker{512, 64, 32, 16, counted(32768)}.file()), 0);
  expect_slot(2, 512, 64, 16, 32);
  std::free(slot_.ptr);
  EXPECT_EQ(load(psf2_maker{513, 64, 32, 16, counted(32832)}.file()), -1);
  expect_slot(2, 513, 64, 16, 32);
  EXPECT_EQ(slot_.ptr, nullptr);
  EXPECT_EQ(messages(),
            (strings{"psf_font_load(): font file size err = 32832", "16 x 32 font, 64 x 513 bytes"}));
}

TEST_F(PsfFont, WarnsOfLargeGlyphsAndLoads) {
  EXPECT_EQ(load(psf2_maker{10, 129, 43, 24, counted(1290)}.file()), 0);
  expect_glyphs(counted(1290));
  EXPECT_EQ(messages(), strings{"font character size > 128 bytes"});
}

TEST_F(PsfFont, AcceptsGlyphsOf128BytesWithoutWarning) {
  EXPECT_EQ(load(psf2_maker{10, 128, 64, 16, counted(1280)}.file()), 0);
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfFont, WarnsOfLargeGlyphsBeforeSizeFails) {
  EXPECT_EQ(load(psf2_maker{256, 160, 80, 16, counted(40960)}.file()), -1);
  EXPECT_EQ(messages(),
            (strings{"font character size > 128 bytes", "psf_font_load(): font file size err = 40960",
                     "16 x 80 font, 160 x 256 bytes"}));
}

TEST_F(PsfFont, ReportsInvalidSizesAsFailedAllocation) {
  const struct {
    uint32_t length, charsize;
    const char *size;
  } fonts[] = {
      {0xFFFFFFFF, 16, "-16"},          // negative
      {256, 0xFFFFFFF0, "-4096"},       // negative the other way round
      {0x10000, 0x10000, "0"},          // 2^32
      {0x8000, 0x10001, "-2147450880"}, // 2^31 + 2^15
      {0x20000001, 8, "8"},             // would fit if it wrapped
      {0x80000000, 1, "-2147483648"},   // negative without wrapping
      {0x80000000, 0xFFFFFFFF, "-2147483648"},
  };
  for (const auto &[length, charsize, size] : fonts) {
    SCOPED_TRACE(size);
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    const std::string path = file("font.psf", psf2_maker{length, charsize, 16, 8, counted(64)}.file());
    EXPECT_EQ(psf_font_load(path.c_str(), &slot_), -1);
    EXPECT_EQ(slot_.ptr, nullptr);
    strings expected = {path + " : malloc " + size + " bytes err"};
    if (static_cast<int32_t>(charsize) > 128)
      expected.insert(expected.begin(), "font character size > 128 bytes");
    EXPECT_EQ(messages(), expected);
  }
}

TEST_F(PsfFont, ReportsWrappedProductAsSize) {
  const struct {
    uint32_t length, charsize;
    const char *size, *figures;
  } fonts[] = {
      {0x20001388, 8, "40000", "8 x 16 font, 8 x 536875912 bytes"},     // 2^32 + 8 * 5000
      {8, 0x20001001, "32776", "8 x 16 font, 536875009 x 8 bytes"},     // 2^32 + 8 * 4097
      {0x7FFFFFFF, 0x7FFFFFFF, "", ""},                                 // wraps to 1, which passes the test
      {0x10001, 0x10001, "131073", "8 x 16 font, 65537 x 65537 bytes"}, // 2^32 + 2^17 + 1
      {0xFFFFFFFF, 0xFFFF7FFF, "32769", "8 x 16 font, -32769 x -1 bytes"}, // -1 * -32769
      {0x95555555, 6, "2147483646", "8 x 16 font, 6 x -1789569707 bytes"}, // 2^31 - 2 - 3 * 2^32
  };
  for (const auto &[length, charsize, size, figures] : fonts) {
    SCOPED_TRACE(testing::Message() << length << " glyphs of " << charsize);
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    const std::string path = file("font.psf", psf2_maker{length, charsize, 16, 8, counted(64)}.file());
    EXPECT_EQ(psf_font_load(path.c_str(), &slot_), -1);
    EXPECT_EQ(slot_.ptr, nullptr);
    strings expected = {path + " : malloc 1 bytes err"};
    if (*size != '\0')
      expected = {std::string("psf_font_load(): font file size err = ") + size, figures};
    if (static_cast<int32_t>(charsize) > 128)
      expected.insert(expected.begin(), "font character size > 128 bytes");
    EXPECT_EQ(messages(), expected);
  }
}

TEST_F(PsfFont, LeavesGlyphsAfterShortFileEmpty) {
  const bytes all = counted(160);
  const bytes content = psf2_maker{10, 16, 16, 8, all}.file();
  for (const size_t held : {0U, 1U, 15U, 16U, 159U}) {
    SCOPED_TRACE(held);
    EXPECT_EQ(load(first_bytes(content, 32 + held)), 0);
    bytes expected = first_bytes(all, held);
    expected.resize(160);
    expect_glyphs(expected);
    std::free(slot_.ptr);
  }
  slot_.ptr = nullptr;
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfFont, LeavesGlyphsBeyondFileEmpty) {
  for (const uint32_t position : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    psf2_maker font = {10, 16, 16, 8, counted(160)};
    font.glyphs_at = position;
    EXPECT_EQ(load(font.file()), 0);
    expect_glyphs(bytes(160));
    std::free(slot_.ptr);
  }
  slot_.ptr = nullptr;
}

// ------------------------------------------------------------------------------------------------ failures

TEST_F(PsfFont, RejectsMissingFile) {
  const std::string path = board_.path("missing.psf");
  slot_ = {nullptr, 1, 2, 3, 4, 5};
  EXPECT_EQ(psf_font_load(path.c_str(), &slot_), -1);
  expect_slot(0, 0, 0, 0, 0);
  EXPECT_EQ(messages(), strings{path + " not found!"});
}

TEST_F(PsfFont, RejectsDirectory) {
  const std::string path = board_.path("folder");
  std::filesystem::create_directory(path);
  slot_ = {nullptr, 1, 2, 3, 4, 5};
  EXPECT_EQ(psf_font_load(path.c_str(), &slot_), -1);
  expect_slot(0, 0, 0, 0, 0);
  EXPECT_EQ(messages(), strings{path + " not regular file"});
}

TEST_F(PsfFont, ReportsOtherFormatsByFirstBytes) {
  const struct {
    bytes content;
    const char *id;
  } files[] = {
      {{0x42, 0x4D, 0x0A, 0xFF, 0x00}, "42 4d 0a ff"}, {{0x04, 0x36, 0x00, 0x10}, "04 36 00 10"},
      {{0x36, 0x05, 0x00, 0x10}, "36 05 00 10"},       {{0x72, 0xB5, 0x4A, 0x87}, "72 b5 4a 87"},
      {{0x72, 0xB5, 0x4B, 0x86}, "72 b5 4b 86"},       {{0x72, 0xB4, 0x4A, 0x86}, "72 b4 4a 86"},
      {{0x1F, 0x8B, 0x08, 0x00}, "1f 8b 08 00"},
  };
  for (const auto &[content, id] : files) {
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    const std::string path = file("other.psf", content);
    slot_ = {nullptr, 1, 2, 3, 4, 5};
    EXPECT_EQ(psf_font_load(path.c_str(), &slot_), -1);
    expect_slot(0, 0, 0, 0, 0);
    EXPECT_EQ(messages(), (strings{"only support PSF font : " + path, std::string("font id : ") + id}));
  }
}

TEST_F(PsfFont, RejectsFileOfFewerThanFourBytes) {
  for (const bytes &content : {bytes{}, bytes{0x72}, bytes{0x36}, bytes{0x72, 0xB5, 0x4A}}) {
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    EXPECT_EQ(load(content), -1);
    expect_slot(0, 0, 0, 0, 0);
    const strings said = messages();
    ASSERT_EQ(said.size(), 2U);
    EXPECT_EQ(said[0], "only support PSF font : " + board_.path("font.psf"));
    EXPECT_TRUE(said[1].starts_with("font id : "));
  }
}

// ------------------------------------------------------------------------------------------------ the slots

class PsfSlots : public PsfFont {
protected:
  /// A font whose first glyph byte is `mark`.
  std::string font(uint8_t mark) const {
    bytes glyphs = counted(256 * 8);
    glyphs[0] = mark;
    return file("font" + std::to_string(mark) + ".psf", psf1_file(0, 8, glyphs));
  }
};

TEST_F(PsfSlots, FillInOrderOfPaths) {
  alloc(3, {font(10), font(11), font(12)});
  EXPECT_EQ(psf_font_num, 3);
  EXPECT_EQ(get_psf_font_num(), 3);
  for (uint8_t i = 0; i < 3; ++i) {
    ASSERT_NE(psf[i].ptr, nullptr);
    EXPECT_EQ(psf[i].ptr[0], 10 + i);
  }
  EXPECT_EQ(psf[3].ptr, nullptr);
  psf_font_free();
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfSlots, LoadSixteenOfTwentyPaths) {
  strings paths;
  for (uint8_t i = 0; i < 16; ++i)
    paths.push_back(font(i));
  for (int i = 16; i < 20; ++i)
    paths.push_back(board_.path("never looked at"));
  alloc(20, paths);
  EXPECT_EQ(get_psf_font_num(), 16);
  for (uint8_t i = 0; i < 16; ++i) {
    ASSERT_NE(psf[i].ptr, nullptr);
    EXPECT_EQ(psf[i].ptr[0], i);
  }
  EXPECT_EQ(messages(), strings{});
  psf_font_free();
}

TEST_F(PsfSlots, LoadNothingForCountBelowOne) {
  psf_font_num = 5;
  psf_font_alloc(0, nullptr);
  EXPECT_EQ(psf_font_num, 0);
  psf_font_num = 5;
  psf_font_alloc(-3, nullptr);
  EXPECT_EQ(psf_font_num, 0);
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfSlots, CountFailedFontAndLoadNext) {
  const std::string missing = board_.path("missing"), other = file("other", {1, 2, 3, 4});
  alloc(4, {font(1), missing, other, font(4)});
  EXPECT_EQ(get_psf_font_num(), 4);
  EXPECT_NE(psf[0].ptr, nullptr);
  EXPECT_EQ(psf[1].ptr, nullptr);
  EXPECT_EQ(psf[2].ptr, nullptr);
  ASSERT_NE(psf[3].ptr, nullptr);
  EXPECT_EQ(psf[3].ptr[0], 4);
  EXPECT_EQ(messages(), (strings{missing + " not found!", "psf_font_alloc(): load " + missing + " err",
                                 "only support PSF font : " + other, "font id : 01 02 03 04",
                                 "psf_font_alloc(): load " + other + " err"}));
  std::free(psf[3].ptr);
  std::free(psf[0].ptr);
}

TEST_F(PsfSlots, KeepFiguresOfTooLargeFont) {
  const std::string path = file("large", psf2_maker{513, 64, 32, 16, {}}.file());
  alloc(1, {path});
  EXPECT_EQ(psf[0].ptr, nullptr);
  EXPECT_EQ(psf[0].height, 32);
  EXPECT_EQ(psf[0].version, 2);
  EXPECT_EQ(messages().back(), "psf_font_alloc(): load " + path + " err");
}

TEST_F(PsfSlots, EmptyOnFailedLoad) {
  alloc(1, {font(1)});
  uint8_t *const before = psf[0].ptr;
  alloc(1, {board_.path("missing")});
  EXPECT_EQ(psf[0].ptr, nullptr);
  EXPECT_EQ(psf[0].height, 0);
  std::free(before);
}

TEST_F(PsfSlots, KeepMemoryOfFirstLoad) {
  alloc(1, {font(1)});
  uint8_t *const before = psf[0].ptr;
  alloc(1, {font(2)});
  EXPECT_NE(psf[0].ptr, before);
  EXPECT_EQ(before[0], 1);
  std::free(before);
  psf_font_free();
}

TEST_F(PsfSlots, ClearPointersOnlyOnFree) {
  alloc(2, {font(1), font(2)});
  psf_font_free();
  EXPECT_EQ(psf[0].ptr, nullptr);
  EXPECT_EQ(psf[1].ptr, nullptr);
  EXPECT_EQ(get_psf_font_num(), 2);
  EXPECT_EQ(psf[1].length, 256);
  EXPECT_EQ(psf[1].charsize, 8);
  EXPECT_EQ(psf[1].version, 1);
  EXPECT_EQ(psf[1].width, 8);
  EXPECT_EQ(psf[1].height, 8);
  EXPECT_EQ(messages(), strings{});
}

TEST_F(PsfSlots, LogSecondFree) {
  alloc(1, {font(1)});
  psf_font_free();
  psf_font_free();
  EXPECT_EQ(messages(), strings{"psf_font_free(): free psf_font_ptr[0] err!"});
}

TEST_F(PsfSlots, StopFreeingAtFirstEmptySlot) {
  alloc(4, {font(1), font(2), board_.path("missing"), font(4)});
  psf_font_free();
  EXPECT_EQ(psf[0].ptr, nullptr);
  EXPECT_EQ(psf[1].ptr, nullptr);
  ASSERT_NE(psf[3].ptr, nullptr);
  EXPECT_EQ(psf[3].ptr[0], 4);
  EXPECT_EQ(messages().back(), "psf_font_free(): free psf_font_ptr[2] err!");
  std::free(psf[3].ptr);
}

TEST_F(PsfSlots, FreeNothingIfFirstSlotIsEmpty) {
  alloc(2, {board_.path("missing"), font(2)});
  psf_font_free();
  EXPECT_NE(psf[1].ptr, nullptr);
  EXPECT_EQ(messages().back(), "psf_font_free(): free psf_font_ptr[0] err!");
  std::free(psf[1].ptr);
}

TEST_F(PsfSlots, LogNothingIfNothingIsLoaded) {
  psf_font_free();
  psf_font_num = -1;
  psf_font_free();
  EXPECT_EQ(messages(), strings{});
}

// ------------------------------------------------------------------------------------------------ hostile
// files

TEST_F(PsfFont, LoadsOrRejectsFileCutAnywhere) {
  const struct {
    bytes whole;
    size_t magic;
  } fonts[] = {{psf1_file(0, 4, counted(1024)), 2}, {psf2_maker{8, 8, 8, 8, counted(64)}.file(), 4}};
  for (const auto &[whole, magic] : fonts)
    for (size_t length = 0; length <= whole.size(); ++length) {
      const int result = load(first_bytes(whole, length));
      EXPECT_EQ(result == 0, slot_.ptr != nullptr);
      EXPECT_EQ(result == 0, length >= magic) << length;
      std::free(slot_.ptr);
    }
  slot_.ptr = nullptr;
}

TEST_F(PsfFont, LoadsOrRejectsRandomHeaders) {
  std::mt19937 random(7);
  const int fonts = rounds(1000);
  int loaded = 0;
  for (int round = 0; round < fonts; ++round) {
    bytes content = psf2_maker{16, 16, 16, 8, random_bytes(random, 256)}.file();
    const uint32_t position = 4 * random_in(random, 1, 7);
    put_u32(content, position, static_cast<uint32_t>(random() >> random_in(random, 0, 31)));
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    const int result = load(content);
    EXPECT_EQ(result == 0, slot_.ptr != nullptr);
    loaded += result == 0;
    std::free(slot_.ptr);
  }
  slot_.ptr = nullptr;
  EXPECT_GT(loaded, fonts / 4);
  EXPECT_LT(loaded, fonts);
}

} // namespace
} // namespace dravik::test
