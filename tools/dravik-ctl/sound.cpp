// "play", "volume" and "mic".

#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/overheard.hpp"
#include "dravik.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view play_help =
    R"(dravik-ctl play FILE

Plays a sound file to its end: MP3 when .mp3 is in its path, else raw samples for .pcm, else WAV for .wav, else raw
samples. Nothing is converted: 48000 Hz, 16 bits, mono. It needs the right to real-time priority, as root has it. An
MP3 file must be writable.

Tells: file, and milliseconds that it took, with a pause of 150 at its end

Example:
  dravik-ctl play /usr/local/dravik/snd/beep.wav
)";

constexpr std::string_view volume_help =
    R"(dravik-ctl volume PERCENT|mute

Sets the speaker's volume by the board's mixer: PERCENT is 20, 40, 60, 80 or 100; 0 is mute.

Tells: percent

Examples:
  dravik-ctl volume 60
  dravik-ctl volume mute
)";

constexpr std::string_view mic_help =
    R"(dravik-ctl mic on|off

Switches the microphone on or off by the board's mixer.

Tells: microphone

Example:
  dravik-ctl mic off
)";

constexpr size_t longest_path = 255;
constexpr uint32_t volume_step = 20, loudest = 100;

/// Waits until the engine has taken the file: one that it has not taken yet is dropped when the engine stops.
/// The engine stays busy for 150 ms at least, so a look each millisecond does not miss it.
void wait_until_taken() {
  constexpr timespec moment = {0, 1000000};
  while (get_snd_thread_state() == 0)
    ::nanosleep(&moment, nullptr);
}

/// Whether the engine will find the file as it needs it. It reports to nobody.
bool is_playable(const std::string &path, std::string &error) {
  if (path.size() > longest_path)
    error = path + ": longer than the 255 characters that the library takes";
  else if (::access(path.c_str(), path.find(".mp3") != path.npos ? R_OK | W_OK : R_OK) != 0)
    error = path + ": " + std::strerror(errno);
  return error.empty();
}

outcome play(const command_line &given, value::fields &report, std::string &error) {
  const std::string &path = given.operands()[0];
  if (!is_playable(path, error))
    return outcome::failed;
  int32_t started = -1;
  const overheard starting{[&] { started = snd_init(); }};
  if (started != 1)
    return failed(error, "the sound engine does not get a thread of real-time priority 90; try as root");
  const uint32_t before = get_tick_count();
  const overheard said{[&] {
    snd_play_direct(path.c_str(), 0);
    wait_until_taken();
    snd_exit();
  }};
  if (!said.said_nothing())
    return failed(error, because("the sound device cannot be used", said.last_line()));
  report = {{"file", path}, {"milliseconds", get_tick_count() - before}};
  return outcome::done;
}

/// Runs a call that runs the mixer. Some of its steps tell of a failure by words alone.
template <class Call> bool ask_mixer(Call call, std::string &error) {
  int32_t status = -1;
  const overheard said{[&] { status = call(); }};
  const std::string complaint = said.first_line("amixer:");
  if (status != 0 || !complaint.empty())
    error = because("the mixer did not take it", complaint);
  return error.empty();
}

outcome volume(const command_line &given, value::fields &report, std::string &error) {
  const std::string &word = given.operands()[0];
  const auto percent = word == "mute" ? 0 : tools::number_of(word, 0, loudest);
  if (!percent || *percent % volume_step != 0)
    return misused(error, "'" + word + "' is none of mute, 0, 20, 40, 60, 80, 100");
  if (!ask_mixer([&] { return spk_volume_setup(*percent); }, error))
    return outcome::failed;
  report = {{"percent", *percent}};
  return outcome::done;
}

outcome mic(const command_line &given, value::fields &report, std::string &error) {
  const std::string &word = given.operands()[0];
  if (word != "on" && word != "off")
    return misused(error, "'" + word + "' is neither on nor off");
  if (!ask_mixer([&] { return word == "on" ? mic_volume_unmute() : mic_volume_mute(); }, error))
    return outcome::failed;
  report = {{"microphone", word}};
  return outcome::done;
}

} // namespace

constinit const command play_command = {"play", play_help, {}, 1, 1, reporting<play>};
constinit const command volume_command = {"volume", volume_help, {}, 1, 1, reporting<volume>};
constinit const command mic_command = {"mic", mic_help, {}, 1, 1, reporting<mic>};

} // namespace dravik::ctl
