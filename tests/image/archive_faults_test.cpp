// Archives when system calls fail.

#include "image/archive_stage.hpp"
#include "support/next_call.hpp"
#include "support/refused_malloc.hpp"

#include <filesystem>

namespace {

/// A stream of this path returns one byte less than requested.
const char *short_path = nullptr;
std::FILE *short_stream = nullptr;

} // namespace

extern "C" {

FILE *fopen(const char *__restrict path, const char *__restrict mode) {
  std::FILE *file = dravik::test::next_call<FILE *(const char *, const char *)>("fopen")(path, mode);
  if (short_path != nullptr && std::strcmp(path, short_path) == 0)
    short_stream = file;
  return file;
}

size_t fread(void *__restrict to, size_t size, size_t count, FILE *__restrict from) {
  const size_t got =
      dravik::test::next_call<size_t(void *, size_t, size_t, FILE *)>("fread")(to, size, count, from);
  return from == short_stream && got > 0 ? got - 1 : got;
}

} // extern "C"

namespace dravik::test {
namespace {

class ArchiveFaults : public archive_stage {
protected:
  ~ArchiveFaults() override { refused_size = 0; }

  /// Load an archive; expect it to fail, with this text between the first and the last line on
  /// standard error.
  void expect_failure(const std::string &path, const std::string &said) {
    load(1, {path});
    EXPECT_EQ(q7bmp_ptr[0], nullptr);
    EXPECT_EQ(get_q7bmp_str_num(0), 0U);
    EXPECT_EQ(said_, "q7bmp_alloc(): file_num : 1\n" + said + "  " + path + " : 0\n");
  }
};

TEST_F(ArchiveFaults, FailsWithoutMemory) {
  archive_maker maker = {{random_art(random_, 1, 12345)}};
  const std::string path = file("art", maker.file());
  refused_size = maker.file().size();
  expect_failure(path, "");
  refused_size = 0;
  EXPECT_EQ(messages(), strings{"cannot allocate memory!"});
  load(1, {path});
  EXPECT_NE(q7bmp_ptr[0], nullptr);
}

TEST_F(ArchiveFaults, FailsIfFileCannotBeOpened) {
  const char *path = "/usr/local/dravik/art.bin";
  write_file(board_.path(path), archive_maker{{random_art(random_, 4, 4)}}.file());
  board_.set_fault("open", path, "EACCES");
  expect_failure(path, "");
  EXPECT_EQ(messages(), strings{"open /usr/local/dravik/art.bin error"});
}

TEST_F(ArchiveFaults, FailsIfFileIsShorterThanItsLength) {
  const std::string path = file("art", archive_maker{{random_art(random_, 4, 4)}}.file());
  short_path = path.c_str();
  expect_failure(path, "load_q7_bitmap: fread is error!\n");
  short_path = nullptr;
  EXPECT_EQ(messages(), strings{});
}

TEST_F(ArchiveFaults, LeavesNothingOpen) {
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_files();
  const bytes files[] = {archive_maker{.magic = "KORVEXQ6"}.file(), archive_maker{.file_size = 5}.file(), {}};
  for (const bytes &content : files)
    load(1, {file("art", content)});
  EXPECT_EQ(open_files(), before);
}

} // namespace
} // namespace dravik::test
