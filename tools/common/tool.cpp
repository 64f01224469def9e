// The parts that all tools have in common.

#include "common/tool.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace dravik::tools {
namespace {

std::string_view running_tool;

void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void complain(const std::string &message) {
  std::fprintf(stderr, "%s: %s\n", std::string{running_tool}.c_str(), in_one_line(message).c_str());
}

bool is_help(std::string_view argument) {
  return argument == "--help" || argument == "-h";
}

std::string overview(const tool &which) {
  const std::string name{which.name};
  std::string text = "Usage: " + name + " COMMAND ...\n\n" + std::string{which.about} + "\nCommands:\n";
  const size_t width = std::ranges::max(which.commands, {}, [](const command *each) {
                         return each->name.size();
                       })->name.size();
  for (const command *each : which.commands)
    text += "  " + std::string{each->name} + std::string(width + 2 - each->name.size(), ' ') +
            std::string{each->summary} + "\n";
  return text + "\n'" + name + " COMMAND --help' describes a command, '" + name +
         " --version'\nprints the version.\n\n" + std::string{which.details};
}

/// The n-th of names that are separated by spaces; empty after the last.
std::string_view name_at(std::string_view names, size_t index) {
  for (; index > 0; --index)
    names.remove_prefix(std::min(names.find(' '), names.size() - 1) + 1);
  return names.substr(0, names.find(' '));
}

size_t count_names(std::string_view names) {
  return names.empty() ? 0 : static_cast<size_t>(std::ranges::count(names, ' ')) + 1;
}

/// An empty path; commands check the other operands, and name what they accept.
bool is_empty_path(std::string_view name, const std::string &operand) {
  constexpr std::string_view paths[] = {"ARCHIVE",  "BOARD", "DIRECTORY", "FILE",
                                        "FILE.png", "IMAGE", "OUT",       "OUT.png"};
  return operand.empty() && std::ranges::find(paths, name) != std::end(paths);
}

bool check_operands(const command &chosen, const std::vector<std::string> &given, std::string &error) {
  const size_t required = count_names(chosen.operands);
  for (size_t i = 0; i < std::min(required, given.size()) && error.empty(); ++i)
    if (const std::string_view name = name_at(chosen.operands, i); is_empty_path(name, given[i]))
      error = "empty " + std::string{name};
  if (!error.empty())
    return false;
  if (given.size() < required)
    error = "missing " + std::string{name_at(chosen.operands, given.size())};
  else if (given.size() - required > chosen.optional_operands)
    error = "extra argument '" + given[required + chosen.optional_operands] + "'";
  return error.empty();
}

outcome run_command(const tool &which, const command &chosen, std::span<const char *const> arguments,
                    std::string &error) {
  std::vector<option_rule> rules = {{"--help", false}, {"-h", false}};
  rules.insert(rules.end(), which.options.begin(), which.options.end());
  rules.insert(rules.end(), chosen.options.begin(), chosen.options.end());
  command_line given;
  const bool is_parsed = given.parse(arguments, rules, chosen.own_operands, error);
  if (given.has("--help") || given.has("-h")) {
    error.clear();
    print(chosen.help);
    return outcome::done;
  }
  if (is_parsed && check_operands(chosen, given.operands(), error))
    return chosen.run(given, error);
  error += "; try '" + std::string{which.name} + " " + std::string{chosen.name} + " --help'";
  return outcome::misused;
}

outcome run(const tool &which, std::span<const char *const> arguments, std::string &error) {
  const std::string hint = "; try '" + std::string{which.name} + " --help'";
  if (arguments.empty())
    return misused(error, "missing COMMAND" + hint);
  const std::string_view first = arguments.front();
  if (is_help(first) || first == "--version") {
    print(is_help(first) ? overview(which) : std::string{which.name} + " " + std::string{version()} + "\n");
    return outcome::done;
  }
  const auto chosen = std::ranges::find(which.commands, first, &command::name);
  if (chosen == which.commands.end())
    return misused(error, "unknown command '" + std::string{first} + "'" + hint);
  const outcome ended = run_command(which, **chosen, arguments.subspan(1), error);
  if (ended == outcome::misused && !error.empty())
    error = std::string{first} + ": " + error;
  return ended;
}

/// Output that did not reach its reader is a failure too.
bool flush_output(std::string &error) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
    return true;
  error = std::string{"standard output: "} + std::strerror(errno);
  return false;
}

} // namespace

std::string_view version() noexcept {
  return DRAVIK_TOOL_VERSION;
}

std::string in_one_line(std::string text) {
  for (char &c : text)
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F')
      c = '?';
  return text;
}

void warn(const std::string &message) {
  complain("warning: " + message);
}

int run_tool(const tool &which, int count, const char *const *arguments) {
  const std::span<const char *const> all{arguments, static_cast<size_t>(count)};
  running_tool = which.name;
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
    complain(error);
  return static_cast<int>(ended);
}

} // namespace dravik::tools
