// A user without root's permissions.
#pragma once

#include <cstdlib>
#include <unistd.h>

namespace dravik::test {

/// Run as user nobody while an object lives, if the user is root.
class as_nobody {
public:
  as_nobody() : before_(::geteuid()) {
    if (before_ == 0 && ::seteuid(65534) != 0)
      std::abort();
  }
  ~as_nobody() {
    if (::seteuid(before_) != 0)
      std::abort();
  }
  as_nobody(const as_nobody &) = delete;
  as_nobody &operator=(const as_nobody &) = delete;

private:
  uid_t before_;
};

} // namespace dravik::test
