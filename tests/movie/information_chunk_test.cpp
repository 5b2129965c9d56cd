// The information chunk: the block byte for byte, the RIFF size through single precision, a
// missing file, and a real movie that still plays and shows its texts after the stamp.

#include "movie/information_chunk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/picture.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes ReadAll(const std::string& path) {
  const std::string text = testing::FileText(path);
  return {text.begin(), text.end()};
}

void WriteAll(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::uint32_t Word(const Bytes& bytes, std::size_t at) {
  return static_cast<std::uint32_t>(bytes.at(at) | bytes.at(at + 1) << 8 | bytes.at(at + 2) << 16 |
                                    bytes.at(at + 3) << 24);
}

std::string Tag(const Bytes& bytes, std::size_t at) {
  return std::string(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at) + 4);
}

// A stand-in for a movie: "RIFF", a size, "AVI ", and some bytes.
Bytes RiffFile(std::uint32_t riff_size) {
  Bytes file = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'A', 'V', 'I', ' ', 1, 2, 3, 4};
  for (int shift = 0; shift < 32; shift += 8)
    file[4 + static_cast<std::size_t>(shift / 8)] = static_cast<std::uint8_t>(riff_size >> shift);
  return file;
}

class InformationChunk : public ::testing::Test {
 protected:
  std::string File(const std::string& name) const { return folder_.File(name); }
  testing::TemporaryFolder folder_;
};

TEST(InformationBlock, TagsInTheirOrderEveryOneWrittenAndNoPadding) {
  const Bytes empty = InformationBlock({"", "", "", "", "", ""});
  ASSERT_EQ(empty.size(), 89u);
  EXPECT_EQ(Tag(empty, 0), "LIST");
  EXPECT_EQ(Word(empty, 4), 81u);  // 4 + 6 x 9 + 23
  EXPECT_EQ(Tag(empty, 8), "INFO");
  std::size_t at = 12;
  for (const char* tag : {"ICOP", "IART", "ICMT", "INAM", "IPRD", "ISBJ", "ISRC"}) {
    SCOPED_TRACE(tag);
    EXPECT_EQ(Tag(empty, at), tag);
    const std::uint32_t size = Word(empty, at + 4);
    EXPECT_EQ(size, std::string(tag) == "INAM" ? 15u : 1u);
    EXPECT_EQ(empty.at(at + 8 + size - 1), 0);
    at += 8 + size;
  }
  EXPECT_EQ(at, empty.size());

  // A text of two characters has an odd size, and the next tag follows at an odd offset.
  const Bytes texts = InformationBlock({"(C)", "Band", "Song", "Tape", "Cam", "hi"});
  const std::size_t comments = 12 + (8 + 4) + (8 + 5);
  EXPECT_EQ(Tag(texts, comments), "ICMT");
  EXPECT_EQ(Word(texts, comments + 4), 3u);
  EXPECT_EQ(std::string(texts.begin() + comments + 8, texts.begin() + comments + 10), "hi");
  EXPECT_EQ(Tag(texts, comments + 11), "INAM");
  EXPECT_EQ(std::string(texts.begin() + comments + 19, texts.begin() + comments + 33), "Video Zandrell");
}

// Single precision holds every size up to 2^24; above it the size is rounded, before and after
// the block's length is added.
TEST(InformationBlock, TheSizeFieldGoesThroughSinglePrecision) {
  for (const std::uint32_t exact : {0u, 1u, 81u, 1000000u, 16777216u}) {
    const Bytes file = RiffFile(exact);
    const std::array<std::uint8_t, 4> field{file[4], file[5], file[6], file[7]};
    EXPECT_EQ(DecodeSizeField(field), static_cast<float>(exact));
    EXPECT_EQ(EncodeSizeField(static_cast<float>(exact)), field);
  }
  EXPECT_EQ(DecodeSizeField({0x01, 0xE1, 0xF5, 0x05}), 100000000.0f);  // 100,000,001
  EXPECT_EQ(EncodeSizeField(4294967040.0f), (std::array<std::uint8_t, 4>{0x00, 0xFF, 0xFF, 0xFF}));
}

TEST_F(InformationChunk, TheBlockAndALineEndAreAppendedAndTheRiffSizeGrows) {
  WriteAll(File("small.avi"), RiffFile(1000000));
  WriteAviInfo(File("small.avi"), "", "", "", "", "", "");
  const Bytes stamped = ReadAll(File("small.avi"));
  ASSERT_EQ(stamped.size(), 16u + 89u + 2u);
  EXPECT_EQ(Word(stamped, 4), 1000089u);
  EXPECT_EQ(Tag(stamped, 16), "LIST");
  EXPECT_EQ(stamped[stamped.size() - 2], '\r');
  EXPECT_EQ(stamped.back(), '\n');

  WriteAll(File("large.avi"), RiffFile(100000001));
  WriteAviInfo(File("large.avi"), "", "", "", "", "", "");
  EXPECT_EQ(Word(ReadAll(File("large.avi")), 4), 100000088u);  // 100,000,000 + 89, rounded to 8
}

TEST_F(InformationChunk, AMissingFileGetsALoneBlockAndAFolderIsLeftAlone) {
  WriteAviInfo(File("missing.avi"), "", "", "", "", "", "");
  const Bytes lone = ReadAll(File("missing.avi"));
  ASSERT_EQ(lone.size(), 89u + 2u);
  EXPECT_EQ(Word(lone, 4), 81u + 89u);  // the block's own size, grown by the block

  std::filesystem::create_directories(File("folder.avi"));
  WriteAviInfo(File("folder.avi"), "", "", "", "", "", "");
  EXPECT_TRUE(std::filesystem::is_directory(File("folder.avi")));
}

// Players read the stamped movie as before, and the texts show as the movie's tags (texts of
// odd length, whose sizes are even, so that readers that skip a padding byte stay in step).
TEST_F(InformationChunk, AStampedMovieStillPlaysAndShowsItsTexts) {
  platform::linux_impl::FfmpegMovieFiles movies;
  platform::MovieFormat format;
  format.width = 32;
  format.height = 24;
  format.frames_per_second = 10;
  const std::string path = File("movie.avi");
  auto writer = movies.OpenWriter(path, format);
  ASSERT_TRUE(writer);
  const platform::Picture picture = platform::Picture::Blank(32, 24);
  for (int frame = 0; frame < 3; ++frame) ASSERT_TRUE((*writer)->WriteVideoFrame(picture.View()));
  ASSERT_TRUE((*writer)->Close());

  WriteAviInfo(path, "(C) Anna", "Ann", "Tap", "Tap", "Cam", "Hello");
  EXPECT_EQ(testing::ProbeStream(path, 'v', "nb_read_frames").at("nb_read_frames"), "3");
  const std::string tags =
      testing::RunCommand("ffprobe -v error -show_entries format_tags -of default=nw=1 '" + path + "'");
  for (const char* expected : {"copyright=(C) Anna", "artist=Ann", "comment=Hello", "title=Video Zandrell"})
    EXPECT_NE(tags.find(expected), std::string::npos) << expected << " not in:\n" << tags;
}

}  // namespace
}  // namespace zr
