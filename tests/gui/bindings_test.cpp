// The widgets show the model and hand the operator's input to it: a change of the model shows
// after a refresh, a click or a change on the widget reaches the control's handler.

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <stdexcept>
#include <tuple>

#include "gui/control_bindings.h"
#include "gui/desktop_face.h"
#include "gui/picture_image.h"
#include "gui/qt_event_loop.h"
#include "gui/qt_services.h"
#include "gui/toolkit_language.h"
#include "ui/window.h"

namespace zr::gui {
namespace {

class Panel : public ui::Window {
 public:
  explicit Panel(platform::EventLoop& loop) : ui::Window(loop, "Panel") {
    Quality.is_slider = true;
    Quality.large_step = 5;
    Progress.is_progress_bar = true;
    lstDIBList.OnReorder = [this](int from, int to) { reorders.emplace_back(from, to); };
  }
  ui::Label Caption{*this, "CaptionLabel"};
  ui::CommandButton Go{*this, "Go"};
  ui::Toolbar Bar{*this, "Bar"};
  ui::ListControl Choice{*this, "Choice"};
  ui::ListControl devices{*this, "devices"};
  ui::RangeControl Seconds{*this, "Seconds"};
  ui::RangeControl Quality{*this, "Quality"};
  ui::TreeView Tree{*this, "Tree"};
  ui::RangeControl Progress{*this, "Progress"};
  ui::ListControl lstDIBList{*this, "lstDIBList"};
  std::vector<std::pair<int, int>> reorders;
};

class Bindings : public ::testing::Test {
 protected:
  Bindings() {
    for (ui::Control* control : panel.Controls()) bindings.push_back(BindControl(*control, guard, &host));
  }
  void RefreshAll() {
    for (auto& binding : bindings) binding->Refresh();
  }
  template <class W>
  W* Find(const char* name) {
    return host.findChild<W*>(name);
  }

  QtEventLoop loop;
  Panel panel{loop};
  QWidget host;
  std::vector<std::string> failures;
  Guard guard = [this](const std::function<void()>& action) {
    try {
      action();
    } catch (const std::exception& failure) {
      failures.push_back(failure.what());
    }
  };
  std::vector<std::unique_ptr<Binding>> bindings;
};

TEST_F(Bindings, ModelChangesShowAfterARefresh) {
  panel.Caption.Caption = "Stopped";
  panel.Caption.ForeColor = ui::Rgb(255, 0, 0);
  panel.Go.Enabled = false;
  panel.Choice.AddItem("Mono");
  panel.Choice.AddItem("Stereo");
  panel.Choice.ListIndex = 1;
  panel.Choice.ToolTipText = "File type selection";
  panel.Seconds.Max = 59;
  panel.Seconds.Value = 42;
  panel.Bar.AddButton("record", ui::ButtonStyle::Default, "record").Caption = "Rec/Stop";
  RefreshAll();
  EXPECT_EQ(Find<QLabel>("CaptionLabel")->text(), "Stopped");
  EXPECT_TRUE(Find<QLabel>("CaptionLabel")->styleSheet().contains("#ff0000"));
  EXPECT_FALSE(Find<QPushButton>("Go")->isEnabled());
  EXPECT_EQ(Find<QComboBox>("Choice")->count(), 2);
  EXPECT_EQ(Find<QComboBox>("Choice")->currentText(), "Stereo");
  EXPECT_EQ(Find<QComboBox>("Choice")->toolTip(), "File type selection");
  EXPECT_EQ(Find<QSpinBox>("Seconds")->value(), 42);
  EXPECT_EQ(Find<QToolButton>("record")->text(), "Rec/Stop");
  EXPECT_EQ(Find<QSlider>("Quality")->pageStep(), 5);
  EXPECT_EQ(Find<QSlider>("Seconds"), nullptr);

  panel.Bar.Button("record").Image = "stop";
  panel.Bar.Button("record").Visible = false;
  panel.Choice.Clear();
  RefreshAll();
  EXPECT_EQ(Find<QComboBox>("Choice")->count(), 0);
  EXPECT_FALSE(Find<QToolButton>("record")->isVisibleTo(&host));
}

// A tree shows every node under its own parent, open where the model opened it, and follows a
// model that fills it anew.
TEST_F(Bindings, ATreeShowsItsNodesUnderTheirParents) {
  const int video = panel.Tree.Add(0, "video", "Video Compressors");
  const int audio = panel.Tree.Add(0, "audio", "Audio Compressors");
  const int old = panel.Tree.Add(video, "", "Cinepak");
  panel.Tree.Add(old, "", "Bits: 32 bits");
  panel.Tree.Add(audio, "", "PCM");
  panel.Tree.Node(video).expanded = true;
  RefreshAll();
  auto* tree = Find<QTreeWidget>("Tree");
  ASSERT_EQ(tree->topLevelItemCount(), 2);
  QTreeWidgetItem* shown_video = tree->topLevelItem(0);
  EXPECT_TRUE(shown_video->isExpanded());
  EXPECT_FALSE(tree->topLevelItem(1)->isExpanded());
  ASSERT_EQ(shown_video->childCount(), 1);
  EXPECT_EQ(shown_video->child(0)->child(0)->text(0), "Bits: 32 bits");
  EXPECT_EQ(tree->topLevelItem(1)->child(0)->text(0), "PCM");

  panel.Tree.Clear();
  panel.Tree.Add(0, "video", "Video Compressors");
  RefreshAll();
  EXPECT_EQ(tree->topLevelItemCount(), 1);
  EXPECT_EQ(tree->topLevelItem(0)->childCount(), 0);
}

TEST_F(Bindings, TheOperatorsInputReachesTheHandlers) {
  std::vector<std::string> heard;
  panel.Go.OnClick = [&] { heard.push_back("go"); };
  auto& insert = panel.Bar.AddButton("insert", ui::ButtonStyle::Check, "insert");
  panel.Bar.OnButtonClick = [&](ui::ToolbarButton& button) {
    heard.push_back(button.Key() + "=" + std::to_string(button.Value.get()));
  };
  panel.devices.AddItem("Built-in Test Camera (VFW)");
  panel.devices.AddItem("Built-in Test Camera");
  panel.devices.OnClick = [&] { heard.push_back("device " + std::to_string(panel.devices.ListIndex.get())); };
  panel.Seconds.Max = 59;
  panel.Seconds.OnChange = [&] { heard.push_back("seconds " + std::to_string(panel.Seconds.Value.get())); };
  panel.Quality.Min = 10;
  panel.Quality.Max = 100;
  panel.Quality.Value = 25;
  RefreshAll();
  panel.Quality.OnChange = [&] { heard.push_back("quality " + std::to_string(panel.Quality.Value.get())); };

  Find<QPushButton>("Go")->click();
  Find<QToolButton>("insert")->click();
  auto* list = Find<QListWidget>("devices");
  emit list->itemClicked(list->item(1));
  Find<QSpinBox>("Seconds")->setValue(7);
  // A click beside the slider's handle moves it by the large step.
  Find<QSlider>("Quality")->triggerAction(QAbstractSlider::SliderPageStepAdd);
  EXPECT_EQ(heard, (std::vector<std::string>{"go", "insert=1", "device 1", "seconds 7", "quality 30"}));
  EXPECT_EQ(insert.Value.get(), 1);
  EXPECT_TRUE(Find<QToolButton>("insert")->isChecked());

  // A handler that fails is reported, and the widget goes on showing the model.
  panel.Go.OnClick = [] { throw std::runtime_error("no device"); };
  Find<QPushButton>("Go")->click();
  EXPECT_EQ(failures, std::vector<std::string>{"no device"});
}

// A toolbar narrower than its buttons offers those past its edge in the menu of its "»", each
// entry doing what its button does.
TEST_F(Bindings, TheChevronOffersTheButtonsPastTheEdge) {
  std::vector<std::string> clicked;
  panel.Bar.OnButtonClick = [&](ui::ToolbarButton& button) { clicked.push_back(button.Key()); };
  for (const char* key : {"record", "timer", "sound", "motion", "serial", "joystick"})
    panel.Bar.AddButton(key, ui::ButtonStyle::Default, key).Caption = key;
  panel.Bar.Button("sound").Visible = false;
  RefreshAll();
  auto* bar = Find<QToolBar>("Bar");
  host.show();
  bar->setGeometry(0, 0, 150, 40);
  QApplication::processEvents();
  auto* chevron = bar->findChild<QToolButton*>("qt_toolbar_ext_button");
  ASSERT_TRUE(chevron && chevron->isVisible() && chevron->menu());
  emit chevron->menu()->aboutToShow();
  std::vector<std::string> offered;
  for (QAction* entry : chevron->menu()->actions()) offered.push_back(entry->text().toStdString());
  std::vector<std::string> hidden;
  for (const char* key : {"record", "timer", "motion", "serial", "joystick"})
    if (Find<QToolButton>(key)->isHidden()) hidden.push_back(key);
  EXPECT_FALSE(hidden.empty());
  EXPECT_EQ(offered, hidden);
  chevron->menu()->actions().back()->trigger();
  EXPECT_EQ(clicked, std::vector<std::string>{"joystick"});
}

// A list that takes drags tells the model where the entry is to go, and shows the model's order
// afterwards, not the toolkit's; a progress bar shows its range and value.
TEST_F(Bindings, DraggedEntriesAreTheModelsToMoveAndProgressBarsShowTheirValue) {
  for (const char* path : {"a.bmp", "b.bmp", "c.bmp", "d.bmp"}) panel.lstDIBList.AddItem(path);
  panel.Progress.Max = 4;
  panel.Progress.Value = 3;
  RefreshAll();
  auto* list = Find<QListWidget>("lstDIBList");
  ASSERT_EQ(list->dragDropMode(), QAbstractItemView::InternalMove);
  ASSERT_TRUE(list->model()->moveRow(QModelIndex(), 0, QModelIndex(), 3));
  ASSERT_TRUE(list->model()->moveRow(QModelIndex(), 3, QModelIndex(), 1));
  EXPECT_EQ(panel.reorders, (std::vector<std::pair<int, int>>{{0, 2}, {3, 1}}));
  RefreshAll();
  EXPECT_EQ(list->item(0)->text(), "a.bmp");
  EXPECT_EQ(list->item(3)->text(), "d.bmp");
  EXPECT_EQ(Find<QListWidget>("devices")->dragDropMode(), QAbstractItemView::NoDragDrop);
  EXPECT_EQ(Find<QProgressBar>("Progress")->value(), 3);
  EXPECT_EQ(Find<QProgressBar>("Progress")->maximum(), 4);
}

TEST(PictureImages, RowsComeOutTopDownAndGoBackBottomUp) {
  platform::Picture picture = platform::Picture::Blank(3, 2);  // odd width: padded rows
  picture.PixelFromTop(0, 0)[2] = 255;                         // red at the top left
  picture.PixelFromTop(2, 1)[0] = 255;                         // blue at the bottom right
  const QImage image = ToQImage(picture);
  EXPECT_EQ(image.pixelColor(0, 0), QColor(255, 0, 0));
  EXPECT_EQ(image.pixelColor(2, 1), QColor(0, 0, 255));
  EXPECT_EQ(FromQImage(image).bottom_up_bgr, picture.bottom_up_bgr);
}

TEST(FileFilters, TheProgramsFilterReadsAsTheToolkitsOwn) {
  EXPECT_EQ(ToolkitFileFilter("All files |*.zrp;*.bmp|Movie File (*.avi)|*.avi|"),
            "All files (*.zrp *.bmp);;Movie File (*.avi) (*.avi)");
  UseToolkitLanguage(Language::German);
  EXPECT_EQ(ToolkitFileFilter("All files |*.zrp;*.bmp|Movie File (*.avi)|*.avi|"),
            "Alle Dateien (*.zrp *.bmp);;Filmdatei (*.avi) (*.avi)");
  UseToolkitLanguage(Language::English);
}

TEST(Keys, TheToolkitsKeysReadAsTheSystemsCodesAndTheKeyStateNames) {
  for (const auto& [key, code, name] :
       {std::tuple{Qt::Key_Escape, 27, ""}, std::tuple{Qt::Key_Space, 32, ""}, std::tuple{Qt::Key_Q, int{'Q'}, "Q"},
        std::tuple{Qt::Key_7, int{'7'}, ""}, std::tuple{Qt::Key_F12, 123, "F12"},
        std::tuple{Qt::Key_Control, 0, "ctrl"}, std::tuple{Qt::Key_Return, 0, ""}}) {
    EXPECT_EQ(VirtualKeyOf(key), code) << key;
    EXPECT_EQ(KeyStateName(key), name) << key;
  }
}

}  // namespace
}  // namespace zr::gui
