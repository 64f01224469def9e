// Work on the side that must leave errno as it was.
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
