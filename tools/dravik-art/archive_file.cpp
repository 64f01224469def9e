// Archives of artwork: "KORVEXQ7", the number of images, the length, a table of records, and the pixels.

#include "dravik-art/archive_file.hpp"

#include "base/byte_reader.hpp"
#include "common/files.hpp"
#include "common/magics.hpp"

#include <algorithm>
#include <limits>

namespace dravik::art {
namespace {

constexpr size_t record_size = 16; ///< of the header too: record i is at (i + 1) * record_size
constexpr size_t most_findings = 100;

using std::to_string;

void put_word(std::vector<uint8_t> &to, uint64_t value) {
  for (int shift = 0; shift < 32; shift += 8)
    to.push_back(static_cast<uint8_t>(value >> shift));
}

struct header {
  bool has_magic;
  uint32_t count;
  uint32_t size;
};

header read_header(std::span<const uint8_t> file) noexcept {
  byte_reader reader{file};
  reader.seek(tools::archive_magic.size());
  const uint32_t count = reader.u32le();
  const uint32_t size = reader.u32le();
  return {reader.ok() && std::equal(tools::archive_magic.begin(), tools::archive_magic.end(), file.begin()),
          count, size};
}

image_record read_record(std::span<const uint8_t> file, uint32_t index) noexcept {
  byte_reader reader{file};
  reader.seek((uint64_t{index} + 1) * record_size);
  image_record record;
  record.width = reader.u32le();
  record.height = reader.u32le();
  record.start = reader.u32le();
  record.reserved = reader.u32le();
  return record;
}

/// A list of findings that stops growing.
class finding_list {
public:
  bool is_full() const noexcept { return lines_.size() > most_findings; }
  void add(std::string line) {
    if (lines_.size() < most_findings)
      lines_.push_back(std::move(line));
    else if (lines_.size() == most_findings)
      lines_.push_back("more than " + to_string(most_findings) + " findings; the rest is omitted");
  }
  void add(uint32_t index, std::string_view what) {
    add("image " + to_string(index) + ": " + std::string(what));
  }
  std::vector<std::string> take() noexcept { return std::move(lines_); }

private:
  std::vector<std::string> lines_;
};

/// Check everything before the pixels. Return false if the table cannot be read.
bool check_header(std::span<const uint8_t> file, finding_list &found) {
  if (file.size() < record_size) {
    found.add("truncated header: " + to_string(file.size()) + " bytes; must be at least 16");
    return false;
  }
  const header head = read_header(file);
  if (!head.has_magic) {
    found.add("not an archive; must start with " + std::string(tools::archive_magic));
    return false;
  }
  if (head.size != file.size())
    found.add("invalid length " + to_string(head.size) + " in the header; the file has " +
              to_string(file.size()) + " bytes");
  if (head.count == 0)
    found.add("contains no image");
  if (archive_size(head.count, 0) > file.size()) {
    found.add("truncated table of " + to_string(head.count) + " images");
    return false;
  }
  return true;
}

/// Why an image cannot be drawn, or nothing.
std::string why_undrawable(const image_record &record, uint64_t file_size) {
  if (record.is_empty())
    return "no pixels: " + to_string(record.width) + " x " + to_string(record.height);
  if (record.end() > file_size)
    return "pixels end at byte " + to_string(record.end()) + "; the file has " + to_string(file_size) +
           " bytes";
  return {};
}

/// Rows of odd width whose unused last half byte is not 0.
void check_unused_bits(std::span<const uint8_t> pixels, const image_record &record, uint32_t index,
                       finding_list &found) {
  if (record.width % 2 == 0)
    return;
  uint32_t rows = 0;
  const auto row_bytes = static_cast<size_t>(record.row_bytes());
  for (size_t last = row_bytes - 1; last < pixels.size(); last += row_bytes)
    rows += (pixels[last] & 0x0F) != 0 ? 1 : 0;
  if (rows != 0)
    found.add(index, "bits set in the unused half of the last byte of " + to_string(rows) + " rows");
}

void check_image(std::span<const uint8_t> file, uint32_t index, finding_list &found) {
  const image_record record = read_record(file, index);
  if (record.reserved != 0)
    found.add(index, "last word of the record is " + to_string(record.reserved) + "; must be 0");
  if (const std::string why = why_undrawable(record, file.size()); !why.empty()) {
    found.add(index, why);
    return;
  }
  if (record.start < archive_size(read_header(file).count, 0))
    found.add(index, "pixels start at byte " + to_string(record.start) + ", inside the header or the table");
  check_unused_bits(file.subspan(record.start, static_cast<size_t>(record.bytes())), record, index, found);
}

/// Report images that share bytes, each with the one before it that reaches furthest.
void check_overlaps(std::span<const uint8_t> file, finding_list &found) {
  std::vector<uint32_t> order;
  const uint32_t count = read_header(file).count;
  for (uint32_t i = 0; i < count; ++i)
    if (why_undrawable(read_record(file, i), file.size()).empty())
      order.push_back(i);
  std::ranges::stable_sort(order, {}, [file](uint32_t index) { return read_record(file, index).start; });
  uint64_t reached = 0;
  uint32_t by = 0;
  for (const uint32_t index : order) {
    const image_record record = read_record(file, index);
    if (record.start < reached)
      found.add(std::max(index, by), "pixels overlap those of image " + to_string(std::min(index, by)));
    if (found.is_full())
      return;
    if (record.end() > reached) {
      reached = record.end();
      by = index;
    }
  }
}

} // namespace

bool fits_archive(uint64_t size, std::string &error) {
  if (size <= std::numeric_limits<uint32_t>::max())
    return true;
  error = "output too large: " + to_string(size) + " bytes; must be less than 4 GiB";
  return false;
}

bool build(std::span<const packed_image> images, std::vector<uint8_t> &archive, std::string &error) {
  uint64_t pixel_bytes = 0;
  for (const packed_image &image : images)
    pixel_bytes += image.pixels.size();
  const uint64_t size = archive_size(images.size(), pixel_bytes);
  if (!fits_archive(size, error))
    return false;

  archive.reserve(static_cast<size_t>(size));
  archive.assign(tools::archive_magic.begin(), tools::archive_magic.end());
  put_word(archive, images.size());
  put_word(archive, size);
  uint64_t start = archive_size(images.size(), 0);
  for (const packed_image &image : images) {
    for (const uint64_t word : {uint64_t{image.width}, uint64_t{image.height}, start, uint64_t{0}})
      put_word(archive, word);
    start += image.pixels.size();
  }
  for (const packed_image &image : images)
    archive.insert(archive.end(), image.pixels.begin(), image.pixels.end());
  return true;
}

bool archive::open(std::vector<uint8_t> file, std::string &error) {
  finding_list found;
  check_header(file, found);
  const std::vector<std::string> lines = found.take();
  if (!lines.empty()) {
    error = lines.front();
    return false;
  }
  file_ = std::move(file);
  return true;
}

uint32_t archive::count() const noexcept {
  return read_header(file_).count;
}

image_record archive::record(uint32_t index) const noexcept {
  return read_record(file_, index);
}

bool archive::has_pixels(uint32_t index, std::string &error) const {
  const std::string why = why_undrawable(record(index), file_.size());
  if (!why.empty())
    error = "image " + to_string(index) + ": " + why;
  return why.empty();
}

bool open_archive(const std::string &path, archive &opened, std::string &error) {
  std::vector<uint8_t> file;
  if (!tools::read_file(path, file, error))
    return false;
  if (opened.open(std::move(file), error))
    return true;
  error = path + ": " + error;
  return false;
}

std::vector<std::string> check(std::span<const uint8_t> file) {
  finding_list found;
  if (check_header(file, found)) {
    const uint32_t count = read_header(file).count;
    for (uint32_t i = 0; i < count && !found.is_full(); ++i)
      check_image(file, i, found);
    if (!found.is_full())
      check_overlaps(file, found);
  }
  return found.take();
}

} // namespace dravik::art
