// Players on the simulated sound card, by the real ALSA: what they offer to it, and what it recorded.
#pragma once

#include "dravik.h"
#include "support/board.hpp"
#include "support/bytes.hpp"
#include "support/descriptors.hpp"
#include "support/log_lines.hpp"
#include "support/stderr_capture.hpp"

#include <functional>
#include <gtest/gtest.h>

namespace dravik::test {

/// The frames on their way to the card.
struct watched_writes {
  std::function<void()> on_write = {}; ///< what happens before each
  std::vector<unsigned long> offered;  ///< by each
  unsigned long taken = 0;             ///< by the card, of all

  size_t count() const { return offered.size(); }
};
extern watched_writes writes;

/// Has a board whose card accepts everything immediately and records each sample unchanged.
class card_fixture : public testing::Test {
protected:
  card_fixture();

  /// A file with these bytes; its path.
  std::string file(const bytes &content) const;

  /// The recording since the last call: 16 bits for the left side, 16 bits for the right one, and
  /// so on.
  bytes take_played() const;

  /// The event log since the last call.
  std::vector<std::string> take_messages() const;

  /// Neither is there anything open, nor has anyone complained on standard error.
  void expect_all_closed();

  board board_;
  stderr_capture errors_;

private:
  size_t descriptors_;
};

/// Each 16-bit sample twice. Half a sample at the end is lost.
bytes on_both_sides(const bytes &samples);

testing::AssertionResult are_same(const bytes &played, const bytes &expected);

} // namespace dravik::test
