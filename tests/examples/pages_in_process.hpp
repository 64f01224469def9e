// The demonstration's pages in the process of a test, on a panel of its own.
#pragma once

#include "examples/demonstration.hpp"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow" // in C, a function may have the name of a structure
extern "C" {
#include "board.h"
#include "camera.h"
#include "film.h"
#include "navigation.h"
#include "notices.h"
#include "progress.h"
#include "question.h"
#include "recordings.h"
#include "ride.h"
#include "settings.h"
#include "text.h"
}
#pragma GCC diagnostic pop

namespace dravik::test {

// Their names are also those of functions.
using phrase_id = enum ::phrase;
using notice_id = enum ::notice;

/// A board with a card, its screen mapped and the artwork loaded.
class pages_in_process {
public:
  explicit pages_in_process(uint32_t width, uint32_t height) : on_(sim::screen::of_size(width, height)) {
    ::fb_init();
    ::load_settings();
    EXPECT_EQ(::canvas_open(), 0);
    EXPECT_TRUE(::text_is_ready());
    look();
    ::ride_go_on(52328, 0, 0);
  }
  ~pages_in_process() {
    ::question_close();
    ::choose_language(0);
    ::canvas_close();
    ::fb_exit();
  }
  pages_in_process(const pages_in_process &) = delete;
  pages_in_process &operator=(const pages_in_process &) = delete;

  const recording_board &on() const { return on_; }
  static void look() {
    ::board_look_around();
    ::camera_set_state();
  }
  std::string log() const { return on_.read("tmp/dravik.log"); }

private:
  recording_board on_;
};

} // namespace dravik::test
