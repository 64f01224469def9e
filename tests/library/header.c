/* The header alone, as strict C99. */

#include "dravik.h"

#if __STDC_VERSION__ != 199901L
#error "not C99"
#endif

/* The widths that both sides count on. */
typedef char words_of_the_record[sizeof fbinfo == 48 ? 1 : -1];
typedef char words_of_a_time[sizeof(struct dravik_timeval) == 8 ? 1 : -1];
