// The grammar of scenario files: typed commands built from the tokens of the lexer. Every
// command word has a reader that takes its arguments and leaves the cursor at the end of the
// line. A text block (<<WORD) takes the lines after its command from the same line source, so
// the main loop continues after the block.

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "apps/scenario/script.h"
#include "apps/scenario/script_lexer.h"
#include "base/formatting.h"

namespace zr::scenario {

namespace {

using namespace lexer;

constexpr int kMaxInstance = 1000000;
constexpr int kMaxIndex = 1000000000;
constexpr int kMaxWhole = std::numeric_limits<int>::max();
constexpr std::int64_t kMaxOffset = std::int64_t{1} << 52;

constexpr std::string_view kFormatExpected = "a format WxHxBITS (as 640x480x24)";
constexpr std::string_view kValueExpected = "a value (a string, a number, true, false, rgb(R,G,B) or WxH)";
constexpr std::string_view kArgumentExpected = "an argument (a string, a number, true or false)";
constexpr std::string_view kComparisonExpected = "a comparison (==, !=, <, <=, >, >=, contains)";
constexpr std::string_view kNumberComparisonExpected = "a comparison (==, !=, <, <=, >, >=)";
constexpr std::string_view kClockExpected = "a date and time (YYYY-MM-DD HH:MM:SS)";

constexpr auto kYesNo = std::to_array<Choice<bool>>({{"yes", true}, {"no", false}});
constexpr auto kOnOff = std::to_array<Choice<bool>>({{"on", true}, {"off", false}});

// ---------------------------------------------------------------------------------------------
// Values

// "R,G,B" (the inside of rgb(...) and solid(...))
Colour TakeColourComponents(Cursor& c) {
  constexpr std::string_view kComponent = "a colour component from 0 to 255";
  Colour colour{.red = TakeInt(c, 0, 255, kComponent)};
  RequireSymbol(c, ",");
  colour.green = TakeInt(c, 0, 255, kComponent);
  RequireSymbol(c, ",");
  colour.blue = TakeInt(c, 0, 255, kComponent);
  return colour;
}

Colour TakeColour(Cursor& c) {
  RequireKeyword(c, "rgb");
  return TakeParenthesised(c, TakeColourComponents);
}

Value TakeValue(Cursor& c) {
  c.SkipBlanks();
  if (c.Peek() == '"') return LexString(c);
  const std::string_view token = PeekToken(c);
  if (IsSizeText(token)) return LexSize(c, kSizeExpected);
  if (IsDigit(c.Peek()) || c.Peek() == '-') return LexNumber(c, kValueExpected).value;
  if (token == "true" || token == "false") {
    c.Advance(token.size());
    return token == "true";
  }
  if (token == "rgb") return TakeColour(c);
  c.Fail(kValueExpected);
}

// ---------------------------------------------------------------------------------------------
// Addresses

WindowRef LexWindow(Cursor& c, std::string_view expected) {
  WindowRef window{.name = LexName(c, expected)};
  if (c.Consume('#')) {
    window.instance = LexInt(c, 1, kMaxInstance, "an instance number from 1 after #");
  }
  return window;
}

WindowRef TakeWindow(Cursor& c) {
  c.SkipBlanks();
  return LexWindow(c, "a window name");
}

std::string LexKey(Cursor& c) {
  if (c.Peek() == '"') return LexString(c);
  const std::string_view key = c.LexWhile(IsBareKeyChar);
  if (key.empty()) c.FailAt(c.position(), "a key");
  return std::string(key);
}

// name, then optionally (i), then up to two [key]s.
Segment LexSegment(Cursor& c, std::string_view expected) {
  constexpr std::size_t kMaxKeys = 2;
  Segment segment;
  segment.name = LexName(c, expected);
  if (c.Consume('(')) {
    segment.index = TakeInt(c, -kMaxIndex, kMaxIndex, "an index (a whole number)");
    RequireSymbol(c, ")");
  }
  while (c.Peek() == '[') {
    if (segment.keys.size() == kMaxKeys) c.FailAt(c.position(), "at most two [keys]");
    c.Advance(1);
    segment.keys.push_back(LexKey(c));
    if (!c.Consume(']')) c.FailAt(c.position(), "\"]\"");
  }
  return segment;
}

std::vector<Segment> LexPathAfterDots(Cursor& c) {
  std::vector<Segment> path;
  while (c.Consume('.')) path.push_back(LexSegment(c, "a control or property name"));
  return path;
}

Address TakeAddress(Cursor& c, std::string_view expected = "a window name") {
  c.SkipBlanks();
  Address address;
  address.window = LexWindow(c, expected);
  address.path = LexPathAfterDots(c);
  return address;
}

// An address that names a property: its path is not empty.
Address TakePropertyAddress(Cursor& c, std::string_view expected) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  Address address = TakeAddress(c, expected);
  if (address.path.empty()) c.FailAt(start, expected);
  return address;
}

// A member of the state record: `CaptureType`, `AviInfoText(0)`, `CapStatus.fCapturingNow`.
std::vector<Segment> TakeStateMember(Cursor& c) {
  c.SkipBlanks();
  std::vector<Segment> member{LexSegment(c, "a member of the state record")};
  for (Segment& segment : LexPathAfterDots(c)) member.push_back(std::move(segment));
  return member;
}

// ---------------------------------------------------------------------------------------------
// Comparisons

constexpr auto kRelations = std::to_array<Choice<Relation>>({
    {"==", Relation::kEqual},
    {"!=", Relation::kNotEqual},
    {"<", Relation::kLess},
    {"<=", Relation::kLessOrEqual},
    {">", Relation::kGreater},
    {">=", Relation::kGreaterOrEqual},
    {"contains", Relation::kContains},
});

bool IsOrdering(Relation relation) {
  return relation != Relation::kEqual && relation != Relation::kNotEqual && relation != Relation::kContains;
}

// OP VALUE, where contains takes a string and an ordering a number.
Comparison TakeComparison(Cursor& c, std::string_view expected = kComparisonExpected) {
  Comparison comparison;
  comparison.relation = TakeChoice(c, kRelations, expected);
  c.SkipBlanks();
  const std::size_t start = c.position();
  comparison.expected = TakeValue(c);
  if (comparison.relation == Relation::kContains && !std::holds_alternative<std::string>(comparison.expected)) {
    c.FailAt(start, "a string after contains");
  }
  if (IsOrdering(comparison.relation) && !std::holds_alternative<double>(comparison.expected)) {
    c.FailAt(start, "a number (<, <=, > and >= compare numbers)");
  }
  return comparison;
}

NumberComparison TakeNumberComparison(Cursor& c) {
  const std::string_view token = PeekToken(c);
  const Relation relation = TakeChoice(c, kRelations, kNumberComparisonExpected);
  if (relation == Relation::kContains) c.FailFound(kNumberComparisonExpected, token);
  return {relation, TakeNumber(c, "a number")};
}

Comparison TakeNumberAsComparison(Cursor& c) {
  const NumberComparison number = TakeNumberComparison(c);
  return {number.relation, number.expected};
}

constexpr auto kTextMatches = std::to_array<Choice<TextMatch>>(
    {{"==", TextMatch::kEquals}, {"contains", TextMatch::kContains}, {"lacks", TextMatch::kLacks}});
constexpr auto kLogMatches =
    std::to_array<Choice<TextMatch>>({{"contains", TextMatch::kContains}, {"lacks", TextMatch::kLacks}});

// ---------------------------------------------------------------------------------------------
// Options

template <typename Target>
using OptionReader = void (*)(Cursor&, Target&);

// Options up to the end of the line, in any order, each at most once: a word, the separator
// ("=" or nothing) and what the option's reader takes.
template <typename Target, std::size_t N>
void TakeOptions(Cursor& c, const std::array<Choice<OptionReader<Target>>, N>& options, std::string_view separator,
                 Target& target) {
  std::vector<std::string_view> seen;
  while (!AtLineEnd(c)) {
    const std::string_view word = PeekToken(c);
    const std::optional<OptionReader<Target>> reader = FindChoice(options, word);
    if (!reader) FailToken(c, "an option (" + Alternatives(options) + ") or end of line");
    if (std::find(seen.begin(), seen.end(), word) != seen.end()) {
      c.FailFound("each option at most once", word);
    }
    seen.push_back(word);
    c.Advance(word.size());
    if (!separator.empty()) RequireSymbol(c, separator);
    (*reader)(c, target);
  }
}

constexpr auto kPictureKinds = std::to_array<Choice<Picture (*)(Cursor&)>>({
    {"solid", [](Cursor& c) -> Picture { return SolidPicture{TakeParenthesised(c, TakeColourComponents)}; }},
    {"file",
     [](Cursor& c) -> Picture {
       return PictureFile{TakeParenthesised(c, [](Cursor& inner) { return TakeString(inner); })};
     }},
    {"pattern", [](Cursor& c) -> Picture { return PicturePattern{TakeParenthesised(c, TakeName)}; }},
});

Picture TakePicture(Cursor& c) { return TakeChoice(c, kPictureKinds)(c); }

// A quoted list of names: "Composite, S-Video" -> {"Composite", "S-Video"}; "" has none.
std::vector<std::string> TakeNameList(Cursor& c) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  const std::string list = LexString(c);
  std::vector<std::string> names;
  for (const std::string_view item : SplitAtCommas(list)) {
    if (TrimBlanks(item).empty()) c.FailAt(start, "names separated by commas");
    names.emplace_back(TrimBlanks(item));
  }
  return names;
}

VideoFormat ReadVideoFormat(Cursor item) {
  const Size size = LexSize(item, kFormatExpected);
  if (!item.Consume('x')) item.FailAt(0, kFormatExpected);
  const int bits = LexInt(item, 1, 64, kFormatExpected);
  if (!item.AtEnd()) item.FailAt(0, kFormatExpected);
  return {size.width, size.height, bits};
}

std::vector<VideoFormat> TakeFormatList(Cursor& c) {
  const std::string list = TakeString(c);
  std::vector<VideoFormat> formats;
  for (const std::string_view item : SplitAtCommas(list)) {
    formats.push_back(ReadVideoFormat(c.Within(TrimBlanks(item))));
  }
  return formats;
}

constexpr auto kDeviceDialogNames = std::to_array<Choice<bool DeviceDialogs::*>>({
    {"source", &DeviceDialogs::source},
    {"format", &DeviceDialogs::format},
    {"display", &DeviceDialogs::display},
});

DeviceDialogs TakeDeviceDialogs(Cursor& c) {
  DeviceDialogs dialogs;
  do {
    dialogs.*TakeChoice(c, kDeviceDialogNames) = true;
  } while (TakeSymbol(c, ","));
  return dialogs;
}

double TakeFrameRate(Cursor& c) {
  constexpr std::string_view kFpsExpected = "a frame rate above 0";
  c.SkipBlanks();
  const NumberToken fps = LexNumber(c, kFpsExpected);
  if (fps.value <= 0) c.FailFound(kFpsExpected, fps.text);
  return fps.value;
}

constexpr std::string_view kChannelExpected = "a channel from 0 to 32767";

int ReadChannel(Cursor& item) { return LexInt(item, 0, 32767, kChannelExpected); }

// "5, 12" -> {5, 12}
std::vector<int> TakeChannelList(Cursor& c) {
  const std::string list = TakeString(c);
  std::vector<int> channels;
  for (const std::string_view text : SplitAtCommas(list)) {
    Cursor item = c.Within(TrimBlanks(text));
    channels.push_back(ReadChannel(item));
    if (!item.AtEnd()) item.FailAt(0, kChannelExpected);
  }
  return channels;
}

// "2-69": the lowest channel, a dash, the highest.
ChannelRange TakeChannelRange(Cursor& c) {
  constexpr std::string_view kRangeExpected = "a band of channels, lowest-highest";
  const std::string text = TakeString(c);
  Cursor item = c.Within(TrimBlanks(text));
  ChannelRange range;
  range.lowest = ReadChannel(item);
  if (!item.Consume('-')) item.FailAt(0, kRangeExpected);
  range.highest = ReadChannel(item);
  if (!item.AtEnd() || range.highest < range.lowest) item.FailAt(0, kRangeExpected);
  return range;
}

constexpr auto kDeviceClasses = std::to_array<Choice<DeviceClass>>(
    {{"camera", DeviceClass::kCamera}, {"tuner", DeviceClass::kTuner}, {"dv", DeviceClass::kDv}});

constexpr auto kDeviceOptions = std::to_array<Choice<OptionReader<DeviceOptions>>>({
    {"size", [](Cursor& c, DeviceOptions& o) { o.size = TakeSize(c); }},
    {"fps", [](Cursor& c, DeviceOptions& o) { o.fps = TakeFrameRate(c); }},
    {"picture", [](Cursor& c, DeviceOptions& o) { o.picture = TakePicture(c); }},
    {"overlay", [](Cursor& c, DeviceOptions& o) { o.overlay = TakeChoice(c, kYesNo); }},
    {"dialogs", [](Cursor& c, DeviceOptions& o) { o.dialogs = TakeDeviceDialogs(c); }},
    {"connect",
     [](Cursor& c, DeviceOptions& o) {
       RequireKeyword(c, "fail");
       o.connect_fails = true;
     }},
    {"class", [](Cursor& c, DeviceOptions& o) { o.device_class = TakeChoice(c, kDeviceClasses); }},
    {"inputs", [](Cursor& c, DeviceOptions& o) { o.inputs = TakeNameList(c); }},
    {"formats", [](Cursor& c, DeviceOptions& o) { o.formats = TakeFormatList(c); }},
    {"audio", [](Cursor& c, DeviceOptions& o) { o.audio_inputs = TakeNameList(c); }},
    {"channels", [](Cursor& c, DeviceOptions& o) { o.channels = TakeChannelRange(c); }},
    {"signal", [](Cursor& c, DeviceOptions& o) { o.signal_channels = TakeChannelList(c); }},
    {"settle", [](Cursor& c, DeviceOptions& o) { o.tuner_settle = TakeDuration(c); }},
});

constexpr auto kFtpServerOptions = std::to_array<Choice<OptionReader<FtpServer>>>({
    {"refuse-connect", [](Cursor&, FtpServer& s) { s.refuse_connect = true; }},
    {"refuse-dir", [](Cursor& c, FtpServer& s) { s.refused_folder = TakeString(c); }},
    {"refuse-file", [](Cursor&, FtpServer& s) { s.refuse_file = true; }},
    {"delay",
     [](Cursor& c, FtpServer& s) {
       RequireSymbol(c, "=");
       s.delay = TakeDuration(c);
     }},
});

constexpr auto kScannerOptions = std::to_array<Choice<OptionReader<Scanners>>>({
    {"size", [](Cursor& c, Scanners& s) { s.size = TakeSize(c); }},
    {"band", [](Cursor& c, Scanners& s) { s.band = TakeDuration(c); }},
    {"fail", [](Cursor& c, Scanners& s) { s.failure = TakeString(c); }},
});

// ---------------------------------------------------------------------------------------------
// The world

using CommandParser = CommandBody (*)(Cursor&);

// "dddd-dd-dd": d stands for a digit, anything else for itself.
bool FitsPattern(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (pattern[i] == 'd' ? !IsDigit(text[i]) : text[i] != pattern[i]) return false;
  }
  return true;
}

int DigitsValue(std::string_view digits) {
  int value = 0;
  for (const char digit : digits) value = value * 10 + (digit - '0');
  return value;
}

int DaysInMonth(int year, int month) {
  constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

std::optional<Clock> ReadClock(std::string_view date, std::string_view time) {
  if (!FitsPattern(date, "dddd-dd-dd") || !FitsPattern(time, "dd:dd:dd")) return std::nullopt;
  const Clock clock{.year = DigitsValue(date.substr(0, 4)),
                    .month = DigitsValue(date.substr(5, 2)),
                    .day = DigitsValue(date.substr(8, 2)),
                    .hour = DigitsValue(time.substr(0, 2)),
                    .minute = DigitsValue(time.substr(3, 2)),
                    .second = DigitsValue(time.substr(6, 2))};
  const bool valid = clock.month >= 1 && clock.month <= 12 && clock.day >= 1 &&
                     clock.day <= DaysInMonth(clock.year, clock.month) && clock.hour <= 23 && clock.minute <= 59 &&
                     clock.second <= 59;
  return valid ? std::optional<Clock>(clock) : std::nullopt;
}

CommandBody ParseClock(Cursor& c) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  const std::string_view date = c.LexWhile(IsNotBlank);
  c.SkipBlanks();
  const std::string_view time = c.LexWhile(IsNotBlank);
  const std::optional<Clock> clock = ReadClock(date, time);
  if (!clock) c.FailFound(kClockExpected, c.From(start));
  return *clock;
}

CommandBody ParseSystemFlag(Cursor& c) {
  const std::string_view name = PeekToken(c);
  if (name.empty() || !IsLetter(name.front())) FailToken(c, "a flag name");
  c.Advance(name.size());
  return SystemFlag{.name = std::string(name), .on = TakeChoice(c, kYesNo)};
}

CommandBody ParseSetting(Cursor& c) {
  Setting setting;
  setting.app = TakeString(c);
  setting.section = TakeString(c);
  setting.key = TakeString(c);
  RequireOperator(c, "=");
  setting.value = TakeString(c);
  return setting;
}

CommandBody ParseWriteFile(Cursor& c) {
  WriteFile file;
  file.path = TakePath(c);
  if (PeekToken(c) == "=") {
    c.Advance(1);
    file.content = TakeString(c);
  } else if (AtHeredoc(c)) {
    file.content = TakeHeredoc(c);
  } else {
    FailToken(c, "= \"text\" or a text block (<<WORD or lf <<WORD)");
  }
  return file;
}

CommandBody ParseCopyFile(Cursor& c) {
  CopyFile copy;
  copy.fixture = TakePath(c);
  RequireKeyword(c, "to");
  copy.destination = TakePath(c);
  return copy;
}

constexpr auto kDeviceKinds =
    std::to_array<Choice<DeviceKind>>({{"vfw", DeviceKind::kDriver}, {"wdm", DeviceKind::kControlDevice}});

CommandBody ParseDevice(Cursor& c) {
  Device device;
  device.kind = TakeChoice(c, kDeviceKinds);
  device.name = TakeString(c);
  TakeOptions(c, kDeviceOptions, "=", device.options);
  return device;
}

CommandBody ParseUrl(Cursor& c) {
  UrlSource url;
  url.address = TakeString(c);
  TakeOptions(c, kDeviceOptions, "=", url.options);
  return url;
}

CommandBody ParseScanners(Cursor& c) {
  Scanners scanners;
  while (!AtLineEnd(c) && c.Peek() == '"') scanners.names.push_back(TakeString(c));
  TakeOptions(c, kScannerOptions, "=", scanners);
  return scanners;
}

CommandBody ParseFtpServer(Cursor& c) {
  FtpServer server;
  TakeOptions(c, kFtpServerOptions, "", server);
  return server;
}

// ---------------------------------------------------------------------------------------------
// Actions

Command ParseCommand(Cursor& c);

CommandBody ParseSet(Cursor& c) {
  SetProperty set;
  set.target = TakePropertyAddress(c, "an address with a property (Window.Control.Property)");
  RequireOperator(c, "=");
  set.value = TakeValue(c);
  return set;
}

bool IsKeyName(std::string_view name) {
  constexpr std::array<std::string_view, 14> kNamedKeys{"ctrl", "shift", "F1", "F2", "F3",  "F4",  "F5",
                                                        "F6",   "F7",    "F8", "F9", "F10", "F11", "F12"};
  const bool letter = name.size() == 1 && name.front() >= 'A' && name.front() <= 'Z';
  return letter || std::find(kNamedKeys.begin(), kNamedKeys.end(), name) != kNamedKeys.end();
}

constexpr auto kKeyDirections = std::to_array<Choice<bool>>({{"down", true}, {"up", false}});

CommandBody ParseKey(Cursor& c) {
  const bool down = TakeChoice(c, kKeyDirections);
  const std::string_view name = PeekToken(c);
  if (!IsKeyName(name)) FailToken(c, "a key (ctrl, shift, A to Z, F1 to F12)");
  c.Advance(name.size());
  return Key{.name = std::string(name), .down = down};
}

CommandBody ParseAfter(Cursor& c) {
  After after;
  after.delay = TakeDuration(c);
  c.EnterAfter();
  after.command = std::make_shared<const Command>(ParseCommand(c));
  return after;
}

Value TakeArgument(Cursor& c) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  Value argument = TakeValue(c);
  if (std::holds_alternative<Colour>(argument) || std::holds_alternative<Size>(argument)) {
    c.FailAt(start, kArgumentExpected);
  }
  return argument;
}

// The inside of (ARGS): nothing, or arguments separated by commas.
std::vector<Value> TakeArgumentList(Cursor& c) {
  std::vector<Value> arguments;
  c.SkipBlanks();
  if (c.Peek() == ')') return arguments;
  do {
    arguments.push_back(TakeArgument(c));
  } while (TakeSymbol(c, ","));
  return arguments;
}

CommandBody ParseCall(Cursor& c) {
  Call call;
  const WindowRef first = TakeWindow(c);
  if (c.Consume('.')) {
    call.window = first;
    call.procedure = LexName(c, "a procedure name");
  } else if (first.instance != 0) {
    c.FailAt(c.position(), "\".\" and a procedure name after the window");
  } else {
    call.procedure = first.name;
  }
  call.arguments = TakeParenthesised(c, TakeArgumentList);
  return call;
}

constexpr auto kMsgBoxAnswers = std::to_array<Choice<MsgBoxAnswer>>({
    {"Yes", MsgBoxAnswer::kYes},
    {"No", MsgBoxAnswer::kNo},
    {"OK", MsgBoxAnswer::kOk},
    {"Cancel", MsgBoxAnswer::kCancel},
    {"Abort", MsgBoxAnswer::kAbort},
    {"Retry", MsgBoxAnswer::kRetry},
    {"Ignore", MsgBoxAnswer::kIgnore},
});

CommandBody ParseAnswerInput(Cursor& c) {
  if (TakeKeyword(c, "cancel")) return AnswerInput{};
  return AnswerInput{TakeString(c, "a string in double quotes or cancel")};
}

// "path" (several for open) or cancel.
CommandBody TakeFileDialogAnswer(Cursor& c, FileDialogKind kind) {
  AnswerFileDialog answer;
  answer.kind = kind;
  if (TakeKeyword(c, "cancel")) return answer;
  answer.paths.push_back(TakeString(c, "a path in double quotes or cancel"));
  while (kind == FileDialogKind::kOpen && !AtLineEnd(c)) answer.paths.push_back(TakeString(c));
  return answer;
}

CommandBody ParseAnswerColour(Cursor& c) {
  if (TakeKeyword(c, "cancel")) return AnswerColour{};
  return AnswerColour{TakeColour(c)};
}

constexpr auto kOptionsAnswers = std::to_array<Choice<bool>>({{"OK", true}, {"Cancel", false}});

constexpr auto kAnswerKinds = std::to_array<Choice<CommandParser>>({
    {"msgbox", [](Cursor& c) -> CommandBody { return AnswerMsgBox{TakeChoice(c, kMsgBoxAnswers)}; }},
    {"options", [](Cursor& c) -> CommandBody { return AnswerOptions{TakeChoice(c, kOptionsAnswers)}; }},
    {"input", ParseAnswerInput},
    {"colour", ParseAnswerColour},
    {"open", [](Cursor& c) { return TakeFileDialogAnswer(c, FileDialogKind::kOpen); }},
    {"save", [](Cursor& c) { return TakeFileDialogAnswer(c, FileDialogKind::kSave); }},
    {"folder", [](Cursor& c) { return TakeFileDialogAnswer(c, FileDialogKind::kFolder); }},
});

constexpr auto kSerialSignals =
    std::to_array<Choice<SerialSignal>>({{"CTS", SerialSignal::kCts}, {"DSR", SerialSignal::kDsr}});

CommandBody ParseSerialLine(Cursor& c) {
  const SerialSignal signal = TakeChoice(c, kSerialSignals);
  return SerialLine{.signal = signal, .on = TakeChoice(c, kOnOff)};
}

// ---------------------------------------------------------------------------------------------
// Expectations

CommandBody ParseExpectState(Cursor& c) {
  ExpectState expect;
  expect.member = TakeStateMember(c);
  expect.comparison = TakeComparison(c);
  return expect;
}

CommandBody ParseExpectSetting(Cursor& c) {
  ExpectSetting expect;
  expect.app = TakeString(c);
  expect.section = TakeString(c);
  expect.key = TakeString(c);
  if (!TakeKeyword(c, "missing")) {
    expect.comparison = TakeComparison(c, "a comparison (==, !=, <, <=, >, >=, contains) or missing");
  }
  return expect;
}

std::string TakeHexBytes(Cursor& c) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  const std::string digits = LexString(c);
  if (digits.empty() || digits.size() % 2 != 0 || !std::all_of(digits.begin(), digits.end(), IsHexDigit)) {
    c.FailAt(start, "pairs of hex digits in double quotes");
  }
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) bytes += HexByte(digits[i], digits[i + 1]);
  return bytes;
}

CommandBody ParseFileBytes(Cursor& c, std::string path) {
  c.SkipBlanks();
  ExpectFileBytes expect;
  expect.path = std::move(path);
  expect.offset = LexInteger(c, 0, kMaxOffset, "a byte offset from 0");
  RequireOperator(c, "==");
  RequireKeyword(c, "hex");
  expect.bytes = TakeHexBytes(c);
  return expect;
}

using FileCheckParser = CommandBody (*)(Cursor&, std::string);

constexpr auto kFileChecks = std::to_array<Choice<FileCheckParser>>({
    {"exists",
     [](Cursor&, std::string path) -> CommandBody {
       return ExpectFileExists{.path = std::move(path), .exists = true};
     }},
    {"missing",
     [](Cursor&, std::string path) -> CommandBody {
       return ExpectFileExists{.path = std::move(path), .exists = false};
     }},
    {"size",
     [](Cursor& c, std::string path) -> CommandBody {
       return ExpectFileSize{.path = std::move(path), .size = TakeNumberComparison(c)};
     }},
    {"text",
     [](Cursor& c, std::string path) -> CommandBody {
       const TextMatch match = TakeChoice(c, kTextMatches);
       return ExpectFileText{.path = std::move(path), .match = match, .text = TakeString(c)};
     }},
    {"bytes", ParseFileBytes},
    {"contains",
     [](Cursor& c, std::string path) -> CommandBody {
       return ExpectFileText{.path = std::move(path), .match = TextMatch::kContains, .text = TakeString(c)};
     }},
    {"lacks",
     [](Cursor& c, std::string path) -> CommandBody {
       return ExpectFileText{.path = std::move(path), .match = TextMatch::kLacks, .text = TakeString(c)};
     }},
});

CommandBody ParseExpectFile(Cursor& c) {
  std::string path = TakePath(c);
  if (AtHeredoc(c)) {
    return ExpectFileText{.path = std::move(path), .match = TextMatch::kEquals, .text = TakeHeredoc(c)};
  }
  const FileCheckParser check =
      TakeChoice(c, kFileChecks, "exists, missing, size, text, bytes, contains, lacks or a text block (<<WORD)");
  return check(c, std::move(path));
}

constexpr auto kMsgBoxIcons = std::to_array<Choice<MsgBoxIcon>>({
    {"stop", MsgBoxIcon::kStop},
    {"exclamation", MsgBoxIcon::kExclamation},
    {"information", MsgBoxIcon::kInformation},
    {"question", MsgBoxIcon::kQuestion},
    {"none", MsgBoxIcon::kNone},
});

constexpr auto kMsgBoxButtons = std::to_array<Choice<MsgBoxButtons>>({
    {"ok", MsgBoxButtons::kOk},
    {"okcancel", MsgBoxButtons::kOkCancel},
    {"yesno", MsgBoxButtons::kYesNo},
    {"yesnocancel", MsgBoxButtons::kYesNoCancel},
});

constexpr auto kMsgBoxOptions = std::to_array<Choice<OptionReader<ExpectMsgBox>>>({
    {"title", [](Cursor& c, ExpectMsgBox& e) { e.title = TakeString(c); }},
    {"icon", [](Cursor& c, ExpectMsgBox& e) { e.icon = TakeChoice(c, kMsgBoxIcons); }},
    {"buttons", [](Cursor& c, ExpectMsgBox& e) { e.buttons = TakeChoice(c, kMsgBoxButtons); }},
});

constexpr auto kInputBoxOptions = std::to_array<Choice<OptionReader<ExpectInputBox>>>({
    {"title", [](Cursor& c, ExpectInputBox& e) { e.title = TakeString(c); }},
    {"default", [](Cursor& c, ExpectInputBox& e) { e.default_text = TakeString(c); }},
});

constexpr auto kFileDialogOptions = std::to_array<Choice<OptionReader<ExpectFileDialog>>>({
    {"title", [](Cursor& c, ExpectFileDialog& e) { e.title = TakeString(c); }},
    {"filter", [](Cursor& c, ExpectFileDialog& e) { e.filter = TakeString(c); }},
    {"name", [](Cursor& c, ExpectFileDialog& e) { e.name = TakeString(c); }},
});

CommandBody ParseExpectMsgBox(Cursor& c) {
  ExpectMsgBox expect;
  expect.partial = TakeKeyword(c, "contains");
  expect.text = TakeString(c);
  TakeOptions(c, kMsgBoxOptions, "", expect);
  return expect;
}

CommandBody ParseExpectInputBox(Cursor& c) {
  ExpectInputBox expect;
  expect.partial = TakeKeyword(c, "contains");
  expect.prompt = TakeString(c);
  TakeOptions(c, kInputBoxOptions, "", expect);
  return expect;
}

CommandBody TakeFileDialogExpectation(Cursor& c, FileDialogKind kind) {
  ExpectFileDialog expect;
  expect.kind = kind;
  TakeOptions(c, kFileDialogOptions, "", expect);
  return expect;
}

constexpr auto kDialogKinds = std::to_array<Choice<CommandParser>>({
    {"msgbox", ParseExpectMsgBox},
    {"input", ParseExpectInputBox},
    {"open", [](Cursor& c) { return TakeFileDialogExpectation(c, FileDialogKind::kOpen); }},
    {"save", [](Cursor& c) { return TakeFileDialogExpectation(c, FileDialogKind::kSave); }},
    {"folder", [](Cursor& c) { return TakeFileDialogExpectation(c, FileDialogKind::kFolder); }},
});

constexpr auto kWindowConditions = std::to_array<Choice<WindowCondition>>({
    {"loaded", WindowCondition::kLoaded},
    {"unloaded", WindowCondition::kUnloaded},
    {"visible", WindowCondition::kVisible},
    {"hidden", WindowCondition::kHidden},
});

CommandBody ParseExpectWindow(Cursor& c) {
  const WindowRef window = TakeWindow(c);
  return ExpectWindow{.window = window, .condition = TakeChoice(c, kWindowConditions)};
}

constexpr auto kClipboardContents = std::to_array<Choice<ClipboardContent>>(
    {{"picture", ClipboardContent::kPicture}, {"empty", ClipboardContent::kEmpty}});

std::string TakeFourcc(Cursor& c) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  std::string code = LexString(c);
  if (code.size() != 4) c.FailAt(start, "four characters in double quotes");
  return code;
}

struct MovieCheck {
  MovieProperty property;
  Comparison (*take)(Cursor&);
};

constexpr auto kMovieChecks = std::to_array<Choice<MovieCheck>>({
    {"frames", {MovieProperty::kFrames, TakeNumberAsComparison}},
    {"rate", {MovieProperty::kRate, TakeNumberAsComparison}},
    {"size",
     {MovieProperty::kSize,
      [](Cursor& c) {
        RequireOperator(c, "==");
        return Comparison{.expected = TakeSize(c)};
      }}},
    {"fourcc",
     {MovieProperty::kFourcc,
      [](Cursor& c) {
        RequireOperator(c, "==");
        return Comparison{.expected = TakeFourcc(c)};
      }}},
});

CommandBody ParseExpectMovie(Cursor& c) {
  ExpectMovie expect;
  expect.path = TakePath(c);
  const MovieCheck check = TakeChoice(c, kMovieChecks);
  expect.property = check.property;
  expect.comparison = check.take(c);
  return expect;
}

struct Point {
  int x = 0;
  int y = 0;
};

// "X,Y"
Point TakePoint(Cursor& c) {
  // A point outside the picture is read here and found outside when the picture is.
  constexpr std::string_view kCoordinate = "a pixel coordinate (a whole number)";
  Point point{.x = TakeInt(c, -kMaxDimension, kMaxDimension, kCoordinate)};
  RequireSymbol(c, ",");
  point.y = TakeInt(c, -kMaxDimension, kMaxDimension, kCoordinate);
  return point;
}

constexpr auto kPixelRelations = std::to_array<Choice<bool>>({{"==", false}, {"~", true}});  // true: within a tolerance

CommandBody ParseImagePixel(Cursor& c, std::string path) {
  const Point point = TakeParenthesised(c, TakePoint);
  ExpectImagePixel expect;
  expect.path = std::move(path);
  expect.x = point.x;
  expect.y = point.y;
  const bool within_tolerance = TakeChoice(c, kPixelRelations);
  expect.colour = TakeColour(c);
  if (within_tolerance) {
    RequireSymbol(c, "+-");
    expect.tolerance = TakeInt(c, 0, 255, "a tolerance from 0 to 255");
  }
  return expect;
}

CommandBody ParseExpectImage(Cursor& c) {
  std::string path = TakePath(c);
  if (TakeKeyword(c, "pixel")) return ParseImagePixel(c, std::move(path));
  if (!TakeKeyword(c, "size")) FailToken(c, "size or pixel(X,Y)");
  RequireOperator(c, "==");
  return ExpectImageSize{.path = std::move(path), .size = TakeSize(c)};
}

CommandBody ParseExpectLog(Cursor& c, LogKind log) {
  RequireKeyword(c, "log");
  if (TakeKeyword(c, "sequence")) {
    ExpectDeviceLogSequence expect{log, TakeStrings(c)};
    if (expect.texts.empty()) c.Fail(kStringExpected);
    return expect;
  }
  const TextMatch match = TakeChoice(c, kLogMatches, "contains, lacks or sequence");
  return ExpectDeviceLog{.log = log, .match = match, .text = TakeString(c)};
}

CommandBody ParseExpectFtp(Cursor& c) {
  if (TakeKeyword(c, "log")) {
    RequireKeyword(c, "contains");
    return ExpectFtpLog{TakeString(c)};
  }
  if (!TakeKeyword(c, "received")) FailToken(c, "received or log");
  ExpectFtpReceived expect;
  expect.name = TakeString(c);
  RequireKeyword(c, "size");
  expect.size = TakeNumberComparison(c);
  return expect;
}

CommandBody ParseHttpHeader(Cursor& c) {
  ExpectHttpHeader expect;
  expect.name = TakeString(c);
  RequireOperator(c, "==");
  expect.value = TakeString(c);
  return expect;
}

constexpr auto kHttpChecks = std::to_array<Choice<CommandParser>>({
    {"text",
     [](Cursor& c) -> CommandBody {
       const TextMatch match = TakeChoice(c, kTextMatches);
       return ExpectHttpText{.match = match, .text = TakeString(c)};
     }},
    {"contains",
     [](Cursor& c) -> CommandBody { return ExpectHttpText{.match = TextMatch::kContains, .text = TakeString(c)}; }},
    {"status", [](Cursor& c) -> CommandBody { return ExpectHttpStatus{TakeNumberComparison(c)}; }},
    {"header", ParseHttpHeader},
    {"body",
     [](Cursor& c) -> CommandBody {
       RequireKeyword(c, "image");
       return ExpectHttpBodyImage{};
     }},
});

constexpr auto kExpectations = std::to_array<Choice<CommandParser>>({
    {"state", ParseExpectState},
    {"setting", ParseExpectSetting},
    {"file", ParseExpectFile},
    {"dialog", [](Cursor& c) { return TakeChoice(c, kDialogKinds)(c); }},
    {"no",
     [](Cursor& c) -> CommandBody {
       RequireKeyword(c, "dialog");
       return ExpectNoDialog{};
     }},
    {"window", ParseExpectWindow},
    {"clipboard", [](Cursor& c) -> CommandBody { return ExpectClipboard{TakeChoice(c, kClipboardContents)}; }},
    {"movie", ParseExpectMovie},
    {"image", ParseExpectImage},
    {"device", [](Cursor& c) { return ParseExpectLog(c, LogKind::kDevice); }},
    {"desktop", [](Cursor& c) { return ParseExpectLog(c, LogKind::kDesktop); }},
    {"ftp", ParseExpectFtp},
    {"http", [](Cursor& c) { return TakeChoice(c, kHttpChecks)(c); }},
});

CommandBody ParseExpectProperty(Cursor& c) {
  const std::string expected = "an address with a property (Window.Control.Property) or " + Alternatives(kExpectations);
  ExpectProperty expect;
  expect.target = TakePropertyAddress(c, expected);
  expect.comparison = TakeComparison(c);
  return expect;
}

// A word of kExpectations followed by a blank is that expectation; anything else an address.
CommandBody ParseExpect(Cursor& c) {
  const std::string_view word = PeekToken(c);
  const std::optional<CommandParser> parser = FindChoice(kExpectations, word);
  const char after_word = c.Peek(word.size());
  if (!parser || !(IsBlank(after_word) || after_word == '\0')) return ParseExpectProperty(c);
  c.Advance(word.size());
  return (*parser)(c);
}

// ---------------------------------------------------------------------------------------------
// Commands

constexpr auto kCommands = std::to_array<Choice<CommandParser>>({
    // the world
    {"clock", ParseClock},
    {"os", ParseSystemFlag},
    {"setting", ParseSetting},
    {"file", ParseWriteFile},
    {"copy", ParseCopyFile},
    {"args", [](Cursor& c) -> CommandBody { return CommandLine{TakeString(c)}; }},
    {"device", ParseDevice},
    {"url", ParseUrl},
    {"sound-inputs", [](Cursor& c) -> CommandBody { return SoundInputs{TakeStrings(c)}; }},
    {"serial-ports", [](Cursor& c) -> CommandBody { return SerialPorts{TakeStrings(c)}; }},
    {"desktop-tools", [](Cursor& c) -> CommandBody { return DesktopTools{TakeStrings(c)}; }},
    {"ftp-server", ParseFtpServer},
    {"scanners", ParseScanners},
    {"start", [](Cursor&) -> CommandBody { return Start{}; }},
    // actions
    {"click", [](Cursor& c) -> CommandBody { return Click{TakeAddress(c)}; }},
    {"dblclick", [](Cursor& c) -> CommandBody { return DoubleClick{TakeAddress(c)}; }},
    {"set", ParseSet},
    {"key", ParseKey},
    {"foreground", [](Cursor& c) -> CommandBody { return Foreground{TakeWindow(c)}; }},
    {"close", [](Cursor& c) -> CommandBody { return CloseWindow{TakeWindow(c)}; }},
    {"minimize", [](Cursor& c) -> CommandBody { return MinimizeWindow{TakeWindow(c)}; }},
    {"restore", [](Cursor& c) -> CommandBody { return RestoreWindow{TakeWindow(c)}; }},
    {"wait", [](Cursor& c) -> CommandBody { return Wait{TakeDuration(c)}; }},
    {"yield", [](Cursor&) -> CommandBody { return Yield{}; }},
    {"after", ParseAfter},
    {"call", ParseCall},
    {"load", [](Cursor& c) -> CommandBody { return LoadWindow{TakeWindow(c)}; }},
    {"unload", [](Cursor& c) -> CommandBody { return UnloadWindow{TakeWindow(c)}; }},
    {"answer", [](Cursor& c) { return TakeChoice(c, kAnswerKinds)(c); }},
    {"picture", [](Cursor& c) -> CommandBody { return ChangePicture{TakePicture(c)}; }},
    {"drop",
     [](Cursor& c) -> CommandBody {
       return DropFrames{TakeInt(c, -kMaxWhole, kMaxWhole, "a number of frames (a whole number)")};
     }},
    {"unplug", [](Cursor&) -> CommandBody { return Unplug{}; }},
    {"sound",
     [](Cursor& c) -> CommandBody {
       RequireKeyword(c, "level");
       return SoundLevel{TakeNumber(c, "a sound level (a number)")};
     }},
    {"serial", ParseSerialLine},
    {"joystick",
     [](Cursor& c) -> CommandBody {
       // The state is the joystick's bit mask as a signed word: -1 is every button down.
       return Joystick{TakeInt(c, -kMaxWhole, kMaxWhole, "a button state (a whole number)")};
     }},
    {"http", [](Cursor& c) -> CommandBody { return HttpRequest{TakeString(c)}; }},
    // expectations
    {"expect", ParseExpect},
});

Command ParseCommand(Cursor& c) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  const std::string_view word = PeekToken(c);
  const std::optional<CommandParser> parser = FindChoice(kCommands, word);
  if (!parser) FailToken(c, "a command");
  c.Advance(word.size());
  Command command;
  command.line = c.line_number();
  command.body = (*parser)(c);
  RequireEnd(c);
  command.text = TrimBlanks(c.From(start));
  return command;
}

bool IsIgnored(std::string_view line) {
  const std::string_view trimmed = TrimBlanks(line);
  return trimmed.empty() || trimmed.front() == '#';
}

}  // namespace

std::vector<Command> ParseScript(std::string_view source) {
  LineSource lines(source);
  std::vector<Command> commands;
  while (lines.HasMore()) {
    const std::string_view line = lines.Next();
    if (IsIgnored(line)) continue;
    Cursor cursor(line, lines.line_number(), lines);
    commands.push_back(ParseCommand(cursor));
  }
  return commands;
}

}  // namespace zr::scenario
