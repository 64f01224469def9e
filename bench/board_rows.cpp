// The rows of images at fixed paths of the device. They are a program of their own, since the simulated
// board makes opening a file dearer, which other rows would show.

#include "board.hpp"
#include "harness.hpp"

void bench::add_rows() {
  use_board();
  add_jpeg();
  add_screenshot();
}
