// The library's image slots and a model of them, side by side.
#pragma once

#include "image/bmp_model.hpp"
#include "support/bmp_maker.hpp"
#include "support/board.hpp"
#include "support/descriptors.hpp"
#include "support/log_lines.hpp"
#include "support/screen.hpp"

#include <gmock/gmock.h>
#include <optional>
#include <random>

namespace dravik::test {

/// A board with a directory of images, a screen, and the model of both.
class slot_stage : public testing::Test {
protected:
  board board_;
  std::mt19937 random_{4711};
  std::optional<fake_screen> screen_{std::in_place, screen_shape{.xres = 96, .yres = 64, .padding = 6}};
  bmp_model model_;
  std::vector<bytes> files_;

  slot_stage() {
    board_.write("pictures/.keep", "");
    for (size_t i = 0; i < model_.info.size(); ++i)
      bmpinfo[i] = model_.info[i] = static_cast<uint32_t>(random_());
  }
  ~slot_stage() override {
    bmp_mem_free();
    bmp_mem_num = 0;
  }

  void use_screen(const screen_shape &shape) { screen_.emplace(shape); }

  /// Load files into the slots from 0 on, in place of those loaded before.
  void load(const std::vector<bytes> &files) {
    bmp_mem_free();
    files_ = files;
    std::vector<std::string> names;
    std::vector<const char *> pointers;
    for (size_t i = 0; i < files.size(); ++i) {
      names.push_back(std::to_string(i) + ".bmp");
      write_file(folder() + "/" + names.back(), files[i]);
    }
    for (const std::string &name : names)
      pointers.push_back(name.c_str());
    bmp_mem_alloc(static_cast<int32_t>(files.size()), folder().c_str(), pointers.data());
  }

  /// Draw a slot that load() filled and compare all results with the model. Return the result.
  int show_and_compare(uint32_t x = 0, uint32_t y = 0, int32_t slot = 0, int32_t mode = DRAVIK_BMP_COPY,
                       uint8_t align = DRAVIK_TOP_LEFT) {
    const int result = bmp_mem_show(x, y, slot, mode, align);
    EXPECT_EQ(result, model_.draw_slot(screen_->model(), {x, y, align}, static_cast<uint32_t>(slot),
                                       files_.at(static_cast<size_t>(slot)), mode));
    EXPECT_EQ(logged(), model_.messages);
    expect_info();
    EXPECT_TRUE(screen_->same());
    return result;
  }

  /// Expect a failure that neither draws nor changes the values of the last image.
  void expect_refused(int32_t slot, const std::string &message) {
    EXPECT_EQ(bmp_mem_show(0, 0, slot, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), -1);
    EXPECT_THAT(logged(), testing::ElementsAre(message));
    expect_info();
    EXPECT_TRUE(screen_->same());
  }

  void expect_info() const {
    EXPECT_TRUE(std::equal(model_.info.begin(), model_.info.end(), bmpinfo)) << "bmpinfo differs";
  }

  /// The messages of the event log since the last time, without the stamps.
  std::vector<std::string> logged() const {
    const std::string log = board_.path("tmp/dravik.log");
    const auto messages = log_messages(log);
    if (!messages.empty())
      board_.remove("tmp/dravik.log");
    return messages;
  }

  std::string folder() const { return board_.path("pictures"); }

  bmp_maker random_picture(uint32_t width, uint32_t height, uint16_t bits = 16) {
    return bmp_maker{.width = width, .height = height, .bits = bits}.with_random_pixels(random_);
  }

  void put_pixel(int64_t x, int64_t y, uint16_t colour) { screen_->model().put(x, y, colour); }
};

} // namespace dravik::test
