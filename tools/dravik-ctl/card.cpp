// "card": the memory card, its health and its repairs.

#include "base/unique_file.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/overheard.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sys/wait.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view card_help =
    R"(dravik-ctl card
dravik-ctl card check
dravik-ctl card repair|partition|format --yes

Tells of the memory card. check also ends with status 1, and says what is wrong, unless the card is healthy: there,
not locked, partitioned, and mounted as a writable FAT32 file system.

repair unmounts the card, repairs its file system, and mounts it again: stop recording first.
partition and format DESTROY WHAT THE CARD HOLDS, and reboot the board: partition writes a new partition table with one
FAT32 partition, format makes a new file system in it. The library does not know whether they succeed: look with check
afterwards. The restart may come before they tell anything.

Tells: present, locked (null when the GPIO driver does not tell), partitioned, mounted, fat32, writable, healthy,
status (the library's byte), sectors of 512 bytes and size_mib of the card; file_system_mib and free_mib, null when it
is not mounted. repair: the exit statuses of its steps unmount, check and mount

Examples:
  dravik-ctl card
  dravik-ctl card check --json
  dravik-ctl card repair --yes
)";

constexpr option_rule card_options[] = {{"--yes", false}};

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
  bool is_locked() const { return knows_lock && has(locked); }
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

/// What changes the card: only when that is meant, and when there is one that can be written.
outcome change(const std::string &how, bool is_meant, value::fields &report, std::string &error) {
  if (!is_meant)
    return misused(error, how + (how == "repair" ? " unmounts the card" : " destroys what the card holds") +
                              ": say --yes if you mean it");
  const card_state card = look_at_card();
  if (!card.has(present) || card.is_locked())
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
    return change(word, given.has("--yes"), report, error);
  if (!word.empty() && word != "check")
    return misused(error, "'" + word + "' is none of check, repair, partition, format");
  if (given.has("--yes"))
    return misused(error, "--yes goes with repair, partition and format");
  const card_state state = look_at_card();
  report = told(state);
  if (word == "check" && !state.is_healthy)
    return failed(error, what_is_wrong(state));
  return outcome::done;
}

} // namespace

constinit const command card_command = {"card", card_help, card_options, 0, 1, reporting<card>};

} // namespace dravik::ctl
