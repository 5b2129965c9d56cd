#include "gui/flow_layout.h"

#include <QWidget>
#include <algorithm>

namespace zr::gui {

FlowLayout::FlowLayout(QWidget* parent) : QLayout(parent) { setSpacing(4); }

FlowLayout::~FlowLayout() {
  for (QLayoutItem* item : items_) delete item;
}

QLayoutItem* FlowLayout::itemAt(int index) const {
  return index >= 0 && index < count() ? items_[static_cast<std::size_t>(index)] : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index) {
  if (index < 0 || index >= count()) return nullptr;
  QLayoutItem* item = items_[static_cast<std::size_t>(index)];
  items_.erase(items_.begin() + index);
  return item;
}

int FlowLayout::heightForWidth(int width) const { return Arrange(QRect(0, 0, width, 0), false); }

void FlowLayout::setGeometry(const QRect& rect) {
  QLayout::setGeometry(rect);
  Arrange(rect, true);
}

QSize FlowLayout::sizeHint() const {
  QSize line;
  for (QLayoutItem* item : items_) {
    if (item->isEmpty()) continue;
    const QSize size = item->sizeHint();
    line.setWidth(line.width() + (line.width() > 0 ? spacing() : 0) + size.width());
    line.setHeight(std::max(line.height(), size.height()));
  }
  const QMargins margins = contentsMargins();
  return line + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

QSize FlowLayout::minimumSize() const {
  QSize widest;
  for (QLayoutItem* item : items_)
    if (!item->isEmpty()) widest = widest.expandedTo(item->sizeHint());
  const QMargins margins = contentsMargins();
  return widest + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

// Each line's items stand centred on the line's height.
int FlowLayout::Arrange(const QRect& rect, bool place) const {
  const QRect area = rect.marginsRemoved(contentsMargins());
  std::vector<QLayoutItem*> line;
  int x = area.x();
  int y = area.y();
  int line_height = 0;
  const auto end_line = [&] {
    if (place) {
      int left = area.x();
      for (QLayoutItem* item : line) {
        const QSize size = item->sizeHint();
        item->setGeometry(QRect(QPoint(left, y + (line_height - size.height()) / 2), size));
        left += size.width() + spacing();
      }
    }
    line.clear();
  };
  for (QLayoutItem* item : items_) {
    if (item->isEmpty()) continue;
    const QSize size = item->sizeHint();
    if (!line.empty() && x + size.width() > area.right() + 1) {
      end_line();
      y += line_height + spacing();
      x = area.x();
      line_height = 0;
    }
    line.push_back(item);
    x += size.width() + spacing();
    line_height = std::max(line_height, size.height());
  }
  end_line();
  const QMargins margins = contentsMargins();
  return y + line_height - rect.y() + margins.bottom();
}

}  // namespace zr::gui
