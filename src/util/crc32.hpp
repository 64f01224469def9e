// CRC-32 of zlib, PNG and Ethernet.
#pragma once

#include <cstdint>
#include <span>

namespace dravik::util {

uint32_t crc32(std::span<const uint8_t> bytes) noexcept;

} // namespace dravik::util
