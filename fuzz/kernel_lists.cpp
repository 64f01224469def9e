// The kernel's lists of modules, partitions and mounts; the first byte of an input chooses.

#include "rig.hpp"

using dravik::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0)
    return 0;
  constexpr const char *lists[] = {"/proc/modules", "/proc/partitions", "/proc/mounts"};
  const size_t chosen = data[0] % std::size(lists);
  auto &rig = dravik::fuzz::rig::the();
  for (const char *list : lists)
    rig.put(list,
            list == lists[chosen] ? dravik::fuzz::byte_span{data + 1, size - 1} : dravik::fuzz::byte_span{});

  rig.put("/dev/ambad", {});
  if (gpio_init() == 0)
    require(chosen == 0 && gpio_exit() == 0);
  gpiofd = -1; // leaving does not forget it
  uint8_t status;
  require(sd_card_check(&status) == 1); // no one list makes a healthy card
  const bool has_partition = sd_card_check_part() == 0, is_mounted = sd_card_check_mount() == 0;
  require(!has_partition || chosen == 1);
  require(!is_mounted || chosen == 2);
  return 0;
}
