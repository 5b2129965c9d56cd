#include "core/preferences.h"

#include "base/formatting.h"
#include "core/settings_keys.h"
#include "core/window_registry.h"

namespace zr {

namespace {

int CheckValue(const std::string& flag) { return flag == "1" ? 1 : 0; }
std::string FlagText(const ui::CheckBox& box) { return box.Value == 1 ? "1" : "0"; }

}  // namespace

Preferences::Preferences(Program& program) : ui::Window(program.services.loop, "Preferences"), program_(program) {
  Motion.Min = 1;
  Motion.Max = 15;
  JpegCompression.Min = 1;
  JpegCompression.Max = 100;
  OK.OnClick = [this] { OK_Click(); };
  Cancel.OnClick = [this] { program_.SlotOf<Preferences>().Unload(); };
}

void Preferences::Load() {
  const auto& t = program_;
  Caption = t.Translate("Preferences");
  PopUpViewer.Caption = t.Translate("Pop-Up Movie Viewer after capture");
  Autoplay.Caption = t.Translate("Autoplay  ");
  ESounds.Caption = t.Translate("Enable system sounds");
  OverwriteQuestion.Caption = t.Translate("Pop-Up overwrite file question");
  HangUp.Caption = t.Translate("Hang Up when image upload is finished");
  MotionCaption.Caption = t.Translate("Motion Detector Tolerance");
  MotionMore.Caption = t.Translate("Increase Sensivity");
  MotionLess.Caption = t.Translate("Decrease Sensivity");
  JpegCaption.Caption = t.Translate("JPEG Compression");
  JpegMore.Caption = t.Translate("More Quality");
  JpegLess.Caption = t.Translate("More Compression");
  OK.Caption = t.Translate("OK");
  Cancel.Caption = t.Translate("Cancel");

  auto& state = program_.state;
  auto& store = program_.services.settings;
  PopUpViewer.Value = CheckValue(state.PopupMovieViewer);
  Autoplay.Value = CheckValue(state.AutoPlay);
  ESounds.Value = CheckValue(state.ShutterSound);
  OverwriteQuestion.Value = ReadSettingNumber(store, settings::OverwriteQuestion) == 1 ? 1 : 0;
  HangUp.Value = ReadSettingNumber(store, settings::HangUpAfterUpload) == 1 ? 1 : 0;
  Motion.Value = ReadSettingInteger(store, settings::MotionSensitivity);
  JpegCompression.Value = ReadSettingInteger(store, settings::JpegQualityInDialog);
}

void Preferences::OK_Click() {
  auto& state = program_.state;
  auto& store = program_.services.settings;
  state.PopupMovieViewer = FlagText(PopUpViewer);
  state.AutoPlay = FlagText(Autoplay);
  state.ShutterSound = FlagText(ESounds);
  SaveSetting(store, settings::OverwriteQuestion, FlagText(OverwriteQuestion));
  SaveSetting(store, settings::HangUpAfterUpload, FlagText(HangUp));
  SaveSetting(store, settings::MotionSensitivity, std::to_string(Motion.Value));
  SaveSetting(store, settings::JpegQualityInDialog, std::to_string(JpegCompression.Value));
  state.MotionSensitivity = static_cast<std::int16_t>(Motion.Value);
  program_.SlotOf<Preferences>().Unload();
}

namespace {

const WindowRegistration<Preferences> kRegistration;

}  // namespace

}  // namespace zr
