// A directory for the files of the benchmarks, removed when the program ends.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace bench {

class scratch_folder {
public:
  scratch_folder() {
    std::string name = std::filesystem::temp_directory_path() / "dravik-bench-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr)
      std::abort();
    path_ = name;
  }
  ~scratch_folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  scratch_folder(const scratch_folder &) = delete;
  scratch_folder &operator=(const scratch_folder &) = delete;

  std::string file(const std::string &name) const { return path_ / name; }

private:
  std::filesystem::path path_;
};

inline const scratch_folder &scratch() {
  static const scratch_folder folder;
  return folder;
}

/// Must be called before the directory is created: it is in memory, unless TMPDIR is set. A disk's
/// bookkeeping would hide the cost of files.
inline void prefer_memory_for_scratch() {
  if (std::filesystem::is_directory("/dev/shm"))
    ::setenv("TMPDIR", "/dev/shm", 0);
}

} // namespace bench
