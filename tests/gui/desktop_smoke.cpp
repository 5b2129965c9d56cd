// The desktop program on a real display server (run under xvfb-run): the operator picks the
// built-in camera in the chooser, sees live video, starts a ten-second run with Rec/Stop, ends it
// with Rec/Stop after two seconds (a mouse press anywhere ends a driver's run) and quits. The
// movie must be a playable two-second movie; a picture of the main window with live video is
// left in the screenshots folder.
//
// With --end-on-request the program is asked to end from outside two seconds into the run, as a
// termination signal asks it: the run must end as Stop ends it, with a playable two-second
// movie, and the set-up must be saved.

#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "apps/zandrell/program_parts.h"
#include "capture/video_screen.h"
#include "gui/desktop_toolkit.h"
#include "main_window/master.h"
#include "tests/support/movie_probe.h"

namespace {

// Gives up on a step that does not come.
constexpr std::int64_t kStepTimeoutMs = 20000;
constexpr int kRecordSeconds = 2;

template <class W>
W* FindWidget(const char* name) {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (top->objectName() == name && top->isVisible()) return qobject_cast<W*>(top);
    if (auto* found = top->findChild<W*>(name); found && found->isVisible()) return found;
  }
  return nullptr;
}

// The operator: each tick does the next thing the screen allows.
class Operator {
 public:
  Operator(zr::ProgramParts& parts, std::string screenshots, zr::gui::DesktopToolkit* end_on_request)
      : parts_(parts), screenshots_(std::move(screenshots)), end_on_request_(end_on_request) {
    clock_.start();
    QObject::connect(&tick_, &QTimer::timeout, [this] { Act(); });
    tick_.start(100);
  }
  std::string failure;

 private:
  void Fail(const std::string& why) {
    if (failure.empty()) failure = why;
    step_ = Step::Quit;
  }

  void Act() {
    if (step_ != Step::Quit && clock_.elapsed() - step_started_ > kStepTimeoutMs) {
      const std::string status = parts_.program.SlotOf<zr::Master>().Loaded()
                                     ? parts_.program.Window<zr::Master>().StatusString.Caption.get()
                                     : "no main window";
      Fail("step " + std::to_string(static_cast<int>(step_)) + " did not end; the status reads \"" + status +
           "\", the device says \"" + parts_.devices.SourceMessage() + "\", last result " +
           std::to_string(parts_.program.state.LastResult) + ", capturing " +
           std::to_string(parts_.program.state.CapStatus.fCapturingNow) + ", file \"" +
           parts_.program.state.CaptureFilename + "\"");
    }
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      if (step_ != Step::Quit) Fail("a message box came up: " + box->text().toStdString());
      if (auto* yes = box->button(QMessageBox::Yes))
        yes->click();
      else
        box->accept();
      return;
    }
    switch (step_) {
      case Step::PickCamera:
        PickCamera();
        break;
      case Step::WaitForLiveVideo:
        WaitForLiveVideo();
        break;
      case Step::Recording:
        WatchRecording();
        break;
      case Step::Quit:
        Quit();
        break;
      case Step::EndingOnRequest:
        break;
    }
  }

  void Next(int step) {
    step_ = static_cast<Step>(step);
    step_started_ = clock_.elapsed();
  }

  void PickCamera() {
    if (auto* splash = FindWidget<QWidget>("Splash"); splash && !splash_shot_)
      splash_shot_ = Screenshot(splash, "splash.png");
    auto* devices = FindWidget<QListWidget>("devices");
    auto* start = FindWidget<QPushButton>("start");
    if (!devices || !start) return;
    const auto found = devices->findItems("Built-in Test Camera (VFW)", Qt::MatchExactly);
    if (found.isEmpty()) return Fail("the chooser does not list the built-in camera");
    Screenshot(devices->window(), "choose_device.png");
    QTest::mouseClick(devices->viewport(), Qt::LeftButton, {}, devices->visualItemRect(found.front()).center());
    QTest::mouseClick(start, Qt::LeftButton);
    Next(1);
  }

  void WaitForLiveVideo() {
    if (!parts_.devices.LatestPicture()) return;
    auto* seconds = FindWidget<QSpinBox>("MovieSecondsControl");
    auto* minutes = FindWidget<QSpinBox>("MovieMinutesControl");
    auto* unlimited = FindWidget<QCheckBox>("MovieDisableLimit");
    auto* record = FindButtonOf("OperationBar", "record");
    if (!seconds || !minutes || !record) return;
    if (unlimited && unlimited->isChecked()) QTest::mouseClick(unlimited, Qt::LeftButton);
    minutes->setValue(0);
    seconds->setValue(kRecordSeconds * 5);
    QTest::mouseClick(record, Qt::LeftButton);
    Next(2);
  }

  void WatchRecording() {
    if (end_on_request_ && clock_.elapsed() - step_started_ > kRecordSeconds * 1000) {
      end_on_request_->EndProgram();
      end_on_request_ = nullptr;
      step_ = Step::EndingOnRequest;
      return;
    }
    auto& master = parts_.program.Window<zr::Master>();
    if (!shot_ && clock_.elapsed() - step_started_ > 1000)
      shot_ = Screenshot(FindWidget<QWidget>("Master"), "main_window.png");
    if (!stop_pressed_ && clock_.elapsed() - step_started_ > kRecordSeconds * 1000) {
      if (auto* record = FindButtonOf("OperationBar", "record")) QTest::mouseClick(record, Qt::LeftButton);
      stop_pressed_ = true;
    }
    // The run must have ended before the quit, which would end it anyway.
    if (stop_pressed_ && master.RecordButton().Image.get() == "record" &&
        master.StatusString.Caption.get() == "Stopped")
      Next(3);
  }

  // The close runs after this tick, so that the next ticks can answer the question it asks.
  void Quit() {
    if (closing_) return;
    if (auto* main = FindWidget<QWidget>("Master")) {
      closing_ = true;
      QTimer::singleShot(0, main, [main] { main->close(); });
    }
  }

  bool Screenshot(QWidget* window, const char* name) const {
    std::filesystem::create_directories(screenshots_);
    return window && window->grab().save(QString::fromStdString(screenshots_ + "/" + name));
  }

  static QAbstractButton* FindButtonOf(const char* bar_name, const char* key) {
    auto* bar = FindWidget<QToolBar>(bar_name);
    return bar ? bar->findChild<QToolButton*>(key) : nullptr;
  }

  enum class Step { PickCamera, WaitForLiveVideo, Recording, Quit, EndingOnRequest };
  zr::ProgramParts& parts_;
  std::string screenshots_;
  zr::gui::DesktopToolkit* end_on_request_;  // asked to end the program once, then null
  QElapsedTimer clock_;
  QTimer tick_;
  Step step_ = Step::PickCamera;
  std::int64_t step_started_ = 0;
  bool shot_ = false;
  bool stop_pressed_ = false;
  bool closing_ = false;
  bool splash_shot_ = false;
};

}  // namespace

int main(int argc, char** argv) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-desktop-smoke-" + std::to_string(getpid()));
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder / "config");
  setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
  auto toolkit = zr::gui::DesktopToolkit::Open(argc, argv);
  if (!toolkit) {
    std::cerr << "FAIL: no display to open windows on\n";
    return 1;
  }
  zr::ProgramParts parts(
      toolkit->Loop(), [] {}, toolkit->Dialogs(), toolkit->Clipboard(), &toolkit->DeviceDialogs(), toolkit->Screen(),
      zr::ProgramStart{folder.string() + "/", "", folder.string() + "/", zr::Language::English},
      zr::platform::linux_impl::ProbeVideoDevices(), zr::platform::linux_impl::ProbeAudioDevices());
  const bool end_on_request = argc > 1 && std::string(argv[1]) == "--end-on-request";
  Operator operator_(parts, ZR_SCREENSHOT_DIR, end_on_request ? toolkit.get() : nullptr);
  toolkit->Run(parts.program, parts.LiveVideo());
  if (!operator_.failure.empty()) {
    std::cerr << "FAIL: " << operator_.failure << "\n";
    return 1;
  }
  const std::string movie = parts.program.state.CaptureFilename;
  const double seconds = zr::testing::ProbeDurationSeconds(movie);
  std::cout << "movie " << movie << ": " << seconds << " s\n";
  if (seconds < kRecordSeconds - 0.3 || seconds > kRecordSeconds + 0.5) {
    std::cerr << "FAIL: the movie is not a playable two-second movie\n";
    return 1;
  }
  if (end_on_request && !std::filesystem::exists(folder / "zrsr.zr2")) {
    std::cerr << "FAIL: the set-up was not saved when the program was asked to end\n";
    return 1;
  }
  std::filesystem::remove_all(folder);
  std::cout << "PASS\n";
  return 0;
}
