// The rows that do not draw. They are a program of their own, since it redirects the fixed paths of the
// device and interposes its sound card.

#include "fixed_paths.hpp"
#include "harness.hpp"

void bench::add_rows() {
  lead_fixed_paths();
  add_numbers();
  add_log();
  add_devices();
  add_recordings();
  add_sound();
}
