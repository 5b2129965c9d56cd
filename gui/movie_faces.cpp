// The movie window on the desktop: the picture at the movie's own size, the scroll bar under
// it, then the transport buttons beside the position text and its choice of frames or time,
// and the movie tools, then the progress of saving frames or recompressing with its cancel.

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "movie/movie_viewer.h"

namespace zr::gui {

namespace {

class MovieViewerWindow final : public PlainWindow {
 public:
  MovieViewerWindow(MovieViewer& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace), model_(model) {
    auto* outer = new QVBoxLayout(this);
    body_ = new QWidget(this);
    auto* layout = new QVBoxLayout(body_);
    layout->setContentsMargins(0, 0, 0, 0);
    picture_ = Bound(model.movie);
    layout->addWidget(picture_, 0, Qt::AlignHCenter);
    layout->addWidget(Bound(model.hmovie));
    auto* transport = new QHBoxLayout;
    transport->addWidget(Bound(model.moviecontrol));
    transport->addStretch();
    transport->addWidget(Bound(model.MovieInfo));
    transport->addWidget(Bound(model.DisplayType(MovieViewer::kFramesChoice)));
    transport->addWidget(Bound(model.DisplayType(MovieViewer::kTimeChoice)));
    layout->addLayout(transport);
    layout->addWidget(Bound(model.Mastertoolbar));
    outer->addWidget(body_);
    auto* work = new QHBoxLayout;
    work->addWidget(Bound(model.WorkProgress), 1);
    work->addWidget(Bound(model.WorkCancel));
    outer->addLayout(work);
    setMinimumWidth(420);
    Refresh();
  }

  // The picture keeps the movie's size; an empty player keeps a small blank one. While the
  // movie plays, each refresh shows the player's frame of the moment, so the picture moves at
  // the movie's rate rather than with the position display's ten ticks a second.
  void Refresh() {
    if (model_.Player().Playing()) model_.movie.Picture = model_.Player().CurrentPicture();
    PlainWindow::Refresh();
    // A recompression disables the window but not the progress and its cancel under it.
    setEnabled(true);
    body_->setEnabled(model_.Enabled);
    const QSize size(model_.movie.Width > 0 ? model_.movie.Width : kEmptyWidth,
                     model_.movie.Height > 0 ? model_.movie.Height : kEmptyHeight);
    if (picture_->size() != size) picture_->setFixedSize(size);
  }

 private:
  static constexpr int kEmptyWidth = 320;
  static constexpr int kEmptyHeight = 240;
  MovieViewer& model_;
  QWidget* picture_ = nullptr;
  QWidget* body_ = nullptr;  // everything but the progress of the work and its cancel
};

const FaceRegistration kMovieViewerFace{"MovieViewer", [](ui::Window& window, const FaceParts& parts) {
                                          auto* face = new MovieViewerWindow(dynamic_cast<MovieViewer&>(window),
                                                                             parts.guard, parts.close_box);
                                          ShownWindow shown{face, [face] { face->Refresh(); }};
                                          shown.frame_follows_widget = true;
                                          return shown;
                                        }};

}  // namespace

}  // namespace zr::gui
