// The shell commands of a board: one table of what applications run, and what each does to the board alone.

#include "preload/shell_commands.hpp"
#include "board/settings_text.hpp"
#include "preload/board_files.hpp"
#include "preload/card_view.hpp"
#include "preload/child_process.hpp"
#include "preload/path_map.hpp"
#include "preload/shell_words.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <unistd.h>

namespace dravik::sim {
namespace {

using word_list = std::span<const char *const>;

constexpr int no_such_command = 127;

int unmount(const shell_words &command, word_list options) noexcept {
  return run_card_action("umount", command, options);
}
int mount(const shell_words &command, word_list options) noexcept {
  return run_card_action("mount", command, options);
}
int check(const shell_words &command, word_list options) noexcept {
  return run_card_action("check", command, options);
}
int format(const shell_words &command, word_list options) noexcept {
  return run_card_action("format", command, options);
}
int restart(const shell_words &command, word_list) noexcept {
  restart_board(command.words()[0]);
}
int flush(const shell_words &, word_list) noexcept {
  return ended_with(0);
}

// ------------------------------------------------------------------------------------------------ dd

bool is_of_board(const char *path) noexcept {
  return board_path{path}.kind() != file_kind::none;
}

/// The operand that begins so, without its beginning; null when there is none.
const char *operand(word_list words, std::string_view beginning) noexcept {
  for (const char *word : words)
    if (std::string_view{word}.starts_with(beginning))
      return word + beginning.size();
  return nullptr;
}

bool is_source_of_bytes(std::string_view path) noexcept {
  return path == "/dev/zero" || path == "/dev/urandom" || path == "/dev/null";
}

/// Both ends lie on the board: the simulator sees to it that a child finds them there.
int copy_bytes(const shell_words &command, word_list operands) noexcept {
  const char *from = operand(operands, "if=");
  const char *to = operand(operands, "of=");
  const bool stays =
      from != nullptr && to != nullptr && is_of_board(to) && (is_of_board(from) || is_source_of_bytes(from));
  if (!stays) {
    ::dprintf(STDERR_FILENO, "dravik-sim: dd: copies from one file of the board to another\n");
    return ended_with(1);
  }
  if (card_is_locked() && std::string_view{to}.starts_with("/dev/mmcblk0")) {
    ::dprintf(STDERR_FILENO, "dd: %s: Read-only file system\n", to);
    return ended_with(1);
  }
  const char *words[shell_words::most_words + 1] = {"dd"};
  std::copy(operands.begin(), operands.end(), words + 1);
  return run_child("/bin/dd", words, child_of::board, command);
}

// ------------------------------------------------------------------------------------------------ the flash

constexpr size_t flash_bytes = 2048;
constexpr size_t language_position = 896;
constexpr char erased = '\xFF';

/// The first page of the flash's second partition, as far as anything is known of it.
struct flash_page {
  flash_page() noexcept {
    std::fill_n(bytes, sizeof bytes, erased);
    const board_text settings{"board.conf"};
    std::string_view language = value_of(settings, "splash_language");
    if (language.size() != 2)
      language = "en";
    std::copy(language.begin(), language.end(), bytes + language_position);
  }
  char bytes[flash_bytes];
};

const char *word_after(word_list words, std::string_view option) noexcept {
  for (size_t i = 0; i + 1 < words.size(); ++i)
    if (words[i] == option)
      return words[i + 1];
  return "";
}

int dump_flash(const shell_words &, word_list options) noexcept {
  const char *file = word_after(options, "-f");
  const board_path target{file};
  uint32_t length = flash_bytes;
  const std::string_view wanted = word_after(options, "-l");
  std::from_chars(wanted.data(), wanted.data() + wanted.size(), length);
  if (target.kind() == file_kind::none) {
    ::dprintf(STDERR_FILENO, "dravik-sim: nanddump: -f FILE is to be a file of the board\n");
    return ended_with(1);
  }
  const flash_page page;
  write_board_text(target.name() + 1, {page.bytes, std::min<size_t>(length, flash_bytes)});
  return ended_with(0);
}

// ------------------------------------------------------------------------------------------------ the mixer

constexpr const char *mixer_file = "sound/mixer";

/// The controls but one, with room for a line more.
struct other_controls {
  explicit other_controls(std::string_view key) noexcept {
    const board_text before{mixer_file};
    std::string_view rest = before;
    for (std::string_view line = take_line(rest); !line.empty(); line = take_line(rest)) {
      std::string_view value = line;
      if (trimmed(take_until(value, '=')) == key)
        continue;
      end = std::copy(line.begin(), line.end(), end);
      *end++ = '\n';
    }
  }
  char text[sizeof(board_text) + longest_path];
  char *end = text;
};

int set_control(const shell_words &command, word_list) noexcept {
  const word_list words = command.words();
  const char *number = operand(words.last(2), "numid=");
  char key[64];
  if (number == nullptr || std::snprintf(key, sizeof key, "numid %s", number) >= static_cast<int>(sizeof key))
    return ended_with(1);
  other_controls controls{key};
  const auto room = static_cast<size_t>(controls.text + sizeof controls.text - controls.end);
  const int length = std::snprintf(controls.end, room, "%s = %s\n", key, words.back());
  if (length >= static_cast<int>(room))
    return ended_with(1);
  write_board_text(mixer_file, {controls.text, controls.end + length});
  return ended_with(0);
}

// ------------------------------------------------------------------------------------------------ the table

struct known_command {
  std::string_view pattern;
  int (*run)(const shell_words &command, word_list others);
};

constexpr known_command known_commands[] = {
    {"umount ... /dev/mmcblk0p1", unmount},
    {"umount ... /tmp/mmcblk0p1", unmount},
    {"mount ... /dev/mmcblk0p1 /tmp/mmcblk0p1", mount},
    {"dosfsck ... /dev/mmcblk0p1", check},
    {"fsck.vfat ... /dev/mmcblk0p1", check},
    {"mkfs.vfat ... /dev/mmcblk0p1", format},
    {"mkdosfs ... /dev/mmcblk0p1", format},
    {"dd ...", copy_bytes},
    {"sync", flush},
    {"reboot ...", restart},
    {"nanddump ... /dev/mtd1", dump_flash},
    {"amixer ... cset * *", set_control},
};

bool is_left_to_host() noexcept {
  const board_text settings{"board.conf"};
  return value_of(settings, "shell") == "host";
}

int refuse(const char *command) noexcept {
  record_event("shell: %s refused", command);
  ::dprintf(STDERR_FILENO, "dravik-sim: no command of the board, and not run: %s\n", command);
  return ended_with(no_such_command);
}

int run_known(const known_command &known, const char *command, const shell_words &parts,
              word_list others) noexcept {
  if (ordered_fault("shell", parts.program()) != 0) {
    record_event("shell: %s fails as ordered", command);
    return ended_with(1);
  }
  record_event("shell: %s", command);
  return known.run(parts, others);
}

} // namespace

bool run_on_board(const char *command, int &status) noexcept {
  const shell_words parts{command};
  word_list others;
  for (const known_command &known : known_commands)
    if (matches(parts, known.pattern, others)) {
      status = run_known(known, command, parts, others);
      return true;
    }
  if (is_left_to_host())
    return false;
  status = refuse(command);
  return true;
}

void restart_board(const char *asked_by) noexcept {
  run_card_action("restart", shell_words{asked_by});
  ::dprintf(STDERR_FILENO, "dravik-sim: %s: the board restarts, the application ends with status %d\n",
            asked_by, restart_status);
  ::_exit(restart_status);
}

} // namespace dravik::sim
