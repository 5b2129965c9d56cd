#include "capture/other_info.h"

#include "core/window_registry.h"

namespace zr {

OtherInfo::OtherInfo(Program& program) : ui::Window(program.services.loop, "OtherInfo"), program_(program) {
  InfoItems.OnClick = [this] {
    TextItems.Text = program_.state.AviInfoText.at(static_cast<std::size_t>(InfoItems.ListIndex.get()));
  };
  TextItems.OnChange = [this] {
    if (InfoItems.ListIndex >= 0)
      program_.state.AviInfoText.at(static_cast<std::size_t>(InfoItems.ListIndex.get())) = TextItems.Text;
  };
}

void OtherInfo::Load() {
  Caption = program_.Translate("Other Information");
  for (const char* item : {"Copyright", "Artist", "Subject", "Product", "Source", "Comments"})
    InfoItems.AddItem(program_.Translate(item));
  InfoItems.ListIndex = 0;
}

namespace {

const WindowRegistration<OtherInfo> kRegistration;

}  // namespace

}  // namespace zr
