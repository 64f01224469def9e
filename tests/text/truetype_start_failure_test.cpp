// A program in which FreeType cannot start: its start is defined here, before FreeType's own.

#include "text/truetype_stage.hpp"

extern "C" FT_Error FT_Init_FreeType(FT_Library *) {
  return 0x40;
}

namespace dravik::test {
namespace {

TEST(TrueTypeStartFailure, IsSaidAndNothingIsDrawn) {
  text_stage stage;
  EXPECT_TRUE(stage.draws_nothing({.text = u"A", .font = sans}, "FT_Init_FreeType failed!\n"));
  EXPECT_EQ(str_width, 0);
  EXPECT_EQ(str_height, 0);
}

} // namespace
} // namespace dravik::test
