// The simulated frame buffer, as an application meets it.

#include "sim/library_call.hpp"
#include "support/board.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/fb.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using dravik::sim::screen;
using testing::ElementsAre;

class SimFrameBuffer : public testing::Test {
protected:
  void open_it(int flags = O_RDWR) {
    descriptor = ::open("/dev/fb0", flags);
    ASSERT_GE(descriptor, 0);
  }
  fb_fix_screeninfo checked_fixed_info() const {
    fb_fix_screeninfo info = {};
    EXPECT_EQ(::ioctl(descriptor, FBIOGET_FSCREENINFO, &info), 0);
    return info;
  }
  fb_var_screeninfo checked_variable_info() const {
    fb_var_screeninfo info = {};
    EXPECT_EQ(::ioctl(descriptor, FBIOGET_VSCREENINFO, &info), 0);
    return info;
  }
  void *map(size_t length, off_t offset = 0) const {
    return ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, offset);
  }
  ~SimFrameBuffer() override { ::close(descriptor); }

  int descriptor = -1;
};

TEST_F(SimFrameBuffer, ReportsTheGeometryOfTheSettings) {
  const board board{screen{320, 240, 400, 500, 16, 1024}};
  open_it();
  EXPECT_EQ(checked_fixed_info().line_length, 1024U);
  EXPECT_EQ(checked_fixed_info().smem_len, 1024U * 500U);
  const fb_var_screeninfo info = checked_variable_info();
  EXPECT_EQ(info.xres, 320U);
  EXPECT_EQ(info.yres, 240U);
  EXPECT_EQ(info.xres_virtual, 400U);
  EXPECT_EQ(info.yres_virtual, 500U);
  EXPECT_EQ(info.bits_per_pixel, 16U);
  EXPECT_EQ(info.red.offset, 11U);
  EXPECT_EQ(info.green.length, 6U);
}

TEST_F(SimFrameBuffer, DrawsIntoPlainFile) {
  const board board{64, 32};
  open_it();
  auto *pixels = static_cast<uint16_t *>(map(64 * 32 * 2));
  ASSERT_NE(pixels, MAP_FAILED);
  pixels[5 * 64 + 7] = 0xF800;
  ::munmap(pixels, 64 * 32 * 2);
  EXPECT_EQ(board.pixels().at(5 * 64 + 7), 0xF800);
  EXPECT_EQ(board.pixels().at(5 * 64 + 8), 0);
}

TEST_F(SimFrameBuffer, EndsMappingWithLastPage) {
  const board board{64, 33}; // 4224 bytes: two pages
  open_it();
  void *two_pages = map(8192);
  EXPECT_NE(two_pages, MAP_FAILED);
  ::munmap(two_pages, 8192);
  EXPECT_EQ(map(8193), MAP_FAILED);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(map(8192, 4096), MAP_FAILED);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(SimFrameBuffer, RecordsWhatThePanelIsAskedToDo) {
  const board board{screen{64, 32, 64, 64, 16, 128}};
  open_it();
  fb_var_screeninfo wanted = checked_variable_info();
  wanted.yoffset = 32;
  EXPECT_EQ(::ioctl(descriptor, FBIOPAN_DISPLAY, &wanted), 0);
  EXPECT_EQ(checked_variable_info().yoffset, 32U);
  EXPECT_EQ(::ioctl(descriptor, FBIOBLANK, 1), 0);
  EXPECT_THAT(board.events(), ElementsAre("fb0: pan 0 32", "fb0: blank 1"));
}

TEST_F(SimFrameBuffer, RejectsToPanBeyondTheVirtualScreen) {
  const board board{screen{64, 32, 64, 64, 16, 128}};
  open_it();
  fb_var_screeninfo wanted = checked_variable_info();
  wanted.yoffset = 33;
  EXPECT_EQ(::ioctl(descriptor, FBIOPAN_DISPLAY, &wanted), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(checked_variable_info().yoffset, 0U);
}

TEST_F(SimFrameBuffer, RejectsUnknownRequests) {
  const board board;
  open_it();
  EXPECT_EQ(::ioctl(descriptor, 0x46FF, 0), -1);
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_THAT(board.events(), ElementsAre("fb0: request 0x46ff refused"));
}

struct ordered_request {
  const char *name;
  unsigned long number;
};

void PrintTo(const ordered_request &shown, std::ostream *to) {
  *to << shown.name;
}

class SimFrameBufferFault : public SimFrameBuffer, public testing::WithParamInterface<ordered_request> {};

TEST_P(SimFrameBufferFault, FailsAsOrderedUntilCleared) {
  const board board;
  open_it();
  union {
    fb_fix_screeninfo fixed;
    fb_var_screeninfo variable;
  } record = {};
  board.set_fault(GetParam().name, "/dev/fb0", "ENXIO");
  EXPECT_EQ(::ioctl(descriptor, GetParam().number, &record), -1);
  EXPECT_EQ(errno, ENXIO);
  board.clear_faults();
  EXPECT_EQ(::ioctl(descriptor, GetParam().number, &record), 0);
}

INSTANTIATE_TEST_SUITE_P(Requests, SimFrameBufferFault,
                         testing::Values(ordered_request{"fscreeninfo", FBIOGET_FSCREENINFO},
                                         ordered_request{"vscreeninfo", FBIOGET_VSCREENINFO},
                                         ordered_request{"pan", FBIOPAN_DISPLAY},
                                         ordered_request{"blank", FBIOBLANK}),
                         [](const auto &request) { return request.param.name; });

TEST_F(SimFrameBuffer, FailsToOpenIfInjected) {
  const board board;
  board.set_fault("open", "/dev/fb0", "ENODEV");
  EXPECT_EQ(::open("/dev/fb0", O_RDWR), -1);
  EXPECT_EQ(errno, ENODEV);
}

TEST_F(SimFrameBuffer, FailsToMapIfInjected) {
  const board board;
  open_it();
  board.set_fault("mmap", "/dev/fb0", "ENOMEM");
  EXPECT_EQ(map(4096), MAP_FAILED);
  EXPECT_EQ(errno, ENOMEM);
}

TEST_F(SimFrameBuffer, OpensDescriptorZeroIfInjected) {
  const board board;
  board.set_fault("descriptor-0", "/dev/fb0");
  open_it();
  EXPECT_EQ(descriptor, 0);
  EXPECT_EQ(checked_fixed_info().line_length, 1280U);
}

TEST_F(SimFrameBuffer, UsesEditedSettingsAtNextOpen) {
  const board board{64, 32};
  board.set("yres_virtual", "64");
  open_it(O_RDONLY);
  EXPECT_EQ(checked_variable_info().yres_virtual, 64U);
  EXPECT_EQ(board.read("dev/fb0").size(), 64U * 128U);
}

TEST_F(SimFrameBuffer, NeitherTruncatesNorCreatesDevice) {
  const board board{64, 32};
  open_it(O_RDWR | O_CREAT | O_TRUNC);
  EXPECT_EQ(board.read("dev/fb0").size(), 4096U);
  board.remove("dev/fb0");
  EXPECT_EQ(::open("/dev/fb0", O_RDWR | O_CREAT, 0644), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(SimFrameBuffer, ServesDuplicatedDescriptor) {
  const board board;
  open_it();
  const int copy = ::dup(descriptor);
  ::close(descriptor);
  descriptor = copy;
  EXPECT_EQ(checked_fixed_info().line_length, 1280U);
}

class SimFrameBufferMap : public SimFrameBuffer, public testing::WithParamInterface<const char *> {};

TEST_P(SimFrameBufferMap, ReachesTheMemoryAndNoFurther) {
  const board board{64, 32};
  open_it();
  using plain_offset = long; // also where off_t is of 64 bits
  const auto call = [](auto... arguments) {
    return std::string_view{GetParam()} == "mmap"
               ? library_call<void *(void *, size_t, int, int, int, plain_offset)>("mmap")(arguments...)
               : library_call<void *(void *, size_t, int, int, int, off64_t)>("mmap64")(arguments...);
  };
  void *memory = call(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  ASSERT_NE(memory, MAP_FAILED);
  std::memset(memory, 0x55, 4096);
  EXPECT_EQ(board.read("dev/fb0"), std::string(4096, '\x55'));
  ::munmap(memory, 4096);
  EXPECT_EQ(call(nullptr, 4097, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0), MAP_FAILED);
  EXPECT_EQ(errno, EINVAL);
}

INSTANTIATE_TEST_SUITE_P(By, SimFrameBufferMap, testing::Values("mmap", "mmap64"),
                         [](const auto &tested) { return std::string{tested.param}; });

TEST_F(SimFrameBuffer, Has8BitsPerChannelInDeepPixels) {
  const board board{screen::of_size(64, 32, 32)};
  open_it();
  const fb_var_screeninfo info = checked_variable_info();
  EXPECT_EQ(info.bits_per_pixel, 32U);
  EXPECT_EQ(info.red.offset, 16U);
  EXPECT_EQ(info.green.offset, 8U);
  EXPECT_EQ(info.blue.length, 8U);
  EXPECT_EQ(info.transp.offset, 24U);
  EXPECT_EQ(checked_fixed_info().smem_len, 64U * 32U * 4U);
}

TEST_F(SimFrameBuffer, ReportsInvalidSettingsUnchanged) {
  const board board;
  board.set("yres", "0");
  board.set("bits_per_pixel", "12");
  open_it();
  EXPECT_EQ(checked_variable_info().yres, 0U);
  EXPECT_EQ(checked_variable_info().bits_per_pixel, 12U);
}

TEST_F(SimFrameBuffer, HasNoPlaceForAnAnswerAtNull) {
  const board board;
  open_it();
  for (const unsigned long request : {FBIOGET_FSCREENINFO, FBIOGET_VSCREENINFO, FBIOPAN_DISPLAY}) {
    EXPECT_EQ(::ioctl(descriptor, request, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
  }
}

TEST_F(SimFrameBuffer, LeavesOtherFilesAlone) {
  const board board;
  board.write("tmp/ptb", "plain");
  descriptor = ::open("/tmp/ptb", O_RDWR);
  fb_fix_screeninfo info;
  EXPECT_EQ(::ioctl(descriptor, FBIOGET_FSCREENINFO, &info), -1);
  EXPECT_EQ(errno, ENOTTY);
  const void *text = map(5);
  ASSERT_NE(text, MAP_FAILED);
  EXPECT_EQ(std::memcmp(text, "plain", 5), 0);
  EXPECT_TRUE(board.events().empty());
}

} // namespace
} // namespace dravik::test
