// dravik-sim card: the memory card in a person's hand, and what the board's own commands do to it.

#include "board/board_directory.hpp"
#include "board/card.hpp"
#include "board/card_repair.hpp"
#include "board/printable_text.hpp"
#include "launcher/commands.hpp"

#include <algorithm>
#include <cstdio>
#include <sys/stat.h>
#include <vector>

namespace dravik::sim {
namespace {

using options = std::vector<std::string>;

constexpr int mount_failed = 32; ///< as mount(8) and umount(8) say it

/// The text is a warning if the action succeeded.
int told(const char *action, bool done, const std::string &error, int status = failed) {
  if (done && error.empty())
    return 0;
  return fail(std::string{action} + ": " + error, done ? 0 : status);
}

/// The same in the words of mount(8) and umount(8), whose place these actions take.
int told_as_by(const char *subject, bool done, const std::string &error) {
  if (!error.empty())
    std::fprintf(stderr, "%s: %s\n", subject, error.c_str());
  return done ? 0 : mount_failed;
}

bool has_option(const options &given, char letter) {
  return std::ranges::any_of(given, [=](const std::string &word) {
    return word.starts_with('-') && !word.starts_with("--") && word.find(letter) != std::string::npos;
  });
}

/// -r, -o ro and -o remount,ro,... make the mount read-only; -t and the other options make no difference.
bool asks_for_read_only(const options &given) {
  return std::ranges::any_of(given, [](const std::string &word) {
    return word == "-r" || ("," + word + ",").find(",ro,") != std::string::npos;
  });
}

int put_in(const std::string &board, const options &) {
  std::string error;
  return told("card", insert_card(board, card_lock::off, error), error);
}

int put_in_locked(const std::string &board, const options &) {
  std::string error;
  return told("card", insert_card(board, card_lock::on, error), error);
}

int take_out(const std::string &board, const options &) {
  std::string error;
  return told("card", remove_card(board, error), error);
}

int mount(const std::string &board, const options &given) {
  std::string error;
  const bool done = mount_card(board, asks_for_read_only(given), error);
  return told_as_by("mount: /dev/mmcblk0p1", done, error);
}

int unmount(const std::string &board, const options &given) {
  const bool is_lazy = has_option(given, 'l') || std::ranges::find(given, "--lazy") != given.end();
  std::string error;
  const bool done = unmount_card(board, is_lazy ? unmount_way::detached : unmount_way::if_unused, error);
  return told_as_by("umount: /tmp/mmcblk0p1", done, error);
}

int check(const std::string &board, const options &given) {
  std::string error;
  const int status = check_card(board, given, error);
  return error.empty() ? status : fail("dosfsck: /dev/mmcblk0p1: " + error, status);
}

int format(const std::string &board, const options &given) {
  std::string error;
  const int status = format_card(board, given, error);
  return error.empty() ? status : fail("mkfs.vfat: /dev/mmcblk0p1: " + error, status);
}

int restart(const std::string &board, const options &) {
  std::string error;
  return told("card", restart_card(board, error), error);
}

const char *name_of(mount_state state) {
  switch (state) {
  case mount_state::none:
    return "not mounted";
  case mount_state::read_only:
    return "mounted read-only";
  case mount_state::writable:
    return "mounted";
  }
  return "";
}

int show(const std::string &board) {
  if (!card_is_in(board)) {
    std::puts(has_card(board) ? "out" : "none");
    return 0;
  }
  struct stat image;
  const std::string path = card_files{board}.image();
  if (::stat(path.c_str(), &image) != 0)
    return fail(path + ": cannot be read");
  const partition known = known_partition(board);
  std::printf("%s, %lld MiB, ", card_is_locked(board) ? "locked" : "in",
              static_cast<long long>(image.st_size >> 20));
  if (known.length == 0)
    std::puts("no partition");
  else
    std::printf("partition of %llu MiB at %s@@%llu, %s\n",
                static_cast<unsigned long long>(known.length_bytes() >> 20), printable(path).c_str(),
                static_cast<unsigned long long>(known.start_bytes()), name_of(read_mount_state(board)));
  return 0;
}

struct card_action {
  std::string_view name;
  int (*run)(const std::string &board, const options &given);
};

constexpr card_action actions[] = {
    {"in", put_in},      {"locked", put_in_locked}, {"out", take_out},  {"mount", mount},
    {"umount", unmount}, {"check", check},          {"format", format}, {"restart", restart},
};

} // namespace

int card_command(arguments given) {
  if (given.empty() || *given[0] == '-')
    return fail("which board? 'dravik-sim card --help' tells", wrong_usage);
  const std::string board = given[0];
  if (!is_board(board))
    return fail(board + ": is no board; 'dravik-sim new " + board + "' makes one");
  if (given.size() == 1)
    return show(board);
  const auto *chosen = std::ranges::find(actions, std::string_view{given[1]}, &card_action::name);
  if (chosen == std::end(actions))
    return fail(std::string{given[1]} + ": nothing to do with a card; 'dravik-sim card --help' tells",
                wrong_usage);
  return chosen->run(board, {given.begin() + 2, given.end()});
}

} // namespace dravik::sim
