// Listing and judging archives.

#include "art_fixture.hpp"
#include "support/paths.hpp"

using namespace dravik::art_test;

namespace {

class ArtCheck : public ArtTool {
protected:
  void expect_findings(const bytes &archive, const std::string &lines) const {
    write_bytes(at("a.q7"), archive);
    const run_result result = run({"check", "a.q7"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, lines);
    EXPECT_EQ(result.err, "");
  }
};

using ArtList = ArtTool;

} // namespace

TEST_F(ArtCheck, ReportsNothingOfASoundArchive) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"check", "a.q7"});
}

TEST_F(ArtCheck, AcceptsPixelsInAnyOrderAndWithGaps) {
  const bytes archive = archive_bytes{}
                            .text("KORVEXQ7")
                            .words({2, 60})
                            .words({2, 1, 59, 0, 3, 2, 50, 0})
                            .raw({0, 0, 1, 0x20, 3, 0x40, 0, 0, 0, 0, 0, 0x56});
  write_bytes(at("a.q7"), archive);
  expect_quiet_success({"check", "a.q7"});
}

TEST_F(ArtCheck, ReportsFileTooShortForHeader) {
  expect_findings({}, "truncated header: 0 bytes; must be at least 16\n");
  expect_findings(archive_bytes{}.text("KORVEXQ7").words({1}),
                  "truncated header: 12 bytes; must be at least 16\n");
}

TEST_F(ArtCheck, ReportsOtherFormat) {
  bytes archive = sound_archive();
  archive[7] = '8';
  expect_findings(archive, "not an archive; must start with KORVEXQ7\n");
}

TEST_F(ArtCheck, ReportsInvalidLengthInHeader) {
  bytes archive = sound_archive();
  archive[12] = 54;
  expect_findings(archive, "invalid length 54 in the header; the file has 53 bytes\n");
  archive = sound_archive();
  archive.push_back(0);
  expect_findings(archive, "invalid length 53 in the header; the file has 54 bytes\n");
}

TEST_F(ArtCheck, ReportsArchiveWithoutImages) {
  expect_findings(archive_bytes{}.text("KORVEXQ7").words({0, 16}), "contains no image\n");
}

TEST_F(ArtCheck, ReportsTableBeyondEnd) {
  bytes archive = sound_archive();
  put_word(archive, 8, 3); // the table would end at byte 64
  expect_findings(archive, "truncated table of 3 images\n");
  put_word(archive, 8, 0xFFFFFFFF);
  expect_findings(archive, "truncated table of 4294967295 images\n");
}

TEST_F(ArtCheck, ReportsReservedWord) {
  bytes archive = sound_archive();
  put_word(archive, 28, 7);
  expect_findings(archive, "image 0: last word of the record is 7; must be 0\n");
}

TEST_F(ArtCheck, ReportsImagesWithoutPixels) {
  bytes archive = sound_archive();
  put_word(archive, 16, 0);
  put_word(archive, 36, 0);
  expect_findings(archive, "image 0: no pixels: 0 x 2\nimage 1: no pixels: 2 x 0\n");
}

TEST_F(ArtCheck, ReportsPixelsBeyondEnd) {
  bytes archive = sound_archive();
  put_word(archive, 40, 53);
  expect_findings(archive, "image 1: pixels end at byte 54; the file has 53 bytes\n");
  put_word(archive, 32, 0xFFFFFFFF);
  put_word(archive, 36, 0xFFFFFFFF);
  put_word(archive, 40, 0xFFFFFFFF);
  // 2^31 bytes per row, 2^32 - 1 rows, from 2^32 - 1 on.
  expect_findings(archive, "image 1: pixels end at byte 9223372039002259455; the file has 53 bytes\n");
}

TEST_F(ArtCheck, ReportsPixelsWithinTable) {
  bytes archive = sound_archive();
  put_word(archive, 40, 47);
  expect_findings(archive, "image 1: pixels start at byte 47, inside the header or the table\n");
  put_word(archive, 40, 0);
  expect_findings(archive, "image 1: pixels start at byte 0, inside the header or the table\n");
}

TEST_F(ArtCheck, ReportsSetBitsInUnusedHalfByte) {
  bytes archive = sound_archive();
  archive[49] = 0x31;
  archive[51] = 0xFF;
  expect_findings(archive, "image 0: bits set in the unused half of the last byte of 2 rows\n");
}

TEST_F(ArtCheck, ReportsSharedPixels) {
  bytes archive = sound_archive();
  put_word(archive, 40, 51);
  expect_findings(archive, "image 1: pixels overlap those of image 0\n");
  put_word(archive, 40, 50); // inside image 0
  expect_findings(archive, "image 1: pixels overlap those of image 0\n");
}

TEST_F(ArtCheck, ReportsOverlapOfLongImage) {
  // Image 1 covers bytes 64 to 73; image 0 is byte 65, image 2 byte 70.
  const bytes archive = archive_bytes{}
                            .text("KORVEXQ7")
                            .words({3, 74})
                            .words({2, 1, 65, 0, 2, 10, 64, 0, 2, 1, 70, 0})
                            .raw({0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  expect_findings(archive, "image 1: pixels overlap those of image 0\n"
                           "image 2: pixels overlap those of image 1\n");
}

TEST_F(ArtCheck, ReportsSeveralFindings) {
  bytes archive = sound_archive();
  put_word(archive, 12, 1);
  put_word(archive, 28, 1);
  put_word(archive, 40, 60);
  expect_findings(archive, "invalid length 1 in the header; the file has 53 bytes\n"
                           "image 0: last word of the record is 1; must be 0\n"
                           "image 1: pixels end at byte 61; the file has 53 bytes\n");
}

TEST_F(ArtCheck, LimitsLongListOfFindings) {
  bytes archive = archive_bytes{}.text("KORVEXQ7").words({101, 16 * 102});
  archive.resize(16 * 102); // 101 records of zeros
  std::string lines;
  for (int i = 0; i < 100; ++i)
    lines += "image " + std::to_string(i) + ": no pixels: 0 x 0\n";
  expect_findings(archive, lines + "more than 100 findings; the rest is omitted\n");
}

TEST_F(ArtCheck, RejectsUnreadableFile) {
  expect_refusal({"check", "none.q7"}, 1, "none.q7: No such file or directory");
  expect_refusal({"check", "."}, 1, ".: not a regular file");
  expect_refusal({"check", "/dev/zero"}, 1, "/dev/zero: not a regular file");
}

TEST_F(ArtCheck, RejectsAFileLongerThan32Bits) {
  write_bytes(at("long.q7"), sound_archive());
  std::filesystem::resize_file(at("long.q7"), 0x100000000);
  const run_result result = run({"check", "long.q7"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: long.q7: larger than 4 GiB\n");
}

TEST_F(ArtList, PrintsIndexSizeStartAndBytes) {
  write_bytes(at("a.q7"), sound_archive());
  const run_result result = run({"list", "a.q7"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "index   width  height      offset       bytes\n"
                        "    0       3       2          48           4\n"
                        "    1       2       1          52           1\n");
}

TEST_F(ArtList, ShowsRecordsThatPointAnywhere) {
  bytes archive = sound_archive();
  put_word(archive, 32, 100);
  put_word(archive, 36, 50);
  put_word(archive, 40, 4000000000);
  write_bytes(at("a.q7"), archive);
  const run_result result = run({"list", "a.q7"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("    1     100      50  4000000000        2500\n"), std::string::npos)
      << result.out;
}

TEST_F(ArtList, RejectsArchiveThatLibraryRejects) {
  bytes archive = sound_archive();
  put_word(archive, 12, 52);
  write_bytes(at("a.q7"), archive);
  expect_refusal({"list", "a.q7"}, 1, "a.q7: invalid length 52 in the header; the file has 53 bytes");
  write_text(at("b.q7"), "this is not an archive");
  expect_refusal({"list", "b.q7"}, 1, "b.q7: not an archive; must start with KORVEXQ7");
}

TEST_F(ArtList, ReportsWhenItsOutputIsLost) {
  write_bytes(at("a.q7"), sound_archive());
  const run_result result = run_program({dravik_art_path, "list", "a.q7"}, "/dev/full");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: standard output: No space left on device\n");
}
