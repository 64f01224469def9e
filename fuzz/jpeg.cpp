// JPEG images, on the screen and partly off it. Headers of enormous images are left to
// libjpeg's own tests: they cost time and memory before the library receives a row.

#include "rig.hpp"

namespace {

/// The number of pixels that the first frame header promises.
uint64_t promised_pixels(const uint8_t *data, size_t size) {
  for (size_t i = 0; i + 9 < size; ++i) {
    const bool is_frame = data[i] == 0xFF && data[i + 1] >= 0xC0 && data[i + 1] <= 0xCF &&
                          data[i + 1] != 0xC4 && data[i + 1] != 0xC8 && data[i + 1] != 0xCC;
    if (is_frame)
      return uint64_t{data[i + 5] * 256U + data[i + 6]} * (data[i + 7] * 256U + data[i + 8]);
  }
  return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (promised_pixels(data, size) > 1U << 20)
    return 0;
  dravik::fuzz::rig::the().file({data, size});
  const char *const name = dravik::fuzz::rig::file_name;
  fb_put_jpeg_file(0, 0, name, DRAVIK_TOP_LEFT);
  fb_put_jpeg_file(0xFFFFFFF0U, 110, name, DRAVIK_TOP_LEFT);
  return 0;
}
