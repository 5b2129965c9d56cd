#include "gui/desktop_toolkit.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <cstdlib>
#include <iostream>

#include "gui/desktop_face.h"
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

// The push buttons' own look: flat, light, with the accent of the icons when pointed at.
constexpr const char* kButtonStyle = R"(
QPushButton { background: #eceff1; color: #263238; border: 1px solid #b0bec5; border-radius: 4px;
              padding: 5px 14px; }
QPushButton:hover { background: #e3f2fd; border-color: #42a5f5; }
QPushButton:pressed { background: #bbdefb; }
QPushButton:focus { border-color: #1e88e5; }
QPushButton:disabled { background: #f5f5f5; color: #90a4ae; border-color: #cfd8dc; }
)";

class QtDesktopToolkit final : public DesktopToolkit {
 public:
  QtDesktopToolkit(int& argc, char** argv) : application_(argc, argv) {
    QApplication::setApplicationName(QString::fromStdString(kAppTitle));
    QApplication::setWindowIcon(ApplicationIcon());
    // The program ends when its main window is gone, not when its last window closes.
    QApplication::setQuitOnLastWindowClosed(false);
    application_.setStyleSheet(kButtonStyle);
  }

  platform::EventLoop& Loop() override { return loop_; }
  platform::Dialogs& Dialogs() override { return dialogs_; }
  platform::Clipboard& Clipboard() override { return clipboard_; }
  platform::DeviceDialogHost& DeviceDialogs() override { return device_dialogs_; }
  platform::ScreenSize Screen() const override {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) return {1920, 1080};
    return {screen->geometry().width(), screen->geometry().height()};
  }

  int Run(Program& program, LiveVideo live) override {
    DesktopFace face(program, loop_, dialogs_, std::move(live));
    face.OnParentWindow([this](QWidget* parent) { device_dialogs_.SetParentWindow(parent); });
    bool ended = false;
    face.OnProgramEnd([&ended] {
      ended = true;
      QApplication::quit();
    });
    loop_.Guarded([&program] { program.Main(); });
    face.Sync();
    if (!ended && program.SlotOf<Master>().Loaded()) QApplication::exec();
    return 0;
  }

 private:
  QApplication application_;
  QtEventLoop loop_;
  QtDialogs dialogs_;
  QtClipboard clipboard_;
  QtDeviceDialogs device_dialogs_;
};

}  // namespace

std::unique_ptr<DesktopToolkit> DesktopToolkit::Open(int& argc, char** argv) {
  if (!DisplayAvailable()) return nullptr;
  return std::make_unique<QtDesktopToolkit>(argc, argv);
}

}  // namespace zr::gui
