// The file system of a card made, checked and repaired by the tools of dosfstools.
#pragma once

#include "board/card_layout.hpp"

#include <string>
#include <vector>

namespace dravik::sim {

/// mkfs.vfat for a partition inside an image: its status, as run_tool() gives it.
int make_file_system(const std::string &image, const partition &place,
                     const std::vector<std::string> &options, std::string *said = nullptr);

/// Checks and repairs the file system of a board's card with fsck.fat, whose exit status it gives; why that
/// could not begin is in `error`.
int check_card(const std::string &board, const std::vector<std::string> &options, std::string &error);

/// Makes a new file system on a board's card with mkfs.vfat, likewise.
int format_card(const std::string &board, const std::vector<std::string> &options, std::string &error);

} // namespace dravik::sim
