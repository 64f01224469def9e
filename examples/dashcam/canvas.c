#include "canvas.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#define FILES "/usr/local/dravik"

enum { ART_ICONS, ART_DIGITS, ART_ARCHIVES };

/* Files in two sizes: index 0 for a small panel, 1 for 640 by 480 and more. */
static const char *const art_files[2][ART_ARCHIVES] = {
    {FILES "/art/icons_320.q7", FILES "/art/digits_320.q7"},
    {FILES "/art/icons_640.q7", FILES "/art/digits_640.q7"},
};
static const char *const font_files[2][FONTS] = {
    {FILES "/font/Lat15-Terminus12x6.psf", FILES "/font/Lat15-Terminus12x6.psf",
     FILES "/font/Lat15-TerminusBold14.psf", FILES "/font/Lat15-TerminusBold16.psf"},
    {FILES "/font/Lat15-TerminusBold16.psf", FILES "/font/Lat15-TerminusBold20x10.psf",
     FILES "/font/Lat15-TerminusBold24x12.psf", FILES "/font/Lat15-TerminusBold32x16.psf"},
};
static const char *const picture_files[2][PICTURES] = {
    {"scene_320.bmp", "dusk_320.bmp", "day_320.bmp", "night_320.bmp", "rain_320.bmp", "small_alps_320.bmp",
     "small_coast_320.bmp", "small_city_320.bmp", "small_road_320.bmp"},
    {"scene_640.bmp", "dusk_640.bmp", "day_640.bmp", "night_640.bmp", "rain_640.bmp", "small_alps_640.bmp",
     "small_coast_640.bmp", "small_city_640.bmp", "small_road_640.bmp"},
};
static const char *const logo_files[2] = {FILES "/bmp/logo_320.bmp", FILES "/bmp/logo_640.bmp"};

int canvas_is_small(void) {
  return fbinfo[FBINFO_XRES] < 640 || fbinfo[FBINFO_YRES] < 480;
}

int pixels(int units_) {
  return canvas_is_small() ? units_ / 2 : units_;
}

int units(int pixels_) {
  return canvas_is_small() ? pixels_ * 2 : pixels_;
}

/* Return a thickness or radius that is at least one pixel on a small panel. */
static int at_least_one(int pixels_) {
  return pixels_ > 0 ? pixels_ : 1;
}

static int all_loaded(void) {
  for (int i = 0; i < FONTS; ++i)
    if (psf[i].ptr == NULL)
      return 0;
  for (int i = 0; i < ART_ARCHIVES; ++i)
    if (q7bmp_ptr[i] == NULL)
      return 0;
  for (int i = 0; i < PICTURES; ++i)
    if (bmp_mem_ptr[i] == NULL)
      return 0;
  return q7bmp_str_num[ART_ICONS] == ICONS_COUNT && q7bmp_str_num[ART_DIGITS] == DIGITS_COUNT;
}

int canvas_open(void) {
  const int size = !canvas_is_small();
  psf_font_alloc(FONTS, font_files[size]);
  q7bmp_alloc(ART_ARCHIVES, art_files[size]);
  bmp_mem_alloc(PICTURES, FILES "/bmp", picture_files[size]);
  return all_loaded() ? 0 : -1;
}

void canvas_close(void) {
  psf_font_free();
  q7bmp_free();
  bmp_mem_free();
}

int canvas_width(void) {
  return units((int)fbinfo[FBINFO_XRES]);
}

int canvas_height(void) {
  return units((int)fbinfo[FBINFO_YRES]);
}

/* ---------------------------------------------------------------------------------------------- shapes */

void fill(int x, int y, int width, int height, uint16_t colour) {
  if (width > 0 && height > 0)
    fb_put_rect_fill(pixels(x), pixels(y), at_least_one(pixels(x + width)) - 1,
                     at_least_one(pixels(y + height)) - 1, colour);
}

void frame(int x, int y, int width, int height, uint16_t colour, int thickness) {
  fb_put_rect_thick(pixels(x), pixels(y), pixels(x + width) - 1, pixels(y + height) - 1, colour,
                    at_least_one(pixels(thickness)));
}

void outline(int x, int y, int width, int height, uint16_t colour) {
  fb_put_rect(pixels(x), pixels(y), pixels(x + width) - 1, pixels(y + height) - 1, colour);
}

/* Lines are one pixel wide: a thick one consists of several side by side. */
void line(int x0, int y0, int x1, int y1, uint16_t colour, int thickness) {
  const int across = x1 - x0, down = y1 - y0;
  const int is_flat = across * across > down * down;
  const int count = at_least_one(pixels(thickness));
  for (int i = 0; i < count; ++i) {
    const int aside = i - count / 2;
    fb_put_line(pixels(x0) + (is_flat ? 0 : aside), pixels(y0) + (is_flat ? aside : 0),
                pixels(x1) + (is_flat ? 0 : aside), pixels(y1) + (is_flat ? aside : 0), colour);
  }
}

void ring(int x, int y, int radius, uint16_t colour) {
  fb_put_circle(pixels(x), pixels(y), pixels(radius), colour);
}

void disc(int x, int y, int radius, uint16_t colour) {
  fb_put_circle_fill(pixels(x), pixels(y), at_least_one(pixels(radius)), colour);
}

void arrow(int x0, int y0, int x1, int y1, int x2, int y2, uint16_t colour) {
  fb_put_triangle(pixels(x0), pixels(y0), pixels(x1), pixels(y1), pixels(x2), pixels(y2), colour);
}

void backdrop(int top) {
  const int shading_end =
      DRAVIK_SHADING_LINES; /* the first line after the gradient, in pixels on every panel */
  const int width = (int)fbinfo[FBINFO_XRES], height = (int)fbinfo[FBINFO_YRES];
  fb_clear_region_gradient(0, pixels(top), width - 1, height - 1);
  if (height > shading_end)
    fb_put_rect_fill(0, shading_end, width - 1, height - 1, DRAVIK_BLACK);
}

/* ------------------------------------------------------------------------------------- text and images */

int left_edge(int x, int width, enum align align) {
  return align == LEFT ? x : align == CENTRE ? x - width / 2 : x - width;
}

void text(int x, int middle, enum font font, uint16_t colour, enum align align, const char *format, ...) {
  char letters[96];
  va_list values;
  va_start(values, format);
  vsnprintf(letters, sizeof letters, format, values);
  va_end(values);

  const int width = psf[font].width * (int)strlen(letters);
  int left = left_edge(pixels(x), width, align);
  const int top = pixels(middle) - psf[font].height / 2;
  for (const char *letter = letters; *letter != '\0'; ++letter, left += psf[font].width)
    fb_putc((unsigned char)*letter, (uint32_t)left, (uint32_t)top, colour, DRAVIK_TRANSPARENT, (int32_t)font);
}

void icon(int x, int middle, enum icons_image art, uint16_t colour, uint16_t background) {
  fb_q7bmp_show(pixels(x), pixels(middle), ART_ICONS, (int32_t)art, colour, background, DRAVIK_CENTRE);
}

static const struct {
  int height;
  enum digits_image first; /* 0 to 9, then the colon and the point */
} digit_sizes[] = {{24, DIGITS_SMALL_0}, {36, DIGITS_MEDIUM_0}, {66, DIGITS_LARGE_0}};

/* Return the position of a figure among the images of its size; -1 for a space. */
static int digit_place(char figure) {
  const char *place = strchr("0123456789:.", figure);
  return place == NULL ? -1 : (int)(place - "0123456789:.");
}

static int digit_width(char figure, enum digit_size size) {
  const int third = digit_sizes[size].height / 3;
  return digit_place(figure) >= 10 ? third : 2 * third;
}

int digits_width(enum digit_size size, const char *figures) {
  int width = 0;
  for (const char *figure = figures; *figure != '\0'; ++figure)
    width += digit_width(*figure, size);
  return width;
}

void digits(int x, int middle, enum digit_size size, const char *figures, uint16_t background,
            enum align align) {
  const int height = digit_sizes[size].height;
  x = left_edge(x, digits_width(size, figures), align);
  for (; *figures != '\0'; x += digit_width(*figures++, size)) {
    const int place = digit_place(*figures);
    if (place >= 0)
      fb_q7bmp_show(pixels(x), pixels(middle - height / 2), ART_DIGITS, (int)digit_sizes[size].first + place,
                    DRAVIK_WHITE, background, 0);
    else if (background != DRAVIK_TRANSPARENT)
      fill(x, middle - height / 2, digit_width(*figures, size), height, background);
  }
}

void picture(int x, int y, enum picture which) {
  bmp_mem_show((uint32_t)pixels(x), (uint32_t)pixels(y), (int32_t)which, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT);
}

void photograph(int x, int y, const char *name) {
  char file[32];
  snprintf(file, sizeof file, "%s_%d.jpg", name, canvas_is_small() ? 320 : 640);
  fb_put_jpeg_file((uint32_t)pixels(x), (uint32_t)pixels(y), file, DRAVIK_TOP_LEFT);
}

void logo(int x, int middle) {
  fb_put_bmp_file((uint32_t)pixels(x), (uint32_t)pixels(middle), logo_files[!canvas_is_small()],
                  DRAVIK_BMP_COPY, DRAVIK_CENTRE);
}
