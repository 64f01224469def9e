// The texts in which the kernel reports the memory card.

#include "board/card_texts.hpp"
#include "board/settings_text.hpp"

namespace dravik::sim {
namespace {

bool has_option(std::string_view options, std::string_view wanted) noexcept {
  while (!options.empty())
    if (take_until(options, ',') == wanted)
      return true;
  return false;
}

} // namespace

uint32_t first_number(std::string_view text) noexcept {
  const std::string_view line = take_line(text);
  uint32_t number = 0;
  std::from_chars(line.data(), line.data() + line.size(), number);
  return number;
}

/// A line is: device, mount point, file system, options.
mount_state mount_state_of(std::string_view mounts) noexcept {
  for (std::string_view line = take_line(mounts); !line.empty(); line = take_line(mounts)) {
    if (take_word(line) != card_partition)
      continue;
    take_word(line);
    take_word(line);
    return has_option(take_word(line), "ro") ? mount_state::read_only : mount_state::writable;
  }
  return mount_state::none;
}

} // namespace dravik::sim
