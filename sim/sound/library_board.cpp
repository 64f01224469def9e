// The board of a library that is loaded next to the preload library.

#include "board/chosen_board.hpp"
#include "board/use_board.h"

extern "C" [[gnu::weak]] const char *dravik_sim_board(void);

namespace dravik::sim {

const char *board_directory() noexcept {
  return dravik_sim_board != nullptr ? dravik_sim_board() : nullptr;
}

} // namespace dravik::sim
