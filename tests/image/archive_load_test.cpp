// Archives in their slots: loading, its messages on each channel, and freeing.

#include "image/archive_stage.hpp"
#include "support/emulation.hpp"

#include <filesystem>

namespace dravik::test {
namespace {

class ArchiveLoad : public archive_stage {
protected:
  /// An archive of some images.
  std::string archive(const std::string &name, size_t count) {
    archive_maker maker;
    for (size_t i = 0; i < count; ++i)
      maker.images.push_back(random_art(random_, 3, 2));
    return file(name, maker.file());
  }

  /// Load one file that fails; return its messages on standard error between the first and the last line.
  std::string checked_failure(const std::string &path) {
    load(1, {path});
    EXPECT_EQ(q7bmp_ptr[0], nullptr);
    EXPECT_EQ(q7bmp_str_num[0], 0U);
    EXPECT_EQ(q7bmp_ptr_num, 1);
    const std::string first = "q7bmp_alloc(): file_num : 1\n", last = "  " + path + " : 0\n";
    EXPECT_TRUE(said_.starts_with(first)) << said_;
    EXPECT_TRUE(said_.ends_with(last)) << said_;
    return said_.substr(first.size(), said_.size() - first.size() - last.size());
  }
};

TEST_F(ArchiveLoad, FillsSlotsInOrder) {
  const std::string one = archive("one", 1), two = archive("two", 22), three = archive("three", 3);
  const int result = load(3, {one, two, three});
  EXPECT_EQ(said_,
            "q7bmp_alloc(): file_num : 3\n  " + one + " : 1\n  " + two + " : 22\n  " + three + " : 3\n");
  EXPECT_EQ(result, static_cast<int>(three.size()) + 7);
  EXPECT_EQ(messages(), strings{});
  EXPECT_EQ(get_q7bmp_ptr_num(), 3);
  EXPECT_EQ(get_q7bmp_str_num(0), 1U);
  EXPECT_EQ(get_q7bmp_str_num(1), 22U);
  EXPECT_EQ(get_q7bmp_str_num(2), 3U);
  EXPECT_EQ(q7bmp_str_num[1], 22U);
  for (const auto &[slot, path] : {std::pair{0, one}, {1, two}, {2, three}}) {
    const bytes content = read_file(path);
    ASSERT_NE(q7bmp_ptr[slot], nullptr);
    EXPECT_EQ(bytes(q7bmp_ptr[slot], q7bmp_ptr[slot] + content.size()), content);
  }
  EXPECT_EQ(q7bmp_ptr[3], nullptr);
}

TEST_F(ArchiveLoad, LoadsAtMost32Files) {
  strings paths;
  for (size_t i = 0; i < 32; ++i)
    paths.push_back(archive("art" + std::to_string(i), i + 1));
  for (size_t i = 32; i < 40; ++i)
    paths.push_back(board_.path("never looked at"));
  load(40, paths);
  EXPECT_TRUE(said_.starts_with("q7bmp_alloc(): file_num : 40\n"));
  EXPECT_EQ(std::count(said_.begin(), said_.end(), '\n'), 33);
  EXPECT_EQ(get_q7bmp_ptr_num(), 32);
  for (int32_t slot = 0; slot < 32; ++slot) {
    EXPECT_NE(q7bmp_ptr[slot], nullptr);
    EXPECT_EQ(get_q7bmp_str_num(slot), static_cast<uint32_t>(slot) + 1);
  }
  EXPECT_EQ(get_q7bmp_str_num(32), 0xFFFFFFFF);
}

TEST_F(ArchiveLoad, LoadsNothingForCountBelowOne) {
  q7bmp_ptr_num = 5;
  EXPECT_EQ(load(0, {}), 28);
  EXPECT_EQ(said_, "q7bmp_alloc(): file_num : 0\n");
  EXPECT_EQ(q7bmp_ptr_num, 0);
  q7bmp_ptr_num = 5;
  EXPECT_EQ(load(-7, {}), 29);
  EXPECT_EQ(said_, "q7bmp_alloc(): file_num : -7\n");
  EXPECT_EQ(q7bmp_ptr_num, 0);
}

TEST_F(ArchiveLoad, ReturnsNoImagesForSlotsOutOfRange) {
  load(2, {archive("one", 1), board_.path("missing")});
  EXPECT_EQ(get_q7bmp_str_num(1), 0U);
  for (const int32_t slot : {2, 3, 31, 32, 1000, INT32_MAX, -1, INT32_MIN})
    EXPECT_EQ(get_q7bmp_str_num(slot), 0xFFFFFFFF) << slot;
}

TEST_F(ArchiveLoad, ReturnsNoImagesIfNothingIsLoaded) {
  EXPECT_EQ(get_q7bmp_ptr_num(), 0);
  EXPECT_EQ(get_q7bmp_str_num(0), 0xFFFFFFFF);
}

// ------------------------------------------------------------------------------------------------ failures

TEST_F(ArchiveLoad, RejectsMissingFile) {
  const std::string path = board_.path("missing");
  EXPECT_EQ(checked_failure(path), path + " not found\n");
  EXPECT_EQ(messages(), strings{});
}

TEST_F(ArchiveLoad, RejectsDirectory) {
  const std::string path = board_.path("folder");
  std::filesystem::create_directory(path);
  EXPECT_EQ(checked_failure(path), path + " not regular file\n");
  EXPECT_EQ(messages(), strings{});
}

TEST_F(ArchiveLoad, RejectsOtherMagic) {
  for (const char *magic : {"KORVEXQ6", "korvexq7", "XORVEXQ7", "KORVEX\0\0"}) {
    const std::string path = file("other", archive_maker{.magic = std::string(magic, 8)}.file());
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    EXPECT_EQ(checked_failure(path), "");
    EXPECT_EQ(messages(), strings{path + " file format error!"});
  }
}

TEST_F(ArchiveLoad, RejectsFileShorterThanItsMagic) {
  for (const bytes &content : {bytes{}, bytes{'K'}, bytes{'K', 'O', 'R', 'V', 'E', 'X', 'Q'}}) {
    const std::string path = file("short", content);
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    EXPECT_EQ(checked_failure(path), "");
    EXPECT_EQ(messages(), strings{path + " file format error!"});
  }
}

TEST_F(ArchiveLoad, RejectsOtherFileSize) {
  const struct {
    uint32_t size;
    const char *message;
  } sizes[] = {{17, "file size error! 16 != 17"},
               {15, "file size error! 16 != 15"},
               {0, "file size error! 16 != 0"},
               {0xFFFFFFFF, "file size error! 16 != -1"}};
  for (const auto &[size, message] : sizes) {
    const std::string path = file("wrong", archive_maker{.file_size = size}.file());
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    EXPECT_EQ(checked_failure(path), "");
    EXPECT_EQ(messages(), strings{message});
  }
}

TEST_F(ArchiveLoad, RejectsFileThatEndsInItsHeader) {
  const bytes whole = archive_maker{}.file();
  for (size_t length = 8; length < 16; ++length) {
    const std::string path = file("cut", first_bytes(whole, length));
    std::filesystem::remove(board_.path("tmp/dravik.log"));
    EXPECT_EQ(checked_failure(path), "");
    ASSERT_EQ(messages().size(), 1U);
    EXPECT_TRUE(messages()[0].starts_with("file size error! " + std::to_string(length) + " != "));
  }
}

TEST_F(ArchiveLoad, LeavesSlotOfFailedFileEmpty) {
  load(3, {archive("one", 1), board_.path("missing"), archive("three", 3)});
  EXPECT_NE(q7bmp_ptr[0], nullptr);
  EXPECT_EQ(q7bmp_ptr[1], nullptr);
  EXPECT_NE(q7bmp_ptr[2], nullptr);
  EXPECT_EQ(get_q7bmp_ptr_num(), 3);
  EXPECT_EQ(get_q7bmp_str_num(1), 0U);
  EXPECT_EQ(get_q7bmp_str_num(2), 3U);
}

// ------------------------------------------------------------------------------------------------ again, and
// freeing

TEST_F(ArchiveLoad, KeepsMemoryOfFirstLoad) {
  const std::string one = archive("one", 1), two = archive("two", 2);
  load(2, {one, one});
  uint8_t *const first = q7bmp_ptr[0], *const second = q7bmp_ptr[1];
  load(1, {two});
  EXPECT_NE(q7bmp_ptr[0], first);
  EXPECT_EQ(q7bmp_ptr[1], second); // not looked at
  EXPECT_EQ(get_q7bmp_ptr_num(), 1);
  EXPECT_EQ(bytes(first, first + 8), bytes(second, second + 8));
  std::free(first);
}

TEST_F(ArchiveLoad, EmptiesSlotOnFailedLoad) {
  load(1, {archive("one", 1)});
  uint8_t *const before = q7bmp_ptr[0];
  load(1, {board_.path("missing")});
  EXPECT_EQ(q7bmp_ptr[0], nullptr);
  EXPECT_EQ(q7bmp_str_num[0], 0U);
  std::free(before);
}

TEST_F(ArchiveLoad, EmptiesSlotsOnFree) {
  load(3, {archive("one", 1), archive("two", 2), archive("three", 3)});
  q7bmp_free();
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_EQ(q7bmp_ptr[slot], nullptr);
    EXPECT_EQ(q7bmp_str_num[slot], 0U);
  }
  EXPECT_EQ(get_q7bmp_ptr_num(), 3);
  EXPECT_EQ(get_q7bmp_str_num(2), 0U);
  EXPECT_EQ(messages(), strings{});
  EXPECT_EQ(fb_q7bmp_show(0, 0, 0, 0, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), -1);
  EXPECT_EQ(messages(), strings{"q7bmp ptr is NULL"});
}

TEST_F(ArchiveLoad, StopsFreeingAtFirstEmptySlot) {
  load(4, {archive("one", 1), archive("two", 2), board_.path("missing"), archive("four", 4)});
  q7bmp_free();
  EXPECT_EQ(q7bmp_ptr[0], nullptr);
  EXPECT_EQ(q7bmp_ptr[1], nullptr);
  EXPECT_NE(q7bmp_ptr[3], nullptr);
  EXPECT_EQ(q7bmp_str_num[3], 4U);
  EXPECT_EQ(messages(), strings{"q7bmp_free err!"});
}

TEST_F(ArchiveLoad, FreesNothingIfFirstSlotIsEmpty) {
  load(2, {board_.path("missing"), archive("two", 2)});
  q7bmp_free();
  EXPECT_NE(q7bmp_ptr[1], nullptr);
  EXPECT_EQ(messages(), strings{"q7bmp_free err!"});
}

TEST_F(ArchiveLoad, LogsSecondFree) {
  load(1, {archive("one", 1)});
  q7bmp_free();
  q7bmp_free();
  EXPECT_EQ(messages(), strings{"q7bmp_free err!"});
}

TEST_F(ArchiveLoad, LogsNothingIfNothingIsLoaded) {
  q7bmp_free();
  load(0, {});
  q7bmp_free();
  q7bmp_ptr_num = -4;
  q7bmp_free();
  EXPECT_EQ(messages(), strings{});
}

TEST_F(ArchiveLoad, FreesOnlyLoadedSlots) {
  load(2, {archive("one", 1), archive("two", 2)});
  uint8_t *const lost = q7bmp_ptr[0];
  load(1, {archive("three", 3)});
  q7bmp_free();
  EXPECT_EQ(q7bmp_ptr[0], nullptr);
  EXPECT_NE(q7bmp_ptr[1], nullptr);
  EXPECT_EQ(messages(), strings{});
  std::free(lost);
}

TEST_F(ArchiveLoad, LoadsOrRejectsRandomFiles) {
  int loaded = 0;
  for (int round = 0; round < rounds(1000); ++round) {
    bytes content = archive_maker{{random_art(random_, 3, 3)}}.file();
    content.resize(random_in(random_, 0, static_cast<uint32_t>(content.size())));
    if (content.size() >= 16 && round % 2 == 0)
      put_u32(content, 12, static_cast<uint32_t>(content.size()));
    if (!content.empty() && round % 5 == 0)
      content[random_in(random_, 0, static_cast<uint32_t>(content.size()) - 1)] ^= 0x40;
    load(1, {file("random", content)});
    loaded += q7bmp_ptr[0] != nullptr;
    fb_q7bmp_show(0, 0, 0, 0, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT);
    std::free(q7bmp_ptr[0]);
    q7bmp_ptr[0] = nullptr;
    std::filesystem::remove(board_.path("tmp/dravik.log"));
  }
  EXPECT_GT(loaded, rounds(1000) / 20);
}

} // namespace
} // namespace dravik::test
