// The recording of a board's sound, as a WAV file.

#include "sound/recording.hpp"
#include "board/board_files.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

constexpr const char *file_name = "sound/played.wav";
constexpr int64_t second_ns = 1'000'000'000;

/// Layout of the file, in the byte order of the host.
struct wav_header {
  char riff[4] = {'R', 'I', 'F', 'F'};
  uint32_t following_bytes;
  char kind[8] = {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '};
  uint32_t format_bytes = 16;
  uint16_t coding = 1; // plain samples
  uint16_t channels = 2;
  uint32_t rate_hz = recorded_rate_hz;
  uint32_t bytes_per_second = recorded_rate_hz * 4;
  uint16_t frame_bytes = 4;
  uint16_t sample_bits = 16;
  char data[4] = {'d', 'a', 't', 'a'};
  uint32_t data_bytes;
};
static_assert(sizeof(wav_header) == 44);

int16_t amplified(int16_t sample, double gain) noexcept {
  if (gain == 1)
    return sample;
  const double louder = sample * gain;
  return static_cast<int16_t>(std::clamp(louder + (louder < 0 ? -0.5 : 0.5), -32768.0, 32767.0));
}

off_t place_of(uint64_t frame) noexcept {
  return static_cast<off_t>(sizeof(wav_header) + frame * 4);
}

/// The file may exceed the fields of the header.
uint32_t capped(uint64_t bytes) noexcept {
  return static_cast<uint32_t>(std::min<uint64_t>(bytes, UINT32_MAX));
}

} // namespace

int recording::open() noexcept {
  make_board_directory("sound");
  file_.reset(open_board_file(file_name, O_RDWR | O_CREAT));
  struct stat status;
  if (!file_ || ::fstat(file_.get(), &status) != 0)
    return -errno;
  if (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0)
    return -EBUSY;
  length_ = static_cast<uint64_t>(std::max<off_t>(status.st_size - place_of(0), 0)) / sizeof(frame);
  write_header();
  return 0;
}

void recording::add(std::span<const int16_t> samples, double gain) noexcept {
  std::array<frame, 1024> block;
  size_t used = 0;
  for (size_t i = 0; i + format_.channels <= samples.size(); i += format_.channels) {
    const frame played = {amplified(samples[i], gain), amplified(samples[i + format_.channels - 1], gain)};
    uint64_t copies = end_of_written();
    ++written_;
    for (copies = end_of_written() - copies; copies > 0; --copies) {
      block[used++] = played;
      if (used == block.size()) {
        append(block);
        used = 0;
      }
    }
  }
  append({block.data(), used});
  write_header();
}

void recording::add_silence_until(int64_t time_ns) noexcept {
  const auto time = static_cast<uint64_t>(std::max<int64_t>(time_ns, 0));
  const uint64_t frames =
      time / second_ns * recorded_rate_hz + time % second_ns * recorded_rate_hz / second_ns;
  if (frames <= length_ || ::ftruncate(file_.get(), place_of(frames)) != 0)
    return;
  length_ = frames;
  write_header();
}

void recording::note_start(int64_t time_ns) const noexcept {
  char line[64];
  const int length = std::snprintf(line, sizeof line, "%" PRIu64 " %" PRId64 "\n", length_, time_ns);
  append_to_board_file("sound/starts", {line, static_cast<size_t>(length)});
}

void recording::append(std::span<const frame> frames) noexcept {
  if (::pwrite(file_.get(), frames.data(), frames.size_bytes(), place_of(length_)) ==
      static_cast<ssize_t>(frames.size_bytes()))
    length_ += frames.size();
}

void recording::write_header() noexcept {
  const uint64_t bytes = length_ * sizeof(frame);
  wav_header header;
  header.following_bytes = capped(bytes + sizeof header - 8);
  header.data_bytes = capped(bytes);
  if (::pwrite(file_.get(), &header, sizeof header, 0) != sizeof header)
    record_event("sound: %s cannot be written", file_name);
}

} // namespace dravik::sim
