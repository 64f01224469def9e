// dravik-sim run: puts an application in the place of this program, inside the boundary, with the preload
// library and the board named in its environment.

#include "board/board_directory.hpp"
#include "launcher/commands.hpp"
#include "launcher/executable.hpp"
#include "launcher/run_boundary.hpp"
#include "launcher/serial_keeper.hpp"
#include "sound/timeline.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/prctl.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

/// Where the preload library lies, from this program's own directory: in the build tree and when installed.
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

/// After what the caller preloads already: a sanitizer insists on being the first.
void add_preload(const std::string &library) {
  const char *before = std::getenv("LD_PRELOAD");
  const std::string all =
      before != nullptr && *before != '\0' ? std::string{before} + ":" + library : library;
  ::setenv("LD_PRELOAD", all.c_str(), 1);
}

/// ALSA's configuration and its folder of plugins, beside the preload library. The board is named already.
void offer_sound_card(const std::string &library) {
  const files::path directory = files::path{library}.parent_path() / "dravik-sim";
  ::setenv("ALSA_CONFIG_PATH", (directory / "asound.conf").c_str(), 1);
  ::setenv("ALSA_PLUGIN_DIR", directory.c_str(), 1);
  if (records_gaps())
    timeline_begin_ns();
}

int become(const std::string &program, arguments words) {
  ::execv(program.c_str(), words.data());
  return fail(program + ": " + std::strerror(errno));
}

/// On failure return false and set `error`.
bool find_application(const std::string &name, std::string &program, std::string &error) {
  program = find_program(name);
  const std::string reason = program.empty() ? "cannot be found" : why_not_on_a_board(program);
  if (!reason.empty())
    error = name + ": " + reason;
  return reason.empty();
}

bool find_own_library(std::string &library, std::string &error) {
  library = find_library();
  if (library.empty())
    error = "libdravik-sim.so: cannot be found beside this program";
  else if (library.find_first_of(" :") != std::string::npos)
    error = library + ": the loader takes no path with a blank or a colon";
  return error.empty();
}

int explain(const run_request &request, const run_directories &directories) {
  explain_boundary(enter_boundary(rules_for(request, directories)), request, directories);
  return std::fflush(stdout) == 0 ? 0 : failed;
}

/// The keeper of the serial port stays outside the boundary: it is no part of the application.
int start(const run_request &request, const run_directories &directories) {
  std::string program;
  std::string library;
  std::string error;
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0); // so that programs with other rights run with the caller's
  if (!find_application(request.application[0], program, error) || !find_own_library(library, error))
    return fail(error);
  ::setenv("DRAVIK_BOARD", directories.board.c_str(), 1);
  ::setenv("DRAVIK_WRITABLE", directories.list_of_host().c_str(), 1);
  ::setenv("TMPDIR", (directories.board + "/tmp").c_str(), 1); // for tools beyond the preload library's reach
  keep_serial_port(directories.board);
  offer_sound_card(library);
  add_preload(library);
  const std::string reason = why_not_trusted(enter_boundary(rules_for(request, directories)), request);
  return reason.empty() ? become(program, request.application) : fail("run: " + reason);
}

} // namespace

int run_command(arguments given) {
  run_request request;
  run_directories directories;
  std::string error;
  if (!read_request(given, request, error))
    return fail(error, wrong_usage);
  if (!is_board(request.board))
    return fail(request.board + ": is no board; 'dravik-sim new " + request.board + "' makes one");
  if (!find_directories(request, directories, error))
    return fail(error);
  return request.explains ? explain(request, directories) : start(request, directories);
}

} // namespace dravik::sim
