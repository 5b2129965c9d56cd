// Subtitle files as other tools write them (CR LF or LF, with or without a byte-order mark, in
// Latin-1), read by the editor's rules and written back byte for byte; the times in them.

#include "movie/subtitle_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace zr {
namespace {

using Records = std::vector<SubtitleRecord>;

std::string WithLineEnds(std::string text, std::string_view line_end) {
  return ReplaceAll(std::move(text), "\n", line_end);
}

TEST(SubtitleFile, ReadsRecordsAsTheyStandWhateverTheLineEnds) {
  const std::string file =
      "1\n00:00:01,000 --> 00:00:03,000\nHello\nworld\n\n"
      "2\n00:00:04.500 --> 00:00:05.000\n<i>Hi</i>\n\n"
      "3\n00:00:06,000 --> 00:00:07,000\nlast";
  const Records expected{{"Hello <EOL> world", "1", "00:00:01,000 ", " 00:00:03,000"},
                         {"<i>Hi</i>", "2", "00:00:04.500 ", " 00:00:05.000"},
                         {"last", "3", "00:00:06,000 ", " 00:00:07,000"}};
  for (const std::string_view line_end : {"\n", "\r\n", "\r"}) {
    SCOPED_TRACE(line_end == "\n" ? "LF" : line_end == "\r\n" ? "CR LF" : "CR");
    EXPECT_EQ(ParseSubtitles(WithLineEnds(file, line_end)), expected);
    EXPECT_EQ(ParseSubtitles(WithLineEnds(file + "\n", line_end)), expected);
  }
}

TEST(SubtitleFile, OddRecordsReadByTheSameRules) {
  // A time line without the arrow is all In and keeps the Out before.
  EXPECT_EQ(ParseSubtitles("1\n00:00:01,000 --> 00:00:02,000\na\n\n2\n00:00:05,000\nb\n"),
            (Records{{"a", "1", "00:00:01,000 ", " 00:00:02,000"}, {"b", "2", "00:00:05,000", " 00:00:02,000"}}));
  // A second empty line shifts the reading: it is taken for the number, the number for the time.
  EXPECT_EQ(ParseSubtitles("1\n0 --> 1\na\n\n\n2\n3 --> 4\nb\n"),
            (Records{{"a", "1", "0 ", " 1"}, {"3 --> 4 <EOL> b", "", "2", " 1"}}));
  // A number with nothing after it keeps the time line before.
  EXPECT_EQ(ParseSubtitles("1\n0 --> 1\na\n\n2"), (Records{{"a", "1", "0 ", " 1"}, {"", "2", "0 ", " 1"}}));
  EXPECT_TRUE(ParseSubtitles("").empty());
}

TEST(SubtitleFile, DecodesUtf8WithOrWithoutMarkAndLatin1) {
  EXPECT_EQ(DecodeSubtitleBytes("\xEF\xBB\xBF"
                                "caf\xC3\xA9"),
            "caf\xC3\xA9");
  EXPECT_EQ(DecodeSubtitleBytes("caf\xC3\xA9 \xE2\x82\xAC"), "caf\xC3\xA9 \xE2\x82\xAC");
  EXPECT_EQ(DecodeSubtitleBytes("caf\xE9 \xA0"), "caf\xC3\xA9 \xC2\xA0");
  // Overlong forms, surrogates and cut sequences are no UTF-8: the whole file is Latin-1.
  EXPECT_EQ(DecodeSubtitleBytes("\xC0\xAF"), "\xC3\x80\xC2\xAF");
  EXPECT_EQ(DecodeSubtitleBytes("\xED\xA0\x80"), "\xC3\xAD\xC2\xA0\xC2\x80");
  EXPECT_EQ(DecodeSubtitleBytes("\xC3\xA9\xC3"), "\xC3\x83\xC2\xA9\xC3\x83");
}

TEST(SubtitleFile, WritesEachRecordByteForByte) {
  EXPECT_EQ(SubtitleFileText({{"a <EOL> b", "1", "00:00:01,000 ", " 00:00:03,000"}, {"", "2", "x", "y"}}),
            "1\r\n00:00:01,000  -->  00:00:03,000\r\na \r\n b\r\n\r\n2\r\nx --> y\r\n\r\n\r\n");
  EXPECT_EQ(SubtitleFileText({}), "");
}

TEST(SubtitleFile, ReadsAndWritesFilesOfThousandsOfRows) {
  const auto folder = std::filesystem::path(testing::TempDir()) / "subtitle_file_test";
  std::filesystem::create_directories(folder);
  std::string file = "\xEF\xBB\xBF";
  std::string saved;
  for (int row = 1; row <= 2000; ++row) {
    const std::string time = "00:" + std::to_string(10 + row / 60) + ":" + std::to_string(10 + row % 50) + ",000";
    file += std::to_string(row) + "\r\n" + time + " --> " + time + "\r\nline " + std::to_string(row) +
            "\r\n\xC3\xA9\r\n\r\n";
    saved += std::to_string(row) + "\r\n" + time + "  -->  " + time + "\r\nline " + std::to_string(row) +
             " \r\n \xC3\xA9\r\n\r\n";
  }
  const auto path = (folder / "many.srt").string();
  std::ofstream(path, std::ios::binary) << file;
  const Records records = ReadSubtitleFile(path);
  ASSERT_EQ(records.size(), 2000u);
  EXPECT_EQ(records[1999].text, "line 2000 <EOL> \xC3\xA9");
  EXPECT_EQ(SubtitleFileText(records), saved);
}

TEST(SubtitleFile, TimesToMillisecondsAndBack) {
  EXPECT_EQ(SubtitleTimeMs("00:00:01,500"), 1500);
  EXPECT_EQ(SubtitleTimeMs(" 01:02:03.250 "), 3723250);
  EXPECT_EQ(SubtitleTimeMs("00:01"), 60000);
  EXPECT_EQ(SubtitleTimeMs("abc"), 0);
  EXPECT_EQ(SubtitleTimeCode(10.5), "00:00:10.500");
  EXPECT_EQ(SubtitleTimeCode(3723.25), "01:02:03.250");
  EXPECT_EQ(SubtitleTimeCode(0), "00:00:00.000");
  EXPECT_EQ(SubtitleTimeCode(10.5, ","), "00:00:10,500");
  EXPECT_EQ(SubtitleTimeCode(-0.5), "00:00:-0.500");
}

}  // namespace
}  // namespace zr
