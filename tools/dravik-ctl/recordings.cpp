// "recordings": what the recorder has left on the card.

#include "dravik-ctl/commands.hpp"
#include "dravik.h"

namespace dravik::ctl {
namespace {

constexpr std::string_view recordings_help =
    R"(dravik-ctl recordings

Surveys the recordings in /tmp/mmcblk0p1/REC.

Tells:
  normal  count, oldest (the number of the oldest one) and size_mib of all together
  event   count of the slots in use, oldest and next: slots A to E; next is null when all are in use

Examples:
  dravik-ctl recordings
  dravik-ctl recordings --json | jq .normal.count
)";

value slot(int32_t number) {
  return number >= 0 ? value{std::string(1, static_cast<char>('A' + number))} : value{nullptr};
}

outcome recordings(const command_line &, value::fields &report, std::string &error) {
  rec_file_list found;
  if (parse_rec_file_list(&found) != 0)
    return failed(error, "the folder /tmp/mmcblk0p1/REC cannot be read");
  report = {{"normal", value::fields{{"count", found.normal_count},
                                     {"oldest", known(found.normal_oldest)},
                                     {"size_mib", found.normal_size}}},
            {"event", value::fields{{"count", found.event_count},
                                    {"oldest", slot(found.event_oldest)},
                                    {"next", slot(found.event_next)}}}};
  return outcome::done;
}

} // namespace

constinit const command recordings_command = {"recordings", recordings_help, {}, 0, 0, reporting<recordings>};

} // namespace dravik::ctl
