/**
 * @file dravik.h
 * libdravik: display, sound and board support for car dash camera applications.
 *
 * A C API; its state is kept in exported globals. Drawing targets a 16-bit RGB565 frame buffer, "/dev/fb0".
 * Call fb_init() first, then the drawing functions, and fb_exit() last.
 *
 * Conventions
 * - Functions return 0 on success and -1 on failure unless documented otherwise. They throw no exceptions.
 *   `errno` is unspecified after a call.
 * - Diagnostics are written to the event log (see @ref log) or to standard error, as documented per function.
 * - Coordinates are pixels from the top-left corner; x grows to the right, y downwards. Shapes defined by two
 *   corners include both corners.
 * - Colours are RGB565: red in bits 15:11, green in bits 10:5, blue in bits 4:0. The library's black is
 *   ::DRAVIK_BLACK, 0x0821. As a background colour, 0x0000 means transparent.
 * - log_printf(), console_printf(), the functions of @ref checksums, snd_play_direct(), snd_stopall() and
 *   get_snd_thread_state() may be called from any thread. The other functions are not thread-safe: call them
 *   from one thread, the drawing thread, or serialise the calls.
 * - Applications may modify every global that is not const. Drawing functions read ::fbp and ::fbinfo on each
 *   call.
 * - Drawing functions do not allocate heap memory of their own. libjpeg and FreeType allocate while
 *   fb_put_jpeg_file() and put_unicode_string() use them, and stdio while a file is open.
 *
 * The names of the globals are part of the interface, and some are short (`gc`, `image`, `palette`, `psf`). A
 * program that defines a global of the same name shares it with the library; do not reuse these names.
 */
#ifndef DRAVIK_H
#define DRAVIK_H

#include <stdint.h>

/**
 * @name Version of the library
 * The three numbers are the version of the whole project: CMakeLists.txt reads them here.
 * docs/compatibility.md describes what a new version may change.
 */
/** @{ */
#define DRAVIK_VERSION_MAJOR 0        /**< changes if programs must be changed */
#define DRAVIK_VERSION_MINOR 1        /**< changes if programs must be rebuilt */
#define DRAVIK_VERSION_PATCH 0        /**< changes with all other releases */
#define DRAVIK_VERSION_STRING "0.1.0" /**< the three numbers as text */
/** @} */

/**
 * @def DRAVIK_API
 * Marks an exported function or global.
 *
 * @def DRAVIK_PRINTF
 * Makes the compiler check the arguments of a printf() format.
 * @param text    position of the format in the parameters, from 1
 * @param values  position of the first argument
 */
#if defined(__GNUC__)
#define DRAVIK_API __attribute__((visibility("default")))
#define DRAVIK_PRINTF(text, values) __attribute__((format(printf, text, values)))
#else
#define DRAVIK_API
#define DRAVIK_PRINTF(text, values)
#endif

/**
 * @def DRAVIK_NOEXCEPT
 * Marks a function that throws no exception. Empty in C.
 */
#ifdef __cplusplus
#define DRAVIK_NOEXCEPT noexcept
extern "C" {
#else
#define DRAVIK_NOEXCEPT
#endif

/**
 * @defgroup screen Frame buffer
 * Opening and mapping the frame buffer, and the screen information that all drawing functions use.
 *
 * The pixel at column x, line y is the 16-bit word at `fbp + y * line_length + x * 2`. The factor 2 is fixed:
 * a device with another depth is accepted, but is drawn on as if it had 16 bits per pixel. Drawing goes
 * directly to visible memory; there is no back buffer.
 *
 * No drawing function checks positions against the size of the mapping. Functions that clip are documented as
 * such. All others write wherever their arguments point; the application must keep them on the screen.
 * Unsigned positions wrap modulo 2^32: 0xFFFFFFFF is the column left of, or the line above, the first.
 *
 * Only objects that a file makes larger than the screen (archive image, glyph, line of anti-aliased text) are
 * truncated, because no position makes them fit: their pixels outside frame buffer memory are not drawn. That
 * memory is the mapping, `screen_size` bytes from ::fbp0, if ::fbp points into it. Otherwise it starts at
 * ::fbp and has the larger of `screen_size` and `line_length * yres` bytes.
 * @{
 */

/** Words of ::fbinfo. */
enum dravik_fbinfo {
  FBINFO_LINE_LENGTH,     /**< bytes per line; may exceed `xres * 2` */
  FBINFO_BYTES_PER_PIXEL, /**< `bits_per_pixel / 8`; not used for addressing */
  FBINFO_SCREEN_SIZE,     /**< size of the mapping in bytes: all virtual lines, without padding */
  FBINFO_SPARE_A,         /**< reserved, 0 */
  FBINFO_XRES,            /**< visible width in pixels */
  FBINFO_YRES,            /**< visible height in lines */
  FBINFO_BITS_PER_PIXEL,  /**< as reported by the device; 16 is expected */
  FBINFO_BUFFER_OFFSET,   /**< byte offset from ::fbp at which get_fb_buffer() starts; 0 */
  FBINFO_BUFFER_COUNT,    /**< number of screens of `yres` lines in the virtual screen */
  FBINFO_COPY_SIZE,       /**< number of bytes that get_fb_buffer() copies */
  FBINFO_LINE_COUNT,      /**< same as ::FBINFO_YRES */
  FBINFO_SPARE_B,         /**< reserved, 0 */
  FBINFO_WORDS            /**< number of words */
};

/** Columns of ::image_buffer, and of the screen that anti-aliased text is laid out for. */
#define DRAVIK_PLANE_WIDTH 640
/** Rows of ::image_buffer, and lines of the screen that anti-aliased text is laid out for. */
#define DRAVIK_PLANE_HEIGHT 480

/** File descriptor of the frame buffer: the result of open(), even if it failed. */
extern DRAVIK_API int32_t fbfd;
/** Address of the top-left pixel, the base of all drawing. NULL before fb_init(). */
extern DRAVIK_API uint8_t *fbp;
/** Start of the mapping, unmapped by fb_exit(). Equal to ::fbp after fb_init(). */
extern DRAVIK_API uint8_t *fbp0;
/** Screen information, indexed by ::dravik_fbinfo. All zero before fb_init(). */
extern DRAVIK_API uint32_t fbinfo[FBINFO_WORDS];
/** Composition buffer for text: 640 columns by 480 rows, one byte each. Initially zero. */
extern DRAVIK_API uint8_t image_buffer[DRAVIK_PLANE_WIDTH * DRAVIK_PLANE_HEIGHT];

/**
 * Open and map "/dev/fb0", fill ::fbinfo and build the colour table ::gc with ::DRAVIK_DEFAULT_THEME.
 *
 * Call it once, before any drawing. A second call opens and maps again without releasing the first.
 *
 * On failure, writes one line to standard error and terminates the process with exit status 1:
 * - "error cannot open framebuffer device." if the descriptor is 0
 * - "error reading fixed info", also if the device cannot be opened at all
 * - "error reading var info"
 * - "error: failed to map framebuffer device to memory."
 *
 * @note If the lines are padded, `line_length * yres` may exceed `screen_size`: the mapping then ends before
 * the last visible lines, and drawing them is a segmentation fault. Compare the two words of ::fbinfo after
 * this call.
 */
DRAVIK_API void fb_init(void) DRAVIK_NOEXCEPT;

/**
 * Unmap the screen and close the device.
 *
 * @note ::fbp, ::fbp0 and ::fbinfo keep their values; drawing afterwards accesses unmapped memory.
 * @return result of close(): 0 on success, -1 on failure
 */
DRAVIK_API int fb_exit(void) DRAVIK_NOEXCEPT;

/**
 * Restore the display offset that fb_init() read (FBIOPAN_DISPLAY).
 * @return result of ioctl(): 0 on success, -1 on failure
 */
DRAVIK_API int fb_pan_display(void) DRAVIK_NOEXCEPT;

/**
 * Blank the panel (FBIOBLANK 1).
 * @return result of ioctl(): 0 on success, -1 on failure
 */
DRAVIK_API int fb_lcd_off(void) DRAVIK_NOEXCEPT;

/**
 * Unblank the panel (FBIOBLANK 0).
 * @return result of ioctl(): 0 on success, -1 on failure
 */
DRAVIK_API int fb_lcd_on(void) DRAVIK_NOEXCEPT;

/**
 * Copy the screen information.
 * @param[out] dst  caller's buffer; receives the 12 words (48 bytes) of ::fbinfo in order
 */
DRAVIK_API void get_cam_fb_info(uint32_t *dst) DRAVIK_NOEXCEPT;

/**
 * Copy frame buffer memory: `copy_size` bytes from `fbp + buffer_offset`, including all virtual lines.
 * @param a,b       selectors; must both be 0, otherwise nothing is copied
 * @param[out] dst  caller's buffer of at least `fbinfo[FBINFO_COPY_SIZE]` bytes
 */
DRAVIK_API void get_fb_buffer(uint32_t a, uint32_t b, uint8_t *dst) DRAVIK_NOEXCEPT;

/**
 * Set one pixel. Arguments are not checked.
 * @param x,y     position in pixels; x must be less than `xres`, y less than `yres`
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_pixel(uint32_t x, uint32_t y, uint16_t colour) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup colours Colour table
 * Artwork and anti-aliased text are drawn through ramps, tables of 16 colours from a background to
 * a foreground.
 * @{
 */

/** @name Colours of the ramps (RGB565) */
/** @{ */
#define DRAVIK_BLACK 0x0821   /**< the library's black */
#define DRAVIK_WHITE 0xFFFF   /**< white */
#define DRAVIK_RED 0xF800     /**< red */
#define DRAVIK_GREEN 0x07E0   /**< green */
#define DRAVIK_BLUE 0x001F    /**< blue */
#define DRAVIK_GREY 0x7BEF    /**< middle grey */
#define DRAVIK_YELLOW 0xFFE0  /**< yellow */
#define DRAVIK_MAGENTA 0xF81F /**< magenta */
#define DRAVIK_CYAN 0x07FF    /**< cyan */
#define DRAVIK_ORANGE 0xFBC0  /**< orange */
/** @} */

/** As a background colour: the pixels around the foreground are left unchanged. */
#define DRAVIK_TRANSPARENT 0x0000

/** The colour that is transparent in BMP images drawn with ::DRAVIK_BMP_KEYED or ::DRAVIK_BMP_SILHOUETTE. */
#define DRAVIK_MAGENTA_KEY 0xF81F

/** Represents the theme colour: as the colour of fb_clear_screen(), as a background of artwork and text. */
#define DRAVIK_THEME 0x1234

/** The theme colour that fb_init() sets. */
#define DRAVIK_DEFAULT_THEME 0x0B77

/** Ramps of ::gc. */
enum dravik_ramp {
  DRAVIK_RED_ON_BLACK,      /**< from black to red */
  DRAVIK_GREEN_ON_BLACK,    /**< from black to green */
  DRAVIK_BLUE_ON_BLACK,     /**< from black to blue */
  DRAVIK_WHITE_ON_BLACK,    /**< from black to white */
  DRAVIK_GREY_ON_BLACK,     /**< from black to grey */
  DRAVIK_YELLOW_ON_BLACK,   /**< from black to yellow */
  DRAVIK_MAGENTA_ON_BLACK,  /**< from black to magenta */
  DRAVIK_CYAN_ON_BLACK,     /**< from black to cyan */
  DRAVIK_ORANGE_ON_BLACK,   /**< from black to orange */
  DRAVIK_RED_ON_WHITE,      /**< from white to red */
  DRAVIK_GREEN_ON_WHITE,    /**< from white to green */
  DRAVIK_BLUE_ON_WHITE,     /**< from white to blue */
  DRAVIK_BLACK_ON_WHITE,    /**< from white to black */
  DRAVIK_GREY_ON_WHITE,     /**< from white to grey */
  DRAVIK_YELLOW_ON_WHITE,   /**< from white to yellow */
  DRAVIK_MAGENTA_ON_WHITE,  /**< from white to magenta */
  DRAVIK_CYAN_ON_WHITE,     /**< from white to cyan */
  DRAVIK_ORANGE_ON_WHITE,   /**< from white to orange */
  DRAVIK_RED_ON_MAGENTA,    /**< from magenta to red */
  DRAVIK_GREEN_ON_MAGENTA,  /**< from magenta to green */
  DRAVIK_BLUE_ON_MAGENTA,   /**< from magenta to blue */
  DRAVIK_BLACK_ON_MAGENTA,  /**< from magenta to black */
  DRAVIK_WHITE_ON_MAGENTA,  /**< from magenta to white */
  DRAVIK_GREY_ON_MAGENTA,   /**< from magenta to grey */
  DRAVIK_YELLOW_ON_MAGENTA, /**< from magenta to yellow */
  DRAVIK_CYAN_ON_MAGENTA,   /**< from magenta to cyan */
  DRAVIK_ORANGE_ON_MAGENTA, /**< from magenta to orange */
  DRAVIK_THEME_TO_WHITE,    /**< from the theme colour to white */
  DRAVIK_THEME_TO_BLACK,    /**< from the theme colour to black */
  DRAVIK_RAMPS              /**< number of ramps */
};

/** Colours per ramp. */
#define DRAVIK_RAMP_STEPS 16

/**
 * Colour table: step i of a ramp is entry `ramp * DRAVIK_RAMP_STEPS + i`, from the background (0) to the
 * foreground (15). The two theme ramps follow the theme colour; the others are fixed. All zero until the
 * first fb_init() or set_theme_color().
 */
extern DRAVIK_API uint16_t gc[DRAVIK_RAMPS * DRAVIK_RAMP_STEPS];

/** Number of entries of ::grad_line. */
#define DRAVIK_SHADING_LINES 208

/** Dark grey gradient: one RGB565 colour per screen line. */
extern DRAVIK_API const uint16_t grad_line[DRAVIK_SHADING_LINES];

/**
 * Set the theme colour and rebuild ::gc. The screen is not changed.
 * @param colour  RGB565; only bits 15:0 are used
 */
DRAVIK_API void set_theme_color(int32_t colour) DRAVIK_NOEXCEPT;

/**
 * Return the theme colour, the first colour of ::DRAVIK_THEME_TO_WHITE.
 * @return RGB565; 0 before ::gc is built
 */
DRAVIK_API uint16_t get_theme_color(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup shapes Shapes and clears
 * Lines, rectangles and circles in one RGB565 colour, and clears of the screen. ::DRAVIK_THEME has a meaning
 * in fb_clear_screen() only. The functions print and log nothing.
 * @{
 */

/**
 * Draw a line one pixel wide, both ends included. Not clipped: the caller must keep it on the screen.
 *
 * The pixels are those of Bresenham's integer line from the first point to the second. If the line passes
 * exactly between two pixels, the diagonal step is taken, so the two directions may draw different pixels.
 * @param x0,y0   first point in pixels
 * @param x1,y1   last point in pixels
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_line(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Draw the outline of a triangle: three lines, from the first to the second, third and first point.
 * @param x0,y0,x1,y1,x2,y2  corners in pixels; must be on the screen
 * @param colour             RGB565
 */
DRAVIK_API void fb_put_triangle(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                                uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Fill a rectangle, clipped to the screen.
 * @param x0,y0,x1,y1  opposite corners in pixels, in any order
 * @param colour       RGB565
 */
DRAVIK_API void fb_put_rect_fill(int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                                 uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Draw the outline of a rectangle, one pixel wide.
 *
 * The top and bottom edges are clipped to the screen.
 * @note Intentional: the side edges are clipped at the bottom only. A side at x = xres is drawn in column 0
 * of the next line; one further right is not drawn. A negative column is drawn at the end of the previous
 * line, a negative row before the screen. Pixels moved before the first or after the last line are outside
 * frame buffer memory, where drawing may be a segmentation fault: keep both sides on the screen.
 * @param x0,y0,x1,y1  opposite corners in pixels, in any order
 * @param colour       RGB565
 */
DRAVIK_API void fb_put_rect(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Draw the outline of a rectangle with edges of several pixels, which grow inwards.
 *
 * Clipped like fb_put_rect(), with the same exceptions for each column of the side edges.
 *
 * @note Intentional: only top-left with bottom-right, or bottom-right with top-left, draws. The two other
 * orders of corners draw nothing.
 * @param x0,y0,x1,y1  opposite corners in pixels
 * @param colour       RGB565
 * @param thickness    pixels; limited to the width - 1 and the height - 1 of the rectangle. Draws nothing if
 *                     less than 1, or if the rectangle is one pixel wide or high
 */
DRAVIK_API void fb_put_rect_thick(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour,
                                  int32_t thickness) DRAVIK_NOEXCEPT;

/**
 * Draw a circle around the top-left corner of pixel (cx, cy). Not clipped.
 *
 * About 7.2 * r points are computed in double precision and truncated towards zero, which moves the right and
 * bottom edges inwards by up to one pixel.
 * @param cx,cy   centre in pixels
 * @param r       radius in pixels; 0 draws the centre pixel, a negative radius nothing
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_circle(int32_t cx, int32_t cy, int32_t r, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Fill a disc around the corner that the pixels (cx - 1, cy - 1) and (cx, cy) share. Not clipped.
 *
 * It covers columns cx - r to cx + r - 1 and lines cy - r to cy + r - 1.
 * @param cx,cy   centre in pixels
 * @param r       radius in pixels; 0 or less draws nothing
 * @param colour  RGB565
 */
DRAVIK_API void fb_put_circle_fill(int32_t cx, int32_t cy, int32_t r, uint16_t colour) DRAVIK_NOEXCEPT;

/**
 * Fill the visible screen.
 * @param colour  RGB565 in bits 15:0, or ::DRAVIK_THEME for the current theme colour
 */
DRAVIK_API void fb_clear_screen(uint32_t colour) DRAVIK_NOEXCEPT;

/**
 * Draw the gradient ::grad_line on lines 1 to 207 of the first 320 columns, clipped to the screen.
 * @note Intentional: line 0 is never drawn.
 */
DRAVIK_API void fb_clear_screen_gradient(void) DRAVIK_NOEXCEPT;

/**
 * Draw the gradient ::grad_line in a region, to restore the background there.
 *
 * The colour depends on the screen line only. Lines 1 to 207 are drawn, clipped to the screen; unlike
 * fb_clear_screen_gradient(), the region may extend beyond column 319.
 * @param x0,x1  first and last column in pixels, in any order
 * @param y0,y1  first and last line in pixels; draws nothing if y1 is less than y0
 */
DRAVIK_API void fb_clear_region_gradient(int32_t x0, int32_t y0, int32_t x1, int32_t y1) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup placement Placement
 * Alignment codes: which point of an image or a text its position refers to. Each function documents the
 * codes that it accepts; other values mean ::DRAVIK_TOP_LEFT.
 * @{
 */

/** Alignment codes. A centred object that would start left of or above the screen starts at 0. */
enum dravik_align {
  DRAVIK_TOP_LEFT = 0, /**< the position is the top-left corner */
  DRAVIK_CENTRE_X = 1, /**< x is the centre */
  DRAVIK_CENTRE_Y = 2, /**< y is the centre */
  DRAVIK_CENTRE = 3,   /**< x and y are the centre */

  /* Text: on a screen of 640 by 480 pixels, if the text is not larger. */
  DRAVIK_SCREEN_CENTRE_X = 4, /**< centred in the columns */
  DRAVIK_SCREEN_CENTRE_Y = 5, /**< centred in the lines */
  DRAVIK_SCREEN_RIGHT = 6,    /**< at the right edge */
  DRAVIK_SCREEN_BOTTOM = 7,   /**< at the bottom edge */

  /* Artwork: centred in columns of a screen 320 pixels wide, if the image is not wider than these. */
  DRAVIK_QUARTER_1 = 8,    /**< columns 0 to 79 */
  DRAVIK_LEFT_HALF = 9,    /**< columns 0 to 159 */
  DRAVIK_QUARTER_2 = 10,   /**< columns 80 to 159 */
  DRAVIK_WHOLE_WIDTH = 11, /**< columns 0 to 319 */
  DRAVIK_QUARTER_3 = 12,   /**< columns 160 to 239 */
  DRAVIK_RIGHT_HALF = 13,  /**< columns 160 to 319 */
  DRAVIK_QUARTER_4 = 14    /**< columns 240 to 319 */
};

/** @} */

/**
 * @defgroup bmp BMP files
 * Uncompressed BMP files, and screenshots.
 * @{
 */

/** Words of ::bmpinfo. */
enum dravik_bmpinfo {
  BMPINFO_WIDTH,          /**< width in pixels */
  BMPINFO_HEIGHT,         /**< height in pixels */
  BMPINFO_BITS_PER_PIXEL, /**< bits per pixel */
  BMPINFO_FILE_SIZE,      /**< file size in bytes */
  BMPINFO_DATA_SIZE,      /**< image data size in bytes */
  BMPINFO_INFO_SIZE,      /**< size of the information header in bytes */
  BMPINFO_DATA_OFFSET,    /**< offset of the pixel data in the file */
  BMPINFO_WORDS           /**< number of words */
};

/** Modes of drawing 16-bit images. */
enum dravik_bmp_mode {
  DRAVIK_BMP_COPY,      /**< rows are copied */
  DRAVIK_BMP_KEYED,     /**< ::DRAVIK_MAGENTA_KEY is transparent */
  DRAVIK_BMP_SILHOUETTE /**< ::DRAVIK_MAGENTA_KEY is transparent, other pixels are drawn in grey, 0x7BCF */
};

/** Maximum width of a file that fb_put_bmp_file() draws, in pixels. */
#define DRAVIK_BMP_WIDEST 2048

/** Number of entries of ::palette, four bytes each. */
#define DRAVIK_PALETTE_ENTRIES 256

/** Header of the last file with a "BM" signature, indexed by ::dravik_bmpinfo. */
extern DRAVIK_API uint32_t bmpinfo[BMPINFO_WORDS];
/** Palette of the last 1-, 4- or 8-bit file: 256 entries of blue, green, red and a reserved byte. */
extern DRAVIK_API uint8_t palette[DRAVIK_PALETTE_ENTRIES * 4];
/** Last row read from a 1-, 4-, 8-, 24- or 32-bit file, unconverted. */
extern DRAVIK_API uint8_t image[DRAVIK_BMP_WIDEST * 4];

/**
 * Draw an uncompressed BMP file with 1, 4, 8, 16, 24 or 32 bits per pixel. Rows are stored bottom-up.
 *
 * Channels are truncated to RGB565. In 1- and 4-bit files a colour of 0x0000 is drawn as 0x0841. The number
 * of palette entries is the header's "important colours" field; 0 and values above 256 mean 256. Entries
 * that the file does not contain keep the colours of the previous file.
 *
 * 16-bit files must contain RGB565. ::DRAVIK_BMP_COPY also copies the padding of rows of odd width, to the
 * pixel right of the image, except at the end of frame buffer memory.
 * @note Intentional: ::DRAVIK_BMP_KEYED and ::DRAVIK_BMP_SILHOUETTE read two rows per row drawn. They draw
 * every other row of the file, then repeat the last row read up to the height of the image. Nothing is drawn
 * from a file that is truncated before its first pixel.
 *
 * An image fits on the screen if neither its width and height nor `x + width` and `y + height` exceed those
 * of the screen. The sums wrap modulo 2^32, so 0xFFFFFFFF is accepted as a position: the image starts left
 * of or above the screen.
 *
 * If the file is truncated, missing rows are drawn with the contents of ::image; with ::DRAVIK_BMP_COPY they
 * are not drawn.
 * @param x,y    position in pixels; see `align`
 * @param path   file name
 * @param mode   for 16-bit files: a ::dravik_bmp_mode; other values draw nothing
 * @param align  a ::dravik_align, ::DRAVIK_TOP_LEFT to ::DRAVIK_CENTRE
 * @return 0 on success, also if nothing is drawn because the depth or the mode is not supported; -1 on
 *         failure, after one of these on standard error: "open %s error!", "%s file size error!" (the
 *         header contains another file size), "%s BMP type error!", "BMP image size is too big. %d x %d"
 *         (wider than 2048), or "BMP image is out of range!" and two lines with the sizes (it does not fit
 *         on the screen)
 */
DRAVIK_API int fb_put_bmp_file(uint32_t x, uint32_t y, const char *path, uint32_t mode,
                               uint8_t align) DRAVIK_NOEXCEPT;

/**
 * Save a screenshot of 640 by 480 pixels as "/tmp/mmcblk0p1/q7_HHMMSS.bmp", with the local hour, minute and
 * second: a 16-bit BMP file with RGB565 masks, 614466 bytes. An existing file of that name is replaced.
 *
 * Prints and logs nothing. To save the screen, pass a copy of its lines. ::fbp itself can be passed if the
 * screen has 640 by 480 pixels, its lines are not padded and no other thread draws.
 * @param pixels  640 * 480 RGB565 values, top row first, without padding; must not change during the call
 * @return result of closing the file: 0 on success, -1 if data could not be written (the file is then
 *         incomplete); -1 if the file cannot be opened, for example without a memory card
 */
DRAVIK_API int fb_get_bmp_file(const uint16_t *pixels) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup bmp_slots BMP slots
 * Up to 64 BMP files that are loaded once and drawn by slot number. Only 16-bit (RGB565) files can be drawn
 * from a slot.
 * @{
 */

/** Number of slots. */
#define DRAVIK_BMP_SLOTS 64

/** Slot i contains a whole file, or NULL. Owned by the library until bmp_mem_free(). */
extern DRAVIK_API uint8_t *bmp_mem_ptr[DRAVIK_BMP_SLOTS];
/** Number of slots that the last bmp_mem_alloc() processed, including those that failed. */
extern DRAVIK_API int32_t bmp_mem_num;

/**
 * Load the file dir/names[i] into slot i.
 *
 * A file that fails leaves its slot empty, and the next one is loaded. The failure is logged: "fopen %s
 * err", "bmp_mem_load(): malloc err" or "path too long: %s" (4096 bytes or more). The format is checked
 * when the slot is drawn. Files of an earlier call are not freed: call bmp_mem_free() first.
 * @param count  number of names; only the first 64 are loaded; 0 or less loads nothing
 * @param dir    directory
 * @param names  file names; used during the call only
 * @return unspecified; do not use
 */
DRAVIK_API int bmp_mem_alloc(int32_t count, const char *dir, const char *const *names) DRAVIK_NOEXCEPT;

/**
 * Draw the image of a slot and update ::bmpinfo. Rows are stored bottom-up.
 *
 * ::DRAVIK_BMP_COPY copies rows like fb_put_bmp_file(), including their padding, except at the end of frame
 * buffer memory.
 * @note Intentional: ::DRAVIK_BMP_KEYED and ::DRAVIK_BMP_SILHOUETTE expect rows without padding, so an
 * image of odd width drifts by one pixel per row. ::DRAVIK_BMP_SILHOUETTE also leaves 0x0000 transparent.
 * @param x,y    position in pixels; see `align`
 * @param slot   slot number, from 0
 * @param mode   a ::dravik_bmp_mode; other values draw nothing
 * @param align  a ::dravik_align, ::DRAVIK_TOP_LEFT to ::DRAVIK_CENTRE
 * @return 0 on success, also if nothing is drawn because the mode is not supported or the image does not
 *         have 16 bits per pixel; -1 on failure, after one of these in the event log: "BMP mem index err:
 *         %d, max = %d" (also for a negative slot), "BMP mem ptr is NULL, bmp_mem_idx=%d" (also after
 *         bmp_mem_free()), "BMP type err, bmp_mem_idx=%d", "BMP image size is too big : %d x %d, fb size :
 *         %dx%d", "BMP image is out of range!" and two lines with the sizes (it does not fit on the screen,
 *         see fb_put_bmp_file()), or "BMP data err, bmp_mem_idx=%d" (the file does not contain all of
 *         its rows)
 */
DRAVIK_API int bmp_mem_show(uint32_t x, uint32_t y, int32_t slot, int32_t mode,
                            uint8_t align) DRAVIK_NOEXCEPT;

/**
 * Free the files of all slots.
 * @note ::bmp_mem_ptr and ::bmp_mem_num keep their values; do not use the pointers.
 */
DRAVIK_API void bmp_mem_free(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup jpeg JPEG files
 * JPEG images from "/usr/local/dravik/jpg".
 * @{
 */

/** Words of ::jpeginfo. The output has the size of the image. */
enum dravik_jpeginfo {
  JPEGINFO_WIDTH,         /**< image width in pixels */
  JPEGINFO_HEIGHT,        /**< image height in pixels */
  JPEGINFO_OUTPUT_WIDTH,  /**< output width in pixels */
  JPEGINFO_OUTPUT_HEIGHT, /**< output height in pixels */
  JPEGINFO_WORDS          /**< number of words */
};

/** Sizes of the last image decoded, indexed by ::dravik_jpeginfo. */
extern DRAVIK_API uint32_t jpeginfo[JPEGINFO_WORDS];

/**
 * Draw a JPEG file, baseline or progressive, in colour or greyscale. Clipped to the screen.
 *
 * If the image does not fit on the screen (see fb_put_bmp_file()), "JPG image is out of range!" and two lines
 * with the sizes are written to standard error.
 *
 * Channels are truncated to RGB565; 0x0000, 0x0001, 0x0800 and 0x0801 are drawn as ::DRAVIK_BLACK. A CMYK
 * image is drawn with its first three channels as red, green and blue. Of a truncated file, the rows that
 * libjpeg decodes are drawn. The row buffer requested from libjpeg is one byte longer than a row.
 * @param x,y    position in pixels; see `align`
 * @param name   file name in the directory; used during the call only
 * @param align  a ::dravik_align, ::DRAVIK_TOP_LEFT to ::DRAVIK_CENTRE
 * @return 0 on success; -1 if the file cannot be opened ("can't open %s" on standard error) or libjpeg fails
 *         (its message on standard error; rows decoded before stay on the screen)
 */
DRAVIK_API int fb_put_jpeg_file(uint32_t x, uint32_t y, const char *name, uint32_t align) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup artwork Packed artwork
 * Archives of 4-bit images, drawn through a ramp of ::gc. Up to 32 archives are kept in memory, one per slot.
 *
 * An archive starts with "KORVEXQ7", its number of images and its size in bytes. One record of four words
 * per image follows: width, height, offset of the pixel data, reserved. All words are 32-bit little-endian.
 * The pixel data are rows of (width + 1) / 2 bytes, top row first, the left pixel in bits 7:4. The tool
 * dravik-art creates archives from PNG files.
 *
 * To read the size of an image, read its record: the words at `q7bmp_ptr[slot] + 16 * (index + 1)`.
 * @{
 */

/** Number of slots. */
#define DRAVIK_ART_SLOTS 32

/** Slot i contains a whole archive, or NULL. Owned by the library until q7bmp_free(). */
extern DRAVIK_API uint8_t *q7bmp_ptr[DRAVIK_ART_SLOTS];
/** Number of images per slot; 0 if the slot is empty. */
extern DRAVIK_API uint32_t q7bmp_str_num[DRAVIK_ART_SLOTS];
/** Number of slots that the last q7bmp_alloc() processed, including those that failed. */
extern DRAVIK_API int32_t q7bmp_ptr_num;

/**
 * Load paths[i] into slot i. A file that fails leaves its slot empty, and the next one is loaded.
 *
 * Archives of an earlier call are not freed: call q7bmp_free() first. Progress and failures are written to
 * standard error ("%s not found", "%s not regular file", the number of images of each file) and to the
 * event log ("open %s error", "cannot allocate memory!", "%s file format error!", "file size error! %d !=
 * %d").
 * @param count  number of paths; only the first 32 are loaded; 0 or less loads nothing
 * @param paths  file names; used during the call only
 * @return unspecified; do not use
 */
DRAVIK_API int q7bmp_alloc(int32_t count, const char *const *paths) DRAVIK_NOEXCEPT;

/**
 * Free the archives, from slot 0 up to ::q7bmp_ptr_num.
 * @note Intentional: an empty slot ends the call with "q7bmp_free err!" in the event log; the slots after it
 * stay loaded.
 */
DRAVIK_API void q7bmp_free(void) DRAVIK_NOEXCEPT;

/**
 * Draw one image of an archive. Not clipped: the caller must keep it on the screen. An image larger than the
 * screen is truncated to frame buffer memory.
 *
 * The two colours select the ramp (see ::dravik_ramp):
 * - On ::DRAVIK_BLACK and ::DRAVIK_WHITE, the ramp of the foreground. A foreground without a ramp is drawn in
 *   white or black.
 * - On ::DRAVIK_THEME, ::DRAVIK_WHITE selects the ramp to white, any other foreground the ramp to black.
 * - On ::DRAVIK_TRANSPARENT, level 0 is not drawn. ::DRAVIK_BLACK selects ::DRAVIK_BLACK_ON_WHITE,
 *   ::DRAVIK_GREY selects ::DRAVIK_GREY_ON_BLACK.
 * - On ::DRAVIK_MAGENTA, ::DRAVIK_BLACK selects ::DRAVIK_BLACK_ON_MAGENTA.
 * - All other pairs select ::DRAVIK_WHITE_ON_BLACK.
 * @param x,y    position in pixels; see `align`
 * @param slot   slot number, 0 to 31
 * @param index  image number, from 0; a number beyond the last image draws the last image
 * @param fg,bg  foreground and background, RGB565
 * @param align  a ::dravik_align, ::DRAVIK_TOP_LEFT to ::DRAVIK_CENTRE or ::DRAVIK_QUARTER_1 to
 *               ::DRAVIK_QUARTER_4; x is used if the image is wider than these columns
 * @return 0 on success, also if the image has no pixels; -1 on failure, after a line in the event log: "q7bmp
 *         ptr is NULL" (the slot is empty), "q7bmp num error! num_q7bmp = %d" (the archive contains no
 *         images), or another if the slot is out of range, the index is negative, or the record or the
 *         pixel data are not completely in the archive
 */
DRAVIK_API int fb_q7bmp_show(int32_t x, int32_t y, uint32_t slot, int32_t index, uint16_t fg, uint16_t bg,
                             int32_t align) DRAVIK_NOEXCEPT;

/**
 * Return ::q7bmp_ptr_num.
 * @return number of slots that the last q7bmp_alloc() processed
 */
DRAVIK_API int32_t get_q7bmp_ptr_num(void) DRAVIK_NOEXCEPT;

/**
 * Return the number of images in a slot.
 * @param slot  slot number
 * @return number of images; 0xFFFFFFFF if the slot is negative or not less than ::q7bmp_ptr_num
 */
DRAVIK_API uint32_t get_q7bmp_str_num(int32_t slot) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup psf_text Bitmap fonts and text
 * PC Screen Fonts, versions 1 and 2, in up to 16 slots, and text drawn with them.
 *
 * Text is not clipped or wrapped. There is no Unicode: a character is a glyph number.
 * @{
 */

/** Number of slots. */
#define DRAVIK_FONT_SLOTS 16

/** A font slot. */
struct psf_font {
  uint8_t *ptr;     /**< glyphs, `length * charsize` bytes, or NULL; see psf_font_free() */
  int32_t charsize; /**< bytes per glyph */
  int32_t length;   /**< number of glyphs */
  int32_t version;  /**< 1 or 2; 0 if the slot is empty or the file has another format */
  int32_t width;    /**< glyph width in pixels */
  int32_t height;   /**< glyph height in rows */
};

/** Font slots; slot i is filled from paths[i] of psf_font_alloc(). */
extern DRAVIK_API struct psf_font psf[DRAVIK_FONT_SLOTS];
/** Number of slots that psf_font_alloc() processed, including those that failed. */
extern DRAVIK_API int32_t psf_font_num;

/**
 * Load paths[i] into slot i.
 *
 * A font that fails is logged as "psf_font_alloc(): load %s err" and leaves a NULL `ptr` in its slot; the
 * next one is loaded. Check `psf[i].ptr` before you draw. Fonts of an earlier call are not freed: call
 * psf_font_free() first.
 * @param count  number of paths; only the first 16 are loaded; 0 or less loads nothing
 * @param paths  file names; used during the call only
 */
DRAVIK_API void psf_font_alloc(int32_t count, const char *const *paths) DRAVIK_NOEXCEPT;

/**
 * Load one font into a slot. The previous contents of the slot are overwritten, not freed.
 *
 * The glyphs of a font must not exceed 32768 bytes in total. Glyphs missing from a truncated file are blank.
 *
 * Text is drawn with the slots of ::psf only. ::psf_font_num is not changed: psf_font_free() frees the slots
 * below that number, the caller frees the `ptr` of other slots with free().
 * @param path       file name; used during the call only
 * @param[out] slot  slot of ::psf, or a structure of the caller; after a failure its `ptr` is NULL
 * @return 0 on success; -1 on failure, after one of these in the event log: "%s not found!", "%s not
 *         regular file", "psf_font_load(): fopen %s err", "only support PSF font : %s" with the first four
 *         bytes, "psf_font_load(): font file size err = %d" with the sizes, or "%s : malloc %d bytes err"
 *         (also for a size that is negative or that only a wrapped 32-bit product makes small enough).
 *         "font character size > 128 bytes" is a warning
 */
DRAVIK_API int psf_font_load(const char *path, struct psf_font *slot) DRAVIK_NOEXCEPT;

/**
 * Free the fonts of slots 0 to ::psf_font_num - 1.
 * @note Intentional: an empty slot ends the call with a line in the event log. The fonts of later slots
 * stay loaded.
 */
DRAVIK_API void psf_font_free(void) DRAVIK_NOEXCEPT;

/**
 * Return ::psf_font_num.
 * @return number of slots that psf_font_alloc() processed
 */
DRAVIK_API int32_t get_psf_font_num(void) DRAVIK_NOEXCEPT;

/**
 * Draw one glyph. At most 16 columns are drawn.
 *
 * A glyph that crosses the right edge continues in the next line; one larger than the screen is truncated
 * to frame buffer memory. Does nothing if the font does not contain the glyph, the slot is empty or its
 * number is out of range.
 * @param ch    glyph number, from 0
 * @param x,y   top-left corner in pixels
 * @param fg    colour of set bits, RGB565 in bits 15:0
 * @param bg    colour of clear bits, RGB565; 0 leaves their pixels unchanged
 * @param font  slot number, 0 to 15
 */
DRAVIK_API void fb_putc(uint32_t ch, uint32_t x, uint32_t y, uint32_t fg, uint16_t bg,
                        int32_t font) DRAVIK_NOEXCEPT;

/**
 * Draw text, one character cell per character.
 *
 * Conversions, without flags and widths: "%d" (int), "%x" (unsigned), "%c" (int; 0 draws nothing), "%g"
 * (double), "%%".
 * @note Intentional: any other letter, and the end of the format, consume no argument and draw the text of
 * the call's previous conversion again, if there was one.
 *
 * @note Intentional: a backslash followed by n (written `"\\n"` in C) moves down by one pixel row, not by one
 * text line, and back to the first column. A backslash followed by r moves back to the first column. A
 * backslash with another character, or at the end, draws nothing. A newline character is a glyph like any
 * other.
 * @param x,y     top-left corner of the first cell in pixels
 * @param fg      foreground, RGB565 in bits 15:0
 * @param bg      background, RGB565 in bits 15:0; the value 0 leaves the pixels around the letters unchanged
 * @param font    slot number, 0 to 15
 * @param format  text and conversions; its bytes are glyph numbers 0 to 255
 * @return 0
 */
DRAVIK_API int fb_printf(uint32_t x, uint32_t y, uint32_t fg, uint32_t bg, int32_t font, const char *format,
                         ...) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup truetype Anti-aliased text
 * Text in the scripts of the Basic Multilingual Plane, from TrueType fonts through FreeType, with 16 levels
 * from a ramp of ::gc. It is composed in ::image_buffer and laid out for a screen of 640 by 480 pixels.
 *
 * Each UTF-16 unit draws one glyph, from left to right. There are no surrogate pairs, no kerning, no
 * ligatures or contextual forms, and no right-to-left order.
 *
 * `sx`, `sy`, `ex` and `ey` are short names for globals: do not reuse them.
 * @{
 */

/** Maximum number of UTF-16 units per string. */
#define DRAVIK_TEXT_UNITS 128

/** Maximum font size in points. */
#define DRAVIK_LARGEST_FONT 96

/** Number of entries of ::ttf_font_file. */
#define DRAVIK_FONT_FILES 2

/**
 * Font files: "/usr/local/dravik/font/arial.ttf" and "/usr/local/dravik/font/DroidSansFallback.ttf".
 * Applications may set other names and own them.
 */
extern DRAVIK_API const char *ttf_font_file[DRAVIK_FONT_FILES];
/** Last string drawn: up to 128 UTF-16 little-endian units, followed by a 0 unit if it is shorter. */
extern DRAVIK_API uint8_t unicode[DRAVIK_TEXT_UNITS * 2];
/** Number of units of the last string drawn. */
extern DRAVIK_API int32_t unicode_len;
/** Left column of the box of the last string, in ::image_buffer. */
extern DRAVIK_API int32_t sx;
/** Top row of the box. */
extern DRAVIK_API int32_t sy;
/** Right column of the box, included. */
extern DRAVIK_API int32_t ex;
/** Bottom row of the box, included. */
extern DRAVIK_API int32_t ey;
/** Width of the box in pixels. */
extern DRAVIK_API int32_t str_width;
/** Height of the box in pixels. */
extern DRAVIK_API int32_t str_height;

/**
 * Convert a byte string to 16-bit little-endian units, one per byte, followed by a 0 unit.
 * @param src       string
 * @param[out] dst  caller's buffer of at least 2 * (length + 1) bytes, with any alignment
 * @return length of `src` in bytes
 */
DRAVIK_API int32_t ascii_to_unicode_string(const char *src, void *dst) DRAVIK_NOEXCEPT;

/**
 * Draw one line of text. Each call opens and closes the font file.
 *
 * The string ends at the first 0 unit or line feed, or after 128 units. What is drawn is the box around the
 * text; ::str_width and ::str_height contain its size afterwards.
 * @note Intentional: nothing is drawn if the last unit is a space. ::DRAVIK_CENTRE_Y compares ::sy instead of
 * `y`: the text is moved to line 0 unless ::sy is greater than half its height.
 *
 * The two colours select the ramp (see ::dravik_ramp):
 * - On ::DRAVIK_BLACK, ::DRAVIK_WHITE and ::DRAVIK_MAGENTA, the ramp of the foreground. A foreground
 *   without a ramp is drawn in white, black and black.
 * - On ::DRAVIK_THEME, ::DRAVIK_BLACK selects the ramp to black, any other foreground the ramp to white.
 * - On ::DRAVIK_TRANSPARENT, which leaves the pixels around the letters unchanged, and on any other
 *   background, ::DRAVIK_BLACK_ON_WHITE is used.
 *
 * Text that crosses the right edge continues in the next line, also from the line above the screen into the
 * first one. Nothing is drawn before frame buffer memory. Glyphs that exceed the composition buffer are
 * drawn on its edge.
 * @param x,y        position of the box in pixels; see `align`
 * @param text       UTF-16 little-endian units, with any alignment; used during the call only
 * @param font_size  points at 80 dots per inch, 1 to ::DRAVIK_LARGEST_FONT. A larger size writes "font_size
 *                   error : %d!" to standard error and terminates the process with exit status 0
 * @param font       entry of ::ttf_font_file; only bit 0 is used
 * @param fg,bg      foreground and background, RGB565
 * @param align      a ::dravik_align, ::DRAVIK_TOP_LEFT to ::DRAVIK_SCREEN_BOTTOM
 * @return 0. If FreeType fails or the font does not contain a character, nothing is drawn and FreeType is
 *         released, after one of these on standard error: "FT_Init_FreeType failed!", "FT_New_Face failed!",
 *         "FT_Set_Char_Size failed!", "FT_Get_Char_Index failed!", "FT_Load_Glyph failed! ret=%08x",
 *         "FT_Render_Glyph failed!"
 */
DRAVIK_API int put_unicode_string(uint32_t x, uint32_t y, const void *text, uint32_t font_size, uint32_t font,
                                  uint16_t fg, uint16_t bg, int32_t align) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup sound Sound
 * The engine plays queued files one at a time on its own real-time thread, on the ALSA device "default".
 *
 * It selects the format by the whole path, not by the file name alone: MP3 if the path contains ".mp3", else
 * raw PCM if it contains ".pcm", else WAV if it contains ".wav" (all lower case), else raw PCM. The device
 * always runs at 48000 Hz with signed 16-bit samples, and **no file is converted**: an MP3 of another rate
 * plays too slowly or too fast, and only the left channel of a stereo MP3 is played. WAV and raw PCM files
 * must contain mono samples at 48000 Hz, 16 bits, little-endian. The first 44 bytes of a WAV file are skipped
 * without being parsed. The device is opened with one channel for MP3, otherwise with two channels that
 * receive the same samples.
 *
 * Closing the device drops the samples left in its buffer: end files with one buffer length of silence. An
 * MP3 starts when the device buffer is full, and the requested buffer grows with the file size. Nothing is
 * played if the device grants one that is longer than the sound, which may happen to a short file with a
 * high bit rate.
 *
 * mp3_playback() and the functions after it are direct players: they play on the calling thread, with or
 * without an engine. Do not call them while the engine plays: there is only one PCM stream.
 *
 * A stop request ends every player. It is made by snd_stopall(), or by snd_play_direct() for the time that it
 * waits, and stays in force until the next snd_play_direct(): until then, direct players play nothing.
 *
 * The engine does not return playback errors: they go to the event log, those of configuring the device to
 * standard error. If the device fails and cannot be recovered, playback retries every 10 ms, with a line in
 * the event log, until it succeeds or is stopped.
 * @{
 */

/** Fixed values of sound. */
enum dravik_sound {
  DRAVIK_SOUND_RATE = 48000,   /**< sample rate of the PCM device in Hz */
  DRAVIK_SOUND_QUEUE = 4,      /**< queue slots */
  DRAVIK_SOUND_PATH_MAX = 255, /**< length of the longest path in characters */
};

/** ALSA playback handle (`snd_pcm_t *`); NULL while no stream is open. Used by the playing thread. */
extern DRAVIK_API struct _snd_pcm *h_snd_playback;
/** Frame size in bits of the current WAV or raw PCM stream: 32 once set_snd_param() has configured one. */
extern DRAVIK_API uint32_t bits_per_frame;

/**
 * Start the engine. Requires permission to use real-time priority (SCHED_FIFO, 90).
 *
 * Returns -1
 * - if the thread cannot be created, after perror("pthread_create play_snd_thread failed\n"). Later calls
 *   return 1, but nothing plays; call snd_exit() to be able to start again
 * - if the thread does not get the priority, with "set realtime schedule err" in the event log
 *
 * A refused priority is also reported by perror("pthread_setschedparam").
 * @return 1 on success or if already running; -1 on failure
 */
DRAVIK_API int32_t snd_init(void) DRAVIK_NOEXCEPT;

/**
 * Queue a file. May be called from any thread, also before snd_init() and after snd_exit().
 *
 * Blocks until the current playback and a pause of 150 ms have ended; `stop_current` stops that playback
 * first. Then clears the stop request of an earlier snd_stopall(), queues the file and logs its path.
 *
 * Without a running engine nothing is queued and there is no pause; all else is done, so that direct players
 * can be stopped and released where real-time priority is refused.
 * @note The queue has four slots and does not detect overflow: queue at most three files ahead.
 * @note Intentional: a path that is too long is rejected as a whole, with a line in the event log. Nothing is
 * stopped, queued or cleared then.
 * @param path          file, at most ::DRAVIK_SOUND_PATH_MAX characters; copied. A relative path is resolved
 *                      when the playback starts
 * @param stop_current  1: stop the current playback; other values do not
 * @return 1, also if nothing is queued or the file does not exist
 */
DRAVIK_API int32_t snd_play_direct(const char *path, int32_t stop_current) DRAVIK_NOEXCEPT;

/**
 * Stop the current playback and drop the queue. May be called from any thread, also before snd_init() and
 * after snd_exit(). Blocks until the thread of the engine is idle, but does not wait for direct players.
 * @note The stop request stays in force until the next snd_play_direct().
 * @return result of pthread_mutex_unlock(): 0 on success
 */
DRAVIK_API int32_t snd_stopall(void) DRAVIK_NOEXCEPT;

/**
 * Return whether the engine plays, or pauses for 150 ms after a playback. May be called from any thread.
 * @return 1 if so, else 0
 */
DRAVIK_API uint32_t get_snd_thread_state(void) DRAVIK_NOEXCEPT;

/**
 * Stop the engine; drop the queue. Blocks until the current playback has ended by itself and the thread has
 * finished. To stop the playback, call snd_stopall() first. Does nothing if the engine is not running.
 * After snd_init() could not create the thread, only lets snd_init() start the engine again.
 * @note Intentional: the queue indices are not reset, so start the engine only once. An engine that is
 * stopped while idle and started again loses the first file of each queued pair and every file queued alone.
 * The same may happen after snd_init() failed to get the priority.
 */
DRAVIK_API void snd_exit(void) DRAVIK_NOEXCEPT;

/**
 * Open and configure the PCM device for the format that the last player below selected (initially raw PCM).
 * Useful by itself only before wav_decode() and pcm_decode().
 *
 * Each step has its own message on standard error, except
 * "Can't use period equal to buffer size (%lu == %lu)" and "unable to install sw params:", which are in the
 * event log. After a failure the device stays open if it was opened.
 * @param size  length of the sound data in bytes
 * @return period size in frames; 0 for MP3; -1 on failure
 */
DRAVIK_API int32_t set_snd_param(uint32_t size) DRAVIK_NOEXCEPT;

/**
 * Play an MP3 file on the calling thread until its end or a stop request.
 *
 * The file is opened for reading and writing, so it must be writable, and is read into memory as a whole.
 * Corrupt frames are logged and skipped. The decoder skips a last frame with no data after it. Stop requests
 * are checked after each frame, valid or corrupt.
 *
 * Failures are in the event log:
 * - "open file %s failed ": returns 1
 * - "fstat failed:", also if the file is empty: returns 2; the file stays open
 * - "not enough memory": returns 1
 * - "set_mp3_param failed:", the device cannot be configured: returns 1; the file and its memory are never
 *   released, and the device stays open if it was opened
 * @param path  file name
 * @return 0 on success or after a stop request; 1 or 2 on failure
 */
DRAVIK_API int32_t mp3_playback(const char *path) DRAVIK_NOEXCEPT;

/**
 * Play a WAV file on the calling thread until its end or a stop request.
 * @param file  file name
 * @return 1 on success or after a stop request, and also if the file cannot be read; 0 if the device cannot
 *         be configured; -1 if stat() fails, with "stat failed: %s" in the event log
 */
DRAVIK_API int32_t wav_playback(const char *file) DRAVIK_NOEXCEPT;

/**
 * Play a raw PCM file; otherwise as wav_playback().
 * @param file  file name
 * @return as wav_playback()
 */
DRAVIK_API int32_t pcm_playback(const char *file) DRAVIK_NOEXCEPT;

/**
 * Play a WAV file on the device as configured, then close the device. Plays nothing if no device is open.
 *
 * Each period read becomes two periods of stereo; an odd last byte is dropped. Stop requests are checked
 * before the first read and after each.
 * @param path           file name
 * @param period_frames  result of set_snd_param()
 * @return 1 at the end or after a stop request; -1, with the reason in the event log, if the file cannot be
 *         opened or read, or memory is exhausted ("not enough memory"; then the device stays open)
 */
DRAVIK_API int32_t wav_decode(const char *path, uint32_t period_frames) DRAVIK_NOEXCEPT;

/**
 * Play a raw PCM file on the device as configured; otherwise as wav_decode().
 * @param path           file name
 * @param period_frames  result of set_snd_param()
 * @return as wav_decode()
 */
DRAVIK_API int32_t pcm_decode(const char *path, uint32_t period_frames) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup mixer Volume
 * Sets the mixer controls of the codec by number with ALSA's command "amixer". Volume changes take effect
 * shortly after the call, since the last command runs in the background.
 * @{
 */

/** Volume steps of the speaker in percent. */
enum dravik_volume {
  DRAVIK_VOLUME_MUTED = 0,   /**< as spk_volume_mute() */
  DRAVIK_VOLUME_LOWEST = 20, /**< 85 in the units of the codec */
  DRAVIK_VOLUME_LOW = 40,    /**< 93 */
  DRAVIK_VOLUME_MEDIUM = 60, /**< 100 */
  DRAVIK_VOLUME_HIGH = 80,   /**< 107 */
  DRAVIK_VOLUME_FULL = 100,  /**< 113 */
};

/**
 * Switch the microphone on.
 * @return result of system(): 0 on success; 256 times the exit status of the command on failure
 */
DRAVIK_API int32_t mic_volume_unmute(void) DRAVIK_NOEXCEPT;

/**
 * Switch the microphone off.
 * @return as mic_volume_unmute()
 */
DRAVIK_API int32_t mic_volume_mute(void) DRAVIK_NOEXCEPT;

/**
 * Set the speaker volume.
 * @param percent  one of ::dravik_volume; other values are treated as ::DRAVIK_VOLUME_MEDIUM
 * @return result of system() for the last command, which runs in the background: 0 even if it fails
 */
DRAVIK_API int32_t spk_volume_setup(uint32_t percent) DRAVIK_NOEXCEPT;

/**
 * Mute the speaker.
 * @return as spk_volume_setup()
 */
DRAVIK_API int32_t spk_volume_mute(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup log Event log
 * A text file, "/tmp/dravik.log". Each process appends a banner with the date, then its lines, each with the
 * seconds and microseconds since the banner. A file of ::DRAVIK_LOG_SIZE_MAX bytes or more is full: further
 * lines are dropped.
 * @{
 */

/** Fixed values of the event log. */
enum dravik_log {
  DRAVIK_LOG_SIZE_MAX = 262144, /**< size in bytes from which the file is full */
};

/** A time of day in two 32-bit words. */
struct dravik_timeval {
  int32_t tv_sec;  /**< seconds since 1970-01-01 00:00:00 UTC */
  int32_t tv_usec; /**< microseconds, 0 to 999999 */
};

/** Time of the banner, the origin of all stamps of this process. Zero until the first line is written. */
extern DRAVIK_API struct dravik_timeval tlogst;

/**
 * Append one line to the event log. The line is in the file when the call returns.
 *
 * Requires no initialisation. May be called from any thread at any time, also for the first time by several
 * threads; lines never mix. The message may have any length; a newline in it is written as it is.
 * @note Write errors are ignored: on a full disk the line is lost, but its length is returned.
 * @param format  printf() format without a newline at its end, followed by its arguments
 * @return length of the message in characters; 0 if the line is dropped because the file is full or cannot
 *         be opened; negative if the message cannot be formatted
 */
DRAVIK_API int log_printf(const char *format, ...) DRAVIK_NOEXCEPT DRAVIK_PRINTF(1, 2);

/** @} */

/**
 * @defgroup console Serial console
 * Text output to the first serial port, "/dev/ttyS0" at 115200 baud. Messages are queued in a ring buffer of
 * 4096 bytes, which a thread of the library sends every millisecond, so callers do not wait for the port.
 *
 * The port is not blocking: text that it does not accept in one write is lost. A line at 115200 baud
 * carries about 11 bytes per millisecond, and a Linux driver buffers 4096 bytes, so longer bursts lose text.
 * @{
 */

/** Sizes of the console's buffers in bytes. */
enum dravik_console {
  DRAVIK_CONSOLE_RING_SIZE = 4096,   /**< of ::ring_buf */
  DRAVIK_CONSOLE_MESSAGE_SIZE = 256, /**< of ::console_msg */
};

/** Ring buffer of console output. */
extern DRAVIK_API char ring_buf[DRAVIK_CONSOLE_RING_SIZE];
/** Next byte to send. NULL before console_init(). */
extern DRAVIK_API char *ptr_rb_head;
/** Where the next message is stored; may point one past the end of ::ring_buf. NULL before console_init(). */
extern DRAVIK_API char *ptr_rb_tail;
/** Start of the last message, at most 255 characters and a NUL. */
extern DRAVIK_API char console_msg[DRAVIK_CONSOLE_MESSAGE_SIZE];
/** Full length of the last message in characters. */
extern DRAVIK_API int32_t console_msg_len;
/** File descriptor of the port; -1 before console_init() and after console_exit(). */
extern DRAVIK_API int32_t console_write_fd;
/** 1 if the sending thread is to finish, else 0. */
extern DRAVIK_API int32_t __console_io_canceled_write; /* NOLINT(clang-diagnostic-reserved-identifier) */

/**
 * Open the port, make it raw and start the sending thread. Call it once per process.
 * @note Intentional: after console_exit(), a thread started again finishes immediately.
 * @return 0 on success, and also if the thread cannot be started (without a message); -1 if the settings of
 *         the port cannot be read or written, after perror("Can't get port settings") or perror("Can't set
 *         port settings"). A port that was opened stays open then
 */
DRAVIK_API int console_init(void) DRAVIK_NOEXCEPT;

/**
 * Queue a message for the port. May be called from any thread. Sends nothing before console_init().
 *
 * Nothing is added to the message, and the port is raw: for a terminal, end each line with `"\r\n"`. A
 * message longer than 4095 bytes is truncated.
 * @note Intentional: a message is dropped, with "ring buffer full, skip console msg" on standard error, only
 * if exactly one byte of the ring buffer is free. A message that is longer than the free space is stored
 * anyway, and overwrites the oldest unsent text.
 * @param format  printf() format, followed by its arguments
 * @return 0
 */
DRAVIK_API int console_printf(const char *format, ...) DRAVIK_NOEXCEPT DRAVIK_PRINTF(1, 2);

/**
 * Stop the sending thread and close the port. Messages queued since the thread's last pass are not sent.
 * Writes "console_exit+" and "console_exit-" to standard error.
 * @return result of flushing standard error: 0 on success, EOF on failure
 */
DRAVIK_API int console_exit(void) DRAVIK_NOEXCEPT;

/**
 * Read one character from standard input without line editing and echo; restore the terminal's settings.
 * Blocks until there is one.
 *
 * curses defines a macro of this name: include its header first and undefine the macro.
 * @return the character; EOF at the end of input or on failure
 */
DRAVIK_API int getch(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup adc ADC and temperature
 * Four channels of 10 bits, read on each call from the driver's text file "/proc/ambarella/adc". It has one
 * line per channel, with a value of one to three hexadecimal digits from the tenth character on. If the file
 * cannot be opened, each function writes "open /proc/ambarella/adc error!" to standard error and returns -1.
 * @{
 */

/** Fixed values of the ADC. */
enum dravik_adc {
  DRAVIK_ADC_CHANNELS = 4,         /**< number of channels */
  DRAVIK_ADC_CODE_MAX = 1023,      /**< largest code */
  DRAVIK_ADC_LINE_SIZE = 31,       /**< size in bytes of a buffer for a line and its NUL */
  DRAVIK_ADC_TEMP_CHANNEL = 1,     /**< channel of the board temperature */
  DRAVIK_ADC_TEMP_FIRST_CODE = 64, /**< code of the first entry of ::adc_temp_table */
  DRAVIK_ADC_TEMP_CODES = 704,     /**< number of entries of ::adc_temp_table */
};

/** Temperatures returned for codes outside ::adc_temp_table, in thousandths of a degree Celsius. */
enum dravik_temperature {
  DRAVIK_TEMPERATURE_MIN = -1000,  /**< for codes above the table */
  DRAVIK_TEMPERATURE_MAX = 117000, /**< for codes below the table */
};

/** Temperature of each code in thousandths of a degree Celsius; entry i belongs to code i + 64. */
extern DRAVIK_API const int32_t adc_temp_table[DRAVIK_ADC_TEMP_CODES];

/**
 * Read the line of a channel.
 * @param channel   ADC channel; only bits 1:0 are used
 * @param[out] dst  caller's buffer of at least ::DRAVIK_ADC_LINE_SIZE bytes; receives the line with its
 *                  newline, at most 30 characters, and a NUL; empty if the file has no such line; unchanged
 *                  on failure
 * @return 0 on success, -1 on failure
 */
DRAVIK_API int32_t read_adc_str(int32_t channel, char *dst) DRAVIK_NOEXCEPT;

/**
 * Read the line of a channel as a number: bits 9:0 of atohex() of the whole line.
 * @param channel  ADC channel; only bits 1:0 are used
 * @return 0 to ::DRAVIK_ADC_CODE_MAX; -1 if the line is missing or the file cannot be opened
 */
DRAVIK_API int32_t read_adc_hex(int32_t channel) DRAVIK_NOEXCEPT;

/**
 * Read the codes of all channels.
 * @note Intentional: a line that is not 10 to 12 characters long, including its newline, repeats the code of
 * the previous channel; for channel 0 the code is 0.
 * @param[out] codes  caller's array of ::DRAVIK_ADC_CHANNELS words; receives codes from 0 to
 *                    ::DRAVIK_ADC_CODE_MAX; unchanged on failure
 * @return 0 on success, -1 on failure
 */
DRAVIK_API int32_t read_adc(uint32_t *codes) DRAVIK_NOEXCEPT;

/**
 * Read the board temperature from channel 1. A missing line is read as code 0, ::DRAVIK_TEMPERATURE_MAX.
 * @return thousandths of a degree Celsius, ::DRAVIK_TEMPERATURE_MIN to ::DRAVIK_TEMPERATURE_MAX; -1, which
 *         is no entry of the table, if the file cannot be opened
 */
DRAVIK_API int32_t read_temperature(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup backlight Backlight
 * The backlight of the LCD, in "/sys/class/backlight/pwm-backlight.0". Every call is logged in the event log.
 * @{
 */

/** Brightness values; values in between are valid, too. */
enum dravik_backlight {
  DRAVIK_BACKLIGHT_MIN = 0,      /**< the minimum */
  DRAVIK_BACKLIGHT_LOW = 1,      /**< logged as "low" */
  DRAVIK_BACKLIGHT_MEDIUM = 500, /**< logged as "medium" */
  DRAVIK_BACKLIGHT_HIGH = 1000,  /**< the maximum, logged as "high" */
};

/**
 * Open the two files of the backlight, as far as they are not open.
 * @return 1 if both are open; 0 if one cannot be opened, with "lcd backlight : init err, pwm_dev=%s" in the
 *         event log
 */
DRAVIK_API int32_t lcd_bl_init(void) DRAVIK_NOEXCEPT;

/**
 * Set the brightness. Writes nothing if the file is not open.
 * @param level  brightness, ::DRAVIK_BACKLIGHT_MIN to ::DRAVIK_BACKLIGHT_HIGH; other values are clamped.
 *               Values without a name in ::dravik_backlight are logged as "??", and so are the minimum and
 *               values that were clamped
 * @return result of the last log_printf()
 */
DRAVIK_API int32_t lcd_bl_set(int32_t level) DRAVIK_NOEXCEPT;

/**
 * Switch the backlight off and blank the panel, as fb_lcd_off() does after fb_init().
 * @note Intentional: logs "turn off err" whenever the file is open, even on success.
 * @return result of the last log_printf()
 */
DRAVIK_API int32_t lcd_bl_off(void) DRAVIK_NOEXCEPT;

/**
 * Switch the backlight on and unblank the panel, as fb_lcd_on() does after fb_init().
 * @return result of the last log_printf()
 */
DRAVIK_API int32_t lcd_bl_on(void) DRAVIK_NOEXCEPT;

/** Close the files of the backlight. */
DRAVIK_API void lcd_bl_exit(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup gpio GPIO and status LED
 * GPIO lines, through the vendor's debug driver "/dev/ambad". Without a successful gpio_init() every function
 * returns -1 without a message.
 * @{
 */

/** GPIO lines that the library uses. */
enum dravik_gpio {
  DRAVIK_GPIO_CARD_LOCK = 68, /**< input: write-protect switch of the SD card; 1: protected */
  DRAVIK_GPIO_LED_RED = 82,   /**< output: red half of the status LED */
  DRAVIK_GPIO_LED_GREEN = 83, /**< output: green half of the status LED */
};

/** File descriptor of the driver; -1 while it is not open. Keeps its value after gpio_exit(). */
extern DRAVIK_API int32_t gpiofd;

/**
 * Open the driver, if "/proc/modules" lists the module "ambad".
 * @return 0 on success; -1 on failure, after perror("/dev/ambad"). A missing "/proc/modules" is reported
 *         before that, by perror("/proc/modules")
 */
DRAVIK_API int32_t gpio_init(void) DRAVIK_NOEXCEPT;

/**
 * Read a GPIO line.
 * @param line  line number, in the numbering of the driver, which checks it
 * @return level reported by the driver, 0 or 1; -1 if the driver is not open; -1 if it rejects the request,
 *         after perror("AMBA_DEBUG_IOC_GET_GPIO")
 */
DRAVIK_API int32_t gpio_get(uint32_t line) DRAVIK_NOEXCEPT;

/**
 * Drive a GPIO line.
 * @param line   line number, in the numbering of the driver, which checks it
 * @param level  only bit 0 is used
 * @return level reported by the driver, 0 or 1; -1 if the driver is not open; -1 if it rejects the request,
 *         after perror("AMBA_DEBUG_IOC_SET_GPIO")
 */
DRAVIK_API int32_t gpio_set(uint32_t line, uint32_t level) DRAVIK_NOEXCEPT;

/**
 * Close the driver.
 * @note Intentional: ::gpiofd keeps its value; a second call closes the same number again.
 * @return result of close(); ::gpiofd if it is negative
 */
DRAVIK_API int32_t gpio_exit(void) DRAVIK_NOEXCEPT;

/**
 * Set the status LED to red.
 * @return result of the second of two gpio_set() calls; that of the first is ignored
 */
DRAVIK_API int32_t led_red(void) DRAVIK_NOEXCEPT;

/**
 * Set the status LED to green.
 * @return as led_red()
 */
DRAVIK_API int32_t led_green(void) DRAVIK_NOEXCEPT;

/**
 * Set the status LED to orange: red and green.
 * @return as led_red()
 */
DRAVIK_API int32_t led_orange(void) DRAVIK_NOEXCEPT;

/**
 * Switch the status LED off.
 * @return as led_red()
 */
DRAVIK_API int32_t led_off(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup gsensor Accelerometer
 * Three axes, at address 0x18 of I2C bus 0. Steps and failures are reported on standard error; a failed
 * register access does not end a sequence. Before gsensor_init() and after it failed, every register access
 * fails without a transfer and reads 0.
 * @{
 */

/**
 * Open and configure the sensor: 100 samples per second, high resolution.
 * @return 0 on success, and also if registers cannot be written or the sensor has another identity; -1 if
 *         the bus cannot be opened or its address not be set
 */
DRAVIK_API int32_t gsensor_init(void) DRAVIK_NOEXCEPT;

/**
 * Block while the sensor reports an overrun and no new data.
 * @return 0
 */
DRAVIK_API int32_t gsensor_check_data_ready(void) DRAVIK_NOEXCEPT;

/**
 * Read the three axes: six register reads, twelve system calls.
 * @param[out] x,y,z  acceleration in mg, -4096 to 4094 in steps of 2; all 0 unless
 *                    gsensor_init() succeeded
 */
DRAVIK_API void gsensor_get_data(int32_t *x, int32_t *y, int32_t *z) DRAVIK_NOEXCEPT;

/**
 * Put the sensor into low-power mode and close the bus.
 * @return result of close(); 0 if the descriptor is 0, which is not closed
 */
DRAVIK_API int32_t gsensor_exit(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup probes System queries
 * Stateless queries of the running system. They print no messages.
 * @{
 */

/** Sizes of addresses in bytes. */
enum dravik_address {
  DRAVIK_MAC_SIZE = 6,      /**< of a hardware address */
  DRAVIK_IP_TEXT_SIZE = 16, /**< of a buffer for an IPv4 address as text and its NUL */
};

/**
 * Return whether a monitor is attached.
 * @return 1 if so; 0 if not; -1 if the driver's text file is missing or contains something else
 */
DRAVIK_API int32_t hdmi_detect(void) DRAVIK_NOEXCEPT;

/**
 * Read the language of the splash screen from flash: bytes 896 and 897 of "/dev/mtd1", which the command
 * "nanddump" copies to "/tmp/ptb". If the command fails, an older copy is read.
 * @param[out] lang  caller's buffer of at least 3 bytes; receives two letters, which are not checked, and a
 *                   NUL, or an empty string on failure
 * @return 0 on success; -1 if the copy cannot be opened
 */
DRAVIK_API int32_t get_splash_lang(char *lang) DRAVIK_NOEXCEPT;

/**
 * Read the hardware address of a network interface.
 * @param ifname    interface name; a name of 16 characters or more does not exist
 * @param[out] mac  caller's buffer of ::DRAVIK_MAC_SIZE bytes; all 0 if the interface does not exist
 * @return 0
 */
DRAVIK_API int32_t get_netdev_mac(const char *ifname, uint8_t *mac) DRAVIK_NOEXCEPT;

/**
 * Read the IPv4 address of a network interface, the last if it has several. Releases the list of interfaces
 * on failure, too.
 * @param ifname   interface name
 * @param[out] ip  caller's buffer of at least ::DRAVIK_IP_TEXT_SIZE bytes; receives the address as text and a
 *                 NUL; undefined unless 0 is returned
 * @return 0 on success; 1 if the interface has addresses, but no IPv4 address; -1 if it does not exist or has
 *         no address
 */
DRAVIK_API int32_t get_netdev_ip(const char *ifname, char *ip) DRAVIK_NOEXCEPT;

/**
 * Read the monotonic clock, which setting the time does not change.
 * @return milliseconds since the start of the system; wraps after 49.7 days
 */
DRAVIK_API uint32_t get_tick_count(void) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup sd_card SD card
 * The memory card is "/dev/mmcblk0" with one partition, mounted on "/tmp/mmcblk0p1".
 *
 * The checks collect their results in one status byte, see ::dravik_card_status. Each check changes only the
 * bits that it determines; sd_card_check_part() also sets ::DRAVIK_CARD_PRESENT.
 * @{
 */

/** Bits of the SD card's status byte. */
enum dravik_card_status {
  DRAVIK_CARD_PRESENT = 0x80,     /**< inserted */
  DRAVIK_CARD_LOCKED = 0x40,      /**< write-protected, or the switch cannot be read */
  DRAVIK_CARD_PARTITIONED = 0x20, /**< partition 1 exists */
  DRAVIK_CARD_MOUNTED = 0x10,     /**< partition 1 is mounted */
  DRAVIK_CARD_FAT32 = 0x08,       /**< mounted as FAT, and the partition type is 0x0B */
  DRAVIK_CARD_WRITABLE = 0x04,    /**< mounted as writable FAT */
  DRAVIK_CARD_HEALTHY = 0xBC,     /**< all bits except ::DRAVIK_CARD_LOCKED */
};

/** Fixed values of the SD card. */
enum dravik_card {
  DRAVIK_CARD_SECTOR_SIZE = 512, /**< bytes per sector */
};

/**
 * Check whether the card is inserted.
 * @return 0 if so, else -1
 */
DRAVIK_API int32_t sd_card_check_plugin(void) DRAVIK_NOEXCEPT;

/**
 * Check the write-protect switch, on GPIO line ::DRAVIK_GPIO_CARD_LOCK.
 * @return 1 if the card is not write-protected; 0 if it is, or if the line cannot be read
 */
DRAVIK_API int32_t sd_card_check_lock(void) DRAVIK_NOEXCEPT;

/**
 * Check whether partition 1 exists. Reports a missing "/proc/partitions" by perror("fopen").
 * @note Intentional: the bits of a partition that is gone are not cleared. After the card was removed, this
 * succeeds until sd_card_check() clears the status byte.
 * @return 0 if so, else 1
 */
DRAVIK_API int32_t sd_card_check_part(void) DRAVIK_NOEXCEPT;

/**
 * Check whether partition 1 is mounted as writable FAT32. Reports a missing "/proc/mounts" as
 * sd_card_check_part() does.
 * @note Intentional: as for sd_card_check_part(), bits of a mount that is gone are not cleared.
 * @return 0 if so, else 1
 */
DRAVIK_API int32_t sd_card_check_mount(void) DRAVIK_NOEXCEPT;

/**
 * Clear the status byte and run all checks.
 * @param[out] status  status byte, see ::dravik_card_status
 * @return 0 if it is ::DRAVIK_CARD_HEALTHY, else 1
 */
DRAVIK_API int32_t sd_card_check(uint8_t *status) DRAVIK_NOEXCEPT;

/**
 * Read the size of the card.
 * @param[out] sectors  size in sectors of 512 bytes; 0 if it cannot be read
 * @return size in MiB; 0 if it cannot be read; negative from 1 TiB on
 */
DRAVIK_API int32_t sd_card_get_raw_size(uint32_t *sectors) DRAVIK_NOEXCEPT;

/**
 * Read the size of the card's file system.
 * @note If the card is not mounted, this is the size of the file system that contains the mount point.
 * @note Intentional: computed in 32 bits. From 512 GiB on, the result is wrong or negative.
 * @return size in MiB; 0 if the mount point does not exist or cannot be accessed
 */
DRAVIK_API int32_t sd_card_get_part_size(void) DRAVIK_NOEXCEPT;

/**
 * Read the free space of the card's file system that is available to ordinary users.
 * @note As sd_card_get_part_size(), if the card is not mounted and from 512 GiB on.
 * @return free space in MiB; 0 as in sd_card_get_part_size()
 */
DRAVIK_API int32_t sd_card_get_free_space(void) DRAVIK_NOEXCEPT;

/**
 * Unmount, repair and mount the card's file system. Stop recording first. Blocks until the commands have
 * ended, which may take minutes.
 *
 * All three commands run, even if one fails. The results of system(), 256 times the exit status, are written
 * to "/tmp/debugfs", one line "ret : %d" for each command.
 * @return 0
 */
DRAVIK_API int32_t sd_card_check_fs(void) DRAVIK_NOEXCEPT;

/**
 * Write a new partition table with one FAT32 partition to the card and reboot.
 *
 * Only the first sector is replaced. If the partition had the same position and size before, its files are
 * still there afterwards; otherwise they are lost.
 * @param sectors  size of the card in sectors, from sd_card_get_raw_size()
 * @return -1 if "/tmp/mbr.img" cannot be created; 1 if the reboot command returns
 */
DRAVIK_API int32_t sd_card_create_part(uint32_t sectors) DRAVIK_NOEXCEPT;

/**
 * Make a new file system on the card and reboot. All files on the card are lost.
 * @return 1 if the reboot command returns
 */
DRAVIK_API int32_t sd_card_format(void) DRAVIK_NOEXCEPT;

/** Fixed values of recordings. */
enum dravik_recordings {
  DRAVIK_EVENT_SLOTS = 5, /**< slots of event recordings, A to E */
};

/** Result of parse_rec_file_list(). */
struct rec_file_list {
  int32_t normal_count;  /**< number of normal recordings (KVX00000.TS to KVX99999.TS, in any case) */
  int32_t normal_oldest; /**< number of the oldest of them, 0 to 99999; -1 if there is none */
  int32_t normal_size;   /**< total size of the normal recordings in MiB */
  int32_t event_count;   /**< number of slots with event recordings (EMA00000.TS to EME99999.TS), 0 to 5 */
  int32_t event_oldest;  /**< slot of the oldest event recording, 0 (A) to 4 (E); -1 if there is none */
  int32_t event_next;    /**< first free slot after that, cyclically; -1 if none is free */
};

/**
 * Survey the recordings in "/tmp/mmcblk0p1/REC". Changes the working directory of the process during the
 * call. Files with other names are not examined.
 *
 * Failures are in the event log:
 * - "parse_rec_file_list() : getcwd err!", also if the path of the working directory has 64 bytes or more:
 *   all words are 0
 * - "parse_rec_file_list() : stat/chdir err! : %s": all words are -1
 * - "parse_rec_file_list() : opendir err! : %s": all words are 0, and the working directory stays "REC"
 *
 * The messages contain the working directory before the call.
 * @note Intentional: a file dated 0x7FFFFFFF seconds since 1970 (January 2038) or later is counted, but is
 * never the oldest.
 * @param[out] list  result
 * @return 0 on success, -1 on failure
 */
DRAVIK_API int parse_rec_file_list(struct rec_file_list *list) DRAVIK_NOEXCEPT;

/** @} */

/**
 * @defgroup checksums Checksums, hexadecimal text and region
 * These functions may be called from any thread.
 * @{
 */

/**
 * Compute the CRC-32 of zlib, PNG and Ethernet.
 * @param data    bytes
 * @param length  number of bytes; values above 2147483647 are treated as negative
 * @return checksum; 0 if the length is 0 or negative
 */
DRAVIK_API uint32_t get_data_crc(const void *data, uint32_t length) DRAVIK_NOEXCEPT;

/**
 * Compute the CRC-32 of a file, which is read into memory as a whole.
 * @param path  file name
 * @return checksum; 0 for an empty file; ::DRAVIK_NONE if the file cannot be opened or memory is exhausted
 */
DRAVIK_API uint32_t get_file_crc(const char *path) DRAVIK_NOEXCEPT;

/**
 * Convert hexadecimal text, in either case, to a number.
 * @note Intentional: any other character is treated as one more digit, equal to the digit before it (0 at the
 * start). If there are more than eight, the last eight are used.
 * @param text  digits
 * @return number; 0 for an empty text
 */
DRAVIK_API uint32_t atohex(const char *text) DRAVIK_NOEXCEPT;

/** Fixed values of regions. */
enum dravik_regions {
  DRAVIK_REGIONS = 10,          /**< entries of ::area_code_list */
  DRAVIK_REGION_NUMBERS = 1024, /**< region numbers are less than this */
};

/** Result of the region functions if there is no region number, and of get_file_crc() on failure. */
#define DRAVIK_NONE UINT32_C(0xFFFFFFFF)

/** A sales region of the device. */
struct area_code {
  uint8_t index;          /**< index in ::area_code_list */
  char upper[4];          /**< two upper-case letters */
  char lower[7];          /**< two lower-case letters; "es" for Mexico */
  uint32_t dialling_code; /**< region number: the international dialling code */
};

/** Sales regions. */
extern DRAVIK_API const struct area_code area_code_list[DRAVIK_REGIONS];

/**
 * Find the region number of a region value.
 * @param value  CRC-32 that represents a region number
 * @return 0 to 1023; ::DRAVIK_NONE if the value represents no number
 */
DRAVIK_API uint32_t get_area_id(uint32_t value) DRAVIK_NOEXCEPT;

/**
 * Find the region number of a region file. Bytes missing from its first four are treated as 0.
 * @param path  file name
 * @return 0 to 1023; ::DRAVIK_NONE if the file cannot be opened or represents no number
 */
DRAVIK_API uint32_t get_area_id_file(const char *path) DRAVIK_NOEXCEPT;

/**
 * Read the region of the device from "/tmp/add/areacode.bin".
 * @param[out] code  caller's buffer of at least 3 bytes; receives two letters and a NUL: those of
 *                   ::area_code_list, "tw" if the number is not in it or the file represents no number, or an
 *                   empty string if the file cannot be opened
 * @return 0 to 1023; ::DRAVIK_NONE on failure
 */
DRAVIK_API uint32_t get_area_code(char *code) DRAVIK_NOEXCEPT;

/** @} */

#ifdef __cplusplus
}
#endif

#endif
