// The event log as tests read it.
#pragma once

#include "support/bytes.hpp"

namespace dravik::test {

/// The lines of a text, without their newlines.
inline std::vector<std::string> lines_of(const bytes &text) {
  std::vector<std::string> lines;
  std::string line;
  for (const uint8_t byte : text) {
    if (byte != '\n') {
      line += static_cast<char>(byte);
      continue;
    }
    lines.push_back(line);
    line.clear();
  }
  if (!line.empty())
    lines.push_back(line + " (no newline)");
  return lines;
}

/// The messages of a log file: its lines without stamps, banners left out.
inline std::vector<std::string> log_messages(const std::string &path) {
  std::vector<std::string> messages;
  for (const std::string &line : lines_of(read_file(path))) {
    const size_t stamp_end = line.find("] ");
    if (line.starts_with("[    0.000000] s #### "))
      continue;
    messages.push_back(line.starts_with('[') && stamp_end != std::string::npos ? line.substr(stamp_end + 2)
                                                                               : "no stamp: " + line);
  }
  return messages;
}

} // namespace dravik::test
