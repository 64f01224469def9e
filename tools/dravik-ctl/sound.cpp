// "play", "volume" and "mic".

#include "common/numbers.hpp"
#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view play_help =
    R"(Usage: dravik-ctl play FILE

Play a sound file to its end.

The format follows from the path: MP3 if it contains .mp3, else raw PCM if it
contains .pcm, else WAV if it contains .wav, else raw PCM. Nothing is converted:
files must have 48000 Hz, 16 bits, mono. Requires permission to use real-time
priority, which root has. An MP3 file must be writable.

Output: file, and milliseconds including a pause of 150 ms at the end

Examples:
  dravik-ctl play /usr/local/dravik/snd/beep.wav

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view volume_help =
    R"(Usage: dravik-ctl volume PERCENT|mute

Set the speaker's volume.

PERCENT is 20, 40, 60, 80 or 100, or 0, which mutes.

Output: percent

Examples:
  dravik-ctl volume 60
  dravik-ctl volume mute

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view mic_help =
    R"(Usage: dravik-ctl mic on|off

Switch the microphone on or off.

Output: microphone

Examples:
  dravik-ctl mic off

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr uint32_t volume_step = DRAVIK_VOLUME_LOW - DRAVIK_VOLUME_LOWEST;

/// Wait until the engine has started the file: snd_exit() drops a queued one. The engine is busy for at least
/// 150 ms, so a check per millisecond does not miss it.
void wait_until_taken() {
  constexpr timespec moment = {0, 1000000};
  while (get_snd_thread_state() == 0)
    ::nanosleep(&moment, nullptr);
}

/// The engine does not report a file that it cannot open.
bool is_playable(const std::string &path, std::string &error) {
  if (path.size() > DRAVIK_SOUND_PATH_MAX)
    error = path + ": path too long; must be at most 255 characters";
  else if (::access(path.c_str(), path.find(".mp3") != path.npos ? R_OK | W_OK : R_OK) != 0)
    error = path + ": " + std::strerror(errno);
  return error.empty();
}

outcome play(const command_line &given, value::fields &report, std::string &error) {
  const std::string &path = given.operands()[0];
  if (!is_playable(path, error))
    return outcome::failed;
  int32_t started = -1;
  const captured_output start_output{[&] { started = snd_init(); }};
  if (started != 1)
    return failed(error, device_failure("play: real-time priority 90 not permitted; try as root"));
  const uint32_t before = get_tick_count();
  const captured_output output{[&] {
    snd_play_direct(path.c_str(), 0);
    wait_until_taken();
    snd_exit();
  }};
  if (!output.is_empty())
    return failed(error, device_failure(because("play: sound device failed", output.last_line())));
  report = {{"file", path}, {"milliseconds", get_tick_count() - before}};
  return outcome::done;
}

/// Call a function that runs the mixer program. Some of its failures appear only in its output.
template <class Call> bool call_mixer(Call call, std::string &error) {
  int32_t status = -1;
  const captured_output output{[&] { status = call(); }};
  const std::string mixer_error = output.first_line("amixer:");
  if (status != 0 || !mixer_error.empty())
    error = device_failure(because("mixer: setting failed", mixer_error));
  return error.empty();
}

outcome volume(const command_line &given, value::fields &report, std::string &error) {
  const std::string &word = given.operands()[0];
  const auto percent = word == "mute" ? 0 : tools::number_of(word, 0, DRAVIK_VOLUME_FULL);
  if (!percent || *percent % volume_step != 0)
    return misused(error, "invalid PERCENT '" + word + "'; must be mute, 0, 20, 40, 60, 80 or 100");
  if (!call_mixer([&] { return spk_volume_setup(*percent); }, error))
    return outcome::failed;
  report = {{"percent", *percent}};
  return outcome::done;
}

outcome mic(const command_line &given, value::fields &report, std::string &error) {
  const std::string &word = given.operands()[0];
  if (word != "on" && word != "off")
    return misused(error, "invalid switch '" + word + "'; must be on or off");
  if (!call_mixer([&] { return word == "on" ? mic_volume_unmute() : mic_volume_mute(); }, error))
    return outcome::failed;
  report = {{"microphone", word}};
  return outcome::done;
}

} // namespace

extern constinit const command play_command = {.name = "play",
                                               .summary = "play a sound file",
                                               .help = play_help,
                                               .operands = "FILE",
                                               .run = reporting<play>};
extern constinit const command volume_command = {.name = "volume",
                                                 .summary = "set the speaker's volume",
                                                 .help = volume_help,
                                                 .operands = "PERCENT|mute",
                                                 .run = reporting<volume>};
extern constinit const command mic_command = {.name = "mic",
                                              .summary = "switch the microphone",
                                              .help = mic_help,
                                              .operands = "on|off",
                                              .run = reporting<mic>};

} // namespace dravik::ctl
