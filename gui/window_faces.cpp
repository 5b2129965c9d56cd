#include "gui/window_faces.h"

#include <map>
#include <stdexcept>

namespace zr::gui {

namespace {

std::map<std::string, FaceMaker, std::less<>>& Faces() {
  static std::map<std::string, FaceMaker, std::less<>> faces;
  return faces;
}

}  // namespace

const FaceMaker* FindFace(std::string_view window_name) {
  const auto found = Faces().find(window_name);
  return found == Faces().end() ? nullptr : &found->second;
}

FaceRegistration::FaceRegistration(std::string window_name, FaceMaker make) {
  if (!Faces().emplace(window_name, std::move(make)).second)
    throw std::logic_error("two faces are registered for the window " + window_name);
}

}  // namespace zr::gui
