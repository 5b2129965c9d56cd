// The about window and the program's own system information window on the desktop. About: our
// logo beside the name and the version line, the libraries' list under them, the web address as
// a link and OK. System information: the list of the machine's facts over OK.

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <utility>

#include "core/about_window.h"
#include "core/system_information.h"
#include "gui/icons.h"
#include "gui/window_faces.h"
#include "gui/window_widgets.h"

namespace zr::gui {

namespace {

constexpr int kLogoSide = 96;

QHBoxLayout* ButtonAtTheRight(QWidget* button) {
  auto* row = new QHBoxLayout;
  row->addStretch();
  row->addWidget(button);
  return row;
}

// The list as wide as its texts ask, so no licence is cut short.
void FitColumns(QWidget* list) {
  auto* tree = qobject_cast<QTreeWidget*>(list);
  if (!tree) return;
  tree->setMinimumHeight(tree->sizeHintForRow(0) * 8);
  tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
}

class AboutFace final : public PlainWindow {
 public:
  AboutFace(AboutWindow& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QHBoxLayout;
    auto* logo = new QLabel(this);
    logo->setObjectName("Logo");
    logo->setPixmap(ApplicationIcon().pixmap(kLogoSide, kLogoSide));
    heading->addWidget(logo);
    auto* name_and_version = new QVBoxLayout;
    QWidget* name = Bound(model.ProductName);
    QFont larger = name->font();
    larger.setPointSizeF(larger.pointSizeF() * 1.6);
    name->setFont(larger);
    name_and_version->addStretch();
    name_and_version->addWidget(name);
    name_and_version->addWidget(Bound(model.VersionLine));
    name_and_version->addStretch();
    heading->addLayout(name_and_version, 1);
    layout->addLayout(heading);
    QWidget* libraries = Bound(model.Libraries);
    layout->addWidget(libraries, 1);
    QWidget* address = Bound(model.WebAddress);
    address->setCursor(Qt::PointingHandCursor);
    QFont link = address->font();
    link.setUnderline(true);
    address->setFont(link);
    layout->addWidget(address);
    layout->addLayout(ButtonAtTheRight(Bound(model.OK)));
    Refresh();
    FitColumns(libraries);
    setMinimumSize(560, 420);
  }
};

class SystemInformationFace final : public PlainWindow {
 public:
  SystemInformationFace(SystemInformation& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    QWidget* facts = Bound(model.Facts);
    layout->addWidget(facts, 1);
    layout->addLayout(ButtonAtTheRight(Bound(model.OK)));
    Refresh();
    FitColumns(facts);
    setMinimumSize(560, 320);
  }
};

const FaceRegistration kAboutFace{"AboutWindow", MakeFace<AboutFace, AboutWindow>()};
const FaceRegistration kSystemInformationFace{"SystemInformation",
                                              MakeFace<SystemInformationFace, SystemInformation>()};

}  // namespace

}  // namespace zr::gui
