// "card": the memory card, its health and its repairs.

#include "base/unique_file.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/overheard.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view card_help =
    R"(dravik-ctl card
dravik-ctl card check
dravik-ctl card repair|partition|format --yes [--force-not-a-board]

Tells of the memory card. check also ends with status 1, and says what is wrong, unless the card is healthy: there,
not locked, partitioned, and mounted as a writable FAT32 file system.

repair unmounts the card, repairs its file system, and mounts it again: stop recording first.
partition and format DESTROY WHAT THE CARD HOLDS, and reboot the board: partition writes a new partition table with one
FAT32 partition, format makes a new file system in it. The library does not know whether they succeed: look with check
afterwards. The restart may come before they tell anything.

These three require a board, that is /dev/ambad or /proc/ambarella, and a card that is known not to be write-protected.
--force-not-a-board runs them elsewhere, where /dev/mmcblk0 may be the machine's own disk.

Tells: present, locked (null when the GPIO driver does not tell), partitioned, mounted, fat32, writable, healthy,
status (the library's byte), sectors of 512 bytes and size_mib of the card; file_system_mib and free_mib, null when it
is not mounted. repair: the exit statuses of its steps unmount, check and mount

Examples:
  dravik-ctl card
  dravik-ctl card check --json
  dravik-ctl card repair --yes
)";

constexpr std::string_view not_a_board = "--force-not-a-board";
constexpr option_rule card_options[] = {{"--yes", false}, {not_a_board, false}};

constexpr const char *repair_record = "/tmp/debugfs";
constexpr uint32_t smallest_card_sectors = 2048;

enum status_bit : uint8_t {
  present = 0x80,
  locked = 0x40,
  partitioned = 0x20,
  mounted = 0x10,
  fat32 = 8,
  writable = 4
};

struct card_state {
  uint8_t status = 0;
  bool is_healthy = false;
  bool knows_lock = false; ///< without the GPIO driver a card counts as locked
  uint32_t sectors = 0;
  int32_t size_mib = 0;

  bool has(status_bit bit) const { return (status & bit) != 0; }
};

card_state look_at_card() {
  card_state card;
  std::string no_driver;
  card.knows_lock = open_gpio(no_driver);
  const overheard said{[&] {
    card.is_healthy = sd_card_check(&card.status) == 0;
    card.size_mib = sd_card_get_raw_size(&card.sectors);
  }};
  gpio_exit();
  return card;
}

value::fields told(const card_state &card) {
  const bool is_mounted = card.has(mounted);
  return {{"present", card.has(present)},
          {"locked", card.knows_lock ? value{card.has(locked)} : value{nullptr}},
          {"partitioned", card.has(partitioned)},
          {"mounted", is_mounted},
          {"fat32", card.has(fat32)},
          {"writable", card.has(writable)},
          {"healthy", card.is_healthy},
          {"status", card.status},
          {"sectors", card.sectors},
          {"size_mib", card.size_mib},
          {"file_system_mib", is_mounted ? value{sd_card_get_part_size()} : value{nullptr}},
          {"free_mib", is_mounted ? value{sd_card_get_free_space()} : value{nullptr}}};
}

const char *what_is_wrong(const card_state &card) {
  if (!card.has(present))
    return "there is no card";
  if (card.has(locked))
    return card.knows_lock ? "the card is locked"
                           : "the GPIO driver does not tell whether the card is locked";
  if (!card.has(partitioned))
    return "the card has no partition";
  if (!card.has(mounted))
    return "the card is not mounted";
  if (!card.has(fat32))
    return "the card's file system or partition is not FAT32";
  return "the card is mounted for reading only";
}

/// The exit statuses in the record of a repair; as many as there are.
value::list steps_of_repair() {
  value::list steps;
  const unique_file record = open_file(repair_record, "r");
  int status;
  while (record != nullptr && std::fscanf(record.get(), "ret : %d ", &status) == 1)
    steps.emplace_back(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
  return steps;
}

outcome repair(value::fields &report, std::string &error) {
  const overheard said{[] { sd_card_check_fs(); }};
  const value::list steps = steps_of_repair();
  if (steps.size() != 3)
    return failed(error, std::string{repair_record} + ": the repair left no record there");
  report = {{"unmount", steps[0]}, {"check", steps[1]}, {"mount", steps[2]}};
  if (look_at_card().has(mounted))
    return outcome::done;
  return failed(error, because("the card is not mounted after the repair", said.last_line()));
}

outcome partition(const card_state &card, value::fields &report, std::string &error) {
  if (card.sectors < smallest_card_sectors)
    return failed(error,
                  "the card has " + std::to_string(card.sectors) + " sectors: too few for a partition");
  int32_t written = -1;
  const overheard said{[&] { written = sd_card_create_part(card.sectors); }};
  if (written < 0)
    return failed(error, "/tmp/mbr.img cannot be made");
  report = {{"partitioned_sectors", card.sectors}, {"reboots", true}};
  return outcome::done;
}

outcome format(value::fields &report) {
  const overheard said{[] { sd_card_format(); }};
  report = {{"formatted", true}, {"reboots", true}};
  return outcome::done;
}

/// On another machine /dev/mmcblk0 is that machine's own disk.
bool is_board() {
  return ::access("/dev/ambad", F_OK) == 0 || ::access("/proc/ambarella", F_OK) == 0;
}

/// A card whose switch cannot be read may be locked; only a machine that is not a board has no switch.
bool may_write(const card_state &card, bool is_forced) {
  return card.has(present) && (!card.has(locked) || (is_forced && !card.knows_lock));
}

/// Change the card: only if that is meant, on a board, and if there is a card that can be written.
outcome change(const std::string &how, const command_line &given, value::fields &report, std::string &error) {
  const bool is_forced = given.has(not_a_board);
  if (!given.has("--yes"))
    return misused(error, how + (how == "repair" ? " unmounts the card" : " destroys what the card holds") +
                              ": say --yes if you mean it");
  if (!is_forced && !is_board())
    return failed(error, "not a board: neither /dev/ambad nor /proc/ambarella exists; nothing is changed "
                         "without --force-not-a-board");
  const card_state card = look_at_card();
  if (!may_write(card, is_forced))
    return failed(error, what_is_wrong(card));
  if (how == "partition")
    return partition(card, report, error);
  if (!card.has(partitioned))
    return failed(error, what_is_wrong(card));
  return how == "repair" ? repair(report, error) : format(report);
}

outcome card(const command_line &given, value::fields &report, std::string &error) {
  constexpr std::string_view changes[] = {"repair", "partition", "format"};
  const std::string word = given.operands().empty() ? "" : given.operands()[0];
  if (std::ranges::count(changes, word) != 0)
    return change(word, given, report, error);
  if (!word.empty() && word != "check")
    return misused(error, "'" + word + "' is none of check, repair, partition, format");
  for (const option_rule &option : card_options)
    if (given.has(option.name))
      return misused(error, std::string{option.name} + " goes with repair, partition and format");
  const card_state state = look_at_card();
  report = told(state);
  if (word == "check" && !state.is_healthy)
    return failed(error, what_is_wrong(state));
  return outcome::done;
}

} // namespace

constinit const command card_command = {"card", card_help, card_options, 0, 1, reporting<card>};

} // namespace dravik::ctl
