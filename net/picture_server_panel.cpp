#include "net/picture_server_panel.h"

#include <cctype>
#include <optional>
#include <string_view>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/main_window.h"
#include "core/settings_keys.h"
#include "net/webshare_page.h"
#include "platform/regular_file.h"

namespace zr {
namespace {

// The template is a small page; a larger file is not read at all.
constexpr std::size_t kLargestTemplateBytes = 1 << 20;

// The whole text as a number, blanks around it allowed ("8080", " 81 ", "80.5" -> 80); nothing
// for text that is not all number ("80a", "", "-").
std::optional<double> WholeNumber(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  std::size_t at = text.starts_with('+') || text.starts_with('-') ? 1 : 0;
  std::size_t digits = 0;
  bool point = false;
  for (; at < text.size(); ++at) {
    if (std::isdigit(static_cast<unsigned char>(text[at])))
      ++digits;
    else if (text[at] == '.' && !point)
      point = true;
    else
      return std::nullopt;
  }
  if (digits == 0) return std::nullopt;
  return NumericPrefix(text);
}

const char* FailureText(platform::ListenFailure failure) {
  switch (failure) {
    case platform::ListenFailure::PortInUse:
      return "Port %1 is in use";
    case platform::ListenFailure::PortForbidden:
      return "Port %1 is kept for the system: choose 1024 or above, such as 8080";
    case platform::ListenFailure::PortInvalid:
      return "Port %1 does not exist";
    case platform::ListenFailure::Other:
      return "Port %1 cannot be opened";
    case platform::ListenFailure::None:
      break;
  }
  return nullptr;
}

}  // namespace

PictureServerPanel::PictureServerPanel(ui::Window& window, Program& program)
    : window_(window), program_(program), stream(program.services.picture_server) {
  WebShare_Port.Text = "80";
  WebShare_Quality.Min = 10;
  WebShare_Quality.Max = 100;
  WebShare_Quality.Value = 25;
  WebShare_Quality.is_slider = true;
  WebShare_Quality.large_step = 5;
  WebShare_Port.OnChange = [this] { WebShare_Port_Change(); };
  WebShare_Url.OnClick = [this] { WebShare_Url_Click(); };
  stream.SetRequestListener([this] { stream_RequestReceived(); });
}

// The control goes with its window: nobody is left to answer.
PictureServerPanel::~PictureServerPanel() {
  stream.SetRequestListener({});
  stream.Close();
}

void PictureServerPanel::WebShare_Port_Change() {
  stream.Close();
  ResumeNext([&] {
    if (const auto port = WholeNumber(WebShare_Port.Text.get())) stream.SetLocalPort(RoundHalfEven(*port));
  });
  stream.Listen();
  ShowListenFailure();
}

void PictureServerPanel::ListenOnStoredPort() {
  stream.Listen();
  stream.SetLocalPort(ReadSettingInteger(program_.services.settings, settings::WebSharePort));
  ShowListenFailure();
}

void PictureServerPanel::ShowAddress() {
  const int port = stream.LocalPort();
  WebShare_Url.Caption = "http://" + stream.LocalAddress() + (port == 80 ? std::string() : ":" + std::to_string(port));
}

void PictureServerPanel::WebShare_Url_Click() {
  ResumeNext([&] { program_.services.desktop.OpenAddress(WebShare_Url.Caption.get()); });
}

void PictureServerPanel::ShowListenFailure() {
  const char* text = FailureText(stream.Failure());
  if (!text) return;
  std::string shown = program_.Translate(text);
  if (const auto at = shown.find("%1"); at != std::string::npos)
    shown.replace(at, 2, std::to_string(stream.LocalPort()));
  program_.MainWindow().Labels(14).Caption = shown;
}

void PictureServerPanel::ShowStatus(const std::string& english) {
  ResumeNext([&] { program_.MainWindow().Labels(14).Caption = program_.Translate(english); });
  program_.Yield();
}

void PictureServerPanel::stream_RequestReceived() {
  if (IsPageRequest(stream.RequestText()))
    SendPage();
  else
    SendPicture();
}

// A missing or unreadable template leaves the body empty: the browser gets the header alone.
void PictureServerPanel::SendPage() {
  const platform::SmallFile page =
      platform::ReadSmallFile(program_.state.AppPath + kWebShareTemplateFile, kLargestTemplateBytes);
  ResumeNext([&] {
    stream.SendText(
        PageResponse(stream.RequestText(), page.text, program_.services.clock.Now(), program_.state.ProductSite));
  });
}

// A still that cannot be taken leaves no file: the server answers that it has none.
void PictureServerPanel::SendPicture() {
  const std::string path = program_.state.AppPath + kWebSharePictureFile;
  ShowStatus("Streaming.");
  ResumeNext([&] { platform::RemoveRegularFile(path); });
  const int quality = WebShare_Quality.Value;
  ResumeNext([&] { program_.MainWindow().SaveStill(path, quality); });
  ShowStatus("Streaming..");
  ResumeNext([&] { stream.SendFile(path); });
  ShowStatus("Streaming");
}

}  // namespace zr
