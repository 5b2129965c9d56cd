#pragma once
// The scanner: the choice of source among the machine's scanners, and the scan of a page with
// its progress and a Cancel. The scan runs in the back end; its window waits for the end in the
// event loop, so the rest of the program goes on meanwhile.

#include <memory>
#include <string_view>

#include "core/program.h"
#include "platform/scanner.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

// The scanner sources: every scanner found, the one chosen selected. Select keeps the choice.
class SelectSource : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "SelectSource";
  explicit SelectSource(Program& program);

  ui::Label SourcesLabel{*this, "SourcesLabel"};
  ui::ListControl Sources{*this, "Sources"};
  ui::CommandButton Select{*this, "Select"};
  ui::CommandButton Cancel{*this, "Cancel"};

  void Load() override;

 private:
  void Select_Click();

  Program& program_;
  std::vector<platform::ScannerSource> found_;
};

// A scan under way: the source, the share done, and Cancel. The window closes itself at the
// end of the scan; its close box cancels as Cancel does.
class ScanProgress : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "ScanProgress";
  explicit ScanProgress(Program& program);

  ui::Label Status{*this, "Status"};
  ui::RangeControl Progress{*this, "Progress"};
  ui::CommandButton Cancel{*this, "Cancel"};

  void Load() override;
  // Starts the scan of `source`; at its end `result` gets how it ended and the window unloads.
  void StartScan(const platform::ScannerSource& source, platform::ScanResult& result);

  bool QueryUnload(ui::UnloadMode mode) override;

 private:
  void ScanEnded();

  Program& program_;
  bool scanning_ = false;
  // Last, so that it is the first to go: its end must not reach a window half destroyed.
  std::unique_ptr<platform::ScanJob> job_;
};

// "Select Source": the sources to choose from, or the word that the machine has none.
void SelectTwainSource(Program& program);

// A scan from the chosen source (the first found when the chosen one is gone), with its progress
// window; returns when the scan ends. Nothing when it was cancelled, failed (the operator is
// told why) or no scanner was found (the operator is told so).
std::shared_ptr<const platform::Picture> AcquireTwainImage(Program& program);

}  // namespace zr
