// MP3 files: read as a whole, decoded by libmad, first channel played.

#include "base/heap_block.hpp"
#include "base/unique_fd.hpp"
#include "dravik.h"
#include "sound/engine.hpp"
#include "sound/pcm_output.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <fcntl.h>
#include <mad.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::sound {
namespace {

static_assert(std::endian::native == std::endian::little,
              "samples are handed to the device as they lie in memory");

/// The whole file, passed to the decoder once.
struct mp3_buffer {
  const uint8_t *start;
  uint32_t length;
};

// Maximum number of samples per frame and channel.
using mono_frame = std::array<int16_t, 1152>;

/// Round to 16 bits and clip to the range from -1.0 to just below 1.0. Clipping comes first, with limits
/// reduced by the rounding's addend, so that the sum cannot overflow.
int16_t to_16_bits(mad_fixed_t sample) noexcept {
  constexpr int dropped_bits = MAD_F_FRACBITS - 15;
  constexpr mad_fixed_t half = mad_fixed_t{1} << (dropped_bits - 1);
  constexpr mad_fixed_t lowest = -MAD_F_ONE - half;
  constexpr mad_fixed_t highest = MAD_F_ONE - 1 - half;
  return static_cast<int16_t>((std::clamp(sample, lowest, highest) + half) >> dropped_bits);
}

mad_flow mp3_input_cb(void *data, mad_stream *stream) noexcept {
  mp3_buffer &file = *static_cast<mp3_buffer *>(data);
  if (file.length == 0)
    return MAD_FLOW_STOP;
  mad_stream_buffer(stream, file.start, file.length);
  file.length = 0;
  return MAD_FLOW_CONTINUE;
}

mad_flow mp3_output_cb(void *, const mad_header *, mad_pcm *pcm) noexcept {
  if (is_stop_requested())
    return MAD_FLOW_STOP;
  add_decoded_samples(pcm->length);
  mono_frame samples;
  const std::span<const mad_fixed_t> first_channel{pcm->samples[0], pcm->length};
  std::ranges::transform(first_channel, samples.begin(), to_16_bits);
  pcm_write(pcm->length, reinterpret_cast<const uint8_t *>(samples.data()));
  return MAD_FLOW_CONTINUE;
}

/// Log and skip a corrupt frame. Stop requests are checked here too: corrupt data may never reach the output.
mad_flow mp3_error_cb(void *data, mad_stream *stream, mad_frame *) noexcept {
  const mp3_buffer &file = *static_cast<const mp3_buffer *>(data);
  log_printf("mad_flow error: decoding  0x%04x (%s) at byte offset %u", static_cast<unsigned>(stream->error),
             mad_stream_errorstr(stream), static_cast<unsigned>(stream->this_frame - file.start));
  return is_stop_requested() ? MAD_FLOW_STOP : MAD_FLOW_CONTINUE;
}

void decode(mp3_buffer file) noexcept {
  mad_decoder decoder;
  mad_decoder_init(&decoder, &file, mp3_input_cb, nullptr, nullptr, mp3_output_cb, mp3_error_cb, nullptr);
  mad_decoder_run(&decoder, MAD_DECODER_MODE_SYNC);
  mad_decoder_finish(&decoder);
}

/// Read in one call. Bytes that the file does not return are zeroed, not left uninitialised.
void read_whole(int descriptor, uint8_t *block, uint32_t size) noexcept {
  const ssize_t got = ::read(descriptor, block, size);
  const size_t filled = got > 0 ? static_cast<size_t>(got) : 0;
  std::memset(block + filled, 0, size_t{size} + 1 - filled);
}

int32_t play_mp3(const char *path) noexcept {
  unique_fd file{::open(path, O_RDWR)};
  if (!file) {
    log_printf("open file %s failed ", path);
    return 1;
  }
  struct stat status;
  if (::fstat(file.get(), &status) != 0 || status.st_size == 0) {
    log_printf("fstat failed:");
    static_cast<void>(file.release()); // Intentional: stays open
    return 2;
  }
  const uint32_t size = static_cast<uint32_t>(status.st_size);
  heap_block block = allocate_block(uint64_t{size} + 1);
  if (block == nullptr) {
    log_printf("not enough memory");
    return 1;
  }
  read_whole(file.get(), block.get(), size);

  snd_file_type = sound_format::mp3;
  if (set_snd_param(size) != 0) {
    log_printf("set_mp3_param failed:");
    static_cast<void>(block.release()); // Intentional: block, file and device are kept
    static_cast<void>(file.release());
    return 1;
  }
  decode({block.get(), size});
  block.reset();
  file.reset();
  close_playback();
  return 0;
}

} // namespace
} // namespace dravik::sound

extern "C" {

int32_t mp3_playback(const char *path) noexcept {
  return dravik::sound::play_mp3(path);
}

} // extern "C"
