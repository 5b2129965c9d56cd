#pragma once
// The controls of the model: what the program's windows are made of. Each is plain state plus
// the events its toolkit counterpart raises; handlers are set by the window that owns it.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/event_loop.h"
#include "platform/picture.h"
#include "ui/control.h"

namespace zr::ui {

// A text shown on a window; a click on it is an event like any other.
class Label : public Control {
 public:
  using Control::Control;
  Property<std::string> Caption;
  Property<Colour> ForeColor{kBlack};
  Property<bool> FontBold{false};
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const Value& value) override;
};

// An editable text; its Change event runs whenever the text really changes.
class TextBox : public Control {
 public:
  TextBox(Window& owner, std::string name, std::optional<int> index = std::nullopt);
  Property<std::string> Text;
  Property<bool> FontItalic{false};
  std::function<void()> OnChange;
  // A box of several lines, whose lines end in CR LF in the text.
  bool multi_line = false;
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const Value& value) override;
};

// A push button with a caption.
class CommandButton : public Control {
 public:
  using Control::Control;
  Property<std::string> Caption;
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const Value& value) override;
};

// A check box (Value 0, 1 or 2 for greyed) or an option button (Value 0 or 1). Setting the
// value runs the Click event, as the toolkit does.
class CheckBox : public Control {
 public:
  CheckBox(Window& owner, std::string name, std::optional<int> index = std::nullopt);
  Property<int> Value{0};
  Property<std::string> Caption;
  std::optional<ui::Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const ui::Value& value) override;
  void Click() override;  // flips a check box; selects an option button
  bool is_option_button = false;
};

// An up-down, slider or scroll bar: a value inside a range; Change runs when it really changes.
class RangeControl : public Control {
 public:
  RangeControl(Window& owner, std::string name, std::optional<int> index = std::nullopt);
  Property<int> Value{0};
  Property<int> Min{0};
  Property<int> Max{10};
  std::function<void()> OnChange;
  std::optional<ui::Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const ui::Value& value) override;
  // A slider moves by its small step with the arrow keys and by its large step with a click
  // beside the handle; an up-down shows its value and steps by one.
  bool is_slider = false;
  // A progress bar: shown, never changed by the operator.
  bool is_progress_bar = false;
  // A scroll bar: dragging its box raises Scroll with each move, after the value has changed.
  bool is_scroll_bar = false;
  std::function<void()> OnScroll;
  void Scroll(int value);
  int small_step = 1;
  int large_step = 1;
};

// One entry of a list or combo box; key and tag serve lists that stand for menus.
struct ListItem {
  std::string text;
  std::string key;
  std::string tag;
  bool bold = false;
};

// A combo box or list box: items and the selected index (-1 for none). Setting ListIndex runs
// the Click event when the index really changes.
class ListControl : public Control {
 public:
  ListControl(Window& owner, std::string name, std::optional<int> index = std::nullopt);
  std::vector<ListItem> Items;
  Property<int> ListIndex{-1};
  void AddItem(std::string text);
  void Clear();
  int ListCount() const { return static_cast<int>(Items.size()); }
  std::string Text() const;  // the selected entry's text, empty with none
  std::optional<ui::Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const ui::Value& value) override;
  // A click on entry `entry`: selects it (running Click when the index changes).
  void ClickEntry(int entry);
  void DblClickEntry(int entry);
  // A list box whose entries the operator may drag to another place: the entry at `from` is to
  // stand at `to`. Where it is not set, the entries do not move.
  std::function<void(int from, int to)> OnReorder;
};

// One row of a report-view list: its text in the first column and the texts of the columns
// after it (sub item 1 is the second column).
struct ListViewItem {
  std::string text;
  std::vector<std::string> sub_items;
  // Sub item `number` (from 1); empty where the row has none.
  const std::string& SubItem(int number) const;
  void SetSubItem(int number, std::string value);
};

// A list in report view: column headers and rows of texts, one selected row or none. The rows
// count from 0 as a list box's entries do; the headers count from 1. Properties: ListCount,
// ListIndex (the selected row, -1 for none), List(i) (the text of row i), SubItem1(i) to
// SubItem9(i), Columns (the count) and ColumnHeader(i). A click on a row selects it and runs
// OnItemClick with the row.
class ListView : public Control {
 public:
  using Control::Control;
  std::vector<std::string> ColumnHeaders;
  std::vector<ListViewItem> ListItems;
  Property<int> ListIndex{-1};
  std::function<void(int row)> OnItemClick;

  int ListCount() const { return static_cast<int>(ListItems.size()); }
  ListViewItem* Selected();  // none when no row is selected
  void ClickEntry(int row);
  // Asks the face to scroll `row` into sight; the face scrolls once for each request.
  void EnsureVisible(int row) {
    scroll_row = row;
    ++scroll_requests;
  }
  int scroll_row = -1;
  std::uint64_t scroll_requests = 0;
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const Value& value) override;  // ListIndex selects, without a click
};

// One entry of a menu bar menu or of a menu array.
class Menu : public Control {
 public:
  using Control::Control;
  Property<std::string> Caption;
  Property<bool> Checked{false};
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const Value& value) override;
  void Click() override;  // a separator ("-") does nothing
};

// An entry of a toolbar button's drop-down menu.
struct ButtonMenu {
  std::string key;
  std::string tag;
  Property<std::string> Text;
  Property<bool> Enabled{true};
  Property<bool> Visible{true};
  Property<bool> Checked{false};
};

enum class ButtonStyle { Default, Check, Group, Dropdown, Separator };

// A toolbar button, found by its key.
class ToolbarButton {
 public:
  ToolbarButton(std::string key, ButtonStyle style, std::string image);
  const std::string& Key() const { return key_; }
  ButtonStyle Style() const { return style_; }
  Property<int> Value{0};  // 1 pressed, 0 released
  Property<bool> Enabled{true};
  Property<bool> Visible{true};
  Property<std::string> Image;
  Property<std::string> Caption;
  Property<std::string> ToolTipText;
  std::vector<std::unique_ptr<ButtonMenu>> ButtonMenus;

  ButtonMenu& AddMenu(std::string key, std::string text, std::string tag = "");
  ButtonMenu* FindMenu(std::string_view name);   // by key, else tag, else caption
  int MenuIndex(const ButtonMenu& entry) const;  // its place in the menu, from 0; -1 when not in it
  std::optional<ui::Value> Get(std::string_view property) const;
  bool Set(std::string_view property, const ui::Value& value);

 private:
  std::string key_;
  ButtonStyle style_;
};

// A toolbar: keyed buttons and the events of a click on a button or on a drop-down entry.
class Toolbar : public Control {
 public:
  using Control::Control;
  ToolbarButton& AddButton(std::string key, ButtonStyle style = ButtonStyle::Default, std::string image = "");
  ToolbarButton& Button(std::string_view key);  // fails loudly on a key the bar has not
  ToolbarButton* FindButton(std::string_view key);
  const std::vector<std::unique_ptr<ToolbarButton>>& Buttons() const { return buttons_; }

  // An operator's click: a check-style button flips its Value first.
  void ClickButton(ToolbarButton& button);
  void ClickButtonMenu(ToolbarButton& button, ButtonMenu& entry);

  std::function<void(ToolbarButton&)> OnButtonClick;
  std::function<void(ToolbarButton&, ButtonMenu&)> OnButtonMenuClick;

 private:
  std::vector<std::unique_ptr<ToolbarButton>> buttons_;
};

// A timer: while enabled with a non-zero interval it raises its Timer event every interval.
// The event loop keeps the countdown; a change of Enabled or Interval restarts it.
class Timer : public Control, public platform::TimerClient {
 public:
  Timer(Window& owner, std::string name, int interval_ms, bool enabled);
  ~Timer() override;
  Property<int> Interval;
  Property<std::string> Tag;
  std::function<void()> OnTimer;
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
  bool Set(std::string_view property, const Value& value) override;
  // Raised by the event loop when the countdown runs out.
  void Fire() override;
  bool Running() const { return Enabled && Interval > 0; }

 private:
  void Reschedule();
  platform::EventLoop& loop_;
};

// A band of a cool bar, by key; its position counts from 1.
struct Band {
  std::string key;
  Property<bool> Visible{true};
  Property<int> Width{0};  // pixels; 0 lets the bar size it
  Property<bool> NewRow{false};
};

class CoolBar : public Control {
 public:
  using Control::Control;
  Band& AddBand(std::string key);
  Band& Bands(std::string_view key);  // fails loudly on an unknown key
  Band* FindBand(std::string_view key);
  Band& BandAt(int position);  // 1-based
  int BandCount() const { return static_cast<int>(bands_.size()); }

 private:
  std::vector<std::unique_ptr<Band>> bands_;
};

enum class BevelStyle { Inset, Raised };

struct Panel {
  std::string key;
  Property<std::string> Text;
  Property<BevelStyle> Bevel{BevelStyle::Inset};
};

// A status bar: panels by key or by number (1-based); a click on a panel is an event.
class StatusBar : public Control {
 public:
  using Control::Control;
  Panel& AddPanel(std::string key, std::string text = "");
  Panel& Panels(std::string_view key);  // fails loudly on an unknown key
  Panel& Panels(int number);            // 1-based
  Panel* FindPanel(std::string_view key);
  int PanelCount() const { return static_cast<int>(panels_.size()); }
  void ClickPanel(Panel& panel);
  std::function<void(Panel&)> OnPanelClick;
  // The one text of a bar without panels.
  Property<std::string> SimpleText;
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;

 private:
  std::vector<std::unique_ptr<Panel>> panels_;
};

// A picture box: holds a picture or none.
class PictureBox : public Control {
 public:
  using Control::Control;
  std::shared_ptr<const platform::Picture> Picture;
  int Width = 0;   // pixels
  int Height = 0;  // pixels
  int Left = 0;
  int Top = 0;
  // Persistent drawing: what is printed on the box becomes part of its picture.
  Property<bool> AutoRedraw{false};
  Property<std::string> Tag;
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
};

// A tab strip; SelectedIndex counts tabs from 1.
class TabStrip : public Control {
 public:
  TabStrip(Window& owner, std::string name, std::vector<std::string> captions);
  std::vector<std::string> Tabs;
  Property<int> SelectedIndex{1};
  std::function<void()> OnTabClick;
  void ClickTab(int number);
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
};

// One node of a tree: its key, its text, the number of the node it hangs under (0 for a root)
// and whether its children show.
struct TreeNode {
  std::string key;
  std::string text;
  int parent = 0;
  bool expanded = false;
};

// A tree of keyed nodes, numbered from 1 in the order they were added. Properties: Nodes (the
// count), Node(i) (the text of node i), Key(i), Parent(i) (its parent's number) and Expanded(i).
class TreeView : public Control {
 public:
  using Control::Control;
  // Adds a node under node `parent` (0: a root) and gives its number.
  int Add(int parent, std::string key, std::string text);
  void Clear() { nodes_.clear(); }
  TreeNode& Node(int number);  // fails loudly on a number the tree has not
  int NodeCount() const { return static_cast<int>(nodes_.size()); }
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;

 private:
  std::vector<TreeNode> nodes_;
};

// A container with no state of its own but its flags, place and size: frame, panel, cool bar
// host, or a hosted device control.
class Frame : public Control {
 public:
  using Control::Control;
  // Its place and size in the window, pixels.
  int Left = 0;
  int Top = 0;
  int Width = 0;
  int Height = 0;
  std::optional<Value> Get(std::string_view property, std::optional<int> element) const override;
};

// The elements of a control array, found by index.
template <class T>
class ControlArray {
 public:
  template <class... Args>
  T& Add(Window& owner, const std::string& name, int index, Args&&... args) {
    auto element = std::make_unique<T>(owner, name, index, std::forward<Args>(args)...);
    T& added = *element;
    elements_[index] = std::move(element);
    return added;
  }
  T& operator()(int index) const { return *elements_.at(index); }
  bool Has(int index) const { return elements_.count(index) > 0; }
  int UBound() const { return elements_.empty() ? -1 : elements_.rbegin()->first; }
  const std::map<int, std::unique_ptr<T>>& Elements() const { return elements_; }

 private:
  std::map<int, std::unique_ptr<T>> elements_;
};

}  // namespace zr::ui
