// The steps of a scenario, as docs/scenarios.md describes them.
#pragma once

#include "host/faults.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace dravik::sim::scenario {

using std::chrono::milliseconds;

/// A text that the board and its application write.
enum class text_source : uint8_t { console, log, event };
inline constexpr std::string_view text_source_names[] = {"console", "log", "event"};

struct rectangle {
  uint32_t x = 0, y = 0, width = 0, height = 0;
};

/// A PNG file, with which the screen or a part of it is compared.
struct expected_picture {
  std::string file;              ///< relative to the directory of the scenario
  std::optional<rectangle> part; ///< none: all of the screen
  uint32_t tolerance = 0;        ///< greatest difference per colour channel, 0 to 255
};

struct set_timeout {
  milliseconds time;
};
struct wait_time {
  milliseconds time;
};
struct wait_text {
  text_source source;
  std::string text;
};
/// A file of the board, as an application names it.
struct file_condition {
  std::string path;
  std::string text; ///< that it contains; empty: any
  bool is_wanted = true;
};
struct wait_file {
  file_condition file;
};
struct wait_change {
  std::optional<rectangle> part;
};
struct wait_still {
  milliseconds time;
  std::optional<rectangle> part;
};
struct wait_picture {
  expected_picture picture;
};
struct wait_sound {};
struct wait_silence {
  milliseconds time;
};

struct set_input {
  std::string change; ///< as `dravik-sim set` accepts it
};
/// A text by which an application reports something.
struct reported_text {
  text_source source;
  std::string text;
};
/// What the application reports when it has noticed a key; keys are awaited by it.
struct set_key_texts {
  text_source source;
  std::string pressed;
  std::string released;
};
/// For a time, until a text comes, or else as long as the application needs.
struct press_keys {
  std::vector<uint32_t> lines;
  std::optional<milliseconds> time;
  std::optional<reported_text> until;
};
struct hold_key {
  uint32_t line;
  bool is_down;
};
struct inject_fault {
  fault injected;
};
struct remove_faults {
  std::optional<fault> only; ///< none: all
};
struct type_text {
  std::string text;
};
struct write_file_of_board {
  std::string path;
  std::string text;
  uint64_t bytes; ///< without a text: of zeros
};
struct remove_file_of_board {
  std::string path;
};

enum class presence : uint8_t { some, none, never };
struct expect_text {
  text_source source;
  std::string text;
  presence wanted;
};
struct expect_file {
  file_condition file;
};
struct expect_level {
  bool is_above; ///< or below
  double decibels;
};
struct expect_no_sound {};
struct expect_picture {
  expected_picture picture;
};

struct take_shot {
  std::string file;
};
struct start_application {};
struct stop_application {};
struct end_of_application {
  uint32_t status;
};

using action =
    std::variant<set_timeout, wait_time, wait_text, wait_file, wait_change, wait_still, wait_picture,
                 wait_sound, wait_silence, set_input, set_key_texts, press_keys, hold_key, inject_fault,
                 remove_faults, type_text, write_file_of_board, remove_file_of_board, expect_text,
                 expect_file, expect_level, expect_no_sound, expect_picture, take_shot, start_application,
                 stop_application, end_of_application>;

struct step {
  size_t line = 0;  ///< from 1
  std::string text; ///< as it is in the file, without comment
  action does;
};

} // namespace dravik::sim::scenario
