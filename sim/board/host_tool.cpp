// Programs of the host that work on a card's image: dosfstools and mtools.

#include "board/host_tool.hpp"
#include "base/unique_fd.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sstream>
#include <string_view>
#include <sys/wait.h>

namespace dravik::sim {
namespace {

constexpr std::array<std::pair<const char *, const char *>, 5> card_tools = {{
    {"mkfs.vfat", "dosfstools"},
    {"fsck.fat", "dosfstools"},
    {"mcopy", "mtools"},
    {"mdir", "mtools"},
    {"mdeltree", "mtools"},
}};

std::string find_tool(const std::string &name) {
  const char *path = std::getenv("PATH");
  std::istringstream directories{std::string{path != nullptr ? path : ""} + ":/usr/sbin:/sbin:/usr/bin:/bin"};
  for (std::string directory; std::getline(directories, directory, ':');) {
    const std::string candidate = directory + "/" + name;
    if (directory.starts_with('/') && ::access(candidate.c_str(), X_OK) == 0)
      return candidate;
  }
  return {};
}

/// Without the simulator; the names of files in UTF-8 and no word about the shape of disks, for mtools.
std::vector<std::string> tool_environment() {
  constexpr std::string_view left_out[] = {"LD_PRELOAD=", "DRAVIK_BOARD=", "LC_ALL=", "MTOOLS"};
  std::vector<std::string> variables = {"LC_ALL=C.UTF-8", "MTOOLS_SKIP_CHECK=1", "MTOOLSRC=/dev/null"};
  for (char **variable = environ; *variable != nullptr; ++variable)
    if (std::ranges::none_of(
            left_out, [=](std::string_view start) { return std::string_view{*variable}.starts_with(start); }))
      variables.emplace_back(*variable);
  return variables;
}

std::vector<char *> pointers_to(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  for (std::string &text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

pid_t start(const std::string &path, std::vector<std::string> words, int output) {
  std::vector<std::string> variables = tool_environment();
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (output >= 0) {
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  }
  pid_t child = -1;
  const int error = ::posix_spawn(&child, path.c_str(), &actions, nullptr, pointers_to(words).data(),
                                  pointers_to(variables).data());
  ::posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? child : -1;
}

void read_all(int from, std::string &text) {
  std::array<char, 4096> block;
  ssize_t count;
  while ((count = ::read(from, block.data(), block.size())) > 0)
    text.append(block.data(), static_cast<size_t>(count));
}

} // namespace

int run_tool(const std::vector<std::string> &words, std::string *said) {
  const std::string path = find_tool(words.front());
  std::array<int, 2> ends = {-1, -1};
  if (path.empty() || (said != nullptr && ::pipe2(ends.data(), O_CLOEXEC) != 0))
    return -1;
  const unique_fd from{ends[0]};
  unique_fd to{ends[1]};
  const pid_t child = start(path, words, to.get());
  to.reset();
  if (said != nullptr)
    read_all(from.get(), *said);
  int status = -1;
  return child > 0 && ::waitpid(child, &status, 0) == child ? status : -1;
}

std::string lacking_card_tools() {
  std::string lacking;
  for (const auto &[tool, package] : card_tools)
    if (find_tool(tool).empty())
      lacking += std::string{lacking.empty() ? "" : ", "} + tool + " (package " + package + ")";
  return lacking;
}

} // namespace dravik::sim
