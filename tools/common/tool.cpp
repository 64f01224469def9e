// What all tools do alike.

#include "common/tool.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace dravik::tools {
namespace {

void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

/// Runs a command on its own words.
outcome run_command(const tool &which, const command &chosen, std::span<const char *const> words,
                    std::string &error) {
  const auto end = std::ranges::find(words, std::string_view{"--"});
  if (std::find(words.begin(), end, std::string_view{"--help"}) != end) {
    print(chosen.help);
    return outcome::done;
  }
  std::vector<option_rule> rules{which.options.begin(), which.options.end()};
  rules.insert(rules.end(), chosen.options.begin(), chosen.options.end());
  command_line given;
  if (!given.parse(words, rules, error))
    return outcome::misused;
  const size_t operands = given.operands().size();
  if (operands < chosen.fewest_operands || operands > chosen.most_operands) {
    error = operands < chosen.fewest_operands ? "too few arguments" : "too many arguments";
    return outcome::misused;
  }
  return chosen.run(given, error);
}

outcome run(const tool &which, std::span<const char *const> words, std::string &error) {
  if (words.empty()) {
    error = "no command given";
    return outcome::misused;
  }
  const std::string_view first = words.front();
  if (first == "--help" || first == "--version") {
    print(first == "--help" ? which.help : std::string{which.name} + " " + std::string{which.version} + "\n");
    return outcome::done;
  }
  const auto chosen = std::ranges::find(which.commands, first, &command::name);
  if (chosen == which.commands.end()) {
    error = "unknown command '" + std::string{first} + "'";
    return outcome::misused;
  }
  const outcome ended = run_command(which, *chosen, words.subspan(1), error);
  if (ended == outcome::misused)
    error = std::string{first} + ": " + error;
  return ended;
}

void complain(const tool &which, const std::string &error, outcome why) {
  const char *const advice = why == outcome::misused ? " (--help tells how)" : "";
  std::fprintf(stderr, "%s: %s%s\n", std::string{which.name}.c_str(), in_one_line(error).c_str(), advice);
}

/// Output that did not reach its reader is a failure too.
bool flush_output(std::string &error) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
    return true;
  error = std::string{"standard output: "} + std::strerror(errno);
  return false;
}

} // namespace

std::string in_one_line(std::string text) {
  for (char &c : text)
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F')
      c = '?';
  return text;
}

int run_tool(const tool &which, int count, const char *const *words) {
  const std::span<const char *const> all{words, static_cast<size_t>(count)};
  std::string error;
  outcome ended = outcome::failed;
  try {
    ended = run(which, all.subspan(count > 0 ? 1 : 0), error);
  } catch (const std::bad_alloc &) {
    error = "out of memory";
  }
  if (ended != outcome::misused && error.empty() && !flush_output(error))
    ended = outcome::failed;
  if (!error.empty())
    complain(which, error, ended);
  return static_cast<int>(ended);
}

} // namespace dravik::tools
