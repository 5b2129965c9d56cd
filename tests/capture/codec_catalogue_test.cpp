// The catalogue of compressor codes: how its lines read, how a code is looked up, what a missing
// or foreign catalogue tells the operator, and that the catalogue the build ships reads.

#include "capture/codec_catalogue.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "apps/scenario/world.h"

namespace zr {
namespace {

std::string Stored(const std::string& line) {
  std::string stored = line;
  for (char& character : stored) character = static_cast<char>(character + 1);
  return stored;
}

class CodecCatalogue : public ::testing::Test {
 protected:
  CodecCatalogue() : program_(world_.MakeProgram()) { program_.state.AppPath = world_.AppFolder(); }

  void WriteCatalogue(const std::vector<std::string>& lines) {
    std::ofstream file(world_.AppFolder() + kCodecCatalogueFile, std::ios::binary);
    for (const auto& line : lines) file << Stored(line) << "\r\n";
  }
  std::string Describe(const std::string& code) { return CodecDescription(program_, code); }
  // The texts of the message boxes shown so far.
  std::vector<std::string> Boxes() {
    std::vector<std::string> texts;
    for (const auto& shown : world_.dialogs.Shown()) texts.push_back(shown.message.text);
    return texts;
  }

  scenario::World world_;
  Program& program_;
};

TEST_F(CodecCatalogue, StoredLinesReadOneCodeLowerAtTheirOwnLength) {
  EXPECT_EQ(CodecLine("[S3111!DPEFD!JOGP!:1:2"), "ZR2000 CODEC INFO 9091");
  EXPECT_EQ(CodecLine(std::string("\x01!B", 3)), std::string("\0 A", 3));
  EXPECT_EQ(CodecLine(""), "");
}

TEST_F(CodecCatalogue, CodesMatchInAnyCaseAndShortLinesDescribeNothing) {
  WriteCatalogue({std::string(kCodecCatalogueHeader), "MJPG Motion pictures", "xvid lower-case line, with a comma",
                  "ABCD", "WXYZ="});
  EXPECT_EQ(Describe("MJPG"), "Motion pictures");
  EXPECT_EQ(Describe("mjpg"), "Motion pictures");
  EXPECT_EQ(Describe("XviD"), "lower-case line, with a comma");
  EXPECT_EQ(Describe("abcd"), "");
  EXPECT_EQ(Describe("WXYZ"), "");
  EXPECT_EQ(Describe("h264"), "Unknown CODEC (H264)");
  EXPECT_TRUE(Boxes().empty());
}

TEST_F(CodecCatalogue, AMissingOrForeignCatalogueSaysSoAtEachLookup) {
  EXPECT_EQ(Describe("MJPG"), "");
  WriteCatalogue({});
  EXPECT_EQ(Describe("MJPG"), "Error");
  WriteCatalogue({"ZR2000 CODEC INFO 9092", "MJPG Motion pictures"});
  EXPECT_EQ(Describe("MJPG"), "Error");
  EXPECT_EQ(Boxes(),
            (std::vector<std::string>{"ERROR C100: Can't find CODEC Information file.",
                                      "ERROR C101: Error in Script Alpha.", "ERROR C101: Error in Script Alpha."}));
  for (const auto& shown : world_.dialogs.Shown()) {
    EXPECT_EQ(shown.message.icon, platform::MessageIcon::Stop);
    EXPECT_EQ(shown.message.title, kAppTitle);
  }
}

// The build writes the program's own catalogue beside the executables.
TEST_F(CodecCatalogue, TheShippedCatalogueDescribesTheCodesOurMoviesCarry) {
  const auto shipped = std::filesystem::read_symlink("/proc/self/exe").parent_path() / kCodecCatalogueFile;
  std::filesystem::copy_file(shipped, world_.AppFolder() + kCodecCatalogueFile);
  for (const char* code : {"MJPG", "FMP4", "H264", "FFV1", "HFYU", "XVID", "DIVX", "DX50", "MP43", "WMV2", "DVSD",
                           "IYUV", "I420", "YUY2", "UYVY", "RGB "}) {
    const std::string description = Describe(code);
    EXPECT_FALSE(description.empty()) << code;
    EXPECT_EQ(description.find("Unknown"), std::string::npos) << code;
  }
  EXPECT_TRUE(Boxes().empty());
}

}  // namespace
}  // namespace zr
