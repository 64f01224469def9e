// Values as JSON and as text, and the characters in them.

#include "ctl_fixture.hpp"
#include "dravik-ctl/utf8.hpp"
#include "dravik-ctl/value.hpp"

namespace dravik::ctl {
namespace {

using test::run_program;

TEST(CtlValue, PrintsPlainValuesAsJson) {
  EXPECT_EQ(value{nullptr}.json(), "null");
  EXPECT_EQ(value{true}.json(), "true");
  EXPECT_EQ(value{false}.json(), "false");
  EXPECT_EQ(value{-12}.json(), "-12");
  EXPECT_EQ(value{uint32_t{4294967295}}.json(), "4294967295");
  EXPECT_EQ(value{"text"}.json(), "\"text\"");
}

TEST(CtlValue, PrintsThreeDecimalsOfThousandths) {
  EXPECT_EQ(value{thousandths{38250}}.json(), "38.250");
  EXPECT_EQ(value{thousandths{-926}}.json(), "-0.926");
  EXPECT_EQ(value{thousandths{-1000}}.json(), "-1.000");
  EXPECT_EQ(value{thousandths{7}}.json(), "0.007");
  EXPECT_EQ(value{thousandths{4294967295}}.text(), "4294967.295\n");
}

TEST(CtlValue, PrintsNestedValuesAsJson) {
  const value whole = value::fields{{"list", value::list{1, 2}},
                                    {"empty", value::list{}},
                                    {"inner", value::fields{{"a", nullptr}, {"b", value::list{"x"}}}}};
  EXPECT_EQ(whole.json(), R"({"list": [1, 2], "empty": [], "inner": {"a": null, "b": ["x"]}})");
}

TEST(CtlValue, EscapesJson) {
  EXPECT_EQ(value{"say \"a\\b\""}.json(), R"("say \"a\\b\"")");
  EXPECT_EQ(value{"\n\t\x1B\x7F"}.json(), R"("\u000a\u0009\u001b\u007f")");
  EXPECT_EQ(value{"größe 日本"}.json(), "\"größe 日本\"");
}

TEST(CtlValue, ReplacesInvalidUtf8InJson) {
  EXPECT_EQ(value{"a\xFC"
                  "b"}
                .json(),
            R"("a\ufffdb")");
  EXPECT_EQ(value{"\xC3"}.json(), R"("\ufffd")");
}

TEST(CtlValue, PrintsJsonThatOtherReaderAccepts) {
  test::board board;
  std::string all;
  for (int byte = 1; byte < 128; ++byte)
    all += static_cast<char>(byte);
  board.write("all.json", value{all}.json());
  ASSERT_EQ(run_program({"jq", "-j", ".", board.path("all.json")}, board.path("all")), 0);
  EXPECT_EQ(board.read("all"), all);
}

TEST(CtlValue, PrintsOneLinePerValueAsText) {
  const value whole = value::fields{{"size_mib", 7580},
                                    {"locked", nullptr},
                                    {"healthy", true},
                                    {"writable", false},
                                    {"codes", value::list{1, 2, 3}},
                                    {"none", value::list{}}};
  EXPECT_EQ(whole.text(), "size mib: 7580\nlocked: -\nhealthy: yes\nwritable: no\ncodes: 1, 2, 3\nnone: \n");
}

TEST(CtlValue, IndentsNestedValuesAsText) {
  const value::fields first = {{"name", "a"}, {"ip", "1.2.3.4"}}, second = {{"name", "b"}, {"ip", nullptr}};
  const value whole =
      value::fields{{"network", value::list{first, second}}, {"screen", value::fields{{"width", 640}}}};
  EXPECT_EQ(whole.text(), "network:\n"
                          "  - name: a\n"
                          "    ip: 1.2.3.4\n"
                          "  - name: b\n"
                          "    ip: -\n"
                          "screen:\n"
                          "  width: 640\n");
}

TEST(CtlValue, PrintsNoControlCharactersAsText) {
  EXPECT_EQ(value{"a\x1B[2J\nb"}.text(), "a?[2J?b\n");
}

struct decoded {
  size_t length; ///< 0: not UTF-8
  uint32_t code;
  size_t left;
};

decoded first_of(std::string_view text) {
  const utf8_character first = take_character(text);
  return {first.bytes.size(), first.code, text.size()};
}

void expect_character(std::string_view text, size_t length, uint32_t code) {
  const decoded first = first_of(text);
  EXPECT_EQ(first.length, length);
  EXPECT_EQ(first.code, code);
  EXPECT_EQ(first.left, text.size() - length);
}

TEST(CtlUtf8, ReadsCharactersOfEveryLength) {
  expect_character("A!", 1, 'A');
  expect_character("\x7F", 1, 0x7F);
  expect_character("\xC2\x80", 2, 0x80);
  expect_character("\xDF\xBF!", 2, 0x7FF);
  expect_character("\xE0\xA0\x80", 3, 0x800);
  expect_character("\xEF\xBF\xBF", 3, 0xFFFF);
  expect_character("\xF0\x90\x80\x80", 4, 0x10000);
  expect_character("\xF4\x8F\xBF\xBF!", 4, 0x10FFFF);
}

TEST(CtlUtf8, SkipsOneByteOfInvalidText) {
  for (const std::string_view wrong :
       {"\x80!", "\xC1\xBF!", "\xC3!", "\xE0\x9F\xBF!", "\xED\xA0\x80!", "\xED\xBF\xBF!", "\xE2\x82!",
        "\xF0\x8F\xBF\xBF!", "\xF4\x90\x80\x80!", "\xFF!"}) {
    const decoded first = first_of(wrong);
    EXPECT_EQ(first.length, 0U) << testing::PrintToString(std::string{wrong});
    EXPECT_EQ(first.left, wrong.size() - 1) << testing::PrintToString(std::string{wrong});
  }
}

} // namespace
} // namespace dravik::ctl
