// The control device of the sound card: what ALSA asks of it before it loads the simulated card itself.

#include "preload/device.hpp"

#include <cstring>
#include <sound/asound.h>
#include <sys/ioctl.h>

namespace dravik::sim {
namespace {

/// Texts are shorter than the fields of the record.
void copy_text(unsigned char *into, const char *text) noexcept {
  std::memcpy(into, text, std::strlen(text));
}

long report_card(int, uintptr_t argument) noexcept {
  auto *into = reinterpret_cast<snd_ctl_card_info *>(argument);
  if (into == nullptr)
    return -EFAULT;
  *into = {};
  copy_text(into->id, "board");
  copy_text(into->driver, "dravik");
  copy_text(into->name, "Simulated sound card");
  copy_text(into->longname, "Simulated sound card");
  copy_text(into->mixername, "Simulated codec");
  return 0;
}

constexpr request_kind requests[] = {{SNDRV_CTL_IOCTL_CARD_INFO, "card", report_card}};

} // namespace

constinit const device sound_control =
    checked({.entry = entry_of("/dev/snd/controlC0"), .requests = requests});

} // namespace dravik::sim
