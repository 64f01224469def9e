// Checksums on many threads at once, from the first one of the process on.

#include "dravik.h"
#include "support/board.hpp"
#include "support/bytes.hpp"

#include <array>
#include <barrier>
#include <gtest/gtest.h>
#include <thread>
#include <zlib.h>

namespace dravik::test {
namespace {

constexpr size_t threads = 8;
constexpr int rounds = 200;

/// The number of failures if each thread runs `is_right(thread, round)` for all rounds. The threads start
/// at the same time.
template <class IsRight> size_t failures_together(IsRight is_right) {
  std::barrier start(threads);
  std::array<size_t, threads> failures = {};
  std::vector<std::thread> all;
  for (size_t thread = 0; thread < threads; ++thread)
    all.emplace_back([&, thread] {
      start.arrive_and_wait();
      for (int round = 0; round < rounds; ++round)
        failures[thread] += !is_right(thread, round);
    });
  for (std::thread &one : all)
    one.join();
  size_t sum = 0;
  for (const size_t count : failures)
    sum += count;
  return sum;
}

TEST(CrcThreads, ComputeBlocksInManyThreads) {
  std::array<bytes, threads> blocks;
  std::array<uint32_t, threads> crcs = {};
  std::mt19937 random(30); // NOLINT(cert-msc51-cpp): the same bytes every time
  for (size_t i = 0; i < threads; ++i) {
    blocks[i] = random_bytes(random, 100 + 37 * i);
    crcs[i] = static_cast<uint32_t>(::crc32_z(0, blocks[i].data(), blocks[i].size()));
  }
  EXPECT_EQ(failures_together([&](size_t thread, int) {
              return get_data_crc(blocks[thread].data(), static_cast<uint32_t>(blocks[thread].size())) ==
                     crcs[thread];
            }),
            0U);
}

TEST(CrcThreads, SearchesAndFilesOfManyThreads) {
  const board on;
  on.write("tmp/add/areacode.bin", "123456789");
  EXPECT_EQ(failures_together([](size_t thread, int) {
              // The word of number 1 is 02 08 00 00.
              const uint8_t word[4] = {2, 8, 0, 0};
              if (thread % 2 == 0)
                return get_area_id(get_data_crc(word, sizeof word)) == 1U;
              return get_file_crc("/tmp/add/areacode.bin") == 0xCBF43926U;
            }),
            0U);
}

} // namespace
} // namespace dravik::test
