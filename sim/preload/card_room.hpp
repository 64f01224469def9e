// Free space of the mounted memory card for writes.
#pragma once

#include <cstdint>
#include <sys/types.h>

namespace dravik::sim {

/// Return how many of the bytes from a position on fit on the card: all of them if the open file is on no mounted card.
uint64_t bytes_that_fit(int descriptor, off64_t position, uint64_t size) noexcept;

} // namespace dravik::sim
