// The design of the demonstration: texts that are complete, large enough, readable, and fit.

#include "examples/pages_in_process.hpp"
#include "support/emulation.hpp"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

namespace dravik::test {
namespace {

using testing::HasSubstr;
using testing::Not;

// ------------------------------------------------------------------------------------------------ phrases

std::vector<std::pair<int, phrase_id>> all_phrases() {
  std::vector<std::pair<int, phrase_id>> all;
  for (int language = 0; language < LANGUAGES; ++language)
    for (int which = 0; which < PHRASES; ++which)
      all.emplace_back(language, static_cast<phrase_id>(which));
  return all;
}

TEST(DashcamPhrases, AreCompleteInEveryLanguage) {
  for (const auto &[language, which] : all_phrases()) {
    ASSERT_NE(::phrase_in(language, which), nullptr) << language << ", " << which;
    EXPECT_STRNE(::phrase_in(language, which), "") << language << ", " << which;
  }
}

/// A phrase that was forgotten looks like the English one.
TEST(DashcamPhrases, AreTranslated) {
  const std::set<phrase_id> international = {PHRASE_WIFI, PHRASE_ETHERNET};
  const std::set<phrase_id> same_in_german = {PHRASE_SYSTEM, PHRASE_MINUTE, PHRASE_PARTITION, PHRASE_REGION,
                                              PHRASE_PAUSE};
  for (const auto &[language, which] : all_phrases()) {
    if (language == 0 || international.contains(which) || (language == 1 && same_in_german.contains(which)))
      continue;
    EXPECT_STRNE(::phrase_in(language, which), ::phrase_in(0, which)) << language << ", " << which;
  }
}

class DashcamDesign : public testing::TestWithParam<std::pair<uint32_t, uint32_t>> {
protected:
  pages_in_process pages_{GetParam().first, GetParam().second};
};

/// A character that a font does not have makes the library draw nothing and complain.
TEST_P(DashcamDesign, HasTheLettersOfEveryPhrase) {
  testing::internal::CaptureStderr();
  for (const auto &[language, which] : all_phrases())
    EXPECT_GT(::text_width(TEXT_BODY, ::phrase_in(language, which)), 0) << ::phrase_in(language, which);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

void draw_every_notice() {
  for (int which = 0; which < NOTICES; ++which) {
    ::notice(static_cast<notice_id>(which));
    ::notice_draw();
  }
}

void nothing() {}

void draw_every_question() {
  constexpr std::pair<phrase_id, phrase_id> questions[] = {
      {PHRASE_REPAIR_QUESTION, PHRASE_REPAIR_REMARK},
      {PHRASE_FORMAT_QUESTION, PHRASE_FORMAT_REMARK},
      {PHRASE_DELETE_QUESTION, PHRASE_DELETE_REMARK},
      {PHRASE_POWER_OFF_QUESTION, PHRASE_POWER_OFF_REMARK}};
  for (const auto &[question, remark] : questions) {
    ::ask(question, remark, nothing);
    ::question_draw();
    ::question_close();
    ::draw_wait(question);
  }
}

/// Every page, also after each of some keys.
void draw_every_page() {
  for (const page *page : ::pages) {
    ::navigation_start(page);
    for (int keys = 0; keys < 8 && ::page_shown() == page && !::question_is_open(); ++keys)
      ::press_key(KEY_NEXT);
  }
}

/// Texts that do not fit are in the log: the box of each is measured when it is drawn.
TEST_P(DashcamDesign, FitsEveryTextIntoItsBox) {
  pages_.on().write("tmp/mmcblk0p1/REC/KVX00007.TS", std::string(60000000, 'r'));
  pages_.on().write("tmp/mmcblk0p1/REC/EMA00008.TS", "r");
  const int languages = is_emulated() ? 1 : LANGUAGES; // English
  const auto draw_all_languages = [=] {
    for (int language = 0; language < languages; ++language) {
      ::choose_language(language);
      draw_every_page();
    }
  };
  for (int language = 0; language < languages; ++language) {
    ::choose_language(language);
    ::navigation_start(&::home_page);
    draw_every_notice();
    draw_every_question();
  }
  pages_in_process::look();
  draw_all_languages(); // a full card
  std::string error;
  ASSERT_TRUE(sim::remove_card(pages_.on().path(), error)) << error;
  pages_in_process::look();
  draw_all_languages();
  EXPECT_THAT(pages_.log(), Not(HasSubstr("is wider than")));
}

/// The pages with a title, in English and in Greek.
TEST(DashcamLanguage, SwitchesTheTitleOfEveryPage) {
  const pages_in_process pages{640, 480};
  const auto title = [&](const page *page, int language) {
    ::choose_language(language);
    ::navigation_start(page);
    return shot{pages.on(), sim::screen::of_size(640, 480)}.area(60, 46, 300, 44);
  };
  int count = 0;
  for (const page *page : ::pages) {
    if (page->title == PHRASES)
      continue;
    EXPECT_NE(title(page, 0), title(page, 2)) << page->name;
    ++count;
  }
  EXPECT_EQ(count, 12);
}

TEST_P(DashcamDesign, ReportsATextThatDoesNotFitAndCutsIt) {
  ::text({10, 100, 40, LEFT}, {TEXT_BODY, INK_WHITE, ON_GROUND}, "Wiedergabe");
  EXPECT_THAT(pages_.log(), HasSubstr("text: \"Wiedergabe\" is wider than 40 pixels"));
  const shot seen{pages_.on(), sim::screen::of_size(GetParam().first, GetParam().second)};
  EXPECT_THAT(seen.colours(50, 80, 100, 40), testing::ElementsAre(untouched));
}

TEST_P(DashcamDesign, DrawsNoTextBelow16Pixels) {
  for (const text_size size : {TEXT_SMALL, TEXT_BODY, TEXT_TITLE})
    EXPECT_GE(::text_em(size), 16);
  for (const digit_size size : {DIGITS_SMALL, DIGITS_MEDIUM, DIGITS_LARGE})
    EXPECT_GE(::digits_height(size), 16);
}

/// Both fonts in one line: letters of the second one follow those of the first.
TEST_P(DashcamDesign, MixesScriptsInALine) {
  const int first = ::text_width(TEXT_BODY, "666 MiB"), second = ::text_width(TEXT_BODY, "사용 가능");
  EXPECT_GT(::text_width(TEXT_BODY, "666 MiB 사용 가능"), first + second);
  EXPECT_EQ(::text_width(TEXT_BODY, "666 MiB  "), first) << "spaces at the end";
}

INSTANTIATE_TEST_SUITE_P(All, DashcamDesign, testing::Values(std::pair{640U, 480U}, std::pair{320U, 240U}),
                         [](const auto &one) { return one.param.first == 640 ? "Large" : "Small"; });

// ------------------------------------------------------------------------------------------------ contrast

/// The relative luminance of a colour of 16 bits, by the Web Content Accessibility Guidelines.
double luminance(uint16_t colour) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear((colour >> 11) / 31.0) + 0.7152 * linear((colour >> 5 & 0x3F) / 63.0) +
         0.0722 * linear((colour & 0x1F) / 31.0);
}

double contrast(uint16_t one, uint16_t other) {
  const double a = luminance(one), b = luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

TEST(DashcamTheme, IsReadable) {
  for (const uint16_t behind : {GROUND, SURFACE})
    for (const ink ink : {INK_WHITE, INK_MUTED, INK_GOOD, INK_WARM, INK_ALARM})
      EXPECT_GE(contrast(::ink_colour(ink), behind), 4.5) << std::hex << ink << " on " << behind;
  for (const uint16_t accent : ::theme_colours) {
    EXPECT_GE(contrast(DRAVIK_WHITE, accent), 4.5) << std::hex << accent;
    EXPECT_GE(contrast(accent, GROUND), 3.0) << "of a bar, " << std::hex << accent;
  }
}

TEST(DashcamTheme, PutsItsColoursIntoTheRamps) {
  const pages_in_process pages{640, 480};
  const auto last = [](dravik_ramp ramp) { return gc[ramp * DRAVIK_RAMP_STEPS + DRAVIK_RAMP_STEPS - 1]; };
  for (int theme = 0; theme < THEMES; ++theme) {
    ::theme_choose(theme);
    EXPECT_EQ(::get_theme_color(), ::theme_colours[theme]);
    EXPECT_EQ(last(DRAVIK_GREY_ON_BLACK), MUTED);
    EXPECT_EQ(last(DRAVIK_RED_ON_MAGENTA), ALARM);
    EXPECT_EQ(gc[DRAVIK_WHITE_ON_MAGENTA * DRAVIK_RAMP_STEPS], SURFACE);
    EXPECT_EQ(last(DRAVIK_WHITE_ON_MAGENTA), DRAVIK_WHITE);
  }
}

// ------------------------------------------------------------------------------------------------ progress

TEST(DashcamProgress, NeverRunsBackwards) {
  const pages_in_process pages{640, 480};
  for (const page *page : {&::splash_page, &::shutdown_page}) {
    ::navigation_start(page);
    const uint32_t y = page == &::splash_page ? 330 : 350;
    uint32_t before = 0;
    for (int step = 0; step < 40 && ::page_shown() == page; ++step) {
      if (step % 5 == 0)
        ::draw_page(); // as after a new state of the camera
      ::step_page();
      if (::page_shown() != page)
        break;
      const shot seen{pages.on(), sim::screen::of_size(640, 480)};
      uint32_t done = 0;
      while (done < 300 && seen.at(170 + done, y) == DRAVIK_DEFAULT_THEME)
        ++done;
      EXPECT_GE(done, before);
      before = done;
    }
    EXPECT_GT(before, 250U) << page->name;
  }
}

} // namespace
} // namespace dravik::test
