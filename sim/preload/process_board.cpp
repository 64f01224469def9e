// State of a simulated process from its start. The environment is read once and copied: the
// application may change or clear it.

#include "preload/process_board.hpp"
#include "base/unique_fd.hpp"
#include "board/preserve_errno.hpp"
#include "board/reboot_status.hpp"
#include "board/settings_text.hpp"
#include "board/use_board.h"
#include "preload/shell_commands.hpp"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr std::string_view preload_name = "LD_PRELOAD=";
constexpr std::string_view simulator_names[] = {
    preload_name,        "DRAVIK_BOARD=",    "DRAVIK_WRITABLE=",
    "ALSA_CONFIG_PATH=", "ALSA_PLUGIN_DIR=", "DRAVIK_APPLICATION="};
constexpr std::string_view separators_of_loader = " :";

/// Location of the launcher, relative to this library: in the build tree and when installed.
constexpr const char *launcher_places[] = {"../bin", DRAVIK_SIM_PROGRAM_FROM_LIBRARY};

/// A variable of the environment, name and all.
template <size_t Size> struct variable {
  char text[Size] = {};
  size_t name_length = 0;

  /// Set name and value from parts; empty if they do not fit.
  void set(std::initializer_list<std::string_view> parts) noexcept {
    char *end = text;
    for (const std::string_view part : parts) {
      if (part.size() >= static_cast<size_t>(text + sizeof text - end)) {
        end = text;
        break;
      }
      end = std::copy(part.begin(), part.end(), end);
    }
    *end = '\0';
    name_length = std::string_view{text}.find('=') + 1;
  }
  const char *value() const noexcept { return text + name_length; }
};

/// Identity of a file, regardless of its name.
struct file_place {
  uint64_t device = 0;
  uint64_t number = 0;
  bool operator==(const file_place &) const = default;
};

struct process {
  bool is_known = false;
  bool is_on_board = false;
  file_place place; ///< of the board's directory
  variable<longest_path + 16> board;
  variable<longest_list> host_directories;
  variable<longest_path + 32> sound_configuration;
  variable<longest_path + 32> sound_plugins;
  variable<longest_list> preload;
  variable<64> application;
  char first_directory[longest_path] = {}; ///< the working directory at the start
  char library[longest_path] = {};         ///< as it was loaded
  char launcher[longest_path] = {};
  char runner[longest_path] = {};
};
constinit process self;

const char *own_name() noexcept {
  Dl_info library;
  return ::dladdr(reinterpret_cast<const void *>(&own_name), &library) != 0 ? library.dli_fname : "";
}

/// Set an absolute path of the host, without the path map.
void name_library() noexcept {
  const char *name = own_name();
  char here[longest_path] = {};
  if (*name != '/' && ::syscall(SYS_getcwd, here, sizeof here) <= 0)
    return;
  if (std::snprintf(self.library, sizeof self.library, *name == '/' ? "%s%s" : "%s/%s", here, name) >=
      static_cast<int>(sizeof self.library))
    self.library[0] = '\0';
}

bool is_there(const char *path) noexcept {
  return ::syscall(SYS_faccessat, AT_FDCWD, path, X_OK) == 0;
}

void name_files_beside() noexcept {
  const char *slash = std::strrchr(self.library, '/');
  const int length = slash != nullptr ? static_cast<int>(slash - self.library) : 0;
  const std::string_view place{self.library, static_cast<size_t>(length)};
  self.sound_configuration.set({"ALSA_CONFIG_PATH=", place, "/dravik-sim/asound.conf"});
  self.sound_plugins.set({"ALSA_PLUGIN_DIR=", place, "/dravik-sim"});
  std::snprintf(self.runner, sizeof self.runner, "%.*s/dravik-sim/board-command", length, self.library);
  for (const char *beside : launcher_places) {
    std::snprintf(self.launcher, sizeof self.launcher, "%.*s/%s/dravik-sim", length, self.library, beside);
    if (is_there(self.launcher))
      return;
  }
  self.launcher[0] = '\0';
}

// ------------------------------------------------------------------------------------------ LD_PRELOAD

bool is_this_library(std::string_view name) noexcept {
  return name == self.library || name == own_name();
}

/// Append this library to a list: a sanitizer must be first. Return the length, 0 if it does not fit.
size_t list_libraries(std::string_view others, char (&into)[longest_list]) noexcept {
  char *end = std::copy(preload_name.begin(), preload_name.end(), into);
  const auto add = [&](std::string_view name) {
    if (name.size() + 2 > static_cast<size_t>(into + sizeof into - end))
      return false;
    end = std::copy(name.begin(), name.end(), end);
    *end++ = ':';
    return true;
  };
  while (!others.empty()) {
    const size_t end_of_name = std::min(others.find_first_of(separators_of_loader), others.size());
    const std::string_view name{others.data(), end_of_name};
    others.remove_prefix(std::min(name.size() + 1, others.size()));
    if (!name.empty() && !is_this_library(name) && !add(name))
      return 0;
  }
  if (!add(self.library))
    return 0;
  *--end = '\0';
  return static_cast<size_t>(end - into);
}

// ------------------------------------------------------------------------------------------ the application

constexpr int pause_before_kill_ms = 2000;

/// A process is identified by its number and start time.
struct process_name {
  pid_t number = 0;
  uint64_t start = 0;
};

/// Read the 22nd field of its line, counted after the name, which may contain anything.
uint64_t start_of(pid_t number) noexcept {
  char path[32];
  char text[1024];
  std::snprintf(path, sizeof path, "/proc/%d/stat", number);
  const unique_fd file{static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_CLOEXEC, 0))};
  const ssize_t length = file ? ::pread(file.get(), text, sizeof text, 0) : 0;
  std::string_view rest{text, static_cast<size_t>(std::max<ssize_t>(length, 0))};
  rest.remove_prefix(std::min(rest.rfind(')'), rest.size()));
  for (int field = 2; field < 22; ++field)
    take_until(rest, ' ');
  uint64_t start = 0;
  read_number(take_until(rest, ' '), start);
  return start;
}

process_name named_application() noexcept {
  std::string_view text = self.application.value();
  process_name name;
  read_number(take_until(text, ':'), name.number);
  read_number(text, name.start);
  return name;
}

void name_application(const char *given) noexcept {
  self.application.set({"DRAVIK_APPLICATION=", given});
  if (named_application().start != 0)
    return;
  char own[48];
  std::snprintf(own, sizeof own, "%d:%llu", ::getpid(),
                static_cast<unsigned long long>(start_of(::getpid())));
  self.application.set({"DRAVIK_APPLICATION=", own});
}

int reboot_signal() noexcept {
  return SIGRTMAX - 3;
}

[[noreturn]] void end_by_reboot(int) noexcept {
  ::_exit(reboot_status);
}

/// Wait for a child that reboots the board.
void await_reboot() noexcept {
  struct sigaction action = {};
  action.sa_handler = end_by_reboot;
  ::sigaction(reboot_signal(), &action, nullptr);
}

// ------------------------------------------------------------------------------------------ the start

int open_board_directory() noexcept {
  return static_cast<int>(
      ::syscall(SYS_openat, AT_FDCWD, self.board.value(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0));
}

file_place place_of(int descriptor) noexcept {
  struct statx status = {};
  if (descriptor < 0 || ::syscall(SYS_statx, descriptor, "", AT_EMPTY_PATH, STATX_INO, &status) != 0)
    return {};
  return {uint64_t{status.stx_dev_major} << 32 | status.stx_dev_minor, status.stx_ino};
}

void set_board(const char *directory) noexcept {
  self.is_on_board = directory != nullptr && *directory != '\0';
  if (!self.is_on_board)
    return;
  await_reboot();
  const bool is_usable = *directory == '/' && std::strlen(directory) < longest_path;
  self.board.set({"DRAVIK_BOARD=", is_usable ? directory : "/dev/null"});
  const unique_fd board{open_board_directory()};
  self.place = place_of(board.get());
}

const char *value_in_environment(const char *name) noexcept {
  const char *value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// When the library is loaded, or at a call from before that.
const process &known_process() noexcept {
  if (self.is_known)
    return self;
  const preserve_errno unchanged;
  self.is_known = true;
  name_library();
  name_files_beside();
  set_board(std::getenv("DRAVIK_BOARD"));
  dravik_sim_use_host_directories(std::getenv("DRAVIK_WRITABLE"));
  if (list_libraries(value_in_environment("LD_PRELOAD"), self.preload.text) == 0)
    self.preload.set({"LD_PRELOAD=", self.library});
  name_application(value_in_environment("DRAVIK_APPLICATION"));
  if (::syscall(SYS_getcwd, self.first_directory, sizeof self.first_directory) <= 0)
    self.first_directory[0] = '\0';
  return self;
}

[[gnu::constructor]] void look_at_start() noexcept {
  known_process();
}

bool is_inside(std::string_view path, std::string_view directory) noexcept {
  while (directory.ends_with('/'))
    directory.remove_suffix(1);
  return !directory.empty() && path.starts_with(directory) &&
         (path.size() == directory.size() || path[directory.size()] == '/');
}

/// Only such directories: the working directory may be / or /tmp itself, which is the board's.
bool is_below_tmp(std::string_view directory) noexcept {
  return directory.starts_with("/tmp/") && directory.size() > 5;
}

bool is_of_simulator(std::string_view given) noexcept {
  return std::ranges::any_of(simulator_names, [=](std::string_view name) { return given.starts_with(name); });
}

} // namespace

const char *board_directory() noexcept {
  const process &known = known_process();
  return known.is_on_board ? known.board.value() : nullptr;
}

bool is_left_to_host(std::string_view path) noexcept {
  const process &known = known_process();
  if (is_below_tmp(known.first_directory) && is_inside(path, known.first_directory))
    return true;
  std::string_view directories = known.host_directories.value();
  while (!directories.empty())
    if (is_inside(path, take_until(directories, ':')))
      return true;
  return false;
}

const char *command_runner() noexcept {
  return known_process().runner;
}

const char *launcher() noexcept {
  return known_process().launcher;
}

size_t count_variables(char *const *given) noexcept {
  size_t count = 0;
  while (given != nullptr && given[count] != nullptr)
    ++count;
  return count;
}

/// The loader splits its list at spaces and colons, and expands names that begin with a dollar sign.
bool can_be_preloaded() noexcept {
  const std::string_view library = known_process().library;
  return !library.empty() && library.find_first_of(" :$") == std::string_view::npos;
}

bool find_board(char (&path)[longest_path]) noexcept {
  const preserve_errno unchanged;
  const unique_fd directory{open_board_directory()};
  char link[32];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", directory.get());
  const long length = directory ? ::syscall(SYS_readlinkat, AT_FDCWD, link, path, sizeof path - 1) : 0;
  path[length > 0 ? length : 0] = '\0';
  return path[0] == '/' && self.place != file_place{} && place_of(directory.get()) == self.place;
}

void add_board_variables(char *const *given, char **into, child_variables &texts) noexcept {
  known_process();
  const size_t count = count_variables(given);
  const char *libraries = nullptr;
  for (size_t i = 0; i < count; ++i)
    if (std::string_view{given[i]}.starts_with(preload_name))
      libraries = given[i] + preload_name.size();
    else if (!is_of_simulator(given[i]))
      *into++ = given[i];
  const bool is_listed = libraries != nullptr && list_libraries(libraries, texts.preload) > 0;
  *into++ = is_listed ? texts.preload : self.preload.text;
  *into++ = self.board.text;
  *into++ = self.host_directories.text;
  *into++ = self.sound_configuration.text;
  *into++ = self.sound_plugins.text;
  *into++ = self.application.text;
  *into = nullptr;
}

void drop_board_variables(char *const *given, char **into) noexcept {
  const size_t count = count_variables(given);
  *std::copy_if(given, given + count, into, [](const char *variable) { return !is_of_simulator(variable); }) =
      nullptr;
}

void end_application() noexcept {
  const process_name application = named_application();
  if (application.start == 0 || application.number == ::getpid())
    return;
  const unique_fd process{static_cast<int>(::syscall(SYS_pidfd_open, application.number, 0))};
  if (!process || start_of(application.number) != application.start)
    return;
  ::syscall(SYS_pidfd_send_signal, process.get(), reboot_signal(), nullptr, 0);
  pollfd end = {process.get(), POLLIN, 0};
  if (::poll(&end, 1, pause_before_kill_ms) == 0) // it has the signal blocked, or handles it itself
    ::syscall(SYS_pidfd_send_signal, process.get(), SIGKILL, nullptr, 0);
}

} // namespace dravik::sim

using dravik::sim::known_process;
using dravik::sim::self;

extern "C" {

[[gnu::visibility("default")]] void dravik_sim_use_board(const char *directory) {
  known_process();
  dravik::sim::set_board(directory);
}

[[gnu::visibility("default")]] void dravik_sim_use_host_directories(const char *directories) {
  known_process();
  self.host_directories.set({"DRAVIK_WRITABLE=", directories != nullptr ? directories : ""});
}

[[gnu::visibility("default")]] const char *dravik_sim_board(void) {
  return dravik::sim::board_directory();
}

} // extern "C"
