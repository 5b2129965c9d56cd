// The capture engine's small windows on the desktop. VideoSettings: the way of the run, then the
// fields as a form with the index size's hint under its box, the two switches, and the buttons.
// VideoCODEC: each compressor list beside its "Settings" button, the hint under them. OtherInfo:
// the list of texts beside the box that edits the one chosen.

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>
#include <utility>

#include "capture/codec_windows.h"
#include "capture/other_info.h"
#include "capture/video_settings.h"
#include "gui/window_faces.h"
#include "gui/window_widgets.h"

namespace zr::gui {

namespace {

class VideoSettingsWindow final : public PlainWindow {
 public:
  VideoSettingsWindow(VideoSettings& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Bound(model.Yield));
    auto* form = new QFormLayout;
    form->addRow(Bound(model.VideoBuffersLabel), Bound(model.VideoBuffers));
    form->addRow(Bound(model.AudioBuffersLabel), Bound(model.AudioBuffers));
    form->addRow(Bound(model.MaxIndexSizeLabel), Bound(model.MaxIndexSize));
    QWidget* hint = Bound(model.MaxIndexSizeHint);
    if (auto* label = qobject_cast<QLabel*>(hint)) label->setWordWrap(true);
    form->addRow(nullptr, hint);
    form->addRow(Bound(model.ChunkLabel), Bound(model.Chunk));
    form->addRow(Bound(model.DroppedFramesLabel), Bound(model.DroppedFrames));
    layout->addLayout(form);
    layout->addWidget(Bound(model.DOSBuffers));
    layout->addWidget(Bound(model.DisableCache));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(Bound(model.SetDefaults));
    buttons->addStretch();
    buttons->addWidget(Bound(model.OK));
    buttons->addWidget(Bound(model.Command1));
    layout->addLayout(buttons);
    setMinimumWidth(420);
    Refresh();
  }
};

class VideoCodecWindow final : public PlainWindow {
 public:
  VideoCodecWindow(VideoCodec& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->addRow(Bound(model.Label1), Row(Bound(model.VideoCompressor), Bound(model.CODECsetup)));
    form->addRow(Bound(model.Label2), Row(Bound(model.AudioCompressor), Bound(model.aCodecSetup)));
    layout->addLayout(form);
    layout->addWidget(Bound(model.Label3));
    setMinimumWidth(460);
    Refresh();
  }

 private:
  QHBoxLayout* Row(QWidget* list, QWidget* button) {
    auto* row = new QHBoxLayout;
    row->addWidget(list, 1);
    row->addWidget(button);
    return row;
  }
};

class OtherInfoWindow final : public PlainWindow {
 public:
  OtherInfoWindow(OtherInfo& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QHBoxLayout(this);
    auto* items = qobject_cast<QListWidget*>(Bound(model.InfoItems));
    layout->addWidget(items, 0, Qt::AlignTop);
    layout->addWidget(Bound(model.TextItems), 1, Qt::AlignTop);
    setMinimumWidth(420);
    Refresh();
    // The six lines, whole, and no more.
    items->setFixedSize(120, items->sizeHintForRow(0) * items->count() + 2 * items->frameWidth());
  }
};

const FaceRegistration kVideoSettingsFace{"VideoSettings", MakeFace<VideoSettingsWindow, VideoSettings>()};
const FaceRegistration kVideoCodecFace{"VideoCODEC", MakeFace<VideoCodecWindow, VideoCodec>()};
const FaceRegistration kOtherInfoFace{"OtherInfo", MakeFace<OtherInfoWindow, OtherInfo>()};

}  // namespace

}  // namespace zr::gui
