// Packed artwork drawn by the library and by a plain model, side by side.
#pragma once

#include "dravik.h"
#include "support/archive_maker.hpp"
#include "support/board.hpp"
#include "support/log_lines.hpp"
#include "support/screen.hpp"
#include "support/stderr_capture.hpp"

#include <gtest/gtest.h>

namespace dravik::test {

using strings = std::vector<std::string>;

/// A board, a screen, and a colour table of 464 different colours, so that tests distinguish all ramps.
class archive_stage : public testing::Test {
protected:
  board board_;
  std::mt19937 random_{99};
  std::optional<fake_screen> screen_{std::in_place, screen_shape{.xres = 400, .yres = 60, .padding = 6}};
  std::string said_; ///< what the last load wrote to standard error

  archive_stage() {
    for (size_t i = 0; i < std::size(gc); ++i)
      gc[i] = static_cast<uint16_t>(0x8000 + i * 3);
  }

  void use_screen(const screen_shape &shape) { screen_.emplace(shape); }

  std::string file(const std::string &name, const bytes &content) const {
    write_file(board_.path(name), content);
    return board_.path(name);
  }

  strings messages() const { return log_messages(board_.path("tmp/dravik.log")); }

  int load(int32_t count, const strings &paths) {
    std::vector<const char *> pointers;
    for (const std::string &path : paths)
      pointers.push_back(path.c_str());
    stderr_capture capture;
    const int result = q7bmp_alloc(count, pointers.data());
    said_ = capture.take();
    return result;
  }

  /// Make an archive the only one and frees the one before.
  void use(const archive_maker &maker) {
    std::free(q7bmp_ptr[0]);
    load(1, {file("art", maker.file())});
    ASSERT_NE(q7bmp_ptr[0], nullptr);
  }

  void paint_model(const art_image &image, uint32_t x, uint32_t y, int ramp, bool transparent) {
    for (uint32_t row = 0; row < image.height; ++row)
      for (uint32_t column = 0; column < image.width; ++column)
        if (const uint8_t level = image.level(column, row); level != 0 || !transparent)
          screen_->model().put(x + column, y + row, gc[ramp * DRAVIK_RAMP_STEPS + level]);
  }

  ~archive_stage() override {
    for (size_t slot = 0; slot < std::size(q7bmp_ptr); ++slot) {
      std::free(q7bmp_ptr[slot]);
      q7bmp_ptr[slot] = nullptr;
      q7bmp_str_num[slot] = 0;
    }
    q7bmp_ptr_num = 0;
  }
};

} // namespace dravik::test
