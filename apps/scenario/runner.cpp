#include "apps/scenario/runner.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "apps/scenario/addressing.h"
#include "apps/scenario/procedures.h"
#include "apps/scenario/script.h"
#include "apps/scenario/world.h"
#include "base/formatting.h"
#include "main_window/master.h"
#include "image/picture_writer.h"

namespace zr::scenario {

namespace {

// A failed expectation or a command that could not be carried out, at its line.
struct Failure {
  int line;
  std::string message;
};

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string ValueText(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return Quoted(*text);
  if (const auto* number = std::get_if<double>(&value)) return NumberText(*number);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
  if (const auto* colour = std::get_if<Colour>(&value))
    return "rgb(" + std::to_string(colour->red) + "," + std::to_string(colour->green) + "," +
           std::to_string(colour->blue) + ")";
  const auto& size = std::get<Size>(value);
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string ActualText(const ui::Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return Quoted(*text);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
  return NumberText(ui::ValueToNumber(value));
}

const char* RelationText(Relation relation) {
  switch (relation) {
    case Relation::kEqual: return "==";
    case Relation::kNotEqual: return "!=";
    case Relation::kLess: return "<";
    case Relation::kLessOrEqual: return "<=";
    case Relation::kGreater: return ">";
    case Relation::kGreaterOrEqual: return ">=";
    case Relation::kContains: return "contains";
  }
  return "==";
}

bool CompareNumbers(double actual, Relation relation, double expected) {
  switch (relation) {
    case Relation::kEqual: return actual == expected;
    case Relation::kNotEqual: return actual != expected;
    case Relation::kLess: return actual < expected;
    case Relation::kLessOrEqual: return actual <= expected;
    case Relation::kGreater: return actual > expected;
    case Relation::kGreaterOrEqual: return actual >= expected;
    case Relation::kContains: return false;
  }
  return false;
}

// Whether an actual value stands in the expected relation; the program's Boolean -1/0 equals
// true/false, a colour compares with the packed value.
bool Holds(const ui::Value& actual, const Comparison& comparison) {
  const Value& expected = comparison.expected;
  if (comparison.relation == Relation::kContains)
    return ui::ValueToText(actual).find(std::get<std::string>(expected)) != std::string::npos;
  bool equal = false;
  if (const auto* expected_text = std::get_if<std::string>(&expected)) {
    equal = std::holds_alternative<std::string>(actual) ? std::get<std::string>(actual) == *expected_text
                                                        : ui::ValueToText(actual) == *expected_text;
  } else if (const auto* flag = std::get_if<bool>(&expected)) {
    if (std::holds_alternative<std::string>(actual)) return false;
    equal = ui::ValueToBool(actual) == *flag;
  } else if (const auto* colour = std::get_if<Colour>(&expected)) {
    equal = !std::holds_alternative<std::string>(actual) &&
            ui::ValueToNumber(actual) == ui::Rgb(colour->red, colour->green, colour->blue);
  } else if (const auto* number = std::get_if<double>(&expected)) {
    if (std::holds_alternative<std::string>(actual)) {
      const auto& text = std::get<std::string>(actual);
      if (text.empty()) return comparison.relation == Relation::kNotEqual;
      return CompareNumbers(NumericPrefix(text), comparison.relation, *number);
    }
    return CompareNumbers(ui::ValueToNumber(actual), comparison.relation, *number);
  } else {
    return false;
  }
  return comparison.relation == Relation::kNotEqual ? !equal : equal;
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

platform::MessageAnswer ToAnswer(MsgBoxAnswer answer) {
  switch (answer) {
    case MsgBoxAnswer::kYes: return platform::MessageAnswer::Yes;
    case MsgBoxAnswer::kNo: return platform::MessageAnswer::No;
    case MsgBoxAnswer::kOk: return platform::MessageAnswer::Ok;
    case MsgBoxAnswer::kCancel: return platform::MessageAnswer::Cancel;
    case MsgBoxAnswer::kAbort: return platform::MessageAnswer::Abort;
    case MsgBoxAnswer::kRetry: return platform::MessageAnswer::Retry;
    case MsgBoxAnswer::kIgnore: return platform::MessageAnswer::Ignore;
  }
  return platform::MessageAnswer::Ok;
}

platform::FileDialogKind ToKind(FileDialogKind kind) {
  switch (kind) {
    case FileDialogKind::kOpen: return platform::FileDialogKind::Open;
    case FileDialogKind::kSave: return platform::FileDialogKind::Save;
    case FileDialogKind::kFolder: return platform::FileDialogKind::Folder;
  }
  return platform::FileDialogKind::Open;
}

platform::MessageIcon ToIcon(MsgBoxIcon icon) {
  switch (icon) {
    case MsgBoxIcon::kNone: return platform::MessageIcon::None;
    case MsgBoxIcon::kStop: return platform::MessageIcon::Stop;
    case MsgBoxIcon::kExclamation: return platform::MessageIcon::Exclamation;
    case MsgBoxIcon::kInformation: return platform::MessageIcon::Information;
    case MsgBoxIcon::kQuestion: return platform::MessageIcon::Question;
  }
  return platform::MessageIcon::None;
}

platform::MessageButtons ToButtons(MsgBoxButtons buttons) {
  switch (buttons) {
    case MsgBoxButtons::kOk: return platform::MessageButtons::Ok;
    case MsgBoxButtons::kOkCancel: return platform::MessageButtons::OkCancel;
    case MsgBoxButtons::kYesNo: return platform::MessageButtons::YesNo;
    case MsgBoxButtons::kYesNoCancel: return platform::MessageButtons::YesNoCancel;
  }
  return platform::MessageButtons::Ok;
}

class Runner final : public platform::sim::InputSource {
 public:
  Runner(std::vector<Command> commands, std::string scenario_path, const RunOptions& options)
      : commands_(std::move(commands)), scenario_folder_(std::filesystem::path(scenario_path).parent_path()),
        options_(options), world_(options.keep) {
    world_.loop.SetInputSource(this);
    if (options_.verbose) world_.dialogs.on_shown = [](const platform::sim::ShownDialog& dialog) { Say(dialog); };
  }

  // The script may end while the program waits in a modal window: that is its end, not a
  // fault.
  Outcome Run() {
    try {
      while (RunNextCommand()) {
        if (world_.Started()) world_.program().ReleaseUnloadedWindows();
      }
      return Outcome{true, 0, ""};
    } catch (const Failure& failure) {
      return Outcome{false, failure.line, failure.message};
    } catch (const platform::sim::InputExhausted&) {
      return Outcome{true, 0, ""};
    }
  }

  bool RunNextCommand() override {
    if (next_ >= commands_.size()) return false;
    const Command& command = commands_[next_++];
    Execute(command);
    return true;
  }

 private:
  static void Say(const platform::sim::ShownDialog& dialog) {
    using Kind = platform::sim::ShownDialog::Kind;
    if (dialog.kind == Kind::MessageBox) std::cout << "  dialog: message box " << Quoted(dialog.message.text) << "\n";
    else if (dialog.kind == Kind::InputBox) std::cout << "  dialog: input box " << Quoted(dialog.input.prompt) << "\n";
    else std::cout << "  dialog: file dialog " << Quoted(dialog.file.title) << "\n";
  }

  // Runs one command and turns every way it can go wrong into a failure at its line.
  void Execute(const Command& command) {
    if (options_.verbose) std::cout << command.line << ": " << command.text << "\n";
    try {
      std::visit([&](const auto& body) { Do(body); }, command.body);
    } catch (const Failure&) {
      throw;
    } catch (const platform::sim::InputExhausted&) {
      throw;
    } catch (const std::exception& error) {
      throw Failure{command.line, error.what()};
    }
  }

  [[noreturn]] static void Fail(const std::string& expected, const std::string& found) {
    throw std::runtime_error("expected " + expected + ", found " + found);
  }

  [[noreturn]] static void NotYetSupported(const std::string& what) {
    throw std::runtime_error(what + ": not yet supported");
  }

  Program& program() {
    if (!world_.Started()) throw std::runtime_error("expected the program to have started, found no `start` before");
    return world_.program();
  }

  std::string Expand(const std::string& text) const {
    return ExpandPlaceholders(text, world_.AppFolder(), world_.TempFolder());
  }

  // Relative paths stand in the program folder.
  std::string PathOf(const std::string& path) const {
    const std::string expanded = Expand(path);
    if (!expanded.empty() && expanded.front() == '/') return expanded;
    return world_.AppFolder() + expanded;
  }

  // ---- the world

  void Do(const Clock& clock) {
    world_.clock.Set(platform::DateTime{clock.year, clock.month, clock.day, clock.hour, clock.minute, clock.second});
  }
  void Do(const SystemFlag& flag) {
    if (flag.name != "windows-after-2000") Fail("the os flag windows-after-2000", Quoted(flag.name));
    windows_after_2000_ = flag.on;
  }
  void Do(const Setting& setting) {
    world_.settings->Save(setting.app, setting.section, setting.key, Expand(setting.value));
  }
  void Do(const WriteFile& file) {
    const std::string path = PathOf(file.path);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << Expand(file.content);
    if (!out) Fail("a file written at " + path, "an error");
  }
  void Do(const CopyFile& copy) {
    const auto source = scenario_folder_ / copy.fixture;
    std::error_code error;
    std::filesystem::copy_file(source, PathOf(copy.destination), std::filesystem::copy_options::overwrite_existing,
                               error);
    if (error) Fail("a fixture " + Quoted(copy.fixture) + " beside the scenario", error.message());
  }
  void Do(const CommandLine& line) { command_line_ = Expand(line.text); }
  void Do(const Device& device) {
    platform::sim::DeviceSpec described;
    described.kind = device.kind == DeviceKind::kDriver ? platform::sim::DeviceSpec::Kind::Vfw
                                                   : platform::sim::DeviceSpec::Kind::Wdm;
    described.name = device.name;
    const auto& options = device.options;
    described.width = options.size.width;
    described.height = options.size.height;
    if (options.fps) described.fps = static_cast<int>(std::lround(*options.fps));
    if (options.picture) described.picture = ToPictureSpec(*options.picture);
    described.overlay = options.overlay;
    described.source_dialog = options.dialogs.source;
    described.format_dialog = options.dialogs.format;
    described.display_dialog = options.dialogs.display;
    described.connect_fails = options.connect_fails;
    if (options.device_class == DeviceClass::kTuner) described.device_class = 1;
    if (options.device_class == DeviceClass::kDv) described.device_class = 2;
    described.inputs = options.inputs;
    for (const auto& format : options.formats)
      described.formats.push_back(platform::VideoFormatRow{format.width, format.height, format.bits_per_pixel});
    described.audio_inputs = options.audio_inputs;
    world_.devices->devices.push_back(described);
  }
  void Do(const UrlSource&) { NotYetSupported("url"); }
  void Do(const SoundInputs&) { NotYetSupported("sound-inputs"); }
  void Do(const SerialPorts&) { NotYetSupported("serial-ports"); }
  void Do(const FtpServer&) { NotYetSupported("ftp-server"); }
  void Do(const Start&) {
    Program& started = world_.MakeProgram();
    started.SystemVersion = windows_after_2000_ ? 10.0 : 5.0;
    started.CommandLine = command_line_;
    started.Main();
  }

  platform::sim::PictureSpec ToPictureSpec(const Picture& picture) const {
    platform::sim::PictureSpec described;
    if (const auto* solid = std::get_if<SolidPicture>(&picture)) {
      described.kind = platform::sim::PictureSpec::Kind::Solid;
      described.red = solid->colour.red;
      described.green = solid->colour.green;
      described.blue = solid->colour.blue;
    } else if (const auto* file = std::get_if<PictureFile>(&picture)) {
      described.kind = platform::sim::PictureSpec::Kind::File;
      described.path = (scenario_folder_ / Expand(file->path)).string();
    } else {
      described.kind = platform::sim::PictureSpec::Kind::Pattern;
      described.pattern = std::get<PicturePattern>(picture).name;
    }
    return described;
  }

  // ---- actions

  Target Locate(const Address& address, bool with_property) {
    std::span<const Segment> path(address.path);
    if (with_property) {
      if (path.empty()) Fail("a property", "none after " + Describe(address.window, path));
      path = path.first(path.size() - 1);
    }
    return Resolve(program(), address.window, path);
  }

  // A click is also a press of the mouse button, which a running capture may be set to stop on.
  void Do(const Click& click) {
    const Target target = Locate(click.target, false);
    if (auto* source = world_.devices->ConnectedSource()) source->MousePressed(1);
    if (world_.loop.Blocking()) world_.loop.Post([target] { ClickTarget(target); });
    else ClickTarget(target);
  }
  void Do(const DoubleClick& click) { DoubleClickTarget(Locate(click.target, false)); }
  void Do(const SetProperty& set) {
    const Target target = Locate(set.target, true);
    const Segment& property = set.target.path.back();
    if (!WriteProperty(target, property, ToUiValue(set.value)))
      Fail("a writable property", Quoted(property.name) + " of " + Describe(set.target.window, set.target.path));
  }
  void Do(const Key& key) {
    auto& keys = program().KeysDown;
    std::erase(keys, key.name);
    if (key.down) keys.push_back(key.name);
  }
  void Do(const Foreground& foreground) {
    FindSlot(program(), foreground.window);
    program().ForegroundWindow = foreground.window.name;
  }
  void Do(const CloseWindow& close) {
    auto& slot = FindSlot(program(), close.window);
    if (close.window.instance > 0) {
      if (auto* window = slot.ExtraInstance(close.window.instance)) slot.UnloadExtra(*window, ui::UnloadMode::CloseBox);
    } else {
      slot.Unload(ui::UnloadMode::CloseBox);
    }
  }
  void Do(const MinimizeWindow& minimize) {
    FindWindowInstance(program(), minimize.window, true)->WindowState = static_cast<int>(ui::WindowState::Minimized);
  }
  void Do(const RestoreWindow& restore) {
    FindWindowInstance(program(), restore.window, true)->WindowState = static_cast<int>(ui::WindowState::Normal);
  }
  void Do(const Wait& wait) { world_.loop.AdvanceBy(wait.delay.count()); }
  void Do(const Yield&) { world_.loop.Yield(); }
  void Do(const After& after) {
    const Command* command = after.command.get();
    world_.loop.Schedule(world_.loop.NowMs() + after.delay.count(), platform::sim::SimEventLoop::WorkKind::Scripted,
                         [this, command] { Execute(*command); });
  }
  void Do(const Call& call) {
    CallProcedure(program(), call.window, call.procedure, call.arguments, world_.AppFolder(), world_.TempFolder());
  }
  void Do(const LoadWindow& load) { FindWindowInstance(program(), load.window, true); }
  void Do(const UnloadWindow& unload) { FindSlot(program(), unload.window).Unload(ui::UnloadMode::FromCode); }
  void Do(const AnswerMsgBox& answer) { world_.dialogs.QueueMessageAnswer(ToAnswer(answer.answer)); }
  void Do(const AnswerInput& answer) {
    world_.dialogs.QueueInputAnswer(answer.text ? std::optional<std::string>(Expand(*answer.text)) : std::nullopt);
  }
  void Do(const AnswerFileDialog& answer) {
    if (answer.paths.empty()) {
      world_.dialogs.QueueFileAnswer(ToKind(answer.kind), std::nullopt);
      return;
    }
    std::vector<std::string> paths;
    for (const auto& path : answer.paths) paths.push_back(PathOf(path));
    world_.dialogs.QueueFileAnswer(ToKind(answer.kind), paths);
  }
  platform::sim::SimDeviceWorld::Source& ConnectedSource() {
    auto* source = world_.devices->ConnectedSource();
    if (!source) Fail("a connected simulated source", "none");
    return *source;
  }
  void Do(const ChangePicture& picture) { ConnectedSource().ChangePicture(ToPictureSpec(picture.picture)); }
  void Do(const DropFrames& drop) { ConnectedSource().AddDrops(drop.count); }
  void Do(const Unplug&) { ConnectedSource().Unplug(); }
  void Do(const SoundLevel&) { NotYetSupported("sound level"); }
  void Do(const SerialLine&) { NotYetSupported("serial"); }
  void Do(const Joystick&) { NotYetSupported("joystick"); }
  void Do(const HttpRequest&) { NotYetSupported("http"); }

  static ui::Value ToUiValue(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* flag = std::get_if<bool>(&value)) return *flag;
    if (const auto* colour = std::get_if<Colour>(&value))
      return std::int64_t{ui::Rgb(colour->red, colour->green, colour->blue)};
    Fail("a value for a property", ValueText(value));
  }

  // ---- expectations

  void Expect(const ui::Value& actual, const Comparison& comparison, const std::string& what) {
    if (!Holds(actual, comparison))
      Fail(what + " " + RelationText(comparison.relation) + " " + ValueText(comparison.expected), ActualText(actual));
  }

  void Do(const ExpectProperty& expect) {
    const Target target = Locate(expect.target, true);
    const Segment& property = expect.target.path.back();
    const auto actual = ReadProperty(target, property);
    if (!actual) Fail("a property of " + Describe(expect.target.window, std::span(expect.target.path).first(expect.target.path.size() - 1)),
                      Quoted(property.name));
    Expect(*actual, ExpandedComparison(expect.comparison), Describe(expect.target.window, expect.target.path));
  }
  void Do(const ExpectState& expect) {
    Expect(ReadStateMember(program(), expect.member), ExpandedComparison(expect.comparison), "state");
  }
  Comparison ExpandedComparison(const Comparison& comparison) const {
    Comparison expanded = comparison;
    if (auto* text = std::get_if<std::string>(&expanded.expected)) *text = Expand(*text);
    return expanded;
  }
  void Do(const ExpectSetting& expect) {
    const auto value = world_.settings->Find(expect.app, expect.section, expect.key);
    const std::string what = "setting " + Quoted(expect.app) + " " + Quoted(expect.section) + " " + Quoted(expect.key);
    if (!expect.comparison) {
      if (value) Fail(what + " missing", Quoted(*value));
      return;
    }
    if (!value) Fail(what + " " + ValueText(expect.comparison->expected), "no such setting");
    Expect(ui::Value{*value}, ExpandedComparison(*expect.comparison), what);
  }
  void Do(const ExpectFileExists& expect) {
    const bool exists = std::filesystem::exists(PathOf(expect.path));
    if (exists != expect.exists)
      Fail("file " + expect.path + (expect.exists ? " exists" : " missing"), exists ? "it exists" : "no such file");
  }
  void Do(const ExpectFileSize& expect) {
    std::error_code error;
    const auto size = std::filesystem::file_size(PathOf(expect.path), error);
    if (error) Fail("file " + expect.path, "no such file");
    if (!CompareNumbers(static_cast<double>(size), expect.size.relation, expect.size.expected))
      Fail("file size " + std::string(RelationText(expect.size.relation)) + " " + NumberText(expect.size.expected),
           std::to_string(size));
  }
  void Do(const ExpectFileText& expect) {
    const std::string path = PathOf(expect.path);
    if (!std::filesystem::exists(path)) Fail("file " + expect.path, "no such file");
    const std::string content = ReadWholeFile(path);
    const std::string text = Expand(expect.text);
    const bool found = content.find(text) != std::string::npos;
    if (expect.match == TextMatch::kEquals && content != text) Fail("file text " + Quoted(text), Quoted(content));
    if (expect.match == TextMatch::kContains && !found) Fail("file text containing " + Quoted(text), Quoted(content));
    if (expect.match == TextMatch::kLacks && found) Fail("file text lacking " + Quoted(text), Quoted(content));
  }
  void Do(const ExpectFileBytes& expect) {
    const std::string content = ReadWholeFile(PathOf(expect.path));
    const auto offset = static_cast<std::size_t>(expect.offset);
    const std::string actual = offset < content.size() ? content.substr(offset, expect.bytes.size()) : "";
    if (actual != expect.bytes) Fail("bytes " + Hex(expect.bytes) + " at " + std::to_string(offset), Hex(actual));
  }
  static std::string Hex(const std::string& bytes) {
    static const char* const kDigits = "0123456789ABCDEF";
    std::string text;
    for (unsigned char byte : bytes) {
      text += kDigits[byte >> 4];
      text += kDigits[byte & 15];
    }
    return Quoted(text);
  }

  platform::sim::ShownDialog& OldestUnchecked(const std::string& expected) {
    for (auto& dialog : world_.dialogs.Shown())
      if (!dialog.checked) return dialog;
    Fail(expected, "no dialog");
  }
  static bool TextMatches(const std::string& actual, const std::string& expected, bool partial) {
    return partial ? actual.find(expected) != std::string::npos : actual == expected;
  }
  void Do(const ExpectMsgBox& expect) {
    const std::string text = Expand(expect.text);
    const std::string what = "message box " + Quoted(text);
    auto& dialog = OldestUnchecked(what);
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
  void Do(const ExpectInputBox& expect) {
    const std::string what = "input box " + Quoted(expect.prompt);
    auto& dialog = OldestUnchecked(what);
    if (dialog.kind != platform::sim::ShownDialog::Kind::InputBox) Fail(what, "another kind of dialog");
    if (!TextMatches(dialog.input.prompt, expect.prompt, expect.partial)) Fail(what, Quoted(dialog.input.prompt));
    if (expect.title && dialog.input.title != *expect.title)
      Fail("title " + Quoted(*expect.title), Quoted(dialog.input.title));
    if (expect.default_text && dialog.input.default_text != Expand(*expect.default_text))
      Fail("default " + Quoted(*expect.default_text), Quoted(dialog.input.default_text));
    dialog.checked = true;
  }
  void Do(const ExpectFileDialog& expect) {
    auto& dialog = OldestUnchecked("a file dialog");
    using Kind = platform::sim::ShownDialog::Kind;
    const bool file_dialog = dialog.kind == Kind::Open || dialog.kind == Kind::Save || dialog.kind == Kind::Folder;
    if (!file_dialog || dialog.file.kind != ToKind(expect.kind))
      Fail("a file dialog of the kind named", "another kind of dialog");
    if (expect.title && dialog.file.title != *expect.title) Fail("title " + Quoted(*expect.title), Quoted(dialog.file.title));
    if (expect.filter && dialog.file.filter != *expect.filter)
      Fail("filter " + Quoted(*expect.filter), Quoted(dialog.file.filter));
    if (expect.name && dialog.file.file_name != Expand(*expect.name))
      Fail("name " + Quoted(*expect.name), Quoted(dialog.file.file_name));
    dialog.checked = true;
  }
  void Do(const ExpectNoDialog&) {
    for (const auto& dialog : world_.dialogs.Shown()) {
      if (dialog.checked) continue;
      const std::string text = dialog.kind == platform::sim::ShownDialog::Kind::MessageBox ? dialog.message.text
                               : dialog.kind == platform::sim::ShownDialog::Kind::InputBox ? dialog.input.prompt
                                                                                          : dialog.file.title;
      Fail("no dialog", Quoted(text));
    }
  }
  void Do(const ExpectWindow& expect) {
    auto& slot = FindSlot(program(), expect.window);
    const ui::Window* window =
        expect.window.instance > 0 ? slot.ExtraInstance(expect.window.instance) : slot.LoadedWindow();
    const bool loaded = window != nullptr;
    const bool visible = loaded && window->Visible;
    bool holds = false;
    switch (expect.condition) {
      case WindowCondition::kLoaded: holds = loaded; break;
      case WindowCondition::kUnloaded: holds = !loaded; break;
      case WindowCondition::kVisible: holds = visible; break;
      case WindowCondition::kHidden: holds = !visible; break;
    }
    if (!holds) Fail("window " + expect.window.name + " in another state", loaded ? (visible ? "visible" : "hidden") : "unloaded");
  }
  void Do(const ExpectClipboard& expect) {
    const bool has = world_.clipboard.GetPicture().has_value();
    if (has != (expect.content == ClipboardContent::kPicture))
      Fail(std::string("clipboard ") + (has ? "empty" : "with a picture"), has ? "a picture" : "empty");
  }
  void Do(const ExpectMovie& expect) {
    const auto info = world_.movies.ReadInfo(PathOf(expect.path));
    if (!info) Fail("a movie at " + expect.path, info.error().message);
    switch (expect.property) {
      case MovieProperty::kFrames:
        Expect(ui::Value{static_cast<double>(info->frame_count)}, expect.comparison, "movie frames");
        break;
      case MovieProperty::kRate:
        Expect(ui::Value{info->frames_per_second}, expect.comparison, "movie rate");
        break;
      case MovieProperty::kFourcc: Expect(ui::Value{info->fourcc}, expect.comparison, "movie fourcc"); break;
      case MovieProperty::kSize: {
        const auto* size = std::get_if<Size>(&expect.comparison.expected);
        const bool equal = size && size->width == info->width && size->height == info->height;
        if (equal == (expect.comparison.relation == Relation::kNotEqual))
          Fail("movie size " + ValueText(expect.comparison.expected),
               std::to_string(info->width) + "x" + std::to_string(info->height));
        break;
      }
    }
  }
  platform::Picture ReadImage(const std::string& path) {
    const auto picture = LoadPictureFile(PathOf(path));
    if (!picture) Fail("a BMP or JPEG picture at " + path, "none");
    return *picture;
  }
  void Do(const ExpectImageSize& expect) {
    const auto picture = ReadImage(expect.path);
    if (picture.width != expect.size.width || picture.height != expect.size.height)
      Fail("image size " + ValueText(expect.size),
           std::to_string(picture.width) + "x" + std::to_string(picture.height));
  }
  void Do(const ExpectImagePixel& expect) {
    const auto picture = ReadImage(expect.path);
    if (expect.x < 0 || expect.y < 0 || expect.x >= picture.width || expect.y >= picture.height)
      Fail("a pixel inside the picture", std::to_string(expect.x) + "," + std::to_string(expect.y));
    const std::uint8_t* pixel = picture.PixelFromTop(expect.x, expect.y);
    const int red = pixel[2];
    const int green = pixel[1];
    const int blue = pixel[0];
    const bool near = std::abs(red - expect.colour.red) <= expect.tolerance &&
                      std::abs(green - expect.colour.green) <= expect.tolerance &&
                      std::abs(blue - expect.colour.blue) <= expect.tolerance;
    if (!near)
      Fail("pixel " + ValueText(expect.colour),
           "rgb(" + std::to_string(red) + "," + std::to_string(green) + "," + std::to_string(blue) + ")");
  }
  bool LogLineStartsWith(const std::string& text, std::size_t from, std::size_t& at) const {
    const auto& log = world_.devices->log;
    for (at = from; at < log.size(); ++at)
      if (log[at].rfind(text, 0) == 0) return true;
    return false;
  }
  void Do(const ExpectDeviceLog& expect) {
    const std::string text = Expand(expect.text);
    std::size_t at = 0;
    const bool found = LogLineStartsWith(text, 0, at);
    if (expect.match == TextMatch::kLacks && found) Fail("no device log line " + Quoted(text), Quoted(world_.devices->log[at]));
    if (expect.match != TextMatch::kLacks && !found) Fail("a device log line " + Quoted(text), LogSummary());
  }
  void Do(const ExpectDeviceLogSequence& expect) {
    std::size_t from = 0;
    for (const auto& raw : expect.texts) {
      const std::string text = Expand(raw);
      std::size_t at = 0;
      if (!LogLineStartsWith(text, from, at)) Fail("a device log line " + Quoted(text) + " in sequence", LogSummary());
      from = at + 1;
    }
  }
  std::string LogSummary() const {
    std::string summary;
    for (const auto& line : world_.devices->log) summary += (summary.empty() ? "" : " | ") + line;
    return summary.empty() ? "an empty device log" : Quoted(summary);
  }
  void Do(const ExpectFtpReceived&) { NotYetSupported("expect ftp"); }
  void Do(const ExpectFtpLog&) { NotYetSupported("expect ftp"); }
  void Do(const ExpectHttpText&) { NotYetSupported("expect http"); }
  void Do(const ExpectHttpStatus&) { NotYetSupported("expect http"); }
  void Do(const ExpectHttpHeader&) { NotYetSupported("expect http"); }
  void Do(const ExpectHttpBodyImage&) { NotYetSupported("expect http"); }

  std::vector<Command> commands_;
  std::size_t next_ = 0;
  std::filesystem::path scenario_folder_;
  RunOptions options_;
  World world_;
  bool windows_after_2000_ = true;
  std::string command_line_;
};

}  // namespace

Outcome RunScenarioText(const std::string& text, const std::string& path, const RunOptions& options) {
  std::vector<Command> commands;
  try {
    commands = ParseScript(text);
  } catch (const ParseError& error) {
    return Outcome{false, error.line(), error.what()};
  }
  try {
    Runner runner(std::move(commands), path, options);
    return runner.Run();
  } catch (const std::exception& error) {
    return Outcome{false, 0, error.what()};
  }
}

Outcome RunScenarioFile(const std::string& path, const RunOptions& options) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return Outcome{false, 0, "expected a scenario file, found no file at " + path};
  std::stringstream text;
  text << file.rdbuf();
  return RunScenarioText(text.str(), path, options);
}

}  // namespace zr::scenario
