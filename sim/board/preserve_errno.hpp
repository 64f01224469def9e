// Restores errno at the end of a scope.
#pragma once

#include <cerrno>

namespace dravik::sim {

class preserve_errno {
public:
  preserve_errno() noexcept = default;
  ~preserve_errno() { errno = saved_; }
  preserve_errno(const preserve_errno &) = delete;
  preserve_errno &operator=(const preserve_errno &) = delete;

private:
  int saved_ = errno;
};

} // namespace dravik::sim
