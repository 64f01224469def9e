// Protection of the host against test programs.

#include "support/simulator_guard.hpp"
#include "board/board_table.hpp"
#include "board/use_board.h"
#include "confinement/boundary.hpp"
#include "support/board.hpp"
#include "support/harmful_calls.hpp"
#include "support/leak_on_purpose.hpp"
#include "support/paths.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <link.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {
namespace {

constexpr const char *nowhere = "/dev/null/no-board";
constexpr const char *probe = "/usr/local/dravik/simulator-probe";
constexpr std::string_view simulator = "libdravik-sim.so";

[[noreturn]] void die(const std::string &why) {
  std::fprintf(stderr, "%s\n", why.c_str());
  std::exit(EXIT_FAILURE);
}

// ------------------------------------------------------------------------------------------- the kernel

/// A rule of Landlock holds for all that is below a directory: so the others at the top are named.
std::vector<std::string> directories_of_tests() {
  std::vector<std::string> directories;
  std::error_code code;
  for (const auto &entry : std::filesystem::directory_iterator{"/", code}) {
    const std::string name = entry.path().string();
    if (name != "/dev" && name != "/proc" && name != "/sys" && entry.is_directory(code))
      directories.push_back(name);
  }
  return directories;
}

/// Where boards are made, and where tmpfile() makes its files wherever that is.
std::string temporary_directories() {
  std::error_code code;
  return std::filesystem::temp_directory_path(code).string() + ":/tmp";
}

// ------------------------------------------------------------------------------------------- the loader

/// The object that defines a name, by the loader and the address.
struct definition {
  void *base = nullptr;
  std::string object;
};

definition definition_at(void *address) {
  Dl_info found;
  if (address == nullptr || ::dladdr(address, &found) == 0)
    return {};
  return {found.dli_fbase, found.dli_fname};
}

std::string_view file_name(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

/// Sanitizers have a definition before all others and hand on to the next one.
bool is_sanitizer(std::string_view object) {
  return file_name(object).starts_with("libasan.so") || file_name(object).starts_with("libtsan.so");
}

/// The definition that an object has of its own; empty if it has none.
definition own_definition(const link_map &object, const char *name) {
  const leak_on_purpose of_the_loader; // its lists, in programs with a malloc() of their own
  void *handle = ::dlopen(object.l_name, RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr)
    return {};
  const definition found = definition_at(::dlsym(handle, name)); // the object's own come first
  ::dlclose(handle);
  return found.object == object.l_name ? found : definition{};
}

definition first_definition(const char *name) {
  const definition first = definition_at(::dlsym(RTLD_DEFAULT, name));
  if (!is_sanitizer(first.object))
    return first;
  for (const link_map *object = _r_debug.r_map; object != nullptr; object = object->l_next)
    if (!is_sanitizer(object->l_name) && *object->l_name != '\0')
      if (definition found = own_definition(*object, name); found.base != nullptr)
        return found;
  return {};
}

bool simulator_defines(const char *name) {
  for (const link_map *object = _r_debug.r_map; object != nullptr; object = object->l_next)
    if (file_name(object->l_name) == simulator)
      return own_definition(*object, name).base != nullptr;
  return false;
}

// ------------------------------------------------------------------------------------------- the simulator

bool probe_is_seen() {
  const int descriptor = ::open(probe, O_RDONLY);
  if (descriptor >= 0)
    ::close(descriptor);
  std::FILE *stream = std::fopen(probe, "r");
  if (stream != nullptr)
    std::fclose(stream);
  return descriptor >= 0 && stream != nullptr && ::access(probe, F_OK) == 0;
}

/// Whether a path leads to the file of the board, or to no file if a new board has none.
bool leads_to_board(const board &board, const sim::board_entry &entry) {
  struct stat seen, own;
  const std::string path{entry.path};
  if (::lstat(board.path(path).c_str(), &own) != 0)
    return ::lstat(path.c_str(), &seen) != 0;
  return ::lstat(path.c_str(), &seen) == 0 && seen.st_dev == own.st_dev && seen.st_ino == own.st_ino;
}

/// Return the first path of the board's table that leads to the host, else an empty text.
std::string path_to_host(const board &board) {
  for (const sim::board_entry &entry : sim::board_table)
    if (is_path_of_applications(entry) && !leads_to_board(board, entry))
      return std::string{entry.path};
  return {};
}

void require_simulated(const char *call) {
  const std::string reason = why_not_simulated(call);
  if (!reason.empty())
    die(reason + ": link dravik_test_support before all other libraries.");
}

} // namespace

void guard_host() {
  sim::boundary_rules rules;
  const char *current = ::dravik_sim_board();
  const std::string before = current != nullptr ? current : nowhere;
  ::dravik_sim_use_board(nullptr); // the host's own directories, also in a child on a board
  rules.writable = directories_of_tests();
  rules.reaction = sim::forbidden_call::kills;
  const sim::boundary granted = sim::enter_boundary(rules);
  ::dravik_sim_use_board(before.c_str());
  if (!granted.calls_are_filtered && !granted.capabilities_are_dropped)
    die("This kernel cannot keep a test off this machine: it has no seccomp filter, and capabilities stay.");
}

std::string why_not_simulated(const char *call) {
  const definition program = definition_at(reinterpret_cast<void *>(&die));
  const definition first = first_definition(call);
  const bool is_answered = file_name(first.object) == simulator || first.base == program.base;
  return is_answered ? ""
                     : std::string{call} + "() is not the simulator's but that of " +
                           (first.object.empty() ? "nobody" : first.object);
}

void require_simulator() {
  for (const char *call : harmful_calls)
    require_simulated(call);
  for (const char *call : other_harmful_calls)
    if (simulator_defines(call))
      require_simulated(call);
  offer_sound_card(sound_card_directory);
  ::dravik_sim_use_host_directories(temporary_directories().c_str());
  const char *current = ::dravik_sim_board();
  const std::string before = current != nullptr ? current : nowhere;
  bool in_charge;
  std::string stray_path;
  {
    const board probed;
    probed.write(probe, "");
    in_charge = probe_is_seen();
    stray_path = path_to_host(probed);
  }
  ::dravik_sim_use_board(before.c_str());
  if (!in_charge)
    die("The simulator is not in charge of this program: link dravik_test_support before all other "
        "libraries.");
  if (!stray_path.empty())
    die(stray_path + ": is not that of the board but of this machine.");
}

} // namespace dravik::test
