// MP3 files, and what there is to hear in them.

#include "sound/mp3_files.hpp"

#include <algorithm>
#include <cmath>
#include <mad.h>
#include <memory>

namespace dravik::test {
namespace {

/// 28 bits of fraction become 15.
uint16_t rounded(mad_fixed_t sample) {
  int64_t value = int64_t{sample} + 4096;
  if (value < -0x10000000)
    value = -0x10000000;
  if (value > 0x0FFFFFFF)
    value = 0x0FFFFFFF;
  return static_cast<uint16_t>(value >> 13);
}

void add_sample(bytes &samples, uint16_t value) {
  samples.push_back(static_cast<uint8_t>(value));
  samples.push_back(static_cast<uint8_t>(value >> 8));
}

std::string error_line(const mad_stream &stream, size_t offset) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%04x", static_cast<unsigned>(stream.error));
  return std::string{"mad_flow error: decoding  "} + code + " (" + mad_stream_errorstr(&stream) +
         ") at byte offset " + std::to_string(offset);
}

std::string rate_in_khz(uint32_t rate_hz) {
  return std::to_string(rate_hz / 1000) + '.' + std::to_string(1000 + rate_hz % 1000).substr(1);
}

struct decoder {
  mad_stream stream;
  mad_frame frame;
  mad_synth synth;

  decoder() {
    mad_stream_init(&stream);
    mad_frame_init(&frame);
    mad_synth_init(&synth);
  }
  ~decoder() {
    mad_frame_finish(&frame);
    mad_stream_finish(&stream);
  }
  decoder(const decoder &) = delete;
  decoder &operator=(const decoder &) = delete;
};

} // namespace

decoded_mp3 decode_mp3(const bytes &file) {
  decoded_mp3 result;
  const auto with = std::make_unique<decoder>();
  mad_stream_buffer(&with->stream, file.data(), file.size());
  for (;;) {
    if (mad_frame_decode(&with->frame, &with->stream) == 0) {
      mad_synth_frame(&with->synth, &with->frame);
      const mad_pcm &pcm = with->synth.pcm;
      result.lengths.push_back(pcm.length);
      for (size_t i = 0; i < pcm.length; ++i)
        add_sample(result.samples, rounded(pcm.samples[0][i]));
    } else if (MAD_RECOVERABLE(with->stream.error)) {
      const auto offset = static_cast<size_t>(with->stream.this_frame - file.data());
      result.errors.push_back(error_line(with->stream, offset));
    } else {
      return result;
    }
  }
}

bytes music(uint32_t rate_hz, uint32_t channels, uint32_t length_ms) {
  std::mt19937 random{rate_hz + channels};
  bytes samples;
  for (uint32_t i = 0; i < rate_hz * length_ms / 1000; ++i)
    for (uint32_t channel = 0; channel < channels; ++channel) {
      const double time = static_cast<double>(i) / rate_hz;
      const double swept = std::sin(6.2832 * (channel + 1) * (300 + 4000 * time) * time);
      const double beats = i % (rate_hz / 20) < rate_hz / 100 ? random_in(random, 0, 2000) / 1000.0 - 1 : 0;
      add_sample(samples, static_cast<uint16_t>(static_cast<int16_t>(18000 * swept + 9000 * beats)));
    }
  return samples;
}

bytes encode_mp3(const std::string &folder, const bytes &samples, uint32_t rate_hz, uint32_t channels,
                 const words &options) {
  const std::string raw = folder + "/to-encode.raw";
  const std::string mp3 = folder + "/encoded.mp3";
  write_file(raw, samples);
  const std::string rate = rate_in_khz(rate_hz);
  words command = {"lame", "--quiet", "-r", "--little-endian", "-s", rate, "--resample", rate};
  if (channels == 1)
    command.insert(command.end(), {"-m", "m"});
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), {raw, mp3});
  if (run_program(command) != 0)
    return {};
  return read_file(mp3);
}

bytes silent_frames(const bytes &header, size_t length, size_t count) {
  bytes frames(length * count);
  for (size_t i = 0; i < count; ++i)
    std::copy(header.begin(), header.end(), frames.begin() + static_cast<std::ptrdiff_t>(i * length));
  return frames;
}

} // namespace dravik::test
