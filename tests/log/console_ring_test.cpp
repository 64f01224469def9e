// The console's ring, byte by byte. No port is open, so that nothing is sent meanwhile.

#include "dravik.h"
#include "support/emulation.hpp"
#include "support/random.hpp"
#include "support/stderr_capture.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace dravik::test {
namespace {

constexpr size_t ring_size = DRAVIK_CONSOLE_RING_SIZE;
constexpr const char *refusal = "ring buffer full, skip console msg\n";

/// A ring of dots with its head and tail at these places.
void set_ring(size_t head, size_t tail) {
  std::fill(std::begin(ring_buf), std::end(ring_buf), '.');
  ptr_rb_head = ring_buf + head;
  ptr_rb_tail = ring_buf + tail;
}

std::string ring() {
  return {ring_buf, ring_size};
}
std::ptrdiff_t head() {
  return ptr_rb_head - ring_buf;
}
std::ptrdiff_t tail() {
  return ptr_rb_tail - ring_buf;
}

std::string dots(size_t count) {
  return std::string(count, '.');
}

/// A ring of dots but for a text.
std::string ring_with(size_t at, const std::string &text) {
  return dots(ring_size).replace(at, text.size(), text);
}

/// Letters that show where in the message they stood.
std::string message_of(size_t length) {
  std::string text;
  for (size_t i = 0; i < length; ++i)
    text += static_cast<char>('A' + i % 53);
  return text;
}

/// Print a text and return the output on standard error.
std::string checked_print(const std::string &text) {
  stderr_capture errors;
  EXPECT_EQ(console_printf("%s", text.c_str()), 0);
  return errors.take();
}

TEST(ConsoleRing, IsThereAndEmptyBeforeStartUp) {
  EXPECT_EQ(ptr_rb_head, nullptr);
  EXPECT_EQ(ptr_rb_tail, nullptr);
  EXPECT_EQ(console_write_fd, -1);
  EXPECT_EQ(__console_io_canceled_write, 0);
  EXPECT_EQ(console_msg_len, 0);
  EXPECT_EQ(sizeof ring_buf, ring_size);
  EXPECT_EQ(sizeof console_msg, 256U);
}

TEST(ConsoleRing, StoresNothingBeforeInit) {
  EXPECT_EQ(checked_print("early"), "");
  EXPECT_EQ(ring(), std::string(ring_size, '\0'));
  EXPECT_EQ(ptr_rb_tail, nullptr);
}

TEST(ConsoleRing, StoresMessageAtTailWithoutNul) {
  set_ring(10, 10);
  EXPECT_EQ(console_printf("%s=%d\n", "speed", 42), 0);
  EXPECT_EQ(ring(), ring_with(10, "speed=42\n"));
  EXPECT_EQ(head(), 10);
  EXPECT_EQ(tail(), 19);
}

TEST(ConsoleRing, MovesNothingForEmptyMessage) {
  set_ring(7, 9);
  EXPECT_EQ(checked_print(""), "");
  EXPECT_EQ(ring(), dots(ring_size));
  EXPECT_EQ(tail(), 9);
  EXPECT_EQ(console_msg_len, 0);
}

TEST(ConsoleRing, LeavesTailAtEndIfMessageFillsSpace) {
  set_ring(500, 4090);
  EXPECT_EQ(checked_print("sixers"), "");
  EXPECT_EQ(ring(), ring_with(4090, "sixers"));
  EXPECT_EQ(tail(), ring_size);
}

TEST(ConsoleRing, StoresMessageAfterEndAtStart) {
  set_ring(500, ring_size);
  EXPECT_EQ(checked_print("start"), "");
  EXPECT_EQ(ring(), ring_with(0, "start"));
  EXPECT_EQ(tail(), 5);
}

TEST(ConsoleRing, LeavesTailAtEndForEmptyMessage) {
  set_ring(500, ring_size);
  EXPECT_EQ(checked_print(""), "");
  EXPECT_EQ(tail(), ring_size);
}

TEST(ConsoleRing, WrapsMessageOneByteTooLong) {
  set_ring(500, 4090);
  EXPECT_EQ(checked_print("sevenup"), "");
  std::string expected = ring_with(4090, "sevenu");
  expected[0] = 'p';
  EXPECT_EQ(ring(), expected);
  EXPECT_EQ(tail(), 1);
}

struct places {
  size_t head, tail;
  bool is_refused;
  const char *name;
};

class ConsoleRingFull : public testing::TestWithParam<places> {};

TEST_P(ConsoleRingFull, RejectsOnlyWithOneByteFree) {
  const auto [head_at, tail_at, is_refused, name] = GetParam();
  set_ring(head_at, tail_at);
  EXPECT_EQ(checked_print("x"), is_refused ? refusal : "");
  EXPECT_EQ(ring() == dots(ring_size), is_refused);
  EXPECT_EQ(tail() == static_cast<std::ptrdiff_t>(tail_at), is_refused);
  EXPECT_EQ(head(), static_cast<std::ptrdiff_t>(head_at));
  EXPECT_STREQ(console_msg, "x"); // formatted all the same
  EXPECT_EQ(console_msg_len, 1);
}

INSTANTIATE_TEST_SUITE_P(Places, ConsoleRingFull,
                         testing::Values(places{0, 0, false, "EmptyAtTheStart"},
                                         places{1, 0, true, "TailBeforeHeadAtTheStart"},
                                         places{2, 0, false, "TwoFreeAtTheStart"},
                                         places{100, 99, true, "TailBeforeHeadInside"},
                                         places{100, 98, false, "TwoFreeInside"},
                                         places{0, ring_size - 1, true, "TailOnTheLastByte"},
                                         places{0, ring_size - 2, false, "TwoFreeAtTheEnd"},
                                         places{1, ring_size - 1, false, "TwoFreeAcrossTheEnd"},
                                         places{1, ring_size, true, "TailOnTheEndIsTheStart"},
                                         places{0, ring_size, false, "AllOfTheRingWaits"},
                                         places{ring_size, ring_size, false, "EmptyOnTheEnd"},
                                         places{ring_size, ring_size - 1, true, "HeadOnTheEnd"},
                                         places{ring_size, ring_size - 2, false, "TwoFreeHeadOnTheEnd"}),
                         [](const auto &one) { return std::string{one.param.name}; });

TEST(ConsoleRing, OverwritesFullRingFromStart) {
  set_ring(0, ring_size);
  EXPECT_EQ(checked_print("over"), "");
  EXPECT_EQ(ring(), ring_with(0, "over"));
  EXPECT_EQ(tail(), 4);
  EXPECT_EQ(head(), 0);
}

TEST(ConsoleRing, OverwritesOldestTextOfShortSpace) {
  set_ring(1100, 1000); // 100 bytes free
  const std::string text = message_of(300);
  EXPECT_EQ(checked_print(text), "");
  EXPECT_EQ(ring(), ring_with(1000, text));
  EXPECT_EQ(tail(), 1300);
  EXPECT_EQ(head(), 1100);
}

TEST(ConsoleRing, StoresLongestMessage) {
  set_ring(0, 0);
  const std::string text = message_of(ring_size - 1);
  EXPECT_EQ(checked_print(text), "");
  EXPECT_EQ(ring(), ring_with(0, text));
  EXPECT_EQ(tail(), ring_size - 1);
  EXPECT_EQ(console_msg_len, ring_size - 1);
}

TEST(ConsoleRing, KeepsStartOfMessageLongerThanRing) {
  for (const size_t length : {4097U, 10000U}) {
    set_ring(300, 300);
    const std::string text = message_of(length);
    EXPECT_EQ(checked_print(text), "");
    EXPECT_EQ(ring(), text.substr(3796, 299).append(".").append(text, 0, 3796));
    EXPECT_EQ(tail(), 299);
    EXPECT_EQ(console_msg_len, static_cast<int32_t>(length));
  }
}

TEST(ConsoleRing, KeepsLastMessageUpTo255Characters) {
  set_ring(0, 0);
  for (const size_t length : {1U, 254U, 255U, 256U, 1000U, 5000U}) {
    const std::string text = message_of(length);
    set_ring(0, 0);
    checked_print(text);
    EXPECT_EQ(std::string{console_msg}, text.substr(0, 255)) << length;
    EXPECT_EQ(console_msg_len, static_cast<int32_t>(length));
  }
}

TEST(ConsoleRing, SendsMessageOf256CharactersWhole) {
  set_ring(0, 0);
  const std::string text = message_of(256);
  checked_print(text);
  EXPECT_EQ(ring(), ring_with(0, text));
}

/// The ring byte by byte, as slow and plain as can be.
struct ring_model {
  std::string bytes = dots(ring_size);
  size_t head = 0, tail = 0;

  bool takes(const std::string &text) {
    if ((tail % ring_size + 1) % ring_size == head % ring_size)
      return false;
    for (const char byte : text) {
      if (tail == ring_size)
        tail = 0;
      bytes[tail++] = byte;
    }
    return true;
  }
};

TEST(ConsoleRing, StoresManyMessagesFromAnyPosition) {
  seeded_random random;
  set_ring(0, 0);
  ring_model model;
  for (int round = 0; round < rounds(20000); ++round) {
    if (random.one_in(5))
      model.head = model.tail; // all was sent
    if (random.one_in(50))
      model.head = static_cast<size_t>(random.between(0, ring_size));
    if (random.one_in(20))
      model.head = model.tail % ring_size + 1;
    ptr_rb_head = ring_buf + model.head;
    const auto longest = static_cast<int32_t>(random.one_in(10) ? ring_size - 1 : 200);
    const auto room = static_cast<int32_t>(ring_size - model.tail);
    const int32_t length =
        random.one_in(8) ? std::min<int32_t>(room, ring_size - 1) : random.between(0, longest);
    const std::string text =
        std::string(static_cast<size_t>(length), static_cast<char>(random.between('a', 'z')));
    EXPECT_EQ(checked_print(text), model.takes(text) ? "" : refusal);
    ASSERT_EQ(ring(), model.bytes) << "round " << round;
    ASSERT_EQ(tail(), static_cast<std::ptrdiff_t>(model.tail)) << "round " << round;
    ASSERT_EQ(head(), static_cast<std::ptrdiff_t>(model.head)) << "round " << round;
  }
}

} // namespace
} // namespace dravik::test
