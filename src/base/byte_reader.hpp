// Bounds-checked little-endian reads of untrusted bytes.
#pragma once

#include <cstdint>
#include <span>

namespace dravik {

/// Reads from a block at a moving position. A read beyond the block returns 0, and so does every later one.
class byte_reader {
public:
  constexpr explicit byte_reader(std::span<const uint8_t> bytes) noexcept : bytes_(bytes) {}

  constexpr void seek(uint64_t position) noexcept {
    ok_ = ok_ && position <= bytes_.size();
    position_ = ok_ ? static_cast<size_t>(position) : 0;
  }

  constexpr uint8_t u8() noexcept { return static_cast<uint8_t>(take(1)); }
  constexpr uint16_t u16le() noexcept { return static_cast<uint16_t>(take(2)); }
  constexpr uint32_t u32le() noexcept { return take(4); }

  constexpr size_t remaining() const noexcept { return ok_ ? bytes_.size() - position_ : 0; }
  constexpr bool ok() const noexcept { return ok_; }

private:
  constexpr uint32_t take(size_t count) noexcept {
    if (remaining() < count) {
      ok_ = false;
      return 0;
    }
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i)
      value |= uint32_t{bytes_[position_ + i]} << (8 * i);
    position_ += count;
    return value;
  }

  std::span<const uint8_t> bytes_;
  size_t position_ = 0;
  bool ok_ = true;
};

} // namespace dravik
