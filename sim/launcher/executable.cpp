// Whether a program can be run on a board at all: the loader's
// own conditions for preloading, seen in advance.

#include "launcher/executable.hpp"
#include "base/unique_file.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <elf.h>
#include <link.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr int longest_chain_of_scripts = 5; // as the kernel has it

using elf_header = ElfW(Ehdr);
using program_header = ElfW(Phdr);

template <typename Record> bool read_at(std::FILE *file, uint64_t position, Record &into) {
  return std::fseek(file, static_cast<long>(position), SEEK_SET) == 0 &&
         std::fread(&into, sizeof into, 1, file) == 1;
}

bool is_plain_file(const std::string &path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// The loader ignores preload libraries where a program runs with other rights than its caller's.
bool changes_rights(const std::string &path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0)
    return false;
  const bool other_user = (status.st_mode & S_ISUID) != 0 && status.st_uid != ::geteuid();
  const bool other_group = (status.st_mode & S_ISGID) != 0 && status.st_gid != ::getegid();
  const bool capable = ::geteuid() != 0 && ::getxattr(path.c_str(), "security.capability", nullptr, 0) > 0;
  return other_user || other_group || capable;
}

/// The loader that a program asks for; empty for one that is linked statically.
std::string loader_of(std::FILE *file, const elf_header &header) {
  for (size_t i = 0; i < header.e_phnum; ++i) {
    program_header part;
    std::array<char, 256> name = {};
    if (read_at(file, header.e_phoff + i * header.e_phentsize, part) && part.p_type == PT_INTERP &&
        read_at(file, part.p_offset, name))
      return name.data();
  }
  return {};
}

bool read_header(std::FILE *file, elf_header &header) {
  return file != nullptr && read_at(file, 0, header);
}

/// This program's own header is the measure: its loader is the preload library's as well.
std::string why_not_like_this_program(std::FILE *file) {
  elf_header header;
  elf_header own_header;
  const unique_file own = open_file("/proc/self/exe", "rb");
  if (!read_header(own.get(), own_header) || !read_header(file, header))
    return "cannot be read";
  const bool same_machine = header.e_ident[EI_CLASS] == own_header.e_ident[EI_CLASS] &&
                            header.e_ident[EI_DATA] == own_header.e_ident[EI_DATA] &&
                            header.e_machine == own_header.e_machine;
  if (!same_machine)
    return "is built for another machine than the simulator; build it for this one";
  const std::string loader = loader_of(file, header);
  if (loader.empty())
    return "is linked statically; only dynamically linked programs run on a simulated board";
  const std::string own_loader = loader_of(own.get(), own_header);
  return loader == own_loader ? "" : "is linked with another C library: it asks for " + loader;
}

/// What runs a script, from its first line; empty when the file is none.
std::string interpreter_of(std::FILE *file) {
  std::array<char, 256> line = {};
  std::rewind(file);
  if (std::fgets(line.data(), line.size(), file) == nullptr || std::strncmp(line.data(), "#!", 2) != 0)
    return {};
  std::string program;
  std::istringstream{line.data() + 2} >> program;
  return program;
}

bool is_elf(std::FILE *file) {
  std::array<char, SELFMAG> magic;
  return read_at(file, 0, magic) && std::memcmp(magic.data(), ELFMAG, SELFMAG) == 0;
}

std::string why_not(const std::string &program, int scripts_left) {
  if (!is_plain_file(program))
    return ::access(program.c_str(), F_OK) == 0 ? "is not a program" : "cannot be found";
  if (::access(program.c_str(), X_OK) != 0)
    return "may not be executed";
  const unique_file file = open_file(program.c_str(), "rb");
  if (file == nullptr)
    return {}; // a program that may be run but not read: the loader will see
  if (is_elf(file.get()))
    return changes_rights(program) ? "runs with other rights than yours; the loader shields such programs"
                                   : why_not_like_this_program(file.get());
  const std::string interpreter = interpreter_of(file.get());
  if (interpreter.empty())
    return "is neither a program of this machine nor a script that begins with #!";
  if (scripts_left == 0)
    return "leads from script to script";
  const std::string reason = why_not(interpreter, scripts_left - 1);
  return reason.empty() ? "" : "is run by " + interpreter + ", which " + reason;
}

} // namespace

std::string find_program(const std::string &name) {
  if (name.find('/') != std::string::npos)
    return name;
  const char *path = std::getenv("PATH");
  std::istringstream directories{path != nullptr ? path : "/usr/bin:/bin"};
  for (std::string directory; std::getline(directories, directory, ':');) {
    const std::string candidate = (directory.empty() ? "." : directory) + "/" + name;
    if (is_plain_file(candidate) && ::access(candidate.c_str(), X_OK) == 0)
      return candidate;
  }
  return {};
}

std::string why_not_on_a_board(const std::string &program) {
  return why_not(program, longest_chain_of_scripts);
}

} // namespace dravik::sim
