// RAII owner of a file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

namespace dravik {

/// Closes its descriptor. Negative means none; 0 is valid.
class unique_fd {
public:
  unique_fd() noexcept = default;
  explicit unique_fd(int descriptor) noexcept : descriptor_(descriptor) {}
  unique_fd(unique_fd &&other) noexcept : descriptor_(other.release()) {}
  unique_fd &operator=(unique_fd &&other) noexcept {
    reset(other.release());
    return *this;
  }
  ~unique_fd() { reset(); }

  explicit operator bool() const noexcept { return descriptor_ >= 0; }
  int get() const noexcept { return descriptor_; }
  int release() noexcept { return std::exchange(descriptor_, -1); }
  void reset(int descriptor = -1) noexcept {
    const int old = std::exchange(descriptor_, descriptor);
    if (old >= 0)
      ::close(old);
  }

private:
  int descriptor_ = -1;
};

} // namespace dravik
