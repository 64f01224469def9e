// A plain, slow reader of BMP files in memory slots.
#pragma once

#include "support/bytes.hpp"
#include "support/screen.hpp"

#include <array>

namespace dravik::test {

constexpr uint16_t key = 0xF81F;

/// What a call is expected to give.
struct slot_model {
  std::array<uint32_t, 7> info = {};
  std::vector<std::string> messages;

  int draw(model_plane on, uint32_t x, uint32_t y, int32_t slot, bytes file, int32_t mode, uint8_t align) {
    messages.clear();
    file.resize(file.size() / 256 * 256 + 256);
    if (file[0] != 'B' || file[1] != 'M')
      return fail("BMP type err, bmp_mem_idx=%d", {slot});
    const int64_t width = get_u32(file, 18), height = get_u32(file, 22), xres = fbinfo[FBINFO_XRES],
                  yres = fbinfo[FBINFO_YRES];
    if (width > xres || height > yres)
      return fail("BMP image size is too big : %d x %d, fb size : %dx%d", {width, height, xres, yres});
    const int64_t left = align == 1 || align == 3 ? centred(x, width) : static_cast<int32_t>(x);
    const int64_t top = align == 2 || align == 3 ? centred(y, height) : static_cast<int32_t>(y);
    if (wrapped(left + width) > xres || wrapped(top + height) > yres) {
      add("BMP image is out of range!", {});
      add("Canvas size : %4d x %4d (%4d,%4d)-->(%4d,%4d)", {xres, yres, 0, 0, xres - 1, yres - 1});
      return fail("Image size : %4d x %4d (%4d,%4d)-->(%4d,%4d)",
                  {width, height, left, top, left + width - 1, top + height - 1});
    }
    const bool is_drawn = (get_u32(file, 28) & 0xFFFF) == 16 && mode >= 0 && mode <= 2;
    const int64_t stride = mode == 0 ? (width + 1) / 2 * 4 : width * 2, start = get_u32(file, 10);
    if (is_drawn && start + stride * height > static_cast<int64_t>(file.size()))
      return fail("BMP data err, bmp_mem_idx=%d", {slot});
    info = {get_u32(file, 18), get_u32(file, 22), get_u32(file, 28) & 0xFFFF, get_u32(file, 2),
            get_u32(file, 34), get_u32(file, 14), get_u32(file, 10)};
    for (int64_t row = 0; is_drawn && row < height; ++row)
      for (int64_t column = 0; column < stride / 2; ++column) {
        const auto at = static_cast<size_t>(start + row * stride + column * 2);
        put(on, left + column, top + height - 1 - row, static_cast<uint16_t>(file[at] | file[at + 1] << 8),
            mode);
      }
    return 0;
  }

private:
  static void put(model_plane on, int64_t x, int64_t y, uint16_t colour, int32_t mode) {
    if (mode == 0 && lies_in_memory(x, y))
      on.put(x, y, colour);
    if (mode == 1 && colour != key)
      on.put(x, y, colour);
    if (mode == 2 && colour != key && colour != 0)
      on.put(x, y, 0x7BCF);
  }

  static int64_t wrapped(int64_t sum) { return static_cast<uint32_t>(sum); }

  static int64_t centred(uint32_t at, int64_t size) {
    return static_cast<int32_t>(at) > size / 2 ? at - size / 2 : 0;
  }

  void add(const char *format, std::array<int64_t, 6> values) {
    std::array<int, 6> v;
    for (size_t i = 0; i < v.size(); ++i)
      v[i] = static_cast<int>(static_cast<uint32_t>(values[i]));
    char line[200];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(line, sizeof line, format, v[0], v[1], v[2], v[3], v[4], v[5]);
#pragma GCC diagnostic pop
    messages.push_back(line);
  }

  int fail(const char *format, std::array<int64_t, 6> values) {
    add(format, values);
    return -1;
  }
};

} // namespace dravik::test
