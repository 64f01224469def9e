// Recordings directory: what it contains, the oldest recordings, and the next free event slot.

#include "dravik.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <dirent.h>
#include <limits>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

static_assert(sizeof(rec_file_list) == 24, "applications read the result as six words");
static_assert(sizeof(off_t) == 8 && sizeof(time_t) == 8,
              "recordings of 2 GiB and more, or dated 2038 and later, exist on 32-bit machines too");

namespace dravik::storage {
namespace {

constexpr const char *recordings_folder = "/tmp/mmcblk0p1/REC";
constexpr const char *function = "parse_rec_file_list";
constexpr size_t longest_saved_path = 64; ///< of the working directory, with its NUL

constexpr size_t base_length = 8;
constexpr std::string_view extension = ".TS";
constexpr size_t digits_position = 3;
constexpr size_t digit_count = 5;
constexpr int32_t event_slots = DRAVIK_EVENT_SLOTS;

constexpr char upper(char c) noexcept {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr bool is_digit(char c) noexcept {
  return c >= '0' && c <= '9';
}

/// A file name, parsed regardless of case.
class recording_name {
public:
  explicit recording_name(const char *name) noexcept {
    if (std::strlen(name) != text_.size())
      return;
    std::transform(name, name + text_.size(), text_.begin(), upper);
    const std::string_view text{text_.data(), text_.size()};
    is_recording_ = text.ends_with(extension) && std::ranges::all_of(digits(), is_digit);
  }

  bool is_normal() const noexcept {
    return is_recording_ && text_[0] == 'K' && text_[1] == 'V' && text_[2] == 'X';
  }
  bool is_event() const noexcept {
    return is_recording_ && text_[0] == 'E' && text_[1] == 'M' && slot() >= 0 && slot() < event_slots;
  }
  int32_t slot() const noexcept { return text_[2] - 'A'; }
  int32_t number() const noexcept {
    int32_t value = 0;
    for (const char digit : digits())
      value = value * 10 + (digit - '0');
    return value;
  }

private:
  std::string_view digits() const noexcept { return {text_.data() + digits_position, digit_count}; }

  std::array<char, base_length + extension.size()> text_ = {};
  bool is_recording_ = false;
};

/// The file with the earliest time; of equal ones, the first found. Intentional: the search starts at the
/// largest signed 32-bit time, so a file dated then or later is never the oldest.
struct oldest_file {
  int32_t which = -1;
  int64_t time = std::numeric_limits<int32_t>::max();

  void consider(int32_t candidate, int64_t candidate_time) noexcept {
    if (candidate_time >= time)
      return;
    which = candidate;
    time = candidate_time;
  }
};

struct survey {
  int32_t normal_count = 0;
  uint64_t sixteenths = 0; ///< total size of normal recordings in 16-byte units, truncated per file
  oldest_file normal;
  oldest_file event;
  std::array<bool, event_slots> used = {};

  void look_at(const char *file_name) noexcept {
    const recording_name name{file_name};
    if (!name.is_normal() && !name.is_event())
      return;
    struct stat status;
    if (::stat(file_name, &status) != 0 || !S_ISREG(status.st_mode))
      return;
    if (name.is_normal()) {
      ++normal_count;
      sixteenths += static_cast<uint64_t>(status.st_size / 16);
      normal.consider(name.number(), status.st_mtime);
    } else {
      used[static_cast<size_t>(name.slot())] = true;
      event.consider(name.slot(), status.st_mtime);
    }
  }

  /// Return the first free slot after the oldest one, cyclically; -1 if none is free.
  int32_t next_slot() const noexcept {
    for (int32_t i = 1; i <= event_slots; ++i) {
      const int32_t slot = (event.which + i) % event_slots;
      if (!used[static_cast<size_t>(slot)])
        return slot;
    }
    return -1;
  }

  rec_file_list result() const noexcept {
    return {normal_count,
            normal.which,
            static_cast<int32_t>(sixteenths >> 16),
            static_cast<int32_t>(std::ranges::count(used, true)),
            event.which,
            next_slot()};
  }
};

struct close_directory {
  void operator()(DIR *directory) const noexcept { ::closedir(directory); }
};
using unique_directory = std::unique_ptr<DIR, close_directory>;

void change_directory(const char *path) noexcept {
  [[maybe_unused]] const int result = ::chdir(path);
}

int parse(rec_file_list &list) noexcept {
  list = {};
  std::array<char, longest_saved_path> saved;
  if (::getcwd(saved.data(), saved.size()) == nullptr) {
    log_printf("%s() : getcwd err!", function);
    return -1;
  }
  struct stat status;
  if (::stat(recordings_folder, &status) != 0 || ::chdir(recordings_folder) != 0) {
    list = {-1, -1, -1, -1, -1, -1};
    change_directory(saved.data());
    log_printf("%s() : stat/chdir err! : %s", function, saved.data());
    return -1;
  }
  unique_directory directory{::opendir(".")};
  if (directory == nullptr) {
    log_printf("%s() : opendir err! : %s", function, saved.data());
    return -1; // Intentional: the working directory is not restored
  }
  survey found;
  while (const dirent *entry = ::readdir(directory.get()))
    found.look_at(entry->d_name);
  directory.reset();
  change_directory(saved.data());
  list = found.result();
  return 0;
}

} // namespace
} // namespace dravik::storage

extern "C" {

int parse_rec_file_list(rec_file_list *list) noexcept {
  return dravik::storage::parse(*list);
}

} // extern "C"
