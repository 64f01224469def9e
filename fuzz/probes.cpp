// The monitor's report, and the flash dump that contains the splash language; the first byte of
// an input chooses.

#include "rig.hpp"

using dravik::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0)
    return 0;
  const dravik::fuzz::byte_span text{data + 1, size - 1};
  auto &rig = dravik::fuzz::rig::the();
  if ((data[0] & 1) == 0) {
    rig.put("/proc/ambarella/hdmi_edid", text);
    const int32_t attached = hdmi_detect();
    require(attached >= -1 && attached <= 1);
  } else {
    rig.put("/tmp/ptb", text);
    std::array<char, 3> language = {'x', 'x', 'x'};
    require(get_splash_lang(language.data()) == 0);
    require(language[2] == '\0');
  }
  return 0;
}
