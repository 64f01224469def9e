// A process that logs its argument and ends without flushing anything.

#include "dravik.h"
#include "support/simulator_guard.hpp"

#include <unistd.h>

int main(int count, char **arguments) {
  dravik::test::guard_host();
  dravik::test::require_simulator();
  for (int i = 1; i < count; ++i)
    log_printf("%s", arguments[i]);
  ::_exit(0);
}
