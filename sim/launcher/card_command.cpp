// "card": the memory card, as handled by a user and by the board's own commands.

#include "host/board_directory.hpp"
#include "host/card.hpp"
#include "host/card_repair.hpp"
#include "host/printable_text.hpp"
#include "launcher/commands.hpp"

#include <algorithm>
#include <cstdio>
#include <sys/stat.h>
#include <vector>

namespace dravik::sim {
namespace {

constexpr std::string_view card_help =
    R"(Usage: dravik-sim card BOARD [ACTION [OPTION ...]]

Handle the memory card of a simulated board.

Without ACTION, prints the state of the card.

Actions:
  in        insert the card
  locked    insert it write-protected: it can be mounted read-only
  out       remove it; its mount stays, without a card, until it is unmounted
  mount     mount it on BOARD/tmp/mmcblk0p1; read-only with -r or -o ro
  umount    write changes in BOARD/tmp/mmcblk0p1 to the card, and unmount it;
            fails while files of the card are open, except with -l
  check     run fsck.fat with its options: -a repairs, -n only checks
  format    run mkfs.vfat with its options
  restart   act as a reboot of the board does: unmount, read the partition
            table, mount

With card_mounts=script in BOARD/board.conf, 'in' and 'locked' also mount the
card, and 'out' unmounts it first.

The card is the file BOARD/dev/mmcblk0, or BOARD/card/mmcblk0 while it is
removed. Requires the Debian packages dosfstools and mtools.

Examples:
  dravik-sim card desk
  dravik-sim card desk out && dravik-sim card desk umount
  dravik-sim card desk in && dravik-sim card desk mount
  dravik-sim card desk umount && mdir -i desk/dev/mmcblk0@@16384

Exit status: 0 on success; 1 on failure; 2 on a usage error; 255 if mount
fails; that of fsck.fat, 6 without a partition; that of mkfs.vfat
)";

using options = std::vector<std::string>;

// Exit statuses of BusyBox.
constexpr int mount_failed = 255;
constexpr int unmount_failed = 1;

/// The text is a warning if the action succeeded.
int report(const char *action, bool done, std::string &error, int status = 1) {
  if (!error.empty())
    error.insert(0, std::string{action} + ": ");
  return done ? 0 : status;
}

/// The same in the form of mount(8) and umount(8), which these actions replace.
int report_as_by(const char *subject, bool done, std::string &error, int status) {
  if (!error.empty())
    std::fprintf(stderr, "%s: %s\n", subject, error.c_str());
  error.clear();
  return done ? 0 : status;
}

bool has_option(const options &given, char letter) {
  return std::ranges::any_of(given, [=](const std::string &word) {
    return word.starts_with('-') && !word.starts_with("--") && word.find(letter) != std::string::npos;
  });
}

std::string between_commas(std::string_view text) {
  return std::string{","}.append(text).append(",");
}

bool has_mount_option(const options &given, std::string_view wanted) {
  return std::ranges::any_of(given, [=](const std::string &word) {
    return between_commas(word).find(between_commas(wanted)) != std::string::npos;
  });
}

/// -r, -o ro and -o remount,ro,... make the mount read-only; -t and the other options make no difference.
bool requests_read_only(const options &given) {
  return has_mount_option(given, "-r") || has_mount_option(given, "ro");
}

int put_in(const std::string &board, const options &, std::string &error) {
  return report("card", insert_card(board, card_lock::off, error), error);
}

int put_in_locked(const std::string &board, const options &, std::string &error) {
  return report("card", insert_card(board, card_lock::on, error), error);
}

int take_out(const std::string &board, const options &, std::string &error) {
  return report("card", remove_card(board, error), error);
}

int mount(const std::string &board, const options &given, std::string &error) {
  const bool is_read_only = requests_read_only(given);
  const bool done = is_read_only && has_mount_option(given, "remount")
                        ? make_mount_read_only(board, error)
                        : mount_card(board, is_read_only, error);
  return report_as_by("mount: /dev/mmcblk0p1", done, error, mount_failed);
}

int unmount(const std::string &board, const options &given, std::string &error) {
  const bool is_lazy = has_option(given, 'l') || std::ranges::find(given, "--lazy") != given.end();
  const bool done = unmount_card(board, is_lazy ? unmount_way::detached : unmount_way::if_unused, error);
  return report_as_by("umount: /tmp/mmcblk0p1", done, error, unmount_failed);
}

int check(const std::string &board, const options &given, std::string &error) {
  const int status = check_card(board, given, error);
  return report("dosfsck: /dev/mmcblk0p1", status == 0, error, status);
}

int format(const std::string &board, const options &given, std::string &error) {
  const int status = format_card(board, given, error);
  return report("mkfs.vfat: /dev/mmcblk0p1", status == 0, error, status);
}

int restart(const std::string &board, const options &, std::string &error) {
  return report("card", restart_card(board, error), error);
}

outcome show(const std::string &board, std::string &error) {
  if (!card_is_in(board)) {
    std::puts(!has_card(board)                               ? "none"
              : read_mount_state(board) == mount_state::none ? "out"
                                                             : "out, still mounted");
    return outcome::done;
  }
  struct stat image;
  const std::string path = card_files{board}.image();
  if (::stat(path.c_str(), &image) != 0)
    return failed(error, path + ": cannot be read");
  const partition known = known_partition(board);
  std::printf("%s, %lld MiB, ", card_is_locked(board) ? "locked" : "in",
              static_cast<long long>(image.st_size >> 20));
  if (known.length == 0)
    std::puts("no partition");
  else
    std::printf("partition of %llu MiB at %s@@%llu, %s\n",
                static_cast<unsigned long long>(known.length_bytes() >> 20), printable(path).c_str(),
                static_cast<unsigned long long>(known.start_bytes()), description_of_mount(board));
  return outcome::done;
}

struct card_action {
  std::string_view name;
  int (*run)(const std::string &board, const options &given, std::string &error); ///< exit status
  bool has_options; ///< as the command of that name
};

constexpr card_action actions[] = {
    {"in", put_in, false},       {"locked", put_in_locked, false}, {"out", take_out, false},
    {"restart", restart, false}, {"mount", mount, true},           {"umount", unmount, true},
    {"check", check, true},      {"format", format, true},
};

outcome handle(const std::string &board, const command_line &given, std::string &error) {
  const auto &operands = given.operands();
  if (operands.size() == 1)
    return show(board, error);
  const auto *chosen = std::ranges::find(actions, operands[1], &card_action::name);
  if (chosen == std::end(actions))
    return misused(error, "unknown action '" + operands[1] + "'; try 'dravik-sim card --help'");
  if (!chosen->has_options && operands.size() > 2)
    return misused(error, "extra argument '" + operands[2] + "'; try 'dravik-sim card --help'");
  return outcome{chosen->run(board, {operands.begin() + 2, operands.end()}, error)};
}

} // namespace

extern constinit const command card_command = {.name = "card",
                                               .summary = "handle the memory card",
                                               .help = card_help,
                                               .operands = "BOARD",
                                               .optional_operands = tools::any_number,
                                               .run = on_board<handle>,
                                               .own_operands = 1};

} // namespace dravik::sim
