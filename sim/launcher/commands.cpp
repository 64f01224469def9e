// The table of commands: each is declared with its help in the file of its function.

#include "launcher/commands.hpp"
#include "host/board_directory.hpp"

namespace dravik::sim {

extern const command new_command, run_command, shot_command, set_command, press_command, play_command,
    film_command, panel_command, events_command, card_command;

std::span<const command *const> commands() noexcept {
  static constexpr const command *all[] = {&new_command,    &run_command,  &shot_command, &set_command,
                                           &press_command,  &play_command, &film_command, &panel_command,
                                           &events_command, &card_command};
  return all;
}

outcome run_on_board(board_command *does, const command_line &given, std::string &error) {
  const std::string &board = given.operands()[0];
  if (!is_board(board))
    return failed(error, board + ": not a board; create it with 'dravik-sim new " + board + "'");
  return does(board, given, error);
}

} // namespace dravik::sim
