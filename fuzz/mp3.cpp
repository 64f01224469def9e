// MP3 files, played on a simulated sound card without a clock.

#include "rig.hpp"

#include <string_view>
#include <unistd.h>

namespace {

using dravik::fuzz::require;
using dravik::fuzz::rig;

/// Add a sound card to the rig's board. Its recording is not used.
void plug_in_quiet_card() {
  constexpr std::string_view settings = "sound_clock = none\n";
  setenv("ALSA_CONFIG_PATH", SOUND_CARD_DIRECTORY "/asound.conf", 1);
  setenv("ALSA_PLUGIN_DIR", SOUND_CARD_DIRECTORY, 1);
  rig::the().put("/board.conf", {reinterpret_cast<const uint8_t *>(settings.data()), settings.size()});
}

/// Remove the output of the previous input: a full event log would reject further lines.
void clear_away() {
  for (const char *left : {"/sound/played.wav", "/tmp/dravik.log", "/events"})
    ::unlink(rig::the().host_path(left).c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const char *const path = rig::the().file({data, size});
  static const bool has_card = (plug_in_quiet_card(), true);
  require(has_card);
  clear_away();
  if (size == 0)
    return 0; // Intentional: an empty file stays open
  require(mp3_playback(path) == 0 && h_snd_playback == nullptr);
  return 0;
}
