// A directory of its own for each test of the artwork tool, and the tool run in it as a child process.
#pragma once

#include "png/png_file.hpp"
#include "support/paths.hpp"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::art_test {

using bytes = std::vector<uint8_t>;

/// How a child process ended; status is -1 for one that a signal ended.
struct run_result {
  int status;
  std::string out;
  std::string err;
};

inline std::string read_text(const std::filesystem::path &path) {
  std::ifstream file{path, std::ios::binary};
  return {std::istreambuf_iterator<char>{file}, {}};
}

inline bytes read_bytes(const std::filesystem::path &path) {
  const std::string text = read_text(path);
  return {text.begin(), text.end()};
}

inline void write_bytes(const std::filesystem::path &path, const bytes &content) {
  std::ofstream file{path, std::ios::binary};
  file.write(reinterpret_cast<const char *>(content.data()), static_cast<std::streamsize>(content.size()));
}

inline void write_text(const std::filesystem::path &path, const std::string &text) {
  write_bytes(path, bytes(text.begin(), text.end()));
}

/// An archive word by word, so that a test can get any of it wrong.
class archive_bytes {
public:
  archive_bytes &text(std::string_view text) {
    content_.insert(content_.end(), text.begin(), text.end());
    return *this;
  }
  archive_bytes &words(std::initializer_list<uint32_t> values) {
    for (const uint32_t value : values)
      for (int shift = 0; shift < 32; shift += 8)
        content_.push_back(static_cast<uint8_t>(value >> shift));
    return *this;
  }
  archive_bytes &raw(std::initializer_list<uint8_t> values) {
    content_.insert(content_.end(), values);
    return *this;
  }
  operator bytes() const { return content_; }

private:
  bytes content_;
};

/// Two sound images: 3 x 2 at 48 and 2 x 1 at 52.
inline bytes sound_archive() {
  return archive_bytes{}
      .text("KORVEXQ7")
      .words({2, 53})
      .words({3, 2, 48, 0, 2, 1, 52, 0})
      .raw({0x12, 0x30, 0x45, 0xF0, 0x0F});
}

inline void put_word(bytes &into, size_t at, uint32_t value) {
  for (size_t i = 0; i < 4; ++i)
    into.at(at + i) = static_cast<uint8_t>(value >> (8 * i));
}

using rgba = std::array<uint8_t, 4>;

inline png::picture make_picture(uint32_t width, uint32_t height,
                                 const std::function<rgba(uint32_t, uint32_t)> &colour) {
  png::picture made{width, height, {}};
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x)
      for (const uint8_t part : colour(x, y))
        made.rgba.push_back(part);
  return made;
}

class ArtTool : public testing::Test {
protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "dravik-art-XXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder_ = name;
    std::filesystem::create_directory(folder_ / "work");
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  /// A file of the directory that the tool runs in.
  std::filesystem::path at(const std::string &name) const { return folder_ / "work" / name; }

  run_result run(std::vector<std::string> words) const {
    words.insert(words.begin(), dravik_art_path);
    return run_program(std::move(words));
  }

  run_result run_program(std::vector<std::string> words, const std::string &out = {}) const {
    const std::string out_path = out.empty() ? (folder_ / "out").string() : out;
    const std::string err_path = (folder_ / "err").string();
    std::vector<char *> arguments;
    for (std::string &word : words)
      arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addchdir_np(&actions, at("").c_str());
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out_path.c_str(), flags, 0666);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err_path.c_str(), flags, 0666);
    pid_t child = -1; // a fork would copy the page tables of a sanitizer, for hundreds of runs
    EXPECT_EQ(::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out.empty() ? read_text(out_path) : "",
            read_text(err_path)};
  }

  /// Run the tool where no file may grow beyond 512 bytes.
  run_result run_with_full_disk(const std::string &words) const {
    return run_program({"sh", "-c", "trap '' XFSZ; ulimit -f 1; exec \"$0\" " + words, dravik_art_path});
  }

  void expect_quiet_success(const std::vector<std::string> &words) const {
    const run_result result = run(words);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
  }

  /// Run the tool, expect exactly one line and that nothing in the directory is new, gone or changed.
  void expect_refusal(const std::vector<std::string> &words, int status, const std::string &line) const {
    const auto before = contents();
    const run_result result = run(words);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "dravik-art: " + line + "\n");
    EXPECT_TRUE(contents() == before) << "files changed";
  }

  void write_picture(const std::string &name, const png::picture &from) const {
    std::string error;
    ASSERT_TRUE(png::write(at(name), from, error)) << error;
  }

  png::picture read_picture(const std::string &name) const {
    png::picture read;
    std::string error;
    EXPECT_TRUE(png::read(at(name), read, error)) << error;
    return read;
  }

  /// Run ImageMagick, which is another reader and writer of images.
  void convert(std::vector<std::string> words) const {
    words.insert(words.begin(), "convert");
    const run_result result = run_program(std::move(words));
    ASSERT_EQ(result.status, 0) << result.err;
  }

  /// Every file below the working directory with its bytes; directories end with a slash.
  std::map<std::string, std::string> contents() const {
    std::map<std::string, std::string> all;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(at("")))
      if (entry.is_directory())
        all[entry.path().string() + "/"] = "";
      else
        all[entry.path().string()] = read_text(entry.path());
    return all;
  }

private:
  std::filesystem::path folder_;
};

} // namespace dravik::art_test
