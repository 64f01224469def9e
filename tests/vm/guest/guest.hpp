// What the tests of the virtual machines share: requests to the host, and the files of the guest.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace dravik::vm {

/// Send a request to the host and wait for its answer: "ok", or the reason why not.
std::string ask(const std::string &request);
/// Send a request that ends the machine. Does not return.
[[noreturn]] void end_by(const std::string &request);

/// Whether the panel shows these pixels; waits for it.
std::string panel_shows(std::span<const uint16_t> pixels);

/// Run a shell command and return its exit status, 128 + N after signal N.
int run(const std::string &command);
/// Run a shell command and return its standard output.
std::string output_of(const std::string &command);

bool exists(const std::string &path);
/// Return a file up to its end or the first error; empty if it cannot be opened.
std::string read_text(const std::string &path);
/// Write in one call. Returns false on failure.
bool write_text(const std::string &path, const std::string &text);
std::vector<std::string> lines_of(const std::string &text);

/// Set an input of the test driver.
bool control(const std::string &command);
/// Return what the devices were asked to do since clear_events().
std::vector<std::string> events();
void clear_events();

constexpr std::chrono::seconds patience{10};

/// Wait until a condition holds. Returns false after ten seconds.
template <class Condition> bool wait_until(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds{2});
  }
  return true;
}

} // namespace dravik::vm
