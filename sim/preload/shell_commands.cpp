// The shell commands of a board: one table.

#include "preload/shell_commands.hpp"
#include "board/board_files.hpp"
#include "board/mixer_controls.hpp"
#include "board/reboot_status.hpp"
#include "board/settings_text.hpp"
#include "preload/byte_copy.hpp"
#include "preload/child_process.hpp"
#include "preload/path_map.hpp"
#include "preload/process_board.hpp"
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
  reboot_board(command.words()[0]);
}
int copy(const shell_words &command, word_list operands) noexcept {
  return ended_with(copy_bytes(command, operands));
}
int flush(const shell_words &, word_list) noexcept {
  return ended_with(0);
}

// ------------------------------------------------------------------------------------------------ the flash

constexpr size_t flash_bytes = 2048;
constexpr size_t language_position = 896;
constexpr char erased = '\xFF';

/// The first page of the flash's second partition, as far as it is known.
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
    ::dprintf(STDERR_FILENO, "dravik-sim: nanddump: -f FILE must be a file of the board\n");
    return ended_with(1);
  }
  const flash_page page;
  write_board_text(target.name() + 1, {page.bytes, std::min<size_t>(length, flash_bytes)});
  return ended_with(0);
}

// ------------------------------------------------------------------------------------------------ the mixer

/// The operand that begins so, without its beginning; null when there is none.
const char *operand(word_list words, std::string_view beginning) noexcept {
  for (const char *word : words)
    if (std::string_view{word}.starts_with(beginning))
      return word + beginning.size();
  return nullptr;
}

int set_control(const shell_words &command, word_list) noexcept {
  const word_list words = command.words();
  const char *number = operand(words.last(2), "numid=");
  char key[64];
  if (number == nullptr || std::snprintf(key, sizeof key, "numid %s", number) >= static_cast<int>(sizeof key))
    return ended_with(1);
  return ended_with(store_control(key, words.back()) ? 0 : 1);
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
    {"dd ...", copy},
    {"sync", flush},
    {"reboot ...", restart},
    {"nanddump ... /dev/mtd1", dump_flash},
    {"amixer ... cset * *", set_control},
};

/// Programs that can harm a machine and are not commands of the board.
constexpr std::string_view refused_programs[] = {
    "blkdiscard", "e2fsck", "flash_erase", "flash_eraseall", "flashcp", "fsck",     "halt",
    "hwclock",    "insmod", "losetup",     "mke2fs",         "mkfs",    "modprobe", "nandwrite",
    "poweroff",   "rmmod",  "shutdown",    "swapoff",        "swapon",  "telinit",  "wipefs",
};

bool is_left_to_host() noexcept {
  const board_text settings{"board.conf"};
  return value_of(settings, "shell") == "host";
}

int refuse(const char *command) noexcept {
  record_event("shell: %s refused", command);
  ::dprintf(STDERR_FILENO, "dravik-sim: %s: not a command of the board; rejected\n", command);
  return ended_with(no_such_command);
}

int run_known(const known_command &known, const char *command, const shell_words &parts,
              word_list others) noexcept {
  if (injected_fault("shell", parts.program()) != 0) {
    record_event("shell: %s fails (injected)", command);
    return ended_with(1);
  }
  record_event("shell: %s", command);
  return known.run(parts, others);
}

const known_command *find_known(const shell_words &parts, word_list &others) noexcept {
  for (const known_command &known : known_commands)
    if (matches(parts, known.pattern, others))
      return &known;
  return nullptr;
}

/// Return false if it is not a command of the board.
bool run_if_known(const char *command, const shell_words &parts, int &status) noexcept {
  word_list others;
  const known_command *known = find_known(parts, others);
  if (known != nullptr)
    status = run_known(*known, command, parts, others);
  return known != nullptr;
}

/// Words as an event records them.
struct joined_words {
  explicit joined_words(word_list words) noexcept {
    char *end = text;
    for (std::string_view word : words) {
      if (end != text && end != limit())
        *end++ = ' ';
      end = std::copy_n(word.begin(), std::min(word.size(), static_cast<size_t>(limit() - end)), end);
    }
  }
  char *limit() noexcept { return text + sizeof text - 1; }
  char text[1024] = {};
};

} // namespace

bool is_board_program(std::string_view path) noexcept {
  const std::string_view name = without_directory(path);
  const auto is_first_word = [=](const known_command &known) {
    std::string_view pattern = known.pattern;
    return take_word(pattern) == name;
  };
  return std::ranges::any_of(known_commands, is_first_word) || name.starts_with("mkfs.") ||
         name.starts_with("fsck.") || std::ranges::find(refused_programs, name) != std::end(refused_programs);
}

bool is_board_program_of_host(std::string_view path) noexcept {
  return without_directory(path) == "amixer";
}

bool is_board_command(const char *command) noexcept {
  word_list others;
  return find_known(shell_words{command}, others) != nullptr;
}

int run_board_program(word_list words) noexcept {
  const joined_words command{words};
  int status = 0;
  return run_if_known(command.text, shell_words{words}, status) ? status : refuse(command.text);
}

int run_host_shell(const char *command) noexcept {
  const char *words[] = {"sh", "-c", command, nullptr};
  return run_child("/bin/sh", words, environ, shell_words{""});
}

bool is_reboot(word_list words) noexcept {
  return !words.empty() && without_directory(words[0]) == "reboot" && injected_fault("shell", "reboot") == 0;
}

bool is_reboot(const char *command) noexcept {
  return is_reboot(shell_words{command}.words());
}

bool run_on_board(const char *command, int &status) noexcept {
  if (run_if_known(command, shell_words{command}, status))
    return true;
  if (is_left_to_host())
    return false;
  status = refuse(command);
  return true;
}

void reboot_board(const char *requested_by) noexcept {
  run_card_action("restart", shell_words{requested_by});
  ::dprintf(STDERR_FILENO, "dravik-sim: %s: board reboots; application terminated with exit status %d\n",
            requested_by, reboot_status);
  if (serves_another_process)
    end_application();
  ::_exit(reboot_status);
}

} // namespace dravik::sim
