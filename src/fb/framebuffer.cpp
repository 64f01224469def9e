// Frame buffer device: opening, mapping, panel control and the screen information.

#include "fb/colour_table.hpp"
#include "fb/surface.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

extern "C" {
constinit int32_t fbfd = 0;
constinit uint8_t *fbp = nullptr;
constinit uint8_t *fbp0 = nullptr;
constinit uint32_t fbinfo[FBINFO_WORDS] = {};
constinit uint8_t image_buffer[DRAVIK_PLANE_WIDTH * DRAVIK_PLANE_HEIGHT] = {};
}

static_assert(sizeof fbinfo == 48, "applications copy the record as 12 words");

namespace dravik::fb {
namespace {

constexpr const char *device_path = "/dev/fb0";

/// What the device reported in fb_init(), kept for panning.
struct {
  fb_fix_screeninfo fixed;
  fb_var_screeninfo variable;
} constinit device = {};

[[noreturn]] void die(const char *message) noexcept {
  std::fputs(message, stderr);
  std::exit(EXIT_FAILURE);
}

void fill_record(const fb_fix_screeninfo &fixed, const fb_var_screeninfo &variable) noexcept {
  const uint32_t size = (variable.xres_virtual * variable.yres_virtual * variable.bits_per_pixel) >> 3;
  const uint32_t record[FBINFO_WORDS] = {
      fixed.line_length,
      variable.bits_per_pixel >> 3,
      size,
      0,
      variable.xres,
      variable.yres,
      variable.bits_per_pixel,
      0,
      variable.yres != 0 ? variable.yres_virtual / variable.yres : 0,
      size,
      variable.yres,
      0,
  };
  std::ranges::copy(record, fbinfo);
}

void open_screen() noexcept {
  fbfd = ::open(device_path, O_RDWR);
  // Intentional: only descriptor 0 is rejected; a failed open() makes the next ioctl() fail.
  if (fbfd == 0)
    die("error cannot open framebuffer device.\n");
  if (::ioctl(fbfd, FBIOGET_FSCREENINFO, &device.fixed) != 0)
    die("error reading fixed info\n");
  if (::ioctl(fbfd, FBIOGET_VSCREENINFO, &device.variable) != 0)
    die("error reading var info\n");
  fill_record(device.fixed, device.variable);

  void *mapping = ::mmap(nullptr, fbinfo[FBINFO_SCREEN_SIZE], PROT_READ | PROT_WRITE, MAP_SHARED, fbfd, 0);
  fbp = static_cast<uint8_t *>(mapping);
  if (mapping == MAP_FAILED)
    die("error: failed to map framebuffer device to memory.\n");
  fbp0 = fbp;
}

} // namespace
} // namespace dravik::fb

extern "C" {

void fb_init() noexcept {
  dravik::fb::open_screen();
  dravik::fb::build_color_table(DRAVIK_DEFAULT_THEME);
}

int fb_exit() noexcept {
  ::munmap(fbp0, fbinfo[FBINFO_SCREEN_SIZE]);
  return ::close(fbfd);
}

int fb_pan_display() noexcept {
  return ::ioctl(fbfd, FBIOPAN_DISPLAY, &dravik::fb::device.variable);
}

int fb_lcd_off() noexcept {
  return ::ioctl(fbfd, FBIOBLANK, FB_BLANK_NORMAL);
}

int fb_lcd_on() noexcept {
  return ::ioctl(fbfd, FBIOBLANK, FB_BLANK_UNBLANK);
}

void get_cam_fb_info(uint32_t *dst) noexcept {
  std::memcpy(dst, fbinfo, sizeof fbinfo);
}

void get_fb_buffer(uint32_t a, uint32_t b, uint8_t *dst) noexcept {
  if ((a | b) != 0)
    return;
  std::memcpy(dst, fbp + fbinfo[FBINFO_BUFFER_OFFSET], fbinfo[FBINFO_COPY_SIZE]);
}

void fb_put_pixel(uint32_t x, uint32_t y, uint16_t colour) noexcept {
  *dravik::fb::screen().at(dravik::fb::position_of(x, y)) = colour;
}

} // extern "C"
