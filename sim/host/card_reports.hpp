// Reports of the kernel about the memory card: below /sys/block, in /proc/partitions and in /proc/mounts.
#pragma once

#include "board/card_texts.hpp"

#include <string>

namespace dravik::sim {

/// Files of a memory card in the directory of a board.
struct card_files {
  explicit card_files(std::string of) : board(std::move(of)) {}

  std::string image() const { return board + "/dev/mmcblk0"; }
  std::string image_out_of_slot() const { return board + "/card/mmcblk0"; }
  std::string mount_point() const { return board + "/tmp/mmcblk0p1"; }
  std::string fresh_image() const { return board + "/card/mmcblk0.new"; } ///< until it replaces the image
  std::string copy_of_partition() const { return board + "/card/mmcblk0p1"; }
  std::string record() const { return board + "/card/files"; }        ///< exists while the card is mounted
  std::string staged() const { return board + "/card/mounting"; }     ///< the next mount point
  std::string below_mount() const { return board + "/card/below"; }   ///< what the mount point held before
  std::string discarded() const { return board + "/card/unmounted"; } ///< the previous mount point
  std::string report_begun() const { return board + "/card/report"; } ///< exists until report_card() is done
  std::string broken() const {
    return board + "/" + card_texts::broken;
  } ///< exists while mtools cannot read all
  std::string pulled() const {
    return board + "/" + card_texts::pulled;
  } ///< exists while a mount without card does
  std::string read_back() const { return board + "/card/readback"; } ///< a copy of a fresh image's files
  std::string lock_line() const { return board + "/" + card_texts::locked_line; }

  std::string board;
};

/// Announce report_card(): if the process is killed before its end, the next action calls it. Return false
/// and set `error` on failure.
[[nodiscard]] bool begin_report(const std::string &board, std::string &error);

/// Report the inserted card, or the empty slot. The partition is that of the boot record now. Return
/// false and set `error` on failure.
[[nodiscard]] bool report_card(const std::string &board, std::string &error);

/// The same for a card that comes into the slot: the kernel reports the partition half a second after the card.
[[nodiscard]] bool report_arrival(const std::string &board, std::string &error);

/// The partition in the kernel's list; of length 0 if there is none.
partition known_partition(const std::string &board);

mount_state read_mount_state(const std::string &board);
[[nodiscard]] bool report_mount(const std::string &board, mount_state state, std::string &error);

} // namespace dravik::sim
