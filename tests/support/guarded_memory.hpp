// Memory between protected pages: an access past its end terminates the program, in every build.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <sys/mman.h>

namespace dravik::test {

/// Whole pages with a protected page before and after them.
class guarded_memory {
public:
  static constexpr size_t page_bytes = 4096;

  explicit guarded_memory(size_t size) : size_((size + page_bytes - 1) / page_bytes * page_bytes) {
    void *mapping = ::mmap(nullptr, mapped_bytes(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED)
      std::abort();
    first_ = static_cast<uint8_t *>(mapping) + page_bytes;
    if (::mprotect(first_, size_, PROT_READ | PROT_WRITE) != 0)
      std::abort();
  }
  ~guarded_memory() { ::munmap(first_ - page_bytes, mapped_bytes()); }
  guarded_memory(const guarded_memory &) = delete;
  guarded_memory &operator=(const guarded_memory &) = delete;

  std::span<uint8_t> all() const noexcept { return {first_, size_}; }
  /// The last bytes, directly before the protected page.
  std::span<uint8_t> last(size_t count) const { return all().last(count); }
  bool contains(const void *address) const noexcept {
    const auto *byte = static_cast<const uint8_t *>(address);
    return byte >= first_ && byte < first_ + size_;
  }

private:
  size_t mapped_bytes() const noexcept { return size_ + 2 * page_bytes; }

  size_t size_;
  uint8_t *first_ = nullptr;
};

} // namespace dravik::test
