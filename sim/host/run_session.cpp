// A run of an application that the launcher follows: its start, its reboots, signals to the launcher, its end.

#include "host/run_session.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>

namespace dravik::sim {
namespace {

using namespace std::chrono_literals;

constexpr auto shortest_run = 500ms; ///< between two starts after reboots
constexpr auto patience_at_end = 5s; ///< with an application that is to end

/// Directories whose files grow while an application runs.
constexpr const char *watched[] = {"", "/tmp", "/sound", "/dev"};

/// Rounded up, so that the time is over after the wait.
timespec rest_until(run_session::clock::time_point time) {
  const auto rest = std::max<std::chrono::nanoseconds>(time - run_session::clock::now(), 0ns);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(rest);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((rest - seconds).count())};
}

} // namespace

run_session::run_session(std::string board, std::vector<std::string> run_arguments)
    : board_(std::move(board)), application_(std::move(run_arguments), {}),
      changes_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  sigset_t followed;
  ::sigemptyset(&followed);
  for (const int signal : {SIGCHLD, SIGINT, SIGTERM, SIGHUP})
    ::sigaddset(&followed, signal);
  ::sigprocmask(SIG_BLOCK, &followed, &signals_before_);
  signals_.reset(::signalfd(-1, &followed, SFD_CLOEXEC | SFD_NONBLOCK));
}

run_session::~run_session() {
  if (application_.state() == application_state::running)
    end();
  ::sigprocmask(SIG_SETMASK, &signals_before_, nullptr);
}

bool run_session::start(std::string &error) {
  started_ = clock::now();
  return application_.start(error);
}

/// Again each time: a directory may be new.
void run_session::watch_files() {
  for (const char *directory : watched)
    ::inotify_add_watch(changes_.get(), (board_ + directory).c_str(),
                        IN_CREATE | IN_MODIFY | IN_MOVED_TO | IN_DELETE);
}

void run_session::wait_until(clock::time_point time) {
  watch_files();
  std::array<pollfd, 2> awaited = {{{signals_.get(), POLLIN, 0}, {changes_.get(), POLLIN, 0}}};
  const timespec rest = rest_until(time);
  ::ppoll(awaited.data(), awaited.size(), &rest, nullptr);
  alignas(inotify_event) std::array<char, 4096> block;
  while (::read(changes_.get(), block.data(), block.size()) > 0) {
  }
}

void run_session::read_signals() {
  signalfd_siginfo received;
  while (::read(signals_.get(), &received, sizeof received) == sizeof received)
    is_interrupted_ = is_interrupted_ || received.ssi_signo != SIGCHLD;
}

/// A start that failed is tried again at the next look.
void run_session::look() {
  read_signals();
  application_.collect();
  std::string unused;
  if (application_.state() == application_state::restarting && !is_ending_ &&
      clock::now() - started_ >= shortest_run)
    static_cast<void>(start(unused));
}

/// The keeper of the serial port is the last that writes.
bool run_session::has_ended() const {
  std::error_code code;
  return application_.state() == application_state::ended &&
         !std::filesystem::exists(board_ + "/dev/ttyS0.keeper", code);
}

template <class Condition> bool run_session::await(Condition holds) {
  const clock::time_point deadline = clock::now() + patience_at_end;
  while (look(), !holds())
    if (clock::now() >= deadline)
      return false;
    else
      wait_until(deadline);
  return true;
}

bool run_session::end() {
  const auto is_at_rest = [this] { return application_.state() != application_state::running; };
  is_ending_ = true;
  stop();
  const bool has_ended_by_itself = await(is_at_rest);
  if (!has_ended_by_itself) {
    application_.send(SIGKILL);
    await(is_at_rest);
  }
  if (application_.state() != application_state::none)
    await([this] { return has_ended(); });
  return has_ended_by_itself;
}

} // namespace dravik::sim
