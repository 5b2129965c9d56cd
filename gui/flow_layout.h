#pragma once
// A layout that sets its items side by side and starts a new line where the next one would not
// fit, so that a row of controls wraps on a narrow window instead of cutting their texts.

#include <QLayout>
#include <vector>

namespace zr::gui {

class FlowLayout final : public QLayout {
 public:
  explicit FlowLayout(QWidget* parent = nullptr);
  ~FlowLayout() override;

  void addItem(QLayoutItem* item) override { items_.push_back(item); }
  int count() const override { return static_cast<int>(items_.size()); }
  QLayoutItem* itemAt(int index) const override;
  QLayoutItem* takeAt(int index) override;
  Qt::Orientations expandingDirections() const override { return {}; }
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override;
  void setGeometry(const QRect& rect) override;
  // Every item on one line.
  QSize sizeHint() const override;
  // The widest item, each at its wanted size.
  QSize minimumSize() const override;

 private:
  // Lays the items out in `rect` (only measures unless `place`); returns the height used.
  int Arrange(const QRect& rect, bool place) const;
  std::vector<QLayoutItem*> items_;
};

}  // namespace zr::gui
