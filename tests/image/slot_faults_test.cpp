// Loading images into memory slots when memory is short.

#include "image/slot_stage.hpp"
#include "support/refused_malloc.hpp"

namespace dravik::test {
namespace {

class PictureSlotsShortOfMemory : public slot_stage {
protected:
  ~PictureSlotsShortOfMemory() override { refused_size = 0; }
};

TEST_F(PictureSlotsShortOfMemory, LeaveSlotEmptyAndContinue) {
  const size_t before = open_descriptors();
  refused_size = 123392 + 256;
  load({random_picture(4, 4).file(), bytes(123456), random_picture(4, 4).file()});
  refused_size = 0;
  EXPECT_THAT(logged(), testing::ElementsAre("bmp_mem_load(): malloc err"));
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(bmp_mem_num, 3);
  expect_refused(1, "BMP mem ptr is NULL, bmp_mem_idx=1");
  EXPECT_EQ(show_and_compare(1, 1, 0), 0);
  EXPECT_EQ(show_and_compare(1, 1, 2), 0);
}

TEST_F(PictureSlotsShortOfMemory, AllocateNext256BytesAfterEnd) {
  for (const size_t size : {123392U, 123393U, 123647U}) {
    refused_size = 123648;
    load({bytes(size)});
    refused_size = 0;
    EXPECT_EQ(bmp_mem_ptr[0], nullptr) << size;
  }
  refused_size = 123648;
  load({bytes(123649), bytes(123391)});
  refused_size = 0;
  EXPECT_NE(bmp_mem_ptr[0], nullptr);
  EXPECT_NE(bmp_mem_ptr[1], nullptr);
}

} // namespace
} // namespace dravik::test
