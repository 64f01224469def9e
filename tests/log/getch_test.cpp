// One key from standard input. This program interposes the call that sets a terminal, to press the key
// when the terminal is ready for it.

#include "dravik.h"
#include "log/terminal_pair.hpp"
#include "support/bytes.hpp"
#include "support/next_call.hpp"

#include <functional>
#include <gtest/gtest.h>
#include <vector>

namespace {

struct applied {
  int descriptor, when;
  termios settings;
};
std::vector<applied> all_applied;
std::function<void()> after_the_first;

} // namespace

extern "C" int tcsetattr(int descriptor, int when, const termios *settings) noexcept {
  static const auto next = dravik::test::next_call<int(int, int, const termios *)>("tcsetattr");
  const int result = next(descriptor, when, settings);
  all_applied.push_back({descriptor, when, *settings});
  if (all_applied.size() == 1 && after_the_first)
    after_the_first();
  return result;
}

namespace dravik::test {
namespace {

class Getch : public testing::Test {
protected:
  Getch() : before_(::dup(STDIN_FILENO)) {
    std::clearerr(stdin);
    all_applied.clear();
    after_the_first = nullptr;
  }
  ~Getch() override { use(before_.get()); }

  static void use(int descriptor) { ::dup2(descriptor, STDIN_FILENO); }

  /// Standard input is a file with this text.
  static void use_text(const char *text) {
    std::FILE *file = std::tmpfile();
    std::fputs(text, file);
    std::fflush(file);
    ::lseek(::fileno(file), 0, SEEK_SET);
    use(::fileno(file));
    std::fclose(file);
  }

private:
  unique_fd before_;
};

class GetchOnATerminal : public Getch {
protected:
  GetchOnATerminal() {
    original_.c_lflag |= ICANON | ECHO | ISIG;
    terminal_.set(original_);
    original_ = terminal_.settings();
    use(terminal_.terminal());
    all_applied.clear();
  }

  int press(std::string_view keys) {
    all_applied.clear();
    after_the_first = [this, keys] { terminal_.press(keys); };
    return getch();
  }

  terminal_pair terminal_;
  termios original_ = terminal_.settings();
};

TEST_F(GetchOnATerminal, ReturnsAKeyWithoutAwaitingTheLine) {
  EXPECT_EQ(press("x"), 'x');
  EXPECT_EQ(press("\n"), '\n');
}

TEST_F(GetchOnATerminal, EchoesNothing) {
  press("x");
  EXPECT_EQ(terminal_.read_all(), "");
}

TEST_F(GetchOnATerminal, SwitchesLineEditingAndEchoOffAloneAndThenBack) {
  press("x");
  termios without = original_;
  without.c_lflag &= ~tcflag_t{ICANON | ECHO};
  ASSERT_EQ(all_applied.size(), 2U);
  EXPECT_EQ(all_applied[0].descriptor, STDIN_FILENO);
  EXPECT_EQ(all_applied[0].when, TCSANOW);
  EXPECT_TRUE(are_same(all_applied[0].settings, without));
  EXPECT_EQ(all_applied[1].descriptor, STDIN_FILENO);
  EXPECT_EQ(all_applied[1].when, TCSANOW);
  EXPECT_TRUE(are_same(all_applied[1].settings, original_));
  EXPECT_TRUE(are_same(terminal_.settings(), original_));
}

TEST_F(GetchOnATerminal, LeavesATerminalWithoutEchoAsItWas) {
  original_.c_lflag &= ~tcflag_t{ICANON | ECHO};
  terminal_.set(original_);
  original_ = terminal_.settings();
  EXPECT_EQ(press("k"), 'k');
  EXPECT_TRUE(are_same(terminal_.settings(), original_));
}

TEST_F(GetchOnATerminal, SetsItBackWhenReadingFails) {
  const unique_fd writable{::open(terminal_.name().c_str(), O_WRONLY | O_NOCTTY)};
  use(writable.get());
  EXPECT_EQ(getch(), EOF);
  EXPECT_EQ(all_applied.size(), 2U);
  EXPECT_TRUE(are_same(terminal_.settings(), original_));
}

TEST_F(Getch, ReturnsCharactersOfFileThenEnd) {
  use_text("a\n\xFF");
  EXPECT_EQ(getch(), 'a');
  EXPECT_EQ(getch(), '\n');
  EXPECT_EQ(getch(), 0xFF); // not the end
  EXPECT_EQ(getch(), EOF);
  EXPECT_TRUE(all_applied.empty());
}

TEST_F(Getch, ReturnsEndForClosedInput) {
  ::close(STDIN_FILENO);
  EXPECT_EQ(getch(), EOF);
  EXPECT_TRUE(all_applied.empty());
}

} // namespace
} // namespace dravik::test
