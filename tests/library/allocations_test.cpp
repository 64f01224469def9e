// Drawing allocates nothing of its own. Calls that open a file allocate its stream, without a buffer; JPEG
// images and anti-aliased text also allocate what libjpeg and FreeType do.

#include "support/counted_allocations.hpp"

#include "dravik.h"
#include "image/jpeg_stage.hpp"
#include "support/archive_maker.hpp"
#include "support/bmp_maker.hpp"
#include "support/psf_maker.hpp"

#include <ft2build.h>
#include FT_FREETYPE_H
#include <gtest/gtest.h>
#include <jpeglib.h>

namespace dravik::test {
namespace {

constexpr allocations none = {};

class Allocations : public jpeg_stage {
protected:
  std::string file(const std::string &name, const bytes &content) const {
    write_file(board_.path(name), content);
    return board_.path(name);
  }

  bytes random_bmp(uint16_t bits, uint32_t width, uint32_t height) {
    return bmp_maker{.width = width, .height = height, .bits = bits}.with_random_pixels(random_).file();
  }
};

std::FILE *open_without_buffer(const std::string &path) {
  std::FILE *const stream = std::fopen(path.c_str(), "r");
  std::setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

TEST_F(Allocations, CountsThem) {
  const auto made = allocations_of([] {
    void *const first = std::malloc(100), *const second = std::calloc(5, 20);
    std::free(std::realloc(first, 200));
    std::free(second);
  });
  EXPECT_EQ(made, (allocations{3, 400}));
}

TEST_F(Allocations, AreNotMadeByShapes) {
  EXPECT_EQ(none, allocations_of([] {
              fb_put_pixel(1, 2, DRAVIK_RED);
              fb_put_line(0, 0, 90, 60, DRAVIK_RED);
              fb_put_triangle(0, 0, 90, 60, 5, 40, DRAVIK_RED);
              fb_put_rect_fill(-5, -5, 40, 200, DRAVIK_RED);
              fb_put_rect(0, 0, 40, 20, DRAVIK_RED);
              fb_put_rect_thick(0, 0, 40, 20, DRAVIK_RED, 3);
            }));
}

TEST_F(Allocations, AreNotMadeByCircles) {
  use_screen({.xres = 1000, .yres = 1000});
  EXPECT_EQ(none, allocations_of([] {
              for (int32_t radius = 0; radius < 400; ++radius) {
                fb_put_circle(500, 500, radius, DRAVIK_RED);
                fb_put_circle_fill(500, 500, radius, DRAVIK_RED);
              }
            }));
}

TEST_F(Allocations, AreNotMadeByClearsAndColours) {
  std::vector<uint8_t> copy(fbinfo[FBINFO_COPY_SIZE]);
  EXPECT_EQ(none, allocations_of([&copy] {
              set_theme_color(DRAVIK_CYAN);
              fb_clear_screen(DRAVIK_THEME);
              fb_clear_screen_gradient();
              fb_clear_region_gradient(3, 4, 50, 60);
              get_fb_buffer(0, 0, copy.data());
            }));
}

TEST_F(Allocations, AreNotMadeBySlots) {
  file("0.bmp", random_bmp(16, 33, 20));
  const char *const name = "0.bmp";
  bmp_mem_alloc(1, board_.path().c_str(), &name);
  EXPECT_EQ(none, allocations_of([] {
              for (const int32_t mode : {DRAVIK_BMP_COPY, DRAVIK_BMP_KEYED, DRAVIK_BMP_SILHOUETTE})
                EXPECT_EQ(bmp_mem_show(40, 30, 0, mode, DRAVIK_CENTRE), 0);
            }));
  bmp_mem_free();
}

TEST_F(Allocations, AreNotMadeByArtwork) {
  const std::string path =
      file("art", archive_maker{{random_art(random_, 33, 9), random_art(random_, 300, 80)}}.file());
  const char *const name = path.c_str();
  q7bmp_alloc(1, &name);
  EXPECT_EQ(none, allocations_of([] {
              for (const int32_t index : {0, 1})
                for (const uint16_t bg : {uint16_t{DRAVIK_TRANSPARENT}, uint16_t{DRAVIK_BLACK}})
                  EXPECT_EQ(fb_q7bmp_show(5, 5, 0, index, DRAVIK_WHITE, bg, DRAVIK_CENTRE), 0);
            }));
  q7bmp_free();
}

TEST_F(Allocations, AreNotMadeByBitmapText) {
  const std::string small = file("small", psf2_maker::random_font(random_, 8, 16, 256).file());
  const std::string large = file("large", psf2_maker::random_font(random_, 16, 80, 128).file());
  const char *const names[] = {small.c_str(), large.c_str()};
  psf_font_alloc(2, names);
  EXPECT_EQ(none, allocations_of([] {
              for (const int32_t font : {0, 1})
                for (const uint16_t bg : {uint16_t{DRAVIK_TRANSPARENT}, uint16_t{DRAVIK_BLACK}}) {
                  fb_putc('A', 5, 5, DRAVIK_WHITE, bg, font);
                  fb_printf(5, 5, DRAVIK_WHITE, bg, font, "%d %x %c %g", -42, 42U, 'c', 0.1);
                }
            }));
  psf_font_free();
}

TEST_F(Allocations, CountOnlyStreamOfBmpFile) {
  for (const uint16_t bits :
       {uint16_t{1}, uint16_t{4}, uint16_t{8}, uint16_t{16}, uint16_t{24}, uint16_t{32}})
    for (const uint32_t mode : {DRAVIK_BMP_COPY, DRAVIK_BMP_KEYED, DRAVIK_BMP_SILHOUETTE}) {
      const std::string path = file("picture.bmp", random_bmp(bits, 90, 60));
      const auto stream = allocations_of([&path] { std::fclose(open_without_buffer(path)); });
      EXPECT_EQ(stream, allocations_of([&] {
                  EXPECT_EQ(fb_put_bmp_file(1, 2, path.c_str(), mode, DRAVIK_TOP_LEFT), 0);
                }));
    }
}

/// Decode a file as the documentation of libjpeg shows it, with a row buffer one byte longer than a row.
void decode_by_libjpeg(const std::string &path) {
  std::FILE *const stream = open_without_buffer(path);
  jpeg_decompress_struct decoder;
  jpeg_error_mgr errors;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_stdio_src(&decoder, stream);
  jpeg_read_header(&decoder, TRUE);
  jpeg_start_decompress(&decoder);
  JSAMPARRAY rows = decoder.mem->alloc_sarray(reinterpret_cast<j_common_ptr>(&decoder), JPOOL_IMAGE,
                                              decoder.output_width * 3 + 1, 1);
  while (decoder.output_scanline < decoder.output_height)
    jpeg_read_scanlines(&decoder, rows, 1);
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  std::fclose(stream);
}

TEST_F(Allocations, CountStreamAndLibjpegOfJpegFile) {
  for (const words &options : {words{}, words{"-progressive"}}) {
    make(busy_picture(random_, 80, 50), options);
    decode_by_libjpeg(path_of(name_)); // the first one also finds out what the processor can do
    const auto by_libjpeg = allocations_of([this] { decode_by_libjpeg(path_of(name_)); });
    const allocations path_itself = allocations_of([this] { path_of(name_); });
    const auto drawn =
        allocations_of([this] { EXPECT_EQ(fb_put_jpeg_file(1, 2, name_.c_str(), DRAVIK_TOP_LEFT), 0); });
    EXPECT_EQ(drawn,
              (allocations{by_libjpeg.count - path_itself.count, by_libjpeg.bytes - path_itself.bytes}));
  }
}

/// Renders a text as put_unicode_string() has to.
void render_by_freetype(const char *font, const std::string &text) {
  FT_Library library;
  FT_Face face;
  FT_Init_FreeType(&library);
  FT_New_Face(library, font, 0, &face);
  FT_Set_Char_Size(face, 20 * 64, 0, 80, 0);
  FT_Vector pen = {640, 6400};
  for (const char unit : text) {
    FT_Matrix identity = {0x10000, 0, 0, 0x10000};
    FT_Set_Transform(face, &identity, &pen);
    FT_Load_Glyph(face, FT_Get_Char_Index(face, static_cast<FT_ULong>(unit)), FT_LOAD_DEFAULT);
    FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL);
    pen.x += face->glyph->advance.x;
  }
  FT_Done_Face(face);
  FT_Done_FreeType(library);
}

TEST_F(Allocations, CountOnlyFreeTypeOfText) {
  use_screen({.xres = 640, .yres = 480});
  const char *const sans = "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf";
  const char *const font_before = ttf_font_file[0];
  ttf_font_file[0] = sans;
  bytes units(40);
  ascii_to_unicode_string("Recording 42", units.data());
  const auto drawn = allocations_of([&units] {
    put_unicode_string(10, 10, units.data(), 20, 0, DRAVIK_WHITE, DRAVIK_BLACK, DRAVIK_TOP_LEFT);
  });
  EXPECT_GT(str_width, 50);
  EXPECT_EQ(drawn, allocations_of([sans] { render_by_freetype(sans, "Recording 42"); }));
  ttf_font_file[0] = font_before;
}

} // namespace
} // namespace dravik::test
