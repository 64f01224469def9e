// Surveys of the recordings directory: names, times, sizes and slots.

#include "storage/recordings_stage.hpp"
#include "support/descriptors.hpp"
#include "support/emulation.hpp"
#include "support/random.hpp"

#include <cstddef>
#include <dirent.h>
#include <fnmatch.h>
#include <optional>

namespace dravik::test {
namespace {

class Recordings : public recordings_fixture {
protected:
  /// The names of the directory as the system lists them.
  std::vector<std::string> listed_names() const {
    std::vector<std::string> names;
    DIR *directory = ::opendir(folder_.c_str());
    while (const dirent *entry = ::readdir(directory))
      names.emplace_back(entry->d_name);
    ::closedir(directory);
    return names;
  }

  survey model() const;
};

bool matches(const std::string &name, const char *pattern) {
  return ::fnmatch(pattern, name.c_str(), FNM_CASEFOLD) == 0;
}

survey Recordings::model() const {
  std::optional<std::pair<time_t, int32_t>> oldest_normal, oldest_event;
  const auto consider = [](auto &oldest, time_t time, int32_t which) {
    if (time < 0x7FFFFFFF && (!oldest || time < oldest->first))
      oldest = {time, which};
  };
  int32_t count = 0;
  uint64_t sixteenths = 0;
  std::array<bool, 5> used = {};
  for (const std::string &name : listed_names()) {
    struct stat status;
    if (::stat(path_of(name).c_str(), &status) != 0 || !S_ISREG(status.st_mode))
      continue;
    if (matches(name, "KVX[0-9][0-9][0-9][0-9][0-9].TS")) {
      ++count;
      sixteenths += static_cast<uint64_t>(status.st_size) / 16;
      consider(oldest_normal, status.st_mtime, std::stoi(name.substr(3, 5)));
    } else if (matches(name, "EM[A-E][0-9][0-9][0-9][0-9][0-9].TS")) {
      const int32_t slot = (name[2] | 0x20) - 'a';
      used[static_cast<size_t>(slot)] = true;
      consider(oldest_event, status.st_mtime, slot);
    }
  }
  const int32_t event_oldest = oldest_event ? oldest_event->second : -1;
  return {count,
          oldest_normal ? oldest_normal->second : -1,
          static_cast<int32_t>(sixteenths / 65536),
          used[0] + used[1] + used[2] + used[3] + used[4],
          event_oldest,
          next_slot(used, event_oldest)};
}

constexpr survey nothing = {0, -1, 0, 0, -1, 0};

TEST(RecFileList, IsSixWordsInTheirOrder) {
  EXPECT_EQ(sizeof(rec_file_list), 24U);
  EXPECT_EQ(offsetof(rec_file_list, normal_oldest), 4U);
  EXPECT_EQ(offsetof(rec_file_list, normal_size), 8U);
  EXPECT_EQ(offsetof(rec_file_list, event_count), 12U);
  EXPECT_EQ(offsetof(rec_file_list, event_oldest), 16U);
  EXPECT_EQ(offsetof(rec_file_list, event_next), 20U);
}

TEST_F(Recordings, CountsNothingInEmptyDirectory) {
  EXPECT_EQ(found(), nothing);
}

TEST_F(Recordings, CountsNormalAndEventRecordings) {
  add("KVX00042.TS", 2000, 3 << 20);
  add("KVX00043.TS", 1999, 2 << 20);
  add("EMC00007.TS", 5, 9 << 20);
  EXPECT_EQ(found(), (survey{2, 43, 5, 1, 2, 3}));
}

// --------------------------------------------------------------------------------------------------------
// names

TEST_F(Recordings, AcceptsNormalNamesInAnyCase) {
  for (const char *name : {"KVX00010.TS", "kvx00010.ts", "KvX00010.tS", "kVx00010.Ts"}) {
    clear();
    add(name);
    EXPECT_EQ(found(), (survey{1, 10, 0, 0, -1, 0})) << name;
  }
}

TEST_F(Recordings, AcceptsEventNamesInAnyCase) {
  for (const char *name : {"EMD00010.TS", "emd00010.ts", "eMd99999.tS"}) {
    clear();
    add(name);
    EXPECT_EQ(found(), (survey{0, -1, 0, 1, 3, 4})) << name;
  }
}

TEST_F(Recordings, NamesThatDifferInCaseAloneCountTwice) {
  add("KVX00010.TS");
  add("kvx00010.ts");
  EXPECT_EQ(found()[0], 2);
}

TEST_F(Recordings, IgnoresNearMisses) {
  for (const char *name : {"KVX0010.TS",
                           "KVX000010.TS",
                           "KVX00010.MP4",
                           "KVX00010.T",
                           "KVX00010.TSX",
                           "KVX00010.TT",
                           "KVX00010.ST",
                           "KVX00010TS",
                           "KVX00010",
                           "KVX00010.TS.",
                           "KVX00010..TS",
                           "KVX0001.TS.",
                           "KVX0001..TS",
                           "KVX0001O.TS",
                           "KVX 0010.TS",
                           "KVX-0010.TS",
                           "KVX+0010.TS",
                           "KVX0001a.TS",
                           "KVX0001:.TS",
                           "KVY00010.TS",
                           "KWX00010.TS",
                           "XVX00010.TS",
                           "KV000010.TS",
                           "12300010.TS",
                           "KVX00010,TS",
                           "KVX00010.TS~",
                           " KVX00010.TS",
                           "aKVX00010.TS",
                           ".TS",
                           "...........",
                           "EMF00001.TS",
                           "EM@00001.TS",
                           "EM100001.TS",
                           "EMZ00001.TS",
                           "emf00001.ts",
                           "EM`00001.TS",
                           "EMA0001.TS",
                           "EMA000001.TS",
                           "EMA0000a.TS",
                           "ENA00001.TS",
                           "AME00001.TS",
                           "EMA00001.MP4",
                           "KV\xC3\x98"
                           "0010.TS"}) {
    clear();
    add(name);
    EXPECT_EQ(found(), nothing) << name;
  }
}

TEST_F(Recordings, AcceptsOnlyDecimalNumbers) {
  for (const auto &[name, number] : {std::pair{"KVX00000.TS", 0},
                                     {"KVX00010.TS", 10},
                                     {"KVX00089.TS", 89},
                                     {"KVX12345.TS", 12345},
                                     {"KVX99999.TS", 99999}}) {
    clear();
    add(name);
    EXPECT_EQ(found()[1], number) << name;
  }
}

TEST_F(Recordings, IgnoresEventNumbers) {
  add("EMB00000.TS");
  add("EMB99999.TS");
  EXPECT_EQ(found(), (survey{0, -1, 0, 1, 1, 2}));
}

// ----------------------------------------------------------------------------------------------- kinds of
// file

TEST_F(Recordings, IgnoresDirectories) {
  std::filesystem::create_directory(path_of("KVX00001.TS"));
  std::filesystem::create_directory(path_of("EMA00001.TS"));
  EXPECT_EQ(found(), nothing);
}

TEST_F(Recordings, IgnoresContentsOfDirectories) {
  std::filesystem::create_directory(path_of("OLD"));
  add("OLD/KVX00001.TS");
  EXPECT_EQ(found(), nothing);
}

TEST_F(Recordings, IgnoresPipes) {
  ASSERT_EQ(::mkfifo(path_of("KVX00001.TS").c_str(), 0644), 0);
  EXPECT_EQ(found(), nothing);
}

TEST_F(Recordings, FollowsLinks) {
  add("target", 1000, 1 << 20);
  std::filesystem::create_directory(path_of("folder"));
  std::filesystem::create_symlink("target", path_of("KVX00001.TS"));
  std::filesystem::create_symlink("missing", path_of("KVX00002.TS"));
  std::filesystem::create_symlink("folder", path_of("KVX00003.TS"));
  EXPECT_EQ(found(), (survey{1, 1, 1, 0, -1, 0}));
}

// --------------------------------------------------------------------------------------------------------
// times

TEST_F(Recordings, SelectsOldestByTimeNotByNumber) {
  add("KVX00001.TS", 3000);
  add("KVX00002.TS", 1000);
  add("KVX00003.TS", 2000);
  add("EME00001.TS", 7);
  add("EMA00002.TS", 8);
  EXPECT_EQ(found(), (survey{3, 2, 0, 2, 4, 1}));
}

TEST_F(Recordings, ComparesEventsOnlyWithEvents) {
  add("KVX00001.TS", 1);
  add("EMC00001.TS", 1000000);
  EXPECT_EQ(found(), (survey{1, 1, 0, 1, 2, 3}));
}

TEST_F(Recordings, SelectsFirstInDirectoryAtTies) {
  for (int i = 0; i < 8; ++i)
    add("KVX0000" + std::to_string(i) + ".TS", 500);
  for (const char slot : {'E', 'B', 'D'})
    add(std::string("EM") + slot + "00000.TS", 500);
  EXPECT_EQ(found(), model());
}

TEST_F(Recordings, IgnoresPartsOfSecond) {
  for (int i = 0; i < 8; ++i) {
    const std::string name = "KVX0000" + std::to_string(i) + ".TS";
    add(name);
    const timespec times[2] = {{500, 0}, {500, 900000000 - 100000000L * i}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path_of(name).c_str(), times, 0), 0);
  }
  EXPECT_EQ(found(), model());
}

TEST_F(Recordings, CountsFilesOf2GiBAndMore) {
  constexpr off_t gibibyte = off_t{1} << 30;
  add("KVX00001.TS", 1000, 2 * gibibyte);
  add("KVX00002.TS", 1001, 5 * gibibyte);
  add("EMC00001.TS", 1002, 2 * gibibyte);
  EXPECT_EQ(found(), (survey{2, 1, 7 * 1024, 1, 2, 3}));
}

TEST_F(Recordings, TreatsTimesBefore1970AsEarlier) {
  add("KVX00001.TS", 0);
  add("KVX00002.TS", -1000);
  add("KVX00003.TS", -1);
  EXPECT_EQ(found()[1], 2);
}

TEST_F(Recordings, IgnoresLargestTimeOf32BitsAndLater) {
  constexpr time_t largest = 0x7FFFFFFF;
  for (const time_t time : {largest, largest + 1, largest + 1000, time_t{0x1FFFFFFFF}}) {
    clear();
    add("KVX00001.TS", time);
    add("EMD00001.TS", time);
    EXPECT_EQ(found(), (survey{1, -1, 0, 1, -1, 0})) << time;
  }
  add("KVX00003.TS", largest - 1);
  add("EMB00001.TS", largest - 1);
  EXPECT_EQ(found(), (survey{2, 3, 0, 2, 1, 2}));
  add("KVX00004.TS", 1);
  EXPECT_EQ(found()[1], 4);
}

TEST_F(Recordings, SearchesFromFirstSlotWithoutOldestEvent) {
  add("EMA00001.TS", 0x7FFFFFFF);
  add("EMB00001.TS", 0x7FFFFFFF);
  EXPECT_EQ(found(), (survey{0, -1, 0, 2, -1, 2}));
}

// --------------------------------------------------------------------------------------------------------
// sizes

constexpr off_t mebibyte = 1 << 20;
constexpr off_t gibibyte = 1 << 30;

/// Sizes of the files and their sum in MiB.
struct size_case {
  std::vector<off_t> sizes;
  int32_t mebibytes;
};

TEST_F(Recordings, SumsSizesInSixteenths) {
  const size_case cases[] = {
      {{mebibyte - 1}, 0},
      {{mebibyte}, 1},
      {{mebibyte - 16, 20}, 1}, // 65535 + 1
      {{mebibyte - 1, 15}, 0},  // 65535 + 0: each file is cut
      {{mebibyte - 16, 8, 8}, 0},
      {{mebibyte + 15, mebibyte + 15}, 2},
      {{mebibyte / 2, mebibyte / 2, mebibyte / 2}, 1},
      {{3 * gibibyte}, 3072},
  };
  for (const size_case &one : cases) {
    clear();
    for (size_t i = 0; i < one.sizes.size(); ++i)
      add("KVX0000" + std::to_string(i) + ".TS", 1000, one.sizes[i]);
    EXPECT_EQ(found()[2], one.mebibytes) << one.sizes[0];
  }
}

TEST_F(Recordings, SumsBeyondSixtyFourGibibytes) {
  const size_case cases[] = {{{20 * gibibyte, 12 * gibibyte}, 32768},
                             {{20 * gibibyte, 20 * gibibyte}, 40960},
                             {{64 * gibibyte - 16}, 65535},
                             {{32 * gibibyte, 32 * gibibyte}, 65536},
                             {{40 * gibibyte, 30 * gibibyte}, 71680},
                             {{70 * gibibyte}, 71680},
                             {std::vector<off_t>(40, 2 * gibibyte), 81920}};
  for (const size_case &one : cases) {
    clear();
    for (size_t i = 0; i < one.sizes.size(); ++i)
      add("KVX000" + std::to_string(10 + i) + ".TS", 1000, one.sizes[i]);
    EXPECT_EQ(found()[2], one.mebibytes) << one.sizes[0];
  }
}

TEST_F(Recordings, IgnoresSizeOfEvents) {
  add("EMA00001.TS", 1000, 5 * mebibyte);
  EXPECT_EQ(found()[2], 0);
}

// ---------------------------------------------------------------------------------------------------- the
// whole

TEST_F(Recordings, CountsFiveThousandFiles) {
  seeded_random random;
  for (int i = 0; i < 5000; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "KVX%05d.TS", i * 7);
    add(name, random.between(1, 2000000000), random.between(0, 64 << 20));
  }
  const survey expected = model();
  EXPECT_EQ(expected[0], 5000);
  EXPECT_EQ(found(), expected);
}

TEST_F(Recordings, AgreesWithModelOfRandomDirectories) {
  seeded_random random;
  for (int round = 0; round < rounds(40); ++round) {
    clear();
    for (int files = random.between(0, 30); files > 0; --files) {
      std::string name = random.one_in(2) ? "KVX00000.TS" : event_name(random.between(0, 4));
      for (size_t i = 3; i < 8; ++i)
        name[i] = static_cast<char>('0' + random.between(0, 9));
      if (random.one_in(3))
        name[static_cast<size_t>(random.between(0, 10))] = "0aAeEfFkmstvx. "[random.between(0, 14)];
      if (random.one_in(2))
        for (char &c : name)
          c = c >= 'A' && c <= 'Z' && random.one_in(2) ? static_cast<char>(c | 0x20) : c;
      add(name, random.between(1, 12), off_t{random.between(0, 1 << 30)} * random.between(1, 40));
    }
    ASSERT_EQ(found(), model());
  }
}

TEST_F(Recordings, KeepsNothingForNextSurvey) {
  add("KVX00001.TS", 1, mebibyte);
  add("EMC00001.TS", 1);
  found();
  clear();
  EXPECT_EQ(found(), nothing);
}

TEST_F(Recordings, LeavesTheFilesTheDescriptorsAndTheLogAlone) {
  add("KVX00001.TS");
  const size_t before = open_descriptors();
  found();
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(listed_names().size(), 3U); // with . and ..
  EXPECT_FALSE(board_.exists("tmp/dravik.log"));
}

} // namespace
} // namespace dravik::test
