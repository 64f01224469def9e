// dravik-sim: makes simulated boards, runs applications on them, takes pictures of their screens, works their
// inputs.

#include "launcher/commands.hpp"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace dravik::sim {
namespace {

struct command {
  std::string_view name;
  int (*run)(arguments given);
  const char *help;
};

constexpr const char *overview =
    "usage: dravik-sim COMMAND ...\n"
    "\n"
    "A simulated board is a directory that holds what the files of a board hold. An application that runs on "
    "it\n"
    "finds /dev/fb0, /tmp/dravik.log, /usr/local/dravik and the other paths of the board there, and a sound "
    "card. It\n"
    "needs neither hardware nor special rights.\n"
    "\n"
    "  dravik-sim new BOARD              makes a board\n"
    "  dravik-sim run BOARD -- APP ...   runs an application on it\n"
    "  dravik-sim shot BOARD FILE.png    writes what its screen shows\n"
    "  dravik-sim set BOARD KEY=VALUE    changes what its inputs tell\n"
    "  dravik-sim events BOARD           shows what its devices are asked to do\n"
    "  dravik-sim card BOARD in|out ...  handles its memory card\n"
    "  dravik-sim COMMAND --help         tells more\n"
    "\n"
    "example:\n"
    "  dravik-sim new desk && dravik-sim run desk -- ./first && dravik-sim shot desk first.png\n";

constexpr command commands[] = {
    {"new", new_command,
     "usage: dravik-sim new BOARD [--size WxH] [--virtual WxH] [--depth BITS] [--line-length BYTES]\n"
     "                          [--card MIB]\n"
     "\n"
     "Makes a board in the directory BOARD, which must not exist yet or be empty.\n"
     "\n"
     "  --size WxH           the visible screen in pixels (640x480)\n"
     "  --virtual WxH        the whole screen memory in pixels, for panning (as the size)\n"
     "  --depth BITS         16, 24 or 32 bits a pixel (16)\n"
     "  --line-length BYTES  from one line to the next (what the pixels take)\n"
     "  --card MIB           the size of the memory card, 64 to 131072; 0 for none (1024)\n"
     "\n"
     "Fonts of this machine are put into the board's usr/local/dravik/font, when these Debian packages are\n"
     "installed: the console fonts of console-setup-linux, and for smooth text arial.ttf from "
     "fonts-liberation\n"
     "and DroidSansFallback.ttf from fonts-droid-fallback.\n"
     "\n"
     "examples:\n"
     "  dravik-sim new desk\n"
     "  dravik-sim new two-buffers --size 320x240 --virtual 320x480\n"
     "  dravik-sim new padded --size 800x480 --virtual 1024x480\n"},
    {"run", run_command,
     "usage: dravik-sim run BOARD [--writable DIR]... [--local-sockets] [--trust] -- APP [ARGUMENT ...]\n"
     "       dravik-sim run --explain BOARD [--writable DIR]... [--local-sockets]\n"
     "\n"
     "Run an application on a simulated board.\n"
     "\n"
     "APP replaces the dravik-sim process: it receives signals directly, and its\n"
     "exit status is returned. APP is a dynamically linked program, or a script\n"
     "whose interpreter is one; without a slash it is searched for in PATH. APP and\n"
     "its children see the board's files at the fixed paths.\n"
     "\n"
     "Sound played on the ALSA card 'default' is appended to\n"
     "BOARD/sound/played.wav. The serial port /dev/ttyS0 is a terminal: its output\n"
     "is appended to BOARD/console; its input is what is written to\n"
     "BOARD/dev/ttyS0.in.\n"
     "\n"
     "The kernel confines APP and its children, also for root: they cannot restart\n"
     "the host, mount, set its clock, open its devices, or write outside BOARD, the\n"
     "working directory and the directories named.\n"
     "\n"
     "  --writable DIR   let APP write in DIR as well\n"
     "  --local-sockets  let APP use local sockets (AF_UNIX); services of the host\n"
     "                   can be reached by them\n"
     "  --trust          run APP without a warning, and as root, even if the kernel\n"
     "                   cannot confine it\n"
     "  --explain        print what is confined on this machine, and by what\n"
     "\n"
     "examples:\n"
     "  dravik-sim run desk -- ./first\n"
     "  dravik-sim run desk -- cat /tmp/dravik.log\n"
     "  dravik-sim run desk -- stty -F /dev/ttyS0 -a\n"
     "  dravik-sim run desk -- gdb ./first\n"
     "  dravik-sim run --explain desk\n"
     "\n"
     "exit status: that of APP; 1 if it cannot be started; 2 on a usage error\n"},
    {"shot", shot_command,
     "usage: dravik-sim shot BOARD FILE.png\n"
     "\n"
     "Writes what the board's panel shows as a PNG: the visible part of the screen memory, black while the "
     "panel is\n"
     "blanked. An application may go on drawing meanwhile.\n"
     "\n"
     "examples:\n"
     "  dravik-sim shot desk screen.png\n"},
    {"set", set_command,
     "usage: dravik-sim set BOARD KEY=VALUE ...\n"
     "\n"
     "Changes what the board's inputs tell, from an application's next look on. Nothing is changed when one "
     "of the\n"
     "values is wrong.\n"
     "\n"
     "  accel=X,Y,Z           how the board moves, in thousandths of the Earth's pull (at rest: 0,0,1000)\n"
     "  adc.CHANNEL=CODE      what the converter reads on channel 0 to 3: 0 to 1023, or 0x0 to 0x3ff\n"
     "  card=in|locked|out    whether the memory card is in its slot, and its switch at LOCK\n"
     "  gpio.LINE=LEVEL       a GPIO line, 0 to 255, is low (0) or high (1)\n"
     "  hdmi=on|off           whether there is a monitor at the HDMI socket\n"
     "  temperature=DEGREES   -1 to 117 degrees Celsius, on the converter's channel 1, to about a tenth\n"
     "\n"
     "examples:\n"
     "  dravik-sim set desk temperature=41.5\n"
     "  dravik-sim set desk gpio.68=1 accel=0,2500,1000\n"},
    {"events", events_command,
     "usage: dravik-sim events BOARD [--once]\n"
     "\n"
     "Shows what the board's devices were asked to do, a line each, and goes on as more happens, until it is "
     "interrupted.\n"
     "\n"
     "  --once   ends with what has happened until now\n"
     "\n"
     "examples:\n"
     "  dravik-sim events desk\n"
     "  dravik-sim events desk --once | grep led\n"},
    {"card", card_command,
     "usage: dravik-sim card BOARD [ACTION [OPTION ...]]\n"
     "\n"
     "Handles the board's memory card; without an action, says how it is.\n"
     "\n"
     "  in        puts the card into the slot, where it is mounted\n"
     "  locked    the same, with the switch on its side at LOCK: it is mounted read-only\n"
     "  out       takes it out, unmounted in good order\n"
     "  mount     shows its files in tmp/mmcblk0p1, with -r read-only\n"
     "  umount    brings what has changed there to the card, and shows the empty folder; fails while files "
     "of\n"
     "            the card are open, except with -l\n"
     "  check     fsck.fat with its options: -a repairs, -n only looks\n"
     "  format    mkfs.vfat with its options\n"
     "  restart   what a restart of the board does: unmounts the card, reads its partition table, mounts it\n"
     "\n"
     "The card is the file dev/mmcblk0 of the board, and card/mmcblk0 while it is out. It needs the Debian "
     "packages\n"
     "dosfstools and mtools.\n"
     "\n"
     "examples:\n"
     "  dravik-sim card desk\n"
     "  dravik-sim card desk out\n"
     "  dravik-sim card desk umount && mdir -i desk/dev/mmcblk0@@16384\n"},
};

bool asks_for_help(arguments given) {
  const auto own =
      given.first(static_cast<size_t>(std::ranges::find(given, std::string_view{"--"}) - given.begin()));
  return std::ranges::any_of(own, [](std::string_view word) { return word == "--help" || word == "-h"; });
}

int show(const char *text) {
  std::fputs(text, stdout);
  return std::fflush(stdout) == 0 ? 0 : failed;
}

int start(arguments given) {
  if (given.empty())
    return fail("which command? 'dravik-sim --help' tells", wrong_usage);
  const auto *chosen = std::ranges::find(commands, std::string_view{given[0]}, &command::name);
  if (chosen != std::end(commands))
    return asks_for_help(given.subspan(1)) ? show(chosen->help) : chosen->run(given.subspan(1));
  if (asks_for_help(given.first(1)))
    return show(overview);
  return fail(std::string{given[0]} + ": no such command; 'dravik-sim --help' lists them", wrong_usage);
}

} // namespace

int fail(const std::string &message, int status) {
  std::fprintf(stderr, "dravik-sim: %s\n", message.c_str());
  return status;
}

} // namespace dravik::sim

int main(int count, char **words) {
  return dravik::sim::start({words + std::min(count, 1), static_cast<size_t>(std::max(count - 1, 0))});
}
