// The scenario runner against the program: what passes, and that every kind of mistake fails
// at its line with what was expected and what was found, never passes.

#include "apps/scenario/runner.h"

#include <gtest/gtest.h>

namespace zr::scenario {
namespace {

Outcome RunText(const std::string& text) { return RunScenarioText(text, "/tmp/inline.scenario", RunOptions{}); }

const char* const kConnectedDriver =
    "device vfw \"Sim Camera\" size=160x120 fps=10\n"
    "setting \"ZR\" \"MD\" \"OQ\" = \"0\"\n"
    "start\n"
    "call VideoScreen.ConnectVideoCaptureDevice(0, \"vfw\", \"Sim Camera\")\n";

TEST(RunnerTest, CallReachesTheRecordingEngineAndExpectationsPass) {
  const auto outcome =
      RunText(std::string(kConnectedDriver) +
              "set Master.MovieFrameRateControl.Value = 10\n"
              "set Master.MovieSecondsControl.Value = 2\n"
              "call VideoScreen.SetFilename(\"$APPa.avi\")\n"
              "call VideoScreen.Record()\n"
              "expect state CapStatus.fCapturingNow == 0\n"
              "wait 2500ms\n"
              "expect Master.StatusString.Caption == \"Stopped\"\n"
              "expect movie a.avi frames == 20\n"
              "expect movie a.avi rate == 10\n"
              "expect device log sequence \"capSetCaptureFile(\" \"capSetSetup()\" \"capStartSequence()\"\n");
  EXPECT_TRUE(outcome.passed) << outcome.line << ": " << outcome.message;
}

struct FailingCase {
  const char* name;
  std::string lines;  // appended after the connected driver (four lines)
  int line;
  const char* message_part;
};

class RunnerFailure : public ::testing::TestWithParam<FailingCase> {};

TEST_P(RunnerFailure, FailsAtItsLineWithExpectedAndFound) {
  const auto& failing = GetParam();
  const auto outcome = RunText(std::string(kConnectedDriver) + failing.lines);
  EXPECT_FALSE(outcome.passed);
  EXPECT_EQ(outcome.line, failing.line);
  EXPECT_NE(outcome.message.find(failing.message_part), std::string::npos) << outcome.message;
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, RunnerFailure,
    ::testing::Values(
        FailingCase{"MisspeltControl", "expect Master.StatusStrin.Caption == \"\"\n", 5, "found \"StatusStrin\""},
        FailingCase{"MisspeltWindow", "click Mastr.OperationBar[record]\n", 5, "found \"Mastr\""},
        FailingCase{"MisspeltButtonKey", "click Master.OperationBar[recrod]\n", 5, "found \"recrod\""},
        FailingCase{"MisspeltProperty", "expect Master.StatusString.Captoin == \"\"\n", 5, "Captoin"},
        FailingCase{"MisspeltCommand", "clik Master.OperationBar[record]\n", 5, "expected"},
        FailingCase{"MisspeltProcedure", "call VideoScreen.Recrod()\n", 5, "found \"Recrod\""},
        FailingCase{"WrongValue", "expect Master.StatusString.Caption == \"Recording\"\n", 5, "found \"Connected\""},
        FailingCase{"WrongNumber", "expect state CaptureParms.dwIndexSize < 1000\n", 5, "found 324000"},
        FailingCase{"MissingFile", "expect file nothing.avi exists\n", 5, "no such file"},
        FailingCase{"UncheckedDialog", "call VideoScreen.VideoSource()\nexpect no dialog\n", 6,
                    "Cannot show Video Source Dialog."},
        FailingCase{"LogLineMissing", "expect device log contains \"capStop()\"\n", 5, "capStop()"},
        FailingCase{"DesktopLogLineMissing", "expect desktop log contains \"OpenAddress(\"\n", 5,
                    "an empty desktop log"},
        FailingCase{"UnknownDesktopTool", "desktop-tools \"mixer\"\n", 5, "\"mixer\""}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(RunnerTest, ADialogWithoutAQueuedAnswerFailsNamingTheDialog) {
  const auto outcome = RunText(
      "start\n"
      "call VideoScreen.ConnectVideoCaptureDevice(0, \"http\", \"camera\")\n");
  EXPECT_FALSE(outcome.passed);
  EXPECT_EQ(outcome.line, 2);
  EXPECT_NE(outcome.message.find("Enter the ip camera url:"), std::string::npos) << outcome.message;
}

TEST(RunnerTest, AnAfterCommandRunsInsideABlockingCaptureAndItsClickEndsTheRun) {
  const auto outcome = RunText("setting \"ZZANDRELL\" \"ADV\" \"YIELD\" = \"0\"\n" + std::string(kConnectedDriver) +
                               "expect state CaptureParms.fYield == 0\n"
                               "set Master.MovieFrameRateControl.Value = 10\n"
                               "set Master.MovieDisableLimit.Value = 1\n"
                               "call VideoScreen.SetFilename(\"$APPx.avi\")\n"
                               "after 1950ms expect Master.DroppedString.Caption == \"Exclusive Task\"\n"
                               "after 1950ms click Master.StatusString\n"
                               "click Master.OperationBar[record]\n"
                               "wait 100ms\n"
                               "expect Master.StatusString.Caption == \"Stopped\"\n"
                               "expect movie x.avi frames == 20\n");
  EXPECT_TRUE(outcome.passed) << outcome.line << ": " << outcome.message;
}

TEST(RunnerTest, DialogExpectationsCheckTheOldestDialogFirst) {
  const auto outcome = RunText(
      "device vfw \"Sim Camera\"\n"
      "start\n"
      "answer input \"http://127.0.0.1/cam.jpg\"\n"
      "call VideoScreen.ConnectVideoCaptureDevice(0, \"http\", \"camera\")\n"
      "call VideoScreen.Record()\n"
      "expect dialog input \"Enter the ip camera url:\" title \"Video Zandrell\"\n"
      "expect dialog msgbox \"Capture Mode not supported\" icon stop buttons ok\n"
      "expect no dialog\n"
      "expect device log sequence \"DeviceConnected=false\" \"VideoDeviceIndex=-2\" "
      "\"NetworkSourceUrl=http://127.0.0.1/cam.jpg\" \"DeviceConnected=true\"\n");
  EXPECT_TRUE(outcome.passed) << outcome.line << ": " << outcome.message;
}

}  // namespace
}  // namespace zr::scenario
