#include "image/insertion_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "image/insertion_macros.h"

namespace zr {
namespace {

std::string FileWith(std::string_view elements) {
  return std::string("ZANDRELL IMAGE INSERTION FILE\r\nVER:1\r\n") + std::string(elements);
}

class FixedClock : public platform::WallClock {
 public:
  explicit FixedClock(platform::DateTime when) : when_(when) {}
  platform::DateTime Now() const override {
    ++reads;
    return when_;
  }
  mutable int reads = 0;

 private:
  platform::DateTime when_;
};

TEST(InsertionFileTest, ReadsTextElementsAndSkipsOtherLines) {
  const auto layout = ParseInsertionFile(FileWith(
      "TXT:500,250,FF0000,00FF,1,Hello\r\n"
      "BOX:1,2,3\r\n"
      "txt:1,2,0,0,0,lower case tag is no text\r\n"
      "TXT:12.5abc,999,ffffff,0,0,%hh:%mm:%ss\r\n"));
  ASSERT_TRUE(layout);
  ASSERT_EQ(layout->size(), 2u);
  const InsertionText& first = (*layout)[0];
  EXPECT_EQ(first.x_thousandths, 500);
  EXPECT_EQ(first.y_thousandths, 250);
  EXPECT_EQ(first.text_colour, 0xFF0000u);  // blue: the high byte
  EXPECT_EQ(first.background_colour, 0x00FFu);
  EXPECT_EQ(first.opaque, true);
  EXPECT_EQ(first.text, "Hello");
  const InsertionText& second = (*layout)[1];
  EXPECT_EQ(second.x_thousandths, 12.5);  // the number stops at the first unusable character
  EXPECT_EQ(second.text_colour, 0xFFFFFFu);
  EXPECT_EQ(second.opaque, false);
  EXPECT_EQ(second.text, "%hh:%mm:%ss");
}

TEST(InsertionFileTest, CommaEndsTextAndMissingOrBadFieldsStayEmpty) {
  const auto layout = ParseInsertionFile(FileWith(
      "TXT:1,2,3,4,1,before, after\r\n"
      "TXT:7,8\r\n"
      "TXT:1,2,GG,-FF,2,x\r\n"
      "TXT:1,2,1000000,0,1.0,y"));  // last line without its line end
  ASSERT_TRUE(layout);
  ASSERT_EQ(layout->size(), 4u);
  EXPECT_EQ((*layout)[0].text, "before");
  EXPECT_EQ((*layout)[1].y_thousandths, 8);
  EXPECT_FALSE((*layout)[1].text_colour);
  EXPECT_FALSE((*layout)[1].opaque);
  EXPECT_FALSE((*layout)[1].text);
  EXPECT_FALSE((*layout)[2].text_colour) << "GG is no hexadecimal number";
  EXPECT_FALSE((*layout)[2].background_colour) << "a sign is no hexadecimal digit";
  EXPECT_EQ((*layout)[2].opaque, false) << "anything but 1 is transparent";
  EXPECT_FALSE((*layout)[3].text_colour) << "beyond FFFFFF";
  EXPECT_EQ((*layout)[3].background_colour, 0u);
  EXPECT_EQ((*layout)[3].opaque, true);
  EXPECT_EQ((*layout)[3].text, "y");
}

TEST(InsertionFileTest, WrongHeaderOrVersionYieldsNothing) {
  EXPECT_FALSE(ParseInsertionFile(""));
  EXPECT_FALSE(ParseInsertionFile("ZANDRELL IMAGE INSERTION FILE\r\n"));
  EXPECT_FALSE(ParseInsertionFile("ZANDRELL IMAGE INSERTION FILE\r\nVER:2\r\nTXT:1,1,0,0,0,a\r\n"));
  EXPECT_FALSE(ParseInsertionFile("zandrell image insertion file\r\nVER:1\r\n"));
  EXPECT_FALSE(ParseInsertionFile(" ZANDRELL IMAGE INSERTION FILE\r\nVER:1\r\n"));
  EXPECT_FALSE(ReadInsertionFile("/nonexistent/folder/default.iif"));
  const auto empty = ParseInsertionFile(FileWith(""));
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->empty());
}

TEST(InsertionFileTest, WrittenFileReadsBackTheSame) {
  const InsertionLayout layout = {
      {500.0, 500.0, 0xFFFFFFu, 0x000000u, false, "%hh:%mm:%ss"},
      {0.0, 975.5, 0x0000FFu, 0xFF0080u, true, "Camera 1 %dd.%MM.%yyyy"},
      {1000.0, 0.0, 0x123456u, 0xABCDEFu, true, ""},
      {1.0, 2.0, 0x00FF00u, 0x8000u, false, "green digits"},
      {250.0, 125.0, std::nullopt, std::nullopt, std::nullopt, std::nullopt},
  };
  const auto contents = FormatInsertionFile(layout);
  ASSERT_TRUE(contents);
  EXPECT_NE(contents->find("\r\nTXT:0,975.5,FF,FF0080,1,Camera 1 %dd.%MM.%yyyy\r\n"), std::string::npos) << *contents;
  EXPECT_EQ(ParseInsertionFile(*contents), layout);

  const std::string path = (std::filesystem::temp_directory_path() / "zr_insertion_round_trip.iif").string();
  ASSERT_TRUE(WriteInsertionFile(path, layout));
  EXPECT_EQ(ReadInsertionFile(path), layout);
  std::filesystem::remove(path);
}

TEST(InsertionFileTest, WriterRefusesWhatCannotBeReadBack) {
  EXPECT_FALSE(FormatInsertionText({1.0, 2.0, 0u, 0u, false, "a,b"}));
  EXPECT_FALSE(FormatInsertionText({1.0, 2.0, 0x1000000u, 0u, false, "a"}));
  EXPECT_FALSE(FormatInsertionFile({{1.0, 2.0, 0u, 0u, false, "line\r\nbreak"}}));
}

TEST(InsertionMacrosTest, MonthAndMinuteAreToldApartByCase) {
  FixedClock clock({2026, 3, 7, 9, 41, 5});
  EXPECT_EQ(ExpandInsertionMacros("%MM/%mm", clock), "03/41");
  EXPECT_EQ(ExpandInsertionMacros("%dd.%MM.%yyyy %hh:%mm:%ss", clock), "07.03.2026 09:41:05");
  EXPECT_EQ(ExpandInsertionMacros("%mm%mm %DD %Hh", clock), "4141 %DD %Hh");
  FixedClock early({987, 12, 31, 0, 0, 59});
  EXPECT_EQ(ExpandInsertionMacros("%yyyy-%MM-%dd %hh%ss", early), "0987-12-31 0059");
}

// A clock one second further on at every reading.
class TickingClock : public platform::WallClock {
 public:
  platform::DateTime Now() const override { return {2026, 3, 7, 9, 41, readings_++}; }

 private:
  mutable int readings_ = 0;
};

TEST(InsertionMacrosTest, ClockIsReadAnewForEachMacroButOnceForAllItsPlaces) {
  const TickingClock clock;
  // Read in the macros' order: day, month, year, hour, minute (second 4), second (second 5).
  EXPECT_EQ(ExpandInsertionMacros("%ss %hh:%mm:%ss", clock), "05 09:41:05");
}

}  // namespace
}  // namespace zr
