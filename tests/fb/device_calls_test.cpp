// The library's requests to the frame buffer device, call by call. This program interposes the C
// library's calls.

#include "dravik.h"
#include "support/call_watcher.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <linux/fb.h>
#include <string>
#include <sys/mman.h>
#include <vector>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int device_descriptor = 777;

/// A frame buffer that notes each call while it is plugged in.
struct watched_device : call_watcher {
  bool plugged_in = false;
  fb_fix_screeninfo fixed = {};
  fb_var_screeninfo variable = {};
  fb_var_screeninfo panned = {};
  uint8_t memory[4096] = {};
  std::vector<std::string> calls;

  int open(const char *path, int flags, mode_t mode) override {
    if (!plugged_in)
      return call_watcher::open(path, flags, mode);
    calls.push_back(std::string{"open "} + path + (flags == O_RDWR ? " O_RDWR" : " with other flags"));
    return device_descriptor;
  }

  int close(int descriptor) override {
    if (!plugged_in)
      return call_watcher::close(descriptor);
    calls.push_back("close " + std::to_string(descriptor));
    return 7;
  }

  int ioctl(int descriptor, unsigned long request, void *argument) override {
    if (!plugged_in)
      return call_watcher::ioctl(descriptor, request, argument);
    EXPECT_EQ(descriptor, device_descriptor);
    return answer(request, argument);
  }

  int answer(unsigned long request, void *argument) {
    switch (request) {
    case FBIOGET_FSCREENINFO:
      calls.emplace_back("fixed");
      std::memcpy(argument, &fixed, sizeof fixed);
      return 0;
    case FBIOGET_VSCREENINFO:
      calls.emplace_back("variable");
      std::memcpy(argument, &variable, sizeof variable);
      return 0;
    case FBIOPAN_DISPLAY:
      calls.emplace_back("pan");
      std::memcpy(&panned, argument, sizeof panned);
      return 5;
    case FBIOBLANK:
      calls.push_back("blank " + std::to_string(reinterpret_cast<uintptr_t>(argument)));
      return 6;
    default:
      calls.push_back("request " + std::to_string(request));
      return -1;
    }
  }
} device;

} // namespace
} // namespace dravik::test

extern "C" {

using namespace dravik::test;

void *mmap(void *address, size_t length, int protection, int flags, int descriptor, off_t offset) noexcept {
  if (!device.plugged_in)
    return next_call<void *(void *, size_t, int, int, int, off_t)>("mmap")(address, length, protection, flags,
                                                                           descriptor, offset);
  EXPECT_EQ(address, nullptr);
  EXPECT_EQ(protection, PROT_READ | PROT_WRITE);
  EXPECT_EQ(flags, MAP_SHARED);
  EXPECT_EQ(offset, 0);
  device.calls.push_back("mmap " + std::to_string(length) + " of " + std::to_string(descriptor));
  return device.memory;
}

int munmap(void *address, size_t length) noexcept {
  if (!device.plugged_in)
    return next_call<int(void *, size_t)>("munmap")(address, length);
  device.calls.push_back("munmap " + std::to_string(length) + " at " +
                         std::to_string(static_cast<uint8_t *>(address) - device.memory));
  return 0;
}

} // extern "C"

namespace dravik::test {
namespace {

/// The device is plugged in for the calls of the library alone, so that the test's own calls go their way.
template <class Call> auto watched(Call call) {
  device.calls.clear();
  device.plugged_in = true;
  struct unplug {
    ~unplug() { device.plugged_in = false; }
  } const at_end;
  return call();
}

class DeviceCalls : public testing::Test {
protected:
  DeviceCalls() {
    watcher = &device;
    device.fixed.line_length = 80;
    device.variable.xres = device.variable.xres_virtual = 33;
    device.variable.yres = device.variable.yres_virtual = 7;
    device.variable.bits_per_pixel = 16;
    device.variable.yoffset = 3;
    device.variable.pixclock = 12345;
    std::memset(device.variable.reserved, 0x6D, sizeof device.variable.reserved);
  }
};

TEST_F(DeviceCalls, OpensQueriesAndMapsInOrder) {
  watched(fb_init);
  EXPECT_THAT(device.calls, ElementsAre("open /dev/fb0 O_RDWR", "fixed", "variable", "mmap 462 of 777"));
  EXPECT_EQ(fbfd, device_descriptor);
  EXPECT_EQ(fbp, device.memory);
  EXPECT_EQ(fbp0, device.memory);
}

TEST_F(DeviceCalls, UnmapsThenCloses) {
  watched(fb_init);
  EXPECT_EQ(watched(fb_exit), 7);
  EXPECT_THAT(device.calls, ElementsAre("munmap 462 at 0", "close 777"));
}

TEST_F(DeviceCalls, UnmapsCurrentAddressAndSize) {
  watched(fb_init);
  fbp = nullptr; // drawing may have been led elsewhere
  fbp0 += 16;
  fbinfo[FBINFO_SCREEN_SIZE] = 100;
  watched(fb_exit);
  EXPECT_THAT(device.calls, ElementsAre("munmap 100 at 16", "close 777"));
}

TEST_F(DeviceCalls, PansWithScreenInformationOfInit) {
  watched(fb_init);
  const fb_var_screeninfo at_start_up = device.variable;
  device.variable.yoffset = 0;
  EXPECT_EQ(watched(fb_pan_display), 5);
  EXPECT_THAT(device.calls, ElementsAre("pan"));
  EXPECT_EQ(std::memcmp(&device.panned, &at_start_up, sizeof at_start_up), 0);
}

TEST_F(DeviceCalls, BlanksAndUnblanksPanel) {
  watched(fb_init);
  EXPECT_EQ(watched(fb_lcd_off), 6);
  EXPECT_THAT(device.calls, ElementsAre("blank 1"));
  EXPECT_EQ(watched(fb_lcd_on), 6);
  EXPECT_THAT(device.calls, ElementsAre("blank 0"));
}

TEST_F(DeviceCalls, DrawsWithoutRequests) {
  watched(fb_init);
  watched([] {
    fb_clear_screen(DRAVIK_RED);
    fb_put_rect(1, 1, 20, 5, DRAVIK_GREEN);
    fb_put_circle_fill(10, 4, 2, DRAVIK_BLUE);
    set_theme_color(0x1357);
    uint8_t copy[462];
    get_fb_buffer(0, 0, copy);
    return 0;
  });
  EXPECT_THAT(device.calls, IsEmpty());
}

/// Depths whose pixels are not whole bytes: bits are counted for the screen as a whole, bytes for a pixel
/// rounded down.
TEST_F(DeviceCalls, CountsSizeInBits) {
  device.variable.xres_virtual = 3;
  device.variable.yres_virtual = 3;
  device.variable.bits_per_pixel = 12;
  watched(fb_init);
  EXPECT_EQ(fbinfo[FBINFO_BYTES_PER_PIXEL], 1U);
  EXPECT_EQ(fbinfo[FBINFO_BITS_PER_PIXEL], 12U);
  EXPECT_EQ(fbinfo[FBINFO_SCREEN_SIZE], 13U); // 108 bits
  EXPECT_EQ(fbinfo[FBINFO_COPY_SIZE], 13U);
  EXPECT_EQ(fbinfo[FBINFO_BUFFER_COUNT], 0U); // 3 lines hold no screen of 7
}

TEST_F(DeviceCalls, WritesSpareWordsAndOffsetAsZero) {
  std::fill(std::begin(fbinfo), std::end(fbinfo), 99U);
  watched(fb_init);
  EXPECT_THAT(fbinfo, ElementsAre(80, 2, 462, 0, 33, 7, 16, 0, 1, 462, 7, 0));
}

TEST_F(DeviceCalls, CountsNoScreensWithoutLines) {
  device.variable.yres = 0;
  watched(fb_init);
  EXPECT_EQ(fbinfo[FBINFO_BUFFER_COUNT], 0U);
}

} // namespace
} // namespace dravik::test
