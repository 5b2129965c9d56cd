#include "gui/control_bindings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <cmath>
#include <type_traits>
#include <vector>

#include "gui/button_tips.h"
#include "gui/icons.h"
#include "gui/picture_image.h"

namespace zr::gui {

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

// The visible and enabled flags and the tool tip every control has.
void ShowFlags(QWidget& widget, const ui::Control& control) {
  if (widget.isVisibleTo(widget.parentWidget()) != control.Visible.get()) widget.setVisible(control.Visible.get());
  if (widget.isEnabled() != control.Enabled.get()) widget.setEnabled(control.Enabled.get());
  const QString tip = Text(control.ToolTipText.get());
  if (widget.toolTip() != tip) widget.setToolTip(tip);
}

void SetTextIfChanged(QLabel& label, const QString& text) {
  if (label.text() != text) label.setText(text);
}

QColor ToolkitColour(ui::Colour colour) { return QColor(colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF); }

template <class W, class C>
class BindingOf : public Binding {
 public:
  BindingOf(C& control, W* widget, Guard guard) : control_(control), widget_(widget), guard_(std::move(guard)) {}
  QWidget* Widget() const override { return widget_; }

 protected:
  void Operator(const std::function<void()>& action) { guard_(action); }
  C& control_;
  W* widget_;
  Guard guard_;
};

// ---- labels

class ClickableLabel final : public QLabel {
 public:
  using QLabel::QLabel;
  std::function<void()> on_click;

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override {
    if (event->button() == Qt::LeftButton && on_click) on_click();
  }
};

class LabelBinding final : public BindingOf<ClickableLabel, ui::Label> {
 public:
  LabelBinding(ui::Label& label, const Guard& guard, QWidget* parent)
      : BindingOf(label, new ClickableLabel(parent), guard) {
    widget_->setObjectName(Text(label.Name()));
    widget_->on_click = [this] { Operator([this] { control_.Click(); }); };
  }
  void Refresh() override {
    SetTextIfChanged(*widget_, Text(control_.Caption));
    QFont font = widget_->font();
    if (font.bold() != control_.FontBold.get()) {
      font.setBold(control_.FontBold);
      widget_->setFont(font);
    }
    const QString style = control_.ForeColor.get() == ui::kBlack
                              ? QString()
                              : QString("color: %1;").arg(ToolkitColour(control_.ForeColor).name());
    if (widget_->styleSheet() != style) widget_->setStyleSheet(style);
    ShowFlags(*widget_, control_);
  }
};

// ---- text boxes, buttons, check boxes, ranges

class TextBoxBinding final : public BindingOf<QLineEdit, ui::TextBox> {
 public:
  TextBoxBinding(ui::TextBox& box, const Guard& guard, QWidget* parent) : BindingOf(box, new QLineEdit(parent), guard) {
    widget_->setObjectName(Text(box.Name()));
    QObject::connect(widget_, &QLineEdit::textEdited, widget_, [this](const QString& text) {
      Operator([this, text] { control_.Set("Text", ui::Value{text.toStdString()}); });
    });
  }
  void Refresh() override {
    if (widget_->text() != Text(control_.Text)) widget_->setText(Text(control_.Text));
    ShowFlags(*widget_, control_);
  }
};

// A box of several lines: its lines end in CR LF in the model and in LF in the widget.
class MultiLineTextBinding final : public BindingOf<QPlainTextEdit, ui::TextBox> {
 public:
  MultiLineTextBinding(ui::TextBox& box, const Guard& guard, QWidget* parent)
      : BindingOf(box, new QPlainTextEdit(parent), guard) {
    widget_->setObjectName(Text(box.Name()));
    QObject::connect(widget_, &QPlainTextEdit::textChanged, widget_, [this] {
      if (refreshing_) return;
      const std::string text = widget_->toPlainText().replace("\n", "\r\n").toStdString();
      Operator([this, text] { control_.Set("Text", ui::Value{text}); });
    });
  }
  void Refresh() override {
    const QString text = Text(control_.Text).replace("\r\n", "\n");
    refreshing_ = true;
    if (widget_->toPlainText() != text) widget_->setPlainText(text);
    QFont font = widget_->font();
    if (font.italic() != control_.FontItalic.get()) {
      font.setItalic(control_.FontItalic);
      widget_->setFont(font);
    }
    refreshing_ = false;
    ShowFlags(*widget_, control_);
  }

 private:
  bool refreshing_ = false;
};

class CommandButtonBinding final : public BindingOf<QPushButton, ui::CommandButton> {
 public:
  CommandButtonBinding(ui::CommandButton& button, const Guard& guard, QWidget* parent)
      : BindingOf(button, new QPushButton(parent), guard) {
    widget_->setObjectName(Text(button.Name()));
    QObject::connect(widget_, &QPushButton::clicked, widget_, [this] { Operator([this] { control_.Click(); }); });
  }
  void Refresh() override {
    if (widget_->text() != Text(control_.Caption)) widget_->setText(Text(control_.Caption));
    ShowFlags(*widget_, control_);
  }
};

class CheckBoxBinding final : public BindingOf<QAbstractButton, ui::CheckBox> {
 public:
  CheckBoxBinding(ui::CheckBox& box, const Guard& guard, QWidget* parent)
      : BindingOf(box,
                  box.is_option_button ? static_cast<QAbstractButton*>(new QRadioButton(parent))
                                       : static_cast<QAbstractButton*>(new QCheckBox(parent)),
                  guard) {
    widget_->setObjectName(Text(box.Name()));
    if (box.is_option_button) static_cast<QRadioButton*>(widget_)->setAutoExclusive(false);
    QObject::connect(widget_, &QAbstractButton::clicked, widget_, [this] {
      Operator([this] { control_.Click(); });
      Refresh();
    });
  }
  void Refresh() override {
    if (widget_->text() != Text(control_.Caption)) widget_->setText(Text(control_.Caption));
    const bool checked = control_.Value != 0;
    if (widget_->isChecked() != checked) widget_->setChecked(checked);
    ShowFlags(*widget_, control_);
  }
};

// An up-down as a spin box, a slider as a slider; both show and take the control's value.
template <class W>
class RangeBinding final : public BindingOf<W, ui::RangeControl> {
 public:
  RangeBinding(ui::RangeControl& range, const Guard& guard, QWidget* parent)
      : BindingOf<W, ui::RangeControl>(range, new W(parent), guard) {
    W* widget = this->widget_;
    widget->setObjectName(Text(range.Name()));
    widget->setSingleStep(range.small_step);
    if constexpr (std::is_base_of_v<QAbstractSlider, W>) {
      widget->setOrientation(Qt::Horizontal);
      widget->setPageStep(range.large_step);
      widget->setMinimumWidth(120);
      // A drag is the operator's scroll, each move of the box on its own.
      QObject::connect(widget, &W::sliderMoved, widget,
                       [this](int value) { this->Operator([this, value] { this->control_.Scroll(value); }); });
    }
    QObject::connect(widget, &W::valueChanged, widget, [this](int value) {
      if (refreshing_ || value == this->control_.Value) return;
      this->Operator([this, value] { this->control_.Set("Value", ui::Value{static_cast<std::int64_t>(value)}); });
    });
  }
  void Refresh() override {
    refreshing_ = true;
    W& widget = *this->widget_;
    const ui::RangeControl& range = this->control_;
    if (widget.minimum() != range.Min || widget.maximum() != range.Max) widget.setRange(range.Min, range.Max);
    if (widget.value() != range.Value) widget.setValue(range.Value);
    refreshing_ = false;
    ShowFlags(widget, range);
  }

 private:
  bool refreshing_ = false;
};

// ---- lists

class ProgressBinding final : public BindingOf<QProgressBar, ui::RangeControl> {
 public:
  ProgressBinding(ui::RangeControl& range, const Guard& guard, QWidget* parent)
      : BindingOf(range, new QProgressBar(parent), guard) {
    widget_->setObjectName(Text(range.Name()));
    widget_->setMinimumWidth(160);
  }
  void Refresh() override {
    if (widget_->minimum() != control_.Min || widget_->maximum() != control_.Max)
      widget_->setRange(control_.Min, control_.Max);
    if (widget_->value() != control_.Value) widget_->setValue(control_.Value);
    ShowFlags(*widget_, control_);
  }
};

std::vector<QString> ItemTexts(const ui::ListControl& list) {
  std::vector<QString> texts;
  for (const auto& item : list.Items) texts.push_back(Text(item.text));
  return texts;
}

// True when the list's entries are no longer those shown; `shown` then holds the new ones.
bool EntriesChanged(const ui::ListControl& list, std::vector<QString>& shown) {
  auto texts = ItemTexts(list);
  if (texts == shown) return false;
  shown = std::move(texts);
  return true;
}

class ComboBinding final : public BindingOf<QComboBox, ui::ListControl> {
 public:
  ComboBinding(ui::ListControl& list, const Guard& guard, QWidget* parent)
      : BindingOf(list, new QComboBox(parent), guard) {
    widget_->setObjectName(Text(list.Name()));
    QObject::connect(widget_, &QComboBox::activated, widget_,
                     [this](int index) { Operator([this, index] { control_.ClickEntry(index); }); });
  }
  void Refresh() override {
    if (EntriesChanged(control_, shown_)) {
      widget_->clear();
      for (const QString& text : shown_) widget_->addItem(text);
    }
    if (widget_->currentIndex() != control_.ListIndex) widget_->setCurrentIndex(control_.ListIndex);
    ShowFlags(*widget_, control_);
  }

 private:
  std::vector<QString> shown_;
};

class ListBoxBinding final : public BindingOf<QListWidget, ui::ListControl> {
 public:
  ListBoxBinding(ui::ListControl& list, const Guard& guard, QWidget* parent)
      : BindingOf(list, new QListWidget(parent), guard) {
    widget_->setObjectName(Text(list.Name()));
    QObject::connect(widget_, &QListWidget::itemClicked, widget_, [this](QListWidgetItem* item) {
      const int row = widget_->row(item);
      Operator([this, row] { control_.ClickEntry(row); });
    });
    QObject::connect(widget_, &QListWidget::itemDoubleClicked, widget_, [this](QListWidgetItem* item) {
      const int row = widget_->row(item);
      Operator([this, row] { control_.DblClickEntry(row); });
    });
    if (control_.OnReorder) {
      // The toolkit moves the row itself; the model decides, and the next refresh shows its order.
      widget_->setDragDropMode(QAbstractItemView::InternalMove);
      QObject::connect(widget_->model(), &QAbstractItemModel::rowsMoved, widget_,
                       [this](const QModelIndex&, int from, int, const QModelIndex&, int before) {
                         const int to = before > from ? before - 1 : before;
                         Operator([this, from, to] { control_.OnReorder(from, to); });
                         shown_.clear();
                       });
    }
  }
  void Refresh() override {
    if (EntriesChanged(control_, shown_)) {
      widget_->clear();
      for (std::size_t row = 0; row < shown_.size(); ++row) {
        auto* item = new QListWidgetItem(shown_[row], widget_);
        QFont font = item->font();
        font.setBold(control_.Items[row].bold);
        item->setFont(font);
      }
    }
    if (widget_->currentRow() != control_.ListIndex) widget_->setCurrentRow(control_.ListIndex);
    ShowFlags(*widget_, control_);
  }

 private:
  std::vector<QString> shown_;
};

// ---- toolbars

class ToolbarBinding final : public BindingOf<QToolBar, ui::Toolbar> {
 public:
  ToolbarBinding(ui::Toolbar& bar, const Guard& guard, QWidget* parent) : BindingOf(bar, new QToolBar(parent), guard) {
    widget_->setObjectName(Text(bar.Name()));
    widget_->setIconSize(QSize(24, 24));
    widget_->setToolButtonStyle(Qt::ToolButtonIconOnly);
    OfferHiddenButtons();
  }
  void Refresh() override {
    if (shown_count_ != control_.Buttons().size()) Rebuild();
    for (std::size_t index = 0; index < control_.Buttons().size(); ++index)
      ShowButton(*control_.Buttons()[index], *buttons_[index]);
    ShowFlags(*widget_, control_);
  }

 private:
  struct ShownButton {
    QToolButton* tool = nullptr;
    QAction* action = nullptr;
    std::string image;
    std::size_t menu_count = 0;
  };

  // The toolbar's "»" stands where its buttons pass its edge; outside a main window's toolbar
  // area it would unfold nothing, so it opens a menu of the buttons it hides instead.
  void OfferHiddenButtons() {
    auto* chevron = widget_->findChild<QToolButton*>("qt_toolbar_ext_button");
    if (!chevron) return;
    QObject::disconnect(chevron, &QAbstractButton::clicked, nullptr, nullptr);
    chevron->setCheckable(false);
    auto* hidden = new QMenu(chevron);
    hidden->setObjectName("HiddenButtons");
    chevron->setMenu(hidden);
    chevron->setPopupMode(QToolButton::InstantPopup);
    QObject::connect(hidden, &QMenu::aboutToShow, hidden, [this, hidden] { FillHiddenButtons(*hidden); });
  }

  // Each button past the edge as an entry that clicks it; a button with entries of its own as
  // a menu of them, led by the button itself.
  void FillHiddenButtons(QMenu& hidden) {
    hidden.clear();
    for (std::size_t index = 0; index < buttons_.size(); ++index) {
      const ShownButton& shown = *buttons_[index];
      if (!shown.tool || !shown.action->isVisible() || !shown.tool->isHidden()) continue;
      const QString text = shown.tool->text().isEmpty() ? shown.tool->toolTip() : shown.tool->text();
      QMenu* into = &hidden;
      if (shown.tool->menu()) {
        into = hidden.addMenu(shown.tool->icon(), text);
        into->setEnabled(shown.tool->isEnabled());
      }
      QAction* click = into->addAction(shown.tool->icon(), text);
      click->setEnabled(shown.tool->isEnabled());
      click->setCheckable(shown.tool->isCheckable());
      click->setChecked(shown.tool->isChecked());
      ui::ToolbarButton* model = control_.Buttons()[index].get();
      QObject::connect(click, &QAction::triggered, &hidden, [this, model] {
        Operator([this, model] { control_.ClickButton(*model); });
        Refresh();
      });
      if (QMenu* entries = shown.tool->menu()) {
        into->addSeparator();
        into->addActions(entries->actions());
      }
    }
  }

  void Rebuild() {
    widget_->clear();
    buttons_.clear();
    for (const auto& button : control_.Buttons()) {
      auto shown = std::make_unique<ShownButton>();
      if (button->Style() == ui::ButtonStyle::Separator) {
        shown->action = widget_->addSeparator();
      } else {
        shown->tool = new QToolButton(widget_);
        shown->tool->setObjectName(Text(button->Key()));
        shown->tool->setAutoRaise(true);
        const bool checkable = button->Style() == ui::ButtonStyle::Check || button->Style() == ui::ButtonStyle::Group;
        shown->tool->setCheckable(checkable);
        ui::ToolbarButton* model = button.get();
        QObject::connect(shown->tool, &QToolButton::clicked, shown->tool, [this, model] {
          Operator([this, model] { control_.ClickButton(*model); });
          Refresh();
        });
        shown->action = widget_->addWidget(shown->tool);
      }
      buttons_.push_back(std::move(shown));
    }
    shown_count_ = control_.Buttons().size();
  }

  void ShowButton(ui::ToolbarButton& model, ShownButton& shown) {
    shown.action->setVisible(model.Visible);
    if (!shown.tool) return;
    if (shown.image != model.Image.get()) {
      shown.tool->setIcon(ToolbarIcon(model.Image.get()));
      shown.image = model.Image.get();
    }
    const QString tip = !model.ToolTipText.get().empty() ? Text(model.ToolTipText)
                        : !model.Caption.get().empty()   ? Text(model.Caption)
                                                         : ButtonTip(control_.Name(), model.Key());
    if (shown.tool->toolTip() != tip) shown.tool->setToolTip(tip);
    if (shown.tool->text() != Text(model.Caption)) shown.tool->setText(Text(model.Caption));
    shown.tool->setToolButtonStyle(model.Caption.get().empty() ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
    if (shown.tool->isEnabled() != model.Enabled.get()) shown.tool->setEnabled(model.Enabled);
    if (shown.tool->isCheckable() && shown.tool->isChecked() != (model.Value == 1))
      shown.tool->setChecked(model.Value == 1);
    // A drop-down button always has its menu; any other button has one while it offers entries.
    if (model.Style() == ui::ButtonStyle::Dropdown || !model.ButtonMenus.empty()) ShowMenu(model, shown);
  }

  void ShowMenu(ui::ToolbarButton& model, ShownButton& shown) {
    if (!shown.tool->menu()) {
      shown.tool->setMenu(new QMenu(shown.tool));
      shown.tool->setPopupMode(QToolButton::MenuButtonPopup);
    }
    QMenu& menu = *shown.tool->menu();
    if (shown.menu_count != model.ButtonMenus.size()) {
      menu.clear();
      // An entry is found by its place when chosen: the model may have made its entries anew.
      for (std::size_t index = 0; index < model.ButtonMenus.size(); ++index) {
        const std::string& text = model.ButtonMenus[index]->Text.get();
        QAction* action = text == "-" ? menu.addSeparator() : menu.addAction(Text(text));
        QObject::connect(action, &QAction::triggered, &menu, [this, &model, index] {
          Operator([this, &model, index] {
            if (index < model.ButtonMenus.size()) control_.ClickButtonMenu(model, *model.ButtonMenus[index]);
          });
        });
      }
      shown.menu_count = model.ButtonMenus.size();
    }
    const auto actions = menu.actions();
    for (std::size_t index = 0; index < model.ButtonMenus.size() && index < static_cast<std::size_t>(actions.size());
         ++index) {
      const ui::ButtonMenu& entry = *model.ButtonMenus[index];
      QAction& action = *actions[static_cast<qsizetype>(index)];
      if (!action.isSeparator() && action.text() != Text(entry.Text)) action.setText(Text(entry.Text));
      action.setEnabled(entry.Enabled);
      action.setVisible(entry.Visible);
      action.setCheckable(entry.Checked);
      action.setChecked(entry.Checked);
    }
  }

  std::vector<std::unique_ptr<ShownButton>> buttons_;
  std::size_t shown_count_ = static_cast<std::size_t>(-1);
};

// ---- status bars, pictures, tabs

class StatusBarBinding final : public BindingOf<QWidget, ui::StatusBar> {
 public:
  StatusBarBinding(ui::StatusBar& bar, const Guard& guard, QWidget* parent)
      : BindingOf(bar, new QWidget(parent), guard) {
    widget_->setObjectName(Text(bar.Name()));
    auto* layout = new QHBoxLayout(widget_);
    layout->setContentsMargins(2, 1, 2, 1);
    layout->setSpacing(2);
  }
  void Refresh() override {
    while (panels_.size() < static_cast<std::size_t>(control_.PanelCount()))
      AddPanel(static_cast<int>(panels_.size()) + 1);
    for (int number = 1; number <= control_.PanelCount(); ++number) {
      ui::Panel& panel = control_.Panels(number);
      QLabel& label = *panels_[static_cast<std::size_t>(number - 1)];
      SetTextIfChanged(label, Text(panel.Text));
      label.setFrameShadow(panel.Bevel.get() == ui::BevelStyle::Raised ? QFrame::Raised : QFrame::Sunken);
    }
    // A bar without panels shows its one simple text.
    if (control_.PanelCount() == 0) {
      if (!simple_) {
        simple_ = new QLabel(widget_);
        widget_->layout()->addWidget(simple_);
      }
      SetTextIfChanged(*simple_, Text(control_.SimpleText));
    }
    ShowFlags(*widget_, control_);
  }

 private:
  void AddPanel(int number) {
    auto* label = new ClickableLabel(widget_);
    label->setFrameShape(QFrame::Panel);
    label->setObjectName(Text(control_.Panels(number).key));
    // A panel without a text of its own, such as a capture window's size, shows its picture.
    if (const std::string& key = control_.Panels(number).key; HasOwnPictogram(key)) {
      const qreal ratio = label->devicePixelRatioF();
      QPixmap picture = DrawnIcon(key, static_cast<int>(std::lround(16 * ratio)));
      picture.setDevicePixelRatio(ratio);
      label->setPixmap(picture);
      label->setAlignment(Qt::AlignCenter);
    }
    label->on_click = [this, number] { Operator([this, number] { control_.ClickPanel(control_.Panels(number)); }); };
    widget_->layout()->addWidget(label);
    panels_.push_back(label);
  }
  std::vector<QLabel*> panels_;
  QLabel* simple_ = nullptr;
};

// Draws the holder's picture scaled into the widget, keeping its shape.
class PictureWidget final : public QWidget {
 public:
  using QWidget::QWidget;
  std::shared_ptr<const platform::Picture> shown;
  QImage image;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    if (image.isNull()) return;
    const QSize fitted = image.size().scaled(size(), Qt::KeepAspectRatio);
    painter.drawImage(QRect(QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted), image);
  }
};

class PictureBinding final : public BindingOf<PictureWidget, ui::PictureBox> {
 public:
  PictureBinding(ui::PictureBox& box, const Guard& guard, QWidget* parent)
      : BindingOf(box, new PictureWidget(parent), guard) {
    widget_->setObjectName(Text(box.Name()));
    widget_->setMinimumSize(64, 48);
  }
  void Refresh() override {
    if (widget_->shown != control_.Picture) {
      widget_->shown = control_.Picture;
      widget_->image = control_.Picture ? ToQImage(*control_.Picture) : QImage();
      if (!widget_->image.isNull()) widget_->setMinimumSize(widget_->image.size().boundedTo(QSize(640, 480)));
      widget_->update();
    }
    ShowFlags(*widget_, control_);
  }
};

class TabBinding final : public BindingOf<QTabBar, ui::TabStrip> {
 public:
  TabBinding(ui::TabStrip& tabs, const Guard& guard, QWidget* parent) : BindingOf(tabs, new QTabBar(parent), guard) {
    widget_->setObjectName(Text(tabs.Name()));
    for (const auto& caption : tabs.Tabs) widget_->addTab(Text(caption));
    QObject::connect(widget_, &QTabBar::tabBarClicked, widget_,
                     [this](int index) { Operator([this, index] { control_.ClickTab(index + 1); }); });
  }
  void Refresh() override {
    if (widget_->currentIndex() != control_.SelectedIndex - 1) widget_->setCurrentIndex(control_.SelectedIndex - 1);
    ShowFlags(*widget_, control_);
  }
};

// A tree, rebuilt whenever its nodes change; a node shows open where the model opened it.
class TreeBinding final : public BindingOf<QTreeWidget, ui::TreeView> {
 public:
  TreeBinding(ui::TreeView& tree, const Guard& guard, QWidget* parent)
      : BindingOf(tree, new QTreeWidget(parent), guard) {
    widget_->setObjectName(Text(tree.Name()));
    widget_->setHeaderHidden(true);
    widget_->setMinimumSize(320, 240);
  }
  void Refresh() override {
    std::vector<std::pair<int, std::string>> nodes;
    for (int number = 1; number <= control_.NodeCount(); ++number)
      nodes.emplace_back(control_.Node(number).parent, control_.Node(number).text);
    if (nodes != shown_) Rebuild(std::move(nodes));
    ShowFlags(*widget_, control_);
  }

 private:
  void Rebuild(std::vector<std::pair<int, std::string>> nodes) {
    widget_->clear();
    std::vector<QTreeWidgetItem*> items;
    for (const auto& [parent, text] : nodes) {
      auto* item =
          parent == 0 ? new QTreeWidgetItem(widget_) : new QTreeWidgetItem(items[static_cast<std::size_t>(parent - 1)]);
      item->setText(0, Text(text));
      items.push_back(item);
    }
    for (std::size_t index = 0; index < items.size(); ++index)
      items[index]->setExpanded(control_.Node(static_cast<int>(index) + 1).expanded);
    shown_ = std::move(nodes);
  }
  std::vector<std::pair<int, std::string>> shown_;
};

// A list in report view: a row of headers over rows of texts, rebuilt whenever a text changes.
class ListViewBinding final : public BindingOf<QTreeWidget, ui::ListView> {
 public:
  ListViewBinding(ui::ListView& list, const Guard& guard, QWidget* parent)
      : BindingOf(list, new QTreeWidget(parent), guard) {
    widget_->setObjectName(Text(list.Name()));
    widget_->setRootIsDecorated(false);
    widget_->setUniformRowHeights(true);
    widget_->setAllColumnsShowFocus(true);
    QObject::connect(widget_, &QTreeWidget::itemClicked, widget_, [this](QTreeWidgetItem* item) {
      const int row = widget_->indexOfTopLevelItem(item);
      Operator([this, row] { control_.ClickEntry(row); });
    });
  }
  void Refresh() override {
    if (control_.ColumnHeaders != headers_) {
      headers_ = control_.ColumnHeaders;
      QStringList texts;
      for (const auto& header : headers_) texts << Text(header);
      widget_->setColumnCount(static_cast<int>(headers_.size()));
      widget_->setHeaderLabels(texts);
      // The first column takes what the others leave.
      widget_->header()->setStretchLastSection(false);
      widget_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
      if (!headers_.empty()) widget_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    }
    std::vector<std::vector<std::string>> rows;
    rows.reserve(control_.ListItems.size());
    for (const auto& item : control_.ListItems) {
      std::vector<std::string> row{item.text};
      for (std::size_t column = 1; column < headers_.size(); ++column)
        row.push_back(item.SubItem(static_cast<int>(column)));
      rows.push_back(std::move(row));
    }
    if (rows != rows_) Rebuild(std::move(rows));
    QTreeWidgetItem* selected = control_.ListIndex >= 0 ? widget_->topLevelItem(control_.ListIndex) : nullptr;
    if (widget_->currentItem() != selected) widget_->setCurrentItem(selected);
    if (scroll_requests_ != control_.scroll_requests) {
      scroll_requests_ = control_.scroll_requests;
      if (QTreeWidgetItem* item = widget_->topLevelItem(control_.scroll_row)) widget_->scrollToItem(item);
    }
    ShowFlags(*widget_, control_);
  }

 private:
  void Rebuild(std::vector<std::vector<std::string>> rows) {
    widget_->clear();
    QList<QTreeWidgetItem*> items;
    for (const auto& row : rows) {
      auto* item = new QTreeWidgetItem;
      for (std::size_t column = 0; column < row.size(); ++column)
        item->setText(static_cast<int>(column), Text(row[column]));
      items << item;
    }
    widget_->addTopLevelItems(items);
    rows_ = std::move(rows);
  }
  std::vector<std::string> headers_;
  std::vector<std::vector<std::string>> rows_;
  std::uint64_t scroll_requests_ = 0;
};

template <class B, class C>
std::unique_ptr<Binding> Make(C& control, const Guard& guard, QWidget* parent) {
  auto binding = std::make_unique<B>(control, guard, parent);
  binding->Refresh();
  return binding;
}

}  // namespace

bool ShowsAsListBox(const ui::ListControl& list) {
  return list.Name() == "devices" || list.Name() == "lstDIBList" || list.Name() == "InfoItems" ||
         list.Name() == "Sources";
}

std::unique_ptr<Binding> BindControl(ui::Control& control, const Guard& guard, QWidget* parent) {
  if (auto* label = dynamic_cast<ui::Label*>(&control)) return Make<LabelBinding>(*label, guard, parent);
  if (auto* box = dynamic_cast<ui::TextBox*>(&control)) {
    if (box->multi_line) return Make<MultiLineTextBinding>(*box, guard, parent);
    return Make<TextBoxBinding>(*box, guard, parent);
  }
  if (auto* button = dynamic_cast<ui::CommandButton*>(&control))
    return Make<CommandButtonBinding>(*button, guard, parent);
  if (auto* check = dynamic_cast<ui::CheckBox*>(&control)) return Make<CheckBoxBinding>(*check, guard, parent);
  if (auto* range = dynamic_cast<ui::RangeControl*>(&control)) {
    if (range->is_progress_bar) return Make<ProgressBinding>(*range, guard, parent);
    if (range->is_slider) return Make<RangeBinding<QSlider>>(*range, guard, parent);
    if (range->is_scroll_bar) return Make<RangeBinding<QScrollBar>>(*range, guard, parent);
    return Make<RangeBinding<QSpinBox>>(*range, guard, parent);
  }
  if (auto* list = dynamic_cast<ui::ListControl*>(&control)) {
    if (ShowsAsListBox(*list)) return Make<ListBoxBinding>(*list, guard, parent);
    return Make<ComboBinding>(*list, guard, parent);
  }
  if (auto* bar = dynamic_cast<ui::Toolbar*>(&control)) return Make<ToolbarBinding>(*bar, guard, parent);
  if (auto* status = dynamic_cast<ui::StatusBar*>(&control)) return Make<StatusBarBinding>(*status, guard, parent);
  if (auto* picture = dynamic_cast<ui::PictureBox*>(&control)) return Make<PictureBinding>(*picture, guard, parent);
  if (auto* tabs = dynamic_cast<ui::TabStrip*>(&control)) return Make<TabBinding>(*tabs, guard, parent);
  if (auto* tree = dynamic_cast<ui::TreeView*>(&control)) return Make<TreeBinding>(*tree, guard, parent);
  if (auto* view = dynamic_cast<ui::ListView*>(&control)) return Make<ListViewBinding>(*view, guard, parent);
  return nullptr;
}

}  // namespace zr::gui
