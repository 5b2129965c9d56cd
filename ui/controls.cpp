#include "ui/controls.h"

#include <algorithm>
#include <stdexcept>

#include "ui/window.h"

namespace zr::ui {

namespace {

Value Number(std::int64_t number) { return Value{number}; }

std::logic_error UnknownKey(std::string_view what, std::string_view key) {
  return std::logic_error(std::string(what) + " has no key \"" + std::string(key) + "\"");
}

}  // namespace

// ---- Label

std::optional<Value> Label::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Caption") return Value{Caption.get()};
  if (property == "ForeColor") return Number(ForeColor);
  if (property == "FontBold") return Value{FontBold.get()};
  return Control::Get(property, element);
}

bool Label::Set(std::string_view property, const Value& value) {
  if (property == "Caption")
    Caption = ValueToText(value);
  else if (property == "ForeColor")
    ForeColor = static_cast<Colour>(ValueToNumber(value));
  else if (property == "FontBold")
    FontBold = ValueToBool(value);
  else
    return Control::Set(property, value);
  return true;
}

// ---- TextBox

TextBox::TextBox(Window& owner, std::string name, std::optional<int> index) : Control(owner, std::move(name), index) {
  Text.OnChange([this] {
    if (OnChange) OnChange();
  });
}

std::optional<Value> TextBox::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Text") return Value{Text.get()};
  if (property == "FontItalic") return Value{FontItalic.get()};
  return Control::Get(property, element);
}

bool TextBox::Set(std::string_view property, const Value& value) {
  if (property == "Text")
    Text = ValueToText(value);
  else if (property == "FontItalic")
    FontItalic = ValueToBool(value);
  else
    return Control::Set(property, value);
  return true;
}

// ---- CommandButton

std::optional<Value> CommandButton::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Caption") return Value{Caption.get()};
  return Control::Get(property, element);
}

bool CommandButton::Set(std::string_view property, const Value& value) {
  if (property == "Caption")
    Caption = ValueToText(value);
  else
    return Control::Set(property, value);
  return true;
}

// ---- CheckBox

CheckBox::CheckBox(Window& owner, std::string name, std::optional<int> index) : Control(owner, std::move(name), index) {
  Value.OnChange([this] {
    if (OnClick) OnClick();
  });
}

std::optional<ui::Value> CheckBox::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Value") return Number(Value);
  if (property == "Caption") return ui::Value{Caption.get()};
  return Control::Get(property, element);
}

bool CheckBox::Set(std::string_view property, const ui::Value& value) {
  if (property == "Value") {
    // An option button's Value reads True/False; a check box's 0, 1 or 2.
    if (is_option_button)
      Value = ValueToBool(value) ? 1 : 0;
    else
      Value = static_cast<int>(ValueToNumber(value));
  } else if (property == "Caption") {
    Caption = ValueToText(value);
  } else {
    return Control::Set(property, value);
  }
  return true;
}

void CheckBox::Click() {
  if (is_option_button) {
    if (Value == 1) {
      if (OnClick) OnClick();
      return;
    }
    Value = 1;
    return;
  }
  Value = Value == 1 ? 0 : 1;
}

// ---- RangeControl

void RangeControl::Scroll(int value) {
  Value = value;
  if (OnScroll) OnScroll();
}

RangeControl::RangeControl(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, std::move(name), index) {
  Value.OnChange([this] {
    if (OnChange) OnChange();
  });
}

std::optional<ui::Value> RangeControl::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Value") return Number(Value);
  if (property == "Min") return Number(Min);
  if (property == "Max") return Number(Max);
  return Control::Get(property, element);
}

bool RangeControl::Set(std::string_view property, const ui::Value& value) {
  const int number = static_cast<int>(ValueToNumber(value));
  // The operator cannot move the control beyond its range.
  if (property == "Value")
    Value = std::max(Min.get(), std::min(number, Max.get()));
  else if (property == "Min")
    Min = number;
  else if (property == "Max")
    Max = number;
  else
    return Control::Set(property, value);
  return true;
}

// ---- ListControl

ListControl::ListControl(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, std::move(name), index) {
  ListIndex.OnChange([this] {
    if (OnClick) OnClick();
  });
}

void ListControl::AddItem(std::string text) { Items.push_back(ListItem{std::move(text), "", "", false}); }

void ListControl::Clear() {
  Items.clear();
  ListIndex = -1;
}

std::string ListControl::Text() const {
  if (ListIndex < 0 || ListIndex >= ListCount()) return "";
  return Items[static_cast<std::size_t>(ListIndex.get())].text;
}

std::optional<ui::Value> ListControl::Get(std::string_view property, std::optional<int> element) const {
  if (property == "ListIndex") return Number(ListIndex);
  if (property == "ListCount") return Number(ListCount());
  if (property == "Text") return ui::Value{Text()};
  if (property == "List") {
    if (!element || *element < 0 || *element >= ListCount()) return ui::Value{std::string()};
    return ui::Value{Items[static_cast<std::size_t>(*element)].text};
  }
  return Control::Get(property, element);
}

bool ListControl::Set(std::string_view property, const ui::Value& value) {
  if (property == "ListIndex")
    ListIndex = static_cast<int>(ValueToNumber(value));
  else
    return Control::Set(property, value);
  return true;
}

void ListControl::ClickEntry(int entry) {
  if (ListIndex == entry) {
    if (OnClick) OnClick();
    return;
  }
  ListIndex = entry;
}

void ListControl::DblClickEntry(int entry) {
  ClickEntry(entry);
  DblClick();
}

// ---- ListView

const std::string& ListViewItem::SubItem(int number) const {
  static const std::string kNone;
  if (number < 1 || number > static_cast<int>(sub_items.size())) return kNone;
  return sub_items[static_cast<std::size_t>(number - 1)];
}

void ListViewItem::SetSubItem(int number, std::string value) {
  if (number < 1) throw std::out_of_range("a row has no sub item " + std::to_string(number));
  if (number > static_cast<int>(sub_items.size())) sub_items.resize(static_cast<std::size_t>(number));
  sub_items[static_cast<std::size_t>(number - 1)] = std::move(value);
}

ListViewItem* ListView::Selected() {
  if (ListIndex < 0 || ListIndex >= ListCount()) return nullptr;
  return &ListItems[static_cast<std::size_t>(ListIndex.get())];
}

void ListView::ClickEntry(int row) {
  if (row < 0 || row >= ListCount()) return;
  ListIndex = row;
  if (OnItemClick) OnItemClick(row);
}

std::optional<Value> ListView::Get(std::string_view property, std::optional<int> element) const {
  if (property == "ListCount") return Number(ListCount());
  if (property == "ListIndex") return Number(ListIndex);
  if (property == "Columns") return Number(static_cast<int>(ColumnHeaders.size()));
  if (property == "ColumnHeader") {
    if (!element || *element < 1 || *element > static_cast<int>(ColumnHeaders.size())) return std::nullopt;
    return Value{ColumnHeaders[static_cast<std::size_t>(*element - 1)]};
  }
  const bool is_text = property == "List";
  const bool is_sub_item =
      property.size() == 8 && property.starts_with("SubItem") && property[7] >= '1' && property[7] <= '9';
  if (!is_text && !is_sub_item) return Control::Get(property, element);
  if (!element || *element < 0 || *element >= ListCount()) return std::nullopt;
  const ListViewItem& item = ListItems[static_cast<std::size_t>(*element)];
  return Value{is_text ? item.text : item.SubItem(property[7] - '0')};
}

bool ListView::Set(std::string_view property, const Value& value) {
  if (property != "ListIndex") return Control::Set(property, value);
  ListIndex = static_cast<int>(ValueToNumber(value));
  return true;
}

// ---- Menu

std::optional<Value> Menu::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Caption") return Value{Caption.get()};
  if (property == "Checked") return Value{Checked.get()};
  return Control::Get(property, element);
}

bool Menu::Set(std::string_view property, const Value& value) {
  if (property == "Caption")
    Caption = ValueToText(value);
  else if (property == "Checked")
    Checked = ValueToBool(value);
  else
    return Control::Set(property, value);
  return true;
}

void Menu::Click() {
  if (Caption == "-" || !Enabled || !Visible) return;
  Control::Click();
}

// ---- Toolbar

ToolbarButton::ToolbarButton(std::string key, ButtonStyle style, std::string image)
    : Image(std::move(image)), key_(std::move(key)), style_(style) {}

ButtonMenu& ToolbarButton::AddMenu(std::string key, std::string text, std::string tag) {
  auto entry = std::make_unique<ButtonMenu>();
  entry->key = std::move(key);
  entry->tag = std::move(tag);
  entry->Text = std::move(text);
  ButtonMenus.push_back(std::move(entry));
  return *ButtonMenus.back();
}

ButtonMenu* ToolbarButton::FindMenu(std::string_view name) {
  for (auto& entry : ButtonMenus)
    if (!entry->key.empty() && entry->key == name) return entry.get();
  for (auto& entry : ButtonMenus)
    if (!entry->tag.empty() && entry->tag == name) return entry.get();
  for (auto& entry : ButtonMenus)
    if (entry->Text == std::string(name)) return entry.get();
  return nullptr;
}

int ToolbarButton::MenuIndex(const ButtonMenu& entry) const {
  for (std::size_t index = 0; index < ButtonMenus.size(); ++index)
    if (ButtonMenus[index].get() == &entry) return static_cast<int>(index);
  return -1;
}

std::optional<ui::Value> ToolbarButton::Get(std::string_view property) const {
  if (property == "Value") return Number(Value);
  if (property == "Enabled") return ui::Value{Enabled.get()};
  if (property == "Visible") return ui::Value{Visible.get()};
  if (property == "Image") return ui::Value{Image.get()};
  if (property == "Caption") return ui::Value{Caption.get()};
  if (property == "ToolTipText") return ui::Value{ToolTipText.get()};
  return std::nullopt;
}

bool ToolbarButton::Set(std::string_view property, const ui::Value& value) {
  if (property == "Value")
    Value = static_cast<int>(ValueToNumber(value));
  else if (property == "Enabled")
    Enabled = ValueToBool(value);
  else if (property == "Visible")
    Visible = ValueToBool(value);
  else if (property == "Image")
    Image = ValueToText(value);
  else if (property == "Caption")
    Caption = ValueToText(value);
  else if (property == "ToolTipText")
    ToolTipText = ValueToText(value);
  else
    return false;
  return true;
}

ToolbarButton& Toolbar::AddButton(std::string key, ButtonStyle style, std::string image) {
  buttons_.push_back(std::make_unique<ToolbarButton>(std::move(key), style, std::move(image)));
  return *buttons_.back();
}

ToolbarButton* Toolbar::FindButton(std::string_view key) {
  for (auto& button : buttons_)
    if (button->Key() == key) return button.get();
  return nullptr;
}

ToolbarButton& Toolbar::Button(std::string_view key) {
  if (ToolbarButton* button = FindButton(key)) return *button;
  throw UnknownKey(Name(), key);
}

void Toolbar::ClickButton(ToolbarButton& button) {
  if (!Enabled || !button.Enabled || !button.Visible) return;
  if (button.Style() == ButtonStyle::Check) button.Value = button.Value == 1 ? 0 : 1;
  if (button.Style() == ButtonStyle::Group) button.Value = 1;
  if (OnButtonClick) OnButtonClick(button);
}

void Toolbar::ClickButtonMenu(ToolbarButton& button, ButtonMenu& entry) {
  if (!Enabled || !button.Enabled || !entry.Enabled) return;
  if (OnButtonMenuClick) OnButtonMenuClick(button, entry);
}

// ---- Timer

Timer::Timer(Window& owner, std::string name, int interval_ms, bool enabled)
    : Control(owner, std::move(name)), Interval(interval_ms), loop_(owner.Loop()) {
  Enabled = enabled;
  Enabled.OnChange([this] { Reschedule(); });
  Interval.OnChange([this] { Reschedule(); });
  Reschedule();
}

Timer::~Timer() { loop_.StopTimer(*this); }

void Timer::Reschedule() {
  if (Running())
    loop_.StartTimer(*this, Interval);
  else
    loop_.StopTimer(*this);
}

void Timer::Fire() {
  if (Running() && OnTimer) OnTimer();
}

std::optional<Value> Timer::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Interval") return Number(Interval);
  if (property == "Tag") return Value{Tag.get()};
  return Control::Get(property, element);
}

// ---- Frame

std::optional<Value> Frame::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Left") return Number(Left);
  if (property == "Top") return Number(Top);
  if (property == "Width") return Number(Width);
  if (property == "Height") return Number(Height);
  return Control::Get(property, element);
}

bool Timer::Set(std::string_view property, const Value& value) {
  if (property == "Interval")
    Interval = static_cast<int>(ValueToNumber(value));
  else if (property == "Tag")
    Tag = ValueToText(value);
  else
    return Control::Set(property, value);
  return true;
}

// ---- CoolBar

Band& CoolBar::AddBand(std::string key) {
  auto band = std::make_unique<Band>();
  band->key = std::move(key);
  bands_.push_back(std::move(band));
  return *bands_.back();
}

Band* CoolBar::FindBand(std::string_view key) {
  for (auto& band : bands_)
    if (band->key == key) return band.get();
  return nullptr;
}

Band& CoolBar::Bands(std::string_view key) {
  if (Band* band = FindBand(key)) return *band;
  throw UnknownKey(Name(), key);
}

Band& CoolBar::BandAt(int position) { return *bands_.at(static_cast<std::size_t>(position - 1)); }

// ---- StatusBar

Panel& StatusBar::AddPanel(std::string key, std::string text) {
  auto panel = std::make_unique<Panel>();
  panel->key = std::move(key);
  panel->Text = std::move(text);
  panels_.push_back(std::move(panel));
  return *panels_.back();
}

Panel* StatusBar::FindPanel(std::string_view key) {
  for (auto& panel : panels_)
    if (panel->key == key) return panel.get();
  return nullptr;
}

Panel& StatusBar::Panels(std::string_view key) {
  if (Panel* panel = FindPanel(key)) return *panel;
  throw UnknownKey(Name(), key);
}

Panel& StatusBar::Panels(int number) { return *panels_.at(static_cast<std::size_t>(number - 1)); }

void StatusBar::ClickPanel(Panel& panel) {
  if (OnPanelClick) OnPanelClick(panel);
}

std::optional<Value> StatusBar::Get(std::string_view property, std::optional<int> element) const {
  // The simple text is the only text a bar without panels has.
  if (property == "SimpleText" || (property == "Text" && panels_.empty())) return Value{SimpleText.get()};
  return Control::Get(property, element);
}

// ---- PictureBox

std::optional<Value> PictureBox::Get(std::string_view property, std::optional<int> element) const {
  if (property == "HasPicture") return Value{Picture != nullptr};
  if (property == "Width") return Number(Picture ? Picture->width : Width);
  if (property == "Height") return Number(Picture ? Picture->height : Height);
  if (property == "Left") return Number(Left);
  if (property == "Top") return Number(Top);
  if (property == "Tag") return Value{Tag.get()};
  return Control::Get(property, element);
}

// ---- TabStrip

TabStrip::TabStrip(Window& owner, std::string name, std::vector<std::string> captions)
    : Control(owner, std::move(name)), Tabs(std::move(captions)) {}

void TabStrip::ClickTab(int number) {
  SelectedIndex = number;
  if (OnTabClick) OnTabClick();
}

std::optional<Value> TabStrip::Get(std::string_view property, std::optional<int> element) const {
  if (property == "SelectedIndex") return Number(SelectedIndex);
  return Control::Get(property, element);
}

// ---- TreeView

int TreeView::Add(int parent, std::string key, std::string text) {
  if (parent < 0 || parent > NodeCount()) throw std::out_of_range("a tree has no node " + std::to_string(parent));
  nodes_.push_back(TreeNode{std::move(key), std::move(text), parent, false});
  return NodeCount();
}

TreeNode& TreeView::Node(int number) {
  if (number < 1 || number > NodeCount()) throw std::out_of_range("a tree has no node " + std::to_string(number));
  return nodes_[static_cast<std::size_t>(number - 1)];
}

std::optional<Value> TreeView::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Nodes") return Number(NodeCount());
  if (property != "Node" && property != "Key" && property != "Parent" && property != "Expanded")
    return Control::Get(property, element);
  if (!element || *element < 1 || *element > NodeCount()) return std::nullopt;
  const TreeNode& node = nodes_[static_cast<std::size_t>(*element - 1)];
  if (property == "Node") return Value{node.text};
  if (property == "Key") return Value{node.key};
  if (property == "Parent") return Number(node.parent);
  return Value{node.expanded};
}

}  // namespace zr::ui
