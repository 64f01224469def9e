// The README's first program, built against an installed library and run on a simulated board.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/wait.h>

namespace dravik::test {

namespace files = std::filesystem;

struct shell_result {
  int status;
  std::string output; ///< and errors
};

/// Run a command line of the shell.
inline shell_result shell(const std::string &command) {
  shell_result result{-1, ""};
  std::FILE *stream = ::popen(("{ " + command + "\n} 2>&1 </dev/null").c_str(), "r");
  std::array<char, 4096> block;
  while (const size_t count = std::fread(block.data(), 1, block.size(), stream))
    result.output.append(block.data(), count);
  const int status = ::pclose(stream);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

/// Run a command line that has to succeed; return its output.
inline std::string expect_success(const std::string &command) {
  const shell_result result = shell(command);
  EXPECT_EQ(result.status, 0) << command << '\n' << result.output;
  return result.output;
}

inline std::string text_of(const files::path &path) {
  std::ifstream file{path, std::ios::binary};
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>{file}, {}};
}

/// A directory that is removed with its contents.
class scratch_directory {
public:
  scratch_directory() { EXPECT_NE(::mkdtemp(path_.data()), nullptr); }
  ~scratch_directory() { files::remove_all(path_); }
  scratch_directory(const scratch_directory &) = delete;
  scratch_directory &operator=(const scratch_directory &) = delete;

  std::string at(const std::string &name) const { return path_ + "/" + name; }

private:
  std::string path_ = testing::TempDir() + "dravik-installed-XXXXXX";
};

/// The program in the README, between the lines ```c and ```.
inline std::string first_program() {
  const std::string readme = text_of(SOURCE "/README.md");
  const size_t start = readme.find("\n```c\n") + 6;
  return readme.substr(start, readme.find("\n```\n", start) + 1 - start);
}

/// Write a project of CMake that builds the program as "first". Return the command that configures it for an
/// installation below `prefix`, in the directory "build" of the project.
inline std::string project_of_first_program(const std::string &directory, const std::string &version,
                                            const std::string &prefix) {
  files::create_directories(directory);
  files::remove_all(directory + "/build");
  std::ofstream{directory + "/first.c"} << first_program();
  std::ofstream{directory + "/CMakeLists.txt"}
      << "cmake_minimum_required(VERSION 3.25)\nproject(first LANGUAGES C)\n"
      << "find_package(dravik " << version << " CONFIG REQUIRED)\n"
      << "add_executable(first first.c)\ntarget_link_libraries(first PRIVATE dravik::dravik)\n";
  return CMAKE " -S " + directory + " -B " + directory + "/build -DCMAKE_PREFIX_PATH=" + prefix;
}

/// The value of a pixel of a simulated board's screen, 640 pixels wide.
inline unsigned pixel(const std::string &memory, size_t x, size_t y) {
  const size_t at = (y * 640 + x) * 2;
  return static_cast<unsigned char>(memory.at(at)) | static_cast<unsigned char>(memory.at(at + 1)) << 8U;
}

/// Run the program on a new board by the simulator of an installation, and check what it drew and logged.
inline void expect_first_program_runs(const std::string &simulator, const std::string &program,
                                      const std::string &library_directory) {
  const scratch_directory scratch;
  const std::string board = scratch.at("board");
  expect_success(simulator + " new " + board + " --card 0");
  expect_success("LD_LIBRARY_PATH=" + library_directory + " " + simulator + " run " + board + " -- " +
                 program);
  const std::string memory = text_of(board + "/dev/fb0");
  EXPECT_EQ(pixel(memory, 0, 0), 0x0B77U);               // the theme colour
  EXPECT_EQ(pixel(memory, 41, 41), 0xFFFFU);             // the rectangle
  EXPECT_EQ(pixel(memory, 80, 80), 0xF800U);             // the disc
  EXPECT_NE(memory.find("\x21\x08"), std::string::npos); // the text
  EXPECT_NE(text_of(board + "/tmp/dravik.log").find("first screen drawn"), std::string::npos);
}

} // namespace dravik::test
