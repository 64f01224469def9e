// What the demonstration and the examples need on a board.
#pragma once

#include "support/board.hpp"

#include <filesystem>
#include <gtest/gtest.h>

namespace dravik::test {

/// Puts the demonstration's fonts, artwork and pictures on a board.
inline void add_demonstration_files(const board &to) {
  namespace files = std::filesystem;
  std::error_code code;
  files::copy(DASHCAM_FILES, to.path(),
              files::copy_options::recursive | files::copy_options::overwrite_existing, code);
  ASSERT_FALSE(code) << code.message();
}

} // namespace dravik::test
