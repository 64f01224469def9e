// The rows of drawing without files at fixed paths of the device.

#include "harness.hpp"

void bench::add_rows() {
  add_clears();
  add_rectangles();
  add_lines();
  add_circles();
  add_artwork();
  add_slots();
  add_bmp_files();
  add_text();
  add_truetype();
}
