// The frame buffer: dev/fb0 of the board is its memory, board.conf its geometry, `panel` the visible part.

#include "board/board_files.hpp"
#include "board/preserve_errno.hpp"
#include "board/screen.hpp"
#include "preload/device.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <linux/fb.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

/// Of its plain file: that of the largest screen that `dravik-sim new` creates.
constexpr uint64_t largest_memory = uint64_t{16384} * 4 * 16384;

screen current_screen() noexcept {
  return read_screen(board_text{"board.conf"});
}
panel current_panel() noexcept {
  return read_panel(board_text{"panel"});
}

void keep(const panel &state) noexcept {
  char text[96];
  const int length = std::snprintf(text, sizeof text, "xoffset=%u\nyoffset=%u\nblank=%u\n", state.xoffset,
                                   state.yoffset, state.blank);
  write_board_text("panel", {text, static_cast<size_t>(length)});
}

/// The plain file is shorter than the settings require if they were edited.
int grow_to_full_memory(int descriptor, int) noexcept {
  const preserve_errno unchanged;
  struct stat status;
  const uint64_t bytes = current_screen().memory_bytes();
  const auto size = static_cast<off_t>(std::min(bytes, largest_memory));
  if (bytes > largest_memory)
    record_event("fb0: memory limited to %llu bytes", static_cast<unsigned long long>(largest_memory));
  if (::fstat(descriptor, &status) != 0 || status.st_size >= size)
    return descriptor;
  if (!set_board_file_length("dev/fb0", size))
    record_event("fb0: memory cannot grow to %lld bytes", static_cast<long long>(size));
  return descriptor;
}

struct colour_fields {
  fb_bitfield red, green, blue, transparent;
};

colour_fields colour_fields_of(uint32_t bits_per_pixel) noexcept {
  if (bits_per_pixel < 24)
    return {{11, 5, 0}, {5, 6, 0}, {0, 5, 0}, {}};
  const uint32_t spare_bits = bits_per_pixel - 24;
  return {{16, 8, 0}, {8, 8, 0}, {0, 8, 0}, {spare_bits != 0 ? 24U : 0U, spare_bits, 0}};
}

fb_fix_screeninfo fixed_information() noexcept {
  const screen shown = current_screen();
  fb_fix_screeninfo fixed = {};
  std::strcpy(fixed.id, "simulated");
  fixed.smem_len = static_cast<uint32_t>(shown.memory_bytes());
  fixed.type = FB_TYPE_PACKED_PIXELS;
  fixed.visual = FB_VISUAL_TRUECOLOR;
  fixed.xpanstep = fixed.ypanstep = 1; // as in the kernel, even if all of the memory is visible
  fixed.line_length = shown.line_length;
  return fixed;
}

fb_var_screeninfo variable_information() noexcept {
  const screen shown = current_screen();
  const panel state = current_panel();
  const colour_fields fields = colour_fields_of(shown.bits_per_pixel);
  fb_var_screeninfo variable = {};
  variable.xres = shown.xres;
  variable.yres = shown.yres;
  variable.xres_virtual = shown.xres_virtual;
  variable.yres_virtual = shown.yres_virtual;
  variable.xoffset = state.xoffset;
  variable.yoffset = state.yoffset;
  variable.bits_per_pixel = shown.bits_per_pixel;
  variable.red = fields.red;
  variable.green = fields.green;
  variable.blue = fields.blue;
  variable.transp = fields.transparent;
  variable.height = variable.width = UINT32_MAX; // in millimetres: unknown
  return variable;
}

template <typename Record> long copy_record(uintptr_t argument, const Record &record) noexcept {
  if (argument == 0)
    return -EFAULT;
  *reinterpret_cast<Record *>(argument) = record;
  return 0;
}

long pan(int, uintptr_t argument) noexcept {
  if (argument == 0)
    return -EFAULT;
  const auto *wanted = reinterpret_cast<const fb_var_screeninfo *>(argument);
  const screen shown = current_screen();
  record_event("fb0: pan %u %u", wanted->xoffset, wanted->yoffset);
  if (uint64_t{wanted->xoffset} + shown.xres > shown.xres_virtual ||
      uint64_t{wanted->yoffset} + shown.yres > shown.yres_virtual)
    return -EINVAL;
  panel state = current_panel();
  state.xoffset = wanted->xoffset;
  state.yoffset = wanted->yoffset;
  keep(state);
  return 0;
}

long blank(int, uintptr_t level) noexcept {
  record_event("fb0: blank %lu", static_cast<unsigned long>(level));
  panel state = current_panel();
  state.blank =
      static_cast<uint32_t>(std::min<uintptr_t>(level, FB_BLANK_POWERDOWN)); // limited as in the kernel
  keep(state);
  return 0;
}

constexpr request_kind requests[] = {
    {FBIOGET_FSCREENINFO, "fscreeninfo",
     [](int, uintptr_t into) { return copy_record(into, fixed_information()); }},
    {FBIOGET_VSCREENINFO, "vscreeninfo",
     [](int, uintptr_t into) { return copy_record(into, variable_information()); }},
    {FBIOPAN_DISPLAY, "pan", pan},
    {FBIOBLANK, "blank", blank},
};

/// A mapping may extend to the end of the last page of the memory.
int check_mapping(uint64_t length, uint64_t offset) noexcept {
  const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
  const uint64_t end = (current_screen().memory_bytes() + page - 1) / page * page;
  const uint64_t pages_mapped = (length + page - 1) / page * page;
  return offset > end || pages_mapped > end - offset ? -EINVAL : 0;
}

} // namespace

constinit const device frame_buffer = checked({.entry = entry_of("/dev/fb0"),
                                               .requests = requests,
                                               .opened = grow_to_full_memory,
                                               .map = check_mapping});

} // namespace dravik::sim
