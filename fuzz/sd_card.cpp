// The card's first sector and its size, which becomes a new first sector; the first byte of an
// input chooses.

#include "rig.hpp"

using dravik::fuzz::byte_span;
using dravik::fuzz::require;

namespace {

/// Present, locked (there is no GPIO driver), mounted, writable.
constexpr uint8_t other_bits =
    DRAVIK_CARD_PRESENT | DRAVIK_CARD_LOCKED | DRAVIK_CARD_MOUNTED | DRAVIK_CARD_WRITABLE;

void check_first_sector(dravik::fuzz::rig &rig, byte_span sector) {
  constexpr std::string_view mounts = "/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw,relatime 0 0\n";
  rig.put("/proc/partitions", {});
  rig.put("/proc/mounts", {reinterpret_cast<const uint8_t *>(mounts.data()), mounts.size()});
  rig.put("/dev/mmcblk0", sector);
  uint8_t status;
  sd_card_check(&status);
  const bool is_fat32 = sector.size() > 450 && sector[450] == 0x0B;
  require(status == (is_fat32 ? other_bits | DRAVIK_CARD_FAT32 : other_bits));
}

void check_size(dravik::fuzz::rig &rig, byte_span text) {
  rig.put("/sys/block/mmcblk0/size", text);
  uint32_t sectors;
  const int32_t mebibytes = sd_card_get_raw_size(&sectors);
  require(mebibytes == static_cast<int32_t>(sectors) >> 11);
  require(sd_card_create_part(sectors) == 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0)
    return 0;
  const auto check = (data[0] & 1) == 0 ? check_first_sector : check_size;
  check(dravik::fuzz::rig::the(), {data + 1, size - 1});
  return 0;
}
