// "run": an application in the place of this process, inside the boundary, with the preload library and
// the board in its environment.

#include "board/timeline.hpp"
#include "host/board_directory.hpp"
#include "launcher/commands.hpp"
#include "launcher/executable.hpp"
#include "launcher/run_boundary.hpp"
#include "launcher/serial_keeper.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace dravik::sim {
namespace {

constexpr std::string_view run_help =
    R"(Usage: dravik-sim run BOARD [OPTION ...] -- APP [ARGUMENT ...]
       dravik-sim run --explain BOARD [OPTION ...]

Run an application on a simulated board.

APP replaces the dravik-sim process: it receives signals directly, and its
exit status is returned. APP is a dynamically linked program, or a script
whose interpreter is one; without a slash it is searched for in PATH. APP and
its children see the board's files at the fixed paths.

Sound played on the ALSA card 'default' is appended to
BOARD/sound/played.wav. The serial port /dev/ttyS0 is a terminal: its output
is appended to BOARD/console; its input is what is written to
BOARD/dev/ttyS0.in.

The kernel confines APP and its children, also for root: they cannot reboot
the host, mount, set its clock, open its devices, or write outside BOARD, the
working directory and the directories named.

Options:
  --writable DIR   let APP also write in DIR; may be repeated
  --local-sockets  let APP use local sockets (AF_UNIX), through which services
                   of the host can be reached
  --trust          run APP without a warning, and as root, even if the kernel
                   cannot confine it
  --explain        print what is confined on this machine, and by what

Examples:
  dravik-sim run desk -- ./first
  dravik-sim run desk -- cat /tmp/dravik.log
  dravik-sim run desk -- stty -F /dev/ttyS0 -a
  dravik-sim run desk -- gdb ./first
  dravik-sim run --explain desk

Exit status: that of APP; 1 if it cannot be started; 2 on a usage error
)";

constexpr option_rule run_options[] = {
    {"--writable", true, true}, {"--local-sockets", false}, {"--trust", false}, {"--explain", false}};

namespace files = std::filesystem;

/// Location of the preload library, relative to this program: in the build tree and when installed.
constexpr const char *library_directories[] = {"../lib", DRAVIK_SIM_LIBRARY_FROM_PROGRAM};

std::string find_library() {
  std::error_code code;
  const files::path own = files::read_symlink("/proc/self/exe", code).parent_path();
  for (const char *directory : library_directories) {
    const files::path candidate = files::weakly_canonical(own / directory / "libdravik-sim.so", code);
    if (files::is_regular_file(candidate, code))
      return candidate.string();
  }
  return {};
}

/// After libraries that the caller preloads: a sanitizer must be first.
void add_preload(const std::string &library) {
  const char *before = std::getenv("LD_PRELOAD");
  const std::string all =
      before != nullptr && *before != '\0' ? std::string{before} + ":" + library : library;
  ::setenv("LD_PRELOAD", all.c_str(), 1);
}

/// ALSA's configuration and plugin directory, next to the preload library. DRAVIK_BOARD is set already.
void offer_sound_card(const std::string &library) {
  const files::path directory = files::path{library}.parent_path() / "dravik-sim";
  ::setenv("ALSA_CONFIG_PATH", (directory / "asound.conf").c_str(), 1);
  ::setenv("ALSA_PLUGIN_DIR", directory.c_str(), 1);
  if (records_gaps())
    timeline_begin_ns();
}

outcome become(const std::string &program, std::span<const std::string> arguments, std::string &error) {
  std::vector<char *> pointers;
  for (const std::string &each : arguments)
    pointers.push_back(const_cast<char *>(each.c_str()));
  pointers.push_back(nullptr);
  ::execv(program.c_str(), pointers.data());
  return failed(error, program + ": " + std::strerror(errno));
}

/// On failure return false and set `error`.
bool find_application(const std::string &name, std::string &program, std::string &error) {
  program = find_program(name);
  const std::string reason = program.empty() ? "not found" : why_not_on_a_board(program);
  if (!reason.empty())
    error = name + ": " + reason;
  return reason.empty();
}

bool find_own_library(std::string &library, std::string &error) {
  library = find_library();
  if (library.empty())
    error = "libdravik-sim.so: not found next to dravik-sim";
  else if (library.find_first_of(" :") != std::string::npos)
    error = library + ": path contains a space or colon; the loader accepts neither";
  return error.empty();
}

outcome explain(const run_request &request, const run_directories &directories) {
  explain_boundary(enter_boundary(rules_for(request, directories)), request, directories);
  return outcome::done;
}

/// The keeper of the serial port stays outside the boundary: it is no part of the application.
outcome start(const run_request &request, const run_directories &directories, std::string &error) {
  std::string program;
  std::string library;
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0); // so that programs with other rights run with the caller's
  if (!find_application(request.application[0], program, error) || !find_own_library(library, error))
    return outcome::failed;
  ::setenv("DRAVIK_BOARD", directories.board.c_str(), 1);
  ::setenv("DRAVIK_WRITABLE", directories.list_of_host().c_str(), 1);
  ::setenv("TMPDIR", (directories.board + "/tmp").c_str(), 1); // for tools beyond the preload library's reach
  keep_serial_port(directories.board);
  offer_sound_card(library);
  add_preload(library);
  const std::string reason = why_not_trusted(enter_boundary(rules_for(request, directories)), request);
  return reason.empty() ? become(program, request.application, error) : failed(error, "run: " + reason);
}

run_request request_of(const std::string &board, const command_line &given) {
  return {board,
          given.values("--writable"),
          given.has("--explain"),
          given.has("--trust"),
          given.has("--local-sockets"),
          {given.operands().begin() + 1, given.operands().end()}};
}

outcome run(const std::string &board, const command_line &given, std::string &error) {
  const run_request request = request_of(board, given);
  run_directories directories;
  if (!find_directories(request, directories, error))
    return outcome::failed;
  return request.explains ? explain(request, directories) : start(request, directories, error);
}

/// Only --explain requires no application.
outcome check_and_run(const command_line &given, std::string &error) {
  if (given.operands().size() == 1 && !given.has("--explain"))
    return misused(error, "missing APP; try 'dravik-sim run --help'");
  return run_on_board(run, given, error);
}

} // namespace

extern constinit const command run_command = {.name = "run",
                                              .summary = "run an application",
                                              .help = run_help,
                                              .options = run_options,
                                              .operands = "BOARD",
                                              .optional_operands = tools::any_number,
                                              .run = check_and_run,
                                              .own_operands = 1};

} // namespace dravik::sim
