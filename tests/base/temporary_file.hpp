// A file that is gone at the end of a test.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <unistd.h>

class temporary_file {
public:
  explicit temporary_file(std::string_view contents) : path_(testing::TempDir() + "dravik-base-XXXXXX") {
    descriptor_ = ::mkstemp(path_.data());
    EXPECT_EQ(::write(descriptor_, contents.data(), contents.size()), static_cast<ssize_t>(contents.size()));
  }
  ~temporary_file() {
    ::close(descriptor_);
    ::unlink(path_.c_str());
  }
  temporary_file(const temporary_file &) = delete;
  temporary_file &operator=(const temporary_file &) = delete;

  const char *path() const { return path_.c_str(); }
  int descriptor() const { return descriptor_; }

private:
  std::string path_;
  int descriptor_;
};
