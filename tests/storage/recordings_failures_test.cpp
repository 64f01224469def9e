// A recordings directory that cannot be read, and what becomes of the working directory.

#include "storage/recordings_stage.hpp"
#include "support/descriptors.hpp"
#include "support/next_call.hpp"

#include <cerrno>
#include <dirent.h>

namespace {

bool folders_are_refused = false;
std::vector<std::string> opened_folders;

} // namespace

extern "C" DIR *opendir(const char *path) {
  opened_folders.emplace_back(path);
  if (folders_are_refused) {
    errno = ENOMEM;
    return nullptr;
  }
  static const auto next = dravik::test::next_call<DIR *(const char *)>("opendir");
  return next(path);
}

namespace dravik::test {
namespace {

constexpr survey all_zero = {0, 0, 0, 0, 0, 0};
constexpr survey all_minus_one = {-1, -1, -1, -1, -1, -1};
using messages = std::vector<std::string>;

class RecordingsFailure : public recordings_fixture {
protected:
  RecordingsFailure() { opened_folders.clear(); }
  ~RecordingsFailure() override { folders_are_refused = false; }

  /// Make a directory of the host whose path is so long, and goes there.
  std::string go_to_path_of(size_t length) const {
    std::string path = board_.path("cwd-");
    EXPECT_LT(path.size(), length);
    path.resize(length, 'd');
    std::filesystem::create_directory(path);
    change_directory(path);
    EXPECT_EQ(working_directory(), path);
    return path;
  }
};

TEST_F(RecordingsFailure, KeepsWorkingDirectory) {
  change_directory("/usr");
  EXPECT_EQ(checked_survey(0), (survey{0, -1, 0, 0, -1, 0}));
  EXPECT_EQ(working_directory(), "/usr");
  EXPECT_EQ(opened_folders, messages{"."});
  EXPECT_EQ(log(), messages{});
}

TEST_F(RecordingsFailure, AcceptsDirectoryItselfAsWorkingDirectory) {
  add("KVX00001.TS");
  change_directory("/tmp/mmcblk0p1/REC");
  EXPECT_EQ(checked_survey(0)[0], 1);
  EXPECT_EQ(working_directory(), "/tmp/mmcblk0p1/REC");
}

TEST_F(RecordingsFailure, ReportsMissingDirectory) {
  std::filesystem::remove(folder_);
  change_directory("/usr");
  EXPECT_EQ(checked_survey(-1), all_minus_one);
  EXPECT_EQ(log(), messages{"parse_rec_file_list() : stat/chdir err! : /usr"});
  EXPECT_EQ(working_directory(), "/usr");
  EXPECT_EQ(opened_folders, messages{});
}

TEST_F(RecordingsFailure, ReportsFileInPlaceOfDirectory) {
  std::filesystem::remove(folder_);
  board_.write("tmp/mmcblk0p1/REC", "");
  EXPECT_EQ(checked_survey(-1), all_minus_one);
  EXPECT_EQ(log(), messages{"parse_rec_file_list() : stat/chdir err! : /"});
  EXPECT_EQ(working_directory(), "/");
}

TEST_F(RecordingsFailure, ReportsDanglingLink) {
  std::filesystem::remove(folder_);
  std::filesystem::create_symlink("missing", folder_);
  EXPECT_EQ(checked_survey(-1), all_minus_one);
  EXPECT_EQ(log().size(), 1U);
}

TEST_F(RecordingsFailure, KeepsWorkingDirectoryIfUnreadable) {
  add("KVX00001.TS");
  change_directory("/usr");
  folders_are_refused = true;
  EXPECT_EQ(checked_survey(-1), all_zero);
  EXPECT_EQ(log(), messages{"parse_rec_file_list() : opendir err! : /usr"});
  EXPECT_EQ(working_directory(), "/tmp/mmcblk0p1/REC");
}

TEST_F(RecordingsFailure, AcceptsWorkingDirectoryOf63Bytes) {
  add("KVX00001.TS");
  const std::string path = go_to_path_of(63);
  EXPECT_EQ(checked_survey(0)[0], 1);
  EXPECT_EQ(working_directory(), path);
  EXPECT_EQ(log(), messages{});
}

TEST_F(RecordingsFailure, LogsLongestWorkingDirectoryWhole) {
  std::filesystem::remove(folder_);
  const std::string path = go_to_path_of(63);
  EXPECT_EQ(checked_survey(-1), all_minus_one);
  EXPECT_EQ(log(), messages{"parse_rec_file_list() : stat/chdir err! : " + path});
  EXPECT_EQ(working_directory(), path);
}

TEST_F(RecordingsFailure, ReportsLongerWorkingDirectory) {
  add("KVX00001.TS");
  for (const size_t length : {64U, 65U, 200U}) {
    board_.remove("tmp/dravik.log");
    const std::string path = go_to_path_of(length);
    EXPECT_EQ(checked_survey(-1), all_zero) << length;
    EXPECT_EQ(log(), messages{"parse_rec_file_list() : getcwd err!"}) << length;
    EXPECT_EQ(working_directory(), path) << length;
  }
}

TEST_F(RecordingsFailure, ReportsRemovedWorkingDirectory) {
  const std::string path = go_to_path_of(60);
  std::filesystem::remove(path);
  EXPECT_EQ(checked_survey(-1), all_zero);
  EXPECT_EQ(log(), messages{"parse_rec_file_list() : getcwd err!"});
}

TEST_F(RecordingsFailure, AllowsNextSurvey) {
  add("KVX00001.TS");
  folders_are_refused = true;
  checked_survey(-1);
  folders_are_refused = false;
  EXPECT_EQ(checked_survey(0)[0], 1);
}

TEST_F(RecordingsFailure, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  folders_are_refused = true;
  checked_survey(-1);
  std::filesystem::remove(folder_);
  checked_survey(-1);
  EXPECT_EQ(open_descriptors(), before);
}

} // namespace
} // namespace dravik::test
