// Slots with malformed BMP files: nothing outside the block is read, nothing outside the screen is written.
// The block of slot 0 ends at a protected page; the screen is between guard bands.

#include "image/slot_stage.hpp"
#include "support/emulation.hpp"
#include "support/guarded_malloc.hpp"

namespace dravik::test {
namespace {

class HostilePictureSlot : public slot_stage {
protected:
  /// Load a file into slot 0; its block ends at a protected page.
  void load_guarded(const bytes &file) {
    guarded_size = file.size() / 256 * 256 + 256;
    load({file});
    guarded_size = 0;
    ASSERT_TRUE(is_guarded(bmp_mem_ptr[0]));
  }

  void show_and_compare_in_every_mode() {
    for (const int32_t mode : {0, 1, 2, 3})
      show_and_compare(0, 0, 0, mode);
  }

  int show_with_offset(uint32_t offset, int32_t mode = 0) {
    bmp_maker picture = random_picture(10, 4); // 80 bytes of rows; the block is of 256 bytes
    picture.data_offset = offset;
    bytes file = picture.file();
    file.resize(134);
    load_guarded(file);
    return show_and_compare(0, 0, 0, mode);
  }
};

TEST_F(HostilePictureSlot, EndsAtAProtectedPage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  load_guarded(random_picture(10, 4).file());
  const volatile uint8_t *const block = bmp_mem_ptr[0];
  EXPECT_EQ(block[255], 0);
  EXPECT_DEATH(static_cast<void>(block[256]), "");
}

TEST_F(HostilePictureSlot, HasABlockUpToTheNextMultipleOf256) {
  for (const size_t size : {0U, 1U, 53U, 255U, 256U, 257U, 511U, 512U}) {
    const bytes file = random_bytes(random_, size);
    load_guarded(file); // expects a block of that size
    EXPECT_TRUE(std::equal(file.begin(), file.end(), bmp_mem_ptr[0])) << size;
  }
}

TEST_F(HostilePictureSlot, DrawsRowsUpToEndOfBlockOnly) {
  EXPECT_EQ(show_with_offset(176), 0);
  EXPECT_EQ(show_with_offset(177), -1);
  EXPECT_EQ(model_.messages, std::vector<std::string>{"BMP data err, bmp_mem_idx=0"});
}

TEST_F(HostilePictureSlot, RejectsOffsetsBeyondBlock) {
  for (const uint32_t offset : {255U, 256U, 257U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFB0U, 0xFFFFFFFFU})
    for (const int32_t mode : {0, 1, 2})
      EXPECT_EQ(show_with_offset(offset, mode), -1);
}

TEST_F(HostilePictureSlot, DrawsHeaderForOffsetsIntoIt) {
  for (const uint32_t offset : {0U, 1U, 53U})
    for (const int32_t mode : {0, 1, 2})
      EXPECT_EQ(show_with_offset(offset, mode), 0);
}

TEST_F(HostilePictureSlot, IgnoresOffsetIfNothingIsDrawn) {
  EXPECT_EQ(show_with_offset(0xFFFFFFFF, 3), 0);
  bmp_maker picture = random_picture(10, 4, 24);
  picture.data_offset = 0xFFFFFFFF;
  load_guarded(picture.file());
  EXPECT_EQ(show_and_compare(), 0);
}

TEST_F(HostilePictureSlot, RejectsSizesBeyondBlock) {
  for (const uint32_t width : {0U, 1U, 2U, 95U, 96U, 97U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
    for (const uint32_t height : {0U, 1U, 2U, 63U, 64U, 65U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      load_guarded(bmp_maker{.width = width, .height = height, .bits = 16, .pixels = bytes(100, 7)}.file());
      show_and_compare_in_every_mode();
    }
}

TEST_F(HostilePictureSlot, DrawsOrRejectsFilesCutAtEveryLength) {
  const bytes whole = random_picture(37, 9).file();
  for (size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    load_guarded(first_bytes(whole, length));
    show_and_compare_in_every_mode();
  }
}

TEST_F(HostilePictureSlot, DrawsMissingPixelsAsBlack) {
  const bytes whole = random_picture(10, 4).file();
  load_guarded(bytes(2000, 0xEE)); // leaves its mark in memory that is used again
  load_guarded(first_bytes(whole, 54));
  EXPECT_EQ(bmp_mem_show(0, 0, 0, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), 0);
  for (uint32_t y = 0; y < 4; ++y)
    for (uint32_t x = 0; x < 10; ++x)
      put_pixel(x, y, 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(HostilePictureSlot, HandlesRandomHeaders) {
  const bytes good = random_picture(20, 15).file();
  for (int n = 0; n < rounds(800); ++n) {
    bytes file = good;
    for (uint32_t changes = random_in(random_, 1, 6); changes > 0; --changes) {
      const uint32_t at = random_in(random_, 2, 53);
      file[at] = random_() % 3 == 0 ? static_cast<uint8_t>(random_()) : static_cast<uint8_t>(random_() % 100);
    }
    load_guarded(file);
    SCOPED_TRACE(n);
    for (const int32_t mode : {0, 1, 2})
      show_and_compare(random_in(random_, 0, 40), random_in(random_, 0, 40), 0, mode,
                       static_cast<uint8_t>(random_in(random_, 0, 3)));
  }
}

TEST_F(HostilePictureSlot, HandlesRandomBytesAfterSignature) {
  for (int n = 0; n < rounds(400); ++n) {
    bytes file = random_bytes(random_, random_in(random_, 2, 600));
    file[0] = 'B';
    file[1] = 'M';
    load_guarded(file);
    show_and_compare_in_every_mode();
  }
}

} // namespace
} // namespace dravik::test
