// "card": state, check, repair and formatting of the memory card.

#include "base/unique_file.hpp"
#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/card_mount.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/readings.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string_view>
#include <sys/wait.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view card_help =
    R"(Usage: dravik-ctl card [--watch [--count N] [--interval MS]]
       dravik-ctl card check
       dravik-ctl card repair|partition|format --yes [--force-not-a-board]

Query, check, repair, partition or format the memory card.

'check' fails unless the card is healthy: inserted, not write-protected,
partitioned, and mounted as a writable FAT32 file system.

'repair' unmounts the card, repairs its file system and mounts it again. It
fails, as does 'format', and changes nothing if a program uses the card: stop
recording first.

'partition' and 'format' DESTROY THE CONTENTS of the card and reboot the board:
'partition' writes a partition table with one FAT32 partition, 'format' creates
a file system in it. The library does not return whether they succeed; run
'check' afterwards. The reboot may precede their output.

These three require a board, that is /dev/ambad or /proc/ambarella, and a card
that is not write-protected.

Options:
  --watch              print states, one per line, until interrupted
  --count N            stop after N states
  --interval MS        time between states in ms, 10 to 60000 (default: 100)
  --yes                confirm repair, partition or format
  --force-not-a-board  run them on other machines too, where /dev/mmcblk0 may be
                       the machine's own disk, and where there is no
                       write-protect switch

Output:
  present, partitioned, mounted, fat32, writable, healthy
  locked           the write-protect switch; null without the GPIO driver
  status           the library's status byte
  sectors          of 512 bytes
  size_mib         of the card
  file_system_mib, free_mib
                   null unless the card is mounted
'repair': exit statuses of its steps unmount, check (1: errors were repaired)
and mount; 'partition': partitioned_sectors, reboots; 'format': formatted,
reboots

Examples:
  dravik-ctl card
  dravik-ctl card check --json
  dravik-ctl card repair --yes

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view not_a_board = "--force-not-a-board";
constexpr option_rule change_options[] = {{"--yes", false}, {not_a_board, false}};
constexpr option_rule card_options[] = {watch_options[0], watch_options[1], watch_options[2],
                                        change_options[0], change_options[1]};

constexpr const char *repair_record = "/tmp/debugfs";
constexpr uint32_t smallest_card_sectors = 2048;

struct card_state {
  uint8_t status = 0;
  bool is_healthy = false;
  bool has_switch_state = false; ///< without the GPIO driver the library reports a card as locked
  uint32_t sectors = 0;
  int32_t size_mib = 0;

  bool has(dravik_card_status bit) const { return (status & bit) != 0; }
};

card_state look_at_card() {
  card_state card;
  std::string no_driver;
  card.has_switch_state = open_gpio(no_driver);
  const captured_output output{[&] {
    card.is_healthy = sd_card_check(&card.status) == 0;
    card.size_mib = sd_card_get_raw_size(&card.sectors);
  }};
  gpio_exit();
  return card;
}

value::fields report_of(const card_state &card) {
  const bool is_mounted = card.has(DRAVIK_CARD_MOUNTED);
  return {{"present", card.has(DRAVIK_CARD_PRESENT)},
          {"locked", card.has_switch_state ? value{card.has(DRAVIK_CARD_LOCKED)} : value{nullptr}},
          {"partitioned", card.has(DRAVIK_CARD_PARTITIONED)},
          {"mounted", is_mounted},
          {"fat32", card.has(DRAVIK_CARD_FAT32)},
          {"writable", card.has(DRAVIK_CARD_WRITABLE)},
          {"healthy", card.is_healthy},
          {"status", card.status},
          {"sectors", card.sectors},
          {"size_mib", card.size_mib},
          {"file_system_mib", is_mounted ? value{sd_card_get_part_size()} : value{nullptr}},
          {"free_mib", is_mounted ? value{sd_card_get_free_space()} : value{nullptr}}};
}

const char *what_is_wrong(const card_state &card) {
  if (!card.has(DRAVIK_CARD_PRESENT))
    return "card: not inserted";
  if (card.has(DRAVIK_CARD_LOCKED))
    return card.has_switch_state ? "card: write-protected"
                                 : "card: write-protect switch cannot be read without the GPIO driver";
  if (!card.has(DRAVIK_CARD_PARTITIONED))
    return "card: no partition";
  if (!card.has(DRAVIK_CARD_MOUNTED))
    return "card: not mounted";
  if (!card.has(DRAVIK_CARD_FAT32))
    return "card: file system or partition is not FAT32";
  return "card: mounted read-only";
}

/// Exit statuses of the steps of a repair; -1 if a step was ended by a signal.
struct repair_steps {
  int unmount = -1, check = -1, mount = -1;
};
constexpr int errors_repaired = 1; ///< highest exit status of dosfsck for a sound file system

/// Read a line of the record of a repair: "ret : 256".
std::optional<int> read_status(std::FILE *record) {
  constexpr std::string_view prefix = "ret : ";
  std::array<char, 32> line;
  if (std::fgets(line.data(), line.size(), record) == nullptr)
    return {};
  const std::string_view text{line.data()};
  int status = 0;
  const bool is_status =
      text.starts_with(prefix) &&
      std::from_chars(text.data() + prefix.size(), text.data() + text.size(), status).ec == std::errc{};
  return is_status ? std::optional{status} : std::nullopt;
}

bool read_steps(repair_steps &steps) {
  const unique_file record = open_file(repair_record, "r");
  for (int *step : {&steps.unmount, &steps.check, &steps.mount}) {
    const std::optional<int> status = record != nullptr ? read_status(record.get()) : std::nullopt;
    if (!status)
      return false;
    *step = WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
  }
  return true;
}

std::string what_failed(const repair_steps &steps) {
  if (steps.check < 0 || steps.check > errors_repaired)
    return "card: check failed with exit status " + std::to_string(steps.check);
  if (steps.mount != 0)
    return "card: mount failed with exit status " + std::to_string(steps.mount);
  return look_at_card().has(DRAVIK_CARD_MOUNTED) ? "" : "card: not mounted after the repair";
}

/// The library's own unmount fails on a mounted card that is busy, but its check runs all the same and corrupts the
/// file system. So the card is unmounted before.
outcome repair(const card_state &card, value::fields &report, std::string &error) {
  if (card.has(DRAVIK_CARD_MOUNTED) && !unmount_card(error))
    return outcome::failed;
  const captured_output output{[] { sd_card_check_fs(); }};
  repair_steps steps;
  if (!read_steps(steps))
    return failed(error, std::string{repair_record} + ": not written by the repair");
  if (card.has(DRAVIK_CARD_MOUNTED))
    steps.unmount = 0; // the library found it unmounted
  report = {{"unmount", steps.unmount}, {"check", steps.check}, {"mount", steps.mount}};
  const std::string failure = what_failed(steps);
  return failure.empty() ? outcome::done : failed(error, because(failure, output.last_line()));
}

outcome partition(const card_state &card, value::fields &report, std::string &error) {
  if (card.sectors < smallest_card_sectors)
    return failed(error, "card: too small: " + std::to_string(card.sectors) + " sectors; must be at least " +
                             std::to_string(smallest_card_sectors));
  int32_t written = -1;
  const captured_output output{[&] { written = sd_card_create_part(card.sectors); }};
  if (written < 0)
    return failed(error, "/tmp/mbr.img: cannot be created");
  report = {{"partitioned_sectors", card.sectors}, {"reboots", true}};
  return outcome::done;
}

outcome format(const card_state &card, value::fields &report, std::string &error) {
  if (card.has(DRAVIK_CARD_MOUNTED) && !unmount_card(error))
    return outcome::failed;
  const captured_output output{[] { sd_card_format(); }};
  report = {{"formatted", true}, {"reboots", true}};
  return outcome::done;
}

/// A card whose switch cannot be read may be locked; only a machine that is not a board has no switch.
bool may_write(const card_state &card, bool is_forced) {
  return card.has(DRAVIK_CARD_PRESENT) &&
         (!card.has(DRAVIK_CARD_LOCKED) || (is_forced && !card.has_switch_state));
}

/// Change the card: only if that is meant, on a board, and if there is a card that can be written.
outcome change(const std::string &how, const command_line &given, value::fields &report, std::string &error) {
  const bool is_forced = given.has(not_a_board);
  if (!given.has("--yes"))
    return misused(error,
                   "missing --yes; " + how +
                       (how == "repair" ? " unmounts the card" : " destroys the contents of the card"));
  if (!is_forced && !is_board()) // /dev/mmcblk0 is that machine's own disk
    return failed(error, "card: not a board, /dev/ambad and /proc/ambarella are missing; nothing changed; "
                         "try --force-not-a-board");
  const card_state card = look_at_card();
  if (!may_write(card, is_forced))
    return failed(error, what_is_wrong(card));
  if (how == "partition")
    return partition(card, report, error);
  if (!card.has(DRAVIK_CARD_PARTITIONED))
    return failed(error, what_is_wrong(card));
  return how == "repair" ? repair(card, report, error) : format(card, report, error);
}

bool read_state(value::fields &state, std::string &) {
  state = report_of(look_at_card());
  return true;
}

outcome card(const command_line &given, value::fields &report, std::string &error) {
  constexpr std::string_view changes[] = {"repair", "partition", "format"};
  const std::string word = given.operands().empty() ? "" : given.operands()[0];
  watch_request request;
  if (!read_watch_request(given, request, error))
    return outcome::misused;
  if (request.is_watch && !word.empty())
    return misused(error, "extra --watch; must be without '" + word + "'");
  if (std::ranges::count(changes, word) != 0)
    return change(word, given, report, error);
  if (!word.empty() && word != "check")
    return misused(error, "invalid action '" + word + "'; must be check, repair, partition or format");
  for (const option_rule &option : change_options)
    if (given.has(option.name))
      return misused(error,
                     "extra " + std::string{option.name} + "; must be with repair, partition or format");
  if (word.empty())
    return report_readings(given, request, read_state, line_form::named, report, error);
  const card_state state = look_at_card();
  report = report_of(state);
  return state.is_healthy ? outcome::done : failed(error, what_is_wrong(state));
}

} // namespace

extern constinit const command card_command = {.name = "card",
                                               .summary = "query, check, repair or format the memory card",
                                               .help = card_help,
                                               .options = card_options,
                                               .optional_operands = 1,
                                               .run = reporting<card>};

} // namespace dravik::ctl
