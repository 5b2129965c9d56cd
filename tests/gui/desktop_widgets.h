#pragma once
// The desktop program's widgets as the desktop tests find and use them: by the names the face
// gives them, which are the names of the model's windows and controls, and clicked as the
// operator clicks them.

#include <QApplication>
#include <QListWidget>
#include <QString>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QWidget>
#include <functional>
#include <utility>

namespace zr::testing {

// The device the desktop tests pick in the device chooser.
inline const QString kBuiltInCamera = "Built-in Test Camera (VFW)";

// The widget by this name that shows: a window of its own, or the first of that name in a window.
template <class W = QWidget>
W* FindWidget(const char* name) {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (top->objectName() == name && top->isVisible()) return qobject_cast<W*>(top);
    if (auto* found = top->findChild<W*>(name); found && found->isVisible()) return found;
  }
  return nullptr;
}

// The window by this name, when it shows as a window of its own.
inline QWidget* ShownWindow(const char* name) {
  for (QWidget* top : QApplication::topLevelWidgets())
    if (top->objectName() == name && top->isVisible()) return top;
  return nullptr;
}

// The button by this key on the tool bar by this name that shows.
inline QToolButton* FindButtonOf(const char* bar_name, const char* key) {
  auto* bar = FindWidget<QToolBar>(bar_name);
  return bar ? bar->findChild<QToolButton*>(key) : nullptr;
}

// A left click of the mouse on the widget, when there is one.
inline void Click(QWidget* widget) {
  if (widget) QTest::mouseClick(widget, Qt::LeftButton);
}

// A left click of the mouse on the list's entry, where the list shows it.
inline void ClickEntry(QListWidget* list, const QListWidgetItem* entry) {
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(entry).center());
}

// Runs the action after this tick, so that windows shown modally and menus popped up by it leave
// the next ticks free to photograph, answer and close them; given a widget, only while it lives.
inline void Later(std::function<void()> action) { QTimer::singleShot(0, std::move(action)); }
inline void Later(QWidget* widget, std::function<void()> action) {
  if (widget) QTimer::singleShot(0, widget, std::move(action));
}

}  // namespace zr::testing
