#include "platform/tv_channels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "tests/support/platform_checks.h"

namespace zr::platform {
namespace {

using ::testing::HasSubstr;

const std::string kShippedPlan = std::string(ZR_SOURCE_DIR) + "/assets/" + kTvChannelFile;

TEST(TvChannelsTest, ReadsTablesAndCountriesWhateverTheirOrderAndLineEnds) {
  const Result<TvChannelPlan> plan = ParseTvChannelPlan(
      "# a comment\r\n[countries]\r\n  44 PAL-I  uk  uk-cable\r\n\r\n[table uk]\r\n69 69 855250\r\n1\tA\t45750\r\n"
      "[table  uk-cable ]\n101 S1 105250");
  ASSERT_TRUE(plan.ok()) << plan.error().message;
  const std::vector<TvChannel>* uk = plan->Table("uk");
  ASSERT_NE(uk, nullptr);
  ASSERT_EQ(uk->size(), 2u);
  EXPECT_EQ(uk->front().number, 1);  // by number, not by line
  EXPECT_EQ(uk->front().name, "A");
  EXPECT_EQ(uk->front().video_khz, 45750);
  ASSERT_NE(plan->Country(44), nullptr);
  EXPECT_EQ(plan->Country(44)->standard, TvStandard::PalI);
  EXPECT_EQ(plan->Country(44)->cable_table, "uk-cable");
  EXPECT_EQ(plan->Country(33), nullptr);
}

TEST(TvChannelsTest, NamesTheFirstLineThatBreaksTheFormat) {
  const struct {
    std::string text;
    std::string message;
  } cases[] = {
      {"2 E2 48250", "line 1: a row before any [table NAME] or [countries]"},
      {"[table a]\n2 E2 48250 # note", "line 2: a channel needs a number, a name and a video carrier in kHz"},
      {"[table a]\n32768 E2 48250", "line 2: the channel number is not a whole number from 0 to 32767"},
      {"[table a]\n2x E2 48250", "line 2: the channel number is not a whole number from 0 to 32767"},
      {"[table a]\n2 LONGNAME9 48250", "line 2: the channel name is not 1 to 8 letters, digits or dashes"},
      {"[table a]\n2 E2 48.25", "line 2: the video carrier is not a whole number of kHz from 40000 to 1000000"},
      {"[table a]\n2 E2 99999999999", "line 2: the video carrier is not a whole number of kHz from 40000 to 1000000"},
      {"[table a]\n2 E2 48250\n2 X 55250", "line 3: a second channel numbered 2 in the table"},
      {"[table a]\n[table a]", "line 2: a second table named a"},
      {"[table a", "line 1: a section head without its closing ]"},
      {"[countries]\n0 NTSC-M a a", "line 2: the country code is not a whole number from 1 to 9999"},
      {"[countries]\n1 NTSC-X a a", "line 2: the standard NTSC-X is not one the tuner knows"},
      {"[table a]\n[countries]\n1 NTSC-M a a\n1 PAL-M a a", "line 4: a second row for country 1"},
      {"[countries]\n1 NTSC-M a b\n[table a]", "line 2: there is no table named b"},
  };
  for (const auto& [text, message] : cases) {
    const Result<TvChannelPlan> plan = ParseTvChannelPlan(text);
    ASSERT_FALSE(plan.ok()) << text;
    EXPECT_EQ(plan.error().message, message) << text;
  }
}

TEST(TvChannelsTest, AFileThatCannotBeReadSaysWhichAndWhy) {
  const zr::testing::TemporaryFolder folder;
  const Result<TvChannelPlan> missing = ReadTvChannelPlan(folder.File("none.ini"));
  ASSERT_FALSE(missing.ok());
  EXPECT_THAT(missing.error().message, HasSubstr(folder.File("none.ini")));
  EXPECT_FALSE(ReadTvChannelPlan(folder.path().string()).ok());  // a folder

  const std::string broken = folder.File("broken.ini");
  std::ofstream(broken) << "[table a]\n2 E2\n";
  const Result<TvChannelPlan> read = ReadTvChannelPlan(broken);
  ASSERT_FALSE(read.ok());
  EXPECT_EQ(read.error().message, broken + ", line 2: a channel needs a number, a name and a video carrier in kHz");
}

// The shipped plan: each country the tuner is sold for, with its standard, and channels of its
// tables at their published picture carriers.
TEST(TvChannelsTest, TheShippedPlanCoversTheCommonStandards) {
  const Result<TvChannelPlan> plan = ReadTvChannelPlan(kShippedPlan);
  ASSERT_TRUE(plan.ok()) << plan.error().message;
  const struct {
    int country;
    TvStandard standard;
    bool cable;
    int number;
    const char* name;
    int video_khz;
  } cases[] = {
      {1, TvStandard::NtscM, false, 69, "69", 801250},     {1, TvStandard::NtscM, true, 95, "95", 91250},
      {81, TvStandard::NtscMJapan, false, 8, "8", 193250}, {81, TvStandard::NtscMJapan, true, 22, "C22", 165250},
      {49, TvStandard::PalBG, false, 12, "E12", 224250},   {49, TvStandard::PalBG, true, 121, "S21", 303250},
      {33, TvStandard::SecamL, false, 3, "L3", 60500},     {353, TvStandard::PalI, false, 9, "J", 215250},
      {7, TvStandard::SecamDK, false, 4, "R4", 84250},     {61, TvStandard::PalBG, false, 13, "5A", 138250},
      {86, TvStandard::PalDK, true, 108, "Z8", 224250},    {27, TvStandard::PalI, false, 13, "13", 247430},
      {55, TvStandard::PalM, false, 7, "7", 175250},       {54, TvStandard::PalNc, true, 14, "14", 121250},
  };
  for (const auto& wanted : cases) {
    const TvCountry* country = plan->Country(wanted.country);
    ASSERT_NE(country, nullptr) << wanted.country;
    EXPECT_EQ(country->standard, wanted.standard) << wanted.country;
    const std::vector<TvChannel>& table = *plan->Table(wanted.cable ? country->cable_table : country->antenna_table);
    const auto channel = std::find_if(table.begin(), table.end(),
                                      [&](const TvChannel& candidate) { return candidate.number == wanted.number; });
    ASSERT_NE(channel, table.end()) << wanted.country << " " << wanted.number;
    EXPECT_EQ(channel->name, wanted.name);
    EXPECT_EQ(channel->video_khz, wanted.video_khz) << wanted.country << " " << wanted.name;
  }
}

}  // namespace
}  // namespace zr::platform
