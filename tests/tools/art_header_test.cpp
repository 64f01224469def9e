// The C header of image names.

#include "art_fixture.hpp"

using namespace dravik;
using namespace dravik::art_test;

namespace {

class ArtHeader : public ArtTool {
protected:
  void write_dots(const std::vector<std::string> &names) const {
    for (const std::string &name : names)
      write_picture(name, make_picture(2, 1, [](uint32_t, uint32_t) { return rgba{255, 255, 255, 255}; }));
  }

  /// Compiles a text strictly; the compiler's output is the message.
  void expect_compiles(const std::string &compiler, const std::string &standard, const std::string &name,
                       const std::string &text) const {
    write_text(at(name), text);
    const run_result result = run_program(
        {compiler, "-std=" + standard, "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only", name});
    EXPECT_EQ(result.status, 0) << result.err;
  }
};

} // namespace

TEST_F(ArtHeader, NamesImagesAfterTheirFiles) {
  write_dots({"home.png", "Go Back-2.png", "\xC3\xA4.png"});
  expect_quiet_success(
      {"pack", "out.q7", "home.png", "Go Back-2.png", "\xC3\xA4.png", "--header", "icons.h"});
  EXPECT_EQ(read_text(at("icons.h")), "/* Made by dravik-art; changes are lost when it packs again. */\n"
                                      "#ifndef ICONS_H\n"
                                      "#define ICONS_H\n"
                                      "\n"
                                      "enum icons_image {\n"
                                      "  ICONS_HOME = 0, /* 2 x 1 */\n"
                                      "  ICONS_GO_BACK_2 = 1, /* 2 x 1 */\n"
                                      "  ICONS___ = 2, /* 2 x 1 */\n"
                                      "  ICONS_COUNT = 3\n"
                                      "};\n"
                                      "\n"
                                      "#endif\n");
}

TEST_F(ArtHeader, CompilesInCAndInCxx) {
  write_dots({"b.png", "a.png"});
  expect_quiet_success({"pack", "out.q7", "b.png", "a.png", "--header", "int.h"});
  const std::string text = "#include \"int.h\"\n#include \"int.h\"\n"
                           "enum int_image last(void);\n"
                           "enum int_image last(void) { return INT_A; }\n"
                           "typedef char right[INT_B == 0 && INT_A == 1 && INT_COUNT == 2 ? 1 : -1];\n";
  expect_compiles(C_COMPILER, "c99", "use.c", text);
  expect_compiles(CXX_COMPILER, "c++20", "use.cpp", text);
}

TEST_F(ArtHeader, NamesThatAreNoIdentifiersGetABeginning) {
  write_dots({"1.png"});
  for (const auto &[header, name] : std::map<std::string, std::string>{
           {"7seg.h", "ART_7SEG_1"}, {"_ui.h", "UI_1"}, {"__.h", "ART__1"}, {"sub.d.h", "SUB_D_1"}}) {
    expect_quiet_success({"pack", "out.q7", "1.png", "--header", header});
    EXPECT_NE(read_text(at(header)).find("  " + name + " = 0,"), std::string::npos) << read_text(at(header));
    expect_compiles(C_COMPILER, "c99", "use.c", "#include \"" + header + "\"\nint first = " + name + ";\n");
  }
}

TEST_F(ArtHeader, RejectsTwoImagesOfOneName) {
  std::filesystem::create_directory(at("other"));
  write_dots({"a b.png", "other/a_b.png", "count.png", "h.png"});
  expect_refusal({"pack", "out.q7", "a b.png", "other/a_b.png", "--header", "ui.h"}, 1,
                 "other/a_b.png: name UI_A_B already used by a b.png");
  expect_refusal({"pack", "out.q7", "count.png", "--header", "ui.h"}, 1,
                 "count.png: name UI_COUNT already used by the number of images");
  expect_refusal({"pack", "out.q7", "h.png", "--header", "ui.h"}, 1,
                 "h.png: name UI_H already used by the header's guard");
  expect_quiet_success({"pack", "out.q7", "a b.png", "other/a_b.png"}); // without a header all is well
}

TEST_F(ArtHeader, ReplacesOnlyAHeaderOfItsOwn) {
  write_dots({"a.png", "b.png"});
  expect_quiet_success({"pack", "out.q7", "a.png", "--header", "ui.h"});
  expect_quiet_success({"pack", "out.q7", "b.png", "--header", "ui.h"});
  EXPECT_NE(read_text(at("ui.h")).find("UI_B"), std::string::npos);
  write_text(at("main.h"), "#include <stdio.h>\n");
  expect_refusal({"pack", "out.q7", "a.png", "--header", "main.h"}, 1,
                 "main.h: exists in another format; not replaced");
}

TEST_F(ArtHeader, ChangesNeitherFileIfOneCannotBeWritten) {
  write_dots({"a.png"});
  write_bytes(at("out.q7"), sound_archive());
  expect_refusal({"pack", "out.q7", "a.png", "--header", "no/ui.h"}, 1, "no/ui.h: No such file or directory");
  expect_refusal({"pack", "out.q7", "a.png", "--header", ""}, 2,
                 "pack: invalid --header ''; must be a file name");
}
