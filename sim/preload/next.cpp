// Looks up all interposed functions when this library is loaded.

#include "preload/next.hpp"

// The linker's names of the two ends of the section.
extern "C" dravik::sim::next_symbol __start_next_symbols[]; // NOLINT(clang-diagnostic-reserved-identifier)
extern "C" dravik::sim::next_symbol __stop_next_symbols[];  // NOLINT(clang-diagnostic-reserved-identifier)

namespace {

[[gnu::constructor]] void resolve_all() noexcept {
  for (auto *symbol = __start_next_symbols; symbol != __stop_next_symbols; ++symbol)
    symbol->resolve();
}

} // namespace
