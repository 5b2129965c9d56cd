#include "platform/linux/headless_services.h"

#include <sys/statvfs.h>

#include <clocale>
#include <ctime>
#include <filesystem>
#include <ostream>

namespace zr::platform::linux_impl {

DateTime LocalWallClock::Now() const {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return DateTime{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
}

std::string LocalWallClock::TimeOfDayText(const DateTime& time) const {
  const locale_t desktop = newlocale(LC_TIME_MASK, "", static_cast<locale_t>(nullptr));
  if (desktop == static_cast<locale_t>(nullptr)) return WallClock::TimeOfDayText(time);
  std::tm parts{};
  parts.tm_hour = time.hour;
  parts.tm_min = time.minute;
  parts.tm_sec = time.second;
  char text[64];
  const std::size_t length = strftime_l(text, sizeof text, "%X", &parts, desktop);
  freelocale(desktop);
  return length > 0 ? std::string(text, length) : WallClock::TimeOfDayText(time);
}

std::optional<std::uint64_t> StatvfsFileSystem::FreeBytes(const std::string& path) {
  std::error_code error;
  std::filesystem::path folder = std::filesystem::absolute(path.empty() ? "." : path, error);
  if (error) return std::nullopt;
  while (!std::filesystem::exists(folder, error) && folder.has_parent_path() && folder != folder.parent_path())
    folder = folder.parent_path();
  struct statvfs facts {};
  if (statvfs(folder.c_str(), &facts) != 0) return std::nullopt;
  return static_cast<std::uint64_t>(facts.f_bavail) * facts.f_frsize;
}

namespace {

MessageAnswer FirstButton(MessageButtons buttons) {
  switch (buttons) {
    case MessageButtons::Ok:
    case MessageButtons::OkCancel:
      return MessageAnswer::Ok;
    case MessageButtons::AbortRetryIgnore:
      return MessageAnswer::Abort;
    case MessageButtons::YesNoCancel:
    case MessageButtons::YesNo:
      return MessageAnswer::Yes;
    case MessageButtons::RetryCancel:
      return MessageAnswer::Retry;
  }
  return MessageAnswer::Ok;
}

}  // namespace

MessageAnswer TerminalDialogs::MessageBox(const MessageBoxRequest& request) {
  out_ << request.title << ": " << request.text << "\n";
  return FirstButton(request.buttons);
}

std::optional<std::string> TerminalDialogs::InputBox(const InputBoxRequest& request) {
  out_ << request.title << ": " << request.prompt << " " << request.default_text << "\n";
  return request.default_text;
}

std::optional<std::vector<std::string>> TerminalDialogs::FileDialog(const FileDialogRequest& request) {
  out_ << request.title << ": no file can be chosen without a window\n";
  return std::nullopt;
}

bool TerminalDialogs::PrintPicture(const PrintRequest& request) {
  out_ << request.title << ": nothing can be printed without a window\n";
  return false;
}

std::optional<CompressionChoice> TerminalDialogs::CompressionOptions(const CompressionOptionsRequest& request) {
  if (request.compressors.empty()) return std::nullopt;
  const auto& shown = request.compressors.at(static_cast<std::size_t>(request.selected));
  out_ << "Compressor: " << shown.name << "\n";
  return CompressionChoice{request.selected, shown.default_value};
}

}  // namespace zr::platform::linux_impl
