// The system calls of a reading of the accelerometer. Here the bus is a device that accepts and returns
// any byte.

#include "dravik.h"
#include "support/board.hpp"
#include "support/call_watcher.hpp"
#include "support/kernel_calls.hpp"
#include "support/stderr_capture.hpp"

#include <gmock/gmock.h>
#include <string_view>
#include <sys/syscall.h>

namespace dravik::test {
namespace {

/// The bus, past the simulator, which looks after each descriptor.
struct watched_bus : call_watcher {
  int descriptor = -1;

  int open(const char *path, int flags, mode_t mode) override {
    if (std::string_view{path} != "/dev/i2c-0")
      return call_watcher::open(path, flags, mode);
    return descriptor = call_watcher::open("/dev/zero", flags, mode);
  }
  int ioctl(int asked, unsigned long request, void *argument) override {
    return asked == descriptor && asked >= 0 ? 0 : call_watcher::ioctl(asked, request, argument);
  }
  ssize_t write(int asked, const void *data, size_t size) override {
    return ::syscall(SYS_write, asked, data, size);
  }
  ssize_t read(int asked, void *data, size_t size) override { return ::syscall(SYS_read, asked, data, size); }
} bus;

TEST(GsensorCalls, ReadsWithTwelveSystemCalls) {
  const board any;
  watcher = &bus;
  {
    stderr_capture reported;
    ASSERT_EQ(gsensor_init(), 0);
  }
  const kernel_call select = {SYS_write, static_cast<uint64_t>(bus.descriptor), 1};
  const kernel_call take = {SYS_read, static_cast<uint64_t>(bus.descriptor), 1};
  int32_t x, y, z;
  EXPECT_THAT(calls_of([&] { gsensor_get_data(&x, &y, &z); }),
              testing::ElementsAre(select, take, select, take, select, take, select, take, select, take,
                                   select, take));
}

} // namespace
} // namespace dravik::test
