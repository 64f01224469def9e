// WAV and raw PCM files: 16-bit mono samples at the device's rate, sent to both channels. A WAV header is
// skipped, not parsed.

#include "sound/wave_player.hpp"
#include "base/heap_block.hpp"
#include "base/unique_fd.hpp"
#include "dravik.h"
#include "sound/engine.hpp"
#include "sound/widen.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::sound {
namespace {

constexpr uint32_t wav_header_bytes = 44;

/// An open file, and the two blocks that its samples pass through.
class wave_stream {
public:
  /// A block holds two periods: each period of mono samples read becomes two of stereo.
  explicit wave_stream(uint32_t period_frames) noexcept
      : frame_bits_(bits_per_frame), read_bytes_(frame_bits_ * period_frames / 8),
        mono_(allocate_block(uint64_t{2} * read_bytes_)), stereo_(allocate_block(uint64_t{2} * read_bytes_)) {
  }

  /// Return whether both blocks were allocated. Intentional: if one is missing, the other one is not freed.
  bool has_room() noexcept {
    if (mono_ != nullptr && stereo_ != nullptr)
      return true;
    static_cast<void>(mono_.release());
    static_cast<void>(stereo_.release());
    return false;
  }

  bool open(const char *path) noexcept {
    file_.reset(::open(path, O_RDONLY));
    return static_cast<bool>(file_);
  }

  void skip(uint32_t bytes) noexcept { ::lseek(file_.get(), bytes, SEEK_SET); }

  /// Return the number of bytes read, 0 at the end of the file, negative on failure.
  ssize_t read() noexcept { return ::read(file_.get(), mono_.get(), read_bytes_); }

  /// Play the bytes read; an odd last byte is dropped.
  void play(size_t bytes) noexcept {
    widen(mono_.get(), bytes / 2, stereo_.get());
    pcm_write(static_cast<uint32_t>(bytes * 16 / frame_bits_), stereo_.get());
  }

  void close() noexcept {
    close_playback();
    file_.reset();
    free_blocks();
  }

  void free_blocks() noexcept {
    mono_.reset();
    stereo_.reset();
  }

private:
  uint32_t frame_bits_;
  uint32_t read_bytes_;
  heap_block mono_;
  heap_block stereo_;
  unique_fd file_;
};

/// Play until the end of the file or a stop request.
int32_t play_all(wave_stream &stream) noexcept {
  if (is_stop_requested())
    return 1;
  for (;;) {
    const ssize_t bytes = stream.read();
    if (bytes < 0)
      return -1;
    if (bytes == 0 || is_stop_requested())
      return 1;
    stream.play(static_cast<size_t>(bytes));
  }
}

int32_t decode(const char *path, uint32_t period_frames, uint32_t header_bytes) noexcept {
  wave_stream stream{period_frames};
  if (!stream.has_room()) {
    log_printf("not enough memory");
    return -1;
  }
  if (!stream.open(path)) {
    log_printf("Cannot open %s", path);
    stream.free_blocks();
    close_playback();
    return -1;
  }
  if (header_bytes > 0)
    stream.skip(header_bytes);
  const int32_t result = play_all(stream);
  stream.close();
  if (result < 0)
    log_printf("Read pcm data error(rd < 0)");
  return result;
}

constexpr uint32_t header_bytes_of(sound_format format) noexcept {
  return format == sound_format::wav ? wav_header_bytes : 0;
}

} // namespace

int32_t play_wave(const char *path, sound_format format) noexcept {
  struct stat status;
  if (::stat(path, &status) != 0) {
    log_printf("stat failed: %s", path);
    return -1;
  }
  const uint32_t header_bytes = header_bytes_of(format);
  snd_file_type = format;
  const int32_t period_frames = set_snd_param(static_cast<uint32_t>(status.st_size) - header_bytes);
  if (period_frames == -1) {
    close_playback();
    return 0;
  }
  decode(path, static_cast<uint32_t>(period_frames), header_bytes);
  return 1;
}

} // namespace dravik::sound

extern "C" {

using namespace dravik::sound;

int32_t wav_playback(const char *file) noexcept {
  return play_wave(file, sound_format::wav);
}

int32_t pcm_playback(const char *file) noexcept {
  return play_wave(file, sound_format::raw_pcm);
}

int32_t wav_decode(const char *path, uint32_t period_frames) noexcept {
  return decode(path, period_frames, wav_header_bytes);
}

int32_t pcm_decode(const char *path, uint32_t period_frames) noexcept {
  return decode(path, period_frames, 0);
}

} // extern "C"
