// Sound, on a card that accepts every frame immediately: decoding, widening, and the time until a
// sound starts.

#include "harness.hpp"
#include "scratch_folder.hpp"
#include "scripted_card.hpp"
#include "sound/widen.hpp"
#include "support/next_call.hpp"

#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mad.h>
#include <unistd.h>

namespace bench {
namespace {

constexpr useconds_t engine_pause_us = 150000; ///< after every sound

// ------------------------------------------------------------------------------------------------ decoding

struct sound_file {
  std::string path;
  std::vector<uint8_t> bytes; ///< with the NUL after the end that the decoder may read
};

/// A file that was made with the program.
sound_file made_sound(const std::string &name) {
  sound_file file = {std::string{BENCH_SOUNDS} + '/' + name, {}};
  std::ifstream stream(file.path, std::ios::binary);
  file.bytes.assign(std::istreambuf_iterator<char>(stream), {});
  if (file.bytes.empty()) {
    std::fprintf(stderr, "%s is missing\n", file.path.c_str());
    std::exit(EXIT_FAILURE);
  }
  return file;
}

struct decoder_input {
  const std::vector<uint8_t> *bytes;
  bool is_given;
};

mad_flow give_input(void *data, mad_stream *stream) {
  auto &input = *static_cast<decoder_input *>(data);
  if (input.is_given)
    return MAD_FLOW_STOP;
  input.is_given = true;
  mad_stream_buffer(stream, input.bytes->data(), input.bytes->size());
  return MAD_FLOW_CONTINUE;
}

mad_flow drop_output(void *, const mad_header *, mad_pcm *pcm) {
  benchmark::DoNotOptimize(pcm);
  return MAD_FLOW_CONTINUE;
}

mad_flow pass_error(void *, mad_stream *, mad_frame *) {
  return MAD_FLOW_CONTINUE;
}

void decode_alone(const sound_file &file) {
  decoder_input input = {&file.bytes, false};
  mad_decoder decoder;
  mad_decoder_init(&decoder, &input, give_input, nullptr, nullptr, drop_output, pass_error, nullptr);
  mad_decoder_run(&decoder, MAD_DECODER_MODE_SYNC);
  mad_decoder_finish(&decoder);
}

void add_mp3(const std::string &channels) {
  row<sound_file>("MP3 of 4 s, " + channels, {0, 1.08}, {made_sound(channels + ".mp3")})
      .library([](const sound_file &file) { mp3_playback(file.path.c_str()); })
      .floor(decode_alone);
}

// ------------------------------------------------------------------------------------------------ widening

/// The memory of one period, mono and stereo.
struct period {
  static constexpr size_t frames = 6000;

  std::vector<uint8_t> mono = std::vector<uint8_t>(frames * 2, 1);
  std::vector<uint8_t> source = std::vector<uint8_t>(frames * 4, 1);
  std::vector<uint8_t> stereo = std::vector<uint8_t>(frames * 4, 1);
};

void add_widening() {
  const auto memory = std::make_shared<period>();
  row<std::shared_ptr<period>>("6000 samples made stereo", {0, 1.5}, {memory})
      .library([](const auto &p) { dravik::sound::widen(p->mono.data(), period::frames, p->stereo.data()); })
      .floor([](const auto &p) { std::memcpy(p->stereo.data(), p->source.data(), p->stereo.size()); });
}

// ------------------------------------------------------------------------------------------------ the
// beginning

constexpr int sounds_a_run = 100;

/// Wait until the engine waits for a request.
void await_idle_engine() {
  while (get_snd_thread_state() != 0)
    ::usleep(100);
  ::usleep(500);
}

double microseconds_to_first_frame(const char *path) {
  await_idle_engine();
  await_first_frame();
  const auto started = steady::now();
  snd_play_direct(path, 0);
  return std::chrono::duration<double, std::micro>(first_frame() - started).count();
}

/// Start the engine once, since stopping it costs the next sound.
bool has_engine() {
  static const bool is_running = snd_init() == 1;
  return is_running;
}

void add_first_frames(const std::string &name, const std::string &path) {
  add_distribution(name, [path](std::vector<double> &times) {
    if (!has_engine()) {
      std::fputs("The sound engine is refused its real-time priority.\n", stderr);
      return;
    }
    for (int i = 0; i < sounds_a_run; ++i)
      times.push_back(microseconds_to_first_frame(path.c_str()));
    await_idle_engine();
  });
}

} // namespace

void add_sound() {
  add_mp3("mono");
  add_mp3("stereo");
  add_widening();
  add_first_frames("the first frame of a WAV file", made_sound("short.wav").path);
  add_first_frames("the first frame of an MP3 file", made_sound("short.mp3").path);
}

} // namespace bench

/// The engine's pause after every sound is not waited for.
extern "C" int usleep(useconds_t pause_us) {
  static const auto next = dravik::test::next_call<int(useconds_t)>("usleep");
  return pause_us == bench::engine_pause_us ? 0 : next(pause_us);
}
