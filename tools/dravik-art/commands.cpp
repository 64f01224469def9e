// The table of commands: each is declared with its help in the file of its function.

#include "dravik-art/commands.hpp"

namespace dravik::art {

extern const command pack_command, list_command, check_command, unpack_command, preview_command;

std::span<const command *const> commands() noexcept {
  static constexpr const command *all[] = {&pack_command, &list_command, &check_command, &unpack_command,
                                           &preview_command};
  return all;
}

} // namespace dravik::art
