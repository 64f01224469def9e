// A directory of recordings. Each is a byte and its name, up to a NUL: the byte contains the length, the
// time and whether it is a directory.

#include "rig.hpp"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using dravik::fuzz::require;

constexpr int32_t most_files = 64;
constexpr size_t longest_name = 255;

/// A name may be rejected: ".", an existing one, one that the file system does not accept.
void add(int folder, uint8_t kind, const std::string &name) {
  if ((kind & 0x80) != 0) {
    static_cast<void>(::mkdirat(folder, name.c_str(), 0700));
    return;
  }
  const int file = ::openat(folder, name.c_str(), O_WRONLY | O_CREAT, 0600);
  if (file < 0)
    return;
  const timespec time = {kind & 0x0F, 0}, times[] = {time, time};
  require(::ftruncate(file, off_t{kind & 0x70} << 28) == 0 && ::futimens(file, times) == 0);
  ::close(file);
}

/// Fill the directory and return the number of names.
int32_t fill(const std::string &path, std::string_view input) {
  const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY);
  require(folder >= 0);
  int32_t count = 0;
  for (; !input.empty() && count < most_files; ++count) {
    const auto kind = static_cast<uint8_t>(input.front());
    input.remove_prefix(1);
    const std::string_view name = input.substr(0, input.find('\0'));
    input.remove_prefix(std::min(name.size() + 1, input.size()));
    if (name.size() <= longest_name && name.find('/') == name.npos)
      add(folder, kind, std::string{name});
  }
  ::close(folder);
  return count;
}

/// A survey requires a short working directory, and restores it.
rec_file_list survey() {
  const int before = ::open(".", O_RDONLY | O_DIRECTORY);
  require(before >= 0 && ::chdir("/") == 0);
  rec_file_list list;
  require(parse_rec_file_list(&list) == 0);
  require(::fchdir(before) == 0 && ::close(before) == 0);
  return list;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string folder = dravik::fuzz::rig::the().host_path("/tmp/mmcblk0p1/REC");
  const int32_t count = fill(folder, {reinterpret_cast<const char *>(data), size});
  const rec_file_list list = survey();
  require(list.normal_count + list.event_count <= count);
  require(list.normal_count == 0 ? list.normal_oldest == -1 && list.normal_size == 0
                                 : list.normal_oldest >= 0 && list.normal_oldest <= 99999);
  require(list.event_count >= 0 && list.event_count <= DRAVIK_EVENT_SLOTS);
  require((list.event_count == 0) == (list.event_oldest == -1) && list.event_oldest < DRAVIK_EVENT_SLOTS);
  require((list.event_count == DRAVIK_EVENT_SLOTS) == (list.event_next == -1) &&
          list.event_next < DRAVIK_EVENT_SLOTS);
  for (const auto &entry : std::filesystem::directory_iterator(folder))
    std::filesystem::remove(entry.path());
  return 0;
}
