// The pictures of the user guide that the other desktop tests do not take: the capture window
// alone, the Preferences, the device information, the message of a set-up being saved, a
// series waiting on motion, and the scanner's windows. The desktop
// program runs under xvfb-run; each window is opened as the operator opens it, photographed into
// the screenshots folder (which the built guide shows) and closed again. The scanner is SANE's
// test backend, slowed down so that its scan can be photographed; the page it scans must come to
// a picture window at the page's size at the scanner's resolution.

#include <unistd.h>

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QListWidget>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "apps/zandrell/program_parts.h"
#include "core/main_menus.h"
#include "core/message_window.h"
#include "gui/desktop_toolkit.h"
#include "gui/qt_event_loop.h"
#include "image/windows/image_window.h"
#include "main_window/master.h"
#include "peripherals/scanner.h"
#include "tests/gui/desktop_program.h"
#include "tests/gui/desktop_widgets.h"

namespace {

constexpr std::int64_t kStepTimeoutMs = 20000;
constexpr std::int64_t kSettleMs = 800;  // the face lays a window out and its timers run once
constexpr int kJpegFiles = 2;            // of the series' file types
// The test scanner's page, 80 by 100 mm, at its resolution of 50 dots an inch.
constexpr QSize kTestScannerPage{157, 196};
// SANE's test backend as the only scanner, set up as the system sets it up but for its page,
// in colour bars after a fifth of a second.
constexpr const char* kSlowTestScanner =
    "\nread-delay true\nread-delay-duration 200000\ntest-picture \"Color pattern\"\n";

using zr::testing::Click;
using zr::testing::FindButtonOf;
using zr::testing::FindWidget;
using zr::testing::Later;

// A child window of the main window is photographed with its frame and title.
QWidget* Framed(QWidget* window) {
  auto* frame = window ? qobject_cast<QMdiSubWindow*>(window->parentWidget()) : nullptr;
  return frame ? frame : window;
}

// Photographs the window by this name the moment it shows: the scan's progress window lasts
// only as long as the scan.
class ShowPhotographer final : public QObject {
 public:
  ShowPhotographer(QString name, QString file) : name_(std::move(name)), file_(std::move(file)) {
    qApp->installEventFilter(this);
  }
  bool photographed = false;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* window = qobject_cast<QWidget*>(watched);
    if (!photographed && event->type() == QEvent::Show && window && window->objectName() == name_)
      photographed = window->grab().save(file_);
    return false;
  }

 private:
  const QString name_, file_;
};

// Each step is done when it answers true; a tick every 100 ms asks the step in turn.
class Photographer {
 public:
  Photographer(zr::ProgramParts& parts, std::string folder) : parts_(parts), folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    steps_ = {
        {"choose the built-in camera", [this] { return PickCamera(); }},
        {"the capture window", [this] { return Photograph(Framed(FindWidget("VideoScreen")), "VideoScreen.png"); }},
        {"the preferences",
         [this] { return PhotographModal("Preferences", "Preferences.png", "Cancel", [this] { Preferences(); }); }},
        {"the device information",
         [this] {
           return PhotographModal("VideoInfo", "VideoInfo.png", "OK",
                                  [] { Click(FindButtonOf("DeviceToolbar", "info")); });
         }},
        {"the message of a set-up being saved", [this] { return PhotographMessage(); }},
        {"a series waiting on motion", [this] { return WaitOnMotion(); }},
        {"the end of the series", [this] { return EndSeries(); }},
        {"the scanner's sources",
         [this] {
           return PhotographModal("SelectSource", "SelectSource.png", "Select",
                                  [this] { ChooseFromMenus(MainWindow().TWAINx(zr::scanner_menu::kSelectSource)); });
         }},
        {"a scan under way", [this] { return PhotographScan(); }},
        {"the scanned page", [this] { return PhotographScannedPage(); }},
        {"the close", [this] { return Close(); }},
    };
    clock_.start();
    QObject::connect(&tick_, &QTimer::timeout, [this] { Act(); });
    tick_.start(100);
  }
  std::string failure;

 private:
  struct Step {
    const char* what;
    std::function<bool()> done;
  };

  void Act() {
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      // The quit question is the only box the operator expects.
      if (step_ + 1 < steps_.size()) Fail("a message box came up: " + box->text().toStdString());
      if (auto* yes = box->button(QMessageBox::Yes)) return yes->click();
      return box->accept();
    }
    if (step_ >= steps_.size()) return;
    if (clock_.elapsed() - step_started_ > kStepTimeoutMs)
      return Fail(std::string("\"") + steps_[step_].what + "\" did not come");
    if (!steps_[step_].done()) return;
    ++step_;
    step_started_ = clock_.elapsed();
    settled_since_ = -1;
    asked_ = false;
  }

  void Fail(const std::string& why) {
    if (failure.empty()) failure = why;
    step_ = steps_.size() - 1;  // the close
  }

  zr::Master& MainWindow() { return parts_.program.Window<zr::Master>(); }

  // True once `shown` has held for the settling time.
  bool Settled(bool shown) {
    if (!shown) return false;
    if (settled_since_ < 0) settled_since_ = clock_.elapsed();
    return clock_.elapsed() - settled_since_ >= kSettleMs;
  }

  bool Save(QWidget* window, const char* name) {
    if (!window->grab().save(QString::fromStdString(folder_ + "/" + name))) Fail(std::string("cannot save ") + name);
    return true;
  }

  bool Photograph(QWidget* window, const char* name) { return Settled(window != nullptr) && Save(window, name); }

  // A window the program shows modally: opened once by `open`, photographed, closed by its button.
  bool PhotographModal(const char* name, const char* picture, const char* close, const std::function<void()>& open) {
    QWidget* window = FindWidget(name);
    if (!window && !asked_) {
      asked_ = true;
      Later(open);
    }
    if (!Settled(window != nullptr)) return false;
    Save(window, picture);
    auto* button = window->findChild<QWidget*>(close);
    if (!button) Fail(std::string(name) + " has no button " + close);
    Later([button] { Click(button); });
    return true;
  }

  // The small window the program shows while it saves a set-up, which lasts only as long as the
  // saving: shown here with the same words and taken down after its photograph.
  bool PhotographMessage() {
    auto& program = parts_.program;
    if (!asked_) {
      asked_ = true;
      Later([&program] {
        program.Window<zr::Msg>().Say(program, program.Translate("Video Zandrell is saving parameters..."));
      });
    }
    if (!Photograph(FindWidget("Msg"), "Msg.png")) return false;
    program.SlotOf<zr::Msg>().Unload();
    return true;
  }

  bool PickCamera() {
    auto* devices = qobject_cast<QListWidget*>(FindWidget("devices"));
    auto* start = FindWidget("start");
    if (!devices || !start) return false;
    const auto found = devices->findItems(zr::testing::kBuiltInCamera, Qt::MatchExactly);
    if (found.isEmpty()) {
      Fail("the chooser does not list the built-in camera");
      return false;
    }
    zr::testing::ClickEntry(devices, found.front());
    Click(start);
    return true;
  }

  void Preferences() { ChooseFromMenus(MainWindow().FileMenu(zr::file_menu::kPreferences)); }

  // The entry of the menu bar with the model entry's caption, as the operator picks it.
  void ChooseFromMenus(const zr::ui::Menu& model) {
    const QString caption = QString::fromStdString(model.Caption);
    for (QAction* menu : FindWidget("Master")->findChild<QMenuBar*>()->actions())
      for (QAction* entry : menu->menu()->actions())
        if (entry->text() == caption) return entry->trigger();
  }

  // The scanner button of the mode bar, again should the scan end before the progress window
  // was photographed.
  bool PhotographScan() {
    auto& loop = dynamic_cast<zr::gui::QtEventLoop&>(parts_.program.services.loop);
    if (loop.InHandler()) return false;
    if (scan_progress_.photographed) return true;
    Click(FindButtonOf("MainToolbar", "scanner"));
    return false;
  }

  // The scan in a new picture window, "Untitled", its picture the whole page at its size.
  bool PhotographScannedPage() {
    const auto& images = parts_.program.SlotOf<zr::Image>();
    auto* window = dynamic_cast<zr::Image*>(images.ExtraInstance(images.ExtraInstanceCount()));
    if (!window || !window->Visible || !window->MasterImage.Picture) return false;
    const auto& page = *window->MasterImage.Picture;
    if (QSize(page.width, page.height) != kTestScannerPage) {
      Fail("the scan is " + std::to_string(page.width) + "x" + std::to_string(page.height));
      return false;
    }
    QWidget* frame = nullptr;
    for (QWidget* picture : FindWidget("Master")->findChildren<QWidget*>("MasterImage"))
      if (picture->isVisible() && picture->minimumSize() == kTestScannerPage &&
          Framed(picture->parentWidget())->windowTitle() == "Untitled")
        frame = Framed(picture->parentWidget());
    if (!Photograph(frame, "scanned_page.png")) return false;
    Later([frame] { frame->close(); });
    return true;
  }

  // Multiple image mode from the mode bar, numbered JPEG files, the motion trigger, and Rec/Stop: the status line
  // reports the change the detector sees in the moving picture of the built-in camera.
  bool WaitOnMotion() {
    if (!parts_.devices.LatestPicture()) return false;
    if (parts_.program.state.CaptureType != "multiple") {
      Click(FindButtonOf("MainToolbar", "multiple"));
      return false;
    }
    auto* mode = qobject_cast<QComboBox*>(FindWidget("MultipleImageMode"));
    auto* motion = FindButtonOf("TriggerType", "motion");
    if (!mode || !motion) return false;
    if (mode->currentIndex() != kJpegFiles) {
      mode->setCurrentIndex(kJpegFiles);
      emit mode->activated(kJpegFiles);  // as the operator's choice in the list
      return false;
    }
    if (!motion->isChecked()) {
      Click(motion);
      return false;
    }
    if (!asked_) {
      asked_ = true;
      Click(FindButtonOf("MultipleImageToolbar", "record"));
    }
    const bool reporting = MainWindow().StatusString.Caption.get().ends_with("Image changed");
    return Settled(reporting) && Save(FindWidget("Master"), "motion_series.png");
  }

  bool EndSeries() {
    if (!asked_) {
      asked_ = true;
      Click(FindButtonOf("MultipleImageToolbar", "record"));
    }
    return MainWindow().RecordButton().Image.get() == "record";
  }

  bool Close() {
    if (!asked_) {
      asked_ = true;
      if (QWidget* main = FindWidget("Master")) Later([main] { main->close(); });
    }
    return false;  // the program ends
  }

  zr::ProgramParts& parts_;
  std::string folder_;
  std::vector<Step> steps_;
  std::size_t step_ = 0;
  QElapsedTimer clock_;
  std::int64_t step_started_ = 0;
  std::int64_t settled_since_ = -1;
  bool asked_ = false;  // the step's own action was taken
  QTimer tick_;
  ShowPhotographer scan_progress_{"ScanProgress", QString::fromStdString(folder_ + "/ScanProgress.png")};
};

}  // namespace

int main(int argc, char** argv) {
  const auto sane = std::filesystem::temp_directory_path() / ("zr-guide-sane-" + std::to_string(getpid()));
  std::filesystem::create_directories(sane);
  std::ofstream(sane / "dll.conf") << "test\n";
  // The system's settings of the test backend (its page among them), then ours.
  std::ofstream(sane / "test.conf") << std::ifstream("/etc/sane.d/test.conf").rdbuf() << kSlowTestScanner;
  setenv("SANE_CONFIG_DIR", sane.c_str(), 1);
  zr::testing::DesktopProgram desktop("zr-guide-screenshots", argc, argv);
  if (!desktop.parts) {
    std::filesystem::remove_all(sane);
    std::cerr << "FAIL: no display to open windows on\n";
    return 1;
  }
  Photographer photographer(*desktop.parts, ZR_SCREENSHOT_DIR);
  desktop.Run();
  std::filesystem::remove_all(sane);
  if (!photographer.failure.empty()) {
    std::cerr << "FAIL: " << photographer.failure << "\n";
    return 1;
  }
  std::cout << "PASS\n";
  return 0;
}
