// Bitmap fonts: glyphs at the ends of the font and a label.

#include "rig.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const char *path = dravik::fuzz::rig::the().file({data, size});
  psf_font_alloc(1, &path);
  for (const uint32_t code : {0U, 1U, 127U, 255U, 256U, 511U, 512U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    fb_putc(code, 0, 0, DRAVIK_WHITE, DRAVIK_BLACK, 0);
    fb_putc(code, 0, 0, DRAVIK_WHITE, DRAVIK_TRANSPARENT, 0);
  }
  // The application is responsible for a second cell, unless the font is larger than the screen.
  const bool holds_two = psf[0].width <= static_cast<int32_t>(dravik::fuzz::rig::width / 2);
  const bool oversized = psf[0].width > static_cast<int32_t>(dravik::fuzz::rig::width);
  if (holds_two || oversized)
    fb_printf(0, 0, DRAVIK_WHITE, DRAVIK_TRANSPARENT, 0, "a%c", 'b');
  psf_font_free();
  return 0;
}
