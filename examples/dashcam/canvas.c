#include "canvas.h"

#include <stdio.h>
#include <string.h>

#define FILES "/usr/local/dravik"

enum { ART_ICONS, ART_DIGITS, ART_ARCHIVES };

/* Files in two sizes: index 0 for the large panel, 1 for the small one. */
static const char *const art_files[2][ART_ARCHIVES] = {
    {FILES "/art/icons_640.q7", FILES "/art/digits_640.q7"},
    {FILES "/art/icons_320.q7", FILES "/art/digits_320.q7"},
};
static const char *const picture_files[2][PICTURES] = {
    {"scene_640.bmp", "small_alps_640.bmp", "small_coast_640.bmp", "small_city_640.bmp",
     "small_road_640.bmp"},
    {"scene_320.bmp", "small_alps_320.bmp", "small_coast_320.bmp", "small_city_320.bmp",
     "small_road_320.bmp"},
};
static const char *const logo_files[2] = {FILES "/bmp/logo_640.bmp", FILES "/bmp/logo_320.bmp"};

int panel_width(void) {
  return (int)fbinfo[FBINFO_XRES];
}

int panel_height(void) {
  return (int)fbinfo[FBINFO_YRES];
}

int panel_is_small(void) {
  return panel_width() == 320;
}

int pick(int large, int small) {
  return panel_is_small() ? small : large;
}

/* The pages are drawn in 16 bits per pixel, on lines that are in the mapping. */
int canvas_fits_panel(void) {
  const int is_known =
      (panel_width() == 640 && panel_height() == 480) || (panel_width() == 320 && panel_height() == 240);
  return is_known && fbinfo[FBINFO_BITS_PER_PIXEL] == 16 &&
         fbinfo[FBINFO_LINE_LENGTH] * fbinfo[FBINFO_YRES] <= fbinfo[FBINFO_SCREEN_SIZE];
}

static int all_loaded(void) {
  for (int i = 0; i < ART_ARCHIVES; ++i)
    if (q7bmp_ptr[i] == NULL)
      return 0;
  for (int i = 0; i < PICTURES; ++i)
    if (bmp_mem_ptr[i] == NULL)
      return 0;
  return q7bmp_str_num[ART_ICONS] == ICONS_COUNT && q7bmp_str_num[ART_DIGITS] == DIGITS_COUNT;
}

int canvas_open(void) {
  q7bmp_alloc(ART_ARCHIVES, art_files[panel_is_small()]);
  bmp_mem_alloc(PICTURES, FILES "/bmp", picture_files[panel_is_small()]);
  return all_loaded() ? 0 : -1;
}

void canvas_close(void) {
  q7bmp_free();
  bmp_mem_free();
}

/* ---------------------------------------------------------------------------------------------- shapes */

int left_edge(int x, int width, enum align align) {
  return align == LEFT ? x : align == CENTRE ? x - width / 2 : x - width;
}

void fill(int x, int y, int width, int height, uint16_t colour) {
  if (width > 0 && height > 0)
    fb_put_rect_fill(x, y, x + width - 1, y + height - 1, colour);
}

void frame(int x, int y, int width, int height, uint16_t colour, int thickness) {
  fb_put_rect_thick(x, y, x + width - 1, y + height - 1, colour, thickness);
}

/* Lines are one pixel wide: a thick one consists of several side by side. */
void line(int x0, int y0, int x1, int y1, uint16_t colour, int thickness) {
  const int across = x1 - x0, down = y1 - y0;
  const int is_flat = across * across > down * down;
  for (int i = 0; i < thickness; ++i) {
    const int aside = i - thickness / 2;
    fb_put_line(x0 + (is_flat ? 0 : aside), y0 + (is_flat ? aside : 0), x1 + (is_flat ? 0 : aside),
                y1 + (is_flat ? aside : 0), colour);
  }
}

void ring(int x, int y, int radius, uint16_t colour) {
  fb_put_circle(x, y, radius, colour);
}

void disc(int x, int y, int radius, uint16_t colour) {
  fb_put_circle_fill(x, y, radius, colour);
}

/* A quarter of the brightness: two halvings without the bits that would move into the next channel. */
void dim(int top) {
  for (int y = top; y < panel_height(); ++y) {
    uint8_t *row = fbp + (size_t)y * fbinfo[FBINFO_LINE_LENGTH];
    for (int x = 0; x < panel_width(); ++x) {
      uint16_t pixel;
      memcpy(&pixel, row + 2 * x, sizeof pixel);
      pixel = (uint16_t)((pixel & 0xE79C) >> 2);
      memcpy(row + 2 * x, &pixel, sizeof pixel);
    }
  }
}

/* ---------------------------------------------------------------------------------------------- images */

void icon(int x, int middle, enum icons_image art, enum ink ink, enum behind behind) {
  fb_q7bmp_show(x, middle, ART_ICONS, (int32_t)art, (uint16_t)ink,
                behind == ON_SURFACE ? DRAVIK_TRANSPARENT : (uint16_t)behind, DRAVIK_CENTRE);
}

static const struct {
  int height[2];
  enum digits_image first; /* 0 to 9, then the colon and the point */
} digit_sizes[] = {{{24, 18}, DIGITS_SMALL_0}, {{36, 24}, DIGITS_MEDIUM_0}, {{66, 36}, DIGITS_LARGE_0}};

/* Return the position of a figure among the images of its size; -1 for a space. */
static int digit_place(char figure) {
  const char *place = strchr("0123456789:.", figure);
  return place == NULL ? -1 : (int)(place - "0123456789:.");
}

int digits_height(enum digit_size size) {
  return digit_sizes[size].height[panel_is_small()];
}

static int digit_width(char figure, enum digit_size size) {
  const int third = digits_height(size) / 3;
  return digit_place(figure) >= 10 ? third : 2 * third;
}

int digits_width(enum digit_size size, const char *figures) {
  int width = 0;
  for (const char *figure = figures; *figure != '\0'; ++figure)
    width += digit_width(*figure, size);
  return width;
}

void digits(int x, int middle, enum digit_size size, enum ink ink, enum align align, const char *figures) {
  const int height = digits_height(size), top = middle - height / 2;
  x = left_edge(x, digits_width(size, figures), align);
  for (; *figures != '\0'; x += digit_width(*figures++, size)) {
    const int place = digit_place(*figures);
    if (place >= 0)
      fb_q7bmp_show(x, top, ART_DIGITS, (int)digit_sizes[size].first + place, (uint16_t)ink, ON_GROUND, 0);
    else
      fill(x, top, digit_width(*figures, size), height, GROUND);
  }
}

void picture(int x, int y, enum picture which) {
  bmp_mem_show((uint32_t)x, (uint32_t)y, (int32_t)which, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT);
}

int photograph(int x, int y, const char *name) {
  char file[32];
  snprintf(file, sizeof file, "%s_%d.jpg", name, panel_width());
  return fb_put_jpeg_file((uint32_t)x, (uint32_t)y, file, DRAVIK_TOP_LEFT);
}

/* The library opens files of its own directory: a path leads from there to the root. */
int photograph_file(int x, int y, const char *path) {
  char file[96];
  snprintf(file, sizeof file, "../../../../../../..%s", path);
  return fb_put_jpeg_file((uint32_t)x, (uint32_t)y, file, DRAVIK_TOP_LEFT);
}

void logo(int x, int middle) {
  fb_put_bmp_file((uint32_t)x, (uint32_t)middle, logo_files[panel_is_small()], DRAVIK_BMP_COPY,
                  DRAVIK_CENTRE);
}
