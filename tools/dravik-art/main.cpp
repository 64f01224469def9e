// dravik-art: makes, checks and shows archives of interface artwork.

#include "dravik-art/commands.hpp"
#include "dravik-art/help.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace dravik::art {

namespace {

void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

/// Runs a command on its own words.
outcome run_command(const command &chosen, std::span<const char *const> words, std::string &error) {
  const auto end = std::ranges::find(words, std::string_view{"--"});
  if (std::find(words.begin(), end, std::string_view{"--help"}) != end) {
    print(chosen.help);
    return outcome::done;
  }
  command_line given;
  if (!given.parse(words, chosen.options, error))
    return outcome::misused;
  const size_t operands = given.operands().size();
  if (operands < chosen.fewest_operands || operands > chosen.most_operands) {
    error = operands < chosen.fewest_operands ? "too few arguments" : "too many arguments";
    return outcome::misused;
  }
  return chosen.run(given, error);
}

outcome run(std::span<const char *const> words, std::string &error) {
  if (words.empty()) {
    error = "no command given";
    return outcome::misused;
  }
  const std::string_view first = words.front();
  if (first == "--help" || first == "--version") {
    print(first == "--help" ? tool_help : "dravik-art " DRAVIK_ART_VERSION "\n");
    return outcome::done;
  }
  const auto chosen = std::ranges::find(commands(), first, &command::name);
  if (chosen == commands().end()) {
    error = "unknown command '" + std::string{first} + "'";
    return outcome::misused;
  }
  const outcome ended = run_command(*chosen, words.subspan(1), error);
  if (ended == outcome::misused)
    error = std::string{first} + ": " + error;
  return ended;
}

/// One line, whatever the names of files hold.
void complain(std::string line, outcome why) {
  for (char &c : line)
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F')
      c = '?';
  const char *const advice = why == outcome::misused ? " (--help tells how)" : "";
  std::fprintf(stderr, "dravik-art: %s%s\n", line.c_str(), advice);
}

/// Output that did not reach its reader is a failure too.
bool flush_output(std::string &error) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
    return true;
  error = std::string{"standard output: "} + std::strerror(errno);
  return false;
}

outcome run_and_report(std::span<const char *const> words) {
  std::string error;
  outcome ended = outcome::failed;
  try {
    ended = run(words, error);
  } catch (const std::bad_alloc &) {
    error = "out of memory";
  }
  if (ended != outcome::misused && error.empty() && !flush_output(error))
    ended = outcome::failed;
  if (!error.empty())
    complain(error, ended);
  return ended;
}

} // namespace
} // namespace dravik::art

int main(int argc, char **argv) {
  const std::span<const char *const> words{argv, static_cast<size_t>(argc)};
  return static_cast<int>(dravik::art::run_and_report(words.subspan(argc > 0 ? 1 : 0)));
}
