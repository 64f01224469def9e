// "list" and "check": an archive as text.

#include "common/files.hpp"
#include "dravik-art/archive_file.hpp"
#include "dravik-art/commands.hpp"

#include <cinttypes>
#include <cstdio>

namespace dravik::art {
namespace {

constexpr std::string_view list_help =
    R"(Usage: dravik-art list ARCHIVE

List the images of an archive.

Output: one line per image: index, width and height in pixels, offset and
length of its pixels in bytes

Examples:
  dravik-art list icons.q7

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view check_help =
    R"(Usage: dravik-art check ARCHIVE

Check an archive.

Report everything that the library would reject, and more: images without
pixels, pixels inside the table, shared between images or beyond the end of
the file, and reserved bits that are set.

Output: one line per finding; none for a valid archive

Examples:
  dravik-art check icons.q7 && cp icons.q7 /usr/local/dravik/

Exit status: 0 on success; 1 on findings or failure; 2 on a usage error
)";

outcome list(const command_line &given, std::string &error) {
  archive shown;
  if (!open_archive(given.operands()[0], shown, error))
    return outcome::failed;
  std::puts("index   width  height      offset       bytes");
  for (uint32_t i = 0; i < shown.count(); ++i) {
    const image_record record = shown.record(i);
    std::printf("%5" PRIu32 " %7" PRIu32 " %7" PRIu32 " %11" PRIu32 " %11" PRIu64 "\n", i, record.width,
                record.height, record.start, record.bytes());
  }
  return outcome::done;
}

outcome check_archive(const command_line &given, std::string &error) {
  std::vector<uint8_t> file;
  if (!tools::read_file(given.operands()[0], file, error))
    return outcome::failed;
  const std::vector<std::string> findings = check(file);
  for (const std::string &line : findings)
    std::puts(line.c_str());
  return findings.empty() ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command list_command = {.name = "list",
                                               .summary = "list the images of an archive",
                                               .help = list_help,
                                               .operands = "ARCHIVE",
                                               .run = list};
extern constinit const command check_command = {.name = "check",
                                                .summary = "check an archive",
                                                .help = check_help,
                                                .operands = "ARCHIVE",
                                                .run = check_archive};

} // namespace dravik::art
