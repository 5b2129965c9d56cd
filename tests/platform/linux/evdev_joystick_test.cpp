// Joysticks through the input event devices, against played devices: which devices count as
// joysticks, which one is read, and the button states its reader posts to the loop.

#include "platform/linux/evdev_joystick.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/poll_event_loop.h"
#include "tests/support/fake_evdev_system.h"

namespace zr::platform::linux_impl {
namespace {

constexpr int kWaitMs = 5000;

testing::FakeEvdevDevice Pad(const std::string& name, std::set<int> pressed = {}) {
  return {name, {BTN_SOUTH, BTN_EAST, BTN_NORTH, BTN_START}, std::move(pressed)};
}

TEST(EvdevJoystick, OnlyDevicesWithJoystickOrPadButtonsThatOpenAreFoundInTheOrderOfTheirNumbers) {
  testing::FakeEvdevSystem system;
  system.AddDevice("/dev/input/event10", Pad("Second Pad"));
  system.AddDevice("/dev/input/event2", {"Stick", {BTN_TRIGGER, BTN_THUMB}, {}});
  system.AddDevice("/dev/input/event0", {"Keyboard", {KEY_A, KEY_ENTER, BTN_LEFT}, {}});
  system.AddDevice("/dev/input/event3", {"Locked Pad", {BTN_SOUTH}, {}, EACCES});
  const auto found = FindJoysticks(system);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].path, "/dev/input/event2");
  EXPECT_EQ(found[0].name, "Stick");
  EXPECT_EQ(found[1].name, "Second Pad");
  EXPECT_EQ(system.OpenFiles(), 0);

  PollEventLoop loop;
  EXPECT_EQ(OpenJoystick(system, loop, "")->Name(), "Stick");
  EXPECT_EQ(OpenJoystick(system, loop, "Second Pad")->Name(), "Second Pad");
  EXPECT_EQ(OpenJoystick(system, loop, "/dev/input/event10")->Name(), "Second Pad");
  EXPECT_EQ(OpenJoystick(system, loop, "Gone Pad")->Name(), "Stick");
  EXPECT_EQ(system.OpenFiles(), 0);

  testing::FakeEvdevSystem empty;
  empty.AddDevice("/dev/input/event0", {"Keyboard", {KEY_A}, {}});
  EXPECT_EQ(OpenJoystick(empty, loop, "")->Name(), "");
}

class EvdevJoystickReading : public ::testing::Test {
 protected:
  static constexpr const char* kPath = "/dev/input/event4";

  void Open(testing::FakeEvdevDevice device) {
    system_.AddDevice(kPath, std::move(device));
    joystick_ = OpenJoystick(system_, loop_, "");
    joystick_->SetListener([this](int buttons) { states_.push_back(buttons); });
  }
  // The states posted so far, once there are `count` of them or the wait has run out.
  const std::vector<int>& States(std::size_t count) {
    const std::int64_t start = loop_.NowMs();
    loop_.RunModal([&] { return states_.size() >= count || loop_.NowMs() - start > kWaitMs; });
    return states_;
  }

  testing::FakeEvdevSystem system_;
  PollEventLoop loop_;
  std::unique_ptr<Joystick> joystick_;
  std::vector<int> states_;
};

// Buttons are numbered in the order of their codes: south 0, east 1, north 2, start 3.
TEST_F(EvdevJoystickReading, EachChangeOfTheButtonsIsPostedAsTheBitMaskStartingFromTheHeldState) {
  Open(Pad("Pad", {BTN_NORTH}));
  EXPECT_EQ(States(1), (std::vector<int>{4}));
  system_.SendKey(kPath, BTN_SOUTH, true);
  system_.SendKey(kPath, BTN_NORTH, false);
  system_.SendKey(kPath, KEY_A, true);
  system_.SendKey(kPath, BTN_SOUTH, false);
  system_.SendKey(kPath, BTN_START, true);
  EXPECT_EQ(States(5), (std::vector<int>{4, 5, 1, 0, 8}));
}

// After lost events the state is asked of the device; a joystick that goes away ends its
// reader, which gives its file back.
TEST_F(EvdevJoystickReading, AfterLostEventsTheStateIsAskedAndAJoystickGoneGivesItsFileBack) {
  Open(Pad("Pad"));
  EXPECT_EQ(States(1), (std::vector<int>{0}));
  system_.SendKey(kPath, BTN_EAST, true);
  EXPECT_EQ(States(2), (std::vector<int>{0, 2}));
  system_.LoseEvents(kPath, {BTN_SOUTH});
  EXPECT_EQ(States(3), (std::vector<int>{0, 2, 1}));
  system_.Unplug(kPath);
  for (int tries = 0; tries < kWaitMs && system_.OpenFiles() > 0; ++tries)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(system_.OpenFiles(), 0);
}

// The operator changes the joystick read: the old reader ends and gives its file back, and the
// new one tells the same listener its state and its presses.
TEST_F(EvdevJoystickReading, AnotherJoystickChosenIsReadByTheSameListener) {
  constexpr const char* kOther = "/dev/input/event7";
  system_.AddDevice(kOther, Pad("Other Pad", {BTN_EAST}));
  Open(Pad("Pad"));
  EXPECT_EQ(joystick_->Found(), (std::vector<std::string>{"Pad", "Other Pad"}));
  EXPECT_EQ(States(1), (std::vector<int>{0}));
  joystick_->Use("Other Pad");
  EXPECT_EQ(joystick_->Name(), "Other Pad");
  EXPECT_EQ(States(2), (std::vector<int>{0, 2}));
  EXPECT_EQ(system_.OpenFiles(), 1);
  system_.SendKey(kPath, BTN_SOUTH, true);
  system_.SendKey(kOther, BTN_EAST, false);
  EXPECT_EQ(States(3), (std::vector<int>{0, 2, 0}));
}

}  // namespace
}  // namespace zr::platform::linux_impl
