/**
 * @file dravik.h
 * libdravik: the screen, sound and board services of a car dash-camera's application.
 *
 * The library is a flat set of C functions over state that lives in exported globals. It works on a 16-bit
 * RGB565 frame buffer, "/dev/fb0". Start with fb_init(), draw with the families below, end with fb_exit().
 *
 * Conventions
 * - Results are 0 for success and -1 for failure unless a function says otherwise. Nothing is thrown and
 * `errno` has no meaning after a call.
 * - Diagnostics go to the event log (see @ref log) or to standard error; each function says which.
 * - Coordinates are pixels counted from the top-left corner, x to the right, y downwards. Shapes given by two
 * corners include both corners.
 * - A colour is an RGB565 value: red in bits 15 to 11, green in bits 10 to 5, blue in bits 4 to 0. The
 * library's black is 0x0821; 0x0000 stands for "transparent" wherever a background colour is taken.
 * - Any thread may call log_printf(), console_printf(), the checksums, and the engine's snd_play_direct(),
 * snd_stopall() and get_snd_thread_state(). All other calls are made from one thread, the drawing thread, or
 * are serialised by the application: they take no lock.
 * - Every global may be set by the application too. Drawing uses ::fbp and ::fbinfo as they stand at the
 * call.
 *
 * The names of the globals are part of the interface, and some are short (`gc`, `image`, `palette`, `psf`): a
 * program that has a global of the same name shares it with the library, so keep your own out of their way.
 */
#ifndef DRAVIK_H
#define DRAVIK_H

#include <stdint.h>

#if defined(__GNUC__)
#define DRAVIK_API __attribute__((visibility("default")))
#define DRAVIK_PRINTF(text, values) __attribute__((format(printf, text, values)))
#else
#define DRAVIK_API
#define DRAVIK_PRINTF(text, values)
#endif

#ifdef __cplusplus
#define DRAVIK_NOEXCEPT noexcept
extern "C" {
#else
#define DRAVIK_NOEXCEPT
#endif

/**
 * @defgroup screen Frame buffer
 * Opens and maps the screen and keeps the record that every drawing call reads.
 *
 * The pixel of column x and line y is the 16-bit word at `fbp + y * line_length + x * 2`. The factor 2 is
 * fixed: a device of another depth is accepted, but is drawn on as if it had 16 bits a pixel. Drawing goes
 * straight to the visible memory; there is no back buffer.
 *
 * No drawing function checks positions against the size of the mapping. Functions that clip are documented as
 * such. All others write wherever their arguments point; the application must keep them on the screen.
 * Unsigned positions wrap modulo 2^32: 0xFFFFFFFF is the column left of, or the line above, the first.
 *
 * Only objects that a file makes larger than the screen (archive image, glyph, line of anti-aliased text) are
 * truncated, because no position makes them fit: their pixels outside frame buffer memory are not drawn. That
 * memory is the mapping, `screen_size` bytes from ::fbp0, if ::fbp points into it; else it starts at ::fbp
 * and has the larger of `screen_size` and `line_length * yres` bytes.
 * @{
 */

/** The words of ::fbinfo. */
enum dravik_fbinfo {
  FBINFO_LINE_LENGTH,     /**< bytes from one line to the next; may be more than `xres * 2` */
  FBINFO_BYTES_PER_PIXEL, /**< `bits_per_pixel / 8`; recorded, not used for addressing */
  FBINFO_SCREEN_SIZE,     /**< length of the mapping in bytes, all virtual lines included */
  FBINFO_SPARE_A,         /**< 0 */
  FBINFO_XRES,            /**< visible width in pixels */
  FBINFO_YRES,            /**< visible height in lines */
  FBINFO_BITS_PER_PIXEL,  /**< as the device reports it; 16 is expected */
  FBINFO_BUFFER_OFFSET,   /**< offset from ::fbp in bytes at which get_fb_buffer() starts; 0 */
  FBINFO_BUFFER_COUNT,    /**< how many screens of `yres` lines the virtual screen holds */
  FBINFO_COPY_SIZE,       /**< number of bytes that get_fb_buffer() copies */
  FBINFO_LINE_COUNT,      /**< `yres` again */
  FBINFO_SPARE_B,         /**< 0 */
  FBINFO_WORDS            /**< the number of words */
};

/** Descriptor of the open frame buffer device; what open() gave, a failure included. */
extern DRAVIK_API int32_t fbfd;
/** The address of the top-left pixel: where all drawing goes. Null before fb_init(). */
extern DRAVIK_API uint8_t *fbp;
/** The start of the mapping, which fb_exit() unmaps; equal to ::fbp after fb_init(). */
extern DRAVIK_API uint8_t *fbp0;
/** The screen record, indexed by ::dravik_fbinfo; all zero before fb_init(). */
extern DRAVIK_API uint32_t fbinfo[12];
/** A plane of 640 columns by 480 rows, one byte a cell, kept for text composition; zero at load. */
extern DRAVIK_API uint8_t image_buffer[307200];

/**
 * Open "/dev/fb0", map it, fill ::fbinfo and build the colour table ::gc with the theme colour 0x0B77.
 *
 * Call it once, before any drawing. A second call opens and maps again and releases nothing of the first.
 *
 * After it, applications for unknown devices must check that
 * `fbinfo[FBINFO_LINE_LENGTH] * fbinfo[FBINFO_YRES] <= fbinfo[FBINFO_SCREEN_SIZE]`: otherwise, with padded
 * lines, the mapping ends before the last line, and drawing there is a segmentation fault.
 *
 * Each failure writes one line to standard error and ends the process with status 1:
 * "error cannot open framebuffer device." (the descriptor is 0), "error reading fixed info" (also when the
 * device cannot be opened at all), "error reading var info" and "error: failed to map framebuffer device to
 * memory.".
 */
DRAVIK_API void fb_init(void) DRAVIK_NOEXCEPT;

/**
 * Unmap the screen and close the device. ::fbp, ::fbp0 and ::fbinfo keep their values, so drawing afterwards
 * writes to memory that is no longer mapped.
 * @return the result of close(): 0, or -1
 */
DRAVIK_API int fb_exit(void) DRAVIK_NOEXCEPT;

/**
 * Show the buffer that the device showed at start-up (FBIOPAN_DISPLAY with the offsets read by fb_init()).
 * @return the result of ioctl(): 0, or -1
 */
DRAVIK_API int fb_pan_display(void) DRAVIK_NOEXCEPT;

/** Blank the panel (FBIOBLANK 1). @return the result of ioctl(): 0, or -1 */
DRAVIK_API int fb_lcd_off(void) DRAVIK_NOEXCEPT;

/** Unblank the panel (FBIOBLANK 0). @return the result of ioctl(): 0, or -1 */
DRAVIK_API int fb_lcd_on(void) DRAVIK_NOEXCEPT;

/**
 * Copy the screen record.
 * @param dst  receives the 12 words of ::fbinfo (48 bytes) in their order; owned by the caller
 */
DRAVIK_API void get_cam_fb_info(uint32_t *dst) DRAVIK_NOEXCEPT;

/**
 * Copy the screen memory: `copy_size` bytes from `fbp + buffer_offset`, all virtual lines included.
 * @param a,b  selectors; only 0 and 0 copy, any other pair does nothing
 * @param dst  receives the bytes; owned by the caller, at least `fbinfo[FBINFO_COPY_SIZE]` bytes long
 */
DRAVIK_API void get_fb_buffer(uint32_t a, uint32_t b, uint8_t *dst) DRAVIK_NOEXCEPT;

/**
 * Store one pixel. Nothing is checked.
 * @param x,y     position in pixels; the caller keeps it below `xres` and `yres`
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_pixel(uint32_t x, uint32_t y, uint16_t colour) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup colours Colour table
 * Artwork and smooth text are painted through ramps of 16 colours that lead from a background to a
 * foreground.
 * @{
 */

/** Passed as a colour to fb_clear_screen(), or as a background to fb_q7bmp_show(): the theme colour. */
#define DRAVIK_THEME 0x1234

/**
 * 29 ramps of 16 RGB565 colours: step i of ramp b is entry 16 * b + i. Ramps 0 to 26 are fixed, ramps 27 and
 * 28 lead from the theme colour to white and to black, and entry 432 is the theme colour. All zero until the
 * first fb_init() or set_theme_color().
 */
extern DRAVIK_API uint16_t gc[464];

/** The dark shading of the gradient clears: one RGB565 colour a screen line, from line 0 to line 207. */
extern DRAVIK_API const uint16_t grad_line[208];

/**
 * Choose the theme colour and rebuild the whole of ::gc. Nothing already on the screen changes.
 * @param colour  RGB565; only the low 16 bits are used
 */
DRAVIK_API void set_theme_color(int32_t colour) DRAVIK_NOEXCEPT;

/** The theme colour, entry 432 of ::gc; 0 before the table was ever built. */
DRAVIK_API uint16_t get_theme_color(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup shapes Shapes and clears
 * All write straight to the screen in one plain RGB565 colour; ::DRAVIK_THEME has a meaning in
 * fb_clear_screen() alone. They report nothing.
 * @{
 */

/**
 * Draw a line one pixel wide, both ends included, without any clipping: the caller keeps it on the screen.
 *
 * The pixels are those of Bresenham's integer line stepped from the first point to the second. Where the line
 * passes exactly between two pixels the step goes aside at once, so the way back may choose other pixels than
 * the way there.
 * @param x0,y0   first point; signed pixels
 * @param x1,y1   last point; signed pixels
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_line(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Draw the outline of a triangle: three fb_put_line() calls, first to second to third to first point.
 * @param x0,y0,x1,y1,x2,y2  the corners; signed pixels, on the screen
 * @param colour             RGB565
 */
DRAVIK_API void fb_put_triangle(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                                uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Fill a rectangle, clipped to the screen.
 * @param x0,y0,x1,y1  opposite corners in any order; signed pixels, may lie off the screen
 * @param colour       RGB565
 */
DRAVIK_API void fb_put_rect_fill(int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                                 uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Draw the outline of a rectangle, one pixel wide.
 *
 * The top and bottom edges are clipped to the screen. The side edges are clipped at the bottom alone: a side
 * at x = xres lands in column 0 of the next line, one further right is not drawn, and one at a negative
 * column lands at the end of the line before; a negative row is written before the screen.
 * @param x0,y0,x1,y1  opposite corners in any order; signed pixels
 * @param colour       RGB565
 */
DRAVIK_API void fb_put_rect(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Draw the outline of a rectangle with edges of several pixels that grow inwards, clipped like fb_put_rect().
 *
 * The corners must be top-left then bottom-right, or bottom-right then top-left; any other order draws
 * nothing.
 * @param x0,y0,x1,y1  opposite corners; signed pixels
 * @param colour       RGB565
 * @param thickness    pixels; taken down to the rectangle's width - 1 and height - 1. Below 1 draws nothing,
 * and so does a rectangle one pixel wide or high
 */
DRAVIK_API void fb_put_rect_thick(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour,
                                  int32_t thickness) DRAVIK_NOEXCEPT;

/**
 * Draw a circle about the top-left corner of the pixel (cx, cy), without any clipping.
 *
 * About 7.2 * r points are computed in double precision and truncated towards zero, which pulls the right and
 * bottom edges in by up to one pixel.
 * @param cx,cy   centre; signed pixels
 * @param r       radius in pixels; 0 draws the centre pixel, a negative one draws nothing
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_circle(int32_t cx, int32_t cy, int32_t r, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Fill a disc about the corner that the pixels (cx - 1, cy - 1) and (cx, cy) share, without any clipping. It
 * covers columns cx - r to cx + r - 1 and rows cy - r to cy + r - 1.
 * @param cx,cy   centre; signed pixels
 * @param r       radius in pixels; 0 or less draws nothing
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_circle_fill(int32_t cx, int32_t cy, int32_t r, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Paint the whole visible screen.
 * @param colour  RGB565 in the low 16 bits, or ::DRAVIK_THEME for the theme colour as it is at the call
 */
DRAVIK_API void fb_clear_screen(uint32_t colour) DRAVIK_NOEXCEPT;

/**
 * Paint the dark shading ::grad_line over lines 1 to 207 of the first 320 columns, as far as they are
 * visible. Line 0 is never painted.
 */
DRAVIK_API void fb_clear_screen_gradient(void) DRAVIK_NOEXCEPT;

/**
 * Paint the same shading over a region, to restore the background there. The colour depends on the screen
 * line alone. Lines 1 to 207 are painted, clipped to the screen; unlike fb_clear_screen_gradient() it does
 * not end at column 319.
 * @param x0,x1  first and last column in any order; signed pixels
 * @param y0,y1  top and bottom line; signed pixels; nothing is painted when y1 is above y0
 */
DRAVIK_API void fb_clear_region_gradient(int32_t x0, int32_t y0, int32_t x1, int32_t y1) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup bmp BMP files
 * @{
 */

/**
 * The header of the last file that had the "BM" signature: width, height, bits a pixel, file size, image data
 * size, information header size, pixel data offset.
 */
extern DRAVIK_API uint32_t bmpinfo[7];
/** The colours of the last 1-, 4- or 8-bit file: 256 entries of blue, green, red and an unused byte. */
extern DRAVIK_API uint8_t palette[1024];
/** The last row read of a 1-, 4-, 8-, 24- or 32-bit file, as it stands in the file. */
extern DRAVIK_API uint8_t image[8192];

/**
 * Draw an uncompressed BMP file of 1, 4, 8, 16, 24 or 32 bits a pixel. Rows are taken bottom-up.
 *
 * Channels are truncated to RGB565. In 1- and 4-bit files a colour that comes out as 0x0000 is drawn as
 * 0x0841. The number of colours in the palette is the header's "important colours" field; 0 and anything
 * above 256 mean 256. Colours that the file does not give are those of the file before.
 *
 * A 16-bit file is taken to hold RGB565. Mode 0 copies its rows to the screen, so that a row of odd width
 * paints the pixel right of the picture with its padding, unless the screen's memory ends there. Modes 1 and
 * 2 read two rows for each row drawn: they show every other row of the file, and then repeat the last one
 * read up to the picture's height. They keep the colour 0xF81F transparent; a file that ends before its first
 * pixel shows nothing in them.
 *
 * An image fits on the screen if its width and height do not exceed the screen's, and neither do `x + width`
 * and `y + height`. The sums wrap modulo 2^32, so 0xFFFFFFFF is accepted as a position: the image starts left
 * of or above the screen.
 *
 * A file that ends early is drawn with what its last rows left in ::image (for mode 0: on the screen).
 * @param x,y    position in pixels; see align
 * @param path   the file
 * @param mode   for 16-bit files: 0 copies, 1 leaves 0xF81F transparent, 2 does so and paints the rest
 * 0x7BCF, any other draws nothing
 * @param align  1: x is the centre, 2: y is the centre, 3: both, any other: (x, y) is the top-left corner. A
 * centred picture that would begin left of or above the screen begins at 0
 * @return 0 when drawn, and when the depth or the mode is unknown and nothing was drawn; -1 when nothing was
 * drawn and standard error says why: "open %s error!", "%s file size error!" (the header's file size is not
 * the file's), "%s BMP type error!", "BMP image size is too big. %d x %d" (wider than 2048), or "BMP image is
 * out of range!" and two lines of figures (it does not fit on the screen)
 */
DRAVIK_API int fb_put_bmp_file(uint32_t x, uint32_t y, const char *path, uint32_t mode,
                               uint8_t align) DRAVIK_NOEXCEPT;

/**
 * Save a picture of 640 by 480 pixels, a copy of the screen for example, as
 * "/tmp/mmcblk0p1/q7_HHMMSS.bmp" with the local hour, minute and second: a 16-bit BMP file with RGB565 masks,
 * 614466 bytes long. A picture of the same time of day is replaced.
 * @param pixels  640 * 480 RGB565 values, top row first, without padding; the caller's, not to change during
 * the call
 * @return the result of closing the file: 0, or -1 when not all could be written; -1 when the file cannot be
 * opened, the card is out for example, and nothing is left behind. Nothing is reported
 */
DRAVIK_API int fb_get_bmp_file(const uint16_t *pixels) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup bmp_slots Pictures in memory
 * BMP files that are drawn often are loaded once, up to 64, and drawn by their slot number. Only 16-bit
 * (RGB565) files can be drawn from a slot.
 * @{
 */

/** The pictures: slot i holds a whole file, or null. The blocks belong to the library until bmp_mem_free().
 */
extern DRAVIK_API uint8_t *bmp_mem_ptr[64];
/** How many slots the last bmp_mem_alloc() went through, whether they loaded or not. */
extern DRAVIK_API int32_t bmp_mem_num;

/**
 * Load the file dir/names[i] into slot i. A file that fails leaves its slot empty, with "fopen %s err",
 * "bmp_mem_load(): malloc err" or "path too long: %s" (4096 bytes or more) in the event log, and the next one
 * is loaded. Whether a file is a BMP file shows when it is drawn. Pictures of an earlier call are not freed:
 * call bmp_mem_free() first.
 * @param count  number of names; those past the 64th are not loaded, 0 or less loads nothing
 * @param dir    the directory
 * @param names  file names, read during the call only
 * @return of no use
 */
DRAVIK_API int bmp_mem_alloc(int32_t count, const char *dir, const char *const *names) DRAVIK_NOEXCEPT;

/**
 * Draw the picture of a slot; rows are taken bottom-up. ::bmpinfo then describes it.
 *
 * Mode 0 copies rows as fb_put_bmp_file() does, padding included, except at the end of frame buffer memory.
 * In modes 1 and 2 rows lie width * 2 bytes apart, so that a picture of odd width drifts by a pixel a row.
 * Mode 1 leaves 0xF81F transparent. Mode 2 leaves 0xF81F and 0x0000 transparent and paints the rest 0x7BCF.
 * @param x,y    position in pixels; see align
 * @param slot   slot number, from 0
 * @param mode   0, 1 or 2; any other draws nothing
 * @param align  1: x is the centre, 2: y is the centre, 3: both, not less than 0; any other: (x, y) is the
 * top-left corner
 * @return 0 when drawn, or when the mode is unknown or the picture has not 16 bits a pixel and nothing was
 * drawn; -1 with the reason in the event log: "BMP mem index err: %d, max = %d" (also for a negative slot),
 * "BMP mem ptr is NULL, bmp_mem_idx=%d" (also after bmp_mem_free()), "BMP type err, bmp_mem_idx=%d", "BMP
 * image size is too big : %d x %d, fb size : %dx%d", "BMP image is out of range!" and two lines of figures
 * (it does not fit on the screen, see fb_put_bmp_file()), or "BMP data err, bmp_mem_idx=%d" (its rows do not
 * lie in the file)
 */
DRAVIK_API int bmp_mem_show(uint32_t x, uint32_t y, int32_t slot, int32_t mode,
                            uint8_t align) DRAVIK_NOEXCEPT;

/** Free the pictures of all slots. ::bmp_mem_ptr and ::bmp_mem_num keep their values. */
DRAVIK_API void bmp_mem_free(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup jpeg JPEG pictures
 * @{
 */

/** The last picture decoded: image width, image height, output width, output height; the last two equal the
 * first. */
extern DRAVIK_API uint32_t jpeginfo[4];

/**
 * Draw a JPEG picture from "/usr/local/dravik/jpg", baseline or progressive, in colour or grey. It is clipped
 * to the screen, with "JPG image is out of range!" and two lines of figures on standard error if it does not
 * fit there (see fb_put_bmp_file(): a picture that starts left of or above the screen may fit).
 *
 * Channels are truncated to RGB565, and 0x0000, 0x0001, 0x0800 and 0x0801 are drawn as 0x0821. A CMYK picture
 * is drawn with its first three channels as red, green and blue. A file that ends within its picture draws
 * what there is. The row buffer requested from libjpeg is one byte longer than a row.
 * @param x,y    position in pixels, see align; 0xFFFFFFFF is the column left of, or the line above, the first
 * @param name   file name in that directory, read during the call only
 * @param align  1: x is the centre, 2: y is the centre, 3: both, not less than 0; any other: (x, y) is the
 * top-left corner
 * @return 0 when drawn; -1 when the file cannot be opened ("can't open %s" on standard error) or libjpeg
 * gives up, which tells why on standard error; rows decoded before that stay on the screen
 */
DRAVIK_API int fb_put_jpeg_file(uint32_t x, uint32_t y, const char *name, uint32_t align) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup artwork Packed artwork
 * Interface artwork comes in archives of 4-bit images, which are painted through a ramp of ::gc. Up to 32
 * archives are kept in memory, one a slot.
 *
 * An archive begins with "KORVEXQ7", its image count and its length in bytes; one record of four words an
 * image follows (width, height, offset of its pixels, 0). All words are 32-bit little-endian. Pixels are rows
 * of (width + 1) / 2 bytes, top row first, the left pixel in the high half. The tool dravik-art makes
 * archives from PNG.
 * @{
 */

/** The archives: slot i holds a whole file, or null. The blocks belong to the library until q7bmp_free(). */
extern DRAVIK_API uint8_t *q7bmp_ptr[32];
/** The number of images in each slot; 0 in an empty one. */
extern DRAVIK_API uint32_t q7bmp_str_num[32];
/** How many slots the last q7bmp_alloc() went through, whether they loaded or not. */
extern DRAVIK_API int32_t q7bmp_ptr_num;

/**
 * Load paths[i] into slot i. A file that fails leaves its slot empty and the next one is tried. Archives that
 * an earlier call loaded are not freed: call q7bmp_free() first.
 *
 * Progress and failures go to standard error ("%s not found", "%s not regular file", the number of images of
 * each file), and to the event log ("open %s error", "cannot allocate memory!", "%s file format error!",
 * "file size error! %d != %d").
 * @param count  number of paths; those past the 32nd are not loaded, 0 or less loads nothing
 * @param paths  file names, read during the call only
 * @return the number of characters of the last line on standard error; of no use
 */
DRAVIK_API int q7bmp_alloc(int32_t count, const char *const *paths) DRAVIK_NOEXCEPT;

/**
 * Free the archives, from slot 0 up to ::q7bmp_ptr_num. An empty slot ends the walk with "q7bmp_free err!" in
 * the event log, and the slots after it stay loaded.
 */
DRAVIK_API void q7bmp_free(void) DRAVIK_NOEXCEPT;

/**
 * Draw one image of an archive, without clipping: the caller must keep it on the screen. An image larger than
 * the screen is truncated to frame buffer memory.
 *
 * The ramp is chosen by the two colours. On 0x0821 and on 0xFFFF: 0xF800, 0x07E0, 0x001F, 0x7BEF, 0xFFE0,
 * 0xF81F, 0x07FF, 0xFBC0, and one ramp for all others. On 0xF81F: 0x0821. On ::DRAVIK_THEME: 0xFFFF (to
 * white) and all others (to black). On 0, where level 0 is not painted: 0x0821, 0x7BEF, and white for all
 * others. Any other background, and any other colour on 0xF81F, take the ramp from near-black to white.
 * @param x,y    position; signed pixels; see align
 * @param slot   slot number, 0 to 31
 * @param index  number of the image, from 0; one too high draws the last image
 * @param fg,bg  foreground and background, RGB565
 * @param align  1: x is the centre, 2: y is the centre, 3: both, not less than 0. 8 to 14 centre the image in
 * a column of a screen 320 pixels wide, if it is no wider than that column: 8, 10, 12, 14 the four quarters,
 * 9 and 13 the halves, 11 the whole; x is used for a wider one. Any other: (x, y) is the top-left corner
 * @return 0 when drawn, also when the image has no rows; -1, with a line in the event log, when the slot is
 * empty
 *         ("q7bmp ptr is NULL") or out of range, the archive holds no image ("q7bmp num error! num_q7bmp =
 * %d"), the index is negative, or the image's record or pixels do not lie within the archive
 */
DRAVIK_API int fb_q7bmp_show(int32_t x, int32_t y, uint32_t slot, int32_t index, uint16_t fg, uint16_t bg,
                             int32_t align) DRAVIK_NOEXCEPT;

/** ::q7bmp_ptr_num. */
DRAVIK_API int32_t get_q7bmp_ptr_num(void) DRAVIK_NOEXCEPT;

/**
 * The number of images in a slot.
 * @param slot  slot number
 * @return the number; 0xFFFFFFFF for a slot that is negative or not below ::q7bmp_ptr_num
 */
DRAVIK_API uint32_t get_q7bmp_str_num(int32_t slot) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup psf_text Bitmap fonts and text
 * Text in PC Screen Fonts, versions 1 and 2, up to 16 fonts in slots. There is no clipping, no wrapping and
 * no Unicode: a character is the number of a glyph.
 * @{
 */

/** A font slot. */
struct psf_font {
  uint8_t
      *ptr; /**< `length * charsize` bytes of glyphs, or null; belongs to the library until psf_font_free() */
  int32_t charsize; /**< bytes a glyph */
  int32_t length;   /**< number of glyphs */
  int32_t version;  /**< 1 or 2; 0 for an empty slot or a file of another format */
  int32_t width;    /**< glyph width in pixels */
  int32_t height;   /**< glyph height in rows */
};

/** The font slots; slot n is filled from the n-th path of psf_font_alloc(). */
extern DRAVIK_API struct psf_font psf[16];
/** How many slots psf_font_alloc() was asked to fill, those that failed included. */
extern DRAVIK_API int32_t psf_font_num;

/**
 * Load paths[i] into slot i. A font that fails is logged as "psf_font_alloc(): load %s err", leaves its slot
 * without glyphs, and the next one is loaded. Fonts of an earlier call are not freed: call psf_font_free()
 * first.
 * @param count  number of paths; those past the 16th are not loaded, 0 or less loads nothing
 * @param paths  file names, read during the call only
 */
DRAVIK_API void psf_font_alloc(int32_t count, const char *const *paths) DRAVIK_NOEXCEPT;

/**
 * Load one font into any slot record. What the record held is overwritten, not freed.
 *
 * The glyphs of a font may take up to 32768 bytes together; those of a file that ends early are empty.
 * @param path  the file
 * @param slot  the record to fill; after a failure its `ptr` is null
 * @return 0, or -1 with the reason in the event log: "%s not found!", "%s not regular file",
 * "psf_font_load(): fopen %s err", "only support PSF font : %s" and the bytes found, "psf_font_load(): font
 * file size err = %d" and the font's figures, or "%s : malloc %d bytes err" (also for a size that is negative
 * or that only a wrapped 32-bit product makes small enough). Glyphs of more than 128 bytes only warn: "font
 * character size > 128 bytes"
 */
DRAVIK_API int psf_font_load(const char *path, struct psf_font *slot) DRAVIK_NOEXCEPT;

/**
 * Free the fonts of slots 0 to ::psf_font_num - 1. A slot without glyphs ends the walk with a line in the
 * event log, and the slots after it stay loaded.
 */
DRAVIK_API void psf_font_free(void) DRAVIK_NOEXCEPT;

/** ::psf_font_num. */
DRAVIK_API int32_t get_psf_font_num(void) DRAVIK_NOEXCEPT;

/**
 * Draw one glyph. A glyph that crosses the right edge continues in the next line; one larger than the screen
 * is truncated to frame buffer memory. At most 16 columns are drawn. A glyph that the font does not have, an
 * empty slot and a slot number outside 0 to 15 draw nothing.
 * @param ch    glyph number, from 0
 * @param x,y   top-left corner in pixels
 * @param fg    RGB565 in the low 16 bits, for the set bits
 * @param bg    RGB565 for the other bits; 0 leaves them as they are
 * @param font  slot number, 0 to 15
 */
DRAVIK_API void fb_putc(uint32_t ch, uint32_t x, uint32_t y, uint32_t fg, uint16_t bg,
                        int32_t font) DRAVIK_NOEXCEPT;

/**
 * Draw a text, one cell a character.
 *
 * Conversions, without flags or widths: "%d" (int), "%x" (unsigned), "%c" (int; 0 draws nothing), "%g"
 * (double),
 * "%%". Any other letter, and the end of the format, consume no argument and draw the text of the previous
 * conversion of the call again, if there was one.
 *
 * The two characters backslash and n (written "\\n" in C) move on by one pixel row, not by one text line, and
 * back to the first column; backslash and r go back to the first column. A backslash with another character,
 * or at the end, draws nothing. A newline character is a glyph like any other.
 * @param x,y     top-left corner of the first cell in pixels
 * @param fg      RGB565 in the low 16 bits
 * @param bg      RGB565 in the low 16 bits; the value 0 leaves the pixels around the letters as they are
 * @param font    slot number, 0 to 15
 * @param format  the text and its conversions; its bytes are glyph numbers 0 to 255
 * @return 0
 */
DRAVIK_API int fb_printf(uint32_t x, uint32_t y, uint32_t fg, uint32_t bg, int32_t font, const char *format,
                         ...) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup truetype Smooth text
 * Text in any script of the Basic Multilingual Plane, from TrueType fonts through FreeType, smoothed in 16
 * levels by a ramp of ::gc. It is composed on ::image_buffer and laid out for a screen of 640 by 480 pixels.
 *
 * `sx`, `sy`, `ex` and `ey` are short names for a global: keep your own apart from them.
 * @{
 */

/**
 * The font files: "/usr/local/dravik/font/arial.ttf" and "/usr/local/dravik/font/DroidSansFallback.ttf". May
 * be pointed elsewhere; the names stay the caller's.
 */
extern DRAVIK_API const char *ttf_font_file[2];
/** The last string drawn: up to 128 UTF-16 little-endian units; one that ended earlier has a 0 unit after it.
 */
extern DRAVIK_API uint8_t unicode[256];
/** Its number of units. */
extern DRAVIK_API int32_t unicode_len;
/** Left column of the box of the last string on ::image_buffer. */
extern DRAVIK_API int32_t sx;
/** Top row of the box. */
extern DRAVIK_API int32_t sy;
/** Right column of the box, included. */
extern DRAVIK_API int32_t ex;
/** Bottom row of the box, included. */
extern DRAVIK_API int32_t ey;
/** Width of the last string drawn, in pixels. */
extern DRAVIK_API int32_t str_width;
/** Height of the last string drawn, in pixels. */
extern DRAVIK_API int32_t str_height;

/**
 * Widen a byte string to 16-bit little-endian units, a byte a unit, with a 0 unit at its end.
 * @param src  the string
 * @param dst  receives 2 * (length + 1) bytes, at any address; owned by the caller
 * @return the length in bytes, the end not counted
 */
DRAVIK_API int32_t ascii_to_unicode_string(const char *src, void *dst) DRAVIK_NOEXCEPT;

/**
 * Draw one line of text. The font file is opened and closed at each call.
 *
 * A string ends at its first 0 unit or line feed, or after 128 units. If its last unit is a space nothing is
 * drawn. What is measured, and drawn, is the box around the text; ::str_width and ::str_height tell its size
 * afterwards.
 *
 * The ramp is chosen by the two colours. On 0x0821 and on 0xFFFF: 0xF800, 0x07E0, 0x001F, 0x7BEF, 0xFFE0,
 * 0xF81F, 0x07FF, 0xFBC0, and one ramp for all others. On 0xF81F: 0xF800, 0x07E0, 0x001F, 0xFFFF, 0x7BEF,
 * 0xFFE0, 0x07FF, 0xFBC0, and one for all others. On ::DRAVIK_THEME: 0x0821 (to black) and all others (to
 * white). On 0, which leaves the pixels around the letters as they are, and on any other background: from
 * white to black.
 *
 * Text that crosses the right edge continues in the next line, also from the line above the screen into the
 * first one. Nothing is drawn before frame buffer memory. Glyphs that leave the plane are drawn on its edge.
 * @param x,y        position of the box in pixels; see align
 * @param text       UTF-16 little-endian units, at any address; read during the call only
 * @param font_size  points at 80 dots an inch, up to 96. A larger one writes "font_size error : %d!" to
 * standard error and ends the process with status 0
 * @param font       entry of ::ttf_font_file; only bit 0 counts
 * @param fg,bg      foreground and background, RGB565
 * @param align      1: x is the centre, 3: x and y are the centre, not less than 0. 2: y is the centre if
 * ::sy is above half the height, else 0. 4, 5: in the middle of 640 columns, of 480 rows. 6, 7: against the
 * right, the bottom edge of these. Any other: (x, y) is the top-left corner
 * @return 0. When FreeType fails, or the font lacks a character, nothing is drawn, the face and the FreeType
 * library are released, and standard error says
 *         "FT_Init_FreeType failed!", "FT_New_Face failed!", "FT_Set_Char_Size failed!", "FT_Get_Char_Index
 * failed!", "FT_Load_Glyph failed! ret=%08x" or "FT_Render_Glyph failed!"
 */
DRAVIK_API int put_unicode_string(uint32_t x, uint32_t y, const void *text, uint32_t font_size, uint32_t font,
                                  uint16_t fg, uint16_t bg, int32_t align) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup sound Sound
 * Files are played one after the other on a real-time thread of the engine's own, through the ALSA device
 * "default".
 *
 * A file's kind follows from its name: MP3 when ".mp3" is anywhere in it, else raw samples for ".pcm", else
 * WAV for ".wav" (all in lower case), else raw samples. The device always runs at 48000 Hz with signed 16-bit
 * samples and
 * **no file is converted**: an MP3 of another rate plays too slow or too fast, and of a stereo MP3 the left
 * channel is heard. WAV and raw files hold mono samples at 48000 Hz; the first 44 bytes of a WAV file are
 * passed over, whatever they say.
 *
 * A sound's end is cut off by what the device still holds in its buffer: end files with a buffer's length of
 * silence. An MP3 starts when the device's buffer is full, and the buffer asked for grows with the file: on a
 * device that grants it, a short file of a high bit rate may end before it starts.
 *
 * The engine (snd_init() and what is called in its terms below) reports to nobody: failures are in the event
 * log, those of setting up the device on standard error.
 * @{
 */

/** Fixed values of sound. */
enum dravik_sound {
  DRAVIK_SOUND_RATE = 48000,   /**< sample rate of the PCM device in Hz */
  DRAVIK_SOUND_QUEUE = 4,      /**< queue slots */
  DRAVIK_SOUND_PATH_MAX = 255, /**< length of the longest path in characters */
};

/** ALSA's playback stream (`snd_pcm_t *`); null while no sound is open. Used by the thread that plays. */
extern DRAVIK_API struct _snd_pcm *h_snd_playback;
/** Bits of a frame of the WAV or raw sound being played: 32 once set_snd_param() has set one up. */
extern DRAVIK_API uint32_t bits_per_frame;

/**
 * Start the engine. It needs the right to real-time priority (SCHED_FIFO, 90).
 * @return 1, also when it runs already; -1 when its thread cannot be created (perror() of
 * "pthread_create play_snd_thread failed\n"; later calls give 1 until snd_exit(), and nothing plays) or may
 * not have the priority ("set realtime schedule err" in the event log)
 */
DRAVIK_API int32_t snd_init(void) DRAVIK_NOEXCEPT;

/**
 * Queue a file. May be called from any thread.
 *
 * Blocks until the current playback and a pause of 150 ms have ended; `stop_current` stops that playback
 * first. Then clears the stop request of an earlier snd_stopall(), queues the file and logs its path.
 *
 * Without a running engine nothing is queued and there is no pause; all else is done, so that direct players
 * can be stopped and released where real-time priority is refused.
 * @note The queue has four slots and does not detect overflow: queue at most three files ahead.
 * @note Intentional: a path that is too long is rejected as a whole, with a line in the event log. Nothing is
 * stopped, queued or cleared then.
 * @param path          file, at most 255 characters
 * @param stop_current  1: stop the current playback; other values do not
 * @return 1
 */
DRAVIK_API int32_t snd_play_direct(const char *path, int32_t stop_current) DRAVIK_NOEXCEPT;

/**
 * Stop the current playback and drop the queue. May be called from any thread. Blocks until the thread of the
 * engine is idle; does not wait for direct players (mp3_playback() and the players after it).
 * @note The stop request stays in force until the next snd_play_direct(): direct players that are started
 * before it play nothing, with or without a running engine.
 * @return result of pthread_mutex_unlock(): 0 on success
 */
DRAVIK_API int32_t snd_stopall(void) DRAVIK_NOEXCEPT;

/** Whether a sound, or the pause of 150 ms after it, is in progress. Any thread may ask. @return 1: yes, 0:
 * no */
DRAVIK_API uint32_t get_snd_thread_state(void) DRAVIK_NOEXCEPT;

/**
 * Stop the engine when the sound in progress has ended; what is queued is dropped. Nothing happens when it
 * does not run.
 *
 * The places of the queue are not set back: an engine that is stopped while it is idle and started again
 * loses the first file of each pair, and each one that is queued alone; so may one that snd_init() refused to
 * start before. Start the engine once.
 */
DRAVIK_API void snd_exit(void) DRAVIK_NOEXCEPT;

/**
 * Open and set up the device for the kind of sound that is played next, which the players below choose. Of
 * use by itself only before wav_decode() and pcm_decode().
 *
 * Failures are told on standard error, step by step; "Can't use period equal to buffer size (%lu == %lu)" and
 * "unable to install sw params:" in the event log. After a failure the device stays open if it was opened.
 * @param size  length of the sound data in bytes
 * @return frames of a period; 0 for MP3; -1 on failure
 */
DRAVIK_API int32_t set_snd_param(uint32_t size) DRAVIK_NOEXCEPT;

/**
 * Play an MP3 file on the calling thread, to its end or until the engine is told to stop.
 *
 * The file is opened for reading and writing, so it must be writable, and is read into memory as a whole.
 * Corrupt frames are logged and skipped. The decoder skips a last frame with no data after it. Stop requests
 * are checked after each frame, valid or corrupt.
 * @param path  the file
 * @return 0; 1 when it cannot be opened, memory is short or the device cannot be set up (then the file, its
 * memory and the device stay in use, for good); 2 when it is empty or its status cannot be read (then it
 * stays open)
 */
DRAVIK_API int32_t mp3_playback(const char *path) DRAVIK_NOEXCEPT;

/**
 * Play a WAV file on the calling thread, to its end or until the engine is told to stop.
 * @param file  the file
 * @return 1, also when it cannot be read; 0 when the device cannot be set up; -1 when there is no such file
 */
DRAVIK_API int32_t wav_playback(const char *file) DRAVIK_NOEXCEPT;

/** Play a file of raw samples; otherwise as wav_playback(). */
DRAVIK_API int32_t pcm_playback(const char *file) DRAVIK_NOEXCEPT;

/**
 * Play a WAV file on the device as it is set up, and close the device. Without one nothing is heard.
 *
 * Each period read becomes two periods of stereo; a byte too many for whole samples is lost. A request to
 * stop is looked at after each read.
 * @param path           the file
 * @param period_frames  the result of set_snd_param()
 * @return 1 at the end or when stopped; -1 with the reason in the event log when the file cannot be opened or
 * read, or memory is short ("not enough memory"; then the device stays open)
 */
DRAVIK_API int32_t wav_decode(const char *path, uint32_t period_frames) DRAVIK_NOEXCEPT;

/** Play a file of raw samples on the device as it is set up; otherwise as wav_decode(). */
DRAVIK_API int32_t pcm_decode(const char *path, uint32_t period_frames) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup mixer Volume
 * Sets the codec's controls by ALSA's command "amixer", by their numbers. Each function gives the result of
 * its last command, as system() has it; the volume itself changes a moment after the call.
 * @{
 */

/** Volume steps of the speaker in percent. */
enum dravik_volume {
  DRAVIK_VOLUME_MUTED = 0,
  DRAVIK_VOLUME_LOWEST = 20,
  DRAVIK_VOLUME_LOW = 40,
  DRAVIK_VOLUME_MEDIUM = 60,
  DRAVIK_VOLUME_HIGH = 80,
  DRAVIK_VOLUME_FULL = 100,
};

/** Switch the microphone on. */
DRAVIK_API int32_t mic_volume_unmute(void) DRAVIK_NOEXCEPT;

/** Switch the microphone off. */
DRAVIK_API int32_t mic_volume_mute(void) DRAVIK_NOEXCEPT;

/**
 * Set the speaker's volume.
 * @param percent  0 (mutes), 20, 40, 60, 80 or 100; any other counts as 60
 */
DRAVIK_API int32_t spk_volume_setup(uint32_t percent) DRAVIK_NOEXCEPT;

/** Mute the speaker. */
DRAVIK_API int32_t spk_volume_mute(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup log Event log
 * A text file, "/tmp/dravik.log", to which each process adds a banner with the date and then its lines, each
 * stamped with the seconds and microseconds since the banner. A file of 262144 bytes or more takes no further
 * line.
 * @{
 */

/** Fixed values of the event log. */
enum dravik_log {
  DRAVIK_LOG_SIZE_MAX = 262144, /**< size in bytes from which the file accepts no further line */
};

/** A time of day of two 32-bit words. */
struct dravik_timeval {
  int32_t tv_sec;  /**< seconds since 1970-01-01 00:00:00 UTC */
  int32_t tv_usec; /**< microseconds, 0 to 999999 */
};

/** The time that the stamps of this process count from; zero until its first line was written. */
extern DRAVIK_API struct dravik_timeval tlogst;

/**
 * Add one line to the event log. It is on the file when the call returns. No set-up is needed.
 *
 * Any thread may call it at any time, also several for the first time at once; lines never mix.
 * @param format  a printf() format without a newline at its end, followed by its arguments
 * @return the number of characters of the message; 0 when the file is full or cannot be opened and the line
 * was dropped; negative when the message cannot be formatted
 */
DRAVIK_API int log_printf(const char *format, ...) DRAVIK_NOEXCEPT DRAVIK_PRINTF(1, 2);

/** @} */

/**
 * @defgroup console Serial console
 * Text for the first serial port, "/dev/ttyS0" at 115200 baud. Messages wait in a ring of 4096 bytes, which a
 * thread of the library sends every millisecond, so that nobody waits for the port.
 * @{
 */

/** Sizes of the console's buffers in bytes. */
enum dravik_console {
  DRAVIK_CONSOLE_RING_SIZE = 4096,   /**< of ::ring_buf */
  DRAVIK_CONSOLE_MESSAGE_SIZE = 256, /**< of ::console_msg */
};

/** The ring. */
extern DRAVIK_API char ring_buf[DRAVIK_CONSOLE_RING_SIZE];
/** The next byte to be sent; null before console_init(). */
extern DRAVIK_API char *ptr_rb_head;
/** Where the next message goes; may stand one past the ring's last byte. Null before console_init(). */
extern DRAVIK_API char *ptr_rb_tail;
/** The start of the last message, up to 255 characters. */
extern DRAVIK_API char console_msg[DRAVIK_CONSOLE_MESSAGE_SIZE];
/** The whole length of the last message. */
extern DRAVIK_API int32_t console_msg_len;
/** Descriptor of the port; -1 before console_init() and after console_exit(). */
extern DRAVIK_API int32_t console_write_fd;
/** 1 once the sending thread was told to end. */
extern DRAVIK_API int32_t __console_io_canceled_write; /* NOLINT(bugprone-reserved-identifier) */

/**
 * Open the port, make it raw and start the sending thread. Meant to be called once in a process: after
 * console_exit() the thread ends at once.
 * @return 0, also when the thread cannot be started; -1 when the port's settings cannot be read or written
 * ("Can't get port settings", "Can't set port settings" on standard error)
 */
DRAVIK_API int console_init(void) DRAVIK_NOEXCEPT;

/**
 * Queue a message for the port; any thread may call it. Before console_init() it does nothing.
 *
 * A message is refused, with "ring buffer full, skip console msg" on standard error, only when all but one
 * byte of the ring wait to be sent. A longer one than the room left overwrites what has waited longest. Of a
 * message longer than the ring its first 4095 bytes are sent.
 * @param format  a printf() format, followed by its arguments
 * @return 0
 */
DRAVIK_API int console_printf(const char *format, ...) DRAVIK_NOEXCEPT DRAVIK_PRINTF(1, 2);

/**
 * End the sending thread and close the port. What was queued since the thread's last round is not sent.
 * Standard error gets "console_exit+" and "console_exit-".
 * @return the result of flushing standard error: 0, or EOF
 */
DRAVIK_API int console_exit(void) DRAVIK_NOEXCEPT;

/**
 * Read one character from standard input without line editing and echo. The terminal is as before afterwards.
 * Programs that use curses get its macro of this name: include its header first and undefine it.
 * @return the character, or EOF
 */
DRAVIK_API int getch(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup adc Analogue inputs and temperature
 * Four channels of 10 bits, read at each call from the driver's "/proc/ambarella/adc": a line a channel, its
 * value as one to three hexadecimal digits from the tenth character on. When it cannot be opened, each call
 * writes "open /proc/ambarella/adc error!" to standard error and returns -1.
 * @{
 */

/** Fixed values of the ADC. */
enum dravik_adc {
  DRAVIK_ADC_CHANNELS = 4,         /**< number of channels */
  DRAVIK_ADC_CODE_MAX = 1023,      /**< largest code */
  DRAVIK_ADC_LINE_SIZE = 31,       /**< size in bytes of a buffer for a line and its NUL */
  DRAVIK_ADC_TEMP_CHANNEL = 1,     /**< channel of the board's temperature */
  DRAVIK_ADC_TEMP_FIRST_CODE = 64, /**< code of the first entry of ::adc_temp_table */
  DRAVIK_ADC_TEMP_CODES = 704,     /**< number of entries of ::adc_temp_table */
};

/** Temperatures reported for codes outside ::adc_temp_table, in thousandths of a degree Celsius. */
enum dravik_temperature {
  DRAVIK_TEMPERATURE_MIN = -1000,  /**< for codes above the table */
  DRAVIK_TEMPERATURE_MAX = 117000, /**< for codes below the table */
};

/** The temperature in thousandths of a degree Celsius of each code from 64 to 767; entry i belongs to code i
 * + 64. */
extern DRAVIK_API const int32_t adc_temp_table[DRAVIK_ADC_TEMP_CODES];

/**
 * Read the line of a channel.
 * @param channel  only its two low bits count
 * @param dst      receives the line with its end, at most 30 characters; owned by the caller, at least 31
 * bytes long; untouched on failure
 * @return 0, or -1
 */
DRAVIK_API int32_t read_adc_str(int32_t channel, char *dst) DRAVIK_NOEXCEPT;

/**
 * The line of a channel as a number: atohex() of the whole line, its low 10 bits.
 * @param channel  only its two low bits count
 * @return 0 to 1023; -1 when the line is missing or the file cannot be opened
 */
DRAVIK_API int32_t read_adc_hex(int32_t channel) DRAVIK_NOEXCEPT;

/**
 * Read the codes of all channels. A line that is not 10 to 12 characters long, its end counted, gives the
 * code of the channel before it; 0 for the first.
 * @param codes  receives 4 codes, 0 to 1023; owned by the caller; untouched on failure
 * @return 0, or -1
 */
DRAVIK_API int32_t read_adc(uint32_t *codes) DRAVIK_NOEXCEPT;

/**
 * The board's temperature, from channel 1.
 * @return thousandths of a degree Celsius; 117000 and -1000 for codes below and above the table; -1 when the
 * file cannot be opened
 */
DRAVIK_API int32_t read_temperature(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup backlight Backlight
 * The LCD's backlight in "/sys/class/backlight/pwm-backlight.0". Every step is told in the event log.
 * @{
 */

/** Brightness values. Those in between are valid too. */
enum dravik_backlight {
  DRAVIK_BACKLIGHT_MIN = 0,
  DRAVIK_BACKLIGHT_LOW = 1,
  DRAVIK_BACKLIGHT_MEDIUM = 500,
  DRAVIK_BACKLIGHT_HIGH = 1000,
};

/**
 * Open the backlight's two files, those that are not open yet.
 * @return 1 when both are open; 0 when one cannot be opened ("lcd backlight : init err, pwm_dev=%s" in the
 * event log)
 */
DRAVIK_API int32_t lcd_bl_init(void) DRAVIK_NOEXCEPT;

/**
 * Set the brightness.
 * @param level  0 to 1000; what is outside is taken as the nearest of them. 1, 500 and 1000 are logged as
 * "low", "medium" and "high"
 * @return the result of the last log_printf()
 */
DRAVIK_API int32_t lcd_bl_set(int32_t level) DRAVIK_NOEXCEPT;

/**
 * Turn the backlight off and blank the panel. The log says "turn off err" whenever the file is open, whatever
 * happened.
 * @return the result of the last log_printf()
 */
DRAVIK_API int32_t lcd_bl_off(void) DRAVIK_NOEXCEPT;

/** Turn the backlight on and unblank the panel. @return the result of the last log_printf() */
DRAVIK_API int32_t lcd_bl_on(void) DRAVIK_NOEXCEPT;

/** Close the backlight's files. */
DRAVIK_API void lcd_bl_exit(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup gpio GPIO lines and the status LED
 * Lines are read and driven through the vendor's debug driver "/dev/ambad". Without gpio_init() every call
 * returns -1.
 * @{
 */

/** GPIO lines that the library uses. */
enum dravik_gpio {
  DRAVIK_GPIO_CARD_LOCK = 68, /**< input: write-protect switch of the SD card; 1: protected */
  DRAVIK_GPIO_LED_RED = 82,   /**< output: red half of the status LED */
  DRAVIK_GPIO_LED_GREEN = 83, /**< output: green half of the status LED */
};

/** Descriptor of the driver; -1 when it is not open. Keeps its number after gpio_exit(). */
extern DRAVIK_API int32_t gpiofd;

/**
 * Open the driver, if "/proc/modules" names it.
 * @return 0; -1 with the reason on standard error (perror() of "/proc/modules" or "/dev/ambad")
 */
DRAVIK_API int32_t gpio_init(void) DRAVIK_NOEXCEPT;

/**
 * Read a line.
 * @param line  its number
 * @return its level, 0 or 1; -1 when the driver is not open or refuses (perror() of
 * "AMBA_DEBUG_IOC_GET_GPIO")
 */
DRAVIK_API int32_t gpio_get(uint32_t line) DRAVIK_NOEXCEPT;

/**
 * Drive a line.
 * @param line   its number
 * @param level  only bit 0 counts
 * @return that level; -1 when the driver is not open or refuses (perror() of "AMBA_DEBUG_IOC_SET_GPIO")
 */
DRAVIK_API int32_t gpio_set(uint32_t line, uint32_t level) DRAVIK_NOEXCEPT;

/** Close the driver. @return the result of close(), or ::gpiofd itself when that is negative */
DRAVIK_API int32_t gpio_exit(void) DRAVIK_NOEXCEPT;

/** Show the status LED red. @return the result of the second of its two gpio_set() calls; so with the others
 */
DRAVIK_API int32_t led_red(void) DRAVIK_NOEXCEPT;
/** Show the status LED green. */
DRAVIK_API int32_t led_green(void) DRAVIK_NOEXCEPT;
/** Show the status LED orange: both colours. */
DRAVIK_API int32_t led_orange(void) DRAVIK_NOEXCEPT;
/** Switch the status LED off. */
DRAVIK_API int32_t led_off(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup gsensor Accelerometer
 * Three axes on I2C bus 0. Steps and failures are reported on standard error; a failed register access does
 * not end a sequence. Before gsensor_init() and after it failed, every register access fails without a
 * transfer and reads 0.
 * @{
 */

/**
 * Open and configure the sensor: 100 readings a second, high resolution.
 * @return 0, also when registers could not be set or the sensor is another; -1 when the bus cannot be opened
 */
DRAVIK_API int32_t gsensor_init(void) DRAVIK_NOEXCEPT;

/** Wait while the sensor tells an overrun without new data. @return 0 */
DRAVIK_API int32_t gsensor_check_data_ready(void) DRAVIK_NOEXCEPT;

/**
 * Read the three axes: six register reads, twelve system calls.
 * @param[out] x,y,z  axes in counts of half a step of 12 bits, -4096 to 4094; all 0 if the sensor is not
 * started
 */
DRAVIK_API void gsensor_get_data(int32_t *x, int32_t *y, int32_t *z) DRAVIK_NOEXCEPT;

/** Leave the sensor in its low-power mode and close the bus. @return the result of close() */
DRAVIK_API int32_t gsensor_exit(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup probes Probes
 * Small questions to the running system, without state and without messages.
 * @{
 */

/** Sizes of addresses in bytes. */
enum dravik_address {
  DRAVIK_MAC_SIZE = 6,      /**< of a hardware address */
  DRAVIK_IP_TEXT_SIZE = 16, /**< of a buffer for an IPv4 address as text and its NUL */
};

/** Whether a monitor is attached. @return 1: yes, 0: no, -1: the driver's report is missing or says something
 * else */
DRAVIK_API int32_t hdmi_detect(void) DRAVIK_NOEXCEPT;

/**
 * The language of the splash screen, from flash.
 * @param lang  receives two letters and a NUL, or an empty string on failure; at least 3 bytes
 * @return 0; -1 when the flash could not be dumped to "/tmp/ptb"
 */
DRAVIK_API int32_t get_splash_lang(char *lang) DRAVIK_NOEXCEPT;

/**
 * The hardware address of a network interface.
 * @param ifname  its name; one of 16 characters or more is none
 * @param mac     receives 6 bytes, all 0 when there is no such interface
 * @return 0
 */
DRAVIK_API int32_t get_netdev_mac(const char *ifname, uint8_t *mac) DRAVIK_NOEXCEPT;

/**
 * The IPv4 address of a network interface, the last of several.
 * @param ifname  its name
 * @param ip      receives the address as text with a NUL, at most 16 bytes; of no meaning unless 0 is
 * returned
 * @return 0; 1 when the interface has no IPv4 address; -1 when it does not exist or has no address at all
 */
DRAVIK_API int32_t get_netdev_ip(const char *ifname, char *ip) DRAVIK_NOEXCEPT;

/** Milliseconds of a clock that is never set; wraps after 49.7 days. */
DRAVIK_API uint32_t get_tick_count(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup sd_card SD card
 * The card is "/dev/mmcblk0" with one partition, mounted on "/tmp/mmcblk0p1".
 *
 * The checks collect their results in one status byte, see ::dravik_card_status. The single checks set and
 * clear their own bits of it.
 * @{
 */

/** Bits of the SD card's status byte. */
enum dravik_card_status {
  DRAVIK_CARD_PRESENT = 0x80,     /**< the card is inserted */
  DRAVIK_CARD_LOCKED = 0x40,      /**< its write-protect switch is on, or cannot be read */
  DRAVIK_CARD_PARTITIONED = 0x20, /**< partition 1 exists */
  DRAVIK_CARD_MOUNTED = 0x10,     /**< partition 1 is mounted */
  DRAVIK_CARD_FAT32 = 0x08,       /**< as FAT, and its partition type is 0x0B */
  DRAVIK_CARD_WRITABLE = 0x04,    /**< mounted as writable FAT */
  DRAVIK_CARD_HEALTHY = 0xBC,     /**< all bits but DRAVIK_CARD_LOCKED */
};

/** Fixed values of the SD card. */
enum dravik_card {
  DRAVIK_CARD_SECTOR_SIZE = 512, /**< bytes per sector */
};

/** Whether a card is in the slot. @return 0: yes, -1: no */
DRAVIK_API int32_t sd_card_check_plugin(void) DRAVIK_NOEXCEPT;

/** Whether the card's lock switch is off, by GPIO line 68. @return 1: off, 0: on, or the line cannot be read
 */
DRAVIK_API int32_t sd_card_check_lock(void) DRAVIK_NOEXCEPT;

/** Whether the card has its partition. @return 0: yes, 1: no. perror() of "fopen" when the system's list is
 * missing */
DRAVIK_API int32_t sd_card_check_part(void) DRAVIK_NOEXCEPT;

/** Whether the card is mounted as writable FAT32. @return 0: yes, 1: no. perror() of "fopen" as above */
DRAVIK_API int32_t sd_card_check_mount(void) DRAVIK_NOEXCEPT;

/**
 * All checks, from a cleared status byte on.
 * @param status  receives the status byte
 * @return 0 when it is 0xBC, else 1
 */
DRAVIK_API int32_t sd_card_check(uint8_t *status) DRAVIK_NOEXCEPT;

/**
 * The size of the card.
 * @param sectors  receives it in sectors of 512 bytes; 0 when it cannot be read
 * @return MiB
 */
DRAVIK_API int32_t sd_card_get_raw_size(uint32_t *sectors) DRAVIK_NOEXCEPT;

/** The size of the card's file system. @return MiB; without a mounted card, of what holds its mount point */
DRAVIK_API int32_t sd_card_get_part_size(void) DRAVIK_NOEXCEPT;

/** The room left on it for ordinary users. @return MiB */
DRAVIK_API int32_t sd_card_get_free_space(void) DRAVIK_NOEXCEPT;

/**
 * Unmount, repair and mount the card's file system. The status of each command is written to "/tmp/debugfs".
 * Recording must have stopped.
 * @return 0
 */
DRAVIK_API int32_t sd_card_check_fs(void) DRAVIK_NOEXCEPT;

/**
 * Write a new partition table with one FAT32 partition to the card and reboot. What the card holds is lost.
 * @param sectors  the card's size in sectors of 512 bytes, from sd_card_get_raw_size()
 * @return -1 when "/tmp/mbr.img" cannot be made; 1 if the reboot command returns at all
 */
DRAVIK_API int32_t sd_card_create_part(uint32_t sectors) DRAVIK_NOEXCEPT;

/** Make a new file system on the card and reboot. What the card holds is lost. @return 1 if that returns at
 * all */
DRAVIK_API int32_t sd_card_format(void) DRAVIK_NOEXCEPT;

/** Fixed values of recordings. */
enum dravik_recordings {
  DRAVIK_EVENT_SLOTS = 5, /**< slots of event recordings, A to E */
};

/** What parse_rec_file_list() finds. */
struct rec_file_list {
  int32_t normal_count;  /**< normal recordings (KVX00000.TS to KVX99999.TS, in any case) */
  int32_t normal_oldest; /**< number of the oldest of them, or -1 */
  int32_t normal_size;   /**< their size together in MiB */
  int32_t event_count;   /**< slots that hold event recordings (EMA00000.TS to EME99999.TS), 0 to 5 */
  int32_t event_oldest;  /**< slot of the oldest event recording, 0 to 4, or -1 */
  int32_t event_next;    /**< the first free slot after that, or -1 when none is free */
};

/**
 * Survey the recordings in "/tmp/mmcblk0p1/REC". The process's working directory changes during the call.
 *
 * @note Intentional: a file dated 0x7FFFFFFF seconds since 1970 (January 2038) or later is counted, but is
 * never the oldest.
 * @param list  receives the result; all 0 or all -1 after a failure
 * @return 0; -1 with the reason in the event log: "parse_rec_file_list() : getcwd err!" (also for a working
 * directory of 64 bytes or more), "... : stat/chdir err! : %s" or "... : opendir err! : %s"
 */
DRAVIK_API int parse_rec_file_list(struct rec_file_list *list) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup checksums Checksums, hexadecimal text and region
 * All of these may be called from any thread.
 * @{
 */

/**
 * CRC-32, as of zlib, PNG and Ethernet.
 * @param data    the bytes
 * @param length  their number; more than 2147483647 counts as negative
 * @return the checksum; 0 for a length of 0 or less
 */
DRAVIK_API uint32_t get_data_crc(const void *data, uint32_t length) DRAVIK_NOEXCEPT;

/**
 * CRC-32 of a whole file, which is read into memory.
 * @param path  the file
 * @return the checksum; 0 for an empty file; 0xFFFFFFFF when it cannot be opened or memory is short
 */
DRAVIK_API uint32_t get_file_crc(const char *path) DRAVIK_NOEXCEPT;

/**
 * Read hexadecimal digits, in either case. Any other character counts as a place too and repeats the digit
 * before it (0 at the start); of more than eight places the last eight count.
 * @param text  the digits
 * @return the number; 0 for an empty text
 */
DRAVIK_API uint32_t atohex(const char *text) DRAVIK_NOEXCEPT;

/** Fixed values of regions. */
enum dravik_regions {
  DRAVIK_REGIONS = 10,          /**< entries of ::area_code_list */
  DRAVIK_REGION_NUMBERS = 1024, /**< region numbers are less than this */
};

/** Result of the region functions if there is no region number, and of get_file_crc() on failure. */
#define DRAVIK_NONE UINT32_C(0xFFFFFFFF)

/** A region that the device is sold in. */
struct area_code {
  uint8_t index;          /**< its place in the list */
  char upper[4];          /**< two upper-case letters */
  char lower[7];          /**< two lower-case letters */
  uint32_t dialling_code; /**< the region's number */
};

/** The regions. */
extern DRAVIK_API const struct area_code area_code_list[DRAVIK_REGIONS];

/**
 * Find the region number of a region value.
 * @param value  the checksum that stands for a number
 * @return 0 to 1023, or 0xFFFFFFFF when it stands for none
 */
DRAVIK_API uint32_t get_area_id(uint32_t value) DRAVIK_NOEXCEPT;

/**
 * Find the region number of a region file. What a file shorter than 4 bytes lacks is zero.
 * @param path  the file
 * @return 0 to 1023, or 0xFFFFFFFF when it cannot be opened or stands for none
 */
DRAVIK_API uint32_t get_area_id_file(const char *path) DRAVIK_NOEXCEPT;

/**
 * The device's region, from "/tmp/add/areacode.bin".
 * @param code  receives two letters and a NUL, at least 3 bytes: those of ::area_code_list, "tw" for a number
 * that is not in it or a value that stands for none, nothing when the file cannot be opened
 * @return the number, 0 to 1023; 0xFFFFFFFF on failure
 */
DRAVIK_API uint32_t get_area_code(char *code) DRAVIK_NOEXCEPT;

/** @} */

#ifdef __cplusplus
}
#endif

#endif
