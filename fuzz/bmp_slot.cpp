// BMP files in memory, in every mode.

#include "rig.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  dravik::fuzz::rig::the().file({data, size});
  const char *const name = dravik::fuzz::rig::file_name;
  bmp_mem_alloc(1, "/usr/local/dravik/jpg", &name);
  for (int32_t mode = 0; mode < 4; ++mode)
    bmp_mem_show(80, 60, 0, mode, static_cast<uint8_t>(mode));
  bmp_mem_free();
  return 0;
}
