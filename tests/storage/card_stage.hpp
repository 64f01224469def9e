// A card in the slot of a board, and the system's files about it.
#pragma once

#include "support/board.hpp"

#include <string>

namespace dravik::test {

class card_stage {
public:
  const board &on() const { return board_; }

  void plug_in() const { board_.write("sys/block/mmcblk0/size", "15523840\n"); }
  void pull_out() const { board_.remove("sys/block/mmcblk0"); }

  void list_partitions(std::string_view lines) const {
    board_.write("proc/partitions", "major minor  #blocks  name\n\n" + std::string{lines});
  }
  void list_mounts(std::string_view lines) const {
    board_.write("proc/mounts", "rootfs / rootfs rw 0 0\n" + std::string{lines});
  }

  /// The card's first sector, with the type of its first partition.
  void write_type(uint8_t type, size_t size = 512) const {
    std::string sector(std::max(size, size_t{512}), '\0');
    sector[450] = static_cast<char>(type);
    board_.write("dev/mmcblk0", sector.substr(0, size));
  }

  void make_healthy() const {
    plug_in();
    list_partitions(" 179        0    7761920 mmcblk0\n 179        1    7761904 mmcblk0p1\n");
    list_mounts("/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw,relatime,fmask=0022 0 0\n");
    write_type(0x0B);
  }

private:
  board board_;
};

} // namespace dravik::test
