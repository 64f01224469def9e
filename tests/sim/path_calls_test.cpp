// Every call that names a file, variant by variant, leads to the board.

#include "board/use_board.h"
#include "sim/library_call.hpp"
#include "support/board.hpp"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <ftw.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utime.h>

namespace dravik::test {
namespace {

// --- status of files ---

struct status_call {
  const char *name;
  off64_t (*length)(const char *name, const char *path); ///< -1 when the call fails
};

void PrintTo(const status_call &shown, std::ostream *to) {
  *to << shown.name;
}

template <class Status> off64_t by_path(const char *name, const char *path) {
  Status status;
  return library_call<int(const char *, Status *)>(name)(path, &status) == 0 ? status.st_size : -1;
}

template <class Status> off64_t by_directory(const char *name, const char *path) {
  Status status;
  return library_call<int(int, const char *, Status *, int)>(name)(AT_FDCWD, path, &status, 0) == 0
             ? status.st_size
             : -1;
}

constexpr int layout =
    sizeof(long) == 4 ? 3 : 1; // of the record, as old programs for this machine request it

template <class Status> off64_t by_layout(const char *name, const char *path) {
  Status status;
  return library_call<int(int, const char *, Status *)>(name)(layout, path, &status) == 0 ? status.st_size
                                                                                          : -1;
}

template <class Status> off64_t by_layout_and_directory(const char *name, const char *path) {
  Status status;
  const auto call = library_call<int(int, int, const char *, Status *, int)>(name);
  return call(layout, AT_FDCWD, path, &status, 0) == 0 ? status.st_size : -1;
}

off64_t by_statx(const char *, const char *path) {
  struct statx status;
  return ::statx(AT_FDCWD, path, 0, STATX_SIZE, &status) == 0 ? static_cast<off64_t>(status.stx_size) : -1;
}

class SimStatus : public testing::TestWithParam<status_call> {
protected:
  static off64_t length_of(const char *path) { return GetParam().length(GetParam().name, path); }
};

TEST_P(SimStatus, IsOfTheBoardsFile) {
  const board board;
  board.write("tmp/ptb", std::string(2048, '\0'));
  EXPECT_EQ(length_of("/tmp/ptb"), 2048);
  board.remove("tmp/ptb");
  EXPECT_EQ(length_of("/tmp/ptb"), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_P(SimStatus, IsOfTheHostsFileWithoutABoard) {
  const board board;
  board.write("tmp/ptb", "0123456789");
  ::dravik_sim_use_board(nullptr);
  EXPECT_EQ(length_of(board.path("tmp/ptb").c_str()), 10);
}

INSTANTIATE_TEST_SUITE_P(By, SimStatus,
                         testing::Values(status_call{"stat", by_path<struct stat>},
                                         status_call{"stat64", by_path<struct stat64>},
                                         status_call{"lstat", by_path<struct stat>},
                                         status_call{"lstat64", by_path<struct stat64>},
                                         status_call{"fstatat", by_directory<struct stat>},
                                         status_call{"fstatat64", by_directory<struct stat64>},
                                         status_call{"statx", by_statx},
                                         status_call{"__xstat", by_layout<struct stat>},
                                         status_call{"__xstat64", by_layout<struct stat64>},
                                         status_call{"__lxstat", by_layout<struct stat>},
                                         status_call{"__lxstat64", by_layout<struct stat64>},
                                         status_call{"__fxstatat", by_layout_and_directory<struct stat>},
                                         status_call{"__fxstatat64", by_layout_and_directory<struct stat64>}),
                         [](const auto &tested) { return tested.param.name; });

TEST(SimPathCalls, ReportsStatusOfLinkItself) {
  const board board;
  board.write("tmp/add/areacode.bin", "123");
  ASSERT_EQ(::symlink("areacode.bin", "/tmp/add/link"), 0);
  struct stat status;
  ASSERT_EQ(::lstat("/tmp/add/link", &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  ASSERT_EQ(::stat("/tmp/add/link", &status), 0);
  EXPECT_EQ(status.st_size, 3);
}

class SimFileSystemStatus : public testing::TestWithParam<const char *> {};

TEST_P(SimFileSystemStatus, IsOfTheBoardsDirectory) {
  union {
    struct statfs fs;
    struct statvfs vfs;
  } status;
  const auto call = library_call<int(const char *, void *)>(GetParam());
  const board board;
  EXPECT_EQ(call("/tmp/mmcblk0p1", &status), 0);
  board.remove("tmp/mmcblk0p1");
  EXPECT_EQ(call("/tmp/mmcblk0p1", &status), -1);
  EXPECT_EQ(errno, ENOENT);
}

INSTANTIATE_TEST_SUITE_P(By, SimFileSystemStatus,
                         testing::Values("statfs", "statfs64", "statvfs", "statvfs64"),
                         [](const auto &tested) { return std::string{tested.param}; });

// --- calls with one path that return 0 or -1 ---

struct plain_call {
  const char *name;
  int (*call)(const char *path);
};

void PrintTo(const plain_call &shown, std::ostream *to) {
  *to << shown.name;
}

class SimExistingFile : public testing::TestWithParam<plain_call> {};

TEST_P(SimExistingFile, IsFoundOnTheBoardAndMissedElsewhere) {
  const board board;
  board.write("tmp/add/areacode.bin", "x");
  EXPECT_EQ(GetParam().call("/tmp/add/areacode.bin"), 0);
  EXPECT_EQ(GetParam().call("/tmp/add/no-such-file"), -1);
  EXPECT_EQ(errno, ENOENT);
}

/// The host's file system may know no extended attributes; what counts is that the file is found.
int found(ssize_t result) {
  return result >= 0 || errno != ENOENT ? 0 : -1;
}

const plain_call calls_on_files[] = {
    {"getxattr", [](const char *path) { return found(::getxattr(path, "user.a", nullptr, 0)); }},
    {"lgetxattr", [](const char *path) { return found(::lgetxattr(path, "user.a", nullptr, 0)); }},
    {"setxattr", [](const char *path) { return found(::setxattr(path, "user.a", "", 0, 0)); }},
    {"lsetxattr", [](const char *path) { return found(::lsetxattr(path, "user.a", "", 0, 0)); }},
    {"removexattr", [](const char *path) { return found(::removexattr(path, "user.a")); }},
    {"lremovexattr", [](const char *path) { return found(::lremovexattr(path, "user.a")); }},
    {"access", [](const char *path) { return ::access(path, R_OK); }},
    {"eaccess", [](const char *path) { return ::eaccess(path, R_OK); }},
    {"euidaccess", [](const char *path) { return ::euidaccess(path, R_OK); }},
    {"faccessat", [](const char *path) { return ::faccessat(AT_FDCWD, path, R_OK, 0); }},
    {"chmod", [](const char *path) { return ::chmod(path, 0600); }},
    {"fchmodat", [](const char *path) { return ::fchmodat(AT_FDCWD, path, 0600, 0); }},
    {"chown", [](const char *path) { return ::chown(path, ::geteuid(), ::getegid()); }},
    {"lchown", [](const char *path) { return ::lchown(path, ::geteuid(), ::getegid()); }},
    {"fchownat", [](const char *path) { return ::fchownat(AT_FDCWD, path, ::geteuid(), ::getegid(), 0); }},
    {"truncate", [](const char *path) { return ::truncate(path, 5); }},
    {"truncate64", [](const char *path) { return ::truncate64(path, 5); }},
    {"utime", [](const char *path) { return ::utime(path, nullptr); }},
    {"utimes", [](const char *path) { return ::utimes(path, nullptr); }},
    {"lutimes", [](const char *path) { return ::lutimes(path, nullptr); }},
    {"utimensat", [](const char *path) { return ::utimensat(AT_FDCWD, path, nullptr, 0); }},
    {"unlink", [](const char *path) { return ::unlink(path); }},
    {"unlinkat", [](const char *path) { return ::unlinkat(AT_FDCWD, path, 0); }},
    {"remove", [](const char *path) { return std::remove(path); }},
    {"rename", [](const char *path) { return std::rename(path, "/tmp/add/new"); }},
    {"renameat", [](const char *path) { return ::renameat(AT_FDCWD, path, AT_FDCWD, "/tmp/add/new"); }},
    {"renameat2", [](const char *path) { return ::renameat2(AT_FDCWD, path, AT_FDCWD, "/tmp/add/new", 0); }},
    {"link", [](const char *path) { return ::link(path, "/tmp/add/new"); }},
    {"linkat", [](const char *path) { return ::linkat(AT_FDCWD, path, AT_FDCWD, "/tmp/add/new", 0); }},
    {"pathconf", [](const char *path) { return ::pathconf(path, _PC_NAME_MAX) > 0 ? 0 : -1; }},
    {"listxattr", [](const char *path) { return ::listxattr(path, nullptr, 0) >= 0 ? 0 : -1; }},
    {"llistxattr", [](const char *path) { return ::llistxattr(path, nullptr, 0) >= 0 ? 0 : -1; }},
};

INSTANTIATE_TEST_SUITE_P(By, SimExistingFile, testing::ValuesIn(calls_on_files),
                         [](const auto &tested) { return tested.param.name; });

TEST(SimPathCalls, RenamesFileOfBoard) {
  const board board;
  board.write("tmp/mmcblk0p1/REC/a.avi", "film");
  EXPECT_EQ(std::rename("/tmp/mmcblk0p1/REC/a.avi", "/tmp/mmcblk0p1/b.avi"), 0);
  EXPECT_EQ(board.read("tmp/mmcblk0p1/b.avi"), "film");
  EXPECT_FALSE(board.exists("tmp/mmcblk0p1/REC/a.avi"));
}

class SimNewName : public testing::TestWithParam<plain_call> {};

TEST_P(SimNewName, AppearsOnTheBoard) {
  const board board;
  EXPECT_EQ(GetParam().call("/tmp/mmcblk0p1/new"), 0);
  std::error_code code;
  const auto status = std::filesystem::symlink_status(board.path("tmp/mmcblk0p1/new"), code);
  EXPECT_NE(status.type(), std::filesystem::file_type::not_found);
}

const plain_call calls_that_make[] = {
    {"mkdir", [](const char *path) { return ::mkdir(path, 0755); }},
    {"mkdirat", [](const char *path) { return ::mkdirat(AT_FDCWD, path, 0755); }},
    {"mkfifo", [](const char *path) { return ::mkfifo(path, 0644); }},
    {"mkfifoat", [](const char *path) { return ::mkfifoat(AT_FDCWD, path, 0644); }},
    {"mknod", [](const char *path) { return ::mknod(path, S_IFREG | 0644, 0); }},
    {"mknodat", [](const char *path) { return ::mknodat(AT_FDCWD, path, S_IFREG | 0644, 0); }},
    {"symlink", [](const char *path) { return ::symlink("target", path); }},
    {"symlinkat", [](const char *path) { return ::symlinkat("target", AT_FDCWD, path); }},
};

INSTANTIATE_TEST_SUITE_P(By, SimNewName, testing::ValuesIn(calls_that_make),
                         [](const auto &tested) { return tested.param.name; });

// --- directories ---

TEST(SimPathCalls, RemovesDirectoriesOfBoard) {
  const board board;
  EXPECT_EQ(::rmdir("/tmp/mmcblk0p1"), 0);
  EXPECT_FALSE(board.exists("tmp/mmcblk0p1"));
}

TEST(SimPathCalls, ListsDirectoriesOfBoard) {
  const board board;
  board.write("tmp/mmcblk0p1/REC/only.avi", "");
  DIR *directory = ::opendir("/tmp/mmcblk0p1/REC");
  ASSERT_NE(directory, nullptr);
  std::string names;
  while (const dirent *entry = ::readdir(directory))
    names += entry->d_name[0] != '.' ? entry->d_name : "";
  ::closedir(directory);
  EXPECT_EQ(names, "only.avi");
}

/// The names that a call like scandir() finds, in order.
template <class Entry> std::string names_found_by(const char *name, const char *directory) {
  const auto scan = library_call<int(const char *, Entry ***, int (*)(const Entry *),
                                     int (*)(const Entry **, const Entry **))>(name);
  Entry **entries = nullptr;
  const int count = scan(
      directory, &entries, [](const Entry *entry) { return int{entry->d_name[0] != '.'}; },
      [](const Entry **one, const Entry **other) { return std::strcmp((*one)->d_name, (*other)->d_name); });
  std::string names;
  for (int i = 0; i < count; ++i) {
    names += std::string{entries[i]->d_name} + ' ';
    std::free(entries[i]);
  }
  std::free(entries);
  return names;
}

TEST(SimScan, FindsTheBoardsFiles) {
  const board board;
  board.write("usr/local/dravik/jpg/a.jpg", "");
  board.write("usr/local/dravik/jpg/b.jpg", "");
  EXPECT_EQ(names_found_by<dirent>("scandir", "/usr/local/dravik/jpg"), "a.jpg b.jpg ");
  EXPECT_EQ(names_found_by<dirent64>("scandir64", "/usr/local/dravik/jpg"), "a.jpg b.jpg ");
}

int files_visited = 0;

int count_files(const char *, const struct stat *, int kind, FTW *) {
  files_visited += kind == FTW_F;
  return 0;
}

/// The older calls give no record of the walk; the same function serves them.
class SimWalk : public testing::TestWithParam<const char *> {};

TEST_P(SimWalk, MeetsTheBoardsFiles) {
  const board board;
  board.write("tmp/mmcblk0p1/REC/a.avi", "");
  board.write("tmp/mmcblk0p1/b.avi", "");
  files_visited = 0;
  EXPECT_EQ(library_call<decltype(::nftw)>(GetParam())("/tmp/mmcblk0p1", count_files, 8, FTW_PHYS), 0);
  EXPECT_EQ(files_visited, 2);
}

INSTANTIATE_TEST_SUITE_P(By, SimWalk, testing::Values("ftw", "ftw64", "nftw", "nftw64"),
                         [](const auto &tested) { return std::string{tested.param}; });

// --- names that are specified back ---

TEST(SimPathCalls, ReadsALinkOfTheBoard) {
  const board board;
  ASSERT_EQ(::symlink("target", "/tmp/add/link"), 0);
  char text[16] = {};
  EXPECT_EQ(::readlink("/tmp/add/link", text, sizeof text), 6);
  EXPECT_EQ(::readlinkat(AT_FDCWD, "/tmp/add/link", text, sizeof text), 6);
  using checked = ssize_t(const char *, char *, size_t, size_t);
  using checked_at = ssize_t(int, const char *, char *, size_t, size_t);
  EXPECT_EQ(library_call<checked>("__readlink_chk")("/tmp/add/link", text, 16, 16), 6);
  EXPECT_EQ(library_call<checked_at>("__readlinkat_chk")(AT_FDCWD, "/tmp/add/link", text, 16, 16), 6);
  EXPECT_STREQ(text, "target");
}

struct resolver {
  const char *name;
  char *(*resolve)(const char *path, char *into);
};

void PrintTo(const resolver &shown, std::ostream *to) {
  *to << shown.name;
}

class SimResolved : public testing::TestWithParam<resolver> {};

TEST_P(SimResolved, IsAsTheApplicationKnowsIt) {
  const board board;
  board.write("tmp/mmcblk0p1/REC/a.avi", "");
  ASSERT_EQ(::symlink("REC", "/tmp/mmcblk0p1/films"), 0);
  char text[PATH_MAX];
  EXPECT_STREQ(GetParam().resolve("/tmp/mmcblk0p1/films/../films/a.avi", text), "/tmp/mmcblk0p1/REC/a.avi");
  EXPECT_STREQ(GetParam().resolve("/usr/../proc", text), "/proc");
  EXPECT_EQ(GetParam().resolve("/tmp/mmcblk0p1/absent", text), nullptr);
}

/// The result lives on in `into`, as realpath() would have it.
char *by_canonicalize(const char *path, char *into) {
  char *resolved = ::canonicalize_file_name(path);
  if (resolved == nullptr)
    return nullptr;
  std::snprintf(into, PATH_MAX, "%s", resolved);
  std::free(resolved);
  return into;
}

char *by_checked_realpath(const char *path, char *into) {
  return library_call<char *(const char *, char *, size_t)>("__realpath_chk")(path, into, PATH_MAX);
}

INSTANTIATE_TEST_SUITE_P(By, SimResolved,
                         testing::Values(resolver{"realpath", ::realpath},
                                         resolver{"__realpath_chk", by_checked_realpath},
                                         resolver{"canonicalize_file_name", by_canonicalize}),
                         [](const auto &tested) { return tested.param.name; });

TEST(SimPathCalls, ReportsWorkingDirectoryOfApplication) {
  const board board;
  board.write("tmp/mmcblk0p1/REC/a.avi", "");
  ASSERT_EQ(::chdir("/tmp/mmcblk0p1/REC"), 0);
  char text[PATH_MAX];
  EXPECT_STREQ(::getcwd(text, sizeof text), "/tmp/mmcblk0p1/REC");
  using checked = char *(char *, size_t, size_t);
  EXPECT_STREQ(library_call<checked>("__getcwd_chk")(text, sizeof text, sizeof text), "/tmp/mmcblk0p1/REC");
  char *allocated = ::get_current_dir_name();
  EXPECT_STREQ(allocated, "/tmp/mmcblk0p1/REC");
  std::free(allocated);
  EXPECT_EQ(::access("a.avi", F_OK), 0);
  ASSERT_EQ(::chdir("/"), 0);
  EXPECT_STREQ(::getcwd(text, sizeof text), "/");
}

} // namespace
} // namespace dravik::test
