// Loading images into memory slots, and freeing them.

#include "image/slot_stage.hpp"
#include "support/allocated_bytes.hpp"

#include <filesystem>

/// A directory claims an enormous length: malloc() of AddressSanitizer must return null, too.
extern "C" const char *__asan_default_options(); // NOLINT(clang-diagnostic-reserved-identifier)
extern "C" const char *__asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using names = std::vector<const char *>;

class PictureSlots : public slot_stage {
protected:
  int alloc(const names &files, const std::string &dir) {
    return bmp_mem_alloc(static_cast<int32_t>(files.size()), dir.c_str(), files.data());
  }
  int alloc(const names &files) { return alloc(files, folder()); }

  /// Leave an image of one pixel.
  void make(const std::string &name, uint16_t colour = 0x1111) {
    bmp_maker picture = {.width = 1, .height = 1, .bits = 16};
    write_file(folder() + "/" + name, picture.set16(0, 0, colour).file());
  }
};

TEST_F(PictureSlots, AreEmptyAtFirst) {
  EXPECT_EQ(bmp_mem_num, 0);
  EXPECT_TRUE(
      std::all_of(std::begin(bmp_mem_ptr), std::end(bmp_mem_ptr), [](auto *p) { return p == nullptr; }));
  expect_refused(0, "BMP mem index err: 0, max = 0");
}

TEST_F(PictureSlots, HoldFilesByteForByte) {
  std::vector<bytes> files;
  for (const size_t size : {0U, 1U, 53U, 54U, 255U, 256U, 257U, 511U, 512U, 70000U})
    files.push_back(random_bytes(random_, size));
  load(files);
  EXPECT_EQ(bmp_mem_num, 10);
  for (size_t i = 0; i < files.size(); ++i) {
    ASSERT_NE(bmp_mem_ptr[i], nullptr);
    EXPECT_TRUE(std::equal(files[i].begin(), files[i].end(), bmp_mem_ptr[i])) << "slot " << i;
    EXPECT_GE(::malloc_usable_size(bmp_mem_ptr[i]), files[i].size() / 256 * 256 + 256);
  }
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PictureSlots, LoadNothingForCountBelowOne) {
  load({random_picture(2, 2).file()});
  bmp_mem_free();
  for (const int32_t count : {0, -1, INT32_MIN}) {
    bmp_mem_num = 5;
    EXPECT_EQ(bmp_mem_alloc(count, "/nowhere", nullptr), 0);
    EXPECT_EQ(bmp_mem_num, 0);
  }
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PictureSlots, AreSixtyFour) {
  std::vector<std::string> texts;
  names files;
  for (uint16_t i = 0; i < 64; ++i) {
    texts.push_back(std::to_string(i));
    make(texts.back(), i);
  }
  for (const std::string &text : texts)
    files.push_back(text.c_str());
  files.resize(70, nullptr); // names past the last slot are not even looked at
  alloc(files);
  EXPECT_EQ(bmp_mem_num, 64);
  for (uint16_t i = 0; i < 64; ++i) {
    EXPECT_EQ(bmp_mem_show(i, 3, i, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), 0);
    put_pixel(i, 3, i);
    put_pixel(i + 1U, 3, 0); // the padding of the row
  }
  EXPECT_TRUE(screen_->same());
  model_.info = {1, 1, 16, 58, 0, 40, 54};
  expect_refused(64, "BMP mem index err: 64, max = 64");
  expect_refused(69, "BMP mem index err: 69, max = 64");
}

TEST_F(PictureSlots, LeaveSlotOfMissingFileEmpty) {
  make("first");
  make("third");
  alloc({"first", "second", "third", "fourth"});
  EXPECT_EQ(bmp_mem_num, 4);
  EXPECT_NE(bmp_mem_ptr[0], nullptr);
  EXPECT_EQ(bmp_mem_ptr[1], nullptr);
  EXPECT_NE(bmp_mem_ptr[2], nullptr);
  EXPECT_EQ(bmp_mem_ptr[3], nullptr);
  EXPECT_THAT(logged(),
              ElementsAre("fopen " + folder() + "/second err", "fopen " + folder() + "/fourth err"));
}

TEST_F(PictureSlots, EmptySlotForMissingFile) {
  load({random_picture(2, 2).file()});
  bmp_mem_free();
  alloc({"missing"});
  EXPECT_EQ(bmp_mem_ptr[0], nullptr);
  bmp_mem_free();
}

TEST_F(PictureSlots, JoinDirectorySlashAndName) {
  alloc({"b.bmp", "/c.bmp", ""}, "nowhere/");
  alloc({"nothing.bmp"}, "");
  EXPECT_THAT(logged(), ElementsAre("fopen nowhere//b.bmp err", "fopen nowhere///c.bmp err",
                                    "fopen nowhere// err", "fopen /nothing.bmp err"));
}

TEST_F(PictureSlots, LoadLongNames) {
  std::string dir = folder();
  while (dir.size() < 3000) {
    dir += "/" + std::string(200, 'd');
    std::filesystem::create_directory(dir);
  }
  const std::string name(250, 'n');
  write_file(dir + "/" + name, random_picture(1, 1).file());
  alloc({name.c_str()}, dir);
  EXPECT_NE(bmp_mem_ptr[0], nullptr);
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PictureSlots, RejectPathOf4096Bytes) {
  const std::string long_enough(4095 - 2, 'x'), too_long(4096 - 2, 'x'), far_too_long(100000, 'x');
  make("last");
  alloc({long_enough.c_str(), too_long.c_str(), far_too_long.c_str()}, "d");
  EXPECT_THAT(logged(), ElementsAre("fopen d/" + long_enough + " err", "path too long: " + too_long,
                                    "path too long: " + far_too_long));
  EXPECT_EQ(bmp_mem_num, 3);
  EXPECT_TRUE(std::all_of(bmp_mem_ptr, bmp_mem_ptr + 3, [](auto *p) { return p == nullptr; }));
}

TEST_F(PictureSlots, RejectUnreadableFiles) {
  std::filesystem::create_directory(folder() + "/folder");
  alloc({"folder"});
  EXPECT_EQ(bmp_mem_num, 1);
  EXPECT_EQ(bmp_mem_show(0, 0, 0, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), -1);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlots, KeepNoDescriptor) {
  make("good");
  const size_t before = open_descriptors();
  const std::string too_long(5000, 'x');
  alloc({"good", "missing", too_long.c_str(), "good", "."});
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(PictureSlots, DoNotNeedTheFileAgain) {
  load({random_picture(5, 5).file()});
  board_.remove("pictures");
  EXPECT_EQ(show_and_compare(), 0);
}

TEST_F(PictureSlots, KeepPointersAndNumberAfterFree) {
  load({random_picture(5, 5).file(), random_picture(5, 5).file()});
  uint8_t *const first = bmp_mem_ptr[0], *const second = bmp_mem_ptr[1];
  bmp_mem_free();
  EXPECT_EQ(bmp_mem_ptr[0], first);
  EXPECT_EQ(bmp_mem_ptr[1], second);
  EXPECT_EQ(bmp_mem_num, 2);
  expect_refused(0, "BMP mem ptr is NULL, bmp_mem_idx=0");
  expect_refused(1, "BMP mem ptr is NULL, bmp_mem_idx=1");
}

TEST_F(PictureSlots, AllowSecondFree) {
  load({random_picture(5, 5).file()});
  bmp_mem_free();
  bmp_mem_free();
  load({random_picture(5, 5).file()});
  EXPECT_EQ(show_and_compare(), 0);
  bmp_mem_free();
  bmp_mem_free();
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PictureSlots, FreeBeyondEmptySlots) {
  make("good");
  const auto in_use_after_free = [this] {
    alloc({"missing", "good", "missing", "good"});
    bmp_mem_free();
    return allocated_bytes();
  };
  const size_t in_use = in_use_after_free();
  EXPECT_EQ(in_use_after_free(), in_use) << "a block was not freed";
  logged();
  expect_refused(1, "BMP mem ptr is NULL, bmp_mem_idx=1");
  expect_refused(3, "BMP mem ptr is NULL, bmp_mem_idx=3");
}

TEST_F(PictureSlots, AllowFreeBeforeLoad) {
  bmp_mem_free();
  EXPECT_EQ(bmp_mem_num, 0);
}

TEST_F(PictureSlots, StopFreeingAtLastSlot) {
  bmp_mem_num = 1000;
  bmp_mem_free();
  expect_refused(64, "BMP mem index err: 64, max = 1000");
  bmp_mem_num = 0;
}

TEST_F(PictureSlots, RejectNumbersOutOfRange) {
  load({random_picture(5, 5).file(), random_picture(5, 5).file()});
  expect_refused(2, "BMP mem index err: 2, max = 2");
  expect_refused(INT32_MAX, "BMP mem index err: 2147483647, max = 2");
  expect_refused(-1, "BMP mem index err: -1, max = 2");
  expect_refused(INT32_MIN, "BMP mem index err: -2147483648, max = 2");
}

TEST_F(PictureSlots, RejectEmptySlots) {
  alloc({"missing"});
  logged();
  expect_refused(0, "BMP mem ptr is NULL, bmp_mem_idx=0");
}

TEST_F(PictureSlots, DrawBlockOfApplication) {
  load({random_picture(5, 5).file()});
  uint8_t *const loaded = bmp_mem_ptr[0];
  bytes own = random_picture(7, 3).file();
  files_[0] = own;
  bmp_mem_ptr[0] = own.data();
  EXPECT_EQ(show_and_compare(3, 4), 0);
  bmp_mem_ptr[0] = loaded;
}

} // namespace
} // namespace dravik::test
