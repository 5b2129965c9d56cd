#include "peripherals/scanner.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "core/settings_keys.h"
#include "core/window_registry.h"

namespace zr {

namespace {

// The scanner chosen last, by the name the system knows it by.
constexpr SettingKey kScannerSource{settings::kTitleRoot, "Scanner", "Source", ""};

std::optional<platform::ScannerSource> ChosenSource(Program& program,
                                                    const std::vector<platform::ScannerSource>& found) {
  if (found.empty()) return std::nullopt;
  const std::string chosen = ReadSetting(program.services.settings, kScannerSource);
  const auto source =
      std::find_if(found.begin(), found.end(), [&](const platform::ScannerSource& each) { return each.id == chosen; });
  return source != found.end() ? *source : found.front();
}

void TellNoScanner(Program& program) {
  program.MessageBox(program.Translate("No scanner was found on this machine."), platform::MessageButtons::Ok,
                     platform::MessageIcon::Exclamation);
}

}  // namespace

SelectSource::SelectSource(Program& program) : ui::Window(program.services.loop, "SelectSource"), program_(program) {
  Select.OnClick = [this] { Select_Click(); };
  Sources.OnDblClick = [this] { Select_Click(); };
  Cancel.OnClick = [this] { program_.SlotOf<SelectSource>().Unload(); };
}

void SelectSource::Load() {
  Caption = program_.Translate("Select Source");
  SourcesLabel.Caption = program_.Translate("Sources:");
  Select.Caption = program_.Translate("Select");
  Cancel.Caption = program_.Translate("Cancel");
  found_ = program_.services.scanners.Sources();
  const auto chosen = ChosenSource(program_, found_);
  for (const auto& source : found_) {
    Sources.Items.push_back(ui::ListItem{source.name, source.id, "", false});
    if (chosen && source.id == chosen->id) Sources.ListIndex = Sources.ListCount() - 1;
  }
}

void SelectSource::Select_Click() {
  if (Sources.ListIndex >= 0)
    SaveSetting(program_.services.settings, kScannerSource,
                found_[static_cast<std::size_t>(Sources.ListIndex.get())].id);
  program_.SlotOf<SelectSource>().Unload();
}

ScanProgress::ScanProgress(Program& program) : ui::Window(program.services.loop, "ScanProgress"), program_(program) {
  Progress.is_progress_bar = true;
  Progress.Max = 100;
  Cancel.OnClick = [this] {
    if (job_) job_->Cancel();
  };
}

void ScanProgress::Load() {
  Caption = program_.Translate("Acquire");
  Cancel.Caption = program_.Translate("Cancel");
}

void ScanProgress::StartScan(const platform::ScannerSource& source, platform::ScanResult& result) {
  Status.Caption = program_.Translate("Scanning from") + " " + source.name + "...";
  scanning_ = true;
  job_ = program_.services.scanners.Scan(
      source.id, [this](int percent) { Progress.Value = std::clamp(percent, 0, 100); },
      [this, &result](platform::ScanResult ended) {
        result = std::move(ended);
        ScanEnded();
      });
}

// The close box asks the scan to stop; the window goes when the scan has ended.
bool ScanProgress::QueryUnload(ui::UnloadMode mode) {
  if (!scanning_ || mode != ui::UnloadMode::CloseBox) return true;
  if (job_) job_->Cancel();
  return false;
}

void ScanProgress::ScanEnded() {
  scanning_ = false;
  program_.SlotOf<ScanProgress>().Unload();
}

void SelectTwainSource(Program& program) {
  if (program.services.scanners.Sources().empty()) {
    TellNoScanner(program);
    return;
  }
  program.SlotOf<SelectSource>().ShowModal(program.services.loop);
}

std::shared_ptr<const platform::Picture> AcquireTwainImage(Program& program) {
  const auto source = ChosenSource(program, program.services.scanners.Sources());
  if (!source) {
    TellNoScanner(program);
    return nullptr;
  }
  platform::ScanResult result;
  program.Window<ScanProgress>().StartScan(*source, result);
  program.SlotOf<ScanProgress>().ShowModal(program.services.loop);
  if (!result.failure.empty())
    program.MessageBox(program.Translate("The scan failed:") + " " + result.failure, platform::MessageButtons::Ok,
                       platform::MessageIcon::Exclamation);
  return result.picture;
}

namespace {

const WindowRegistration<SelectSource> kSelectSourceRegistration;
const WindowRegistration<ScanProgress> kScanProgressRegistration;

}  // namespace

}  // namespace zr
