// Location of a program, and whether it can run on a board.

#include "launcher/executable.hpp"
#include "board/program_file.hpp"

#include <cstdlib>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

bool is_plain_file(const std::string &path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

std::string find_program(const std::string &name) {
  if (name.find('/') != std::string::npos)
    return name;
  const char *path = std::getenv("PATH");
  std::istringstream directories{path != nullptr ? path : "/usr/bin:/bin"};
  for (std::string directory; std::getline(directories, directory, ':');) {
    std::string candidate = (directory.empty() ? "." : directory) + "/" + name;
    if (is_plain_file(candidate) && ::access(candidate.c_str(), X_OK) == 0)
      return candidate;
  }
  return {};
}

std::string why_not_on_a_board(const std::string &program) {
  return judge_program(program.c_str()).reason;
}

} // namespace dravik::sim
