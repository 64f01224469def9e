// Packed artwork: every image of an archive, opaque and transparent. Images that fit on the screen are put
// at its origin, as an application would; larger ones are the library's care.

#include "rig.hpp"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const char *path = dravik::fuzz::rig::the().file({data, size});
  q7bmp_alloc(1, &path);
  const auto count = static_cast<int32_t>(std::min<uint32_t>(get_q7bmp_str_num(0), 64));
  for (int32_t index = -1; index <= count; ++index) {
    fb_q7bmp_show(0, 0, 0, index, DRAVIK_RED, DRAVIK_WHITE, DRAVIK_TOP_LEFT);
    fb_q7bmp_show(0, 0, 0, index, DRAVIK_WHITE, DRAVIK_TRANSPARENT, DRAVIK_CENTRE);
  }
  q7bmp_free();
  return 0;
}
