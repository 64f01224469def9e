// Random numbers that can be had again: the seed is printed, and DRAVIK_TEST_SEED sets it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace dravik::test {

class seeded_random {
public:
  seeded_random() : seed_(chosen_seed()), engine_(seed_) { std::printf("DRAVIK_TEST_SEED=%u\n", seed_); }

  /// A whole number from `first` to `last`, both included. The same on every machine.
  int32_t between(int32_t first, int32_t last) {
    const auto span = static_cast<uint32_t>(last) - static_cast<uint32_t>(first) + 1;
    return static_cast<int32_t>(static_cast<uint32_t>(first) + (span == 0 ? word() : word() % span));
  }
  uint16_t colour() { return static_cast<uint16_t>(word() >> 16); }
  uint32_t word() { return static_cast<uint32_t>(engine_()); }
  bool one_in(uint32_t count) { return word() % count == 0; }

private:
  static uint32_t chosen_seed() {
    const char *given = std::getenv("DRAVIK_TEST_SEED");
    return given != nullptr ? static_cast<uint32_t>(std::strtoul(given, nullptr, 0)) : 1;
  }

  uint32_t seed_;
  std::mt19937 engine_;
};

} // namespace dravik::test
