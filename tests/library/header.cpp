// The header alone, as strict C++20; twice, since other headers include it too.

#include "dravik.h"

static_assert(__cplusplus == 202002L);
static_assert(noexcept(fb_init()) &&noexcept(fb_put_pixel(0, 0, 0)) &&noexcept(log_printf("x")));
