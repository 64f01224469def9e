// RAII lock of a POSIX mutex.
#pragma once

#include <pthread.h>

namespace dravik {

class mutex_lock {
public:
  explicit mutex_lock(pthread_mutex_t &mutex) noexcept : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~mutex_lock() noexcept { pthread_mutex_unlock(&mutex_); }
  mutex_lock(const mutex_lock &) = delete;
  mutex_lock &operator=(const mutex_lock &) = delete;

private:
  pthread_mutex_t &mutex_;
};

} // namespace dravik
