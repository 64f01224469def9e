// Bitmap fonts when system calls fail.

#include "dravik.h"
#include "support/board.hpp"
#include "support/log_lines.hpp"
#include "support/psf_maker.hpp"
#include "support/refused_malloc.hpp"

#include <filesystem>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using strings = std::vector<std::string>;

class PsfFaults : public testing::Test {
protected:
  board board_;
  psf_font slot_ = {};

  ~PsfFaults() override { refused_size = 0; }

  strings messages() const { return log_messages(board_.path("tmp/dravik.log")); }
};

TEST_F(PsfFaults, RejectWithoutMemory) {
  const std::string path = board_.path("font.psf");
  write_file(path, psf2_maker{127, 255, 17, 120, bytes(32385)}.file());
  refused_size = 32385;
  EXPECT_EQ(psf_font_load(path.c_str(), &slot_), -1);
  refused_size = 0;
  EXPECT_EQ(slot_.ptr, nullptr);
  EXPECT_EQ(slot_.version, 2);
  EXPECT_EQ(slot_.length, 127);
  EXPECT_EQ(slot_.charsize, 255);
  EXPECT_EQ(slot_.width, 120);
  EXPECT_EQ(slot_.height, 17);
  EXPECT_EQ(messages(), (strings{"font character size > 128 bytes", path + " : malloc 32385 bytes err"}));
  ASSERT_EQ(psf_font_load(path.c_str(), &slot_), 0);
  std::free(slot_.ptr);
}

TEST_F(PsfFaults, RejectUnopenableFile) {
  const char *path = "/usr/local/dravik/font.psf";
  write_file(board_.path(path), psf1_file(0, 8, bytes(2048)));
  board_.set_fault("open", path, "EACCES");
  EXPECT_EQ(psf_font_load(path, &slot_), -1);
  EXPECT_EQ(slot_.version, 0);
  EXPECT_EQ(messages(), strings{"psf_font_load(): fopen /usr/local/dravik/font.psf err"});
  board_.clear_faults();
  ASSERT_EQ(psf_font_load(path, &slot_), 0);
  std::free(slot_.ptr);
}

TEST_F(PsfFaults, LeaveNothingOpen) {
  const std::string path = board_.path("font.psf");
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_files();
  const bytes files[] = {psf1_file(0, 8, bytes(2048)),
                         psf2_maker{513, 64, 32, 16, {}}.file(),
                         {1, 2, 3, 4},
                         {},
                         psf2_maker{0xFFFFFFFF, 16, 16, 8, {}}.file()};
  for (const bytes &content : files) {
    write_file(path, content);
    psf_font_load(path.c_str(), &slot_);
    std::free(slot_.ptr);
  }
  EXPECT_EQ(open_files(), before);
}

} // namespace
} // namespace dravik::test
