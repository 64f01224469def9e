// Programs of the host that work on a card's image: dosfstools and mtools.

#include "board/host_tool.hpp"
#include "base/unique_fd.hpp"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
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
  for (const char *directory :
       {"/usr/local/sbin/", "/usr/local/bin/", "/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"})
    if (const std::string candidate = directory + name; ::access(candidate.c_str(), X_OK) == 0)
      return candidate;
  return {};
}

/// Nothing of the application's: its PATH, TZ or MTOOLS_* would change what is on the card. Names of files
/// are UTF-8, and mtools accepts any geometry.
std::vector<std::string> tool_environment() {
  return {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8", "MTOOLS_SKIP_CHECK=1",
          "MTOOLSRC=/dev/null"};
}

std::vector<char *> pointers_to(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  for (std::string &text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// A tool inherits neither ignored nor blocked signals.
class default_signals {
public:
  default_signals() {
    sigset_t signals;
    ::posix_spawnattr_init(&attributes_);
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~default_signals() { ::posix_spawnattr_destroy(&attributes_); }
  default_signals(const default_signals &) = delete;
  default_signals &operator=(const default_signals &) = delete;
  const posix_spawnattr_t *get() const { return &attributes_; }

private:
  posix_spawnattr_t attributes_;
};

pid_t start(const std::string &path, std::vector<std::string> words, int output) {
  std::vector<std::string> variables = tool_environment();
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (output >= 0) {
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  }
  const default_signals signals;
  pid_t child = -1;
  const int error = ::posix_spawn(&child, path.c_str(), &actions, signals.get(), pointers_to(words).data(),
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
