// The recording of the simulated sound card of a board.
#pragma once

#include "support/board.hpp"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace dravik::test {

/// The samples of a WAV file of 16 bits, two channels and 48 kHz, left and right in turn.
/// The test fails if its header has other values, or another length.
inline std::vector<int16_t> checked_samples(const std::string &file) {
  const auto number = [&file](size_t at) {
    uint32_t value = 0;
    std::memcpy(&value, file.data() + at, sizeof value);
    return value;
  };
  if (file.size() < 44) {
    ADD_FAILURE() << "a recording of " << file.size() << " bytes";
    return {};
  }
  EXPECT_EQ(file.substr(0, 4), "RIFF");
  EXPECT_EQ(number(4), file.size() - 8);
  EXPECT_EQ(file.substr(8, 8), "WAVEfmt ");
  EXPECT_EQ(number(16), 16U);
  EXPECT_EQ(number(20), 0x00020001U); // plain samples, two channels
  EXPECT_EQ(number(24), 48000U);
  EXPECT_EQ(number(28), 192000U);
  EXPECT_EQ(number(32), 0x00100004U); // 4 bytes per frame, 16 bits a sample
  EXPECT_EQ(file.substr(36, 4), "data");
  EXPECT_EQ(number(40), file.size() - 44);
  std::vector<int16_t> recorded((file.size() - 44) / 2);
  if (!recorded.empty())
    std::memcpy(recorded.data(), file.data() + 44, recorded.size() * 2);
  return recorded;
}

/// All that the board's speaker has played, oldest first.
inline std::vector<int16_t> played_samples(const board &board) {
  return checked_samples(board.read("sound/played.wav"));
}

} // namespace dravik::test
