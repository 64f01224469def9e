// Check whether a program can run on a board, by the loader's conditions for preloading.

#include "board/program_file.hpp"
#include "base/unique_fd.hpp"
#include "board/settings_text.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr int longest_chain_of_scripts = 5; // as in the kernel
constexpr size_t longest_name = 256;

using elf_header = ElfW(Ehdr);
using program_header = ElfW(Phdr);

/// Result for one file.
struct finding {
  int error;
  bool is_the_kernels;
  const char *reason;
};
constexpr finding nothing_found = {0, false, ""};

struct named_program {
  char name[longest_name] = {};
};

template <typename Record> bool read_at(const unique_fd &file, uint64_t position, Record &into) noexcept {
  return ::pread(file.get(), &into, sizeof into, static_cast<off_t>(position)) ==
         static_cast<ssize_t>(sizeof into);
}

unique_fd open_program(const char *path) noexcept {
  return unique_fd{
      static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0))};
}

bool may_access(const char *path, int mode) noexcept {
  return ::syscall(SYS_faccessat, AT_FDCWD, path, mode) == 0;
}

/// The loader ignores preload libraries if a program has other rights than its caller.
/// With no_new_privs it never has.
bool changes_rights(const char *path, const struct statx &status) noexcept {
  if (::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1)
    return false;
  const bool other_user = (status.stx_mode & S_ISUID) != 0 && status.stx_uid != ::geteuid();
  const bool other_group = (status.stx_mode & S_ISGID) != 0 && status.stx_gid != ::getegid();
  const bool capable =
      ::geteuid() != 0 && ::syscall(SYS_getxattr, path, "security.capability", nullptr, size_t{0}) > 0;
  return other_user || other_group || capable;
}

/// Return the loader that a program requires, empty if it is linked statically.
named_program loader_of(const unique_fd &file, const elf_header &header) noexcept {
  for (size_t i = 0; i < header.e_phnum; ++i) {
    program_header part;
    named_program loader;
    if (!read_at(file, header.e_phoff + i * header.e_phentsize, part) || part.p_type != PT_INTERP)
      continue;
    const ssize_t length =
        ::pread(file.get(), loader.name, sizeof loader.name - 1, static_cast<off_t>(part.p_offset));
    if (length > 0)
      return loader;
  }
  return {};
}

/// Compare with the header of this program, which has the same loader as the preload library. A program
/// started through the loader by name proves nothing else.
finding compare_with_this_program(const unique_fd &file) noexcept {
  elf_header header;
  elf_header own_header;
  const unique_fd own = open_program("/proc/self/exe");
  if (!own || !read_at(own, 0, own_header) || !read_at(file, 0, header))
    return {ENOEXEC, false, "cannot be read"};
  const bool same_machine = header.e_ident[EI_CLASS] == own_header.e_ident[EI_CLASS] &&
                            header.e_ident[EI_DATA] == own_header.e_ident[EI_DATA] &&
                            header.e_machine == own_header.e_machine;
  if (!same_machine)
    return {ENOEXEC, false, "built for another architecture; must be built for the host"};
  const named_program loader = loader_of(file, header);
  if (*loader.name == '\0')
    return {ENOEXEC, false, "statically linked; must be dynamically linked"};
  const named_program own_loader = loader_of(own, own_header);
  const bool is_same = *own_loader.name == '\0' || std::strcmp(loader.name, own_loader.name) == 0;
  return is_same ? nothing_found
                 : finding{ENOEXEC, false, "linked with another C library than the simulator"};
}

/// Return the interpreter of a script from its first line, empty if the file is not a script.
named_program interpreter_of(const unique_fd &file) noexcept {
  named_program line;
  const ssize_t length = ::pread(file.get(), line.name, sizeof line.name - 1, 0);
  std::string_view text{line.name, length > 0 ? static_cast<size_t>(length) : 0};
  if (!text.starts_with("#!"))
    return {};
  text.remove_prefix(2);
  std::string_view first_line = take_until(text, '\n');
  const std::string_view program = take_word(first_line);
  named_program interpreter;
  std::copy(program.begin(), program.end(), interpreter.name);
  return interpreter;
}

bool is_elf(const unique_fd &file) noexcept {
  char magic[SELFMAG];
  return read_at(file, 0, magic) && std::memcmp(magic, ELFMAG, SELFMAG) == 0;
}

/// Check one file. Sets the interpreter if it is a script.
finding judge_file(const char *path, named_program &interpreter) noexcept {
  struct statx status = {};
  if (::syscall(SYS_statx, AT_FDCWD, path, 0, STATX_BASIC_STATS, &status) != 0)
    return {errno, true, "not found"};
  if (!S_ISREG(status.stx_mode))
    return {EACCES, true, "not a program"};
  if (!may_access(path, X_OK))
    return {EACCES, true, "not executable"};
  const unique_fd file = open_program(path);
  if (!file)
    return nothing_found; // executable but not readable: left to the loader
  if (is_elf(file))
    return changes_rights(path, status)
               ? finding{EACCES, false, "runs with other permissions than the caller's; not supported"}
               : compare_with_this_program(file);
  interpreter = interpreter_of(file);
  return *interpreter.name != '\0' ? nothing_found
                                   : finding{ENOEXEC, true, "not a program of the host, and not a script"};
}

/// A text assembled in a fixed block, truncated at its end.
class reason_text {
public:
  explicit reason_text(program_judgement &judgement) noexcept
      : end_(judgement.reason), limit_(judgement.reason + sizeof judgement.reason - 1) {}
  void add(std::string_view text) noexcept {
    end_ = std::copy_n(text.begin(), std::min(text.size(), static_cast<size_t>(limit_ - end_)), end_);
  }

private:
  char *end_;
  char *limit_;
};

} // namespace

program_judgement judge_program(const char *path) noexcept {
  program_judgement judgement;
  reason_text reason{judgement};
  named_program program;
  for (int scripts = 0; scripts <= longest_chain_of_scripts; ++scripts) {
    named_program interpreter;
    const finding found = judge_file(path, interpreter);
    if (found.error != 0 || *interpreter.name == '\0') {
      judgement.error = found.error;
      judgement.is_the_kernels = found.is_the_kernels;
      reason.add(found.reason);
      if (found.error == 0)
        judgement.reason[0] = '\0';
      return judgement;
    }
    program = interpreter;
    path = program.name;
    reason.add("interpreter ");
    reason.add(path);
    reason.add(": ");
  }
  reason.add("too many scripts in a row");
  judgement.error = ELOOP;
  judgement.is_the_kernels = true;
  return judgement;
}

} // namespace dravik::sim
