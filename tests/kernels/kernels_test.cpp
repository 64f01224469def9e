// The inner loops of every machine that this processor can be, pixel by pixel against a model: all widths
// up to 130, odd starts, sources that end at a protected page, and guard bands around what is drawn.

#include "kernels/kernels.hpp"
#include "support/guarded_memory.hpp"
#include "support/random.hpp"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {
namespace {

using kernels::machine;
using kernels::picture;

constexpr size_t widest = 130;
constexpr size_t rows = 3;
constexpr size_t guard = 40; ///< pixels before and after each row

#ifdef DRAVIK_ARM_KERNELS
/// Whether the processor has the instructions of a job: a process of its own survives them.
bool has_instructions_of(const std::function<void()> &job) {
  const pid_t child = ::fork();
  if (child == 0) {
    job();
    ::_exit(0);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGILL) << status;
  return WIFEXITED(status);
}

bool has_neon() {
  static const bool has = has_instructions_of([] {
    uint16_t to[8] = {};
    const uint8_t from[32] = {};
    kernels::neon.bgr32({to, 16, from, 32, 8, 1});
  });
  return has;
}

bool has_crc32() {
  static const bool has = has_instructions_of([] {
    const uint8_t bytes[16] = {};
    kernels::crc32_by_instructions(0, bytes, sizeof bytes);
  });
  return has;
}
#endif

bool runs_here(const machine &which) {
#ifdef DRAVIK_X86_KERNELS
  __builtin_cpu_init();
  if (&which == &kernels::x86_64_v2)
    return __builtin_cpu_supports("x86-64-v2");
  if (&which == &kernels::x86_64_v4)
    return __builtin_cpu_supports("x86-64-v4");
#endif
#ifdef DRAVIK_ARM_KERNELS
  if (&which == &kernels::neon)
    return has_neon();
#endif
  return &which == &kernels::plain;
}

std::vector<const machine *> all_machines() {
  return {&kernels::plain,
#ifdef DRAVIK_X86_KERNELS
          &kernels::x86_64_v2,
          &kernels::x86_64_v4
#endif
#ifdef DRAVIK_ARM_KERNELS
              & kernels::neon
#endif
  };
}

/// The colour of a pixel, or nothing if it is left out: from the bytes of a row and a column.
using pixel_model = std::function<std::optional<uint16_t>(const uint8_t *row, size_t column)>;
using loop = std::function<void(const machine &, const picture &)>;

class Kernels : public testing::TestWithParam<const machine *> {
protected:
  seeded_random random_;
  std::vector<uint16_t> screen_ = std::vector<uint16_t>(rows * (widest + 2 * guard) + 1);
  guarded_memory memory_{rows * (widest * 4 + 8)};

  void SetUp() override {
    if (!runs_here(*GetParam()))
      GTEST_SKIP() << GetParam()->name << ": not this processor";
  }

  /// Draw sources of all widths that end at the protected page and compare. `row_bytes` tells the bytes of
  /// a row; a byte of the source is `value()`.
  void draw_and_compare(const std::function<size_t(size_t width)> &row_bytes,
                        const std::function<uint8_t()> &value, const loop &draw, const pixel_model &model) {
    for (size_t width = 0; width <= widest; ++width)
      for (const size_t gap : {size_t{0}, size_t{3}})
        draw_and_compare(width, row_bytes(width), gap, value, draw, model);
  }

private:
  void draw_and_compare(size_t width, size_t row_bytes, size_t gap, const std::function<uint8_t()> &value,
                        const loop &draw, const pixel_model &model) {
    const size_t stride = row_bytes + gap;
    const std::span<uint8_t> source = memory_.last((rows - 1) * stride + row_bytes);
    std::generate(source.begin(), source.end(), value);
    std::generate(screen_.begin(), screen_.end(), [this] { return random_.colour(); });
    std::vector<uint16_t> expected = screen_;
    const size_t pitch = width + 2 * guard, start = guard + random_.word() % 2;
    for (size_t y = 0; y < rows; ++y)
      for (size_t x = 0; x < width; ++x)
        if (const auto colour = model(source.data() + y * stride, x))
          expected[start + y * pitch + x] = *colour;
    draw(*GetParam(), {screen_.data() + start, static_cast<ptrdiff_t>(pitch * 2), source.data(),
                       static_cast<ptrdiff_t>(stride), width, rows});
    const auto difference = std::mismatch(expected.begin(), expected.end(), screen_.begin());
    ASSERT_EQ(difference.first - expected.begin(), std::ssize(expected))
        << "first difference; width " << width << ", gap " << gap << ", start " << start;
  }
};

std::function<size_t(size_t)> bytes_per_pixel(size_t size) {
  return [size](size_t width) { return width * size; };
}

size_t bytes_of_levels(size_t width) {
  return (width + 1) / 2;
}

unsigned level_at(const uint8_t *row, size_t column) {
  return column % 2 == 0 ? row[column / 2] >> 4 : row[column / 2] & 15;
}

uint16_t word_at(const uint8_t *row, size_t column) {
  uint16_t word;
  std::memcpy(&word, row + column * 2, sizeof word);
  return word;
}

/// Colours of a ramp that are all different, so that a wrong level shows.
std::array<uint16_t, 16> ramp_of(seeded_random &random) {
  std::array<uint16_t, 16> colours;
  const uint16_t base = random.colour();
  for (size_t i = 0; i < colours.size(); ++i)
    colours[i] = static_cast<uint16_t>(base + i * 0x1357);
  return colours;
}

TEST_P(Kernels, PaintLevels) {
  const auto colours = ramp_of(random_);
  draw_and_compare(
      bytes_of_levels, [this] { return static_cast<uint8_t>(random_.word() >> 8); },
      [&](const machine &on, const picture &what) {
        on.levels(what, {3, colours.data()});
      },
      [&](const uint8_t *row, size_t column) { return colours[level_at(row, column)]; });
}

TEST_P(Kernels, FollowARampThatChanged) {
  for (int i = 0; i < 3; ++i) {
    const auto colours = ramp_of(random_);
    draw_and_compare(
        bytes_of_levels, [this] { return static_cast<uint8_t>(random_.word() >> 8); },
        [&](const machine &on, const picture &what) {
          on.levels(what, {7, colours.data()});
        },
        [&](const uint8_t *row, size_t column) { return colours[level_at(row, column)]; });
  }
}

TEST_P(Kernels, LeaveLevelZero) {
  const auto colours = ramp_of(random_);
  for (const uint32_t empty_in : {1U, 2U, 8U, 64U})
    draw_and_compare(
        bytes_of_levels,
        [&] {
          return static_cast<uint8_t>(random_.word() >> 8 & (random_.one_in(empty_in) ? 0xF0 : 0xFF) &
                                      (random_.one_in(empty_in) ? 0x0F : 0xFF));
        },
        [&](const machine &on, const picture &what) {
          on.levels_over(what, {5, colours.data()});
        },
        [&](const uint8_t *row, size_t column) -> std::optional<uint16_t> {
          const unsigned level = level_at(row, column);
          return level != 0 ? std::optional{colours[level]} : std::nullopt;
        });
}

/// Bytes of which pixels of the key colour 0xF8F8, black pixels, runs and single pixels are made.
struct keyed_bytes {
  seeded_random &random;
  int left = 0;
  uint8_t byte = 0;

  uint8_t operator()() {
    if (left-- <= 0) {
      left = random.between(1, 24);
      byte = random.one_in(3) ? 0xF8 : random.one_in(3) ? 0 : static_cast<uint8_t>(random.word() >> 8);
    }
    return byte;
  }
};

TEST_P(Kernels, LeaveTheKeyColour) {
  draw_and_compare(
      bytes_per_pixel(2), keyed_bytes{random_},
      [](const machine &on, const picture &what) { on.keyed(what, 0xF8F8); },
      [](const uint8_t *row, size_t column) -> std::optional<uint16_t> {
        const uint16_t colour = word_at(row, column);
        return colour != 0xF8F8 ? std::optional{colour} : std::nullopt;
      });
}

TEST_P(Kernels, PaintSilhouettes) {
  for (const bool without_black : {false, true})
    draw_and_compare(
        bytes_per_pixel(2), keyed_bytes{random_},
        [&](const machine &on, const picture &what) { on.silhouette(what, 0xF8F8, without_black, 0x7BCF); },
        [&](const uint8_t *row, size_t column) -> std::optional<uint16_t> {
          const uint16_t colour = word_at(row, column);
          const bool left_out = colour == 0xF8F8 || (without_black && colour == 0);
          return left_out ? std::nullopt : std::optional<uint16_t>{0x7BCF};
        });
}

template <size_t PixelSize> uint16_t rgb565_at(const uint8_t *row, size_t column) {
  const uint8_t *bgr = row + column * PixelSize;
  return static_cast<uint16_t>((bgr[2] / 8) * 2048 + (bgr[1] / 4) * 32 + bgr[0] / 8);
}

TEST_P(Kernels, TruncateBlueGreenRed) {
  const auto any_byte = [this] { return static_cast<uint8_t>(random_.word() >> 8); };
  draw_and_compare(
      bytes_per_pixel(3), any_byte, [](const machine &on, const picture &what) { on.bgr24(what); },
      rgb565_at<3>);
  draw_and_compare(
      bytes_per_pixel(4), any_byte, [](const machine &on, const picture &what) { on.bgr32(what); },
      rgb565_at<4>);
}

TEST_P(Kernels, LookUpIndexes) {
  std::array<uint16_t, 256> palette;
  for (size_t i = 0; i < palette.size(); ++i)
    palette[i] = static_cast<uint16_t>(i * 0x0141 + 0x1234);
  draw_and_compare(
      bytes_per_pixel(1), [this] { return static_cast<uint8_t>(random_.word() >> 8); },
      [&](const machine &on, const picture &what) { on.indexed(what, palette.data()); },
      [&](const uint8_t *row, size_t column) { return palette[row[column]]; });
}

TEST_P(Kernels, DrawUpwards) {
  const auto colours = ramp_of(random_);
  std::array<uint16_t, 30> lines;
  lines.fill(0xAAAA);
  const uint8_t levels[] = {0x12, 0x34, 0x56, 0x78};
  GetParam()->levels({lines.data() + 20, -20, levels, 2, 4, 2}, {1, colours.data()});
  for (size_t i = 0; i < lines.size(); ++i) {
    const uint16_t expected = i >= 20 && i < 24   ? colours[i - 20 + 1]
                              : i >= 10 && i < 14 ? colours[i - 10 + 5]
                                                  : uint16_t{0xAAAA};
    EXPECT_EQ(lines[i], expected) << i;
  }
}

/// Draw runs of glyphs, of which the last of the font ends at the protected page, and compare.
class GlyphKernels : public Kernels {
protected:
  void draw_and_compare(size_t width, size_t height, size_t count) {
    const size_t row_bytes = width <= 8 ? 1 : 2, size = row_bytes * height;
    const std::span<uint8_t> font = memory_.last(font_glyphs * size);
    std::ranges::generate(font, [this] { return static_cast<uint8_t>(random_.word() >> 8); });
    std::vector<const uint8_t *> glyphs(count);
    for (const uint8_t *&glyph : glyphs)
      glyph = font.data() + random_.word() % font_glyphs * size;
    const size_t pitch = count * width + random_.word() % 3, start = guard + random_.word() % 2;
    std::vector<uint16_t> screen(height * pitch + 2 * guard);
    std::ranges::generate(screen, [this] { return random_.colour(); });
    std::vector<uint16_t> expected = screen;
    const uint16_t clear = random_.colour(), set = random_.colour();
    for (size_t y = 0; y < height; ++y)
      for (size_t x = 0; x < count * width; ++x) {
        const size_t column = x % width;
        const bool is_set = (glyphs[x / width][y * row_bytes + column / 8] >> (7 - column % 8) & 1) != 0;
        expected[start + y * pitch + x] = is_set ? set : clear;
      }
    GetParam()->glyphs(
        {screen.data() + start, static_cast<ptrdiff_t>(pitch * 2), glyphs.data(), count, width, height},
        clear, set);
    const auto difference = std::mismatch(expected.begin(), expected.end(), screen.begin());
    ASSERT_EQ(difference.first - expected.begin(), std::ssize(expected))
        << "first difference; " << count << " glyphs of " << width << "x" << height << ", start " << start;
  }

private:
  static constexpr size_t font_glyphs = 3;
};

TEST_P(GlyphKernels, PaintClearAndSetBits) {
  for (size_t width = 1; width <= 16; ++width)
    for (const size_t height : {0U, 1U, 7U, 8U, 9U, 15U, 16U, 17U, 24U, 33U})
      for (size_t count = 1; count <= kernels::glyphs_per_run; ++count)
        draw_and_compare(width, height, count);
}

INSTANTIATE_TEST_SUITE_P(Machines, GlyphKernels, testing::ValuesIn(all_machines()),
                         [](const auto &of) { return std::string{of.param->name}; });

INSTANTIATE_TEST_SUITE_P(Machines, Kernels, testing::ValuesIn(all_machines()),
                         [](const auto &of) { return std::string{of.param->name}; });

/// Bit by bit, as the checksum is defined.
uint32_t model_crc32(uint32_t value, std::span<const uint8_t> bytes) {
  for (const uint8_t byte : bytes)
    for (int bit = 0; bit < 8; ++bit)
      value = value >> 1 ^ (((value ^ byte >> bit) & 1) != 0 ? 0xEDB88320U : 0U);
  return value;
}

struct checksum {
  const char *name;
  kernels::crc32_loop compute;
  bool runs_here;
};

std::vector<checksum> all_checksums() {
#ifdef DRAVIK_X86_KERNELS
  __builtin_cpu_init();
  const bool multiplies = __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("pclmul");
  const bool multiplies_64 =
      __builtin_cpu_supports("x86-64-v4") && multiplies && __builtin_cpu_supports("vpclmulqdq");
  return {{"tables", kernels::crc32_by_tables, true},
          {"by_16", kernels::crc32_by_16, multiplies},
          {"by_64", kernels::crc32_by_64, multiplies_64}};
#elif defined DRAVIK_ARM_KERNELS
  return {{"tables", kernels::crc32_by_tables, true},
          {"instructions", kernels::crc32_by_instructions, has_crc32()}};
#else
  return {{"tables", kernels::crc32_by_tables, true}};
#endif
}

class Checksums : public testing::TestWithParam<checksum> {};

TEST_P(Checksums, AreThoseOfTheDefinition) {
  if (!GetParam().runs_here)
    GTEST_SKIP() << GetParam().name << ": not this processor";
  seeded_random random;
  const guarded_memory memory{4096};
  std::ranges::generate(memory.all(), [&] { return static_cast<uint8_t>(random.word() >> 8); });
  for (size_t size = 0; size <= 1100; ++size) {
    const uint32_t start = random.word();
    const std::span<const uint8_t> bytes = memory.last(size);
    ASSERT_EQ(GetParam().compute(start, bytes.data(), size), model_crc32(start, bytes)) << size;
  }
}

INSTANTIATE_TEST_SUITE_P(All, Checksums, testing::ValuesIn(all_checksums()),
                         [](const auto &of) { return std::string{of.param.name}; });

TEST(ActiveKernels, AreTheBestOfThisProcessor) {
  const std::vector<const machine *> all = all_machines();
  const auto best = std::find_if(all.rbegin(), all.rend(), [](const machine *m) { return runs_here(*m); });
  EXPECT_STREQ(kernels::active->name, (*best)->name);
  kernels::crc32_loop fastest = kernels::crc32_by_tables;
  for (const checksum &of : all_checksums())
    fastest = of.runs_here ? of.compute : fastest;
  EXPECT_EQ(kernels::crc32, fastest);
}

} // namespace
} // namespace dravik::test
