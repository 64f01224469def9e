// Writing of PNG files: complete or not at all, with several writers.

#include "png/png_file.hpp"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::png {
namespace {

class PngFile : public testing::Test {
protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "dravik-png-XXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string at(const std::string &name) const { return folder_ / name; }
  size_t count_files() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator{folder_}, {}));
  }
  static picture plain(uint32_t side, uint8_t grey) {
    picture made{side, side, std::vector<uint8_t>(size_t{side} * side * 4, grey)};
    for (size_t i = 3; i < made.rgba.size(); i += 4)
      made.rgba[i] = 255;
    return made;
  }
  unsigned mode_of(const std::string &name) const {
    return static_cast<unsigned>(std::filesystem::status(at(name)).permissions());
  }

private:
  std::filesystem::path folder_;
};

TEST_F(PngFile, KeepsAFileOfTheFormerTemporaryName) {
  std::ofstream{at("shot.png.part")} << "mine";
  std::string error;
  ASSERT_TRUE(write(at("shot.png"), plain(3, 7), error)) << error;
  picture back;
  ASSERT_TRUE(read(at("shot.png"), back, error)) << error;
  EXPECT_EQ(back.rgba, plain(3, 7).rgba);
  EXPECT_EQ(std::filesystem::file_size(at("shot.png.part")), 4U);
  EXPECT_EQ(count_files(), 2U);
}

TEST_F(PngFile, KeepsOneCompleteImageOfTwoWriters) {
  constexpr int rounds = 50;
  const pid_t child = ::fork();
  std::string error;
  bool all_written = true;
  for (int i = 0; i < rounds; ++i)
    all_written = write(at("shot.png"), plain(64, child == 0 ? 0 : 255), error) && all_written;
  if (child == 0)
    ::_exit(all_written ? 0 : 1);
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(all_written) << error;
  picture back;
  ASSERT_TRUE(read(at("shot.png"), back, error)) << error;
  EXPECT_TRUE(back.rgba == plain(64, 0).rgba || back.rgba == plain(64, 255).rgba);
  EXPECT_EQ(count_files(), 1U);
}

TEST_F(PngFile, ReportsTruncatedFilesAndOtherFormats) {
  std::string error;
  ASSERT_TRUE(write(at("whole.png"), plain(64, 7), error)) << error;
  const auto error_of_first = [&](uintmax_t bytes) {
    std::filesystem::copy_file(at("whole.png"), at("part.png"),
                               std::filesystem::copy_options::overwrite_existing);
    std::filesystem::resize_file(at("part.png"), bytes);
    picture unused;
    std::string reported;
    EXPECT_FALSE(read(at("part.png"), unused, reported)) << bytes;
    return reported;
  };
  for (const uintmax_t bytes : {uintmax_t{0}, uintmax_t{3}})
    EXPECT_EQ(error_of_first(bytes), at("part.png") + ": not a PNG file") << bytes;
  // The signature has 8 bytes, IHDR ends at byte 33; the pixels end 16 bytes before the end.
  for (const uintmax_t bytes : {uintmax_t{4}, uintmax_t{8}, uintmax_t{20}, uintmax_t{33},
                                std::filesystem::file_size(at("whole.png")) - 20})
    EXPECT_EQ(error_of_first(bytes), at("part.png") + ": truncated") << bytes;
  std::ofstream{at("text.png")} << "longer than a signature";
  picture unused;
  EXPECT_FALSE(read(at("text.png"), unused, error));
  EXPECT_EQ(error, at("text.png") + ": not a PNG file");
}

TEST_F(PngFile, HasPermissionsByTheUmask) {
  std::string error;
  const mode_t before = ::umask(0027);
  EXPECT_TRUE(write(at("shot.png"), plain(1, 0), error)) << error;
  EXPECT_EQ(::umask(before), 0027U) << "the umask stays";
  EXPECT_EQ(mode_of("shot.png"), 0640U);
}

TEST_F(PngFile, LeavesNothingOfAFailure) {
  std::ofstream{at("shot.png")} << "before";
  const rlimit before = [] {
    rlimit limit;
    ::getrlimit(RLIMIT_FSIZE, &limit);
    return limit;
  }();
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small = {16, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  std::string error;
  const bool is_written = write(at("shot.png"), plain(64, 9), error);
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(is_written);
  EXPECT_EQ(error.rfind(at("shot.png") + ": ", 0), 0U) << error;
  EXPECT_EQ(std::filesystem::file_size(at("shot.png")), 6U);
  EXPECT_EQ(count_files(), 1U);
}

TEST_F(PngFile, DoesNotReplaceADevice) {
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  std::string error;
  EXPECT_FALSE(write(at("pipe"), plain(1, 0), error));
  EXPECT_EQ(error, at("pipe") + ": not a regular file; not replaced");
  EXPECT_TRUE(std::filesystem::is_fifo(at("pipe")));
}

TEST_F(PngFile, DoesNotReadAPipe) {
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  std::string error;
  size of;
  picture into;
  EXPECT_FALSE(read_size(at("pipe"), of, error));
  EXPECT_EQ(error, at("pipe") + ": not a regular file");
  EXPECT_FALSE(read(at("pipe"), into, error));
}

} // namespace
} // namespace dravik::png
