// The frames that a board's screen shows, with their times.

#include "film/screen_recorder.hpp"
#include "common/files.hpp"
#include "film/nameless_file.hpp"

#include <algorithm>
#include <cstdio>
#include <pthread.h>
#include <span>

namespace dravik::sim {
namespace {

using namespace std::chrono_literals;

constexpr auto shortest_pause = 8ms;
constexpr int pause_per_cost = 3; ///< a look takes at most a quarter of a core's time

template <class Value> bool put(std::FILE *to, std::span<const Value> values) {
  return values.empty() || std::fwrite(values.data(), values.size_bytes(), 1, to) == 1;
}

template <class Value> bool get(std::FILE *from, std::span<Value> values) {
  return values.empty() || std::fread(values.data(), values.size_bytes(), 1, from) == 1;
}

/// Among the first on a busy machine: a late look makes a late frame.
void request_priority() {
  sched_param priority = {};
  priority.sched_priority = 1;
  ::pthread_setschedparam(::pthread_self(), SCHED_RR, &priority);
}

} // namespace

bool screen_recorder::start(const std::string &directory, std::string &error) {
  unique_fd file = make_nameless_file(directory, error);
  if (!file || !read_screen_image(board_, fresh_, error))
    return false;
  file_.reset(::fdopen(file.get(), "w+b"));
  if (file_ == nullptr) {
    error = tools::system_error(directory);
    return false;
  }
  file.release();
  width_ = fresh_.width;
  height_ = fresh_.height;
  bytes_per_pixel_ = fresh_.bytes_per_pixel;
  begin_ = last_look_ = clock::now();
  frames_.update(fresh_);
  if (!store(begin_)) {
    error = error_;
    return false;
  }
  thread_ = std::thread{[this] { work(); }};
  return true;
}

void screen_recorder::stop() {
  {
    const std::lock_guard lock{mutex_};
    is_stopping_ = true;
  }
  stopping_.notify_one();
  if (thread_.joinable())
    thread_.join();
}

void screen_recorder::work() {
  request_priority();
  std::unique_lock lock{mutex_};
  while (!is_stopping_) {
    const clock::time_point now = clock::now();
    if (!look())
      return;
    const clock::duration cost = clock::now() - now;
    stopping_.wait_until(lock, now + std::max<clock::duration>(shortest_pause, cost * (1 + pause_per_cost)),
                         [this] { return is_stopping_; });
  }
}

/// The screen changed between two looks: half way, as far as is known.
bool screen_recorder::look() {
  const clock::time_point now = clock::now();
  const clock::time_point before = std::exchange(last_look_, now);
  std::string unused;
  if (!read_screen_image(board_, fresh_, unused) || !frames_.update(fresh_))
    return true; // an application may be making its screen
  const screen_image &latest = frames_.latest();
  if (latest.width != width_ || latest.height != height_ || latest.bytes_per_pixel != bytes_per_pixel_) {
    error_ = "the screen has changed its size; the film ends there";
    return false;
  }
  return store(before + (now - before) / 2);
}

bool screen_recorder::store(clock::time_point time) {
  const auto areas = frames_.changes_since(frames_.number() - 1);
  const change made = {std::chrono::nanoseconds{time - begin_}.count(), static_cast<uint32_t>(areas.size())};
  bool is_stored = put(file_.get(), std::span{&made, 1});
  for (const frame_history::area &part : areas)
    is_stored = is_stored && store_area(part);
  if (!is_stored)
    error_ = tools::system_error("frames of the film");
  return is_stored;
}

bool screen_recorder::store_area(const frame_history::area &part) {
  const screen_image &image = frames_.latest();
  bool is_stored = put(file_.get(), std::span{&part, 1});
  for (uint32_t y = part.y; y < part.y + part.height; ++y) {
    const size_t begin = y * image.line_bytes() + size_t{part.x} * image.bytes_per_pixel;
    is_stored =
        is_stored &&
        put(file_.get(), std::span{image.pixels}.subspan(begin, size_t{part.width} * image.bytes_per_pixel));
  }
  return is_stored;
}

void screen_recorder::rewind() {
  std::rewind(file_.get());
  has_next_ = false;
}

bool screen_recorder::read_change() {
  has_next_ = get(file_.get(), std::span{&next_, 1});
  return has_next_;
}

bool screen_recorder::read_area(screen_image &shown) {
  frame_history::area part = {};
  if (!get(file_.get(), std::span{&part, 1}))
    return false;
  bool is_read = true;
  for (uint32_t y = part.y; y < part.y + part.height; ++y) {
    const size_t begin = y * shown.line_bytes() + size_t{part.x} * shown.bytes_per_pixel;
    is_read =
        is_read &&
        get(file_.get(), std::span{shown.pixels}.subspan(begin, size_t{part.width} * shown.bytes_per_pixel));
  }
  return is_read;
}

bool screen_recorder::show(clock::time_point time, screen_image &shown) {
  if (shown.pixels.empty()) {
    shown = {width_, height_, bytes_per_pixel_, false, {}};
    shown.pixels.resize(shown.line_bytes() * height_);
  }
  const int64_t time_ns = std::chrono::nanoseconds{time - begin_}.count();
  while ((has_next_ || read_change()) && next_.time_ns <= time_ns) {
    has_next_ = false;
    for (uint32_t i = 0; i < next_.areas; ++i)
      if (!read_area(shown))
        return false;
  }
  return true;
}

} // namespace dravik::sim
