// A mapped piece of a file with one owner.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/mman.h>
#include <utility>

namespace dravik {

/// Unmaps its bytes at the end; empty when the mapping failed.
class mapping {
public:
  mapping() noexcept = default;
  mapping(int descriptor, size_t size, int protection) noexcept {
    void *start = ::mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
    if (start != MAP_FAILED)
      bytes_ = {static_cast<uint8_t *>(start), size};
  }
  mapping(mapping &&other) noexcept : bytes_(std::exchange(other.bytes_, {})) {}
  mapping &operator=(mapping &&other) noexcept {
    std::swap(bytes_, other.bytes_);
    return *this;
  }
  ~mapping() {
    if (!bytes_.empty())
      ::munmap(bytes_.data(), bytes_.size());
  }

  explicit operator bool() const noexcept { return !bytes_.empty(); }
  std::span<uint8_t> bytes() const noexcept { return bytes_; }

private:
  std::span<uint8_t> bytes_;
};

} // namespace dravik
