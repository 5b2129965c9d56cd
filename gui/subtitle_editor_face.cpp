// The subtitle editor on the desktop: the movie over its commands, the running time beside the
// timeline, and under them the rows of subtitles beside the box that edits the row of the moment.

#include <QHBoxLayout>
#include <QSplitter>
#include <QVBoxLayout>
#include <utility>

#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "movie/subtitle_editor.h"

namespace zr::gui {

namespace {

class SubtitleEditorWindow final : public PlainWindow {
 public:
  SubtitleEditorWindow(SubtitleEditor& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    QWidget* movie = Bound(model.movie);
    movie->setMinimumSize(320, 240);
    // The movie's area is dark where no picture covers it, as a player's is.
    movie->setAutoFillBackground(true);
    QPalette dark = movie->palette();
    dark.setColor(QPalette::Window, Qt::black);
    movie->setPalette(dark);
    layout->addWidget(movie, 3);
    layout->addWidget(Bound(model.moviecontrol));
    auto* time = new QHBoxLayout;
    time->addWidget(Bound(model.CurTime));
    time->addWidget(Bound(model.movietimeline), 1);
    layout->addLayout(time);
    auto* rows = new QSplitter(Qt::Horizontal, this);
    rows->addWidget(Bound(model.SRT));
    rows->addWidget(Bound(model.SRTSubtitle));
    rows->setStretchFactor(0, 3);
    rows->setStretchFactor(1, 2);
    layout->addWidget(rows, 2);
    Refresh();
  }
};

const FaceRegistration kSubtitleEditorFace{"frmMovieSRT", [](ui::Window& window, const FaceParts& parts) {
                                             auto* face = new SubtitleEditorWindow(
                                                 dynamic_cast<SubtitleEditor&>(window), parts.guard, parts.close_box);
                                             return ShownWindow{face, [face] { face->Refresh(); }};
                                           }};

}  // namespace

}  // namespace zr::gui
