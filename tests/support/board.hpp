// Temporary simulated boards for tests.
//
// A test program that links dravik_test_support (before dravik, without gtest_main) has the simulator in
// charge of its files and devices: main() checks that (support/simulator_guard.hpp), and maps every path of
// the board to nothing until a test makes a board. ALSA's card `default` is that of the board;
// support/played_sound.hpp reads what it played.
//
//   TEST(EventLog, FirstLineIsTheBanner) {
//     dravik::test::board board;
//     log_printf("hello");
//     EXPECT_THAT(board.read("tmp/dravik.log"), ...);
//   }
#pragma once

#include "board/screen.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace dravik::test {

/// Make ALSA's card `default` that of the board, by the plugin in a directory.
void offer_sound_card(const std::string &directory);

/// A new board in a directory of its own, in charge from its construction to its end; the directory goes
/// with it. One at a time. Children of the process use it too.
class board {
public:
  explicit board(const sim::screen &shown = {});
  board(uint32_t width, uint32_t height) : board(sim::screen::of_size(width, height)) {}
  ~board();
  board(const board &) = delete;
  board &operator=(const board &) = delete;

  /// The host's path of a file of the board: path("tmp/dravik.log"). The directory itself without
  /// an argument.
  std::string path(std::string_view inside = "") const;

  bool exists(std::string_view inside) const;
  /// The contents of a file. The test fails if it does not exist.
  std::string read(std::string_view inside) const;
  /// Replace a file; create missing directories above it.
  void write(std::string_view inside, std::string_view contents) const;
  void remove(std::string_view inside) const;

  /// The screen memory as pixels, padding included; pixel (x, y) is at y * line_length / 2 + x.
  std::vector<uint16_t> pixels() const;

  /// Change a line of board.conf: set("yres_virtual", "960").
  void set(std::string_view key, std::string_view value) const;

  /// The requests to the devices, line by line, oldest first: "fb0: blank 1".
  std::vector<std::string> events() const;
  void clear_events() const;

  /// Inject a fault into a request: set_fault("open", "/tmp/dravik.log", "ENOSPC"). docs/simulated-board.md
  /// lists the requests of each device.
  void set_fault(std::string_view request, std::string_view path, std::string_view error = "EIO") const;
  void clear_faults() const;

  /// Let all users of the host reach and change the board, with a copy of its sound card: the build tree
  /// may be closed to them.
  void open_to_everyone() const;

private:
  std::string directory_;
};

} // namespace dravik::test
