// The texts of --help.
#pragma once

#include <string_view>

namespace dravik::art {

inline constexpr std::string_view tool_help =
    R"(dravik-art COMMAND ...

Interface artwork for libdravik: archives of images in 16 levels, painted through colour ramps.

  pack OUT IMAGE.png...            make an archive of PNG pictures
  list ARCHIVE                     list its images
  check ARCHIVE                    find what is wrong with it
  unpack ARCHIVE FOLDER            make a PNG of each image
  preview ARCHIVE INDEX OUT.png    show an image as the library draws it

  COMMAND --help                   more about a command
  --version                        the version of this tool

Examples:
  dravik-art pack icons.q7 home.png back.png --header icons.h
  dravik-art check icons.q7
  dravik-art preview icons.q7 all sheet.png --bg white --fg blue

The status is 0 when all went well, 1 when it did not (one line on standard error says why) or when a check
found something, and 2 when the command line is wrong. A file is written whole or not at all.
)";

inline constexpr std::string_view pack_help =
    R"(dravik-art pack OUT IMAGE.png...
dravik-art pack OUT --list FILE

Makes an archive of PNG pictures. The first picture is image 0, the next image 1, and so on.
Each pixel becomes a level from 0 (background) to 15 (foreground).

  --levels RULE    what the levels are taken from:
                     auto      alpha where a picture has transparency, otherwise grey (the default)
                     alpha     the opacity
                     grey      the brightness: white art on black
                     inverted  the darkness: black art on white
  --list FILE      take the names of the pictures from FILE, one a line, relative to its folder;
                   blank lines and lines that begin with # are passed over
  --header FILE.h  write a C header too, that names the images after their pictures

An existing OUT is replaced if it is an archive, and FILE.h if this tool made it.

Examples:
  dravik-art pack icons.q7 home.png back.png record.png
  dravik-art pack icons.q7 --list icons.txt --header icons.h
  dravik-art pack scans.q7 --levels inverted scan1.png scan2.png
)";

inline constexpr std::string_view list_help =
    R"(dravik-art list ARCHIVE

Lists the images of an archive: index, width, height, where the pixels begin, and how many bytes they take.

Example:
  dravik-art list icons.q7
)";

inline constexpr std::string_view check_help =
    R"(dravik-art check ARCHIVE

Judges an archive, a line a finding: all that the library would refuse, images without pixels, pixels within
the table, shared between images or beyond the end, and bits where none should be. Says nothing and ends with
status 0 when all is well, otherwise with status 1.

Example:
  dravik-art check icons.q7 && cp icons.q7 /usr/local/dravik/
)";

inline constexpr std::string_view unpack_help =
    R"(dravik-art unpack ARCHIVE FOLDER

Makes a PNG of each image: FOLDER/000.png, FOLDER/001.png and so on. FOLDER must not exist, or be empty.
The pictures are grey from black (level 0) to white (level 15); packed again they give the same images.

  --ramp BG,FG     in the colours of a ramp instead (see preview)
  --theme COLOUR   the theme colour for that, 0x0B77 if not given

Examples:
  dravik-art unpack icons.q7 icons
  dravik-art unpack icons.q7 icons-red --ramp white,red
)";

inline constexpr std::string_view preview_help =
    R"(dravik-art preview ARCHIVE INDEX|all OUT.png

Shows one image, or all of them on a sheet, as the library draws them.

  --bg COLOUR      background: a colour, theme, or none (level 0 stays transparent); black if not given
  --fg COLOUR      foreground: a colour; white if not given
  --theme COLOUR   the theme colour, 0x0B77 if not given
  --ramps          the image in all colour pairs that have a ramp of their own, nine a row:
                     on black    white red green blue grey yellow magenta cyan orange
                     on white    black red green blue grey yellow magenta cyan orange
                     on theme white, black; on magenta black; on none black, grey, white
  --scale N        enlarge 1 to 64 times

COLOUR: white, black (0x0821), red, green, blue, grey, yellow, magenta, cyan, orange, RGB565 as 0x07E0, or RGB
as '#00FF00' (cut down to RGB565). A pair without a ramp of its own is drawn in the nearest that the library has.

Examples:
  dravik-art preview icons.q7 3 home.png --bg white --fg blue --scale 4
  dravik-art preview icons.q7 all sheet.png --bg theme --theme 0x39C7
  dravik-art preview icons.q7 0 ramps.png --ramps
)";

} // namespace dravik::art
