// A screen in plain memory for drawing tests, next to a model of it.

#include "support/screen.hpp"
#include "png/png_file.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>

namespace dravik::test {
namespace {

/// Differs from its neighbours on all sides, and is none of the named colours nor of the gradient.
uint16_t marker(size_t pixel) noexcept {
  return static_cast<uint16_t>(((pixel * 0x9E37 >> 3 & 0xFFFF) | 0x8421) & ~size_t{2});
}

uint16_t pixel_of(const std::vector<uint8_t> &memory, size_t pixel) noexcept {
  uint16_t colour;
  std::memcpy(&colour, memory.data() + pixel * 2, sizeof colour);
  return colour;
}

/// The name of the running test as a file name.
std::string test_name() {
  const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
  std::string name = test != nullptr ? std::string{test->test_suite_name()} + "." + test->name() : "screen";
  std::ranges::replace(name, '/', '_');
  return name;
}

void append_rgba(std::vector<uint8_t> &rgba, uint16_t colour) {
  const auto widened = [](int value, int most) { return static_cast<uint8_t>(value * 255 / most); };
  rgba.insert(rgba.end(),
              {widened(colour >> 11, 31), widened(colour >> 5 & 63, 63), widened(colour & 31, 31), 255});
}

void write_picture(const std::string &path, const png::picture &picture) {
  std::string error;
  if (!png::write(path, picture, error))
    std::fprintf(stderr, "%s\n", error.c_str());
}

} // namespace

uint8_t *model_plane::at(int64_t x, int64_t y) const noexcept {
  const int64_t offset = static_cast<int64_t>(origin_) + y * line_length_ + x * 2;
  if (offset < 0 || offset + 2 > static_cast<int64_t>(memory_->size())) {
    std::fprintf(stderr, "the model's pixel (%lld, %lld) lies beyond the guards\n", static_cast<long long>(x),
                 static_cast<long long>(y));
    std::abort();
  }
  return memory_->data() + offset;
}

void model_plane::put(int64_t x, int64_t y, uint16_t colour) const noexcept {
  std::memcpy(at(x, y), &colour, sizeof colour);
}

uint16_t model_plane::get(int64_t x, int64_t y) const noexcept {
  uint16_t colour;
  std::memcpy(&colour, at(x, y), sizeof colour);
  return colour;
}

fake_screen::fake_screen(const screen_shape &shape)
    : shape_(shape), line_length_(shape.xres * 2 + shape.padding),
      origin_(size_t{shape.guard_lines} * line_length_) {
  origin_ = (origin_ + 3) / 4 * 4 + shape.misalignment; // a vector's memory begins on such a boundary
  drawn_.resize(origin_ + size_t{line_length_} * (shape.yres + shape.guard_lines));
  reset();
  use();
}

fake_screen::~fake_screen() {
  if (fbp == drawn_.data() + origin_)
    fbp = fbp0 = nullptr;
}

void fake_screen::use() const noexcept {
  fbp = fbp0 = const_cast<uint8_t *>(drawn_.data()) + origin_;
  const uint32_t size = line_length_ * shape_.yres;
  const uint32_t record[FBINFO_WORDS] = {line_length_, 2, size, 0,    shape_.xres, shape_.yres,
                                         16,           0, 1,    size, shape_.yres, 0};
  std::copy(std::begin(record), std::end(record), fbinfo);
}

void fake_screen::reset() noexcept {
  for (size_t i = 0; i < drawn_.size() / 2; ++i) {
    const uint16_t colour = marker(i);
    std::memcpy(drawn_.data() + i * 2, &colour, sizeof colour);
  }
  model_ = drawn_;
}

bool fake_screen::is_marker(size_t pixel) const noexcept {
  return pixel_of(drawn_, pixel) == marker(pixel);
}

std::string fake_screen::place_of(size_t pixel) const {
  const auto from_origin = static_cast<int64_t>(pixel * 2) - static_cast<int64_t>(origin_);
  const int64_t lines =
      line_length_ == 0 ? 0 : (from_origin - (from_origin < 0 ? line_length_ - 1 : 0)) / line_length_;
  const int64_t column = (from_origin - lines * line_length_) / 2;
  std::ostringstream text;
  text << "(" << column << ", " << lines << ")";
  if (lines < 0)
    text << " before the screen";
  else if (lines >= shape_.yres)
    text << " after the screen";
  else if (column >= shape_.xres)
    text << " in the padding";
  return text.str();
}

testing::AssertionResult fake_screen::same() {
  if (drawn_ == model_)
    return testing::AssertionSuccess();
  constexpr size_t most_listed = 8;
  std::ostringstream text;
  size_t count = 0;
  for (size_t i = 0; i < drawn_.size() / 2; ++i) {
    const uint16_t is = pixel_of(drawn_, i), should_be = pixel_of(model_, i);
    if (is == should_be || ++count > most_listed)
      continue;
    char line[80];
    std::snprintf(line, sizeof line, " is 0x%04X%s, should be 0x%04X%s\n", is,
                  is == marker(i) ? " (as before)" : "", should_be,
                  should_be == marker(i) ? " (as before)" : "");
    text << "pixel " << place_of(i) << line;
  }
  write_pictures();
  model_ = drawn_;
  return testing::AssertionFailure() << count << " pixels differ:\n" << text.str();
}

void fake_screen::write_pictures() const {
  png::picture actual{shape_.xres, shape_.yres, {}}, difference = actual;
  for (uint32_t y = 0; y < shape_.yres; ++y)
    for (uint32_t x = 0; x < shape_.xres; ++x) {
      const size_t i = (origin_ + size_t{y} * line_length_) / 2 + x;
      const uint16_t is = pixel_of(drawn_, i), should_be = pixel_of(model_, i);
      append_rgba(actual.rgba, is);
      append_rgba(difference.rgba, is == should_be ? 0 : is == marker(i) ? 0xF800 : 0xFFFF);
    }
  if (actual.rgba.empty())
    return;
  write_picture(test_name() + "_actual.png", actual);
  write_picture(test_name() + "_diff.png", difference);
}

std::string fake_screen::drawing(uint16_t colour) {
  std::string text;
  size_t visible_painted = 0;
  for (uint32_t y = 0; y < shape_.yres; ++y) {
    for (uint32_t x = 0; x < shape_.xres; ++x) {
      const size_t i = (origin_ + size_t{y} * line_length_) / 2 + x;
      text += is_marker(i) ? '.' : pixel_of(drawn_, i) == colour ? '#' : '?';
      visible_painted += !is_marker(i);
    }
    text += '\n';
  }
  return painted().size() == visible_painted ? text : text + "(astray)\n";
}

std::vector<std::pair<int, int>> fake_screen::painted() {
  std::vector<std::pair<int, int>> places;
  const auto line_pixels = static_cast<int64_t>(line_length_ / 2);
  const auto first_line = static_cast<int64_t>(shape_.guard_lines) + 1;
  for (size_t i = 0; i < drawn_.size() / 2; ++i) {
    if (is_marker(i))
      continue;
    // Counted from a line before all of the memory, so that the division rounds down.
    const int64_t from =
        static_cast<int64_t>(i) - static_cast<int64_t>(origin_ / 2) + first_line * line_pixels;
    places.emplace_back(static_cast<int>(from % line_pixels),
                        static_cast<int>(from / line_pixels - first_line));
  }
  return places;
}

} // namespace dravik::test
