// The devices' own dialogs: adjustments reach the device as the operator moves them, a format
// is chosen by its row, a compressor's setting keeps to its range.

#include "gui/device_dialogs.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QInputDialog>
#include <QSlider>
#include <QTimer>
#include <map>

namespace zr::gui {
namespace {

class FakeSource final : public platform::DeviceSettings {
 public:
  std::vector<std::string> Inputs() const override { return {"Composite", "S-Video"}; }
  platform::Result<void> SelectInput(int index) override {
    input = index;
    return {};
  }
  std::vector<platform::SourceControl> Controls() const override {
    return {{1, "Brightness", 0, 255, 1, 128, 128, false}, {2, "Backlight", 0, 1, 1, 0, 0, true}};
  }
  platform::Result<void> SetControl(std::uint32_t id, int value) override {
    applied[id] = value;
    if (id == 1 && value > 200) return platform::Error{"too bright", "SetControl"};
    return {};
  }
  int input = 0;
  std::map<std::uint32_t, int> applied;
};

// Acts on the dialog the code under test opens, once it is up.
void WhenADialogIsUp(std::function<void(QDialog&)> act) {
  QTimer::singleShot(0, [act] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    act(*dialog);
  });
}

TEST(DeviceDialogs, SourceSettingsApplyAsTheyMove) {
  QtDeviceDialogs dialogs;
  FakeSource source;
  WhenADialogIsUp([](QDialog& dialog) {
    dialog.findChild<QSlider*>()->setValue(150);
    dialog.findChild<QCheckBox*>()->setChecked(true);
    auto* input = dialog.findChild<QComboBox*>();
    input->setCurrentIndex(1);
    emit input->activated(1);
    dialog.reject();
  });
  dialogs.EditSource("Cam", source);
  EXPECT_EQ(source.applied, (std::map<std::uint32_t, int>{{1, 150}, {2, 1}}));
  EXPECT_EQ(source.input, 1);
}

TEST(DeviceDialogs, AFormatIsChosenByItsRowAndCancelChoosesNone) {
  QtDeviceDialogs dialogs;
  const std::vector<platform::SourceFormat> formats = {{320, 240, 24}, {640, 480, 24}, {1280, 720, 16}};
  WhenADialogIsUp([](QDialog& dialog) {
    auto* input = qobject_cast<QInputDialog*>(&dialog);
    input->setTextValue("1280 x 720, 16 bits");
    input->accept();
  });
  EXPECT_EQ(dialogs.ChooseFormat("Cam", formats, 0), 2);
  WhenADialogIsUp([](QDialog& dialog) { dialog.reject(); });
  EXPECT_EQ(dialogs.ChooseFormat("Cam", formats, 1), std::nullopt);
}

TEST(DeviceDialogs, ACompressorSettingKeepsToItsRange) {
  QtDeviceDialogs dialogs;
  WhenADialogIsUp([](QDialog& dialog) {
    auto* input = qobject_cast<QInputDialog*>(&dialog);
    input->setIntValue(500);
    input->accept();
  });
  EXPECT_EQ(dialogs.EditCompressorSetting("MJPEG Compressor", {"Quality", 1, 100, 85}), 100);
}

}  // namespace
}  // namespace zr::gui
