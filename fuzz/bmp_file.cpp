// BMP files in every mode; the first byte chooses the mode and the alignment.

#include "rig.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0)
    return 0;
  const char *path = dravik::fuzz::rig::the().file({data + 1, size - 1});
  fb_put_bmp_file(0, 0, path, data[0] & 3, static_cast<uint8_t>(data[0] >> 2 & 3));
  fb_put_bmp_file(80, 60, path, data[0] & 3, DRAVIK_CENTRE);
  return 0;
}
