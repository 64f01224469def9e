// A survey of 10,000 recordings.

#include "fixed_paths.hpp"
#include "harness.hpp"
#include "scratch_folder.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace bench {
namespace {

constexpr const char *recordings = "/tmp/mmcblk0p1/REC";
constexpr int files = 10000;
constexpr int events = 5;

const std::string &folder() {
  static const std::string path = scratch().file("REC");
  return path;
}

void make_recordings() {
  std::filesystem::create_directory(folder());
  for (int i = 0; i < files; ++i) {
    std::array<char, 24> name;
    if (i < events)
      std::snprintf(name.data(), name.size(), "/EM%c%05d.TS", 'A' + i, i);
    else
      std::snprintf(name.data(), name.size(), "/KVX%05d.TS", i);
    std::ofstream{folder() + name.data()};
  }
  lead(recordings, folder());
  rec_file_list list;
  if (parse_rec_file_list(&list) == 0 && list.normal_count == files - events && list.event_count == events)
    return;
  std::fputs("recordings: the library misses some; is the working directory shorter than 64 bytes?\n",
             stderr);
  std::exit(EXIT_FAILURE);
}

/// Call a function with every name of the directory, which is the working directory meanwhile.
template <class Look> void in_folder(Look look) {
  std::array<char, 4096> before;
  if (::getcwd(before.data(), before.size()) == nullptr || ::chdir(folder().c_str()) != 0)
    std::abort();
  look();
  if (::chdir(before.data()) != 0)
    std::abort();
}

void stat_all() {
  in_folder([] {
    DIR *directory = ::opendir(".");
    struct stat status;
    while (const dirent *entry = ::readdir(directory)) {
      ::stat(entry->d_name, &status);
      benchmark::DoNotOptimize(status);
    }
    ::closedir(directory);
  });
}

/// The names in the order of the directory.
std::vector<std::string> names() {
  std::vector<std::string> all;
  DIR *directory = ::opendir(folder().c_str());
  while (const dirent *entry = ::readdir(directory))
    all.emplace_back(entry->d_name);
  ::closedir(directory);
  return all;
}

/// The same system calls, with names known beforehand.
void only_system_calls(const std::vector<std::string> &known) {
  in_folder([&known] {
    DIR *directory = ::opendir(".");
    std::array<char, 32768> entries;
    while (::syscall(SYS_getdents64, ::dirfd(directory), entries.data(), entries.size()) > 0) {
    }
    struct stat status;
    for (const std::string &name : known) {
      ::stat(name.c_str(), &status);
      benchmark::DoNotOptimize(status);
    }
    ::closedir(directory);
  });
}

} // namespace

void add_recordings() {
  make_recordings();
  row<std::vector<std::string>>("survey of 10,000 recordings", {1.0, 1.10}, {names()})
      .library([](const auto &) {
        rec_file_list list;
        parse_rec_file_list(&list);
        benchmark::DoNotOptimize(list);
      })
      .peer("readdir, stat", [](const auto &) { stat_all(); })
      .floor(only_system_calls);
}

} // namespace bench
