#include "core/about_window.h"

#include "core/window_registry.h"

namespace zr {

AboutWindow::AboutWindow(Program& program) : ui::Window(program.services.loop, "AboutWindow"), program_(program) {
  OK.OnClick = [this] { program_.SlotOf<AboutWindow>().Unload(); };
  WebAddress.OnClick = [this] { program_.services.desktop.OpenAddress(WebAddress.Caption.get()); };
}

void AboutWindow::Load() {
  Caption = program_.Translate("About") + " " + kAppTitle;
  ProductName.Caption = kAppTitle;
  ProductName.FontBold = true;
  VersionLine.Caption = program_.VersionText;
  Libraries.ColumnHeaders = {program_.Translate("Library"), program_.Translate("Version"),
                             program_.Translate("Licence")};
  for (const auto& library : program_.services.desktop.Libraries())
    Libraries.ListItems.push_back({library.name, {library.version, library.licence}});
  WebAddress.Caption = program_.state.ProductSite;
  WebAddress.ForeColor = ui::Rgb(0x1E, 0x88, 0xE5);  // the colour of a link
  OK.Caption = program_.Translate("OK");
}

namespace {

const WindowRegistration<AboutWindow> kRegistration;

}  // namespace

}  // namespace zr
