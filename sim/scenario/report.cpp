// The report of a played scenario, as CI reads it.

#include "scenario/report.hpp"
#include "host/printable_text.hpp"

#include <cstdio>
#include <filesystem>
#include <numeric>

namespace dravik::sim::scenario {
namespace {

/// The bytes of the character at the front, 0 if it is not valid UTF-8, or not allowed in XML.
size_t character_bytes(std::string_view text) {
  const auto byte = [&](size_t i) -> uint32_t {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  const uint32_t first = byte(0);
  if (first < 0x80)
    return is_control(text[0]) && text[0] != '\n' && text[0] != '\t' ? 0 : 1;
  const size_t count = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  constexpr uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  uint32_t code = first & (0xFFU >> (count + 1));
  for (size_t i = 1; i < count; ++i) {
    if ((byte(i) & 0xC0) != 0x80)
      return 0;
    code = code << 6 | (byte(i) & 0x3F);
  }
  const bool is_valid = first >= 0xC2 && first < 0xF5 && code >= least[count] && code <= 0x10FFFF &&
                        (code < 0xD800 || code > 0xDFFF) && code != 0xFFFE && code != 0xFFFF;
  return is_valid ? count : 0;
}

std::string escaped(std::string_view character) {
  switch (character.front()) {
  case '&':
    return "&amp;";
  case '<':
    return "&lt;";
  case '>':
    return "&gt;";
  case '"':
    return "&quot;";
  case '\n':
    return "&#10;";
  case '\t':
    return "&#9;";
  default:
    return std::string{character};
  }
}

std::string decimal(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", seconds);
  return text;
}

std::string attribute(std::string_view name, std::string_view value) {
  return std::string{" "}.append(name).append("=\"").append(xml_text(value)).append("\"");
}

std::string test_case(const report &played, size_t index) {
  const step &tested = played.steps[index];
  const bool is_played = index < played.seconds.size();
  const bool has_failed = index + 1 == played.seconds.size() && !played.failure.empty();
  const std::string line = std::to_string(tested.line);
  return "    <testcase" + attribute("classname", std::filesystem::path{played.file}.stem().native()) +
         attribute("name", line + ": " + tested.text) + attribute("file", played.file) +
         attribute("line", line) + attribute("time", decimal(is_played ? played.seconds[index] : 0)) +
         (has_failed   ? ">\n      <failure" + attribute("message", played.failure) + "/>\n    </testcase>\n"
          : !is_played ? ">\n      <skipped/>\n    </testcase>\n"
                       : "/>\n");
}

} // namespace

std::string xml_text(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const size_t bytes = character_bytes(text);
    shown += bytes == 0 ? "?" : escaped(text.substr(0, bytes));
    text.remove_prefix(bytes == 0 ? 1 : bytes);
  }
  return shown;
}

std::string junit_of(const report &played) {
  const double seconds = std::accumulate(played.seconds.begin(), played.seconds.end(), 0.);
  const std::string counts =
      attribute("tests", std::to_string(played.steps.size())) +
      attribute("failures", played.failure.empty() ? "0" : "1") + attribute("errors", "0") +
      attribute("skipped", std::to_string(played.steps.size() - played.seconds.size())) +
      attribute("time", decimal(seconds));
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + counts + ">\n  <testsuite" +
                     attribute("name", std::filesystem::path{played.file}.stem().native()) + counts + ">\n";
  for (size_t i = 0; i < played.steps.size(); ++i)
    text += test_case(played, i);
  return text + "  </testsuite>\n</testsuites>\n";
}

} // namespace dravik::sim::scenario
