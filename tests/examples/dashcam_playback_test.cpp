// The demonstration's recordings: written, listed, played, protected and deleted on a memory card.

#include "examples/living_dashcam.hpp"
#include "support/paths.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using testing::Gt;
using testing::HasSubstr;
using testing::SizeIs;

class DashcamPlayback : public testing::Test {
protected:
  /// A recording of so many pictures, with a time that orders it.
  void record(const std::string &name, int pictures, int minute) const {
    std::string contents;
    for (int i = 0; i < pictures; ++i)
      contents += image(i % 12);
    write(name, contents, minute);
  }
  void write(const std::string &name, const std::string &contents, int minute) const {
    on_.write(card_ + name, contents);
    namespace files = std::filesystem;
    files::last_write_time(on_.path(card_ + name),
                           files::file_time_type::clock::now() - std::chrono::minutes{1000 - minute});
  }
  std::string image(int number) const {
    const std::string digits = std::to_string(number);
    return on_.read("usr/local/dravik/jpg/drive" + std::string(2 - digits.size(), '0') + digits + "_640.jpg");
  }
  /// Unmount the card and mount it again: what is there now was on its image.
  void reinsert() const {
    std::string error;
    ASSERT_TRUE(sim::remove_card(on_.path(), error)) << error;
    ASSERT_TRUE(sim::insert_card(on_.path(), sim::card_lock::off, error)) << error;
  }
  shot press(const std::string &keys) const {
    return shot_of(on_, {"--screen", "playback", "--press", keys});
  }
  std::string log() const { return on_.read("tmp/dravik.log"); }

  const std::string card_ = "tmp/mmcblk0p1/";
  const recording_board on_;
};

/// The rows of the list that have something in them.
int rows(const shot &seen) {
  int count = 0;
  for (uint32_t row = 0; row < 7; ++row)
    count += seen.at(26, 100 + row * 53) != DRAVIK_BLACK;
  return count;
}

/// The sign at the start of a row, without its ground.
std::vector<uint16_t> sign(const shot &seen, uint32_t row) {
  std::vector<uint16_t> pixels = seen.area(40, 105 + row * 53, 28, 28);
  std::replace(pixels.begin(), pixels.end(), uint16_t{DRAVIK_DEFAULT_THEME}, surface);
  return pixels;
}

// ------------------------------------------------------------------------------------------------ the list

TEST_F(DashcamPlayback, ListsWhatIsOnTheCard) {
  EXPECT_EQ(rows(shot_of(on_, {"--screen", "playback"})), 0);
  record("REC/KVX00001.TS", 1, 1);
  record("REC/KVX00002.TS", 1, 2);
  record("REC/EMA00003.TS", 1, 3);
  record("LOCK/KVX00004.TS", 1, 4);
  for (const char *other :
       {"REC/notes.txt", "REC/KVX0001.TS", "REC/KVXabcde.TS", "REC/EMF00001.TS", "KVX00009.TS"})
    on_.write(card_ + other, "other");
  std::filesystem::create_directory(on_.path(card_ + "REC/KVX00008.TS"));
  const shot seen = shot_of(on_, {"--screen", "playback"});
  EXPECT_EQ(rows(seen), 4);
  EXPECT_EQ(sign(seen, 2), sign(seen, 3)) << "two normal recordings, the oldest last";
  EXPECT_NE(sign(seen, 1), sign(seen, 2)) << "an event";
  EXPECT_NE(sign(seen, 0), sign(seen, 1)) << "a protected recording";
}

TEST_F(DashcamPlayback, ScrollsThroughALongList) {
  for (int i = 10; i < 22; ++i)
    record("REC/KVX000" + std::to_string(i) + ".TS", 1, i);
  const shot seen = press("next,next,next,next,next,next,next,next,next");
  EXPECT_EQ(rows(seen), 7);
  EXPECT_EQ(seen.at(300, 100 + 6 * 53), DRAVIK_DEFAULT_THEME) << "the tenth is the last that is shown";
}

TEST_F(DashcamPlayback, KeepsTheNewestOfTooMany) {
  for (int i = 0; i < 300; ++i)
    write("REC/KVX00" + std::to_string(100 + i) + ".TS", "r", i);
  EXPECT_EQ(rows(shot_of(on_, {"--screen", "playback"})), 7);
  press("ok");
  EXPECT_THAT(log(), HasSubstr("playing KVX00399.TS"));
}

// ------------------------------------------------------------------------------------------------ the player

TEST_F(DashcamPlayback, ShowsThePicturesOfTheRecording) {
  on_.write(card_ + "REC/KVX00001.TS", image(0));
  const std::vector<uint16_t> first = press("ok").area(0, 44, 640, 340);
  on_.write(card_ + "REC/KVX00001.TS", image(4));
  const std::vector<uint16_t> other = press("ok").area(0, 44, 640, 340);
  EXPECT_NE(first, other);
  EXPECT_THAT((std::set<uint16_t>(first.begin(), first.end())), SizeIs(Gt(500)));
}

TEST_F(DashcamPlayback, CountsPicturesByTheirMarkers) {
  const std::string two = image(0) + image(1);
  const auto pictures = [&](const std::string &contents) {
    on_.write("tmp/dravik.log", "");
    on_.write(card_ + "REC/KVX00001.TS", contents);
    application dashcam{on_, dashcam_path, {"--screen", "playback", "--press", "ok"}};
    EXPECT_EQ(dashcam.finish(), 0);
    const std::string text = log();
    const size_t at = text.find("TS, ") + 4;
    return text.substr(at, text.find('\n', at) - at);
  };
  EXPECT_EQ(pictures(two), "2 pictures");
  EXPECT_EQ(pictures(two + std::string(100000, '\0')), "2 pictures");
  EXPECT_EQ(pictures(two.substr(0, two.size() - 1)), "1 pictures");
  EXPECT_EQ(pictures(two.substr(0, image(0).size() + 3)), "1 pictures");
  EXPECT_EQ(pictures("\xFF\xD8\xFF\xE0\xFF\xFF"), "0 pictures") << "a segment beyond the end";
  EXPECT_EQ(pictures(std::string("\xFF\xD8\xFF\xE0\0\1", 6)), "0 pictures") << "a segment that is too short";
  EXPECT_EQ(pictures(std::string(1000, '\xFF')), "0 pictures");
  EXPECT_EQ(pictures(""), "0 pictures");
  std::string many;
  for (int i = 0; i < 600; ++i)
    many += "\xFF\xD8\xFF\xD9";
  EXPECT_EQ(pictures(many), "512 pictures");
}

// ------------------------------------------------------------------------------- protecting and deleting

// ------------------------------------------------------------------------------------------- the recorder

TEST_F(DashcamPlayback, RecordsWhileItDrives) {
  record("REC/KVX00041.TS", 1, 1);
  living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
  dashcam.await_line("recording KVX00042.TS");
  for (int blinks = 0; blinks < 3; ++blinks) // a picture per half second
    dashcam.await_event("led: red");
  dashcam.expect_end();
  EXPECT_THAT(on_.read(card_ + "REC/KVX00042.TS"), HasSubstr(image(1) + image(2)));
}

} // namespace
} // namespace dravik::test
