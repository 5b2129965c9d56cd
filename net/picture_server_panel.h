#pragma once
// The picture server's panel of the main window: the server control `stream`, its port, the
// JPEG quality of the pictures it serves and the address browsers reach it at, and the answer
// to every request. The stored port is the server's, not the box's text.

#include <string>

#include "core/program.h"
#include "platform/picture_server.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class PictureServerPanel {
 private:
  ui::Window& window_;
  Program& program_;

 public:
  PictureServerPanel(ui::Window& window, Program& program);
  ~PictureServerPanel();
  PictureServerPanel(const PictureServerPanel&) = delete;
  PictureServerPanel& operator=(const PictureServerPanel&) = delete;

  // Every keystroke in the port box moves the server: it stops, takes the box's number as its
  // port and listens again, in any mode. Text that is no number leaves the port as it was.
  void WebShare_Port_Change();
  // The caption is the address: the desktop opens it in the browser.
  void WebShare_Url_Click();
  // The page for "GET / HTTP", a fresh picture for anything else.
  void stream_RequestReceived();
  // The server listens from now on, on the port stored in the settings (entering the mode).
  void ListenOnStoredPort();
  // The address to give viewers, with the port unless it is 80.
  void ShowAddress();

  platform::PictureServer& stream;
  ui::TextBox WebShare_Port{window_, "WebShare_Port"};
  ui::RangeControl WebShare_Quality{window_, "WebShare_Quality"};
  ui::Label WebShare_Url{window_, "WebShare_Url"};

 private:
  void SendPage();
  void SendPicture();
  // Puts why the server does not listen in the streaming status, if it failed to.
  void ShowListenFailure();
  void ShowStatus(const std::string& english);
};

}  // namespace zr
