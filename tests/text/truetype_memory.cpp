// The exported arrays that drawing text writes, defined by the test program in place of the library's,
// between inaccessible pages: one byte outside them ends the program.

#include "dravik.h"

#include <cstdlib>
#include <initializer_list>
#include <sys/mman.h>
#include <unistd.h>

// page 0 | 75 pages of image_buffer | page 76 | page 77, which ends with unicode | page 78
extern "C" {
alignas(4096) uint8_t guarded_pages[79 * 4096];
}
asm(".globl image_buffer, unicode\n"
    ".type image_buffer, %object\n"
    ".type unicode, %object\n"
    ".size image_buffer, 307200\n"
    ".size unicode, 256\n"
    ".set image_buffer, guarded_pages + 4096\n"
    ".set unicode, guarded_pages + 78 * 4096 - 256\n");

namespace {

void protect_guards(int access) {
  for (const size_t page : {0, 76, 78})
    if (::mprotect(guarded_pages + page * 4096, 4096, access) != 0)
      std::abort();
}

struct guard {
  guard() { protect_guards(PROT_NONE); }
  ~guard() { protect_guards(PROT_READ | PROT_WRITE); } // a search for leaks at the end reads all data
} const guarded;

} // namespace
