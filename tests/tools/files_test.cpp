// Reading of complete files.

#include "common/files.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>

namespace dravik::tools {
namespace {

/// Files of the kernel report another size than they contain: 0 below /proc, 4096 below /sys.
TEST(ReadFile, ReadsFilesOfTheKernelToTheirEnd) {
  for (const char *path :
       {"/proc/version", "/sys/kernel/mm/transparent_hugepage/enabled", "/sys/devices/system/cpu/possible"}) {
    std::ifstream file{path};
    const std::string expected{std::istreambuf_iterator<char>{file}, {}};
    struct stat status;
    if (::stat(path, &status) != 0)
      continue; // not in every container
    ASSERT_NE(static_cast<size_t>(status.st_size), expected.size()) << "this file shows nothing";
    std::vector<uint8_t> read;
    std::string error;
    EXPECT_TRUE(read_file(path, read, error)) << error;
    EXPECT_EQ(std::string(read.begin(), read.end()), expected);
  }
}

TEST(ReadFile, RejectsDirectories) {
  std::vector<uint8_t> read;
  std::string error;
  EXPECT_FALSE(read_file("/proc", read, error));
  EXPECT_EQ(error, "/proc: not a regular file");
}

} // namespace
} // namespace dravik::tools
