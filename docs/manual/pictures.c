/* Pictures for the manual: draws what one call draws, on a screen of 240 by 120 pixels.
 *
 * Run: dravik-sim run board -- ./pictures CALL; without an argument it lists the calls. scripts/docs makes them all, and
 * the images in FILES that some of the calls draw. */
#include <dravik.h>

#include <stdio.h>
#include <string.h>

#define FILES "/usr/local/dravik/"

enum { WHITE = 0xFFFF, RED = 0xF800, BLUE = 0x001F, GREEN = 0x07E0, YELLOW = 0xFFE0 };

static void pixel(void) {
  for (uint32_t i = 0; i < 100; ++i)
    fb_put_pixel(20 + 2 * i, 10 + i * i / 100, i % 2 == 0 ? WHITE : YELLOW);
}

static void line(void) {
  for (int32_t x = 10; x < 240; x += 20)
    fb_put_line(120, 10, x, 110, x < 120 ? RED : WHITE);
}

static void triangle(void) {
  fb_put_triangle(20, 100, 120, 15, 220, 100, YELLOW);
}

static void rect_fill(void) {
  fb_put_rect_fill(20, 20, 120, 80, RED);
  fb_put_rect_fill(219, 99, 100, 50, BLUE); /* corners in any order */
}

static void rect(void) {
  for (int32_t inset = 10; inset < 60; inset += 10)
    fb_put_rect(inset, inset, 239 - inset, 119 - inset, WHITE);
}

static void rect_thick(void) {
  fb_put_rect_thick(15, 15, 105, 105, GREEN, 4);
  fb_put_rect_thick(130, 15, 220, 105, RED, 12);
}

static void circle(void) {
  for (int32_t r = 10; r <= 50; r += 10)
    fb_put_circle(120, 60, r, WHITE);
}

static void circle_fill(void) {
  fb_put_circle_fill(80, 60, 50, RED);
  fb_put_circle_fill(150, 60, 35, YELLOW);
}

static void clear(void) {
  fb_clear_screen(DRAVIK_THEME);
}

static void region_gradient(void) {
  fb_clear_screen(BLUE);
  fb_clear_region_gradient(40, 20, 200, 100);
}

static void bitmap_text(void) {
  const char *fonts[] = {"/usr/local/dravik/font/Uni2-Fixed16.psf"};
  psf_font_alloc(1, fonts);
  fb_printf(20, 20, WHITE, 0, 0, "recording %d", 7);
  fb_printf(20, 50, DRAVIK_BLACK, YELLOW, 0, "on a background");
  fb_printf(20, 80, RED, 0, 0, "%x %c %g", 0xBEEFU, 'q', 1.5);
}

static void glyph(void) {
  const char *fonts[] = {"/usr/local/dravik/font/Uni2-Fixed16.psf"};
  psf_font_alloc(1, fonts);
  for (uint32_t ch = 0; ch < 78; ++ch)
    fb_putc(33 + ch, 16 + 8 * (ch % 26), 20 + 30 * (ch / 26), WHITE, 0, 0);
}

static void smooth_text(void) {
  uint8_t text[64];
  fb_clear_screen(DRAVIK_BLACK);
  ascii_to_unicode_string("Anti-aliased", text);
  put_unicode_string(20, 20, text, 24, 0, WHITE, DRAVIK_BLACK, DRAVIK_TOP_LEFT);
  put_unicode_string(20, 70, text, 24, 0, DRAVIK_ORANGE, DRAVIK_BLACK, DRAVIK_TOP_LEFT);
}

static void bmp_file(void) {
  fb_put_bmp_file(120, 60, FILES "bmp/alps.bmp", DRAVIK_BMP_COPY, DRAVIK_CENTRE);
}

static void bmp_slots(void) {
  const char *names[] = {"alps_72.bmp", "city_72.bmp", "coast_72.bmp"};
  bmp_mem_alloc(3, FILES "bmp", names);
  for (int32_t slot = 0; slot < 3; ++slot)
    bmp_mem_show(8 + 76 * (uint32_t)slot, 35, slot, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT);
}

static void jpeg_file(void) {
  fb_put_jpeg_file(120, 60, "coast.jpg", DRAVIK_CENTRE);
}

static void artwork(void) {
  const char *archives[] = {FILES "art/icons.q7"};
  q7bmp_alloc(1, archives);
  for (int32_t icon = 0; icon < 4; ++icon) { /* each in two ramps */
    fb_q7bmp_show(8 + 60 * icon, 8, 0, icon, DRAVIK_WHITE, DRAVIK_BLACK, DRAVIK_TOP_LEFT);
    fb_q7bmp_show(8 + 60 * icon, 64, 0, icon, DRAVIK_CYAN, DRAVIK_BLACK, DRAVIK_TOP_LEFT);
  }
}

static const struct {
  const char *call;
  void (*draw)(void);
} pictures[] = {
    {"fb_put_pixel", pixel},
    {"fb_put_line", line},
    {"fb_put_triangle", triangle},
    {"fb_put_rect_fill", rect_fill},
    {"fb_put_rect", rect},
    {"fb_put_rect_thick", rect_thick},
    {"fb_put_circle", circle},
    {"fb_put_circle_fill", circle_fill},
    {"fb_clear_screen", clear},
    {"fb_clear_screen_gradient", fb_clear_screen_gradient},
    {"fb_clear_region_gradient", region_gradient},
    {"fb_printf", bitmap_text},
    {"fb_putc", glyph},
    {"put_unicode_string", smooth_text},
    {"fb_put_bmp_file", bmp_file},
    {"bmp_mem_show", bmp_slots},
    {"fb_put_jpeg_file", jpeg_file},
    {"fb_q7bmp_show", artwork},
};

/* Whether a pixel differs from the black that the call has drawn on: a missing file draws nothing. */
static int is_drawn(void) {
  for (uint32_t y = 0; y < fbinfo[FBINFO_YRES]; ++y)
    for (uint32_t x = 0; x < fbinfo[FBINFO_XRES]; ++x)
      if (((const uint16_t *)(fbp + y * fbinfo[FBINFO_LINE_LENGTH]))[x] != 0)
        return 1;
  return 0;
}

int main(int argc, char **argv) {
  for (size_t i = 0; i < sizeof pictures / sizeof *pictures; ++i) {
    if (argc == 1)
      puts(pictures[i].call);
    if (argc < 2 || strcmp(argv[1], pictures[i].call) != 0)
      continue;
    fb_init();
    fb_clear_screen(DRAVIK_BLACK);
    pictures[i].draw();
    const int result = is_drawn() ? 0 : 1;
    if (result != 0)
      fprintf(stderr, "pictures: error: %s() has drawn nothing\n", argv[1]);
    return fb_exit() == 0 ? result : 1;
  }
  return argc == 1 ? 0 : 2;
}
