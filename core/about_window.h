#pragma once
// The about window: the program's name and version, the libraries it stands on with their
// versions and licences as they report them, and the product's web address.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class AboutWindow : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "AboutWindow";
  explicit AboutWindow(Program& program);

  ui::Label ProductName{*this, "ProductName"};
  ui::Label VersionLine{*this, "VersionLine"};
  // One row a library: its name, then its version and licence.
  ui::ListView Libraries{*this, "Libraries"};
  // The product's web address; a click opens it in the browser.
  ui::Label WebAddress{*this, "WebAddress"};
  ui::CommandButton OK{*this, "OK"};

  void Load() override;

 private:
  Program& program_;
};

}  // namespace zr
