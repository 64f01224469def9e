// The demonstration at work on a board that changes: what goes in, and what its devices are asked meanwhile.
#pragma once

#include "examples/demonstration.hpp"
#include "sim/follower.hpp"
#include "sim/launcher.hpp"

#include <csignal>
#include <string>
#include <vector>

namespace dravik::test {

/// Changes inputs of a board, in words like hdmi=on.
inline void set_inputs(const board &of, std::vector<std::string> words) {
  words.insert(words.begin(), {"set", of.path()});
  const outcome result = launch(words);
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
}

/// A demonstration that runs until it is told to end.
class living_dashcam {
public:
  living_dashcam(const board &on, const std::vector<std::string> &words)
      : on_(on), events_(on.path()), dashcam_(on, DASHCAM, words) {}

  /// Waits until the serial console has shown a line.
  void await_line(const std::string &line) {
    const std::string sent = "ttyS0: " + line;
    EXPECT_TRUE(events_.sees(sent)) << "never seen: " << sent;
  }
  void await_event(const std::string &line) { EXPECT_TRUE(events_.sees(line)) << "never seen: " << line; }
  /// Waits until the loudspeaker has ended a sound.
  void await_sound() {
    std::string line;
    while (!(line = events_.line()).empty())
      if (line.starts_with("sound: ") && line.ends_with(" frames played"))
        return;
    ADD_FAILURE() << "no sound";
  }

  void set(const std::vector<std::string> &words) const { set_inputs(on_, words); }
  /// Presses a key until the camera has noticed, and lets it go.
  void press(const std::string &line, const std::string &key) {
    set({line + "=1"});
    await_line("key " + key);
    set({line + "=0"});
  }
  void press_next() { press("gpio.61", "next"); }
  void press_ok() { press("gpio.62", "ok"); }

  /// Ends it; what it shows last is then on the screen.
  shot end() {
    dashcam_.send(SIGTERM);
    EXPECT_EQ(dashcam_.finish(), 0);
    return {on_, sim::screen::of_size(640, 480)};
  }

private:
  const board &on_;
  follower events_;
  application dashcam_;
};

} // namespace dravik::test
