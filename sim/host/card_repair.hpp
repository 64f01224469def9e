// Creating, checking and repairing the file system of a card with dosfstools.
#pragma once

#include "board/card_layout.hpp"

#include <string>
#include <vector>

namespace dravik::sim {

/// Run mkfs.vfat for a partition of an image. Return its status as run_tool() does.
int make_file_system(const std::string &image, const partition &place,
                     const std::vector<std::string> &options, std::string *said = nullptr);

/// Check and repair the file system of a card with fsck.fat. Return its exit status;
/// `error` is set if it could not start.
int check_card(const std::string &board, const std::vector<std::string> &options, std::string &error);

/// Create a file system on a card with mkfs.vfat, likewise.
int format_card(const std::string &board, const std::vector<std::string> &options, std::string &error);

} // namespace dravik::sim
