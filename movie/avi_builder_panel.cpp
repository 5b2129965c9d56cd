#include "movie/avi_builder_panel.h"

namespace zr {

AviBuilderPanel::AviBuilderPanel(ui::Window& window, Program& program) : window_(window), program_(program) {
  for (const char* key : {"add", "delete", "clear", "up", "down"}) {
    const bool adds = key == std::string("add");
    auto& button = AviBuilderCursors.AddButton(key, adds ? ui::ButtonStyle::Dropdown : ui::ButtonStyle::Default, key);
    button.Enabled = adds;
  }
  AviBuilderCursors.Button("add").AddMenu("group", "group");
  BuildAVI.Enabled = false;
}

// The builder's "clear": the list emptied, its preview window unloaded, its commands off but
// "add".
void AviBuilderPanel::ClearAVIBuilderBuffer() {
  lstDIBList.Clear();
  if (auto* preview = program_.FindWindow("MultiImage")) preview->Unload();
  for (const char* key : {"up", "down", "clear", "delete"}) AviBuilderCursors.Button(key).Enabled = false;
  BuildAVI.Enabled = false;
}

}  // namespace zr
