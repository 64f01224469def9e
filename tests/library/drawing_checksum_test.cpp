// The same calls draw the same pixels on every machine. The other tests compare pixels with models; this one compares
// machines: its checksums hold on 64-bit machines with wide stores, and on 32-bit ones with and without floating point.

#include "support/archive_maker.hpp"
#include "support/bmp_maker.hpp"
#include "support/board.hpp"
#include "support/psf_maker.hpp"
#include "support/random.hpp"
#include "support/screen.hpp"
#include "support/stderr_capture.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

constexpr int32_t width = 96, height = 64;

struct point {
  int32_t x, y;
};

/// Random arguments, in an order that does not depend on the compiler.
class arguments {
public:
  int32_t between(int32_t first, int32_t last) {
    return first + static_cast<int32_t>(engine_() % static_cast<uint32_t>(last - first + 1));
  }
  uint16_t colour() { return static_cast<uint16_t>(engine_() >> 16); }
  point within(int32_t margin) {
    const int32_t x = between(margin, width - 1 - margin), y = between(margin, height - 1 - margin);
    return {x, y};
  }
  point around() {
    const int32_t x = between(-20, width + 20), y = between(-20, height + 20);
    return {x, y};
  }
  template <class T, size_t N> T one_of(const T (&choices)[N]) {
    return choices[static_cast<size_t>(between(0, N - 1))];
  }
  std::mt19937 &engine() { return engine_; }

private:
  std::mt19937 engine_{20};
};

/// Files of a board, in the forms that the drawing calls read.
class pictures {
public:
  pictures() {
    std::mt19937 random{7};
    archive_maker archive;
    for (uint32_t i = 0; i < art_count; ++i)
      archive.images.push_back(random_art(random, 1 + i * 3, 1 + i));
    load(q7bmp_alloc, file("art", archive.file()));
    load_font("narrow", psf2_maker::random_font(random, 7, 11, 64), psf[0]);
    load_font("wide", psf2_maker::random_font(random, 13, 9, 64), psf[1]);
    for (const uint16_t bits : std::initializer_list<uint16_t>{1, 4, 8, 16, 24, 32})
      for (const uint32_t columns : {1U, 6U, 16U, 23U})
        add_bmp(random, bits, columns);
    const char *const slot = "16bits.bmp";
    const std::string directory = board_.path("");
    bmp_mem_alloc(1, directory.c_str(), &slot);
  }

  static constexpr uint32_t art_count = 14;
  std::vector<std::string> bmps;

private:
  std::string file(const std::string &name, const bytes &content) const {
    write_file(board_.path(name), content);
    return board_.path(name);
  }
  template <class Load> static void load(Load load, const std::string &path) {
    const stderr_capture quiet;
    const char *const name = path.c_str();
    load(1, &name);
  }
  void load_font(const std::string &name, const psf2_maker &font, psf_font &slot) const {
    psf_font_load(file(name, font.file()).c_str(), &slot);
  }
  void add_bmp(std::mt19937 &random, uint16_t bits, uint32_t columns) {
    bmp_maker maker = {.width = columns, .height = 5, .bits = bits};
    if (bits <= 8)
      maker.palette = random_bytes(random, 1024);
    maker.with_random_pixels(random);
    bmps.push_back(file(std::to_string(bits) + "bits" + std::to_string(columns) + ".bmp", maker.file()));
    if (bits == 16)
      file("16bits.bmp", maker.file());
  }

  board board_;
};

constexpr uint16_t named[] = {DRAVIK_BLACK, DRAVIK_WHITE, DRAVIK_RED,         DRAVIK_GREY,
                              DRAVIK_THEME, DRAVIK_CYAN,  DRAVIK_TRANSPARENT, DRAVIK_MAGENTA};

void draw_line(arguments &next, const pictures &) {
  const point from = next.within(0), to = next.within(0);
  fb_put_line(from.x, from.y, to.x, to.y, next.colour());
}
void draw_triangle(arguments &next, const pictures &) {
  const point a = next.within(0), b = next.within(0), c = next.within(0);
  fb_put_triangle(a.x, a.y, b.x, b.y, c.x, c.y, next.colour());
}
void fill_rectangle(arguments &next, const pictures &) {
  const point a = next.around(), b = next.around();
  fb_put_rect_fill(a.x, a.y, b.x, b.y, next.colour());
}
void draw_rectangle(arguments &next, const pictures &) {
  const point a = next.within(0), b = next.within(0);
  fb_put_rect(a.x, a.y, b.x, b.y, next.colour());
}
void draw_thick_rectangle(arguments &next, const pictures &) {
  const point a = next.within(0), b = next.within(0);
  const uint16_t colour = next.colour();
  fb_put_rect_thick(std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y), colour,
                    next.between(1, 9));
}
void draw_circle(arguments &next, const pictures &) {
  const int32_t radius = next.between(0, 24);
  const point centre = next.within(radius + 1);
  fb_put_circle(centre.x, centre.y, radius, next.colour());
}
void fill_circle(arguments &next, const pictures &) {
  const int32_t radius = next.between(0, 24);
  const point centre = next.within(radius + 1);
  fb_put_circle_fill(centre.x, centre.y, radius, next.colour());
}
void clear_gradient(arguments &next, const pictures &) {
  set_theme_color(next.colour());
  const point a = next.within(0), b = next.within(0);
  fb_clear_region_gradient(a.x, std::min(a.y, b.y), b.x, std::max(a.y, b.y));
}
void show_artwork(arguments &next, const pictures &) {
  const point at = {next.between(0, 50), next.between(0, 40)};
  const int32_t index = next.between(0, pictures::art_count - 1);
  const uint16_t fg = next.one_of(named), bg = next.one_of(named);
  fb_q7bmp_show(at.x, at.y, 0, index, fg, bg, 0);
}
void draw_bmp_file(arguments &next, const pictures &from) {
  const point at = {next.between(0, 70), next.between(0, 50)};
  const auto &path =
      from.bmps[static_cast<size_t>(next.between(0, static_cast<int32_t>(from.bmps.size()) - 1))];
  fb_put_bmp_file(static_cast<uint32_t>(at.x), static_cast<uint32_t>(at.y), path.c_str(),
                  static_cast<uint32_t>(next.between(0, 2)), 0);
}
void show_bmp_slot(arguments &next, const pictures &) {
  const point at = {next.between(0, 70), next.between(0, 50)};
  bmp_mem_show(static_cast<uint32_t>(at.x), static_cast<uint32_t>(at.y), 0, next.between(0, 2), 0);
}
void print_text(arguments &next, const pictures &) {
  const point at = {next.between(0, 30), next.between(0, 50)};
  const uint16_t fg = next.colour(), bg = next.one_of(named);
  const int32_t font = next.between(0, 1), digit = next.between(0, 9);
  fb_printf(static_cast<uint32_t>(at.x), static_cast<uint32_t>(at.y), fg, bg, font, "\1\2%d", digit);
}

struct kind {
  const char *name;
  void (*draw)(arguments &next, const pictures &from);
  int calls;
  uint64_t checksum;
};

void PrintTo(const kind &of, std::ostream *stream) {
  *stream << of.name;
}

/// FNV-1a over the visible pixels.
void add(uint64_t &checksum, const model_plane &drawn) {
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x)
      checksum = (checksum ^ drawn.get(x, y)) * 0x100000001B3;
}

class DrawingChecksum : public testing::TestWithParam<kind> {};

TEST_P(DrawingChecksum, IsTheSameOnEveryMachine) {
  set_theme_color(DRAVIK_DEFAULT_THEME); // builds the ramps
  const pictures from;
  arguments next;
  uint64_t checksum = 0xCBF29CE484222325;
  for (const uint32_t misalignment : {0U, 2U}) {
    fake_screen screen{{.xres = width, .yres = height, .padding = 6, .misalignment = misalignment}};
    for (int call = 0; call < GetParam().calls; ++call) {
      GetParam().draw(next, from);
      if (call % 100 == 99)
        add(checksum, screen.drawn());
    }
  }
  EXPECT_EQ(checksum, GetParam().checksum) << std::hex << "0x" << checksum;
}

INSTANTIATE_TEST_SUITE_P(Kinds, DrawingChecksum,
                         testing::Values(kind{"Lines", draw_line, 2000, 0x72EBC0DF28CFEACB},
                                         kind{"Triangles", draw_triangle, 2000, 0xF27E836AD33BA693},
                                         kind{"FilledRectangles", fill_rectangle, 2000, 0x60107DA63319629E},
                                         kind{"Rectangles", draw_rectangle, 2000, 0xF0D0FCF3FC6E1EAE},
                                         kind{"ThickRectangles", draw_thick_rectangle, 2000,
                                              0xA95BC988F3CF6E1D},
                                         kind{"Circles", draw_circle, 2000, 0xCC9874ECAD70B55E},
                                         kind{"FilledCircles", fill_circle, 2000, 0x7FE492014C06AAD1},
                                         kind{"Gradients", clear_gradient, 1000, 0x36F1B37DA4457770},
                                         kind{"Artwork", show_artwork, 2000, 0xE254B465D1AFA01C},
                                         kind{"BmpFiles", draw_bmp_file, 1000, 0xAE02B430A37097B7},
                                         kind{"BmpSlots", show_bmp_slot, 2000, 0x6ECF7FCC08FB6E86},
                                         kind{"Text", print_text, 2000, 0xDB3D88F195BC33E2}),
                         [](const auto &tested) { return std::string{tested.param.name}; });

} // namespace
} // namespace dravik::test
