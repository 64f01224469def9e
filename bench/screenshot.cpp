// Screenshots to the memory card.

#include "board.hpp"
#include "harness.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace bench {
namespace {

constexpr const char *card = "/tmp/mmcblk0p1";
constexpr const char *peer_path = "/tmp/mmcblk0p1/q7_peer_1.bmp";
constexpr size_t header_size = 66;

using bytes = std::vector<char>;

void empty_card() {
  for (const auto &entry : std::filesystem::directory_iterator(host_path(card)))
    std::filesystem::remove(entry.path());
}

/// The contents of the only file on the card.
bytes card_file() {
  const auto first = std::filesystem::directory_iterator(host_path(card));
  if (first == std::filesystem::directory_iterator())
    return {};
  std::ifstream file(first->path(), std::ios::binary);
  return bytes(std::istreambuf_iterator<char>(file), {});
}

void write_rows(const bytes &header) {
  std::FILE *file = std::fopen(peer_path, "w");
  std::fwrite(header.data(), 1, header_size, file);
  for (int y = screen_height; y-- > 0;)
    std::fwrite(pixel_at(0, y), 2, screen_width, file);
  std::fclose(file);
}

void write_at_once(const bytes &whole) {
  const int fd = ::open(peer_path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (::write(fd, whole.data(), whole.size()) < 0)
    std::perror(peer_path);
  ::close(fd);
}

/// The file of the library, after the reference library has written the same one.
bytes agreed_file() {
  for (int i = 0; i < screen_width * screen_height; ++i)
    pixel_at(0, 0)[i] = static_cast<uint16_t>(static_cast<unsigned>(i) * 40503 >> 4);
  empty_card();
  fb_get_bmp_file(pixel_at(0, 0));
  bytes file = card_file();
  empty_card();
  if (file.size() == header_size + screen_bytes)
    write_rows(file);
  if (file.empty() || card_file() != file) {
    std::fputs("screenshot: the peer writes another file than the library\n", stderr);
    std::exit(EXIT_FAILURE);
  }
  return file;
}

} // namespace

void add_screenshot() {
  row<bytes>("screenshot", {1.0, 1.5}, {agreed_file()})
      .before_each_pass(empty_card)
      .library([](const bytes &) { fb_get_bmp_file(pixel_at(0, 0)); })
      .peer("stdio", write_rows)
      .floor(write_at_once);
}

} // namespace bench
