// The board that the launcher works on: the one that it names to the application.

#include "board/chosen_board.hpp"

#include <cstdlib>

namespace dravik::sim {

const char *board_directory() noexcept {
  return std::getenv("DRAVIK_BOARD");
}

} // namespace dravik::sim
