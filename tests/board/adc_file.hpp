// The text file of the ADC driver.
#pragma once

#include "support/board.hpp"

#include <gtest/gtest.h>

namespace dravik::test {

constexpr const char *adc_file = "/proc/ambarella/adc";
constexpr const char *adc_open_error = "open /proc/ambarella/adc error!\n";

class adc_fixture : public testing::Test {
protected:
  board board_;

  /// As a new file: cutting an old one waits for the disk.
  void write_adc(std::string_view text) const {
    board_.remove(adc_file);
    board_.write(adc_file, text);
  }
};

} // namespace dravik::test
