// The board that the launcher handles, which it also names to the application.

#include "board/chosen_board.hpp"

#include <cstdlib>

namespace dravik::sim {

const char *board_directory() noexcept {
  return std::getenv("DRAVIK_BOARD");
}

} // namespace dravik::sim
