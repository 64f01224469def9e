// Files of a FAT32 file system by their cluster chains. The card is untrusted: chains end with what a directory or a
// file may have, names cannot lead out of a directory, and a directory is read once.

#include "host/fat_files.hpp"
#include "base/byte_reader.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <string_view>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr size_t entry_bytes = 32;
constexpr uint64_t largest_directory = 2 << 20; ///< of a kernel
constexpr uint32_t first_cluster = 2;
constexpr uint32_t end_of_chain = 0x0FFFFFF7; ///< and above; this one marks a bad cluster
constexpr size_t most_entries = 100'000; ///< files and directories; directories that share clusters have more

constexpr uint8_t deleted = 0xE5, last_of_name = 0x40;
constexpr uint8_t volume_label = 0x08, directory_bit = 0x10, part_of_name = 0x0F;
constexpr uint8_t lower_base = 0x08, lower_extension = 0x10;

using entry = std::span<const uint8_t, entry_bytes>;

uint32_t number(entry bytes, size_t position, size_t length) {
  uint32_t value = 0;
  for (size_t i = length; i > 0; --i)
    value = value << 8 | bytes[position + i - 1];
  return value;
}

// ------------------------------------------------------------------------------------------------ clusters

/// The clusters of a file system, and how they follow each other.
class fat32 {
public:
  fat32(int card, const partition &place) : card_(card) {
    const sector first = read_sector(card, place.start);
    const fat_volume volume = read_fat_volume(first);
    byte_reader fields{first};
    fields.seek(11);
    const uint32_t bytes_per_sector = fields.u16le();
    fields.seek(14);
    const uint32_t reserved = fields.u16le();
    const uint32_t tables = fields.u8();
    fields.seek(22);
    const bool is_fat32 = fields.u16le() == 0 && volume.clusters != 0;
    fields.seek(36);
    const uint64_t table_sectors = fields.u32le();
    fields.seek(44);
    root_ = fields.u32le();
    if (!is_fat32)
      return;
    cluster_bytes_ = volume.cluster_bytes;
    table_ = place.start_bytes() + uint64_t{reserved} * bytes_per_sector;
    data_ = table_ + tables * table_sectors * bytes_per_sector;
    const uint64_t in_table = table_sectors * bytes_per_sector / sizeof(uint32_t);
    end_ = static_cast<uint32_t>(std::min<uint64_t>(uint64_t{volume.clusters} + first_cluster, in_table));
    steps_left_ = uint64_t{end_} * 2;
  }

  uint32_t cluster_bytes() const { return cluster_bytes_; }
  uint32_t root() const { return root_; }

  /// Where the clusters of a chain are, of `wanted` at most. A chain that leads nowhere ends there, and one that is
  /// a loop goes on, as in the kernel.
  std::vector<fat_piece> chain(uint32_t cluster, uint64_t wanted) {
    std::vector<fat_piece> pieces;
    uint64_t count = 0;
    for (; count < wanted && steps_left_ > 0 && cluster >= first_cluster && cluster < end_; ++count) {
      const uint64_t place = data_ + uint64_t{cluster - first_cluster} * cluster_bytes_;
      if (pieces.empty() || pieces.back().start + pieces.back().length != place)
        pieces.push_back({place, 0});
      pieces.back().length += cluster_bytes_;
      cluster = next(cluster);
      --steps_left_;
    }
    ended_ = count < wanted && cluster >= end_of_chain;
    return pieces;
  }
  bool ended_properly() const { return ended_; }
  bool has_steps_left() const { return steps_left_ > 0; }

private:
  uint32_t next(uint32_t cluster) {
    const uint64_t position = table_ + uint64_t{cluster} * sizeof(uint32_t);
    const uint64_t number = position / sector_bytes;
    if (number != number_)
      window_ = read_sector(card_, number_ = number);
    byte_reader fields{window_};
    fields.seek(position % sector_bytes);
    return fields.u32le() & 0x0FFFFFFF;
  }

  int card_;
  uint32_t cluster_bytes_ = 0, root_ = 0, end_ = 0;
  uint64_t table_ = 0, data_ = 0;
  uint64_t steps_left_ = 0; ///< a limit for chains that cross each other
  uint64_t number_ = ~uint64_t{0};
  sector window_ = {};
  bool ended_ = false;
};

// ------------------------------------------------------------------------------------------------ names

void append_utf8(std::string &text, uint32_t code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
    return;
  }
  const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  constexpr std::array<uint8_t, 4> lead = {0, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(lead[static_cast<size_t>(more)] | code >> (6 * more));
  for (int shift = 6 * (more - 1); shift >= 0; shift -= 6)
    text += static_cast<char>(0x80 | (code >> shift & 0x3F));
}

std::string utf8_of(std::span<const uint16_t> units) {
  std::string text;
  for (size_t i = 0; i < units.size() && units[i] != 0; ++i) {
    const bool is_pair =
        (units[i] & 0xFC00) == 0xD800 && i + 1 < units.size() && (units[i + 1] & 0xFC00) == 0xDC00;
    append_utf8(text, is_pair ? 0x10000 + ((units[i] & 0x3FFU) << 10) + (units[i + 1] & 0x3FFU) : units[i]);
    i += is_pair ? 1 : 0;
  }
  return text;
}

/// The name that several entries before one of a file contain.
class long_name {
public:
  void add(entry part) {
    constexpr std::array<size_t, 13> places = {1, 3, 5, 7, 9, 14, 16, 18, 20, 22, 24, 28, 30};
    const size_t index = part[0] & 0x1F;
    if ((part[0] & last_of_name) != 0) {
      units_.assign(index * places.size(), 0);
      checksum_ = part[13];
    }
    if (index == 0 || index * places.size() > units_.size() || part[13] != checksum_)
      return units_.clear();
    for (size_t i = 0; i < places.size(); ++i)
      units_[(index - 1) * places.size() + i] = static_cast<uint16_t>(number(part, places[i], 2));
  }
  /// Empty without one that belongs to the entry.
  std::string take(entry file) {
    uint8_t sum = 0;
    for (const uint8_t byte : file.first<11>())
      sum = static_cast<uint8_t>((sum << 7 | sum >> 1) + byte);
    std::string name = sum == checksum_ ? utf8_of(units_) : "";
    units_.clear();
    return name;
  }

private:
  std::vector<uint16_t> units_;
  uint8_t checksum_ = 0;
};

std::string part_of_short_name(std::span<const uint8_t> bytes, bool is_lower) {
  std::string part;
  for (const uint8_t byte : bytes)
    part += static_cast<char>(is_lower && byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte);
  return part.substr(0, part.find_last_not_of(' ') + 1);
}

std::string short_name(entry file) {
  const std::string base = part_of_short_name(file.first<8>(), (file[12] & lower_base) != 0);
  const std::string extension = part_of_short_name(file.subspan<8, 3>(), (file[12] & lower_extension) != 0);
  return extension.empty() ? base : base + "." + extension;
}

bool is_plain_name(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         std::ranges::none_of(name, [](char c) { return c == '/' || static_cast<uint8_t>(c) < ' '; });
}

// ------------------------------------------------------------------------------------------------ the tree

std::time_t time_of(entry file) {
  const uint32_t time = number(file, 22, 2), date = number(file, 24, 2);
  std::tm local = {};
  local.tm_sec = static_cast<int>((time & 0x1F) * 2);
  local.tm_min = static_cast<int>(time >> 5 & 0x3F);
  local.tm_hour = static_cast<int>(time >> 11);
  local.tm_mday = static_cast<int>(date & 0x1F);
  local.tm_mon = static_cast<int>(date >> 5 & 0x0F) - 1;
  local.tm_year = static_cast<int>(date >> 9) + 80;
  local.tm_isdst = -1;
  return std::mktime(&local);
}

class tree_reader {
public:
  tree_reader(int card, const partition &place) : card_(card), clusters_(card, place) {}

  std::optional<std::vector<fat_file>> read() {
    waiting_.push_back({"", clusters_.root()});
    bool is_read = clusters_.cluster_bytes() != 0;
    while (is_read && !waiting_.empty()) {
      const directory next = waiting_.back();
      waiting_.pop_back();
      is_read = known_.insert(next.cluster).second && read_directory(next) &&
                known_.size() + waiting_.size() + files_.size() <= most_entries;
    }
    return is_read && clusters_.has_steps_left() ? std::optional{files_} : std::nullopt;
  }

private:
  struct directory {
    std::string path; ///< ends with a slash, except of the root
    uint32_t cluster;
  };

  bool read_directory(const directory &from) {
    const uint64_t most = largest_directory / clusters_.cluster_bytes() + 1;
    const std::vector<fat_piece> pieces = clusters_.chain(from.cluster, most);
    if (!clusters_.ended_properly())
      return false;
    std::vector<uint8_t> bytes;
    for (const fat_piece &piece : pieces) {
      const size_t read = bytes.size(), length = static_cast<size_t>(piece.length);
      bytes.resize(read + length);
      if (::pread(card_, &bytes[read], length, static_cast<off_t>(piece.start)) < 0)
        return false;
    }
    long_name name;
    for (size_t at = 0; at < bytes.size() && bytes[at] != 0; at += entry_bytes)
      if (!take(entry{&bytes[at], entry_bytes}, from, name))
        return false;
    return true;
  }

  /// Return false if the name is not known.
  bool take(entry found, const directory &in, long_name &name) {
    const uint8_t attributes = found[11];
    if (found[0] == deleted)
      return true;
    if ((attributes & 0x3F) == part_of_name) {
      name.add(found);
      return true;
    }
    std::string own = name.take(found);
    if ((attributes & volume_label) != 0 || found[0] == '.')
      return true;
    const bool is_ascii = std::ranges::all_of(found.first<11>(), [](uint8_t c) { return c < 0x80; });
    if (own.empty() && is_ascii)
      own = short_name(found);
    if (!is_plain_name(own))
      return false;
    add(found, in.path + own, (attributes & directory_bit) != 0);
    return true;
  }

  void add(entry found, const std::string &path, bool is_directory) {
    const uint32_t cluster = number(found, 20, 2) << 16 | number(found, 26, 2);
    if (is_directory) {
      waiting_.push_back({path + "/", cluster});
      return;
    }
    const uint32_t size = number(found, 28, 4), bytes = clusters_.cluster_bytes();
    fat_file file = {path, size, time_of(found),
                     clusters_.chain(cluster, (uint64_t{size} + bytes - 1) / bytes), 0};
    for (const fat_piece &piece : file.pieces)
      file.readable += piece.length;
    file.readable = std::min<uint64_t>(file.readable, size);
    files_.push_back(std::move(file));
  }

  int card_;
  fat32 clusters_;
  std::vector<directory> waiting_;
  std::set<uint32_t> known_;
  std::vector<fat_file> files_;
};

} // namespace

bool fat_file::is_damaged() const {
  std::vector<fat_piece> ordered = pieces;
  std::ranges::sort(ordered, {}, &fat_piece::start);
  const auto overlap = [](const fat_piece &one, const fat_piece &next) {
    return one.start + one.length > next.start;
  };
  return readable < size || std::ranges::adjacent_find(ordered, overlap) != ordered.end();
}

std::optional<std::vector<fat_file>> list_fat_files(int card, const partition &place) {
  return tree_reader{card, place}.read();
}

bool copy_fat_file(int card, const fat_file &file, int target) {
  if (::ftruncate(target, static_cast<off_t>(file.size)) != 0)
    return false;
  uint64_t position = 0;
  for (const fat_piece &piece : file.pieces) {
    const uint64_t length = std::min(piece.length, file.readable - position);
    if (!copy_region(card, piece.start, target, position, length))
      return false;
    position += length;
  }
  return true;
}

} // namespace dravik::sim
