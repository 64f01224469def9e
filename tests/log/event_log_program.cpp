// A process that logs its argument and ends without flushing anything.

#include "dravik.h"
#include "support/board.hpp"

#include <unistd.h>

int main(int count, char **arguments) {
  dravik::test::require_simulator();
  for (int i = 1; i < count; ++i)
    log_printf("%s", arguments[i]);
  ::_exit(0);
}
