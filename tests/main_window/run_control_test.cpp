// A request from outside to end the program, on the simulated devices of both kinds: the run
// under way ends as Stop ends it and is closed out before the main window closes.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/recording_fixture.h"

namespace zr::testing {
namespace {

using platform::sim::DeviceSpec;

// An operator who only lets time pass, a tenth of a second a command.
class TimePasses final : public platform::sim::InputSource {
 public:
  explicit TimePasses(platform::sim::SimEventLoop& loop) : loop_(loop) {}
  bool RunNextCommand() override {
    loop_.AdvanceBy(100);
    return true;
  }

 private:
  platform::sim::SimEventLoop& loop_;
};

struct Kind {
  DeviceSpec::Kind device;
  const char* tag;
};

class EndOnRequest : public RecordingTest, public ::testing::WithParamInterface<Kind> {};

TEST_P(EndOnRequest, StopsTheRunClosesItOutAndSavesTheSetUpBeforeTheMainWindowCloses) {
  AddDevice(GetParam().device);
  StartAndConnect(GetParam().tag);
  state().CaptureParms.fYield = 1;
  SetMovie(10, 10, "ended.avi");
  master().OperationBar.ClickButton(master().RecordButton());
  world.loop.AdvanceBy(1950);
  TimePasses operator_waits(world.loop);
  world.loop.SetInputSource(&operator_waits);
  std::filesystem::remove(AppFile("zrsr.zr2"));

  master().EndOnRequest();

  EXPECT_TRUE(LogHas(GetParam().device == DeviceSpec::Kind::Vfw ? "capStop()" : "StopCapture()"));
  EXPECT_FALSE(world.program().SlotOf<Master>().Loaded());
  EXPECT_TRUE(std::filesystem::exists(AppFile("zrsr.zr2")));
  EXPECT_EQ(ProbeMovie(AppFile("ended.avi")).frames, 20);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EndOnRequest,
                         ::testing::Values(Kind{DeviceSpec::Kind::Vfw, "vfw"}, Kind{DeviceSpec::Kind::Wdm, "wdm"}),
                         [](const auto& kind) { return std::string(kind.param.tag); });

// Nothing runs: the main window closes at once.
TEST_F(RecordingTest, ARequestToEndWithoutARunClosesTheProgram) {
  AddDevice(DeviceSpec::Kind::Vfw);
  StartAndConnect("vfw");
  master().EndOnRequest();
  EXPECT_FALSE(world.program().SlotOf<Master>().Loaded());
  EXPECT_FALSE(LogHas("capStop()"));
}

}  // namespace
}  // namespace zr::testing
