// The desktop program under xvfb-run, driven as an operator would. Plain: a two-second movie
// with Rec/Stop, then a JPEG from the picture server on a port the system picks. --end-on-request:
// a termination request ends the run as Stop does and saves the set-up. --series: numbered JPEGs
// on the timer from the mode bar, and an upload to a silent server that the abort button ends.
// --capture-windows: the compressor tree, the advanced settings, the compressor choice and the
// other information, the subtitle editor, the histogram of a snapshot, the field of view
// calculator, the full-screen view, the serial switch, the sound level detector (its scope
// running on the first sound input), the about window and the system information window, each
// opened as the operator opens it and closed again; then the child windows tiled.
// Each window on the way is photographed into the screenshots folder.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSpinBox>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iostream>
#include <set>
#include <string>
#include <utility>

#include "apps/zandrell/program_parts.h"
#include "capture/codec_windows.h"
#include "capture/export_dv.h"
#include "capture/video_screen.h"
#include "core/main_menus.h"
#include "core/system_information.h"
#include "gui/desktop_toolkit.h"
#include "gui/qt_event_loop.h"
#include "image/bmp.h"
#include "image/windows/image_window.h"
#include "main_window/master.h"
#include "movie/movie_viewer.h"
#include "movie/subtitle_editor.h"
#include "net/ftp_image.h"
#include "platform/linux/backend_registry.h"
#include "tests/gui/desktop_program.h"
#include "tests/gui/desktop_widgets.h"
#include "tests/support/movie_probe.h"

namespace {

constexpr std::int64_t kStepTimeoutMs = 20000;  // gives up on a step that does not come
constexpr int kRecordSeconds = 2;
constexpr int kFaceRefreshMs = 40;  // how often the face catches up with the model
constexpr int kBuiltFrames = 150;

using zr::testing::Click;
using zr::testing::FindButtonOf;
using zr::testing::FindWidget;
using zr::testing::Later;

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

// The operator: each tick does the next thing the screen allows.
class Operator {
 public:
  Operator(zr::ProgramParts& parts, std::string screenshots, zr::gui::DesktopToolkit* end_on_request, bool series,
           bool capture_windows = false)
      : parts_(parts),
        screenshots_(std::move(screenshots)),
        end_on_request_(end_on_request),
        series_(series),
        capture_windows_(capture_windows) {
    std::filesystem::create_directories(screenshots_);
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
  using Step = void (Operator::*)();

  void Fail(const std::string& why) {
    if (failure.empty()) failure = why;
    step_ = &Operator::Quit;
  }

  void Act() {
    auto& state = parts_.program.state;
    if (step_ != &Operator::Quit && Elapsed() > kStepTimeoutMs)
      Fail("step " + std::to_string(steps_) + " did not end; the status reads \"" +
           (parts_.program.SlotOf<zr::Master>().Loaded() ? MainWindow().StatusString.Caption.get() : "no main window") +
           "\", the device says \"" + parts_.devices.SourceMessage() + "\", last result " +
           std::to_string(state.LastResult) + ", capturing " + std::to_string(state.CapStatus.fCapturingNow) +
           ", file \"" + state.CaptureFilename + "\"");
    if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
      Screenshot(menu, menus_ ? kMenus[menus_ - 1] : "popup.png");
      menu->close();
      return;
    }
    if (auto* files = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
      Screenshot(files, "save_movie.png");
      // Typed over the proposed name, which is the recorded movie's.
      if (auto* name = files->findChild<QLineEdit*>("fileNameEdit"))
        name->setText(QString::fromStdString(parts_.program.HomeFolder + "built.avi"));
      return static_cast<QDialog*>(files)->accept();
    }
    if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        dialog && dialog->windowTitle() == "Video Compression") {
      Screenshot(dialog, "compression_options.png");
      return dialog->accept();
    }
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      if (step_ != &Operator::Quit) Fail("a message box came up: " + box->text().toStdString());
      if (auto* yes = box->button(QMessageBox::Yes)) return yes->click();
      return box->accept();
    }
    if (step_) (this->*step_)();
  }

  void Next(Step step) {
    step_ = step;
    step_started_ = clock_.elapsed();
    ++steps_;
  }
  std::int64_t Elapsed() const { return clock_.elapsed() - step_started_; }
  zr::Master& MainWindow() { return parts_.program.Window<zr::Master>(); }

  void PickCamera() {
    if (!Done("splash.png")) Screenshot(FindWidget("Splash"), "splash.png");
    auto* devices = FindWidget<QListWidget>("devices");
    auto* start = FindWidget<QPushButton>("start");
    if (!devices || !start) return;
    const auto found = devices->findItems(zr::testing::kBuiltInCamera, Qt::MatchExactly);
    if (found.isEmpty()) return Fail("the chooser does not list the built-in camera");
    Screenshot(devices->window(), "choose_device.png");
    // A first start: the machine's camera stands selected, or the first entry with a line that
    // says no camera was found.
    const auto machine = zr::platform::linux_impl::ProbeVideoDevices();
    const bool camera =
        std::any_of(machine.begin(), machine.end(), [](const auto& device) { return !device.built_in; });
    auto* no_camera = FindWidget<QLabel>("NoCamera");
    if ((no_camera != nullptr) == camera || (!camera && devices->currentRow() != 0))
      return Fail("the chooser does not tell whether a camera was found");
    zr::testing::ClickEntry(devices, found.front());
    Click(start);
    Next(&Operator::WaitForLiveVideo);
  }

  void WaitForLiveVideo() {
    if (!parts_.devices.LatestPicture()) return;
    if (series_) return StartSeries();
    if (capture_windows_) return Next(&Operator::ScaleCaptureWindow);
    auto* seconds = FindWidget<QSpinBox>("MovieSecondsControl");
    auto* minutes = FindWidget<QSpinBox>("MovieMinutesControl");
    auto* unlimited = FindWidget<QCheckBox>("MovieDisableLimit");
    auto* record = FindButtonOf("OperationBar", "record");
    if (!seconds || !minutes || !record) return;
    if (unlimited && unlimited->isChecked()) Click(unlimited);
    minutes->setValue(0);
    seconds->setValue(kRecordSeconds * 5);
    Click(record);
    Next(&Operator::WatchRecording);
  }

  void WatchRecording() {
    const bool run_done = Elapsed() > kRecordSeconds * 1000;
    if (end_on_request_ && run_done) {
      end_on_request_->EndProgram();
      return Next(nullptr);
    }
    if (!Done("main_window.png") && Elapsed() > 1000) Screenshot(FindWidget("Master"), "main_window.png");
    if (run_done && Once("stop")) Click(FindButtonOf("OperationBar", "record"));
    // The run must have ended before the quit, which would end it anyway.
    if (Done("stop") && MainWindow().RecordButton().Image.get() == "record" &&
        MainWindow().StatusString.Caption.get() == "Stopped")
      Next(&Operator::ShowMovie);
  }

  // The movie just recorded, in a movie window of its own, playing from its first frame,
  // photographed a second later and closed again.
  void ShowMovie() {
    auto& program = parts_.program;
    if (Done("movie_viewer.png") && program.SlotOf<zr::MovieViewer>().ExtraInstanceCount() == 0)
      return Next(&Operator::ShowPictureEffects);
    QWidget* window = FindWidget("MovieViewer");
    if (!window) {
      if (Once("open movie"))
        Later(FindWidget("Master"),
              [&program] { zr::OpenMovieInNewViewer(program, program.state.CaptureFilename).Player().PlayMovie(); });
      return;
    }
    if (Elapsed() < 1000) return;  // the face lays itself out and the timer shows the frame
    if (Once("movie_viewer.png")) {
      Screenshot(window, "movie_viewer.png");
      if (program.SlotOf<zr::MovieViewer>().ExtraInstanceCount() != 1) return Fail("the movie window did not open");
      ShowWorkUnderWay(true);
      return;
    }
    // The face of a recompression under way, as the movie tools set the window: disabled, the
    // share done in the progress bar with its cancel beside it.
    if (Elapsed() < 1500) return;
    if (Once("movie_work.png")) {
      Screenshot(window, "movie_work.png");
      if (!FindWidget("WorkCancel") || !FindWidget("WorkCancel")->isEnabled())
        return Fail("the cancel of the movie tools is not there to click");
      ShowWorkUnderWay(false);
      Later(window, [this, &program] { CloseMovieAndYield(program); });
    }
  }

  void ShowWorkUnderWay(bool under_way) {
    auto& viewer = dynamic_cast<zr::MovieViewer&>(*parts_.program.SlotOf<zr::MovieViewer>().ExtraInstance(1));
    viewer.WorkProgress.Max = 100;
    viewer.WorkProgress.Value = 40;
    viewer.WorkProgress.Visible = under_way;
    viewer.WorkCancel.Visible = under_way;
    viewer.Enabled = !under_way;
  }

  // The movie window closed by a handler that then yields past the face's refresh, as a handler
  // that unloads a window and goes on may: the window must live until the handler ends.
  void CloseMovieAndYield(zr::Program& program) {
    auto& loop = dynamic_cast<zr::gui::QtEventLoop&>(program.services.loop);
    loop.Guarded([&] {
      auto& slot = program.SlotOf<zr::MovieViewer>();
      zr::ui::Window& viewer = *slot.ExtraInstance(1);
      slot.UnloadExtra(viewer, zr::ui::UnloadMode::FromCode);
      QElapsedTimer yielding;
      yielding.start();
      while (yielding.elapsed() < 3 * kFaceRefreshMs) program.Yield();
      if (viewer.Name() != "MovieViewer") Fail("a window unloaded by a handler was destroyed under it");
    });
  }

  // Multiple image mode from the mode bar, numbered JPEGs, the timer trigger at one second.
  void StartSeries() {
    auto* multiple = FindButtonOf("MainToolbar", "multiple");
    if (!multiple) return;  // the bar shows when the face catches up with the live picture
    if (parts_.program.state.CaptureType != "multiple") return Click(multiple);
    auto* mode = FindWidget<QComboBox>("MultipleImageMode");
    auto* seconds = FindWidget<QSpinBox>("MultipleImageSecondsControl");
    auto* timer = FindButtonOf("TriggerType", "timer");
    auto* record = FindButtonOf("MultipleImageToolbar", "record");
    if (!mode || !timer || !record) return;
    if (MainWindow().MultipleImageMode.ListIndex != 2) {
      mode->setCurrentIndex(2);
      emit mode->activated(2);  // as the operator's choice in the list
      return;
    }
    if (!timer->isChecked()) return Click(timer);
    if (!seconds) return;  // the fields show after the click
    seconds->setValue(1);
    Click(record);
    Next(&Operator::WatchSeries);
  }

  void WatchSeries() {
    auto* picture = FindWidget("MultiImage");
    // The window shows when the face catches up with the model. The stop waits for the second
    // picture to be stored: a stop while a shot yields counts the series from nothing again.
    const auto second = std::filesystem::path(parts_.program.state.CaptureFilename).parent_path() / "capture000002.jpg";
    if (!std::filesystem::is_regular_file(second) || !picture) return;
    Screenshot(FindWidget("Master"), "series_band.png");
    Screenshot(picture, "multi_image.png");
    Click(FindButtonOf("MultipleImageToolbar", "record"));
    Next(&Operator::ShowSeriesWindows);
  }

  // The effects and joystick menus, then both tabs of the Autostart window.
  void ShowSeriesWindows() {
    if (MainWindow().RecordButton().Image.get() != "record") return;
    if (menus_ == 0) {
      ++menus_;
      auto* effects = FindButtonOf("MultipleImageToolbar", "effects");
      return Later(effects, [effects] { Click(effects); });
    }
    if (menus_ == 1) {
      ++menus_;
      auto* joystick = FindButtonOf("TriggerType", "joystick");
      if (!joystick || !joystick->menu()) return Fail("the joystick trigger offers no menu of joysticks");
      return Later(joystick, [joystick] { joystick->showMenu(); });
    }
    auto* autostart = FindWidget("Autostart");
    if (!autostart) return Click(FindButtonOf("MultipleImageToolbar", "autostart"));
    auto* tabs = FindWidget<QTabBar>("counttag");
    if (!tabs) return Fail("the Autostart window has no tab strip");
    if (tabs->currentIndex() == 0) {
      Screenshot(autostart, "autostart.png");
      return QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
    }
    if (FindWidget("chor")) return Fail("the countdown's fields show on the date and time's tab");
    if (!FindWidget("bh")) return;  // the frame shows after the click
    Screenshot(autostart, "autostart_date_time.png");
    Click(FindWidget("CancelButton"));
    Next(&Operator::ShowFtpWindows);
  }

  // The settings window (the password hidden), then an upload of the first picture to a server
  // that never answers, photographed and aborted.
  void ShowFtpWindows() {
    auto& program = parts_.program;
    auto* settings = FindWidget("NetConfig");
    if (!Done("net_config.png")) {
      auto* netset = FindButtonOf("MultipleImageToolbar", "netset");
      if (!settings && Once("netset")) Later(netset, [netset] { Click(netset); });
      if (!settings) return;
      auto* password = FindWidget<QLineEdit>("frmFTP_Password");
      if (!password || password->echoMode() != QLineEdit::Password) return Fail("the FTP password shows as typed");
      Screenshot(settings, "net_config.png");
      return Click(FindWidget("Cancel"));
    }
    if (settings) return;
    if (silent_socket_ < 0) {
      const int port = ListenWithoutAnswering();
      if (!port) return Fail("no port below 32768 to listen on");
      program.state.FtpHost = "127.0.0.1";
      program.state.FtpPort = static_cast<std::int16_t>(port);
      const std::string picture = program.ProgramFolder + "capture000001.jpg";
      return QTimer::singleShot(0, [this, picture] { MainWindow().SendToFtp(picture, picture); });
    }
    if (!Done("ftp_upload.png")) {
      auto* upload = FindWidget("FTPImage");
      if (!upload) return;
      Screenshot(upload, "ftp_upload.png");
      if (!FindWidget("ProgressBar")) return Fail("the upload window has no progress bar");
      return Click(FindWidget("Command1"));
    }
    if (!program.SlotOf<zr::FTPImage>().Loaded() && MainWindow().StatusString.Caption.get() == "")
      Next(&Operator::Quit);
  }

  // Each window from its menu entry (the compressor choice as the capture window opens it for a
  // device of the control kind), photographed with what it shows, then closed by its own
  // button or the close box.
  // The capture window at half and twice the picture's size, then back at its size: its frame
  // fits the scaled picture exactly. The built-in camera is a driver, whose status bar with the
  // size panels is hidden, so the panels are pressed in the model.
  void ScaleCaptureWindow() {
    const char* const scales[][2] = {
        {"size_0_50", "capture_window_0_50.png"}, {"size_2_00", "capture_window_2_00.png"}, {"size_1_00", nullptr}};
    auto& screen = parts_.program.Window<zr::VideoScreen>();
    if (scaled_ == std::size(scales)) return RightClickPicture();
    const auto& [panel, picture] = scales[scaled_];
    if (Once(panel)) {
      auto& loop = dynamic_cast<zr::gui::QtEventLoop&>(parts_.program.services.loop);
      return loop.Guarded([&screen, panel] { screen.StatusBar.ClickPanel(screen.StatusBar.Panels(panel)); });
    }
    QWidget* window = FindWidget("VideoScreen");
    if (!window || Elapsed() < 1000) return;  // the face catches up and shows a frame or two
    if (window->size() != QSize(screen.PictureWidth(), screen.PictureHeight()))
      return Fail(std::string("the capture window at ") + panel + " is not the size of its picture");
    if (picture) Screenshot(window->parentWidget(), picture);
    ++scaled_;
    Next(&Operator::ScaleCaptureWindow);
  }

  // The right button on a driver's picture pops the View menu up, photographed and closed.
  void RightClickPicture() {
    if (Done("popup.png")) return Next(&Operator::ShowCamcorder);
    if (Once("right click"))
      Later(FindWidget("VideoScreen"), [] { QTest::mouseClick(FindWidget("VideoScreen"), Qt::RightButton); });
  }

  // The built-in camcorder: its transport bar over the picture, played for a second, shows the
  // tape's position and shooting date under it; then the camera is connected again.
  void ShowCamcorder() {
    auto& screen = parts_.program.Window<zr::VideoScreen>();
    auto& loop = dynamic_cast<zr::gui::QtEventLoop&>(parts_.program.services.loop);
    if (Once("camcorder")) {
      camera_ = {screen.DeviceIndex(), screen.Tag.get(), screen.DeviceName()};
      step_started_ = clock_.elapsed();
      const int camcorder = ControlKindIndexOf("Built-in DV Camcorder");
      if (camcorder < 0) return Fail("the device menu has no camcorder");
      return loop.Guarded(
          [&screen, camcorder] { screen.ConnectVideoCaptureDevice(camcorder, "wdm", "Built-in DV Camcorder"); });
    }
    if (Elapsed() < 300) return;
    if (Once("play")) return Click(FindButtonOf("Mastertoolbar", "play"));
    if (Elapsed() < 1500) return;
    if (screen.DVpos.Text.get().empty()) return Fail("the camcorder's tape does not move");
    Screenshot(FindWidget("VideoScreen")->parentWidget(), "capture_window_camcorder.png");
    Next(&Operator::ShowControlKind);
  }

  // The test camera as a device of the control kind, at its size and at half of it: its status
  // bar with the size panels lies under the picture, never under the video; then the camera is
  // connected again.
  void ShowControlKind() {
    auto& screen = parts_.program.Window<zr::VideoScreen>();
    auto& loop = dynamic_cast<zr::gui::QtEventLoop&>(parts_.program.services.loop);
    if (Once("control kind")) {
      const int camera = ControlKindIndexOf("Built-in Test Camera");
      if (camera < 0) return Fail("the device menu has no test camera of the control kind");
      return loop.Guarded(
          [&screen, camera] { screen.ConnectVideoCaptureDevice(camera, "wdm", "Built-in Test Camera"); });
    }
    if (Elapsed() < 1000) return;
    QWidget* window = FindWidget("VideoScreen");
    auto* status = window ? window->findChild<QWidget*>("StatusBar") : nullptr;
    const bool halved = Done("capture_window_control.png");
    Screenshot(window ? window->parentWidget() : nullptr,
               halved ? "capture_window_control_0_50.png" : "capture_window_control.png");
    if (!status || !status->isVisible() || !window->rect().contains(status->geometry()) ||
        window->height() != screen.PictureHeight() + status->height())
      return Fail("the capture window's status bar does not lie whole under its picture");
    if (!halved) {
      step_started_ = clock_.elapsed();
      return loop.Guarded([&screen] { screen.StatusBar.ClickPanel(screen.StatusBar.Panels("size_0_50")); });
    }
    loop.Guarded([&screen] { screen.StatusBar.ClickPanel(screen.StatusBar.Panels("size_1_00")); });
    loop.Guarded([this, &screen] { screen.ConnectVideoCaptureDevice(camera_.index, camera_.kind, camera_.name); });
    Next(&Operator::ShowCaptureWindows);
  }

  // The place of a device of the control kind in the device menu, -1 when it is not listed.
  int ControlKindIndexOf(const std::string& name) {
    auto& device = MainWindow().DeviceToolbar.Button("device");
    for (int index = 0; index < 10; ++index)
      if (const auto* entry = device.FindMenu("w" + std::to_string(index)); entry && entry->Text.get() == name)
        return index;
    return -1;
  }

  void ShowCaptureWindows() {
    using namespace zr;
    struct Shown {
      const char* window;
      std::function<void()> open;
      const char* close;  // the button that closes it; none: the close box
    };
    auto& program = parts_.program;
    const Shown windows[] = {
        {"codecs", [this] { ChooseFromMenus(MainWindow().VideoMenu(video_menu::kVideoCodecs)); }, nullptr},
        {"VideoSettings", [this] { ChooseFromMenus(MainWindow().VideoMenu(video_menu::kAdvancedSettings)); },
         "Command1"},
        {"VideoCODEC", [&program] { program.SlotOf<VideoCodec>().ShowModal(program.services.loop); }, nullptr},
        {"OtherInfo", [this] { ChooseFromMenus(MainWindow().EditMenu(edit_menu::kOtherInformation)); }, nullptr},
        {"frmMovieSRT", [&program] { OpenSubtitleEditor(program); }, nullptr},
        {"RS232", [this] { Click(FindButtonOf("OperationBar", "rs232")); }, nullptr},
        {"Histogram", [this] { OpenHistogramOfASnapshot(); }, nullptr},
        {"FOV", [this] { Click(FindButtonOf("DeviceToolbar", "lens")); }, nullptr},
        {"Fullscreen", [this] { ChooseFromMenus(MainWindow().ViewMenu(view_menu::kFullScreen)); }, nullptr},
        {"AudioDetector", [this] { Click(FindButtonOf("OperationBar", "sound")); }, nullptr},
        {"AboutWindow", [this] { ChooseFromMenus(MainWindow().HelpMenu(help_menu::kAbout)); }, "OK"},
        {"SystemInformation", [&program] { program.Window<SystemInformation>().Show(); }, "OK"},
        {"ExportDV", [&program] { program.Window<ExportDV>().Show(); }, "ExitButton"},
    };
    if (shown_windows_ == std::size(windows)) return Next(&Operator::TileChildWindows);
    const Shown& next = windows[shown_windows_];
    QWidget* window = FindWidget(next.window);
    if (!window) {
      if (Once(next.window)) Later(FindWidget("Master"), next.open);
      return;
    }
    const std::string picture = std::string(next.window) + ".png";
    if (Done(picture.c_str())) return;  // closing
    // The face lays itself out and the window's timers run once before the photograph.
    if (Once((picture + " shown").c_str())) step_started_ = clock_.elapsed();
    if (Elapsed() < 500) return;
    Screenshot(window, picture.c_str());
    if (next.close)
      Click(FindWidget(next.close));
    else
      window->close();
    ++shown_windows_;
    Next(&Operator::ShowCaptureWindows);
  }

  // "Tile Vertically" from the Window menu: every child window then lies inside the child area,
  // or the area scrolls to it, and the main window stays inside the screen.
  void TileChildWindows() {
    auto* area = FindWidget<QMdiArea>("ChildArea");
    if (!area) return Fail("the main window has no child area");
    if (Once("tile"))
      return Later(area, [this] { ChooseFromMenus(MainWindow().WindowMenu(zr::window_menu::kTileVertically)); });
    if (Elapsed() < 300) return;
    // A child that needs more room than its tile keeps it, and the area scrolls to it.
    const bool scrolls = area->horizontalScrollBar()->isVisible() || area->verticalScrollBar()->isVisible();
    for (QMdiSubWindow* child : area->subWindowList())
      if (child->isVisible() && !area->viewport()->rect().contains(child->geometry()) && !scrolls)
        return Fail("a tiled child window reaches outside the child area, which does not scroll");
    if (!QGuiApplication::primaryScreen()->availableGeometry().contains(FindWidget("Master")->frameGeometry()))
      return Fail("the tiled windows made the main window grow past the screen");
    Screenshot(FindWidget("Master"), "main_window_tiled.png");
    Next(&Operator::Quit);
  }

  // The subtitle editor on a movie (made by ffmpeg) with subtitles beside it, its first row chosen.
  static void OpenSubtitleEditor(zr::Program& program) {
    const auto folder = std::filesystem::temp_directory_path() / "zr_smoke_subtitles";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "clip.srt", std::ios::binary)
        << "1\r\n00:00:01,000 --> 00:00:03,500\r\nThe first subtitle\r\nover two lines\r\n\r\n"
           "2\r\n00:00:04,000 --> 00:00:06,000\r\n<i>In italics</i>\r\n\r\n"
           "3\r\n00:00:06,500 --> 00:00:09,000\r\nCaf\xC3\xA9 at the end\r\n";
    const std::string movie = (folder / "clip.avi").string();
    zr::testing::RunCommand(
        "ffmpeg -loglevel error -f lavfi -i testsrc=size=320x240:rate=10:duration=10 -c:v mjpeg -y " + movie);
    auto& editor = program.Window<zr::SubtitleEditor>();
    editor.OpenMovie(movie);
    editor.Show();
    editor.SRT.ClickEntry(0);
  }

  // A port on 127.0.0.1 below 32768 that takes connections and never says a word; 0 for none.
  int ListenWithoutAnswering() {
    for (int port = 29000; port < 29100; ++port) {
      silent_socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
      const sockaddr_in address = Loopback(port);
      if (::bind(silent_socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
          ::listen(silent_socket_, 4) == 0)
        return port;
      ::close(silent_socket_);
      silent_socket_ = -1;
    }
    return 0;
  }

  // The picture server's band: its mode from the File menu, a port typed into the box (0: one the
  // system picks), and a picture asked for by a browser on a thread of its own while the loop
  // serves it.
  // A snapshot in a picture window of its own, embossed from the effects menu of its tool bar and
  // photographed, then mirrored left to right on top of that and photographed again.
  void ShowPictureEffects() {
    if (Done("image_emboss_flip.png") && parts_.program.SlotOf<zr::Image>().ExtraInstanceCount() == 0)
      return Next(&Operator::ServePictures);
    QWidget* window = FindWidget("Image");
    if (!window) {
      if (Once("snapshot")) Click(FindButtonOf("DeviceToolbar", "snapshot"));
      return;
    }
    const struct {
      const char* entry;
      const char* picture;
    } effects[] = {{"Emboss", "image_emboss.png"}, {"Flip", "image_emboss_flip.png"}};
    for (const auto& effect : effects) {
      if (Done(effect.picture)) continue;
      if (Once(effect.entry)) {
        step_started_ = clock_.elapsed();
        return ChooseEffect(window, effect.entry);
      }
      if (Elapsed() < 500) return;
      Screenshot(window, effect.picture);
      return;
    }
    if (Once("close image")) Later(window, [window] { window->close(); });
  }

  // The entry of the picture window's effects menu, as the operator picks it.
  static void ChooseEffect(QWidget* window, const char* caption) {
    auto* effects = window->findChild<QToolButton*>("effects");
    if (!effects || !effects->menu()) return;
    for (QAction* action : effects->menu()->actions())
      if (action->text() == caption) action->trigger();
  }

  void ServePictures() {
    if (parts_.program.state.CaptureType != "webshare") return ChooseFromFileMenu(zr::file_menu::kWebcamBroadcast);
    auto* port = FindWidget<QLineEdit>("WebShare_Port");
    if (!port) return;  // the band shows when the face catches up with the model
    const int server_port = parts_.picture_server.LocalPort();
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
    auto* master = FindWidget("Master");
    auto* address = FindWidget<QLabel>("WebShare_Url");
    const auto labels = master->findChildren<QLabel*>("Labels");
    const bool streaming =
        std::ranges::any_of(labels, [](QLabel* l) { return l->isVisible() && l->text() == "Streaming"; });
    if (!address || !address->text().endsWith(":" + QString::number(server_port)) || !streaming) return;
    Screenshot(master, "webshare_band.png");
    Next(&Operator::BuildMovie);
  }

  // The AVI builder's band: bitmap files in the list (added as the add button's dialog would
  // add them), a build through the save and compression dialogs, its progress, and the preview of
  // the last frame with the finished caption.
  void BuildMovie() {
    auto& master = MainWindow();
    if (parts_.program.state.CaptureType != "avibuilder") return ChooseFromFileMenu(zr::file_menu::kAviBuilder);
    if (master.lstDIBList.ListCount() == 0) {
      std::vector<std::string> files;
      for (int index = 0; index < kBuiltFrames; ++index) {
        auto picture = zr::platform::Picture::Blank(320, 240);
        for (std::size_t at = 0; at < picture.bottom_up_bgr.size(); ++at)
          picture.bottom_up_bgr[at] = static_cast<std::uint8_t>(at / 960 + static_cast<std::size_t>(index) * 2);
        files.push_back(parts_.program.HomeFolder + "frame" + std::to_string(index) + ".bmp");
        if (!zr::WriteBmpFile(picture, files.back())) return Fail("cannot write the builder's bitmap files");
      }
      master.AddFiles(files);
      return;
    }
    auto* master_window = FindWidget("Master");
    if (master.AVIBuildProgress.Visible) Screenshot(master_window, "avi_builder_progress.png");
    if (Once("build")) return Later(master_window, [] { Click(FindWidget<QPushButton>("BuildAVI")); });
    const zr::ui::Window* preview = parts_.program.Slot("MultiImage").LoadedWindow();
    if (!preview || preview->Caption.get() != "Finished. (" + std::to_string(kBuiltFrames) + " frames)") return;
    Screenshot(master_window, "avi_builder_band.png");
    Screenshot(FindWidget("MultiImage"), "avi_builder_preview.png");
    const auto video = zr::testing::ProbeStream(parts_.program.HomeFolder + "built.avi", 'v', "nb_read_frames");
    if (video.count("nb_read_frames") == 0 || video.at("nb_read_frames") != std::to_string(kBuiltFrames))
      return Fail("the built movie does not hold a frame a file");
    Next(&Operator::WatchTelevision);
  }

  // The built-in test tuner on the control kind: its band shows, and a station is tuned.
  void WatchTelevision() {
    auto& master = MainWindow();
    if (Once("tuner")) {
      auto& device = master.DeviceToolbar.Button("device");
      zr::ui::ButtonMenu* tuner = device.FindMenu("w1");
      if (!tuner || tuner->Text.get() != "Built-in Test Tuner") return Fail("the device menu has no test tuner");
      return master.DeviceToolbar.ClickButtonMenu(device, *tuner);
    }
    if (!master.MasterBar.Bands("tuner").Visible) return Fail("the test tuner shows no tuner band");
    if (Once("station")) {
      master.TunerSlider.Value = 7;
      return;
    }
    auto* slider = FindWidget("TunerSlider");
    if (!slider || !slider->isVisible() || Elapsed() < 1000) return;
    Screenshot(FindWidget("Master"), "tuner_band.png");
    Next(&Operator::Quit);
  }

  static std::string FetchPicture(int port) {
    const int client = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = Loopback(port);
    const std::string request = "GET /live?1 HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    std::string answer;
    if (::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::send(client, request.data(), request.size(), 0) == static_cast<ssize_t>(request.size())) {
      char piece[65536];
      for (ssize_t got; (got = ::recv(client, piece, sizeof piece, 0)) > 0;)
        answer.append(piece, static_cast<std::size_t>(got));
    }
    ::close(client);
    return answer;
  }

  // The close runs after this tick, so that the next ticks can answer the question it asks.
  // A snapshot, activated as the operator clicks it, and the histogram that follows it.
  void OpenHistogramOfASnapshot() {
    Click(FindButtonOf("DeviceToolbar", "snapshot"));
    Later(FindWidget("Master"), [this] {
      if (QWidget* picture = FindWidget("Image"))
        if (auto* frame = qobject_cast<QMdiSubWindow*>(picture->parentWidget()))
          frame->mdiArea()->setActiveSubWindow(frame);
      Click(FindButtonOf("DeviceToolbar", "histogram"));
    });
  }

  void Quit() {
    auto* main = FindWidget("Master");
    if (main && Once("close")) Later(main, [main] { main->close(); });
  }

  void Screenshot(QWidget* window, const char* name) {
    if (window && window->grab().save(QString::fromStdString(screenshots_ + "/" + name))) done_.insert(name);
  }
  bool Done(const char* what) const { return done_.contains(what); }
  bool Once(const char* what) { return done_.insert(what).second; }

  // The entry of the menu bar's File menu, as the operator picks it.
  void ChooseFromFileMenu(int index) { ChooseFromMenus(MainWindow().FileMenu(index)); }

  // The entry of the menu bar with the model entry's caption.
  void ChooseFromMenus(const zr::ui::Menu& model) {
    const QString caption = QString::fromStdString(model.Caption);
    for (QAction* menu : FindWidget("Master")->findChild<QMenuBar*>()->actions())
      for (QAction* entry : menu->menu()->actions())
        if (entry->text() == caption) entry->trigger();
  }

  zr::ProgramParts& parts_;
  std::future<std::string> picture_;
  std::string answer_;
  std::string screenshots_;
  zr::gui::DesktopToolkit* end_on_request_;  // asked to end the program once
  const bool series_;
  const bool capture_windows_;
  std::size_t shown_windows_ = 0;  // of the capture windows, photographed and closed
  std::size_t scaled_ = 0;         // the scales of the capture window photographed
  struct Device {
    int index = 0;
    std::string kind;
    std::string name;
  } camera_;  // connected again after the camcorder
  static constexpr const char* kMenus[] = {"effects_menu.png", "joystick_menu.png"};
  int menus_ = 0;           // how many of them were asked for
  int silent_socket_ = -1;  // the server that never answers
  QElapsedTimer clock_;
  QTimer tick_;
  Step step_ = &Operator::PickCamera;
  int steps_ = 0;
  std::int64_t step_started_ = 0;
  std::set<std::string> done_;  // the screenshots taken and the things done once
};

int Failed(const char* why) {
  std::cerr << "FAIL: " << why << "\n";
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  zr::testing::DesktopProgram desktop("zr-desktop-smoke", argc, argv);
  if (!desktop.parts) return Failed("no display to open windows on");
  auto& parts = *desktop.parts;
  const std::filesystem::path& folder = desktop.folder;
  const std::string mode = argc > 1 ? argv[1] : "";
  const bool end_on_request = mode == "--end-on-request";
  Operator operator_(parts, ZR_SCREENSHOT_DIR, end_on_request ? desktop.toolkit.get() : nullptr, mode == "--series",
                     mode == "--capture-windows");
  desktop.Run();
  if (!operator_.failure.empty()) return Failed(operator_.failure.c_str());
  if (mode == "--capture-windows") {
    // Nothing is recorded: the windows were photographed on the way.
  } else if (mode == "--series") {
    // The series stored numbered JPEGs from 000001 beside the capture file's name.
    for (const char* name : {"capture000001.jpg", "capture000002.jpg"})
      if (!std::filesystem::is_regular_file(folder / name)) {
        std::cerr << "the folder holds:";
        for (const auto& entry : std::filesystem::directory_iterator(folder))
          std::cerr << " " << entry.path().filename();
        std::cerr << "; the status reads \"" << parts.program.Window<zr::Master>().StatusString.Caption.get() << "\"\n";
        return Failed("the series did not store its pictures");
      }
  } else {
    const double seconds = zr::testing::ProbeDurationSeconds(parts.program.state.CaptureFilename);
    std::cout << "movie " << parts.program.state.CaptureFilename << ": " << seconds << " s\n";
    if (seconds < kRecordSeconds - 0.3 || seconds > kRecordSeconds + 0.5)
      return Failed("the movie is not a playable two-second movie");
    if (end_on_request && !std::filesystem::exists(folder / "zrsr.zr2"))
      return Failed("the set-up was not saved when the program was asked to end");
  }
  std::cout << "PASS\n";
  return 0;
}
