// The engine on a stage: its calls for threads and time are forwarded to the test, and its thread can
// be held at every step. No device is opened (scripted_alsa.hpp), no real-time priority is needed, no
// time passes.
#pragma once

#include "dravik.h"
#include "sound/scripted_alsa.hpp"
#include "support/board.hpp"
#include "support/log_lines.hpp"
#include "support/stderr_capture.hpp"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace dravik::test {

/// A place that a thread comes by, and where it can be held.
class gate {
public:
  void close();
  void open();
  /// Let so many through, now or later.
  void admit(int count);
  /// Wait until so many have come, since the beginning.
  void await(int arrivals);
  int arrivals();

  void pass();

private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool is_open_ = true;
  int tickets_ = 0;
  int arrivals_ = 0;
};

struct engine_stage {
  gate idle;     ///< about to wait for a request
  gate wake_ups; ///< a request came; the mutex is not taken yet
  gate writes;   ///< frames on their way to the device
  gate errors;   ///< of the MP3 decoder, one for each corrupt frame
  gate pauses;
  gate callers; ///< about to lock the mutex, if announced

  std::vector<unsigned> pauses_us;
  int interruptions = 0; ///< so many times a signal comes instead of a request

  bool is_starting = false; ///< inside snd_init()
  bool has_no_threads = false;
  bool refuses_priority = false;
  int granted_priority = 90;
  std::vector<std::string> calls; ///< about threads
  pthread_t thread = {};
  pthread_mutex_t *mutex = nullptr; ///< the one that the last of these callers locks
};

extern engine_stage stage;

/// This thread passes the gate `callers` before it locks its next mutex.
void announce_lock();
/// The result of each unlocking of a mutex in this thread.
void set_unlock_result(int result);

class engine_fixture : public testing::Test {
protected:
  engine_fixture();
  ~engine_fixture() override;

  /// snd_init() on the stage.
  static int32_t start();

  /// A raw file of so many reads; its samples are its number.
  std::string sound(int number, size_t reads = 1) const;
  static int32_t play(const std::string &path, int32_t stop_current = 0) {
    return snd_play_direct(path.c_str(), stop_current);
  }

  /// Wait until the thread has dealt with so many requests since the engine was started for the first time,
  /// and waits for the next one.
  static void await_served(int count) { stage.idle.await(count + 1); }

  /// The numbers of the sounds, one for each write.
  static std::vector<int> heard();

  /// The log, without the lines of snd_play_direct().
  std::vector<std::string> messages() const;

  board board_;
  stderr_capture errors_;
};

} // namespace dravik::test
