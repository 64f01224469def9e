// Memory budgets of docs/porting.md: the stack of the sound thread, and the heap at rest.

#include "sound/mp3_stage.hpp"
#include "support/allocated_bytes.hpp"
#include "support/next_call.hpp"
#include "support/psf_maker.hpp"

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>
#include <utility>

namespace dravik::test {
namespace {

constexpr size_t stack_budget = 32 << 10, heap_budget = 4 << 10, heap_budget_after_sound = 16 << 10;

/// The stack of the next thread, filled with a pattern; grows downwards.
alignas(4096) uint8_t stack[1 << 20];
constexpr uint8_t unused = 0xA5;
constexpr int sounds_until_settled = 40; ///< the C library keeps some blocks of the first ones
bool lends_stack = false;

/// Pauses of the sound thread: one after each request.
std::atomic<int> pauses = 0;

size_t used_stack() {
  const auto *const lowest =
      std::find_if(std::begin(stack), std::end(stack), [](uint8_t byte) { return byte != unused; });
  return static_cast<size_t>(std::end(stack) - lowest);
}

class Memory : public Mp3Player {
protected:
  /// A file with this extension, by which the engine selects the format.
  std::string named(const bytes &content, const std::string &extension) const {
    const std::string path = board_.path("sound/one." + extension);
    write_file(path, content);
    return path;
  }

  /// Play on the engine's thread, until it has finished.
  static void play_to_end(const std::string &path) {
    const int before = pauses;
    snd_play_direct(path.c_str(), 0);
    pauses.wait(before);
  }

  /// Without what the test has recorded.
  size_t allocated_bytes_after(int sounds, const std::string &path) {
    for (int i = 0; i < sounds; ++i)
      play_to_end(path);
    writes = {};
    take_messages();
    errors_.take();
    return allocated_bytes();
  }

  std::mt19937 random_{1};
};

TEST_F(Memory, StackOfSoundThreadIsWithinBudget) {
  std::ranges::fill(stack, unused);
  lends_stack = true;
  ASSERT_EQ(snd_init(), 1);
  ASSERT_FALSE(lends_stack);
  const bytes mp3 = encode({"-b", "320"}, 48000, 2);
  bytes broken = mp3;
  for (size_t i = 500; i < broken.size(); i += 97)
    broken[i] ^= 0x55;
  play_to_end(named(bytes(60000), "wav"));
  play_to_end(named(bytes(60000), "pcm"));
  play_to_end(named(mp3, "mp3"));
  play_to_end(named(broken, "mp3"));
  play_to_end(named(random_bytes(random_, 5000), "mp3"));
  play_to_end(board_.path("sound/missing.wav"));
  play_to_end(board_.path("sound/missing.mp3"));
  take_messages();
  board_.write("faults", "underrun sound\n");
  play_to_end(named(bytes(60000), "wav"));
  EXPECT_THAT(take_messages(), testing::Contains("xrun: underrun!!"));
  snd_exit();
  errors_.take();
  RecordProperty("stack", std::to_string(used_stack()));
  EXPECT_GT(used_stack(), size_t{8} << 10);
  EXPECT_LT(used_stack(), stack_budget);
}

TEST_F(Memory, HeapAtRestIsWithinBudget) {
  const std::string font = board_.path("font.psf");
  const bytes font_file = psf2_maker::random_font(random_, 8, 16, 256).file();
  write_file(font, font_file);
  const char *const fonts[] = {font.c_str()};
  const std::string wav = named(bytes(60000), "wav");
  const size_t before = allocated_bytes();
  fb_init();
  psf_font_alloc(1, fonts);
  ASSERT_EQ(snd_init(), 1);
  log_printf("one line");
  const size_t at_rest = allocated_bytes() - before;
  EXPECT_GE(at_rest, font_file.size() - 32);
  EXPECT_LT(at_rest - font_file.size(), heap_budget);

  play_to_end(wav);
  const size_t after_sound = allocated_bytes() - before;
  const size_t after_several = allocated_bytes_after(sounds_until_settled, wav);
  const size_t after_others = allocated_bytes_after(sounds_until_settled, wav);
  RecordProperty("at_rest", std::to_string(at_rest));
  RecordProperty("after_sound", std::to_string(after_sound));
  EXPECT_LT(after_sound - font_file.size(), heap_budget_after_sound);
  EXPECT_LE(after_others, after_several + 1024);
  snd_exit();
  psf_font_free();
  fb_exit();
}

} // namespace
} // namespace dravik::test

/// The stack of the test for the sound thread, once; the size of ordinary threads for all others.
extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
                              void *argument) noexcept {
  using namespace dravik::test;
  static const auto next =
      next_call<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)>("pthread_create");
  if (!std::exchange(lends_stack, false))
    return next(thread, attributes, run, argument);
  pthread_attr_t lent;
  pthread_attr_init(&lent);
  pthread_attr_setstack(&lent, stack, sizeof stack);
  const int result = next(thread, &lent, run, argument);
  pthread_attr_destroy(&lent);
  return result;
}

extern "C" int usleep(useconds_t) {
  ++dravik::test::pauses;
  dravik::test::pauses.notify_all();
  return 0;
}
