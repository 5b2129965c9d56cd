// The desktop program on a real display server (run under xvfb-run): the operator picks the
// built-in camera in the chooser, sees live video, starts a ten-second run with Rec/Stop, ends it
// with Rec/Stop after two seconds (a mouse press anywhere ends a driver's run), switches to the
// picture server's mode from the File menu, has a picture fetched from it on a port the system picks, and quits.
// The movie must be a playable two-second movie and the picture a JPEG answer; pictures of the
// main window with live video and of the picture server's band are left in the screenshots
// folder.
//
// With --end-on-request the program is asked to end from outside two seconds into the run, as a
// termination signal asks it: the run must end as Stop ends it, with a playable two-second
// movie, and the set-up must be saved.
//
// With --series the operator takes a series instead: multiple image mode, numbered JPEGs, the
// timer trigger at one second. Two stored pictures must show in the series' picture window, the
// series must stop by Rec/Stop, and the pictures must be there from 000001. On the way the
// series band, the picture window, the effects and joystick menus, the Autostart window, the FTP
// settings and the upload window are left in the screenshots folder. The upload goes to a server
// that takes the connection and never answers: the upload window must show while the client
// waits, and its abort button must end the upload.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <iostream>
#include <string>

#include "apps/zandrell/program_parts.h"
#include "capture/video_screen.h"
#include "core/main_menus.h"
#include "gui/desktop_toolkit.h"
#include "main_window/master.h"
#include "net/ftp_image.h"
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
  Operator(zr::ProgramParts& parts, std::string screenshots, zr::gui::DesktopToolkit* end_on_request, bool series)
      : parts_(parts), screenshots_(std::move(screenshots)), end_on_request_(end_on_request), series_(series) {
    clock_.start();
    QObject::connect(&tick_, &QTimer::timeout, [this] { Act(); });
    tick_.start(100);
  }
  ~Operator() {
    if (silent_socket_ >= 0) ::close(silent_socket_);
  }
  Operator(const Operator&) = delete;
  Operator& operator=(const Operator&) = delete;
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
    if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
      Screenshot(menu, popup_shot_);
      menu->close();
      return;
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
      case Step::SeriesRunning:
        WatchSeries();
        break;
      case Step::SeriesWindows:
        ShowSeriesWindows();
        break;
      case Step::FtpWindows:
        ShowFtpWindows();
        break;
      case Step::ServingPictures:
        ServePictures();
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
    if (series_) return StartSeries();
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
      Next(static_cast<int>(Step::ServingPictures));
  }

  // Multiple image mode from the mode bar, numbered JPEGs, the timer trigger at one second.
  void StartSeries() {
    auto& master = parts_.program.Window<zr::Master>();
    auto* multiple = FindButtonOf("MainToolbar", "multiple");
    if (!multiple) return Fail("the window has no mode bar");
    if (parts_.program.state.CaptureType != "multiple") return QTest::mouseClick(multiple, Qt::LeftButton);
    auto* mode = FindWidget<QComboBox>("MultipleImageMode");
    auto* seconds = FindWidget<QSpinBox>("MultipleImageSecondsControl");
    auto* timer = FindButtonOf("TriggerType", "timer");
    auto* record = FindButtonOf("MultipleImageToolbar", "record");
    if (!mode || !timer || !record) return;
    if (master.MultipleImageMode.ListIndex != 2) {
      mode->setCurrentIndex(2);
      emit mode->activated(2);  // as the operator's choice in the list
      return;
    }
    if (!timer->isChecked()) return QTest::mouseClick(timer, Qt::LeftButton);
    if (!seconds) return;  // the fields show after the click
    seconds->setValue(1);
    QTest::mouseClick(record, Qt::LeftButton);
    Next(static_cast<int>(Step::SeriesRunning));
  }

  void WatchSeries() {
    if (parts_.program.state.ImageCount < 2) return;
    auto* picture = FindWidget<QWidget>("MultiImage");
    if (!picture) return;  // it shows when the face catches up with the model
    Screenshot(FindWidget<QWidget>("Master"), "series_band.png");
    Screenshot(picture, "multi_image.png");
    QTest::mouseClick(FindButtonOf("MultipleImageToolbar", "record"), Qt::LeftButton);
    Next(static_cast<int>(Step::SeriesWindows));
  }

  // The menus pop up after this tick and are photographed and closed by the next ones.
  void ShowSeriesWindows() {
    if (parts_.program.Window<zr::Master>().RecordButton().Image.get() != "record") return;
    if (!effects_shown_) {
      effects_shown_ = true;
      popup_shot_ = "effects_menu.png";
      auto* effects = FindButtonOf("MultipleImageToolbar", "effects");
      QTimer::singleShot(0, effects, [effects] { QTest::mouseClick(effects, Qt::LeftButton); });
      return;
    }
    if (!joysticks_shown_) {
      joysticks_shown_ = true;
      popup_shot_ = "joystick_menu.png";
      auto* joystick = qobject_cast<QToolButton*>(FindButtonOf("TriggerType", "joystick"));
      if (!joystick || !joystick->menu()) return Fail("the joystick trigger offers no menu of joysticks");
      QTimer::singleShot(0, joystick, [joystick] { joystick->showMenu(); });
      return;
    }
    auto* autostart = FindWidget<QWidget>("Autostart");
    if (!autostart) {
      QTest::mouseClick(FindButtonOf("MultipleImageToolbar", "autostart"), Qt::LeftButton);
      return;
    }
    auto* tabs = FindWidget<QTabBar>("counttag");
    if (!tabs) return Fail("the Autostart window has no tab strip");
    if (tabs->currentIndex() == 0) {
      Screenshot(autostart, "autostart.png");
      return QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
    }
    if (FindWidget<QSpinBox>("chor")) return Fail("the countdown's fields show on the date and time's tab");
    if (!FindWidget<QSpinBox>("bh")) return;  // the frame shows after the click
    Screenshot(autostart, "autostart_date_time.png");
    if (auto* cancel = FindWidget<QPushButton>("CancelButton")) QTest::mouseClick(cancel, Qt::LeftButton);
    Next(static_cast<int>(Step::FtpWindows));
  }

  // The settings window (the password hidden), then an upload of the first picture to a server
  // that never answers, photographed and aborted. Windows shown modally open after this tick.
  void ShowFtpWindows() {
    auto& program = parts_.program;
    if (!net_config_shot_) {
      auto* settings = FindWidget<QWidget>("NetConfig");
      if (!settings) return ClickLater(FindButtonOf("MultipleImageToolbar", "netset"), net_config_asked_);
      auto* password = FindWidget<QLineEdit>("frmFTP_Password");
      if (!password || password->echoMode() != QLineEdit::Password) return Fail("the FTP password shows as typed");
      net_config_shot_ = Screenshot(settings, "net_config.png");
      if (auto* cancel = FindWidget<QPushButton>("Cancel")) QTest::mouseClick(cancel, Qt::LeftButton);
      return;
    }
    if (FindWidget<QWidget>("NetConfig")) return;
    if (!silent_server_) {
      silent_server_ = ListenWithoutAnswering();
      if (!silent_server_) return Fail("no port below 32768 to listen on");
      program.state.FtpHost = "127.0.0.1";
      program.state.FtpPort = static_cast<std::int16_t>(silent_server_);
      const std::string picture = program.ProgramFolder + "capture000001.jpg";
      QTimer::singleShot(0, [&program, picture] { program.Window<zr::Master>().SendToFtp(picture, picture); });
      return;
    }
    auto* upload = FindWidget<QWidget>("FTPImage");
    if (!upload_shot_) {
      if (!upload) return;
      upload_shot_ = Screenshot(upload, "ftp_upload.png");
      if (!FindWidget<QWidget>("ProgressBar")) return Fail("the upload window has no progress bar");
      if (auto* abort = FindWidget<QPushButton>("Command1")) QTest::mouseClick(abort, Qt::LeftButton);
      return;
    }
    if (program.SlotOf<zr::FTPImage>().Loaded() || program.Window<zr::Master>().StatusString.Caption.get() != "")
      return;
    Next(static_cast<int>(Step::Quit));
  }

  // Clicks after this tick, once.
  static void ClickLater(QAbstractButton* button, bool& clicked) {
    if (!button || clicked) return;
    clicked = true;
    QTimer::singleShot(0, button, [button] { QTest::mouseClick(button, Qt::LeftButton); });
  }

  // A port on 127.0.0.1 below 32768 that takes connections and never says a word; 0 for none.
  int ListenWithoutAnswering() {
    for (int port = 29000; port < 29100; ++port) {
      silent_socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      address.sin_port = htons(static_cast<std::uint16_t>(port));
      if (::bind(silent_socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
          ::listen(silent_socket_, 4) == 0)
        return port;
      ::close(silent_socket_);
      silent_socket_ = -1;
    }
    return 0;
  }

  // The picture server's band: its mode from the File menu, a port typed into the box (0: one the system
  // picks), and a picture asked for by a browser on a thread of its own while the loop serves it.
  void ServePictures() {
    if (parts_.program.state.CaptureType != "webshare") return ChooseFromFileMenu(zr::file_menu::kWebcamBroadcast);
    auto* port = FindWidget<QLineEdit>("WebShare_Port");
    if (!port) return;  // the band shows when the face catches up with the model
    if (!picture_.valid()) {
      port->clear();
      QTest::keyClicks(port, "0");
      if (!parts_.picture_server.Listening()) return Fail("the picture server does not listen on a port of its own");
      picture_ = std::async(std::launch::async, FetchPicture, parts_.picture_server.LocalPort());
      return;
    }
    if (picture_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
    if (answer_.empty()) answer_ = picture_.get();
    if (!answer_.starts_with("HTTP/1.1 200 OK\r\nContent-Type: image/jpeg\r\n"))
      return Fail("the picture server answered \"" + answer_.substr(0, 80) + "\"");
    // The band shows the address with the port and the status of the last picture served.
    auto* address = FindWidget<QLabel>("WebShare_Url");
    const QString port_text = ":" + QString::number(parts_.picture_server.LocalPort());
    bool status_shown = false;
    for (auto* label : FindWidget<QWidget>("Master")->findChildren<QLabel*>("Labels"))
      status_shown = status_shown || (label->isVisible() && label->text() == "Streaming");
    if (!address || !address->text().endsWith(port_text) || !status_shown) return;
    Screenshot(FindWidget<QWidget>("Master"), "webshare_band.png");
    Next(static_cast<int>(Step::Quit));
  }

  static std::string FetchPicture(int port) {
    const int client = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    std::string answer;
    if (::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
      const std::string request = "GET /live?1 HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
      if (::send(client, request.data(), request.size(), 0) == static_cast<ssize_t>(request.size())) {
        char piece[65536];
        for (ssize_t got; (got = ::recv(client, piece, sizeof piece, 0)) > 0;)
          answer.append(piece, static_cast<std::size_t>(got));
      }
    }
    ::close(client);
    return answer;
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

  // The entry of the menu bar's File menu, as the operator picks it.
  void ChooseFromFileMenu(int index) {
    auto* menu_bar = FindWidget<QWidget>("Master")->findChild<QMenuBar*>();
    const QString caption = QString::fromStdString(parts_.program.Window<zr::Master>().FileMenu(index).Caption);
    for (QAction* menu : menu_bar->actions())
      for (QAction* entry : menu->menu()->actions())
        if (entry->text() == caption) entry->trigger();
  }

  static QAbstractButton* FindButtonOf(const char* bar_name, const char* key) {
    auto* bar = FindWidget<QToolBar>(bar_name);
    return bar ? bar->findChild<QToolButton*>(key) : nullptr;
  }

  enum class Step {
    PickCamera,
    WaitForLiveVideo,
    Recording,
    Quit,
    EndingOnRequest,
    SeriesRunning,
    SeriesWindows,
    FtpWindows,
    ServingPictures
  };
  zr::ProgramParts& parts_;
  std::future<std::string> picture_;
  std::string answer_;
  std::string screenshots_;
  zr::gui::DesktopToolkit* end_on_request_;  // asked to end the program once, then null
  const bool series_;
  const char* popup_shot_ = "popup.png";
  bool effects_shown_ = false;
  bool joysticks_shown_ = false;
  bool net_config_asked_ = false;
  bool net_config_shot_ = false;
  int silent_server_ = 0;  // the port of the server that never answers
  int silent_socket_ = -1;
  bool upload_shot_ = false;
  QElapsedTimer clock_;
  QTimer tick_;
  Step step_ = Step::PickCamera;
  std::int64_t step_started_ = 0;
  bool shot_ = false;
  bool stop_pressed_ = false;
  bool closing_ = false;
  bool splash_shot_ = false;
};

// The series stored numbered JPEGs from 000001 beside the capture file's name.
int CheckSeries(const std::filesystem::path& folder) {
  for (const char* name : {"capture000001.jpg", "capture000002.jpg"})
    if (!std::filesystem::is_regular_file(folder / name)) {
      std::cerr << "FAIL: the series did not store " << name << "\n";
      return 1;
    }
  std::filesystem::remove_all(folder);
  std::cout << "PASS\n";
  return 0;
}

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
      toolkit->Loop(), toolkit->Descriptors(), [] {}, toolkit->Dialogs(), toolkit->Clipboard(),
      &toolkit->DeviceDialogs(), toolkit->Screen(),
      zr::ProgramStart{folder.string() + "/", "", folder.string() + "/", zr::Language::English},
      zr::platform::linux_impl::ProbeVideoDevices(), zr::platform::linux_impl::ProbeAudioDevices());
  const std::string mode = argc > 1 ? argv[1] : "";
  const bool end_on_request = mode == "--end-on-request";
  Operator operator_(parts, ZR_SCREENSHOT_DIR, end_on_request ? toolkit.get() : nullptr, mode == "--series");
  toolkit->Run(parts.program, parts.LiveVideo());
  if (!operator_.failure.empty()) {
    std::cerr << "FAIL: " << operator_.failure << "\n";
    return 1;
  }
  if (mode == "--series") return CheckSeries(folder);
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
