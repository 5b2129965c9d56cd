// The sound level detector on the built-in test tone, in the program as it runs without
// windows: armed with a limit below the tone's beep, it starts the movie run within a second.

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <string>

#include "apps/zandrell/headless_operator.h"
#include "apps/zandrell/program_parts.h"
#include "main_window/master.h"
#include "platform/linux/poll_event_loop.h"
#include "triggers/sound_detector.h"

namespace zr::testing {
namespace {

namespace fs = std::filesystem;
using namespace zr::platform::linux_impl;
using Clock = std::chrono::steady_clock;

TEST(SoundTriggerTest, TheTestToneAboveTheLimitStartsTheMovieRunWithinASecondOfArming) {
  const fs::path folder = fs::temp_directory_path() / ("zr-sound-trigger-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
  PollEventLoop loop;
  TerminalDialogs dialogs(std::cerr);
  platform::MemoryClipboard clipboard;
  ProgramParts parts(
      loop, loop, [&loop] { loop.Wake(); }, dialogs, clipboard, nullptr, platform::ScreenSize{640, 480},
      ProgramStart{folder.string() + "/", "", "", Language::English}, ProbeVideoDevices(), ProbeAudioDevices());
  Program& program = parts.program;
  HeadlessOperator chooser(program, "");
  loop.SetOperator([&chooser] { chooser.Act(); });
  program.Main();
  loop.SetOperator(nullptr);
  ASSERT_TRUE(parts.devices.Connected());
  auto& master = program.Window<Master>();
  master.SetOperationMode("movie");
  program.state.CaptureFilename = (folder / "heard.avi").string();

  master.OperationBar.ClickButton(master.OperationBar.Button("sound"));
  auto& detector = program.Window<AudioDetector>();
  const auto& inputs = detector.SoundDevice.Items;
  const auto tone =
      std::find_if(inputs.begin(), inputs.end(), [](const auto& item) { return item.text == "Built-in Test Tone"; });
  ASSERT_NE(tone, inputs.end());
  detector.SoundDevice.ClickEntry(static_cast<int>(tone - inputs.begin()));
  detector.Limit.Value = 50;
  detector.StartCapture.Click();
  const auto armed = Clock::now();
  loop.RunModal([&] { return !program.IfLoaded<AudioDetector>() || Clock::now() - armed > std::chrono::seconds(2); });
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - armed);

  EXPECT_EQ(program.IfLoaded<AudioDetector>(), nullptr);
  EXPECT_LT(took.count(), 1000);
  EXPECT_EQ(master.RecordButton().Image.get(), "stop");
  master.OperationBar.ClickButton(master.RecordButton());
  program.SlotOf<Master>().Unload(ui::UnloadMode::FromCode);
  fs::remove_all(folder);
}

}  // namespace
}  // namespace zr::testing
