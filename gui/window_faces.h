#pragma once
// The toolkit window a model window shows as, by the window's name. A window with a face of
// its own registers it beside its widget class:
//
//   const FaceRegistration kSplashFace{"Splash", [](ui::Window& window, const FaceParts& parts) {...}};
//
// Every other model window is laid out plainly from its controls. Where the window shows (a
// window of its own or a child of the main window) is the model window's own placement.

#include <QWidget>
#include <functional>
#include <string>
#include <string_view>

#include "gui/control_bindings.h"
#include "gui/live_video.h"
#include "ui/window.h"

namespace zr::gui {

// A toolkit window made for a model window, and how to bring it in step with the model.
struct ShownWindow {
  QWidget* widget = nullptr;
  std::function<void()> refresh;
  // A child of the main window takes the size its widget asks for whenever that changes.
  bool frame_follows_widget = false;
  // A window the face neither parents nor sizes (the splash places itself).
  bool places_itself = false;
};

// What a face may need: the guard for handlers, the live picture, and what the close box does.
struct FaceParts {
  const Guard& guard;
  const LiveVideo& live;
  std::function<void()> close_box;
};

using FaceMaker = std::function<ShownWindow(ui::Window& window, const FaceParts& parts)>;

// The face registered for a window name; null for a window laid out plainly.
const FaceMaker* FindFace(std::string_view window_name);

// The face of a window laid out by a widget class of its own, made from the model window, the
// guard and the close box, and refreshed by its Refresh.
template <class Face, class Model>
FaceMaker MakeFace() {
  return [](ui::Window& window, const FaceParts& parts) {
    auto* face = new Face(dynamic_cast<Model&>(window), parts.guard, parts.close_box);
    return ShownWindow{face, [face] { face->Refresh(); }};
  };
}

class FaceRegistration {
 public:
  FaceRegistration(std::string window_name, FaceMaker make);
};

}  // namespace zr::gui
