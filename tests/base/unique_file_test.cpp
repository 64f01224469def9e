// A stdio stream with one owner.

#include "base/unique_file.hpp"
#include "temporary_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using dravik::open_file;
using dravik::seek_to_end;
using dravik::unique_file;

TEST(UniqueFile, IsClosedAtItsEnd) {
  const temporary_file file{"abc"};
  int descriptor;
  {
    const unique_file stream = open_file(file.path(), "r");
    ASSERT_NE(stream, nullptr);
    descriptor = ::fileno(stream.get());
    EXPECT_NE(::fcntl(descriptor, F_GETFD), -1);
  }
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST(UniqueFile, IsEmptyForAFileThatIsNotThere) {
  EXPECT_EQ(open_file("/nowhere/at/all", "r"), nullptr);
}

TEST(UniqueFile, FlushesWhatWasWritten) {
  const temporary_file file{""};
  std::fputs("hello", open_file(file.path(), "w").get());
  EXPECT_EQ(seek_to_end(open_file(file.path(), "r").get()), 5);
}

TEST(SeekToEnd, ReturnsTheLengthAndStaysAtTheEnd) {
  const temporary_file file{"abcde"};
  const unique_file stream = open_file(file.path(), "r");
  EXPECT_EQ(seek_to_end(stream.get()), 5);
  EXPECT_EQ(std::fgetc(stream.get()), EOF);
}

TEST(SeekToEnd, ReturnsZeroForEmptyFile) {
  const temporary_file file{""};
  EXPECT_EQ(seek_to_end(open_file(file.path(), "r").get()), 0);
}

TEST(SeekToEnd, FailsForPipe) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const unique_file stream{::fdopen(ends[0], "r")};
  EXPECT_EQ(seek_to_end(stream.get()), -1);
  ::close(ends[1]);
}

} // namespace
