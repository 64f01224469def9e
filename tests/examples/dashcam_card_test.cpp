// The demonstration's page of the memory card: its contents, and that it leaves a card in use alone.

#include "examples/demonstration.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

void take_out(const board &of) {
  std::string error;
  EXPECT_TRUE(sim::remove_card(of.path(), error)) << error;
}
void put_in(const board &to, sim::card_lock lock = sim::card_lock::off) {
  std::string error;
  EXPECT_TRUE(sim::insert_card(to.path(), lock, error)) << error;
}

/// The card page after these keys, on a card with a recording.
class DashcamCard : public testing::Test {
protected:
  DashcamCard() { on_.write(recording_, std::string(3000000, 'r')); }

  int press(const std::string &keys) const {
    application dashcam{on_, dashcam_path, {"--screen", "card", "--press", keys}};
    return dashcam.finish();
  }

  static constexpr const char *recording_ = "tmp/mmcblk0p1/REC/KVX00007.TS";
  const recording_board on_;
};

// ---------------------------------------------------------------------------------------- the questions

TEST_F(DashcamCard, IsNotRepairedOrFormattedWhileItIsInUse) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  for (const std::string keys : {"ok,next,ok", "next,ok,next,ok"}) {
    const std::string script =
        "exec 3</tmp/mmcblk0p1/REC/KVX00007.TS; echo $$; \"$0\" --screen card --press " + keys + " 3<&-";
    on_.clear_events();
    application shell{on_, "/bin/sh", {"-c", script, dashcam_path}};
    EXPECT_EQ(shell.finish(), 1) << keys;
    const std::string user = "sh (" + shell.output().substr(0, shell.output().find('\n')) + ")";
    EXPECT_THAT(shell.errors(), HasSubstr("dashcam: card: busy, in use by " + user + "\n"));
    EXPECT_THAT(on_.read("tmp/dravik.log"), HasSubstr("] card: busy, in use by " + user));
    EXPECT_THAT(on_.events(), Contains("umount: /tmp/mmcblk0p1"));
    EXPECT_THAT(on_.events(), Not(Contains(HasSubstr("dosfsck"))));
    EXPECT_THAT(on_.events(), Not(Contains(HasSubstr("mkfs"))));
  }
  EXPECT_TRUE(on_.exists(recording_));
}

TEST_F(DashcamCard, ShowsQuestionInEveryLanguage) {
  std::set<std::vector<uint16_t>> asked;
  for (const std::string language : {"en", "de", "el", "ru", "ja", "ko", "zh"}) {
    const shot seen = shot_of(on_, {"--screen", "card", "--press", "next,ok", "--language", language});
    EXPECT_EQ(seen.at(100, 330), DRAVIK_DEFAULT_THEME) << "no is marked";
    EXPECT_TRUE(asked.insert(seen.area(180, 200, 380, 90)).second) << language;
  }
}

// --------------------------------------------------------------------------------------------- the page

/// The spots before the checks, in their order.
std::vector<uint16_t> spots(const shot &seen) {
  std::vector<uint16_t> colours;
  for (uint32_t place = 0; place < 6; ++place)
    colours.push_back(seen.at(50 + place % 2 * 168, 318 + place / 2 * 44));
  return colours;
}

TEST_F(DashcamCard, ShowsItsChecks) {
  EXPECT_EQ(spots(shot_of(on_, {"--screen", "card"})), std::vector<uint16_t>(6, good));
  put_in(on_, sim::card_lock::on);
  EXPECT_EQ(spots(shot_of(on_, {"--screen", "card"})),
            (std::vector<uint16_t>{good, alarm, good, good, good, alarm}));
  take_out(on_);
  EXPECT_EQ(spots(shot_of(on_, {"--screen", "card"})), std::vector<uint16_t>(6, edge));
}

/// The last figure of the number of recordings, at the right edge of its line.
std::vector<uint16_t> last_figure(const shot &seen) {
  return seen.area(591, 118, 9, 22);
}

TEST_F(DashcamCard, CountsItsRecordings) {
  const shot one = shot_of(on_, {"--screen", "card"});
  for (int number = 10; number < 20; ++number)
    on_.write("tmp/mmcblk0p1/REC/KVX000" + std::to_string(number) + ".TS", "r");
  const shot eleven = shot_of(on_, {"--screen", "card"});
  EXPECT_EQ(last_figure(eleven), last_figure(one));
  on_.remove(recording_);
  EXPECT_NE(last_figure(shot_of(on_, {"--screen", "card"})), last_figure(one)) << "10";
}

TEST_F(DashcamCard, ShowsItsEvents) {
  for (const char *name : {"EMA00001.TS", "EMB00002.TS", "EMD00003.TS"})
    on_.write(std::string{"tmp/mmcblk0p1/REC/"} + name, "r");
  const shot seen = shot_of(on_, {"--screen", "card"});
  constexpr uint16_t taken[] = {DRAVIK_DEFAULT_THEME, DRAVIK_DEFAULT_THEME, DRAVIK_DEFAULT_THEME,
                                DRAVIK_BLACK, DRAVIK_BLACK};
  for (uint32_t slot = 0; slot < 5; ++slot)
    EXPECT_EQ(seen.at(432 + slot * 36 + 12, 268), taken[slot]) << slot;
}

TEST_F(DashcamCard, ShowsHowMuchIsFree) {
  const auto free = [](const shot &seen) {
    uint32_t width = 0;
    while (seen.at(40 + width, 260) == DRAVIK_DEFAULT_THEME)
      ++width;
    return width;
  };
  const uint32_t before = free(shot_of(on_, {"--screen", "card"}));
  on_.write("tmp/mmcblk0p1/REC/KVX00008.TS", std::string(30000000, 'r'));
  const uint32_t after = free(shot_of(on_, {"--screen", "card"}));
  EXPECT_NEAR(before - after, 336 * 30 / 66, 12) << "30 of about 66 million bytes";
}

TEST_F(DashcamCard, OffersNothingWithoutACard) {
  take_out(on_);
  const shot seen = shot_of(on_, {"--screen", "card"});
  EXPECT_THAT(seen.colours(412, 340, 208, 124), Not(Contains(DRAVIK_DEFAULT_THEME))) << "no selected button";
  EXPECT_THAT(seen.colours(412, 340, 208, 124), Not(Contains(DRAVIK_WHITE)));
  EXPECT_EQ(press("ok"), 0);
  EXPECT_THAT(on_.read("tmp/dravik.log"), Not(HasSubstr("question")));
}

TEST_F(DashcamCard, IsDarkBehindAQuestion) {
  const shot page = shot_of(on_, {"--screen", "card"}),
             asked = shot_of(on_, {"--screen", "card", "--press", "ok"});
  const auto quarter = [](uint16_t pixel) {
    return static_cast<uint16_t>((pixel >> 13 << 11) | ((pixel >> 7 & 0xF) << 5) | (pixel >> 2 & 0x7));
  };
  for (uint32_t y = 100; y < 170; ++y)
    for (uint32_t x = 0; x < 640; ++x)
      ASSERT_EQ(asked.at(x, y), quarter(page.at(x, y))) << "at " << x << ", " << y;
}

} // namespace
} // namespace dravik::test
