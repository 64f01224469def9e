// A scenario played on a board.
#pragma once

#include "host/run_session.hpp"
#include "scenario/followed_screen.hpp"
#include "scenario/followed_sound.hpp"
#include "scenario/followed_text.hpp"
#include "scenario/steps.hpp"

#include <array>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace dravik::sim::scenario {

struct play_request {
  std::string board;
  std::string file;     ///< the scenario
  std::string output;   ///< directory of shots and differences; empty: that of the scenario
  std::string junit;    ///< file of the report; empty for none
  bool updates = false; ///< expected pictures that differ are replaced
};

/// Read a scenario. Return false and set `error` on failure; `is_invalid` if the file was read, but is none.
[[nodiscard]] bool load(const std::string &file, std::vector<step> &steps, bool &is_invalid,
                        std::string &error);

class player {
public:
  using clock = run_session::clock;

  /// What the board has gained before is not looked at.
  player(const play_request &request, std::vector<step> steps, run_session &session);

  /// Start the application, unless a step does, play all steps, end the application, write the report. Return false and set `error`
  /// if a step failed, or on another failure.
  [[nodiscard]] bool play(std::string &error);

private:
  /// What a condition depends on besides files, which wake the player.
  enum class look_at : uint8_t { files, screen };

  bool play_steps();
  bool perform(const step &next);
  bool fail(std::string reason);
  bool check_end();
  bool write_report(std::string &error) const;

  void look();
  void begin_input();
  template <class Condition, class Describe> bool await(look_at what, Condition holds, Describe last_seen);
  bool pass_time(milliseconds time);
  bool pass_until(clock::time_point time);
  bool needs_application();
  std::string end_text() const;

  bool set_line(uint32_t line, bool is_high);
  /// Set a line; the application reports that, if a scenario says how.
  bool set_key(uint32_t line, bool is_down);
  bool press_down(uint32_t line);
  bool release(uint32_t line);
  bool keep_down(const press_keys &does);
  bool renew_picture();
  followed_text &text_of(text_source source) { return texts_[static_cast<size_t>(source)]; }
  std::string last_line_of(text_source source);

  bool play(const set_timeout &does);
  bool play(const wait_time &does);
  bool play(const wait_text &does);
  bool play(const wait_file &does);
  bool play(const wait_change &does);
  bool play(const wait_still &does);
  bool play(const wait_picture &does);
  bool play(const wait_sound &does);
  bool play(const wait_silence &does);
  bool play(const set_input &does);
  bool play(const set_key_texts &does);
  bool play(const press_keys &does);
  bool play(const hold_key &does);
  bool play(const inject_fault &does);
  bool play(const remove_faults &does);
  bool play(const type_text &does);
  bool play(const write_file_of_board &does);
  bool play(const remove_file_of_board &does);
  bool play(const expect_text &does);
  bool play(const expect_file &does);
  bool play(const expect_level &does);
  bool play(const expect_no_sound &does);
  bool play(const expect_picture &does);
  bool play(const take_shot &does);
  bool play(const start_application &does);
  bool play(const stop_application &does);
  bool play(const end_of_application &does);

  const play_request &request_;
  std::vector<step> steps_;
  run_session &session_;
  milliseconds timeout_;
  std::string failure_;
  std::vector<double> seconds_;

  std::array<followed_text, std::size(text_source_names)> texts_;
  followed_sound sound_;
  followed_screen screen_;
  std::map<uint32_t, clock::time_point> released_; ///< when a key was
  std::optional<set_key_texts> key_texts_;

  bool is_started_ = false;
  bool is_stopped_ = false;
  bool is_end_seen_ = false;
};

} // namespace dravik::sim::scenario
