// The demonstration on boards of its own, and shared parts of the tests of the examples.
#pragma once

#include "dravik.h"
#include "host/card.hpp"
#include "support/application.hpp"
#include "support/board.hpp"
#include "support/paths.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace dravik::test {

/// Colours of the demonstration.
constexpr uint16_t surface = 0x18E4, edge = 0x3A09, muted = 0xA555, good = 0x67F2, warm = 0xFD80,
                   alarm = 0xFAC9;
constexpr uint16_t untouched = 0xA5A5;

/// Put the demonstration's fonts, artwork, images and sounds on a board.
inline void add_demonstration_files(const board &to) {
  namespace files = std::filesystem;
  std::error_code code;
  files::copy(dashcam_files, to.path(),
              files::copy_options::recursive | files::copy_options::overwrite_existing, code);
  ASSERT_FALSE(code) << code.message();
}

/// A board whose frame buffer memory is marked, so that tests detect writes.
class prepared_board : public board {
public:
  explicit prepared_board(const sim::screen &shown = sim::screen::of_size(640, 480)) : board(shown) {
    add_demonstration_files(*this);
    write("dev/fb0", std::string(static_cast<size_t>(shown.memory_bytes()), '\xA5'));
  }
};

/// One with a card in its slot, so that the camera records, and a script that mounts a card that is inserted.
class recording_board : public prepared_board {
public:
  explicit recording_board(const sim::screen &shown = sim::screen::of_size(640, 480))
      : prepared_board(shown) {
    std::string error;
    if (!sim::make_card(path(), sim::smallest_card_mebibytes, error))
      ADD_FAILURE() << error;
    set("card_mounts", "script");
  }
};

/// Nothing but the progress of the loader of artwork and of the sensor, and the end of the console.
inline void expect_only_progress(const std::string &errors) {
  EXPECT_THAT(errors, testing::MatchesRegex("q7bmp_alloc\\(\\): file_num : 2\n"
                                            "  /usr/local/dravik/art/icons_(320|640).q7 : [0-9]+\n"
                                            "  /usr/local/dravik/art/digits_(320|640).q7 : 36\n"
                                            "((gsensor_|G-Sensor ID : 33|write: |odr: |opmode : Normal|"
                                            "console_exit)[^\n]*\n)*"));
}

/// The screen after a run of the demonstration with these arguments.
inline shot shot_of(const board &on, std::vector<std::string> words,
                    const sim::screen &shown = sim::screen::of_size(640, 480),
                    const std::string &time = "14:32:08") {
  words.insert(words.end(), {"--time", time});
  application dashcam{on, dashcam_path, words};
  EXPECT_EQ(dashcam.finish(), 0);
  expect_only_progress(dashcam.errors());
  EXPECT_EQ(dashcam.output(), "");
  return {on, shown};
}

} // namespace dravik::test
