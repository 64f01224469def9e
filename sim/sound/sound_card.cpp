// The sound card: a buffer that is played in real time.

#include "sound/sound_card.hpp"
#include "board/board_files.hpp"
#include "board/mixer.hpp"
#include "board/timeline.hpp"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <fcntl.h>
#include <sys/timerfd.h>

namespace dravik::sim {
namespace {

constexpr int64_t second_ns = 1'000'000'000;

timespec to_timespec(int64_t time_ns) noexcept {
  return {static_cast<time_t>(time_ns / second_ns), static_cast<long>(time_ns % second_ns)};
}

bool is_on_board() noexcept {
  return static_cast<bool>(unique_fd{open_board_file("board.conf", O_RDONLY)});
}

} // namespace

int sound_card::ordered(request_name request) const noexcept {
  const int fault = injected_fault(request, sound_card_name);
  if (fault != 0)
    record_event("sound: %s fails (injected)", request.text);
  return -fault;
}

int sound_card::open() noexcept {
  if (!is_on_board())
    return -ENODEV;
  if (const int fault = ordered("open"); fault != 0)
    return fault;
  settings_ = read_card_settings();
  timer_.reset(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
  return timer_ ? recording_.open() : -errno;
}

void sound_card::close() noexcept {
  stop();
  if (buffer_frames_ == 0)
    return;
  record_event("sound: %" PRIu64 " frames played", all_played_);
  if (all_dropped_ != 0)
    record_event("sound: %" PRIu64 " frames dropped", all_dropped_);
}

int sound_card::configure(const sound_format &format, uint64_t period_frames,
                          uint64_t buffer_frames) noexcept {
  if (const int fault = ordered("params"); fault != 0)
    return fault;
  const uint64_t samples = buffer_frames * format.channels;
  if (samples == 0 || samples > longest_buffer_samples || period_frames == 0 || format.rate_hz == 0)
    return -EINVAL; // ALSA finds no configuration if an application leaves rate and channels open
  format_ = format;
  period_frames_ = period_frames;
  buffer_frames_ = buffer_frames;
  recording_.set_format(format);
  record_event("sound: open %" PRIu32 " Hz %" PRIu32 " channel%s, period %" PRIu64 ", buffer %" PRIu64,
               format.rate_hz, format.channels, format.channels == 1 ? "" : "s", period_frames,
               buffer_frames);
  return 0;
}

int sound_card::prepare() noexcept {
  stop();
  written_ = played_ = recorded_ = 0;
  return ordered("prepare");
}

void sound_card::start() noexcept {
  start_ns_ = monotonic_ns();
  running_ = true;
  if (settings_.records_speaker && records_gaps())
    recording_.add_silence_until(start_ns_ - timeline_begin_ns());
  if (settings_.records_speaker)
    recording_.note_start(start_ns_);
  const int64_t rate = format_.rate_hz;
  // Rounded up, so that the period is over when the timer expires.
  const int64_t period_ns = (static_cast<int64_t>(period_frames_) * second_ns + rate - 1) / rate;
  if (settings_.keeps_time)
    set_timer(start_ns_ + period_ns, period_ns);
  else
    set_timer(1, 0); // already expired: there is always space
}

void sound_card::stop() noexcept {
  position(true);
  running_ = false;
  starved_ = false;
  set_timer(0, 0);
  record_played();
  all_dropped_ += written_ - played_;
  written_ = played_;
}

int64_t sound_card::write(const int16_t *samples, size_t frames) noexcept {
  if (const int fault = ordered("write"); fault != 0)
    return fault;
  starved_ = starved_ || take_injected_fault("underrun", sound_card_name);
  if (!settings_.records_speaker)
    recording_.add({samples, frames * format_.channels}, 1);
  record_played();
  store(samples, frames);
  return static_cast<int64_t>(frames);
}

int64_t sound_card::position(bool draining) noexcept {
  if (!running_)
    return static_cast<int64_t>(played_);
  const uint64_t due = due_frames();
  if (!draining && (starved_ || (due >= written_ && settings_.keeps_time))) {
    end_by_underrun();
    return -EPIPE;
  }
  played_ = std::min(due, written_);
  return static_cast<int64_t>(played_);
}

/// The timer continues, to wake up those who wait for space.
void sound_card::end_by_underrun() noexcept {
  played_ = written_;
  running_ = false;
  record_played();
  record_event("sound: underrun");
}

/// Return the number of frames due by the clock.
uint64_t sound_card::due_frames() const noexcept {
  if (!settings_.keeps_time)
    return written_;
  const int64_t passed_ns = monotonic_ns() - start_ns_;
  const int64_t rate = format_.rate_hz;
  return static_cast<uint64_t>(passed_ns / second_ns * rate + passed_ns % second_ns * rate / second_ns);
}

void sound_card::set_timer(int64_t first_ns, int64_t period_ns) noexcept {
  const itimerspec times = {to_timespec(period_ns), to_timespec(first_ns)};
  ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &times, nullptr);
}

void sound_card::read_period_timer() const noexcept {
  uint64_t periods = 0;
  if (settings_.keeps_time && ::read(timer_.get(), &periods, sizeof periods) < 0)
    return; // read already
}

void sound_card::store(const int16_t *samples, size_t frames) noexcept {
  for (size_t left = frames; left > 0;) {
    const uint64_t place = written_ % buffer_frames_;
    const auto run = static_cast<size_t>(std::min<uint64_t>(left, buffer_frames_ - place));
    std::copy_n(samples, run * format_.channels, buffer_ + place * format_.channels);
    samples += run * format_.channels;
    written_ += run;
    left -= run;
  }
}

void sound_card::record_played() noexcept {
  if (recorded_ == played_)
    return;
  all_played_ += played_ - recorded_;
  const double gain = settings_.records_speaker ? speaker_gain(board_text{"sound/mixer"}) : 0;
  while (recorded_ < played_) {
    const uint64_t place = recorded_ % buffer_frames_;
    const auto run = static_cast<size_t>(std::min(played_ - recorded_, buffer_frames_ - place));
    if (settings_.records_speaker)
      recording_.add({buffer_ + place * format_.channels, run * format_.channels}, gain);
    recorded_ += run;
  }
}

} // namespace dravik::sim
