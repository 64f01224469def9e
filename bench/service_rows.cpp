// The rows of what does not draw. They are a program of their own, since it leads the fixed paths of the
// device elsewhere and stands in for its sound card.

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
