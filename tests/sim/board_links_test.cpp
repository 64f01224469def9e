// Boards from strangers: what links, devices and pipes in one lead to.

#include "board/use_board.h"
#include "support/board.hpp"
#include "support/changed_variable.hpp"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::test {
namespace {

namespace files = std::filesystem;

class SimBoardLinks : public testing::Test {
protected:
  SimBoardLinks() {
    files::create_directory(outside());
    write_outside("secret", "host");
  }
  ~SimBoardLinks() override { files::remove_all(outside()); }

  std::string outside() const { return board_.path() + "-outside"; }
  void write_outside(const std::string &name, const std::string &text) const {
    const int file = ::open((outside() + "/" + name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(file);
  }
  void link(const std::string &target, const char *inside) const {
    board_.remove(inside);
    files::create_symlink(target, board_.path(inside));
  }
  static std::string read(const char *path) {
    char text[16] = {};
    const int file = ::open(path, O_RDONLY);
    if (file < 0)
      return "";
    EXPECT_GE(::read(file, text, sizeof text - 1), 0);
    ::close(file);
    return text;
  }

  board board_;
};

TEST_F(SimBoardLinks, LeadNowhereOutside) {
  link(outside() + "/secret", "tmp/ptb");
  link("../../../../../../../../" + outside() + "/secret", "tmp/debugfs");
  link(outside(), "tmp/add");
  for (const char *path : {"/tmp/ptb", "/tmp/debugfs", "/tmp/add/secret"}) {
    struct stat status;
    EXPECT_EQ(::open(path, O_RDONLY), -1) << path;
    EXPECT_EQ(::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644), -1) << path;
    EXPECT_EQ(std::fopen(path, "w"), nullptr) << path;
    EXPECT_EQ(::stat(path, &status), -1) << path;
    EXPECT_EQ(::truncate(path, 0), -1) << path;
    EXPECT_EQ(::chmod(path, 0), -1) << path;
  }
  EXPECT_EQ(::opendir("/tmp/add"), nullptr);
  EXPECT_EQ(::unlink("/tmp/add/secret"), -1);
  EXPECT_EQ(::rename("/tmp/add/secret", "/tmp/mbr.img"), -1);
  EXPECT_EQ(::mkdir("/tmp/add/new", 0755), -1);
  EXPECT_EQ(files::file_size(outside() + "/secret"), 4U);
}

TEST_F(SimBoardLinks, AreFollowedInsideBoard) {
  board_.write("usr/local/dravik/text", "board");
  link("../usr/local/dravik/text", "tmp/ptb");
  EXPECT_EQ(read("/tmp/ptb"), "board");
  link("/usr/local/dravik/text", "tmp/ptb");
  EXPECT_EQ(read("/tmp/ptb"), "board");
  link("../../../../usr/local/dravik", "tmp/add");
  EXPECT_EQ(read("/tmp/add/text"), "board");
  link(board_.path("usr/local/dravik/text"), "tmp/debugfs");
  EXPECT_EQ(read("/tmp/debugfs"), "board");
}

TEST_F(SimBoardLinks, LeadNowhereInCircle) {
  link("debugfs", "tmp/ptb");
  link("ptb", "tmp/debugfs");
  EXPECT_EQ(::open("/tmp/ptb", O_RDONLY), -1);
}

TEST_F(SimBoardLinks, CanBeLookedAtAndRemoved) {
  link(outside() + "/secret", "tmp/ptb");
  struct stat status;
  EXPECT_EQ(::lstat("/tmp/ptb", &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  EXPECT_EQ(::unlink("/tmp/ptb"), 0);
  EXPECT_TRUE(files::exists(outside() + "/secret"));
}

TEST_F(SimBoardLinks, LeadNowhereOutsideForSimulatorFiles) {
  write_outside("events", "");
  link(outside() + "/events", "events");
  link(outside() + "/panel", "panel");
  ::sync();
  EXPECT_EQ(files::file_size(outside() + "/events"), 0U);
}

TEST_F(SimBoardLinks, DoNotBlockIfSettingsArePipe) {
  board_.remove("faults");
  ASSERT_EQ(::mkfifo(board_.path("faults").c_str(), 0644), 0);
  EXPECT_EQ(::access("/tmp/add", F_OK), 0);
  const int file = ::open("/tmp/ptb", O_WRONLY | O_CREAT, 0644);
  EXPECT_GE(file, 0);
  ::close(file);
}

// --- /tmp ---

class SimTmp : public testing::Test {
protected:
  SimTmp() { ::dravik_sim_use_host_directories(host_directory().c_str()); }
  ~SimTmp() override { ::dravik_sim_use_host_directories("/tmp"); }
  std::string host_directory() const { return host_.path(); }

  const changed_variable temporary_{"TMPDIR", "/tmp"};
  board host_;  ///< a directory of the host below /tmp
  board board_; ///< the board in use
};

TEST_F(SimTmp, IsTheBoards) {
  const int file = ::open("/tmp/dravik-new-file", O_WRONLY | O_CREAT | O_EXCL, 0644);
  ASSERT_GE(file, 0);
  ::close(file);
  EXPECT_TRUE(board_.exists("tmp/dravik-new-file"));
  ASSERT_EQ(::mkdir("/tmp/dravik-new-folder", 0755), 0);
  ASSERT_EQ(std::rename("/tmp/dravik-new-file", "/tmp/dravik-new-folder/file"), 0);
  EXPECT_TRUE(board_.exists("tmp/dravik-new-folder/file"));
  ::dravik_sim_use_board(nullptr);
  EXPECT_EQ(::access("/tmp/dravik-new-folder", F_OK), -1);
}

TEST_F(SimTmp, ShowsWhatOnlyTheHostHas) {
  host_.write("only", "host");
  ::dravik_sim_use_host_directories(nullptr);
  const std::string path = host_.path("only");
  struct stat status;
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(::access(path.c_str(), R_OK), 0);
  EXPECT_GE(::open(path.c_str(), O_RDONLY), 0);
  EXPECT_EQ(::open(path.c_str(), O_WRONLY), -1);
  EXPECT_EQ(::unlink(path.c_str()), -1);
  EXPECT_EQ(::truncate(path.c_str(), 0), -1);
  ::dravik_sim_use_host_directories(host_directory().c_str());
  EXPECT_EQ(host_.read("only"), "host");
}

TEST_F(SimTmp, KeepsNamedFilesOnBoard) {
  EXPECT_EQ(::open("/tmp/dravik.log", O_RDONLY), -1);
  ::dravik_sim_use_host_directories("/tmp");
  EXPECT_EQ(::open("/tmp/dravik.log", O_RDONLY), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(SimTmp, LeavesDirectoriesToTheHost) {
  const std::string path = host_.path("given");
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_GE(file, 0);
  ::close(file);
  EXPECT_TRUE(host_.exists("given"));
}

TEST_F(SimTmp, HasTheFilesOfNamesThatTheLibraryChooses) {
  char pattern[] = "/tmp/dravik-XXXXXX";
  const int file = ::mkstemp(pattern);
  ASSERT_GE(file, 0);
  ::close(file);
  EXPECT_TRUE(board_.exists(pattern)) << pattern;
  EXPECT_EQ(::unlink(pattern), 0);
  char suffixed[] = "/tmp/dravik-XXXXXX.txt";
  const int other = ::mkstemps(suffixed, 4);
  ASSERT_GE(other, 0);
  ::close(other);
  EXPECT_THAT(suffixed, testing::EndsWith(".txt"));
  EXPECT_TRUE(board_.exists(suffixed)) << suffixed;
  char folder[] = "/tmp/dravik-XXXXXX";
  ASSERT_STREQ(::mkdtemp(folder), folder);
  EXPECT_TRUE(board_.exists(folder)) << folder;
}

} // namespace
} // namespace dravik::test
