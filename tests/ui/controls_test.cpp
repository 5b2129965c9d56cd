// The control model: change events run when a value really changes, as the toolkit runs them;
// timers follow their flags; windows are made on first touch and live until their handlers end.

#include "ui/controls.h"

#include <gtest/gtest.h>

#include "platform/sim/sim_event_loop.h"
#include "ui/window.h"

namespace zr::ui {
namespace {

class TestWindow : public Window {
 public:
  explicit TestWindow(platform::EventLoop& loop) : Window(loop, "Test") {}
  RangeControl rate{*this, "rate"};
  ListControl list{*this, "list"};
  CheckBox check{*this, "check"};
  Toolbar bar{*this, "bar"};
  Timer tick{*this, "tick", 100, false};
  ControlArray<Menu> menu;
  int loads = 0;
  int unloads = 0;
  bool refuse_close = false;
  void Load() override { ++loads; }
  bool QueryUnload(UnloadMode mode) override { return !(refuse_close && mode == UnloadMode::CloseBox); }
  void Unload() override { ++unloads; }
};

class ControlsTest : public ::testing::Test {
 protected:
  platform::sim::SimEventLoop loop;
  TestWindow window{loop};
};

TEST_F(ControlsTest, ChangeEventsRunOnlyWhenTheValueReallyChanges) {
  int changes = 0;
  int clicks = 0;
  window.rate.OnChange = [&] { ++changes; };
  window.list.OnClick = [&] { ++clicks; };
  window.list.AddItem("a");
  window.list.AddItem("b");
  window.rate.Value = 5;
  window.rate.Value = 5;
  window.list.ListIndex = 1;
  window.list.ListIndex = 1;
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(window.list.Text(), "b");
  window.list.ClickEntry(1);  // a click on the selected entry still clicks
  EXPECT_EQ(clicks, 2);
}

TEST_F(ControlsTest, CheckStyleToolbarButtonsFlipBeforeTheirHandler) {
  auto& audio = window.bar.AddButton("audio", ButtonStyle::Check, "audio");
  auto& record = window.bar.AddButton("record", ButtonStyle::Default, "record");
  std::vector<std::string> seen;
  window.bar.OnButtonClick = [&](ToolbarButton& button) {
    seen.push_back(button.Key() + std::to_string(button.Value));
  };
  window.bar.ClickButton(audio);
  window.bar.ClickButton(record);
  window.bar.ClickButton(audio);
  record.Enabled = false;
  window.bar.ClickButton(record);
  EXPECT_EQ(seen, (std::vector<std::string>{"audio1", "record0", "audio0"}));
  EXPECT_THROW(window.bar.Button("missing"), std::logic_error);
}

TEST_F(ControlsTest, DropDownEntriesAreFoundByKeyThenTagThenCaption) {
  auto& device = window.bar.AddButton("device", ButtonStyle::Dropdown, "device");
  device.AddMenu("i0", "Camera (VFW)", "vfw");
  device.AddMenu("", "IP Camera... (JPEG HTTP)", "http");
  device.AddMenu("", "Video Device Information...", "info");
  EXPECT_EQ(device.FindMenu("i0")->Text.get(), "Camera (VFW)");
  EXPECT_EQ(device.FindMenu("http")->Text.get(), "IP Camera... (JPEG HTTP)");
  EXPECT_EQ(device.FindMenu("Video Device Information...")->tag, "info");
  EXPECT_EQ(device.FindMenu("nothing"), nullptr);
}

TEST_F(ControlsTest, TimersRunWhileEnabledWithAnInterval) {
  int ticks = 0;
  window.tick.OnTimer = [&] { ++ticks; };
  loop.AdvanceBy(500);
  EXPECT_EQ(ticks, 0);
  window.tick.Enabled = true;
  loop.AdvanceBy(350);
  EXPECT_EQ(ticks, 3);
  window.tick.Interval = 0;
  loop.AdvanceBy(500);
  EXPECT_EQ(ticks, 3);
  window.tick.Interval = 50;
  loop.AdvanceBy(100);
  EXPECT_EQ(ticks, 5);
}

TEST_F(ControlsTest, GenericAccessFindsControlsAndArrayElementsByName) {
  window.menu.Add(window, "menu", 0).Caption = "Open";
  window.menu.Add(window, "menu", 2).Caption = "-";
  EXPECT_EQ(window.FindControl("rate"), &window.rate);
  EXPECT_EQ(window.FindControl("menu", 2), &window.menu(2));
  EXPECT_EQ(window.FindControl("menu", 1), nullptr);
  EXPECT_EQ(window.menu.UBound(), 2);
  EXPECT_TRUE(window.rate.Set("Value", Value{7.0}));
  EXPECT_EQ(std::get<std::int64_t>(*window.rate.Get("Value", std::nullopt)), 7);
  EXPECT_FALSE(window.rate.Set("Caption", Value{std::string("x")}));
  int clicks = 0;
  window.menu(2).OnClick = [&] { ++clicks; };
  window.menu(2).Click();  // a separator does nothing
  EXPECT_EQ(clicks, 0);
}

class WindowSlotTest : public ::testing::Test {
 protected:
  platform::sim::SimEventLoop loop;
  int made = 0;
  WindowSlot<TestWindow> slot{"Test", [this] {
                                ++made;
                                return std::make_unique<TestWindow>(loop);
                              }};
};

TEST_F(WindowSlotTest, AWindowIsMadeOnFirstTouchAndFreshAfterItsUnload) {
  EXPECT_FALSE(slot.Loaded());
  slot().rate.Value = 9;
  EXPECT_EQ(slot().loads, 1);
  EXPECT_EQ(made, 1);
  TestWindow* first = &slot();
  EXPECT_TRUE(slot.Unload());
  EXPECT_EQ(first->unloads, 1);  // kept alive until the loop is idle
  slot.ReleaseUnloaded();
  EXPECT_EQ(slot().rate.Value.get(), 0);
  EXPECT_EQ(made, 2);
}

TEST_F(WindowSlotTest, ACloseRefusedByTheWindowKeepsItLoaded) {
  slot().refuse_close = true;
  EXPECT_FALSE(slot.Unload(UnloadMode::CloseBox));
  EXPECT_TRUE(slot.Loaded());
  EXPECT_TRUE(slot.Unload(UnloadMode::FromCode));
  EXPECT_FALSE(slot.Loaded());
}

TEST_F(WindowSlotTest, ExtraInstancesCountFromOneInOrderOfCreation) {
  auto& first = slot.NewInstance();
  auto& second = slot.NewInstance();
  EXPECT_EQ(slot.ExtraInstance(1), &first);
  EXPECT_EQ(slot.ExtraInstance(2), &second);
  EXPECT_EQ(slot.ExtraInstance(3), nullptr);
  EXPECT_FALSE(slot.Loaded());
}

}  // namespace
}  // namespace zr::ui
