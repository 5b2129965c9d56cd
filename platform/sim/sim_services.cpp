#include "platform/sim/sim_services.h"

#include <filesystem>
#include <functional>
#include <system_error>

namespace zr::platform::sim {

namespace {

std::string DescribeDialog(const ShownDialog& dialog) {
  switch (dialog.kind) {
    case ShownDialog::Kind::MessageBox:
      return "message box \"" + dialog.message.text + "\"";
    case ShownDialog::Kind::InputBox:
      return "input box \"" + dialog.input.prompt + "\"";
    case ShownDialog::Kind::Open:
      return "open dialog \"" + dialog.file.title + "\"";
    case ShownDialog::Kind::Save:
      return "save dialog \"" + dialog.file.title + "\"";
    case ShownDialog::Kind::Folder:
      return "folder dialog \"" + dialog.file.title + "\"";
    case ShownDialog::Kind::CompressionOptions:
      return "compression options dialog";
    case ShownDialog::Kind::Print:
      return "print dialog";
    case ShownDialog::Kind::Colour:
      return "colour dialog";
    case ShownDialog::Kind::PopupMenu:
      return "pop-up menu";
  }
  return "dialog";
}

ShownDialog::Kind KindOf(FileDialogKind kind) {
  switch (kind) {
    case FileDialogKind::Open:
      return ShownDialog::Kind::Open;
    case FileDialogKind::Save:
      return ShownDialog::Kind::Save;
    case FileDialogKind::Folder:
      return ShownDialog::Kind::Folder;
  }
  return ShownDialog::Kind::Open;
}

}  // namespace

void SimDialogs::Record(ShownDialog dialog) {
  shown_.push_back(std::move(dialog));
  if (on_shown) on_shown(shown_.back());
}

MessageAnswer SimDialogs::MessageBox(const MessageBoxRequest& request) {
  ShownDialog dialog{ShownDialog::Kind::MessageBox, request, {}, {}};
  Record(dialog);
  if (request.buttons == MessageButtons::Ok) return MessageAnswer::Ok;
  if (message_answers_.empty()) throw UnansweredDialog("no answer queued for the " + DescribeDialog(dialog));
  const MessageAnswer answer = message_answers_.front();
  message_answers_.pop_front();
  return answer;
}

std::optional<std::string> SimDialogs::InputBox(const InputBoxRequest& request) {
  ShownDialog dialog{ShownDialog::Kind::InputBox, {}, request, {}};
  Record(dialog);
  if (input_answers_.empty()) throw UnansweredDialog("no answer queued for the " + DescribeDialog(dialog));
  auto answer = std::move(input_answers_.front());
  input_answers_.pop_front();
  return answer;
}

void SimDialogs::QueueFileAnswer(FileDialogKind kind, std::optional<std::vector<std::string>> answer) {
  file_answers_[kind].push_back(std::move(answer));
}

std::optional<std::vector<std::string>> SimDialogs::FileDialog(const FileDialogRequest& request) {
  ShownDialog dialog{KindOf(request.kind), {}, {}, request};
  Record(dialog);
  auto& answers = file_answers_[request.kind];
  if (answers.empty()) throw UnansweredDialog("no answer queued for the " + DescribeDialog(dialog));
  auto answer = std::move(answers.front());
  answers.pop_front();
  return answer;
}

bool SimDialogs::CompressionOptions() {
  ShownDialog dialog{ShownDialog::Kind::CompressionOptions, {}, {}, {}};
  dialog.checked = true;
  Record(dialog);
  if (options_answers_.empty()) return true;
  const bool accept = options_answers_.front();
  options_answers_.pop_front();
  return accept;
}

bool SimDialogs::PrintPicture(const PrintRequest& request) {
  ShownDialog dialog{ShownDialog::Kind::Print, {}, {}, {}};
  dialog.checked = true;
  Record(dialog);
  printed_.push_back(request.picture);
  return true;
}

std::optional<int> SimDialogs::PopupMenu(const std::vector<PopupMenuEntry>& entries) {
  ShownDialog dialog{ShownDialog::Kind::PopupMenu, {}, {}, {}};
  dialog.menu = entries;
  dialog.checked = true;
  Record(dialog);
  return std::nullopt;
}

std::optional<std::int32_t> SimDialogs::ChooseColour(const ColourRequest& request) {
  ShownDialog dialog{ShownDialog::Kind::Colour, {}, {}, {}};
  dialog.message.title = request.title;
  dialog.checked = true;
  Record(dialog);
  if (colour_answers_.empty()) return request.initial;
  const auto answer = colour_answers_.front();
  colour_answers_.pop_front();
  return answer;
}

std::optional<CompressionChoice> SimDialogs::CompressionOptions(const CompressionOptionsRequest& request) {
  if (!CompressionOptions() || request.compressors.empty()) return std::nullopt;
  const auto& shown = request.compressors.at(static_cast<std::size_t>(request.selected));
  return CompressionChoice{request.selected, shown.default_value};
}

std::string SimSettingsStore::Get(const std::string& application, const std::string& section, const std::string& key,
                                  const std::string& default_value) {
  return Find(application, section, key).value_or(default_value);
}

void SimSettingsStore::Save(const std::string& application, const std::string& section, const std::string& key,
                            const std::string& value) {
  values_[{application, section, key}] = value;
}

std::optional<std::string> SimSettingsStore::Find(const std::string& application, const std::string& section,
                                                  const std::string& key) const {
  const auto found = values_.find({application, section, key});
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::uint64_t> SimFileSystem::FreeBytes(const std::string&) {
  std::uint64_t used = 0;
  std::error_code error;
  for (auto entry = std::filesystem::recursive_directory_iterator(root_, error);
       !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
    if (entry->is_regular_file(error)) used += entry->file_size(error);
  }
  if (used >= capacity_bytes_) return 0;
  return capacity_bytes_ - used;
}

DateTime AddSeconds(const DateTime& start, std::int64_t seconds) {
  std::int64_t total = DaysFromCivil(start.year, start.month, start.day) * 86400 + start.hour * 3600 +
                       start.minute * 60 + start.second + seconds;
  std::int64_t days = total >= 0 ? total / 86400 : (total - 86399) / 86400;
  std::int64_t in_day = total - days * 86400;
  DateTime result;
  CivilFromDays(days, result.year, result.month, result.day);
  result.hour = static_cast<int>(in_day / 3600);
  result.minute = static_cast<int>(in_day % 3600 / 60);
  result.second = static_cast<int>(in_day % 60);
  return result;
}

DateTime SimWallClock::Now() const { return AddSeconds(base_, (loop_.NowMs() - base_loop_ms_) / 1000); }

void SimWallClock::Set(const DateTime& now) {
  base_ = now;
  base_loop_ms_ = loop_.NowMs();
}

std::optional<std::string> SimDesktop::UserGuide() const {
  if (guide_folder.empty()) return std::nullopt;
  const std::string guide = guide_folder + "guide/index.html";
  std::error_code error;
  if (!std::filesystem::is_regular_file(guide, error)) return std::nullopt;
  return guide;
}

}  // namespace zr::platform::sim
