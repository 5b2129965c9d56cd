// Every window of the program in each of its five languages, on the offscreen platform: no text
// wider or taller than the widget that shows it, no picture button without a tool tip, no control
// over a sibling or out of its parent, no window larger than a 1366 x 768 screen, and no text
// left in English in another language. The main window is measured in each operating mode.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QStyleFactory>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTest>
#include <QToolButton>
#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "apps/scenario/world.h"
#include "capture/video_screen.h"
#include "core/language.h"
#include "core/operating_mode.h"
#include "core/settings_keys.h"
#include "core/window_registry.h"
#include "gui/desktop_face.h"
#include "gui/desktop_look.h"
#include "gui/qt_event_loop.h"
#include "gui/qt_services.h"
#include "image/windows/image_window.h"
#include "main_window/master.h"

namespace zr::gui {
namespace {

constexpr QSize kScreen{1366, 768};

std::string Name(const QWidget& widget) {
  const QString name = widget.objectName().isEmpty() ? widget.metaObject()->className() : widget.objectName();
  return name.toStdString();
}

QSize TextSize(const QWidget& widget, const QString& text) {
  return QFontMetrics(widget.font()).size(Qt::TextShowMnemonic, text);
}

// The room a button leaves its text, as the style draws it.
QRect ButtonTextRoom(const QAbstractButton& button) {
  QStyleOptionButton option;
  option.initFrom(&button);
  option.text = button.text();
  option.icon = button.icon();
  option.iconSize = button.iconSize();
  const auto element = qobject_cast<const QCheckBox*>(&button)      ? QStyle::SE_CheckBoxContents
                       : qobject_cast<const QRadioButton*>(&button) ? QStyle::SE_RadioButtonContents
                                                                    : QStyle::SE_PushButtonContents;
  QRect room = button.style()->subElementRect(element, &option, &button);
  if (!button.icon().isNull() && qobject_cast<const QPushButton*>(&button))
    room.adjust(button.iconSize().width() + 4, 0, 0, 0);
  return room;
}

class FitReport {
 public:
  explicit FitReport(std::string window) : window_(std::move(window)) {}
  std::vector<std::string> problems;

  void Check(QWidget& top) {
    const bool covers_its_screen = top.screen() && top.geometry() == top.screen()->geometry();
    if (!covers_its_screen && (top.width() > kScreen.width() || top.height() > kScreen.height()))
      Add(top, "is " + Size(top.size()) + ", larger than the screen");
    CheckTree(top, top);
  }

 private:
  void CheckTree(QWidget& widget, const QWidget& top) {
    CheckText(widget);
    std::vector<QWidget*> shown;
    for (QObject* object : widget.children()) {
      auto* child = qobject_cast<QWidget*>(object);
      if (!child || child->isWindow() || !child->isVisibleTo(&top)) continue;
      CheckTree(*child, top);
      if (qobject_cast<QMdiSubWindow*>(child)) continue;  // children of the main window overlap at will
      if (child->objectName() == "qt_toolbar_ext_button") Add(widget, "has no room for all its buttons");
      if (child->geometry().isEmpty()) continue;
      if (!widget.rect().contains(child->geometry()))
        Add(*child,
            "sticks out of " + Name(widget) + " (" + Rect(child->geometry()) + " in " + Size(widget.size()) + ")");
      for (QWidget* sibling : shown)
        if (sibling->geometry().intersects(child->geometry())) Add(*child, "lies over " + Name(*sibling));
      shown.push_back(child);
    }
  }

  void CheckText(QWidget& widget) {
    if (auto* label = qobject_cast<QLabel*>(&widget)) return CheckLabel(*label);
    if (auto* tool = qobject_cast<QToolButton*>(&widget)) {
      if (tool->toolButtonStyle() != Qt::ToolButtonIconOnly && !tool->text().isEmpty() &&
          tool->width() < tool->sizeHint().width())
        Add(widget, "cuts \"" + tool->text().toStdString() + "\"");
      // "seprate" only marks a place in the device tool bar.
      if (tool->toolButtonStyle() == Qt::ToolButtonIconOnly && tool->toolTip().isEmpty() &&
          tool->objectName() != "seprate")
        Add(widget, "shows a picture without a tool tip");
      if (tool->menu()) CheckMenu(*tool->menu());
      return;
    }
    if (auto* button = qobject_cast<QAbstractButton*>(&widget))
      return Fits(widget, button->text(), ButtonTextRoom(*button));
    if (auto* combo = qobject_cast<QComboBox*>(&widget)) {
      QStyleOptionComboBox option;
      option.initFrom(combo);
      const QRect room =
          combo->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, combo);
      for (int index = 0; index < combo->count(); ++index) Fits(widget, combo->itemText(index), room);
      return;
    }
    if (auto* list = qobject_cast<QListWidget*>(&widget)) {
      for (int row = 0; row < list->count(); ++row) Fits(widget, list->item(row)->text(), list->viewport()->rect());
      return;
    }
    if (auto* tabs = qobject_cast<QTabBar*>(&widget)) {
      const int padding = tabs->style()->pixelMetric(QStyle::PM_TabBarTabHSpace, nullptr, tabs);
      for (int index = 0; index < tabs->count(); ++index)
        Fits(widget, tabs->tabText(index), tabs->tabRect(index).adjusted(0, 0, -padding, 0));
      return;
    }
    if (auto* group = qobject_cast<QGroupBox*>(&widget)) return Fits(widget, group->title(), group->contentsRect());
    if (auto* bar = qobject_cast<QMenuBar*>(&widget)) {
      for (QAction* action : bar->actions()) {
        if (!action->isVisible()) continue;
        if (!bar->rect().contains(bar->actionGeometry(action)) || bar->actionGeometry(action).isEmpty())
          Add(widget, "has no room for the menu \"" + action->text().toStdString() + "\"");
        if (action->menu()) CheckMenu(*action->menu());
      }
    }
  }

  void CheckLabel(QLabel& label) {
    if (label.text().isEmpty()) return;
    const QRect room = label.contentsRect().adjusted(label.margin(), label.margin(), -label.margin(), -label.margin());
    if (label.wordWrap()) {
      if (label.heightForWidth(label.width()) > label.height())
        Add(label, "cuts the lines of \"" + label.text().toStdString() + "\"");
      return;
    }
    const QSize needed = QFontMetrics(label.font()).size(0, label.text());
    if (needed.width() > room.width() || needed.height() > room.height())
      Add(label, "cuts \"" + label.text().toStdString() + "\" (" + Size(needed) + " in " + Size(room.size()) + ")");
  }

  void CheckMenu(QMenu& menu) {
    if (menu.sizeHint().width() > kScreen.width()) Add(menu, "is wider than the screen");
  }

  void Fits(QWidget& widget, const QString& text, const QRect& room) {
    if (text.isEmpty()) return;
    const QSize needed = TextSize(widget, text);
    if (needed.width() > room.width() || needed.height() > room.height())
      Add(widget, "cuts \"" + text.toStdString() + "\" (" + Size(needed) + " in " + Size(room.size()) + ")");
  }

  void Add(const QWidget& widget, const std::string& what) {
    problems.push_back(window_ + ": " + Name(widget) + " " + what);
  }
  static std::string Size(QSize size) { return std::to_string(size.width()) + "x" + std::to_string(size.height()); }
  static std::string Rect(QRect rect) {
    return std::to_string(rect.x()) + "," + std::to_string(rect.y()) + " " + Size(rect.size());
  }

  std::string window_;
};

// The texts a window shows the operator: its title, its labels, buttons, tabs and group titles,
// its menus' titles and entries, its drop-down and list entries and its tool tips.
class ShownTexts {
 public:
  std::set<QString> texts;

  void Collect(QWidget& top) {
    Add(top.windowTitle());
    CollectTree(top, top);
  }

 private:
  void CollectTree(QWidget& widget, const QWidget& top) {
    Add(widget.toolTip());
    if (auto* label = qobject_cast<QLabel*>(&widget)) Add(label->text());
    if (auto* button = qobject_cast<QAbstractButton*>(&widget)) Add(button->text());
    if (auto* tool = qobject_cast<QToolButton*>(&widget); tool && tool->menu()) AddMenu(*tool->menu());
    if (auto* group = qobject_cast<QGroupBox*>(&widget)) Add(group->title());
    if (auto* tabs = qobject_cast<QTabBar*>(&widget))
      for (int index = 0; index < tabs->count(); ++index) Add(tabs->tabText(index));
    if (auto* bar = qobject_cast<QMenuBar*>(&widget)) AddMenuActions(bar->actions());
    if (auto* combo = qobject_cast<QComboBox*>(&widget))
      for (int index = 0; index < combo->count(); ++index) Add(combo->itemText(index));
    if (auto* list = qobject_cast<QListWidget*>(&widget))
      for (int row = 0; row < list->count(); ++row) Add(list->item(row)->text());
    for (QObject* object : widget.children()) {
      auto* child = qobject_cast<QWidget*>(object);
      if (child && !child->isWindow() && child->isVisibleTo(&top)) CollectTree(*child, top);
    }
  }
  void AddMenu(QMenu& menu) { AddMenuActions(menu.actions()); }
  void AddMenuActions(const QList<QAction*>& actions) {
    for (QAction* action : actions) {
      if (action->isSeparator() || !action->isVisible()) continue;
      Add(action->text());
      Add(action->toolTip() == QString(action->text()).remove('&') ? QString() : action->toolTip());
      if (action->menu()) AddMenu(*action->menu());
    }
  }
  void Add(const QString& text) {
    if (!text.trimmed().isEmpty()) texts.insert(text);
  }
};

// Lets the toolkit lay out what was shown or changed.
void Settle() {
  for (int pass = 0; pass < 3; ++pass) QApplication::processEvents();
}

// A picture of the window in the screenshots folder, in a folder named by the screen's scale.
void Photograph(QWidget& window, const std::string& folder, const std::string& name) {
#ifdef ZR_SCREENSHOT_DIR
  const int scale = static_cast<int>(window.devicePixelRatio());
  const std::string path = std::string(ZR_SCREENSHOT_DIR) + "/" + folder + "/x" + std::to_string(scale);
  std::filesystem::create_directories(path);
  window.grab().save(QString::fromStdString(path + "/" + name + ".png"));
#endif
}

// The program in a world of its own, with the desktop's face over it.
class DesktopWindows {
 public:
  // Shows the main window in each mode, then every other registered window one at a time, and
  // hands each to `look` under its name.
  void ShowEveryWindow(Language language, const std::function<void(const std::string&, QWidget*)>& look) {
    program.language = language;
    program.Main();  // the device chooser is cancelled
    auto& master = program.Window<Master>();
    for (OperatingMode mode : kOperatingModes) {
      const std::string key(ModeKey(mode));
      master.SetOperationMode(key);
      face.Sync();
      Settle();
      look("Master-" + key, face.MainWindow());
    }
    for (const WindowKind& kind : RegisteredWindowKinds()) {
      if (kind.name == "Master") continue;
      ui::Window& window = program.Slot(kind.name).TouchWindow();
      Show(window, true);
      look(kind.name, FrameOf(window));
      Show(window, false);
    }
  }

 protected:
  // The toolkit window of a model window, framed as the desktop shows it.
  QWidget* FrameOf(const ui::Window& window) {
    QWidget* widget = face.WidgetOf(window);
    if (!widget) return nullptr;
    auto* frame = qobject_cast<QMdiSubWindow*>(widget->parentWidget());
    return frame ? static_cast<QWidget*>(frame) : widget;
  }
  void Show(ui::Window& window, bool visible) {
    window.Visible = visible;
    face.Sync();
    Settle();
  }

  scenario::World world;
  Program& program = world.MakeProgram();
  QtEventLoop loop;
  QtDialogs dialogs;
  DesktopFace face{program, loop, dialogs, LiveVideo{}};
};

class WindowFit : public DesktopWindows, public ::testing::TestWithParam<Language> {
 protected:
  WindowFit() { qApp->setStyleSheet(kButtonStyle); }
  ~WindowFit() override { qApp->setStyleSheet(QString()); }

  void Measure(const std::string& name, QWidget* frame) {
    ASSERT_NE(frame, nullptr) << name << " shows no window";
    Settle();
    FitReport report(name);
    report.Check(*frame);
    for (const std::string& problem : report.problems) ADD_FAILURE() << problem;
    Photograph(*frame, "fit/" + language_code, name);
  }

  std::string language_code = std::to_string(static_cast<int>(GetParam()));
};

TEST_P(WindowFit, EveryWindowFitsItsTexts) {
  ShowEveryWindow(GetParam(), [this](const std::string& name, QWidget* frame) { Measure(name, frame); });
}

std::map<std::string, std::set<QString>> TextsOfEveryWindow(Language language) {
  DesktopWindows desktop;
  std::map<std::string, std::set<QString>> texts;
  desktop.ShowEveryWindow(language, [&texts](const std::string& name, QWidget* frame) {
    ASSERT_NE(frame, nullptr) << name << " shows no window";
    ShownTexts shown;
    shown.Collect(*frame);
    texts[name] = std::move(shown.texts);
  });
  return texts;
}

// Whether `text` may read as in English: a name, an address, or a text whose every word is a
// unit ("25 FPS", "16 bits") or a word the table gives the same in `language` ("Mono",
// "Version 1.00 Build 1" in German).
bool SameInEveryLanguage(const QString& text, Language language) {
  static const std::set<QString> kNames = {"Video Zandrell", "Built-in Test Camera", "Sim Joystick", "Test Scanner",
                                           // the compressors' own names
                                           "Uncompressed", "MJPEG Compressor", "MPEG-4 (DivX compatible)", "H.264",
                                           "FFV1 (lossless)", "HuffYUV (lossless)"};
  static const std::set<QString> kUnits = {"FPS", "fps", "Khz", "bit", "bits", "s"};
  if (kNames.contains(text) || text.contains("://")) return true;
  const auto same_word = [language](const QString& word) {
    const std::string key = word.toStdString();
    const auto& keys = TranslatableTexts();
    return kUnits.contains(word) ||
           (std::find(keys.begin(), keys.end(), key) != keys.end() && TranslateText(language, key) == key);
  };
  if (same_word(text)) return true;
  const QStringList words = QString(text).remove('&').split(QRegularExpression("[^\\p{L}]+"), Qt::SkipEmptyParts);
  return std::all_of(words.begin(), words.end(), same_word);
}

class WindowTexts : public ::testing::TestWithParam<Language> {};

// A text a window shows in English and shows alike in another language was not translated.
TEST_P(WindowTexts, EveryWindowSpeaksItsLanguage) {
  const auto english = TextsOfEveryWindow(Language::English);
  const auto translated = TextsOfEveryWindow(GetParam());
  for (const auto& [name, texts] : translated) {
    const auto in_english = english.find(name);
    ASSERT_NE(in_english, english.end()) << name;
    for (const QString& text : texts)
      if (in_english->second.contains(text) && !SameInEveryLanguage(text, GetParam()))
        ADD_FAILURE() << name << " shows \"" << text.toStdString() << "\" untranslated";
  }
}

// The language a test runs in, by name.
std::string LanguageName(const ::testing::TestParamInfo<Language>& info) {
  constexpr const char* kNames[] = {"English", "Portuguese", "Spanish", "French", "German"};
  return kNames[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Languages, WindowTexts,
                         ::testing::Values(Language::Portuguese, Language::Spanish, Language::French, Language::German),
                         LanguageName);

class WindowPlaces : public DesktopWindows, public ::testing::Test {};

// A dialog has no maximise button, and Escape closes it as its close box does.
TEST_F(WindowPlaces, EscapeClosesADialog) {
  program.Main();
  ui::Window& dialog = program.Slot("FOV").TouchWindow();
  Show(dialog, true);
  QWidget* frame = FrameOf(dialog);
  ASSERT_NE(frame, nullptr);
  EXPECT_FALSE(frame->windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
  frame->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(frame));
  QTest::keyClick(frame, Qt::Key_Escape);
  EXPECT_FALSE(program.Slot("FOV").Loaded());
}

// The main window keeps the size of a small screen in every mode with nothing cut, however large
// a child window grows and when the children are tiled: the child area scrolls to them instead.
TEST_F(WindowPlaces, TheMainWindowKeepsTheSizeOfASmallScreen) {
  program.Main();
  auto& master = program.Window<Master>();
  auto& screen = program.Window<VideoScreen>();
  screen.mira.Width = 1280;
  screen.mira.Height = 960;
  auto& picture = program.Window<Image>();
  picture.MasterImage.Picture = std::make_shared<platform::Picture>(
      platform::Picture{640, 480, std::vector<std::uint8_t>(platform::Picture::BytesFor(640, 480))});
  Show(picture, true);
  for (const QSize size : {QSize(800, 600), QSize(1024, 768)}) {
    face.MainWindow()->resize(size);
    for (OperatingMode mode : kOperatingModes) {
      const std::string name = "Master-" + std::string(ModeKey(mode)) + "-" + std::to_string(size.width());
      master.SetOperationMode(std::string(ModeKey(mode)));
      face.Sync();
      face.MainWindow()->ArrangeChildWindows(platform::ArrangeCode::TileVertically);
      Settle();
      EXPECT_EQ(face.MainWindow()->size(), size) << name;
      // A child past the area's edge is scrolled to.
      QMdiArea& area = face.MainWindow()->ChildArea();
      const bool scrolls = area.verticalScrollBar()->isVisible() || area.horizontalScrollBar()->isVisible();
      for (QMdiSubWindow* child : area.subWindowList()) {
        const bool past_the_edge = child->isVisible() && !area.viewport()->rect().contains(child->geometry());
        EXPECT_TRUE(scrolls || !past_the_edge) << name << ": " << Name(*child->widget()) << " cannot be reached";
      }
      FitReport report(name);
      report.Check(*face.MainWindow());
      for (const std::string& problem : report.problems) ADD_FAILURE() << problem;
      Photograph(*face.MainWindow(), "small-screen", name);
    }
  }
}

// A size saved on a larger screen, or at another scale, comes back inside this screen.
TEST_F(WindowPlaces, ASavedSizeLargerThanTheScreenComesBackInsideIt) {
  SaveSetting(program.services.settings, settings::WindowWidth, "60000");  // 4000 pixels, in twips
  SaveSetting(program.services.settings, settings::WindowHeight, "45000");
  program.Main();
  face.Sync();
  Settle();
  QWidget* main = face.MainWindow();
  ASSERT_NE(main, nullptr);
  EXPECT_TRUE(main->screen()->availableGeometry().contains(main->frameGeometry()));
}

// On a dark theme (Fusion with a dark palette) the windows keep their texts whole; the pictures
// show the buttons and pictograms in the theme's colours.
TEST_F(WindowPlaces, ADarkThemeKeepsEveryTextWhole) {
  const QPalette desktop = QApplication::palette();
  const QString style = QApplication::style()->name();
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  QPalette dark(QColor(0x35, 0x35, 0x35), QColor(0x2A, 0x2A, 0x2A));
  dark.setColor(QPalette::Base, QColor(0x24, 0x24, 0x24));
  dark.setColor(QPalette::Highlight, QColor(0x2A, 0x82, 0xDA));
  QApplication::setPalette(dark);
  qApp->setStyleSheet(kButtonStyle);
  program.Main();
  face.Sync();
  const std::pair<std::string, QWidget*> windows[] = {
      {"Master", face.MainWindow()}, {"ChooseDevice", nullptr}, {"AboutWindow", nullptr}};
  for (auto [name, frame] : windows) {
    if (!frame) {
      ui::Window& window = program.Slot(name).TouchWindow();
      Show(window, true);
      frame = FrameOf(window);
    }
    ASSERT_NE(frame, nullptr) << name;
    Settle();
    FitReport report("dark " + name);
    report.Check(*frame);
    for (const std::string& problem : report.problems) ADD_FAILURE() << problem;
    Photograph(*frame, "dark", name);
  }
  qApp->setStyleSheet(QString());
  QApplication::setPalette(desktop);
  QApplication::setStyle(style);
}

// A window of its own and a child of the main window (whose frame follows its picture, so only
// its position is kept) open where they closed, and inside the screen or the child area when
// they closed outside it.
TEST_F(WindowPlaces, AWindowOpensWhereItClosedInsideTheScreen) {
  program.Main();
  for (const char* name : {"FOV", "MovieViewer"}) {
    SCOPED_TRACE(name);
    ui::Window& window = program.Slot(name).TouchWindow();
    Show(window, true);
    QWidget* frame = FrameOf(window);
    ASSERT_NE(frame, nullptr);
    // The child area with its scroll bars, which show while a child is larger than the area.
    auto* child = qobject_cast<QMdiSubWindow*>(frame);
    const QRect bounds = child ? child->mdiArea()->contentsRect() : frame->screen()->availableGeometry();
    const QPoint spot = bounds.topLeft() + QPoint(std::max(bounds.width() - frame->width(), 0) / 2,
                                                  std::max(bounds.height() - frame->height(), 0) / 2);
    frame->setGeometry(QRect(spot, frame->size()));
    Show(window, false);
    Show(window, true);
    EXPECT_EQ(FrameOf(window)->geometry().topLeft(), spot);
    frame->setGeometry(QRect(bounds.bottomRight() + QPoint(500, 400), frame->size()));
    Show(window, false);
    Show(window, true);
    EXPECT_TRUE(bounds.contains(FrameOf(window)->geometry().topLeft()));
    EXPECT_LE(FrameOf(window)->geometry().right(), std::max(bounds.right(), frame->width() - 1));
    Show(window, false);
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, WindowFit,
                         ::testing::Values(Language::English, Language::Portuguese, Language::Spanish, Language::French,
                                           Language::German),
                         LanguageName);

}  // namespace
}  // namespace zr::gui
