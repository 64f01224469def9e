// The system calls of functions that read a file: none more than the job takes.

#include "dravik.h"
#include "support/archive_maker.hpp"
#include "support/bmp_maker.hpp"
#include "support/board.hpp"
#include "support/kernel_calls.hpp"
#include "support/screen.hpp"

#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;

std::vector<uint64_t> numbers_of(const kernel_calls &calls) {
  std::vector<uint64_t> numbers;
  for (const kernel_call &call : calls)
    numbers.push_back(call.number);
  return numbers;
}

class FileCalls : public testing::Test {
protected:
  board board_;
  fake_screen screen_;
  std::mt19937 random_{31};
  const std::string path_ = board_.path("file");

  std::vector<uint64_t> calls_of_picture(uint16_t bits, uint32_t mode) {
    bmp_maker maker{.width = 16, .height = 12, .bits = bits};
    if (bits == 8)
      maker.palette = random_bytes(random_, 1024);
    write_file(path_, maker.with_random_pixels(random_).file());
    return numbers_of(calls_of([&] { fb_put_bmp_file(0, 0, path_.c_str(), mode, DRAVIK_TOP_LEFT); }));
  }
};

TEST_F(FileCalls, SeeCallsOfTracedProgram) {
  const kernel_calls expected = {{SYS_fsync, 77, 5}};
  EXPECT_EQ(calls_of([] { ::syscall(SYS_fsync, 77, 0, 5); }), expected);
}

TEST_F(FileCalls, ReadSmallImageWithFive) {
  for (const uint16_t bits : {uint16_t{24}, uint16_t{32}})
    EXPECT_THAT(calls_of_picture(bits, DRAVIK_BMP_COPY),
                ElementsAre(SYS_openat, SYS_pread64, SYS_lseek, SYS_pread64, SYS_close))
        << bits;
}

TEST_F(FileCalls, ReadPaletteWithOneMore) {
  EXPECT_THAT(calls_of_picture(8, DRAVIK_BMP_COPY),
              ElementsAre(SYS_openat, SYS_pread64, SYS_lseek, SYS_pread64, SYS_pread64, SYS_close));
}

TEST_F(FileCalls, ReadCopyOf16BitsIntoScreen) {
  EXPECT_THAT(calls_of_picture(16, DRAVIK_BMP_COPY),
              ElementsAre(SYS_openat, SYS_pread64, SYS_lseek, SYS_preadv, SYS_close));
}

TEST_F(FileCalls, StopKeyedImageAtEndOfFile) {
  EXPECT_THAT(calls_of_picture(16, DRAVIK_BMP_KEYED),
              ElementsAre(SYS_openat, SYS_pread64, SYS_lseek, SYS_pread64, SYS_close));
}

TEST_F(FileCalls, ReadLargeImageInLargePieces) {
  write_file(path_, bmp_maker{.width = 320, .height = 240, .bits = 24}.with_random_pixels(random_).file());
  const kernel_calls calls = calls_of([&] { fb_put_bmp_file(0, 0, path_.c_str(), DRAVIK_BMP_COPY, 0); });
  // 34 rows of 960 bytes are 32640 bytes: seven pieces, and the last two rows.
  EXPECT_EQ(std::ranges::count(numbers_of(calls), uint64_t{SYS_pread64}), 1 + 8);
  EXPECT_EQ(calls.size(), 1 + 1 + 1 + 8 + 1);
}

TEST_F(FileCalls, LoadSlotWithFive) {
  write_file(path_, bmp_maker{.width = 16, .height = 12, .bits = 16}.with_random_pixels(random_).file());
  const char *const names[] = {"file"};
  EXPECT_THAT(numbers_of(calls_of([&] { bmp_mem_alloc(1, board_.path("").c_str(), names); })),
              ElementsAre(SYS_openat, SYS_lseek, SYS_lseek, SYS_read, SYS_close));
}

TEST_F(FileCalls, ComputeChecksumWithFive) {
  write_file(path_, random_bytes(random_, 4096));
  EXPECT_THAT(numbers_of(calls_of([&] { get_file_crc(path_.c_str()); })),
              ElementsAre(SYS_openat, SYS_lseek, SYS_lseek, SYS_read, SYS_close));
}

} // namespace
} // namespace dravik::test
