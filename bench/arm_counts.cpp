// Calls of the library and plain loops of the same effect, for count_instructions.c: scripts/bench arm runs this
// on an emulated ARM. Prints a line per job: its name, and the instructions of a call and of the loop.

#include "arm_marks.h"
#include "dravik.h"
#include "plain_loops.hpp"
#include "support/archive_maker.hpp"
#include "support/bmp_maker.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace bench {
namespace {

using dravik::test::bytes;
using plain::place;

constexpr uint16_t ink = 0x4949, ground = DRAVIK_BLACK, grey = 0x7BCF;
constexpr int32_t screen_width = plain::pitch, screen_height = 480;
constexpr size_t screen_pixels = plain::pitch * screen_height;

alignas(4096) uint16_t screen[screen_pixels];

/// Where each job is done once: at all alignments of four pixels.
constexpr place places[] = {{screen, 100, 40}, {screen, 201, 77}, {screen, 302, 110}, {screen, 43, 150}};

using job = std::function<void(const place &)>;

void mark(unsigned action) {
  ::syscall(SYS_getppid, MARK_MAGIC, action);
}

/// Print the instructions of a job per place. `prepare` is not counted. The first time, calls are bound.
void count(const job &what, const job &prepare) {
  for (const place &p : places) {
    prepare(p);
    what(p);
  }
  for (const place &p : places) {
    prepare(p);
    mark(MARK_START);
    what(p);
    mark(MARK_STOP);
  }
  mark(MARK_REPORT);
}

std::vector<uint16_t> painted_by(const job &what, const job &prepare) {
  uint16_t colour = 0;
  for (uint16_t &pixel : screen)
    pixel = colour = static_cast<uint16_t>(colour * 5 + 1);
  for (const place &p : places) {
    prepare(p);
    what(p);
  }
  return {screen, screen + screen_pixels};
}

void add(
    const char *name, const job &library, const job &loop, const job &prepare = [](const place &) {}) {
  if (painted_by(library, prepare) != painted_by(loop, prepare)) {
    std::fprintf(stderr, "%s: the library and the loop paint other pixels\n", name);
    std::exit(EXIT_FAILURE);
  }
  for (const job &one : {library, loop}) {
    std::printf("%s|", name);
    std::fflush(stdout);
    count(one, prepare);
  }
}

std::string sized(const char *name, int32_t width, int32_t height) {
  return std::string(name) + ' ' + std::to_string(width) + 'x' + std::to_string(height);
}

void add_fill(int32_t width, int32_t height) {
  add(
      sized("fill", width, height).c_str(),
      [=](const place &p) { fb_put_rect_fill(p.x, p.y, p.x + width - 1, p.y + height - 1, ink); },
      [=](const place &p) { plain::fill(p, width, height, ink); });
}

void add_outline(int32_t width, int32_t height) {
  add(
      sized("outline", width, height).c_str(),
      [=](const place &p) { fb_put_rect(p.x, p.y, p.x + width - 1, p.y + height - 1, ink); },
      [=](const place &p) { plain::outline(p, width, height, 1, ink); });
}

void add_rectangles() {
  for (const int32_t size : {8, 16, 40})
    add_fill(size, size);
  add_fill(64, 24);
  add_fill(200, 120);
  add(
      "clear 640x480", [](const place &) { fb_clear_screen(ink); },
      [](const place &) {
        plain::fill({screen, 0, 0}, screen_width, screen_height, ink);
      });
  add_outline(24, 16);
  add_outline(300, 200);
  add(
      "thick outline 100x60", [](const place &p) { fb_put_rect_thick(p.x, p.y, p.x + 99, p.y + 59, ink, 5); },
      [](const place &p) { plain::outline(p, 100, 60, 5, ink); });
}

void add_line(const char *name, int32_t width, int32_t height) {
  add(
      name, [=](const place &p) { fb_put_line(p.x, p.y, p.x + width, p.y + height, ink); },
      [=](const place &p) { plain::line(p, width, height, ink); });
}

void add_lines() {
  add_line("line of 11", 10, 7);
  add_line("line of 141", 60, 140);
  add_line("horizontal line of 20", 19, 0);
  add_line("horizontal line of 300", 299, 0);
  add_line("vertical line of 200", 0, 199);
}

/// Empty the library's cache of outlines: it is valid for one line length.
void forget_outlines(const place &) {
  for (const uint32_t pitch : {plain::pitch * 2 - 4, plain::pitch * 2}) {
    fbinfo[FBINFO_LINE_LENGTH] = pitch;
    fb_put_circle(screen_width / 2, screen_height / 2, 1, ink);
  }
}

/// An outline is drawn again from the cache, or computed.
void add_circle(int32_t radius) {
  const auto draw = [radius](const place &p) { fb_put_circle(p.x + 101, p.y + 101, radius, ink); };
  const auto loop = [radius](const place &p) { plain::circle({screen, p.x + 101, p.y + 101}, radius, ink); };
  const std::string name = "circle of " + std::to_string(radius);
  add((name + ", again").c_str(), draw, loop);
  add((name + ", new").c_str(), draw, loop, forget_outlines);
}

void add_disc(int32_t radius) {
  add(("disc of " + std::to_string(radius)).c_str(),
      [radius](const place &p) { fb_put_circle_fill(p.x + 101, p.y + 101, radius, ink); },
      [radius](const place &p) {
        plain::disc({screen, p.x + 101, p.y + 101}, radius, ink);
      });
}

void add_circles() {
  for (const int32_t radius : {8, 20, 51, 100})
    add_circle(radius);
  for (const int32_t radius : {8, 20, 100})
    add_disc(radius);
}

/// Distance of a pixel from the edge of a ring with a bar through it, in pixels; positive inside.
double depth_in_icon(int32_t x, int32_t y, int32_t size) {
  const double dx = x - size / 2.0, dy = y - size / 2.0;
  const double ring = size / 20.0 - std::fabs(std::hypot(dx, dy) - size * 0.4);
  return std::max(ring, std::min(size / 16.0 - std::fabs(dy), size / 4.0 - std::fabs(dx)));
}

void add_icon(int32_t size, uint32_t slot) {
  dravik::test::art_image image = {static_cast<uint32_t>(size), static_cast<uint32_t>(size), {}};
  for (int32_t y = 0; y < size; ++y)
    for (int32_t x = 0; x < size; ++x)
      image.levels.push_back(static_cast<uint8_t>(std::clamp(depth_in_icon(x, y, size) * 6 + 8, 0.0, 15.0)));
  static std::array<bytes, 2> archives;
  bytes &archive = archives[slot];
  archive = dravik::test::archive_maker{{image}}.file();
  q7bmp_ptr[slot] = archive.data();
  q7bmp_str_num[slot] = 1;
  for (const uint16_t back : {uint16_t{DRAVIK_BLACK}, uint16_t{DRAVIK_TRANSPARENT}})
    add((sized("artwork", size, size) + (back == DRAVIK_BLACK ? ", opaque" : ", transparent")).c_str(),
        [=](const place &p) { fb_q7bmp_show(p.x, p.y, slot, 0, DRAVIK_WHITE, back, DRAVIK_TOP_LEFT); },
        [=, &archive](const place &p) {
          const uint16_t *const colours = gc + DRAVIK_WHITE_ON_BLACK * DRAVIK_RAMP_STEPS;
          plain::artwork(p, size, size, archive.data() + 32, colours, back == DRAVIK_TRANSPARENT);
        });
}

/// Letters of strokes two pixels wide, as in `dravik-bench`.
bytes letters_of(int32_t width, int32_t height) {
  const int32_t row_bytes = (width + 7) / 8, right = width - 4, middle = height / 2;
  bytes glyphs(static_cast<size_t>(128 * row_bytes * height));
  for (int32_t glyph = '!'; glyph < 128; ++glyph)
    for (int32_t y = height / 8; y < height - height / 6; ++y)
      for (int32_t x = 0; x < width - 2; ++x) {
        const bool in_side = x < 2 || (x >= right && (glyph * 37 >> (y < middle ? 3 : 4) & 1) != 0);
        const bool in_bar = (y - height / 8 < 2 && (glyph * 37 & 1) != 0) || (y - middle < 2 && y >= middle);
        if (in_side || in_bar)
          glyphs[static_cast<size_t>((glyph * height + y) * row_bytes + x / 8)] |=
              static_cast<uint8_t>(0x80 >> x % 8);
      }
  return glyphs;
}

void add_font(int32_t width, int32_t height) {
  static constexpr const char *label = "Recording 12:34:56 A";
  static bytes glyphs;
  glyphs = letters_of(width, height);
  const auto size = static_cast<int32_t>(glyphs.size() / 128);
  psf[0] = {glyphs.data(), size, 128, 2, width, height};
  for (const uint16_t back : {ground, uint16_t{0}}) {
    const std::string rest = sized("", width, height) + (back != 0 ? ", opaque" : ", transparent");
    const auto put = [=](place p, char letter) {
      plain::glyph(p, width, height, glyphs.data() + letter * size, ink, back);
    };
    add(("glyph" + rest).c_str(),
        [back](const place &p) {
          fb_putc('R', static_cast<uint32_t>(p.x), static_cast<uint32_t>(p.y), ink, back, 0);
        },
        [put](const place &p) { put(p, 'R'); });
    add(("label of 20" + rest).c_str(),
        [back](const place &p) {
          fb_printf(static_cast<uint32_t>(p.x), static_cast<uint32_t>(p.y), ink, back, 0, label);
        },
        [=](const place &p) {
          for (int32_t i = 0; label[i] != '\0'; ++i)
            put({p.screen, p.x + i * width, p.y}, label[i]);
        });
  }
}

/// A disc of noise with a black rim on the key colour, as signs on a map are.
void add_slot(int32_t width, int32_t height) {
  std::mt19937 random(1);
  dravik::test::bmp_maker maker = {
      .width = static_cast<uint32_t>(width), .height = static_cast<uint32_t>(height), .bits = 16};
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      const double dx = (2.0 * x + 1 - width) / width, dy = (2.0 * y + 1 - height) / height;
      const double distance = dx * dx + dy * dy;
      const auto noise = static_cast<uint16_t>(random() | 0x0100);
      maker.set16(static_cast<uint32_t>(x), static_cast<uint32_t>(y),
                  distance < 0.6   ? noise
                  : distance < 0.8 ? uint16_t{0}
                                   : uint16_t{DRAVIK_MAGENTA_KEY});
    }
  static bytes file;
  file = maker.file();
  bmp_mem_ptr[0] = file.data();
  bmp_mem_num = 1;
  const auto add_mode = [&](const char *name, int32_t mode, auto put) {
    add((sized("slot", width, height) + ", " + name).c_str(),
        [mode](const place &p) {
          bmp_mem_show(static_cast<uint32_t>(p.x), static_cast<uint32_t>(p.y), 0, mode, DRAVIK_TOP_LEFT);
        },
        [=](const place &p) { plain::pixels(p, width, height, file.data() + 54, put); });
  };
  add_mode("copy", DRAVIK_BMP_COPY, [](uint16_t *to, uint16_t colour) { *to = colour; });
  add_mode("key", DRAVIK_BMP_KEYED, [](uint16_t *to, uint16_t colour) {
    if (colour != DRAVIK_MAGENTA_KEY)
      *to = colour;
  });
  add_mode("silhouette", DRAVIK_BMP_SILHOUETTE, [](uint16_t *to, uint16_t colour) {
    if (colour != DRAVIK_MAGENTA_KEY && colour != 0)
      *to = grey;
  });
}

void add_bmp_file(uint16_t bits) {
  constexpr int32_t size = 48;
  std::mt19937 random(bits);
  dravik::test::bmp_maker maker = {.width = size, .height = size, .bits = bits};
  if (bits == 8)
    maker.palette = dravik::test::random_bytes(random, 1024);
  maker.with_random_pixels(random);
  const std::string path = "/tmp/dravik-arm-counts-" + std::to_string(::getpid()) + ".bmp";
  dravik::test::write_file(path, maker.file());
  add((sized("BMP file", size, size) + ", " + std::to_string(bits) + " bits").c_str(),
      [&path](const place &p) {
        fb_put_bmp_file(static_cast<uint32_t>(p.x), static_cast<uint32_t>(p.y), path.c_str(), DRAVIK_BMP_COPY,
                        DRAVIK_TOP_LEFT);
      },
      [&path, bits](const place &p) { plain::bmp_file(p, size, size, bits, path.c_str()); });
  std::remove(path.c_str());
}

/// Numbers are compared as pixels.
void add_crc(size_t size) {
  std::mt19937 random(3);
  const bytes data = dravik::test::random_bytes(random, size + std::size(places));
  const auto part_for = [&data, size](const place &p) { return std::span(data).subspan(p.x % 4U, size); };
  const auto store = [](const place &p, uint32_t value) {
    *p.at(0, 0) = static_cast<uint16_t>(value);
    *p.at(1, 0) = static_cast<uint16_t>(value >> 16);
  };
  add(("CRC of " + std::to_string(size)).c_str(),
      [=](const place &p) {
        const auto part = part_for(p);
        store(p, get_data_crc(part.data(), static_cast<uint32_t>(part.size())));
      },
      [=](const place &p) { store(p, plain::crc32(part_for(p))); });
}

void use_screen() {
  fbp = fbp0 = reinterpret_cast<uint8_t *>(screen);
  fbinfo[FBINFO_LINE_LENGTH] = plain::pitch * 2;
  fbinfo[FBINFO_BYTES_PER_PIXEL] = 2;
  fbinfo[FBINFO_SCREEN_SIZE] = fbinfo[FBINFO_COPY_SIZE] = sizeof screen;
  fbinfo[FBINFO_XRES] = screen_width;
  fbinfo[FBINFO_YRES] = fbinfo[FBINFO_LINE_COUNT] = screen_height;
  fbinfo[FBINFO_BITS_PER_PIXEL] = 16;
  fbinfo[FBINFO_BUFFER_COUNT] = 1;
  set_theme_color(DRAVIK_DEFAULT_THEME);
}

void count_all() {
  const job nothing = [](const place &) {};
  add("nothing", nothing, nothing);
  add_rectangles();
  add_lines();
  add_circles();
  add_icon(16, 0);
  add_icon(48, 1);
  add_font(8, 16);
  add_font(16, 32);
  add_slot(64, 48);
  for (const uint16_t bits : {uint16_t{8}, uint16_t{24}, uint16_t{32}})
    add_bmp_file(bits);
  for (const size_t size : {size_t{16}, size_t{1024}})
    add_crc(size);
}

} // namespace
} // namespace bench

int main() {
  bench::use_screen();
  bench::count_all();
}
