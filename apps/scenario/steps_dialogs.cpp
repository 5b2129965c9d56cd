// The program's dialogs: the answers a scenario queues for message boxes, input boxes, file
// dialogs, compression options and colours, and the expectations that check each dialog shown, oldest
// first.

#include <optional>
#include <string>
#include <vector>

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

platform::MessageAnswer ToAnswer(MsgBoxAnswer answer) {
  switch (answer) {
    case MsgBoxAnswer::kYes:
      return platform::MessageAnswer::Yes;
    case MsgBoxAnswer::kNo:
      return platform::MessageAnswer::No;
    case MsgBoxAnswer::kOk:
      return platform::MessageAnswer::Ok;
    case MsgBoxAnswer::kCancel:
      return platform::MessageAnswer::Cancel;
    case MsgBoxAnswer::kAbort:
      return platform::MessageAnswer::Abort;
    case MsgBoxAnswer::kRetry:
      return platform::MessageAnswer::Retry;
    case MsgBoxAnswer::kIgnore:
      return platform::MessageAnswer::Ignore;
  }
  return platform::MessageAnswer::Ok;
}

platform::FileDialogKind ToKind(FileDialogKind kind) {
  switch (kind) {
    case FileDialogKind::kOpen:
      return platform::FileDialogKind::Open;
    case FileDialogKind::kSave:
      return platform::FileDialogKind::Save;
    case FileDialogKind::kFolder:
      return platform::FileDialogKind::Folder;
  }
  return platform::FileDialogKind::Open;
}

platform::MessageIcon ToIcon(MsgBoxIcon icon) {
  switch (icon) {
    case MsgBoxIcon::kNone:
      return platform::MessageIcon::None;
    case MsgBoxIcon::kStop:
      return platform::MessageIcon::Stop;
    case MsgBoxIcon::kExclamation:
      return platform::MessageIcon::Exclamation;
    case MsgBoxIcon::kInformation:
      return platform::MessageIcon::Information;
    case MsgBoxIcon::kQuestion:
      return platform::MessageIcon::Question;
  }
  return platform::MessageIcon::None;
}

platform::MessageButtons ToButtons(MsgBoxButtons buttons) {
  switch (buttons) {
    case MsgBoxButtons::kOk:
      return platform::MessageButtons::Ok;
    case MsgBoxButtons::kOkCancel:
      return platform::MessageButtons::OkCancel;
    case MsgBoxButtons::kYesNo:
      return platform::MessageButtons::YesNo;
    case MsgBoxButtons::kYesNoCancel:
      return platform::MessageButtons::YesNoCancel;
  }
  return platform::MessageButtons::Ok;
}

// ---- answers

void Do(Runner& runner, const AnswerMsgBox& answer) {
  runner.world().dialogs.QueueMessageAnswer(ToAnswer(answer.answer));
}

void Do(Runner& runner, const AnswerOptions& answer) { runner.world().dialogs.QueueOptionsAnswer(answer.accept); }

// A colour is packed as the program keeps colours: red low, blue high.
void Do(Runner& runner, const AnswerColour& answer) {
  std::optional<std::int32_t> packed;
  if (const auto& colour = answer.colour) packed = colour->red | colour->green << 8 | colour->blue << 16;
  runner.world().dialogs.QueueColourAnswer(packed);
}

void Do(Runner& runner, const AnswerInput& answer) {
  runner.world().dialogs.QueueInputAnswer(answer.text ? std::optional<std::string>(runner.Expand(*answer.text))
                                                      : std::nullopt);
}

void Do(Runner& runner, const AnswerFileDialog& answer) {
  auto& dialogs = runner.world().dialogs;
  if (answer.paths.empty()) {
    dialogs.QueueFileAnswer(ToKind(answer.kind), std::nullopt);
    return;
  }
  std::vector<std::string> paths;
  for (const auto& path : answer.paths) paths.push_back(runner.PathOf(path));
  dialogs.QueueFileAnswer(ToKind(answer.kind), paths);
}

// ---- the dialogs shown

platform::sim::ShownDialog& OldestUnchecked(Runner& runner, const std::string& expected) {
  for (auto& dialog : runner.world().dialogs.Shown())
    if (!dialog.checked) return dialog;
  Fail(expected, "no dialog");
}

bool TextMatches(const std::string& actual, const std::string& expected, bool partial) {
  return partial ? actual.find(expected) != std::string::npos : actual == expected;
}

void Do(Runner& runner, const ExpectMsgBox& expect) {
  const std::string text = runner.Expand(expect.text);
  const std::string what = "message box " + Quoted(text);
  auto& dialog = OldestUnchecked(runner, what);
  if (dialog.kind != platform::sim::ShownDialog::Kind::MessageBox) Fail(what, "another kind of dialog");
  if (!TextMatches(dialog.message.text, text, expect.partial)) Fail(what, Quoted(dialog.message.text));
  if (expect.title && dialog.message.title != *expect.title)
    Fail("title " + Quoted(*expect.title), Quoted(dialog.message.title));
  if (expect.icon && dialog.message.icon != ToIcon(*expect.icon))
    Fail("another icon of " + what, "icon " + std::to_string(static_cast<int>(dialog.message.icon)));
  if (expect.buttons && dialog.message.buttons != ToButtons(*expect.buttons))
    Fail("other buttons of " + what, "buttons " + std::to_string(static_cast<int>(dialog.message.buttons)));
  dialog.checked = true;
}

void Do(Runner& runner, const ExpectInputBox& expect) {
  const std::string what = "input box " + Quoted(expect.prompt);
  auto& dialog = OldestUnchecked(runner, what);
  if (dialog.kind != platform::sim::ShownDialog::Kind::InputBox) Fail(what, "another kind of dialog");
  if (!TextMatches(dialog.input.prompt, expect.prompt, expect.partial)) Fail(what, Quoted(dialog.input.prompt));
  if (expect.title && dialog.input.title != *expect.title)
    Fail("title " + Quoted(*expect.title), Quoted(dialog.input.title));
  if (expect.default_text && dialog.input.default_text != runner.Expand(*expect.default_text))
    Fail("default " + Quoted(*expect.default_text), Quoted(dialog.input.default_text));
  dialog.checked = true;
}

void Do(Runner& runner, const ExpectFileDialog& expect) {
  auto& dialog = OldestUnchecked(runner, "a file dialog");
  using Kind = platform::sim::ShownDialog::Kind;
  const bool file_dialog = dialog.kind == Kind::Open || dialog.kind == Kind::Save || dialog.kind == Kind::Folder;
  if (!file_dialog || dialog.file.kind != ToKind(expect.kind))
    Fail("a file dialog of the kind named", "another kind of dialog");
  if (expect.title && dialog.file.title != *expect.title)
    Fail("title " + Quoted(*expect.title), Quoted(dialog.file.title));
  if (expect.filter && dialog.file.filter != *expect.filter)
    Fail("filter " + Quoted(*expect.filter), Quoted(dialog.file.filter));
  if (expect.name && dialog.file.file_name != runner.Expand(*expect.name))
    Fail("name " + Quoted(*expect.name), Quoted(dialog.file.file_name));
  dialog.checked = true;
}

void Do(Runner& runner, const ExpectNoDialog&) {
  for (const auto& dialog : runner.world().dialogs.Shown()) {
    if (dialog.checked) continue;
    const std::string text = dialog.kind == platform::sim::ShownDialog::Kind::MessageBox ? dialog.message.text
                             : dialog.kind == platform::sim::ShownDialog::Kind::InputBox ? dialog.input.prompt
                                                                                         : dialog.file.title;
    Fail("no dialog", Quoted(text));
  }
}

}  // namespace

void AddDialogSteps(StepTable& steps) {
  steps.On<AnswerMsgBox>(Do);
  steps.On<AnswerOptions>(Do);
  steps.On<AnswerColour>(Do);
  steps.On<AnswerInput>(Do);
  steps.On<AnswerFileDialog>(Do);
  steps.On<ExpectMsgBox>(Do);
  steps.On<ExpectInputBox>(Do);
  steps.On<ExpectFileDialog>(Do);
  steps.On<ExpectNoDialog>(Do);
}

}  // namespace zr::scenario
