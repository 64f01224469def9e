// Messages of the live board to its pages: binary ones begin with their kind, the others are JSON.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace dravik::sim::message {

enum class kind : uint8_t { frame = 1, sound = 2, console = 3, log = 4, events = 5 };

/// Append a number as `bytes` bytes, the lowest first.
inline void add_number(std::string &text, uint32_t number, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i)
    text += static_cast<char>(number >> (8 * i));
}

/// A JSON string. Bytes of a board's files may be anything: those that are not ASCII become U+0080 to U+00FF.
inline std::string json_string(std::string_view text) {
  std::string json = "\"";
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\u%04x", code);
    if (code < 0x20 || code >= 0x7F || code == '"' || code == '\\' || code == '<')
      json += escaped;
    else
      json += character;
  }
  return json + '"';
}

inline std::string error(std::string_view text) {
  return R"({"kind":"error","text":)" + json_string(text) + "}";
}

/// Why there is no image of the screen; empty if there is one again.
inline std::string screen_error(std::string_view text) {
  return R"({"kind":"screen","error":)" + json_string(text) + "}";
}

} // namespace dravik::sim::message
