// Memory that is allocated while an object lives may stay allocated: LeakSanitizer ignores it.
#pragma once

extern "C" {
[[gnu::weak]] void __lsan_disable();
[[gnu::weak]] void __lsan_enable();
}

namespace dravik::test {

class leak_on_purpose {
public:
  leak_on_purpose() {
    if (__lsan_disable != nullptr)
      __lsan_disable();
  }
  ~leak_on_purpose() {
    if (__lsan_enable != nullptr)
      __lsan_enable();
  }
  leak_on_purpose(const leak_on_purpose &) = delete;
  leak_on_purpose &operator=(const leak_on_purpose &) = delete;
};

} // namespace dravik::test
