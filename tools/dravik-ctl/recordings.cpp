// "recordings": a survey of the recordings.

#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik.h"

namespace dravik::ctl {
namespace {

constexpr std::string_view recordings_help =
    R"(Usage: dravik-ctl recordings

Survey the recordings in /tmp/mmcblk0p1/REC.

Output:
  normal  count, oldest (its number, null without recordings), size_mib in all
  event   count of the slots in use, oldest and next, slots A to E; oldest is
          null if none is in use, next is null if all are

Examples:
  dravik-ctl recordings
  dravik-ctl recordings --json | jq .normal.count

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

value slot(int32_t number) {
  return number >= 0 ? value{std::string(1, static_cast<char>('A' + number))} : value{nullptr};
}

outcome recordings(const command_line &, value::fields &report, std::string &error) {
  rec_file_list found;
  if (parse_rec_file_list(&found) != 0)
    return failed(error, device_failure("recordings: /tmp/mmcblk0p1/REC cannot be read"));
  report = {{"normal", value::fields{{"count", found.normal_count},
                                     {"oldest", known(found.normal_oldest)},
                                     {"size_mib", found.normal_size}}},
            {"event", value::fields{{"count", found.event_count},
                                    {"oldest", slot(found.event_oldest)},
                                    {"next", slot(found.event_next)}}}};
  return outcome::done;
}

} // namespace

extern constinit const command recordings_command = {.name = "recordings",
                                                     .summary = "survey the recordings on the memory card",
                                                     .help = recordings_help,
                                                     .run = reporting<recordings>};

} // namespace dravik::ctl
