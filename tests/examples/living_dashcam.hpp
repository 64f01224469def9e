// The demonstration on a board that changes: its inputs, and the requests to its devices.
#pragma once

#include "examples/demonstration.hpp"
#include "sim/follower.hpp"
#include "sim/launcher.hpp"
#include "support/paths.hpp"

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

namespace dravik::test {

/// Change inputs of a board, by arguments such as hdmi=on.
inline void set_inputs(const board &of, std::vector<std::string> words) {
  words.insert(words.begin(), {"set", of.path()});
  const outcome result = launch(words);
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
}

/// A demonstration that runs until expect_end().
class living_dashcam {
public:
  living_dashcam(const board &on, const std::vector<std::string> &words)
      : on_(on), events_(on.path()), dashcam_(on, dashcam_path, words) {}

  /// Wait until the serial console has shown a line; earlier lines are skipped.
  void await_line(const std::string &line) { await_event("ttyS0: " + line); }
  void await_event(const std::string &expected) {
    await(expected, [&](const std::string &line) { return line == expected; });
  }
  /// Wait until the loudspeaker has ended a sound.
  void await_sound() { await("the end of a sound", is_end_of_sound); }

  static bool is_end_of_sound(const std::string &line) {
    return line.starts_with("sound: ") && line.ends_with(" frames played");
  }

  void set(const std::vector<std::string> &words) const { set_inputs(on_, words); }
  /// Press a key and let it go, each when the camera has noticed. NEXT acts when it is pressed, OK when it is let go.
  void press_next() {
    set({"gpio.61=1"});
    await_line("key next");
    set({"gpio.61=0"});
    await_line("key released");
  }
  void press_ok() {
    set({"gpio.62=1"});
    await_line("key pressed");
    set({"gpio.62=0"});
    await_line("key ok");
  }
  /// Wait until it ends by itself.
  int finish() { return dashcam_.finish(); }

  /// End it; its last contents are then on the screen.
  shot expect_end() {
    dashcam_.send(SIGTERM);
    EXPECT_EQ(dashcam_.finish(), 0);
    return {on_, sim::screen::of_size(640, 480)};
  }

private:
  /// The camera reports all the time: the time limit is for the whole wait, not per line.
  template <typename Expected> void await(const std::string &name, Expected is_expected) {
    using clock = std::chrono::steady_clock;
    const clock::time_point end = clock::now() + std::chrono::seconds{30};
    std::string line;
    while (clock::now() < end && !(line = events_.line()).empty())
      if (is_expected(line))
        return;
    ADD_FAILURE() << "never seen: " << name;
  }

  const board &on_;
  follower events_;
  application dashcam_;
};

} // namespace dravik::test
