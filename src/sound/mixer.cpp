// Volume, through ALSA's command "amixer". Control numbers are those of the board's codec.

#include "dravik.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace dravik::sound {
namespace {

/// Return the codec's volume for a volume step in percent.
constexpr int raw_volume(uint32_t percent) noexcept {
  switch (percent) {
  case DRAVIK_VOLUME_LOWEST:
    return 85;
  case DRAVIK_VOLUME_LOW:
    return 93;
  case DRAVIK_VOLUME_HIGH:
    return 107;
  case DRAVIK_VOLUME_FULL:
    return 113;
  case DRAVIK_VOLUME_MEDIUM:
  default:
    return 100;
  }
}

int32_t set_volume(int raw) noexcept {
  std::array<char, 40> command;
  std::snprintf(command.data(), command.size(), "amixer cset numid=1 %d &", raw);
  std::system("amixer cset numid=77 on");
  std::system("amixer cset numid=5 108");
  return std::system(command.data());
}

} // namespace
} // namespace dravik::sound

extern "C" {

using namespace dravik::sound;

int32_t mic_volume_unmute() noexcept {
  return std::system("amixer cset numid=64 on");
}

int32_t mic_volume_mute() noexcept {
  return std::system("amixer cset numid=64 off");
}

int32_t spk_volume_setup(uint32_t percent) noexcept {
  return percent == DRAVIK_VOLUME_MUTED ? spk_volume_mute() : set_volume(raw_volume(percent));
}

int32_t spk_volume_mute() noexcept {
  std::system("amixer cset numid=1 0 &");
  return std::system("amixer cset numid=5 0 &");
}

} // extern "C"
