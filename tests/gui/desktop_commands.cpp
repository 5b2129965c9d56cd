// The desktop program under xvfb-run, every command of its main window chosen in turn: in each
// operating mode every button of the bars it shows and every entry of their drop-down menus,
// then every entry of the menu bar, and last File > Exit. Each device the device menu connects
// adds the bars it shows: the built-in tuner its band, with the channel bar and a station read
// from TVTuner.ini, and the built-in camcorder its transport and the DV export, whose window
// sends the prepared movie to a DV file. A dialog that opens a movie is given one, the tuner's
// country is answered, other dialogs are cancelled, message boxes take their default button, the
// windows a command opened are closed again and a run it started is stopped. It fails on a
// failure the face reports, on an error box, on a command that does not end and on one that does
// not do what it visibly does; a crash fails the test as it stops the process. Last it names
// every window of the program no command opened. With --keys: the main window's keys instead,
// each tapped, each checked for what it does, and Ctrl+Q last.

#include <unistd.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "apps/zandrell/program_parts.h"
#include "core/main_menus.h"
#include "core/operating_mode.h"
#include "core/window_registry.h"
#include "gui/desktop_toolkit.h"
#include "gui/qt_event_loop.h"
#include "image/tools/full_screen.h"
#include "main_window/master.h"
#include "tests/gui/desktop_program.h"
#include "tests/gui/desktop_widgets.h"
#include "tests/support/movie_probe.h"

namespace {

// Error boxes the program shows by its own rules: the built-in camera's driver has no dialog of
// its own for the display, and Linux has neither the separate broadcast program nor the screen
// tool.
const std::set<QString> kToldErrors = {"Tessavue: Cannot show Video Display Dialog.",
                                       "Error 02: Cannot run Video Zandrell Broadcast",
                                       "Error 03: Cannot run Video Zandrell Screen Capture, which Linux does not have"};

// Windows the program opens by itself rather than on a command: the message while the set-up is
// saved or applied, the upload of a picture, the preview of a series or a build, the compressor
// choice of a device of the control kind, and the start's splash and device chooser.
const std::set<std::string> kOpenedByTheProgram = {"Msg",        "FTPImage", "MultiImage",
                                                   "VideoCODEC", "Splash",   "ChooseDevice"};

constexpr std::int64_t kCommandTimeoutMs = 20000;
constexpr int kJpegSeries = 2;           // the series' kind of numbered JPEG files
constexpr std::int64_t kCheckMs = 3000;  // for what a command does to show
// The station TVTuner.ini holds at the start, and the country the tuner is given.
constexpr int kStationChannel = 21;
const QString kStationName = "Evening News";
const QString kCountry = "+351";
constexpr std::int64_t kStandingTapeMs = 400;  // a paused tape's position stands this long

using zr::testing::FindWidget;
using zr::testing::kBuiltInCamera;
using zr::testing::ShownWindow;

QWidget* MainWidget() { return ShownWindow("Master"); }

// Every window of the program shown, by name, noted as it shows: the scan's progress window lasts
// only as long as the scan of the test scanner, a few hundredths of a second.
class ShownWindows final : public QObject {
 public:
  ShownWindows() { qApp->installEventFilter(this); }
  std::set<std::string> names;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* widget = qobject_cast<QWidget*>(watched);
    if (event->type() == QEvent::Show && widget &&
        (widget->isWindow() || qobject_cast<QMdiSubWindow*>(widget->parentWidget())))
      names.insert(widget->objectName().toStdString());
    return false;
  }
};

// One command: its name as the scenarios address it, and how the operator chooses it.
struct Command {
  std::string name;
  std::function<bool()> choose;  // false when its widget is not to be found
  // What the command does, when there is something to see; read once before the command too,
  // so that a check can compare with what stood before.
  std::function<bool()> done = nullptr;
  std::int64_t first_try_ms = -1;  // the face may show its widget a refresh later
  std::string window = {};         // the window it is chosen in, which stays open for it
  QString typed = {};              // what its input box is answered with; none: cancelled
};

// A check that takes its first reading before the command and then compares each reading with it.
template <class Read, class Passes>
std::function<bool()> Compared(Read read, Passes passes) {
  return [read, passes, before = std::optional<decltype(read())>()]() mutable {
    if (!before) {
      before = read();
      return false;
    }
    return passes(*before, read());
  };
}

// Whether the face shows the band of the cool bar by this key.
bool ShownBand(const char* key) {
  QWidget* band = MainWidget()->findChild<QWidget*>(key);
  return band && band->isVisible();
}

// The text of a box of a window by its name, as the face shows it.
QString ShownText(const char* box) {
  auto* edit = FindWidget<QLineEdit>(box);
  return edit ? edit->text() : QString();
}

// The channel the tuner's band reads ("Channel: 3"), -1 without one.
int ShownChannel() {
  auto* band = MainWidget()->findChild<QWidget*>("tuner");
  auto* label = band ? band->findChild<QLabel*>("Labels") : nullptr;
  bool number = false;
  const int channel = label ? label->text().section(' ', -1).toInt(&number) : -1;
  return number ? channel : -1;
}

class Operator {
 public:
  Operator(zr::ProgramParts& parts, bool keys, std::string movie)
      : parts_(parts), keys_(keys), movie_(std::move(movie)) {
    clock_.start();
    QObject::connect(&tick_, &QTimer::timeout, [this] { Act(); });
    tick_.start(50);
  }
  std::vector<std::string> failures;
  int chosen = 0;

 private:
  zr::Master& Model() { return parts_.program.Window<zr::Master>(); }
  zr::gui::QtEventLoop& Loop() { return dynamic_cast<zr::gui::QtEventLoop&>(parts_.program.services.loop); }

  void Fail(const std::string& why) { failures.push_back(current_ + ": " + why); }

  void Act() {
    if (!started_camera_) return PickCamera();
    if (Answer()) return;
    if (Loop().InHandler()) {
      if (clock_.elapsed() - started_ > kCommandTimeoutMs) {
        Fail("did not end");
        QApplication::exit(1);
      }
      return;
    }
    if (done_check_) {
      if (!done_check_() && clock_.elapsed() - started_ < kCheckMs) return;
      if (!done_check_()) Fail("did not do what it does");
      done_check_ = nullptr;
    }
    // The keys go on from where the last left the program; each other command from the start,
    // or in the window the last opened for it.
    if (!keys_ && CloseWhatOpened(commands_.empty() ? "" : commands_.front().window)) return;
    // A run, a motion wait or a series the command started ("pause" is the still button at rest).
    if (!keys_ && Model().RecordButton().Image.get() == "stop")
      return Loop().Guarded([this] { Model().OperationBar.ClickButton(Model().RecordButton()); });
    if (commands_.empty()) return;
    Command next = std::move(commands_.front());
    commands_.pop_front();
    current_ = next.name;
    started_ = clock_.elapsed();
    done_check_ = next.done;
    if (done_check_) (void)done_check_();  // its reading before the command
    typed_ = next.typed;
    if (next.first_try_ms < 0) {
      next.first_try_ms = started_;
      std::cout << next.name << std::endl;
    }
    // Chosen after this tick, so that the dialogs it opens are answered by the next ones.
    QTimer::singleShot(0, MainWidget(), [this, next] {
      if (next.choose()) {
        ++chosen;
      } else if (clock_.elapsed() - next.first_try_ms < kCheckMs) {
        commands_.push_front(next);
        done_check_ = nullptr;
      } else {
        Fail("is not on the screen");
      }
    });
  }

  // Answers what the last command put up; true when there was something.
  bool Answer() {
    if (QWidget* popup = QApplication::activePopupWidget()) {
      popup->close();
      return true;
    }
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal) return false;
    if (auto* box = qobject_cast<QMessageBox*>(modal)) {
      const std::string text = box->text().toStdString();
      if (text.starts_with("The last command failed"))
        Fail(text);
      else if (box->icon() == QMessageBox::Critical && !kToldErrors.contains(box->text()))
        Fail("an error box: " + text);
      QTest::keyClick(box, Qt::Key_Return);  // the default button
      return true;
    }
    // A movie to open is the one prepared; any other file is cancelled.
    if (auto* files = qobject_cast<QFileDialog*>(modal);
        files && files->acceptMode() == QFileDialog::AcceptOpen &&
        files->nameFilters().join("").contains("*.avi", Qt::CaseInsensitive)) {
      if (auto* name = files->findChild<QLineEdit*>("fileNameEdit")) name->setText(QString::fromStdString(movie_));
      static_cast<QDialog*>(files)->accept();
      return true;
    }
    if (auto* input = qobject_cast<QInputDialog*>(modal); input && !typed_.isEmpty()) {
      input->setTextValue(typed_);
      input->accept();
      return true;
    }
    if (auto* dialog = qobject_cast<QDialog*>(modal)) {
      dialog->reject();  // file dialogs, input boxes, the devices' own dialogs
      return true;
    }
    if (zr::FindWindowKind(modal->objectName().toStdString())) modal->close();  // a window of the program
    return true;
  }

  bool NameWindowsNoCommandOpens() {
    for (const zr::WindowKind& kind : zr::RegisteredWindowKinds())
      if (!shown_windows_.names.contains(kind.name) && !kOpenedByTheProgram.contains(kind.name))
        Fail("no command opens the window " + kind.name);
    return true;
  }

  // The windows of the program the command opened but `kept`, closed by their close boxes.
  bool CloseWhatOpened(const std::string& kept) {
    bool closing = false;
    for (QWidget* top : QApplication::topLevelWidgets()) {
      const std::string name = top->objectName().toStdString();
      if (!top->isVisible() || top == MainWidget() || name == kept || !zr::FindWindowKind(name)) continue;
      top->close();
      closing = true;
    }
    if (auto* area = MainWidget()->findChild<QMdiArea*>("ChildArea"))
      for (QMdiSubWindow* child : area->subWindowList())
        if (child->isVisible() && child->widget() && child->widget()->objectName() != "VideoScreen") {
          child->widget()->close();
          closing = true;
        }
    return closing;
  }

  // The built-in camera from the chooser, then the commands of the first mode.
  void PickCamera() {
    auto* devices = FindWidget<QListWidget>("devices");
    if (!devices) return;
    const auto found = devices->findItems(kBuiltInCamera, Qt::MatchExactly);
    if (found.isEmpty()) return Fail("the chooser does not list the built-in camera");
    devices->setCurrentItem(found.front());
    zr::testing::ClickEntry(devices, found.front());
    if (auto* start = devices->window()->findChild<QPushButton*>("start")) start->click();
    started_camera_ = true;
    if (keys_) return AddKeys();
    for (zr::OperatingMode mode : zr::kOperatingModes) AddMode(std::string(zr::ModeKey(mode)));
    commands_.push_back({"menus", [this] { return AddMenus(); }});
  }

  // The mode's button on the mode bar, then the bars the mode shows; a series of pictures
  // rather than a movie file, whose buttons of pictures are then there to choose.
  void AddMode(const std::string& mode) {
    commands_.push_back(ButtonCommand("MainToolbar", mode));
    if (mode == "multiple")
      commands_.push_back({"MultipleImageMode", [] {
                             auto* list = MainWidget()->findChild<QComboBox*>("MultipleImageMode");
                             if (!list || !list->isVisible()) return false;
                             list->setCurrentIndex(kJpegSeries);
                             emit list->activated(kJpegSeries);  // as the operator's choice
                             return true;
                           }});
    commands_.push_back({"bars of " + mode, [this] { return AddBars(); }});
  }

  static QToolButton* FindButton(const std::string& bar, const std::string& key) {
    for (auto* toolbar : MainWidget()->findChildren<QToolBar*>(QString::fromStdString(bar)))
      if (auto* button = toolbar->findChild<QToolButton*>(QString::fromStdString(key)); button && button->isVisible())
        return button;
    return nullptr;
  }

  static Command ButtonCommand(const std::string& bar, const std::string& key) {
    return {bar + "[" + key + "]", [bar, key] {
              QToolButton* button = FindButton(bar, key);
              if (button) button->click();
              return button != nullptr;
            }};
  }

  static Command ButtonMenuCommand(const std::string& bar, const std::string& key, int index, const QString& text) {
    return {bar + "[" + key + "][" + text.toStdString() + "]", [bar, key, index] {
              QToolButton* button = FindButton(bar, key);
              if (!button || !button->menu() || index >= button->menu()->actions().size()) return false;
              button->menu()->actions()[index]->trigger();
              return true;
            }};
  }

  // Every enabled button the bars now show and the entries of its menu, once over all modes;
  // the mode bar's own buttons come with the menus, once the modes are done.
  bool AddBars() {
    std::deque<Command> found;
    for (auto* toolbar : MainWidget()->findChildren<QToolBar*>()) {
      const std::string bar = toolbar->objectName().toStdString();
      if (bar == "MainToolbar" || !toolbar->isVisible()) continue;
      for (auto* button : toolbar->findChildren<QToolButton*>()) {
        const std::string key = button->objectName().toStdString();
        if (key.empty() || key.starts_with("qt_") || !button->isVisible() || !button->isEnabled()) continue;
        const std::string name = bar + "[" + key + "]";
        // The DV export goes out with the camcorder, whose transport shows.
        if (key == "exportdv" && !FindButton("Mastertoolbar", "play")) continue;
        if (!done_.insert(name).second) continue;
        found.push_back(ButtonCommand(bar, key));
        if (key == "exportdv") AddExport(found);
        if (!button->menu()) continue;
        const auto entries = button->menu()->actions();
        for (int index = 0; index < entries.size(); ++index) {
          if (entries[index]->isSeparator() || !entries[index]->isVisible() || !entries[index]->isEnabled()) continue;
          found.push_back(ButtonMenuCommand(bar, key, index, entries[index]->text()));
          // A device connected shows bars of its own.
          if (key == "device")
            found.push_back({"bars of " + entries[index]->text().toStdString(), [this] { return AddBars(); }});
        }
        // The device menu's last entries disconnect: the commands after it find the camera again.
        for (int index = 0; key == "device" && index < entries.size(); ++index)
          if (entries[index]->text() == kBuiltInCamera)
            found.push_back(ButtonMenuCommand(bar, key, index, kBuiltInCamera));
      }
    }
    // The bands' scroll bars (the tuner's channel), each stepped once.
    for (auto* scroll : MainWidget()->findChild<QWidget*>("MasterBar")->findChildren<QScrollBar*>()) {
      const std::string name = scroll->objectName().toStdString();
      if (!name.empty() && scroll->isVisible() && done_.insert(name).second) found.push_back(StepCommand(name));
    }
    for (Command& command : found) Expect(command);
    commands_.insert(commands_.begin(), found.begin(), found.end());
    return true;
  }

  static Command StepCommand(const std::string& name) {
    return {name, [name] {
              auto* scroll = MainWidget()->findChild<QScrollBar*>(QString::fromStdString(name));
              if (scroll) scroll->triggerAction(QAbstractSlider::SliderSingleStepAdd);
              return scroll != nullptr;
            }};
  }

  // The DV export of the prepared movie, in its window: chosen, sent to its end, and the window
  // left.
  void AddExport(std::deque<Command>& found) {
    const auto step = [](const char* button, std::function<bool()> check) {
      return Command{.name = std::string("ExportDV.") + button,
                     .choose =
                         [button] {
                           QWidget* window = ShownWindow("ExportDV");
                           auto* push = window ? window->findChild<QPushButton*>(button) : nullptr;
                           if (!push || !push->isVisible()) return false;
                           push->click();
                           return true;
                         },
                     .done = std::move(check),
                     .window = "ExportDV"};
    };
    const QString sent = QString::fromStdString(std::filesystem::path(movie_).replace_extension(".dv").string());
    found.push_back(step("OpenPath", [this] { return ShownText("AVI_PAth") == QString::fromStdString(movie_); }));
    // The end of the movie brings the window back to rest, its box empty, the DV file beside it.
    found.push_back(step("xStart", [sent] { return ShownText("AVI_PAth").isEmpty() && QFileInfo(sent).size() > 0; }));
    found.push_back(step("ExitButton", [] { return !ShownWindow("ExportDV"); }));
  }

  static QStringList ShownStations() {
    QStringList names;
    if (QToolButton* stations = FindButton("TunerBar", "tuner_station"); stations && stations->menu())
      for (QAction* entry : stations->menu()->actions()) names << entry->text();
    return names;
  }

  static bool ShownInput(const char* on, const char* off) {
    QToolButton* chosen = FindButton("TunerBar", on);
    QToolButton* other = FindButton("TunerBar", off);
    return chosen && other && chosen->isChecked() && !other->isChecked();
  }

  // What the command visibly does, where the test knows it, and what it answers a box with. A
  // rewind at the tape's start and the country (the test tuner takes any) show nothing.
  void Expect(Command& command) {
    const std::string& name = command.name;
    const auto station_here = [] { return ShownStations().contains(QString("Channel %1").arg(ShownChannel())); };
    const auto tape = [] { return ShownText("DVpos"); };
    const auto runs = [](const QString& before, const QString& now) { return !now.isEmpty() && now != before; };
    const auto sought = [this](bool upward) {
      return Compared(ShownChannel, [this, upward](int before, int now) {
        return !Model().Tuner.Enabled.get() && (upward ? now > before : now < before);
      });
    };
    if (name == "TunerBar[tuner_add]") command.done = station_here;
    if (name == "TunerBar[tuner_remove]") command.done = [station_here] { return !station_here(); };
    if (name == "TunerBar[tuner_country]") command.typed = kCountry;
    if (name == "TunerBar[tuner_up]") command.done = sought(true);
    if (name == "TunerBar[tuner_down]") command.done = sought(false);
    if (name == "TunerBar[tuner_antena]") command.done = [] { return ShownInput("tuner_antena", "tuner_cable"); };
    if (name == "TunerBar[tuner_cable]") command.done = [] { return ShownInput("tuner_cable", "tuner_antena"); };
    if (name == "TunerBar[tuner_station][" + kStationName.toStdString() + "]")
      command.done = [] { return ShownChannel() == kStationChannel; };
    if (name == "TunerSlider")
      command.done = Compared(ShownChannel, [](int before, int now) { return now == before + 1; });
    if (name == "Mastertoolbar[play]" || name == "Mastertoolbar[fwd]") command.done = Compared(tape, runs);
    if (name == "Mastertoolbar[stop]") command.done = [tape] { return tape().isEmpty(); };
    // A paused tape's position stands.
    if (name == "Mastertoolbar[pause]")
      command.done = [this, tape, last = QString(), since = std::int64_t{0}]() mutable {
        const QString now = tape();
        if (now != last) {
          last = now;
          since = clock_.elapsed();
        }
        return !last.isEmpty() && clock_.elapsed() - since >= kStandingTapeMs;
      };
    if (name == "DeviceToolbar[exportdv]") command.done = [] { return ShownWindow("ExportDV") != nullptr; };
  }

  // The model's name of a menu bar entry ("FileMenu(13)"), found by its caption.
  std::string MenuName(const QString& caption) {
    for (zr::ui::Control* control : Model().Controls())
      if (auto* menu = dynamic_cast<zr::ui::Menu*>(control); menu && QString::fromStdString(menu->Caption) == caption)
        return menu->Name() + (menu->Index() ? "(" + std::to_string(*menu->Index()) + ")" : "");
    return "";
  }

  // The mode bar's other buttons, every entry of the menu bar, and File > Exit last.
  bool AddMenus() {
    for (auto* button : MainWidget()->findChild<QToolBar*>("MainToolbar")->findChildren<QToolButton*>()) {
      const std::string key = button->objectName().toStdString();
      if (!key.empty() && !key.starts_with("qt_") && zr::ModeOfKey(key) == zr::OperatingMode::None)
        commands_.push_back(ButtonCommand("MainToolbar", key));
    }
    Command exit;
    for (QAction* title : MainWidget()->findChild<QMenuBar*>()->actions()) {
      for (QAction* entry : title->menu()->actions()) {
        if (entry->isSeparator() || !entry->isVisible()) continue;
        std::string name = MenuName(entry->text());
        if (name.empty()) name = title->text().toStdString() + " > " + entry->text().toStdString();
        Command command{name, [entry] {
                          entry->trigger();
                          return true;
                        }};
        if (name == "FileMenu(" + std::to_string(zr::file_menu::kExit) + ")")
          exit = command;
        else
          commands_.push_back(command);
      }
    }
    if (!exit.choose) Fail("File > Exit is not in the menu");
    commands_.push_back({"every window", [this] { return NameWindowsNoCommandOpens(); }});
    commands_.push_back(exit);
    return true;
  }

  // The keys of the main window, each tapped as quickly as the toolkit can: the Ctrl keys of
  // the modes, F11 and any key to end the full-screen view, Ctrl+F12 to shoot a picture of a
  // series by hand, and Ctrl+Q to quit.
  void AddKeys() {
    auto& state = parts_.program.state;
    const auto tap = [](Qt::Key key, Qt::KeyboardModifiers modifiers, const char* window = "Master") {
      return [=] {
        QWidget* target = ShownWindow(window);
        if (!target) return false;
        // The window a key goes to is the one in front, as the operator's would be.
        target->activateWindow();
        (void)QTest::qWaitForWindowActive(target, 1000);  // a frameless window may never say so
        QTest::keyClick(target, key, modifiers);
        return true;
      };
    };
    const std::pair<Qt::Key, const char*> modes[] = {{Qt::Key_I, "image"},
                                                     {Qt::Key_U, "multiple"},
                                                     {Qt::Key_A, "avibuilder"},
                                                     {Qt::Key_W, "webshare"},
                                                     {Qt::Key_M, "movie"}};
    for (const auto& [key, mode] : modes)
      commands_.push_back({"Ctrl+" + QKeySequence(key).toString().toStdString(), tap(key, Qt::ControlModifier),
                           [&state, mode] { return state.CaptureType == mode && ShownBand(mode); }});
    const auto full_screen = [this] { return parts_.program.SlotOf<zr::Fullscreen>().Loaded(); };
    commands_.push_back({"F11", tap(Qt::Key_F11, Qt::NoModifier), full_screen});
    commands_.push_back({"a key in the full-screen view", tap(Qt::Key_Escape, Qt::NoModifier, "Fullscreen"),
                         [full_screen] { return !full_screen(); }});
    commands_.push_back({"Ctrl+U", tap(Qt::Key_U, Qt::ControlModifier),
                         [&state] { return state.CaptureType == "multiple" && ShownBand("multiple"); }});
    commands_.push_back(ButtonCommand("TriggerType", "manual"));
    commands_.push_back({"a series by hand", ButtonCommand("MultipleImageToolbar", "record").choose,
                         [this] { return Model().Shooter.Enabled.get(); }});
    commands_.push_back({"Ctrl+F12", tap(Qt::Key_F12, Qt::ControlModifier),
                         [&state, shot = state.ImageCount] { return state.ImageCount > shot; }});
    commands_.push_back(ButtonCommand("MultipleImageToolbar", "record"));
    commands_.push_back({"Ctrl+Q", tap(Qt::Key_Q, Qt::ControlModifier)});
  }

  zr::ProgramParts& parts_;
  std::deque<Command> commands_;
  std::set<std::string> done_;  // the bar buttons already queued
  std::string current_ = "the start";
  bool started_camera_ = false;
  const bool keys_;
  std::function<bool()> done_check_;
  QString typed_;            // what the command's input box is answered with
  const std::string movie_;  // what a dialog that opens a movie is given
  ShownWindows shown_windows_;
  QElapsedTimer clock_;
  std::int64_t started_ = 0;
  QTimer tick_;
};

}  // namespace

int main(int argc, char** argv) {
  zr::testing::DesktopProgram desktop("zr-desktop-commands", argc, argv);
  if (!desktop.parts) return 1;
  const std::filesystem::path& folder = desktop.folder;
  // The desktop's opener stands in for the browser: it notes the addresses the help entries open.
  const std::filesystem::path opened = folder / "opened.txt";
  std::filesystem::create_directories(folder / "bin");
  std::ofstream((folder / "bin" / "xdg-open").string()) << "#!/bin/sh\necho \"$1\" >> '" << opened.string() << "'\n";
  std::filesystem::permissions(folder / "bin" / "xdg-open", std::filesystem::perms::owner_all);
  setenv("PATH", ((folder / "bin").string() + ":" + std::getenv("PATH")).c_str(), 1);
  // The files the program ships, in its folder as the program provides them.
  for (const char* shipped : {"webshare.html", "codec.zr"})
    zr::platform::linux_impl::ProvideProgramFile(std::filesystem::absolute(argv[0]).parent_path().string(),
                                                 desktop.FolderWithSeparator(), shipped);
  // A station for the tuner's menu, as a run before the test would have left it.
  std::ofstream((folder / "TVTuner.ini").string(), std::ios::binary)
      << kStationChannel << "S\t" << kStationName.toStdString() << "\r\n";
  const std::string movie = (folder / "clip.avi").string();
  zr::testing::RunCommand("ffmpeg -loglevel error -f lavfi -i testsrc=size=320x240:rate=10:duration=2 -c:v mjpeg -y " +
                          movie);
  const bool keys_only = argc > 1 && std::string(argv[1]) == "--keys";
  Operator operator_(*desktop.parts, keys_only, movie);
  desktop.Run();
  std::stringstream addresses;
  addresses << std::ifstream(opened.string()).rdbuf();
  if (!keys_only && addresses.str().find("guide/index.html") == std::string::npos)
    operator_.failures.push_back("the help entry opened no guide; the opener heard: " + addresses.str());
  for (const std::string& failure : operator_.failures) std::cerr << "FAIL: " << failure << "\n";
  if (!operator_.failures.empty()) return 1;
  std::cout << "PASS: " << operator_.chosen << " commands chosen\n";
  return 0;
}
