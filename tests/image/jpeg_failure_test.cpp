// Missing, truncated and damaged JPEG files, other files, and names of every length.

#include "image/jpeg_stage.hpp"
#include "support/emulation.hpp"

#include <filesystem>

namespace dravik::test {
namespace {

class JpegFailure : public jpeg_stage {
protected:
  static constexpr const char *folder = "/usr/local/dravik/jpg/";
  static constexpr const char *cut_off = "Premature end of JPEG file\n";

  void write(const bytes &content) const { write_file(path_of(name_), content); }

  bytes made(const words &options) {
    make(busy_picture(random_, 37, 23), options);
    return read_file(path_of(name_));
  }

  /// Draw a file and expect what djpeg makes of it, which may be that it gives up: before the first row, or
  /// after some rows, of which nothing is known but where they may lie.
  void expect_as_djpeg(bool may_leave_rows = false) {
    const int result = checked_draw(4, 3, name_);
    const std::optional<rgb_picture> picture = decoded_or_nothing();
    EXPECT_EQ(result, picture ? 0 : -1);
    if (picture) {
      put(*picture, 4, 3);
    } else if (may_leave_rows) {
      for (int64_t y = 3; y < 3 + 23; ++y)
        for (int64_t x = 4; x < 4 + 37; ++x)
          screen_->model().put(x, y, screen_->drawn().get(x, y));
    }
    EXPECT_TRUE(screen_->same());
    screen_->reset();
  }
};

TEST_F(JpegFailure, ReportsMissingFile) {
  jpeginfo[JPEGINFO_WIDTH] = 99;
  EXPECT_EQ(checked_draw(0, 0, "missing.jpg"), -1);
  EXPECT_EQ(said_, "can't open /usr/local/dravik/jpg/missing.jpg\n");
  EXPECT_EQ(jpeginfo[JPEGINFO_WIDTH], 99U);
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, PrefixesNameWithDirectory) {
  EXPECT_EQ(checked_draw(0, 0, "/etc/passwd"), -1);
  EXPECT_EQ(said_, "can't open /usr/local/dravik/jpg//etc/passwd\n");
  EXPECT_EQ(checked_draw(0, 0, "none/a.jpg"), -1);
  EXPECT_EQ(said_, "can't open /usr/local/dravik/jpg/none/a.jpg\n");
}

TEST_F(JpegFailure, ReportsEmptyFile) {
  write({});
  EXPECT_EQ(checked_draw(0, 0, name_), -1);
  EXPECT_EQ(said_, "Empty input file\n");
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, ReportsDirectoryForEmptyName) {
  EXPECT_EQ(checked_draw(0, 0, ""), -1);
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, ReportsTextFile) {
  write({'n', 'o', 't', ' ', 'a', ' ', 'p', 'i', 'c', 't', 'u', 'r', 'e', '\n'});
  jpeginfo[JPEGINFO_WIDTH] = 99;
  EXPECT_EQ(checked_draw(0, 0, name_), -1);
  EXPECT_EQ(said_, "Not a JPEG file: starts with 0x6e 0x6f\n");
  EXPECT_EQ(jpeginfo[JPEGINFO_WIDTH], 99U);
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, ReportsTablesWithoutImage) {
  write({0xFF, 0xD8, 0xFF, 0xD9});
  EXPECT_EQ(checked_draw(0, 0, name_), -1);
  EXPECT_EQ(said_, "JPEG datastream contains no image\n");
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, EndsBeforeItsImage) {
  const bytes whole = made({});
  write(first_bytes(whole, first_segment(whole, 0xC0)));
  EXPECT_EQ(checked_draw(0, 0, name_), -1);
  EXPECT_EQ(said_, std::string(cut_off) + "JPEG datastream contains no image\n");
  write(first_bytes(whole, first_scan(whole).header));
  EXPECT_EQ(checked_draw(0, 0, name_), -1);
  EXPECT_EQ(said_, std::string(cut_off) + "Invalid JPEG file structure: missing SOS marker\n");
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, EndsWithinItsImage) {
  const bytes whole = made({});
  const size_t data = first_scan(whole).data;
  write(first_bytes(whole, data + (whole.size() - data) / 2));
  expect_as_djpeg();
  EXPECT_EQ(said_, cut_off);
  EXPECT_EQ(jpeginfo[JPEGINFO_WIDTH], 37U);
}

TEST_F(JpegFailure, DrawsEveryBeginningOfFile) {
  const bytes whole = made({"-quality", "30"});
  const scan_place scan = first_scan(whole);
  for (size_t length = 0; length < whole.size() - 2; length += stride<size_t>()) {
    SCOPED_TRACE(length);
    write(first_bytes(whole, length));
    const int result = checked_draw(4, 3, name_);
    if (length < scan.header) {
      EXPECT_EQ(result, -1);
      EXPECT_TRUE(screen_->same());
    } else if (length >= scan.data) { // a truncated header may still be read
      EXPECT_EQ(result, 0);
      EXPECT_EQ(said_, cut_off);
    }
    screen_->reset();
  }
}

TEST_F(JpegFailure, DrawsBeginningsAsDjpegDoes) {
  for (const words &options : {words{"-quality", "30"}, words{"-quality", "30", "-progressive"}}) {
    const bytes whole = made(options);
    for (size_t length = 0; length < whole.size(); length += 11 * stride<size_t>()) {
      SCOPED_TRACE(length);
      write(first_bytes(whole, length));
      expect_as_djpeg();
    }
  }
}

TEST_F(JpegFailure, ReportsUnsupportedFormat) {
  bytes file = made({});
  file[first_segment(file, 0xC0) + 1] = 0xC5; // a hierarchical image
  write(file);
  EXPECT_EQ(checked_draw(0, 0, name_), -1);
  EXPECT_EQ(said_, "Unsupported JPEG process: SOF type 0xc5\n");
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, LeavesRowsBeforeFatalError) {
  bytes file = made({"-restart", "1"});
  // The next marker after the first row of blocks starts a second image, at which libjpeg fails.
  size_t at = first_scan(file).data;
  while (!(file[at] == 0xFF && file[at + 1] >= 0xD0 && file[at + 1] <= 0xD7))
    ++at;
  const rgb_picture whole = decoded();
  bytes damaged = first_bytes(file, at);
  append(damaged, {0xFF, 0xD8});
  write(damaged);
  const int result = checked_draw(4, 3, name_);
  for (uint32_t x = 0; x < whole.width; ++x)
    EXPECT_EQ(fbp[(3 * fbinfo[FBINFO_LINE_LENGTH]) + (4 + x) * 2] |
                  fbp[(3 * fbinfo[FBINFO_LINE_LENGTH]) + (4 + x) * 2 + 1] << 8,
              whole.colour(x, 0))
        << x;
  EXPECT_EQ(result, -1) << said_;
}

TEST_F(JpegFailure, DrawsDamagedDataAsDjpegDoes) {
  for (const words &options : {words{}, words{"-progressive"}, words{"-grayscale", "-restart", "1"}}) {
    const bytes whole = made(options);
    const size_t data = first_scan(whole).data;
    for (int n = 0; n < rounds(60); ++n) {
      bytes damaged = whole;
      for (uint32_t changes = random_in(random_, 1, 8); changes > 0; --changes)
        damaged[random_in(random_, static_cast<uint32_t>(data), static_cast<uint32_t>(whole.size()) - 1)] =
            static_cast<uint8_t>(random_());
      write(damaged);
      SCOPED_TRACE(n);
      expect_as_djpeg(true);
    }
  }
}

TEST_F(JpegFailure, NamesOfEveryLength) {
  const bytes file = made({});
  for (const size_t length : {1U, 36U, 40U, 41U, 64U, 200U, 255U}) {
    const std::string name(length, 'n');
    write_file(path_of(name), file);
    EXPECT_EQ(checked_draw(4, 3, name), 0) << length;
    EXPECT_EQ(said_, "");
  }
}

TEST_F(JpegFailure, NamesTooLongForAnyFile) {
  for (const size_t length : {256U, 4050U, 4073U, 4074U, 5000U, 100000U}) {
    const std::string name(length, 'n');
    EXPECT_EQ(checked_draw(0, 0, name), -1) << length;
    EXPECT_EQ(said_, "can't open " + (folder + name) + "\n");
  }
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegFailure, RejectsPathOfHundredsOfCharacters) {
  const bytes file = made({});
  std::string dir;
  for (int n = 0; n < 3; ++n) {
    dir += std::string(200, 'd') + "/";
    std::filesystem::create_directory(path_of(dir));
  }
  write_file(path_of(dir + name_), file);
  EXPECT_EQ(checked_draw(4, 3, dir + name_), 0) << said_;
}

TEST_F(JpegFailure, DrawsValidImageAfterDamagedOne) {
  const bytes whole = made({});
  write({'x'});
  EXPECT_EQ(checked_draw(4, 3, name_), -1);
  write(whole);
  expect_as_djpeg();
}

} // namespace
} // namespace dravik::test
