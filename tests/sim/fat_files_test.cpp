// Files of a FAT32 file system by their cluster chains, on cards made byte by byte.

#include "base/unique_fd.hpp"
#include "host/fat_files.hpp"
#include "support/bytes.hpp"
#include "support/emulation.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using sim::fat_file;
using testing::ElementsAre;
using testing::Optional;
using testing::SizeIs;

constexpr uint32_t root = 2, end_of_chain = 0x0FFFFFF8;
constexpr uint8_t plain = 0x20, directory = 0x10, part_of_name = 0x0F;

/// A card without partitions: one sector per cluster, one table, 512 bytes each.
class fat_card {
public:
  explicit fat_card(uint32_t clusters = 200) : clusters_(clusters), table_sectors_((clusters + 2) / 128 + 1) {
    image_.resize((1 + table_sectors_ + clusters) * size_t{512});
    put_u16(image_, 11, 512); // bytes per sector
    image_[13] = 1;           // sectors per cluster
    put_u16(image_, 14, 1);   // sectors before the table
    image_[16] = 1;           // tables
    image_[21] = 0xF8;
    put_u32(image_, 32, sectors());
    put_u32(image_, 36, table_sectors_);
    put_u32(image_, 44, root);
    link(root, end_of_chain);
  }

  uint32_t sectors() const { return 1 + table_sectors_ + clusters_; }
  size_t place_of(uint32_t cluster) const { return (1 + table_sectors_ + cluster - 2) * size_t{512}; }
  void link(uint32_t cluster, uint32_t next) { put_u32(image_, 512 + cluster * size_t{4}, next); }
  /// Clusters one after the other, and the end of the chain.
  void link_all(uint32_t first, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i)
      link(first + i, i + 1 < count ? first + i + 1 : end_of_chain);
  }

  /// The n-th entry from the start of a cluster; the name has 11 characters.
  void add(uint32_t cluster, size_t n, const std::string &name, uint8_t attributes, uint32_t first,
           uint32_t size) {
    const size_t at = place_of(cluster) + n * 32;
    std::ranges::copy(name, image_.begin() + static_cast<std::ptrdiff_t>(at));
    image_[at + 11] = attributes;
    put_u16(image_, at + 20, static_cast<uint16_t>(first >> 16));
    put_u16(image_, at + 26, static_cast<uint16_t>(first));
    put_u32(image_, at + 28, size);
  }
  /// A part of the name of the entry that follows it: 13 characters, of which those after the name are zeros.
  void add_name(uint32_t cluster, size_t n, const std::u16string &name, uint8_t checksum) {
    constexpr size_t places[] = {1, 3, 5, 7, 9, 14, 16, 18, 20, 22, 24, 28, 30};
    const size_t at = place_of(cluster) + n * 32;
    image_[at] = 0x41; // the first part, and the last
    image_[at + 11] = part_of_name;
    image_[at + 13] = checksum;
    for (size_t i = 0; i < name.size(); ++i)
      put_u16(image_, at + places[i], name[i]);
  }

  bytes &image() { return image_; }
  unique_fd opened() const {
    unique_fd file{::memfd_create("card", MFD_CLOEXEC)};
    EXPECT_EQ(::write(file.get(), image_.data(), image_.size()), static_cast<ssize_t>(image_.size()));
    return file;
  }
  std::optional<std::vector<fat_file>> files() const {
    return sim::list_fat_files(opened().get(), {0, sectors()});
  }

private:
  uint32_t clusters_, table_sectors_;
  bytes image_;
};

std::vector<std::string> paths_of(const std::vector<fat_file> &files) {
  std::vector<std::string> paths;
  for (const fat_file &file : files)
    paths.push_back(file.path);
  std::ranges::sort(paths);
  return paths;
}

TEST(SimFatFiles, ListsFilesOfAllDirectories) {
  fat_card card;
  card.add(root, 0, "CARD       ", 0x08, 0, 0); // the label
  card.add(root, 1, "A       TXT", plain, 10, 700);
  card.add(root, 2, "\xE5GONE    ", plain, 10, 700);
  card.add(root, 3, "REC        ", directory, 20, 0);
  card.add(20, 0, ".          ", directory, 20, 0);
  card.add(20, 1, "..         ", directory, 0, 0);
  card.add(20, 2, "EMPTY      ", plain, 0, 0);
  card.link(20, end_of_chain);
  card.link(10, 30);
  card.link(30, end_of_chain);
  const auto files = card.files();
  ASSERT_TRUE(files);
  EXPECT_THAT(paths_of(*files), ElementsAre("A.TXT", "REC/EMPTY"));
  const auto file = std::ranges::find(*files, "A.TXT", &fat_file::path);
  EXPECT_EQ(file->size, 700U);
  EXPECT_EQ(file->readable, 700U);
  EXPECT_FALSE(file->is_damaged());
  ASSERT_THAT(file->pieces, SizeIs(2));
  EXPECT_EQ(file->pieces[0].start, card.place_of(10));
  EXPECT_EQ(file->pieces[1].start, card.place_of(30));
}

TEST(SimFatFiles, ReadsLongAndLowerCaseNames) {
  fat_card card;
  // The checksum of "KVX   ~1TS ", by the rule of FAT: each sum is rotated right by a bit before a byte is added.
  uint8_t checksum = 0;
  for (const char c : std::string{"KVX   ~1TS "})
    checksum = static_cast<uint8_t>(((checksum & 1) << 7) + (checksum >> 1) + c);
  card.add_name(root, 0, u"Größe 1.ts", checksum);
  card.add(root, 1, "KVX   ~1TS ", plain, 0, 0);
  card.add_name(root, 2, u"of another", static_cast<uint8_t>(checksum + 1));
  card.add(root, 3, "KVX   ~1TS ", plain, 0, 0);
  card.add(root, 4, "LOWER   TXT", plain, 0, 0);
  card.image()[card.place_of(root) + 4 * 32 + 12] = 0x18;
  const auto files = card.files();
  ASSERT_TRUE(files);
  EXPECT_THAT(paths_of(*files), ElementsAre("Größe 1.ts", "KVX   ~1.TS", "lower.txt"));
}

TEST(SimFatFiles, EndsAtABrokenChain) {
  for (const uint32_t next : {0U, 1U, 202U, 0x0FFFFFF7U, end_of_chain}) {
    fat_card card;
    card.add(root, 0, "A          ", plain, 10, 5000);
    card.link(10, 11);
    card.link(11, next);
    const auto files = card.files();
    ASSERT_THAT(files, Optional(SizeIs(1)));
    EXPECT_EQ(files->front().readable, 1024U) << next;
    EXPECT_TRUE(files->front().is_damaged()) << next;
  }
}

TEST(SimFatFiles, FollowsALoopForTheSizeOfTheFile) {
  fat_card card;
  card.add(root, 0, "A          ", plain, 10, 5000);
  card.link(10, 11);
  card.link(11, 10);
  const auto files = card.files();
  ASSERT_THAT(files, Optional(SizeIs(1)));
  EXPECT_EQ(files->front().readable, 5000U);
  EXPECT_TRUE(files->front().is_damaged());
}

TEST(SimFatFiles, RejectsWhatIsNoTree) {
  fat_card loop;
  loop.add(root, 0, "A          ", directory, root, 0);
  EXPECT_FALSE(loop.files());

  fat_card broken;
  broken.link(root, 0);
  EXPECT_FALSE(broken.files());

  fat_card other;
  put_u16(other.image(), 22, 1); // FAT16: the sectors of a table
  EXPECT_FALSE(other.files());
  EXPECT_FALSE(sim::list_fat_files(-1, {0, 100}));
}

TEST(SimFatFiles, RejectsNamesThatLeadOutOfADirectory) {
  for (const std::string name : {"A/B        ", "/          ", "A\nB        ", "           "}) {
    fat_card card;
    card.add(root, 0, name, plain, 0, 0);
    EXPECT_FALSE(card.files()) << name;
  }
}

TEST(SimFatFiles, RejectsFilesThatShareTooManyClusters) {
  fat_card card{1000};
  card.link_all(100, 900);
  for (size_t n = 0; n < 16; ++n)
    card.add(root, n, "FILE       ", plain, 100, 512 * 900);
  EXPECT_FALSE(card.files()); // each file alone would be right
}

TEST(SimFatFiles, ReadsTheLargestDirectoryButNotSeveralThatShareIt) {
  constexpr uint32_t clusters = 4096; // two megabytes, the most of a directory
  fat_card card{clusters + 100};
  card.link_all(10, clusters);
  for (uint32_t cluster = 10; cluster < 10 + clusters; ++cluster)
    for (size_t n = 0; n < 16; ++n)
      card.add(cluster, n, "FILE       ", plain, 0, 0);
  card.add(root, 0, "A          ", directory, 10, 0);
  EXPECT_THAT(card.files(), Optional(SizeIs(clusters * 16)));
  card.add(root, 1, "B          ", directory, 11, 0);
  EXPECT_FALSE(card.files());
}

TEST(SimFatFiles, IsSafeWithRandomChanges) {
  constexpr uint32_t seed = 3107;
  std::mt19937 random(seed);
  fat_card whole;
  for (uint32_t i = 0; i < 14; ++i)
    whole.add(root, i, "FILE" + std::to_string(i % 10) + "      ", i % 3 == 0 ? directory : plain, 10 + i,
              900);
  whole.link_all(10, 100);
  for (int round = 0; round < rounds(2000); ++round) {
    SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
    fat_card card = whole;
    for (uint32_t change = random_in(random, 1, 8); change > 0; --change)
      card.image()[random_in(random, 11, 5000)] = static_cast<uint8_t>(random());
    const auto files = card.files();
    for (const fat_file &file : files ? *files : std::vector<fat_file>{}) {
      EXPECT_LE(file.readable, file.size);
      EXPECT_THAT("/" + file.path, testing::Not(testing::HasSubstr("/../")));
    }
  }
}

} // namespace
} // namespace dravik::test
