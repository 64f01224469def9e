// The library's BMP drawing and the model's, side by side.
#pragma once

#include "image/bmp_model.hpp"
#include "support/bmp_maker.hpp"
#include "support/board.hpp"
#include "support/screen.hpp"
#include "support/stderr_capture.hpp"

#include <gtest/gtest.h>

namespace dravik::test {

/// A board, a screen and the model of both; the state that the library keeps from file to file starts as
/// random bytes.
class bmp_stage : public testing::Test {
protected:
  board board_;
  std::mt19937 random_{2024};
  std::optional<fake_screen> screen_{std::in_place, screen_shape{.xres = 96, .yres = 64, .padding = 6}};
  bmp_model model_;
  const std::string path_ = board_.path("picture.bmp");
  std::string said_; ///< what the last call wrote to standard error

  bmp_stage() {
    for (uint8_t &byte : model_.palette)
      byte = static_cast<uint8_t>(random_());
    for (uint8_t &byte : model_.image)
      byte = static_cast<uint8_t>(random_());
    std::copy(model_.palette.begin(), model_.palette.end(), palette);
    std::copy(model_.image.begin(), model_.image.end(), image);
  }

  void use_screen(const screen_shape &shape) { screen_.emplace(shape); }

  /// Draw a file and compare all results with the model. Return the result.
  int draw_and_compare(const bytes &content, uint32_t x = 0, uint32_t y = 0, uint32_t mode = DRAVIK_BMP_COPY,
                       uint8_t align = DRAVIK_TOP_LEFT) {
    write_file(path_, content);
    stderr_capture capture;
    const int result = fb_put_bmp_file(x, y, path_.c_str(), mode, align);
    said_ = capture.take();
    EXPECT_EQ(result, model_.draw_file(screen_->model(), {x, y, align}, path_, content, mode));
    EXPECT_EQ(said_, lines(model_.messages));
    EXPECT_TRUE(std::equal(model_.info.begin(), model_.info.end(), bmpinfo)) << "bmpinfo differs";
    EXPECT_TRUE(std::equal(model_.palette.begin(), model_.palette.end(), palette)) << "palette differs";
    EXPECT_TRUE(std::equal(model_.image.begin(), model_.image.end(), image)) << "image differs";
    EXPECT_TRUE(screen_->same());
    return result;
  }

  static std::string lines(const std::vector<std::string> &messages) {
    std::string text;
    for (const std::string &message : messages)
      text += message + '\n';
    return text;
  }

  /// An image of random pixels, with a palette of random colours if its depth has one.
  bmp_maker random_picture(uint16_t bits, uint32_t width, uint32_t height) {
    bmp_maker made = {width, height, bits};
    if (bits <= 8)
      made.palette = random_bytes(random_, size_t{4} << bits);
    if (bits < 8)
      made.important_colours = 1U << bits;
    return made.with_random_pixels(random_);
  }
};

using depths = std::initializer_list<uint16_t>;
constexpr uint16_t drawn_depths[] = {1, 4, 8, 16, 24, 32};

} // namespace dravik::test
