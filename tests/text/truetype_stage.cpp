#include "text/truetype_stage.hpp"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace dravik::test {
namespace {

bool is_drawing = false;

/// A size that is too large ends the process with success, which must not pass for the success of a test.
struct exit_watch {
  ~exit_watch() {
    if (is_drawing) {
      std::puts("the process was ended by drawing a text");
      std::fflush(stdout);
      ::_exit(EXIT_FAILURE);
    }
  }
} const watching_exits;

} // namespace

bytes little_endian(const std::u16string &text) {
  bytes made;
  for (const char16_t unit : text + u'\0') {
    made.push_back(static_cast<uint8_t>(unit));
    made.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return made;
}

size_t open_descriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(open), end(open)));
}

page_end::page_end(const bytes &content)
    : memory_(content.size()), data_(memory_.last(content.size()).data()) {
  std::ranges::copy(content, data_);
}

text_stage::text_stage(const screen_shape &shape) : screen_(shape) {
  model_.width = str_width;
  model_.height = str_height;
  for (size_t i = 0; i < std::size(gc); ++i)
    gc[i] = static_cast<uint16_t>(0x4000 + i); // each entry its own colour, so that no ramp is like another
}

text_stage::~text_stage() {
  std::copy(std::begin(fonts_before_), std::end(fonts_before_), ttf_font_file);
}

testing::AssertionResult text_stage::agree(const text_call &call) {
  return agree_at(page_end(little_endian(call.text)).data(), call);
}

testing::AssertionResult text_stage::agree_at(const void *text, const text_call &call) {
  ttf_font_file[0] = call.font.c_str();
  const size_t descriptors = open_descriptors();
  int result;
  {
    stderr_capture capture;
    is_drawing = true;
    result = put_unicode_string(call.x, call.y, text, call.font_size, 0, call.fg, call.bg, call.align);
    is_drawing = false;
    said_ = capture.take();
  }
  if (result != 0)
    return testing::AssertionFailure() << "the result is " << result;
  if (const size_t left = open_descriptors(); left != descriptors)
    return testing::AssertionFailure() << left << " descriptors are open, there were " << descriptors;
  if (const auto same = results(call, model_.draw(call, screen_.model())); !same)
    return same;
  return screen_.same();
}

testing::AssertionResult text_stage::results(const text_call &call, const std::string &expected) {
  if (said_ != expected)
    return testing::AssertionFailure()
           << "standard error says '" << said_ << "' in place of '" << expected << "'";
  if (unicode_len != static_cast<int32_t>(model_.units.size()))
    return testing::AssertionFailure() << "unicode_len is " << unicode_len << " of " << call.text.size();
  const bytes units = little_endian(model_.units);
  if (!std::equal(unicode, unicode + std::min(units.size(), std::size(unicode)), units.begin()))
    return testing::AssertionFailure() << "unicode differs from the text";
  const text_model::box box = {sx, sy, ex, ey}, &right = model_.measured;
  if (box != right)
    return testing::AssertionFailure()
           << "the box is " << sx << ' ' << sy << ' ' << ex << ' ' << ey << " in place of " << right.left
           << ' ' << right.top << ' ' << right.right << ' ' << right.bottom;
  if (str_width != model_.width || str_height != model_.height)
    return testing::AssertionFailure() << "the size is " << str_width << " by " << str_height
                                       << " in place of " << model_.width << " by " << model_.height;
  const auto cell = std::mismatch(model_.plane.begin(), model_.plane.end(), image_buffer).first;
  if (cell != model_.plane.end())
    return testing::AssertionFailure()
           << "cell " << cell - model_.plane.begin() << " of the plane is not " << int{*cell};
  return testing::AssertionSuccess();
}

testing::AssertionResult text_stage::draws(const text_call &call) {
  const auto agreed = agree(call);
  if (agreed && model_.pixels == 0)
    return testing::AssertionFailure() << "nothing was drawn";
  return agreed;
}

testing::AssertionResult text_stage::draws_nothing(const text_call &call, const std::string &message) {
  const auto agreed = agree(call);
  if (agreed && said_ != message)
    return testing::AssertionFailure()
           << "standard error says '" << said_ << "' in place of '" << message << "'";
  if (agreed && model_.pixels != 0)
    return testing::AssertionFailure() << model_.pixels << " pixels were drawn";
  return agreed;
}

testing::AssertionResult text_stage::shows(uint32_t x, uint32_t y, uint16_t colour) {
  const int is = screen_.drawn().get(x, y);
  if (is == colour)
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the pixel " << x << ", " << y << " is " << is << " in place of "
                                     << colour;
}

} // namespace dravik::test
