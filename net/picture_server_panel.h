#pragma once
// The picture server's panel of the main window: the server itself, its port, the JPEG
// quality of the pictures it serves and the address browsers reach it at. The stored port is
// the server's, not the box's text.

#include "net/webshare_server.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class PictureServerPanel {
 private:
  ui::Window& window_;

 public:
  explicit PictureServerPanel(ui::Window& window) : window_(window) {
    WebShare_Port.Text = "80";
    WebShare_Quality.Min = 10;
    WebShare_Quality.Max = 100;
    WebShare_Quality.Value = 25;
    WebShare_Port.OnChange = [this] { WebShare_Port_Change(); };
  }

  // Every keystroke in the port box moves the server: it stops, takes the box's number as its
  // port and listens again, in any mode. Text that is no number leaves the port as it was.
  void WebShare_Port_Change();

  WebShareServer stream;
  ui::TextBox WebShare_Port{window_, "WebShare_Port"};
  ui::RangeControl WebShare_Quality{window_, "WebShare_Quality"};
  ui::Label WebShare_Url{window_, "WebShare_Url"};
};

}  // namespace zr
