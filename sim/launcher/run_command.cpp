// dravik-sim run: puts an application in the place of this program,
// with the preload library and the board named in its environment.

#include "board/board_directory.hpp"
#include "launcher/commands.hpp"
#include "launcher/executable.hpp"
#include "launcher/serial_keeper.hpp"
#include "sound/timeline.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
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

} // namespace

int run_command(arguments given) {
  if (given.empty() || *given[0] == '-')
    return fail("which board? 'dravik-sim run --help' tells", wrong_usage);
  const std::string board = given[0];
  arguments words = given.subspan(1);
  if (!words.empty() && std::strcmp(words[0], "--") == 0)
    words = words.subspan(1);
  if (words.empty())
    return fail("which application? 'dravik-sim run --help' tells", wrong_usage);

  if (!is_board(board))
    return fail(board + ": is no board; 'dravik-sim new " + board + "' makes one");
  const std::string program = find_program(words[0]);
  const std::string reason = program.empty() ? "cannot be found" : why_not_on_a_board(program);
  if (!reason.empty())
    return fail(std::string{words[0]} + ": " + reason);
  const std::string library = find_library();
  if (library.empty())
    return fail("libdravik-sim.so: cannot be found beside this program");
  if (library.find_first_of(" :") != std::string::npos)
    return fail(library + ": the loader takes no path with a blank or a colon");

  std::error_code code;
  const std::string directory = files::canonical(board, code).string();
  ::setenv("DRAVIK_BOARD", directory.c_str(), 1);
  keep_serial_port(directory);
  offer_sound_card(library);
  add_preload(library);
  return become(program, words);
}

} // namespace dravik::sim
