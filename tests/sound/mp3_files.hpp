// MP3 files, made by LAME, and what there is to hear in them: decoded step by step, without libmad's
// decoder loop that the library uses.
#pragma once

#include "support/bytes.hpp"
#include "support/program.hpp"

namespace dravik::test {

/// The output of a decoder for a file.
struct decoded_mp3 {
  bytes samples;                   ///< of the first channel, 16 bits each
  std::vector<std::string> errors; ///< as written to the event log
  std::vector<size_t> lengths;     ///< of the frames, in samples
};

decoded_mp3 decode_mp3(const bytes &file);

/// A sound with something at all heights, as 16-bit samples; its channels differ.
bytes music(uint32_t rate_hz, uint32_t channels, uint32_t length_ms);

/// Encode samples, with LAME's options; keep its files in a directory.
bytes encode_mp3(const std::string &folder, const bytes &samples, uint32_t rate_hz, uint32_t channels,
                 const words &options);

/// So many frames of silence, each a header and zeros to this length.
bytes silent_frames(const bytes &header, size_t length, size_t count);

/// Silence of 128 kbit/s, 48000 Hz, one channel: 384 bytes and 1152 samples per frame.
inline bytes silence(size_t frames) {
  return silent_frames({0xFF, 0xFB, 0x94, 0xC0}, 384, frames);
}

} // namespace dravik::test
