// The message that brings a page up to date with the screen.

#include "panel/frame_message.hpp"
#include "panel/message.hpp"

namespace dravik::sim::message {
namespace {

void add_area(const screen_image &image, const frame_history::area &part, std::string &text) {
  for (const uint32_t number : {part.x, part.y, part.width, part.height})
    add_number(text, number, 2);
  const size_t pixel = image.bytes_per_pixel;
  for (uint32_t y = part.y; y < part.y + part.height; ++y)
    text.append(reinterpret_cast<const char *>(image.pixels.data()) + y * image.line_bytes() + part.x * pixel,
                part.width * pixel);
}

} // namespace

std::string changes_since(const frame_history &frames, uint32_t seen) {
  const screen_image &image = frames.latest();
  std::string text;
  add_number(text, static_cast<uint32_t>(kind::frame), 1);
  add_number(text, image.bytes_per_pixel, 1);
  add_number(text, image.width, 2);
  add_number(text, image.height, 2);
  add_number(text, 0, 2);
  add_number(text, frames.number(), 4);
  for (const frame_history::area &part : frames.changes_since(seen))
    add_area(image, part, text);
  return text;
}

} // namespace dravik::sim::message
