// What the speaker of a board played, as the sound track of a film.

#include "film/sound_track.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

constexpr int64_t frame_bytes = 4;
constexpr int64_t header_bytes = 44;
constexpr int64_t frames_per_second = 48000;
constexpr int64_t second_ns = 1'000'000'000;
constexpr uint64_t most_start_bytes =
    200; ///< of the sounds before the film: the last of them may still be played
constexpr uint64_t most_frames = uint64_t{1} << 40;

int64_t frames_in(int64_t time_ns) {
  return time_ns / second_ns * frames_per_second + time_ns % second_ns * frames_per_second / second_ns;
}

} // namespace

std::vector<sound_start> read_sound_starts(std::string_view text) {
  std::vector<sound_start> starts;
  while (!text.empty()) {
    std::string_view line = take_until(text, '\n');
    const std::string_view frame = take_word(line);
    sound_start start = {};
    if (!read_number(frame, start.frame) || !read_number(trimmed(line), start.time_ns) ||
        start.frame >= most_frames || start.time_ns < 0)
      continue;
    if (!starts.empty() && start.frame < starts.back().frame)
      starts.clear(); // another recording
    starts.push_back(start);
  }
  return starts;
}

/// A line that is not complete is none.
sound_track::sound_track(std::string board)
    : board_(std::move(board)), starts_(board_, "sound/starts", most_start_bytes),
      text_(starts_.next(most_start_bytes)) {
  if (text_.size() == most_start_bytes)
    text_.erase(0, text_.find('\n'));
}

/// Only what is in the film: `frames` from its begin on.
bool sound_track::copy(const unique_fd &recording, const sound_start &from, uint64_t end, const unique_fd &to,
                       int64_t begin_ns, int64_t frames) const {
  const int64_t first = frames_in(from.time_ns - begin_ns); // frame of the film, may be before it
  const int64_t skipped = std::max<int64_t>(-first, 0);
  int64_t source = static_cast<int64_t>(from.frame) + skipped;
  int64_t target = first + skipped;
  int64_t count = std::min(static_cast<int64_t>(end) - source, frames - target);
  std::array<char, 65536> block;
  while (count > 0) {
    const auto bytes = static_cast<size_t>(std::min<int64_t>(count * frame_bytes, block.size()));
    const ssize_t got = ::pread(recording.get(), block.data(), bytes, header_bytes + source * frame_bytes);
    if (got < frame_bytes)
      return true; // the recording is shorter
    const int64_t whole = got / frame_bytes;
    if (::pwrite(to.get(), block.data(), static_cast<size_t>(whole * frame_bytes), target * frame_bytes) < 0)
      return false;
    source += whole;
    target += whole;
    count -= whole;
  }
  return true;
}

bool sound_track::write(const unique_fd &to, clock::time_point begin, clock::duration length,
                        std::string &error) {
  const int64_t begin_ns = std::chrono::nanoseconds{begin.time_since_epoch()}.count();
  const int64_t frames = frames_in(std::chrono::nanoseconds{length}.count());
  for (std::string part; !(part = starts_.next(1 << 16)).empty();)
    text_ += part;
  const std::vector<sound_start> starts = read_sound_starts(text_);
  const unique_fd recording{open_in_board(board_, "sound/played.wav", O_RDONLY)};
  bool is_written = ::ftruncate(to.get(), frames * frame_bytes) == 0;
  for (size_t i = 0; i < starts.size(); ++i)
    is_written =
        is_written && copy(recording, starts[i], i + 1 < starts.size() ? starts[i + 1].frame : most_frames,
                           to, begin_ns, frames);
  if (!is_written)
    error = std::string{"sound of the film: "} + std::strerror(errno);
  return is_written;
}

} // namespace dravik::sim
