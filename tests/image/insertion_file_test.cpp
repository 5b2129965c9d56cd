#include "image/insertion_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "image/insertion_macros.h"
#include "tests/support/platform_checks.h"

namespace zr {
namespace {

std::string FileWith(std::string_view elements) {
  return std::string("ZANDRELL IMAGE INSERTION FILE\r\nVER:1\r\n") + std::string(elements);
}

TEST(InsertionFileTest, ReadsTextElementsAndSkipsOtherLines) {
  const auto layout =
      ParseInsertionFile(FileWith("TXT:500,250,FF0000,00FF,1,Hello\r\n"
                                  "BOX:1,2,3\r\n"
                                  "txt:1,2,0,0,0,lower case tag is no text\r\n"
                                  "TXT:12.5abc,999,ffffff,0,0,%hh:%mm:%ss\r\n"));
  // Blue stands in the high byte; a number stops at its first unusable character.
  EXPECT_EQ(layout, (InsertionLayout{{500.0, 250.0, 0xFF0000u, 0x00FFu, true, "Hello"},
                                     {12.5, 999.0, 0xFFFFFFu, 0u, false, "%hh:%mm:%ss"}}));
}

TEST(InsertionFileTest, CommaEndsTextAndMissingOrBadFieldsStayEmpty) {
  const auto layout = ParseInsertionFile(
      FileWith("TXT:1,2,3,4,1,before, after\r\n"
               "TXT:7,8\r\n"
               "TXT:1,2,GG,-FF,2,x\r\n"      // no hexadecimal number, a sign is no digit, 2 is not opaque
               "TXT:1,2,1000000,0,1.0,y"));  // beyond FFFFFF; the last line without its line end
  EXPECT_EQ(layout, (InsertionLayout{{1.0, 2.0, 3u, 4u, true, "before"},
                                     {7.0, 8.0, std::nullopt, std::nullopt, std::nullopt, std::nullopt},
                                     {1.0, 2.0, std::nullopt, std::nullopt, false, "x"},
                                     {1.0, 2.0, std::nullopt, 0u, true, "y"}}));
}

TEST(InsertionFileTest, WrongHeaderOrVersionYieldsNothing) {
  for (const char* contents :
       {"", "ZANDRELL IMAGE INSERTION FILE\r\n", "ZANDRELL IMAGE INSERTION FILE\r\nVER:2\r\nTXT:1,1,0,0,0,a\r\n",
        "zandrell image insertion file\r\nVER:1\r\n", " ZANDRELL IMAGE INSERTION FILE\r\nVER:1\r\n"})
    EXPECT_FALSE(ParseInsertionFile(contents)) << contents;
  EXPECT_FALSE(ReadInsertionFile("/nonexistent/folder/default.iif"));
  // A device that never ends, and a FIFO nobody writes to, are not waited on; a layout padded
  // past any real one's length is not read.
  EXPECT_FALSE(ReadInsertionFile("/dev/zero"));
  const testing::TemporaryFolder folder;
  const std::string fifo = folder.File("layout.fifo"), padded = folder.File("padded.iif");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FALSE(ReadInsertionFile(fifo));
  std::ofstream(padded, std::ios::binary) << FileWith("TXT:1,2,0,0,0,a\r\n") << std::string(1 << 20, ' ');
  EXPECT_FALSE(ReadInsertionFile(padded));
  EXPECT_EQ(ParseInsertionFile(FileWith("")), InsertionLayout{});
}

TEST(InsertionFileTest, WrittenFileReadsBackTheSameAndRefusesWhatCannot) {
  const InsertionLayout layout = {
      {500.0, 500.0, 0xFFFFFFu, 0x000000u, false, "%hh:%mm:%ss"},
      {0.0, 975.5, 0x0000FFu, 0xFF0080u, true, "Camera 1 %dd.%MM.%yyyy"},
      {1000.0, 0.0, 0x123456u, 0xABCDEFu, true, ""},
      {250.0, 125.0, std::nullopt, std::nullopt, std::nullopt, std::nullopt},
  };
  const auto contents = FormatInsertionFile(layout);
  ASSERT_TRUE(contents);
  EXPECT_NE(contents->find("\r\nTXT:0,975.5,FF,FF0080,1,Camera 1 %dd.%MM.%yyyy\r\n"), std::string::npos) << *contents;
  const testing::TemporaryFolder folder;
  ASSERT_TRUE(WriteInsertionFile(folder.File("round_trip.iif"), layout));
  EXPECT_EQ(ReadInsertionFile(folder.File("round_trip.iif")), layout);

  EXPECT_FALSE(FormatInsertionText({1.0, 2.0, 0u, 0u, false, "a,b"}));
  EXPECT_FALSE(FormatInsertionText({1.0, 2.0, 0x1000000u, 0u, false, "a"}));
  EXPECT_FALSE(FormatInsertionFile({{1.0, 2.0, 0u, 0u, false, "line\r\nbreak"}}));
}

// A clock one second further on at every reading, counting its readings.
class TickingClock : public platform::WallClock {
 public:
  explicit TickingClock(platform::DateTime start, int step = 1) : start_(start), step_(step) {}
  platform::DateTime Now() const override {
    platform::DateTime now = start_;
    now.second += step_ * readings++;
    return now;
  }
  mutable int readings = 0;

 private:
  platform::DateTime start_;
  int step_;
};

TEST(InsertionMacrosTest, MonthAndMinuteAreToldApartByCase) {
  const TickingClock clock({2026, 3, 7, 9, 41, 5}, 0);
  EXPECT_EQ(ExpandInsertionMacros("%MM/%mm", clock), "03/41");
  EXPECT_EQ(ExpandInsertionMacros("%dd.%MM.%yyyy %hh:%mm:%ss", clock), "07.03.2026 09:41:05");
  EXPECT_EQ(ExpandInsertionMacros("%mm%mm %DD %Hh", clock), "4141 %DD %Hh");
  EXPECT_EQ(ExpandInsertionMacros("%yyyy-%MM-%dd %hh%ss", TickingClock({987, 12, 31, 0, 0, 59}, 0)), "0987-12-31 0059");
}

TEST(InsertionMacrosTest, ClockIsReadAnewForEachMacroButOnceForAllItsPlaces) {
  const TickingClock clock({2026, 3, 7, 9, 41, 0});
  // Read in the macros' order: day, month, year, hour, minute (second 4), second (second 5).
  EXPECT_EQ(ExpandInsertionMacros("%ss %hh:%mm:%ss", clock), "05 09:41:05");
  EXPECT_EQ(clock.readings, 6);
}

}  // namespace
}  // namespace zr
