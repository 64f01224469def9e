// Programs of the host that work on a card's image: dosfstools and mtools.

#include "host/host_tool.hpp"
#include "base/unique_fd.hpp"
#include "board/use_board.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

// Null in programs that are not on a board.
#pragma weak dravik_sim_use_board

namespace dravik::sim {
namespace {

constexpr int not_found = 127; ///< as in a shell

constexpr std::array<std::pair<const char *, const char *>, 5> card_tools = {{
    {"mkfs.vfat", "dosfstools"},
    {"fsck.fat", "dosfstools"},
    {"mcopy", "mtools"},
    {"mdir", "mtools"},
    {"mdeltree", "mtools"},
}};

std::string find_tool(const std::string &name) {
  for (const char *directory :
       {"/usr/local/sbin/", "/usr/local/bin/", "/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"})
    if (std::string candidate = directory + name; ::access(candidate.c_str(), X_OK) == 0)
      return candidate;
  return {};
}

/// No variable of the application: PATH, TZ or MTOOLS_* would change the card. Names of files are UTF-8,
/// and mtools accepts any geometry.
std::vector<std::string> tool_environment() {
  return {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8", "MTOOLS_SKIP_CHECK=1",
          "MTOOLSRC=/dev/null"};
}

std::vector<char *> pointers_to(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string &text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// The child leaves the board, if its program is simulated.
[[noreturn]] void become(const std::string &path, char *const *words, char *const *variables, int output) {
  const int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  ::dup2(input, STDIN_FILENO);
  if (output >= 0) {
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
  }
  set_default_signals();
  if (dravik_sim_use_board != nullptr)
    dravik_sim_use_board(nullptr);
  ::execve(path.c_str(), words, variables);
  ::_exit(not_found);
}

pid_t start(const std::string &path, std::vector<std::string> words, int output) {
  std::vector<std::string> variables = tool_environment();
  const std::vector<char *> word_list = pointers_to(words);
  const std::vector<char *> variable_list = pointers_to(variables);
  const pid_t child = ::fork();
  if (child == 0)
    become(path, word_list.data(), variable_list.data(), output);
  return child;
}

void read_all(int from, std::string &text) {
  std::array<char, 4096> block;
  ssize_t count;
  while ((count = ::read(from, block.data(), block.size())) > 0)
    text.append(block.data(), static_cast<size_t>(count));
}

} // namespace

void set_default_signals() {
  for (int signal = 1; signal < NSIG; ++signal)
    ::signal(signal, SIG_DFL);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

int run_tool(const std::vector<std::string> &words, std::string *output) {
  const std::string path = find_tool(words.front());
  std::array<int, 2> ends = {-1, -1};
  if (path.empty() || (output != nullptr && ::pipe2(ends.data(), O_CLOEXEC) != 0))
    return -1;
  const unique_fd from{ends[0]};
  unique_fd to{ends[1]};
  const pid_t child = start(path, words, to.get());
  to.reset();
  if (output != nullptr)
    read_all(from.get(), *output);
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
