#include "gui/desktop_toolkit.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <cstdlib>
#include <iostream>

#include "capture/choose_device.h"
#include "gui/desktop_face.h"
#include "gui/desktop_look.h"
#include "gui/device_dialogs.h"
#include "gui/icons.h"
#include "gui/qt_event_loop.h"
#include "gui/qt_services.h"
#include "main_window/master.h"

namespace zr::gui {

namespace {

// Whether a display server is there to talk to; the toolkit would abort the process without.
bool DisplayAvailable() {
  const char* platform = std::getenv("QT_QPA_PLATFORM");
  if (platform && *platform) return true;
  const char* x11 = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  return (x11 && *x11) || (wayland && *wayland);
}

// How often a request to end the program looks whether the program's handlers are done.
constexpr int kEndLookMs = 50;

class QtDesktopToolkit final : public DesktopToolkit {
 public:
  QtDesktopToolkit(int& argc, char** argv) : application_(argc, argv) {
    QApplication::setApplicationName(QString::fromStdString(kAppTitle));
    // The window manager's titles name the program beside each window's own caption.
    QApplication::setApplicationDisplayName(QString::fromStdString(kAppTitle));
    QApplication::setWindowIcon(ApplicationIcon());
    // The installed desktop entry, by which a Wayland desktop finds the program's name and icon.
    QGuiApplication::setDesktopFileName(QStringLiteral(ZR_DESKTOP_FILE_NAME));
    // The program ends when its main window is gone, not when its last window closes.
    QApplication::setQuitOnLastWindowClosed(false);
    application_.setStyleSheet(kButtonStyle);
    QObject::connect(&end_look_, &QTimer::timeout, &end_look_, [this] { EndWhenNoHandlerRuns(); });
  }

  platform::EventLoop& Loop() override { return loop_; }
  platform::DescriptorWatcher& Descriptors() override { return loop_; }
  platform::Dialogs& Dialogs() override { return dialogs_; }
  platform::Clipboard& Clipboard() override { return clipboard_; }
  platform::DeviceDialogHost& DeviceDialogs() override { return device_dialogs_; }
  platform::ScreenSize Screen() const override {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) return {1920, 1080};
    return {screen->geometry().width(), screen->geometry().height()};
  }

  // Qt's version is the library's, as it runs.
  platform::ToolkitFacts Facts() override {
    platform::ToolkitFacts facts(Screen());
    facts.arrange_children = [this](platform::ArrangeCode code) {
      if (face_ && face_->MainWindow()) face_->MainWindow()->ArrangeChildWindows(code);
    };
    facts.libraries.push_back({"Qt", qVersion(), "LGPL version 3"});
    return facts;
  }

  int Run(Program& program, LiveVideo live) override {
    program_ = &program;
    DesktopFace face(program, loop_, dialogs_, std::move(live));
    face_ = &face;
    face.OnParentWindow([this](QWidget* parent) { device_dialogs_.SetParentWindow(parent); });
    bool ended = false;
    face.OnProgramEnd([&ended] {
      ended = true;
      QApplication::quit();
    });
    loop_.Guarded([&program] { program.Main(); });
    face.Sync();
    if (!ended && program.SlotOf<Master>().Loaded()) QApplication::exec();
    end_look_.stop();
    face_ = nullptr;
    program_ = nullptr;
    return 0;
  }

  void EndProgram() override { end_look_.start(kEndLookMs); }

 private:
  QApplication application_;
  QtEventLoop loop_;
  QtDialogs dialogs_;
  QtClipboard clipboard_;
  QtDeviceDialogs device_dialogs_;
  // The device chooser of the start is answered as Cancel answers it, so that the start goes
  // on to its end; any other modal window waits for the operator.
  void EndWhenNoHandlerRuns() {
    if (program_ == nullptr) return;
    if (loop_.InHandler()) {
      if (auto* chooser = program_->IfLoaded<ChooseDevice>()) loop_.Guarded([chooser] { chooser->Cancel.Click(); });
      return;
    }
    end_look_.stop();
    loop_.Guarded([this] {
      if (auto* master = program_->IfLoaded<Master>()) master->EndOnRequest();
    });
  }

  Program* program_ = nullptr;   // while Run runs
  DesktopFace* face_ = nullptr;  // while Run runs
  QTimer end_look_;              // looks for the moment to end the program on a request
};

}  // namespace

std::unique_ptr<DesktopToolkit> DesktopToolkit::Open(int& argc, char** argv) {
  if (!DisplayAvailable()) return nullptr;
  return std::make_unique<QtDesktopToolkit>(argc, argv);
}

}  // namespace zr::gui
