// A screen on which lines of anti-aliased text are compared with a model, byte by byte.
#pragma once

#include "support/bytes.hpp"
#include "support/guarded_memory.hpp"
#include "support/screen.hpp"
#include "support/stderr_capture.hpp"
#include "text/truetype_model.hpp"

#include <gtest/gtest.h>

namespace dravik::test {

inline const std::string fonts = "/usr/share/fonts/truetype/";
inline const std::string sans = fonts + "liberation/LiberationSans-Regular.ttf";
inline const std::string serif_italic = fonts + "liberation/LiberationSerif-Italic.ttf";
inline const std::string dejavu = fonts + "dejavu/DejaVuSans.ttf";
inline const std::string cjk = "/usr/share/fonts-droid-fallback/truetype/DroidSansFallback.ttf";
inline const std::string cjk_full = fonts + "droid/DroidSansFallbackFull.ttf"; ///< without Hangul

inline constexpr const char *no_face = "FT_New_Face failed!\n";
inline constexpr const char *no_size = "FT_Set_Char_Size failed!\n";
inline constexpr const char *no_glyph = "FT_Get_Char_Index failed!\n";
inline constexpr const char *not_rendered = "FT_Render_Glyph failed!\n";

/// The text as the library reads it, with a 0 unit at its end.
bytes little_endian(const std::u16string &text);

/// How many descriptors this process has open.
size_t open_descriptors();

/// A copy of bytes that ends at a protected page.
class page_end {
public:
  explicit page_end(const bytes &content);

  const void *data() const { return data_; }

private:
  guarded_memory memory_;
  uint8_t *data_;
};

class text_stage {
public:
  explicit text_stage(const screen_shape &shape = {.xres = 640, .yres = 480, .padding = 6});
  ~text_stage();
  text_stage(const text_stage &) = delete;
  text_stage &operator=(const text_stage &) = delete;

  /// Draw with the library and the model; whether the screen, the plane, every exported result, standard
  /// error and the open descriptors are as they have to be.
  testing::AssertionResult agree(const text_call &call);
  /// The same for a text that begins at `text`.
  testing::AssertionResult agree_at(const void *text, const text_call &call);

  /// The same, and that something was drawn.
  testing::AssertionResult draws(const text_call &call);
  /// The same, and that nothing was drawn and standard error says `message`.
  testing::AssertionResult draws_nothing(const text_call &call, const std::string &message = "");

  /// Whether a pixel of the screen has a colour.
  testing::AssertionResult shows(uint32_t x, uint32_t y, uint16_t colour);

  const text_model &model() const { return model_; }

private:
  testing::AssertionResult results(const text_call &call, const std::string &expected);

  const char *const fonts_before_[2] = {ttf_font_file[0], ttf_font_file[1]};
  fake_screen screen_;
  text_model model_;
  std::string said_; ///< on standard error by the last call
};

} // namespace dravik::test
