// What the speaker of a board has played since a scenario began.

#include "scenario/followed_sound.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace dravik::sim::scenario {
namespace {

using namespace std::chrono_literals;

constexpr size_t header_bytes = 44;
constexpr size_t frame_bytes = 4;
constexpr uint32_t frames_per_ms = 48;
constexpr size_t part_bytes = 1 << 16;

/// The longest period of stereo at 48 kHz, and some time to record it.
constexpr auto longest_delay = 250ms;

uint16_t level_of(const char *frame) {
  int16_t samples[2];
  std::memcpy(samples, frame, sizeof samples);
  return static_cast<uint16_t>(std::max(std::abs(int{samples[0]}), std::abs(int{samples[1]})));
}

} // namespace

followed_sound::followed_sound(std::string board)
    : file_(std::move(board), "sound/played.wav", 0), last_gain_(clock::now()),
      last_sound_(last_gain_ - std::chrono::hours{24}) {
  look();
}

void followed_sound::add_frame(uint16_t level) {
  if (frames_in_block_ == block_frames) {
    peaks_.push_back(0);
    frames_in_block_ = 0;
  }
  ++frames_in_block_;
  peaks_.back() = std::max(peaks_.back(), level);
  quiet_frames_ = level >= least_sound ? 0 : quiet_frames_ + 1;
}

void followed_sound::add(std::string_view bytes) {
  const uint64_t quiet_before = quiet_frames_;
  for (size_t at = 0; at + frame_bytes <= bytes.size(); at += frame_bytes)
    add_frame(level_of(bytes.data() + at));
  last_gain_ = clock::now();
  if (quiet_frames_ < quiet_before + bytes.size() / frame_bytes)
    last_sound_ = last_gain_ - std::chrono::milliseconds{quiet_frames_ / frames_per_ms};
}

/// A recording that begins again begins with a header.
void followed_sound::look() {
  for (std::string part; !(part = file_.next(part_bytes)).empty();) {
    const uint64_t begin = file_.position() - part.size();
    if (std::exchange(restarts_, file_.restarts()) != file_.restarts())
      rest_.clear();
    part.erase(0, begin < header_bytes ? static_cast<size_t>(header_bytes - begin) : 0);
    rest_ += part;
    add(rest_);
    rest_.erase(0, rest_.size() / frame_bytes * frame_bytes);
  }
}

void followed_sound::begin_search() {
  frames_in_block_ = block_frames;
  begin_ = peaks_.size();
}

void followed_sound::begin() {
  begin_search();
  measured_ = begin_;
  quiet_frames_ = 0;
  last_gain_ = last_sound_ = clock::now();
}

bool followed_sound::find_sound() {
  const auto from = peaks_.begin() + static_cast<std::ptrdiff_t>(begin_);
  const auto found = std::find_if(from, peaks_.end(), [](uint16_t each) { return each >= least_sound; });
  if (found == peaks_.end())
    return false;
  measured_ = static_cast<size_t>(found - peaks_.begin());
  return true;
}

/// A recording without gain for a period has ended; one with gain contains the silence itself.
bool followed_sound::is_silent_for(std::chrono::milliseconds time) const {
  const clock::time_point now = clock::now();
  return quiet_frames_ >= static_cast<uint64_t>(time.count()) * frames_per_ms ||
         (now - last_sound_ >= time && now - last_gain_ >= longest_delay);
}

uint16_t followed_sound::peak() const {
  const auto from = peaks_.begin() + static_cast<std::ptrdiff_t>(measured_);
  return from == peaks_.end() ? uint16_t{0} : *std::max_element(from, peaks_.end());
}

double followed_sound::level_decibels() const {
  constexpr double full_scale = 32768, quietest = -99;
  return peak() == 0 ? quietest : 20 * std::log10(peak() / full_scale);
}

} // namespace dravik::sim::scenario
