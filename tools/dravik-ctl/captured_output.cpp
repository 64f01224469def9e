// Standard output and standard error redirected to a file during a call.

#include "dravik-ctl/captured_output.hpp"

#include "base/unique_file.hpp"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

/// A file without a name, in memory: /tmp may not be writable. Kernels before 3.17 have none. A file, not a
/// pipe: commands in the background may keep it open.
int open_collector() {
  const int in_memory = ::memfd_create("dravik-ctl", MFD_CLOEXEC);
  if (in_memory >= 0)
    return in_memory;
  const unique_file file{std::tmpfile()};
  return file != nullptr ? ::fcntl(::fileno(file.get()), F_DUPFD_CLOEXEC, 3) : -1;
}

void restore(int kept, int as) {
  ::dup2(kept, as);
  ::close(kept);
}

std::string contents_of(int file) {
  std::string text;
  std::array<char, 4096> block;
  ssize_t count;
  while ((count = ::pread(file, block.data(), block.size(), static_cast<off_t>(text.size()))) > 0)
    text.append(block.data(), static_cast<size_t>(count));
  return text;
}

std::string_view without_end(std::string_view lines) {
  while (lines.ends_with('\n'))
    lines.remove_suffix(1);
  return lines;
}

} // namespace

void captured_output::begin() {
  std::fflush(stdout);
  file_ = open_collector();
  if (file_ < 0)
    return; // then the output is not captured
  output_ = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  errors_ = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  ::dup2(file_, STDOUT_FILENO);
  ::dup2(file_, STDERR_FILENO);
}

void captured_output::end() {
  if (file_ < 0)
    return;
  std::fflush(stdout);
  restore(output_, STDOUT_FILENO);
  restore(errors_, STDERR_FILENO);
  text_ = contents_of(file_);
  ::close(file_);
  if (prints_to_stderr_)
    std::fwrite(text_.data(), 1, text_.size(), stderr);
}

std::string captured_output::first_line(std::string_view part) const {
  const size_t found = text_.find(part);
  if (found == std::string::npos || text_.empty())
    return {};
  const size_t before = text_.rfind('\n', found);
  const size_t start = before == std::string::npos || found == 0 ? 0 : before + 1;
  return text_.substr(start, text_.find('\n', found) - start);
}

std::string captured_output::last_line() const {
  const std::string_view lines = without_end(text_);
  return std::string{lines.substr(lines.rfind('\n') + 1)};
}

std::string because(std::string_view message, const std::string &reason) {
  return std::string{message} + (reason.empty() ? "" : " (" + reason + ")");
}

} // namespace dravik::ctl
