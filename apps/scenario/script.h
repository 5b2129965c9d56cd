#pragma once
// A scenario file read into typed commands: the front half of the scenario runner. This header
// says what each line of a scenario file means; the runner carries the commands out.
//
// Strings and paths are kept as written with their escapes decoded; "$APP" and "$TEMP" stay in
// them unexpanded, because only the runner knows the world's folders. The runner passes every
// string and path through ExpandPlaceholders before using it.
//
// Addresses are kept as names: the reader does not know the program's windows and controls,
// so which segment of an address is a control and which is a property is for the runner to
// decide against the live control model.

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zr::scenario {

// ---------------------------------------------------------------------------------------------
// Literals

// rgb(R,G,B), each component 0..255.
struct Colour {
  int red = 0;
  int green = 0;
  int blue = 0;

  bool operator==(const Colour&) const = default;
};

// WxH in pixels: "320x240".
struct Size {
  int width = 0;
  int height = 0;

  bool operator==(const Size&) const = default;
};

// A typed literal: "text" (escapes decoded), a number (-2, 1.5), true/false, rgb(R,G,B), WxH.
// Two values are equal when they hold the same kind and the same content.
using Value = std::variant<std::string, double, bool, Colour, Size>;

// "600ms" -> 600, "20s" -> 20000, "1.5s" -> 1500. Never negative.
using Duration = std::chrono::milliseconds;

// The comparison of an expectation: == != < <= > >= and the word `contains`.
// The reader guarantees: kContains always comes with a string; kLess, kLessOrEqual, kGreater and
// kGreaterOrEqual always with a number.
enum class Relation { kEqual, kNotEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual, kContains };

// "== VALUE", "contains "text"", ">= 29".
struct Comparison {
  Relation relation = Relation::kEqual;
  Value expected;
};

// A comparison whose right side is always a number; the relation is never kContains.
struct NumberComparison {
  Relation relation = Relation::kEqual;
  double expected = 0;
};

// `== "..."` (whole text), `contains "..."` (a substring), `lacks "..."` (no such substring).
// For the device log, kContains/kLacks mean "some line begins with" / "no line begins with".
enum class TextMatch { kEquals, kContains, kLacks };

// ---------------------------------------------------------------------------------------------
// Addresses

// A window: `Master`, or `Image#2` for the second extra instance of a window that can have
// several. instance 0 is the plain name, the one global instance; extra ones count from 1.
struct WindowRef {
  std::string name;
  int instance = 0;
};

// One dot-separated step after the window: a name, an optional index `(i)`, and up to two
// bracketed keys `[key]` / `["key with blanks"]` (quotes removed, escapes decoded).
// `OperationBar[record]` -> {"OperationBar", none, {"record"}}; `List(3)` -> {"List", 3, {}};
// `imagesettings(1)[filenames]` -> {"imagesettings", 1, {"filenames"}}.
struct Segment {
  std::string name;
  std::optional<int> index;
  std::vector<std::string> keys;
};

// `Window[#n]{.Segment}`. `Master.OperationBar[record].Image` is window Master and the path
// OperationBar[record], Image. Where a command names a property (set, expect) the path is never
// empty and its last segment is the property; `Image#2.Caption` may be the window's property or
// a control, which the runner resolves.
struct Address {
  WindowRef window;
  std::vector<Segment> path;
};

// ---------------------------------------------------------------------------------------------
// Pictures and devices

// solid(R,G,B)
struct SolidPicture {
  Colour colour;
};
// file("x.bmp"): a picture file beside the scenario file.
struct PictureFile {
  std::string path;
};
// pattern(NAME): a named test picture such as `bars`.
struct PicturePattern {
  std::string name;
};
// What a simulated source shows: `picture=...` of a device, or the `picture` action.
using Picture = std::variant<SolidPicture, PictureFile, PicturePattern>;

// `device vfw`: a simulated capture driver; `device wdm`: a simulated capture device of the
// control kind. Each kind is listed in the order of its `device` lines.
enum class DeviceKind { kDriver, kControlDevice };

// class=camera|tuner|dv
enum class DeviceClass { kCamera, kTuner, kDv };

// dialogs=source,format,display: the driver dialogs the device offers.
struct DeviceDialogs {
  bool source = false;
  bool format = false;
  bool display = false;
};

// One entry of formats="640x480x24,320x240x16".
struct VideoFormat {
  int width = 0;
  int height = 0;
  int bits_per_pixel = 0;

  bool operator==(const VideoFormat&) const = default;
};

// A tuner's band: its lowest and highest channel.
struct ChannelRange {
  int lowest = 0;
  int highest = 0;
};

// The options of a `device` line, in any order, each at most once. Absent options keep these
// defaults.
struct DeviceOptions {
  Size size{320, 240};                      // size=WxH
  std::optional<double> fps;                // fps=N, above 0
  std::optional<Picture> picture;           // picture=solid(..)|file("..")|pattern(..)
  bool overlay = false;                     // overlay=yes|no
  DeviceDialogs dialogs;                    // dialogs=source,format,display
  bool connect_fails = false;               // connect=fail
  std::optional<DeviceClass> device_class;  // class=camera|tuner|dv
  std::vector<std::string> inputs;          // inputs="Composite,S-Video"
  std::vector<VideoFormat> formats;         // formats="640x480x24,320x240x16"
  std::vector<std::string> audio_inputs;    // audio="Microphone,Line In"
  std::optional<ChannelRange> channels;     // channels="2-69": a tuner's band
  std::vector<int> signal_channels;         // signal="5,12": the channels a tuner locks a signal at
  Duration tuner_settle{0};                 // settle=200ms: how long a tuned channel settles
};

// ---------------------------------------------------------------------------------------------
// Dialog words

enum class MsgBoxAnswer { kYes, kNo, kOk, kCancel, kAbort, kRetry, kIgnore };
enum class MsgBoxIcon { kNone, kStop, kExclamation, kInformation, kQuestion };
enum class MsgBoxButtons { kOk, kOkCancel, kYesNo, kYesNoCancel };
enum class FileDialogKind { kOpen, kSave, kFolder };

// ---------------------------------------------------------------------------------------------
// The world before start (those the scenario file allows later are the same commands)

// clock 2026-11-21 14:30:00 (a valid date and time).
struct Clock {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// os FLAG yes|no. The flag's name is kept as written; the runner knows which flags exist.
struct SystemFlag {
  std::string name;
  bool on = false;
};

// setting "APP" "SECTION" "KEY" = "value"
struct Setting {
  std::string app;
  std::string section;
  std::string key;
  std::string value;
};

// file PATH = "text" | file PATH <<END ... END | file PATH lf <<END ... END.
// content is the bytes to write: the decoded string, or the text block with each line ended by
// CR LF (LF with `lf`).
struct WriteFile {
  std::string path;
  std::string content;
};

// copy FIXTURE to PATH (FIXTURE stands beside the scenario file).
struct CopyFile {
  std::string fixture;
  std::string destination;
};

// args "text"
struct CommandLine {
  std::string text;
};

// device vfw|wdm "Name" [options]
struct Device {
  DeviceKind kind = DeviceKind::kDriver;
  std::string name;
  DeviceOptions options;
};

// url "ADDRESS" [options]: what a camera or stream at the address delivers, with the options
// of a `device` line (size, fps, picture, connect=fail, ...).
struct UrlSource {
  std::string address;
  DeviceOptions options;
};

// sound-inputs "A" "B" ... (possibly none)
struct SoundInputs {
  std::vector<std::string> names;
};

// desktop-tools "volume-control" "system-information" ...: the desktop's own programs the
// simulated desktop has (possibly none); both before this command
struct DesktopTools {
  std::vector<std::string> names;
};

// serial-ports "/dev/ttyS0" ... (possibly none)
struct SerialPorts {
  std::vector<std::string> names;
};

// scanners "A" "B" ... [size=WxH] [band=DURATION] [fail="words"]: the simulated scanners
// (possibly none), each with that page, that time for each quarter of a scan, and that failure
struct Scanners {
  std::vector<std::string> names;
  std::optional<Size> size;
  Duration band{0};
  std::string failure;
};

// ftp-server [refuse-connect] [refuse-dir "D"] [refuse-file] [delay=DURATION]
struct FtpServer {
  bool refuse_connect = false;
  std::optional<std::string> refused_folder;
  bool refuse_file = false;
  Duration delay{0};  // how long each answer and each block take
};

// start
struct Start {};

// ---------------------------------------------------------------------------------------------
// Actions

struct Command;

// click ADDR
struct Click {
  Address target;
};

// dblclick ADDR
struct DoubleClick {
  Address target;
};

// set ADDR.Prop = VALUE
struct SetProperty {
  Address target;
  Value value;
};

// key down|up NAME; name is `ctrl`, `shift`, a letter `A`..`Z` or `F1`..`F12`.
struct Key {
  std::string name;
  bool down = false;
};

// foreground W
struct Foreground {
  WindowRef window;
};

// close W
struct CloseWindow {
  WindowRef window;
};

// minimize W
struct MinimizeWindow {
  WindowRef window;
};

// restore W
struct RestoreWindow {
  WindowRef window;
};

// wait DURATION
struct Wait {
  Duration delay{};
};

// yield
struct Yield {};

// after DURATION COMMAND: command is any other command, never null, with the same line number
// and its own text.
struct After {
  Duration delay{};
  std::shared_ptr<const Command> command;
};

// call W.Name(ARGS) | call Name(ARGS). window is empty for the bare form. Arguments are
// strings, numbers and booleans only.
struct Call {
  std::optional<WindowRef> window;
  std::string procedure;
  std::vector<Value> arguments;
};

// load W
struct LoadWindow {
  WindowRef window;
};

// unload W
struct UnloadWindow {
  WindowRef window;
};

// answer msgbox Yes|No|OK|Cancel|Abort|Retry|Ignore
struct AnswerMsgBox {
  MsgBoxAnswer answer = MsgBoxAnswer::kOk;
};

// answer options OK|Cancel: the next compression options dialog is accepted or cancelled.
struct AnswerOptions {
  bool accept = true;
};

// answer colour rgb(R,G,B) | answer colour cancel (no colour): the next colour dialog.
struct AnswerColour {
  std::optional<Colour> colour;
};

// answer input "text" | answer input cancel (text empty).
struct AnswerInput {
  std::optional<std::string> text;
};

// answer open "path" ["path"...] | answer save "path" | answer folder "path" |
// answer open|save|folder cancel (paths empty). Only open takes several paths.
struct AnswerFileDialog {
  FileDialogKind kind = FileDialogKind::kOpen;
  std::vector<std::string> paths;
};

// picture solid(R,G,B) | picture file("x.bmp") | picture pattern(NAME)
struct ChangePicture {
  Picture picture;
};

// drop N (a negative N takes reported drops back)
struct DropFrames {
  int count = 0;
};

// unplug
struct Unplug {};

// sound level N
struct SoundLevel {
  double level = 0;
};

// serial CTS|DSR on|off
enum class SerialSignal { kCts, kDsr };
struct SerialLine {
  SerialSignal signal = SerialSignal::kCts;
  bool on = false;
};

// joystick BUTTONS (the button state: a bit mask of the pressed buttons, or a negative number)
struct Joystick {
  int buttons = 0;
};

// http "RAW REQUEST"
struct HttpRequest {
  std::string request;
};

// ---------------------------------------------------------------------------------------------
// Expectations

// expect ADDR.Prop OP VALUE
struct ExpectProperty {
  Address target;
  Comparison comparison;
};

// expect state NAME OP VALUE; NAME is `CaptureType`, `AviInfoText(0)`,
// `CaptureParms.dwIndexSize`: the same segments as an address, without a window.
struct ExpectState {
  std::vector<Segment> member;
  Comparison comparison;
};

// expect setting "APP" "SECTION" "KEY" OP VALUE | ... missing (comparison empty).
struct ExpectSetting {
  std::string app;
  std::string section;
  std::string key;
  std::optional<Comparison> comparison;
};

// expect file PATH exists | missing
struct ExpectFileExists {
  std::string path;
  bool exists = true;
};

// expect file PATH size OP N
struct ExpectFileSize {
  std::string path;
  NumberComparison size;
};

// expect file PATH text ==|contains|lacks "..." | expect file PATH contains|lacks "..." |
// expect file PATH [lf] <<END (kEquals with the block, line ends as for `file`).
struct ExpectFileText {
  std::string path;
  TextMatch match = TextMatch::kEquals;
  std::string text;
};

// expect file PATH bytes OFFSET == hex "4C495354"; bytes are decoded from the hex digits.
struct ExpectFileBytes {
  std::string path;
  std::int64_t offset = 0;
  std::string bytes;
};

// expect dialog msgbox [contains] "text" [title "T"] [icon ...] [buttons ...]
// partial is true with `contains`. Absent options are not checked.
struct ExpectMsgBox {
  std::string text;
  bool partial = false;
  std::optional<std::string> title;
  std::optional<MsgBoxIcon> icon;
  std::optional<MsgBoxButtons> buttons;
};

// expect dialog input [contains] "prompt" [title "T"] [default "D"]
struct ExpectInputBox {
  std::string prompt;
  bool partial = false;
  std::optional<std::string> title;
  std::optional<std::string> default_text;
};

// expect dialog open|save|folder [title "T"] [filter "F"] [name "N"]
struct ExpectFileDialog {
  FileDialogKind kind = FileDialogKind::kOpen;
  std::optional<std::string> title;
  std::optional<std::string> filter;
  std::optional<std::string> name;
};

// expect no dialog
struct ExpectNoDialog {};

// expect window W loaded|unloaded|visible|hidden
enum class WindowCondition { kLoaded, kUnloaded, kVisible, kHidden };
struct ExpectWindow {
  WindowRef window;
  WindowCondition condition = WindowCondition::kLoaded;
};

// expect clipboard picture|empty
enum class ClipboardContent { kPicture, kEmpty };
struct ExpectClipboard {
  ClipboardContent content = ClipboardContent::kEmpty;
};

// expect movie PATH frames OP N | rate OP R | size == WxH | fourcc == "MJPG".
// frames and rate compare numbers; size compares a Size and fourcc a four-character string,
// both with kEqual.
enum class MovieProperty { kFrames, kRate, kSize, kFourcc };
struct ExpectMovie {
  std::string path;
  MovieProperty property = MovieProperty::kFrames;
  Comparison comparison;
};

// expect image PATH size == WxH
struct ExpectImageSize {
  std::string path;
  Size size;
};

// expect image PATH pixel(X,Y) == rgb(R,G,B) (tolerance 0) | pixel(X,Y) ~ rgb(R,G,B) +- T
struct ExpectImagePixel {
  std::string path;
  int x = 0;
  int y = 0;
  Colour colour;
  int tolerance = 0;
};

// The logs a scenario reads: the simulated devices', and the simulated desktop's (what the
// program asked it to open, start or arrange).
enum class LogKind { kDevice, kDesktop };

// expect device|desktop log contains|lacks "TEXT" (match is kContains or kLacks)
struct ExpectDeviceLog {
  LogKind log = LogKind::kDevice;
  TextMatch match = TextMatch::kContains;
  std::string text;
};

// expect device|desktop log sequence "T1" "T2" ... (at least one text)
struct ExpectDeviceLogSequence {
  LogKind log = LogKind::kDevice;
  std::vector<std::string> texts;
};

// expect ftp received "NAME" size OP N
struct ExpectFtpReceived {
  std::string name;
  NumberComparison size;
};

// expect ftp log contains "TEXT"
struct ExpectFtpLog {
  std::string text;
};

// expect http text ==|contains|lacks "..." | expect http contains "..."
struct ExpectHttpText {
  TextMatch match = TextMatch::kEquals;
  std::string text;
};

// expect http status OP N
struct ExpectHttpStatus {
  NumberComparison status;
};

// expect http header "Name" == "value"
struct ExpectHttpHeader {
  std::string name;
  std::string value;
};

// expect http body image
struct ExpectHttpBodyImage {};

// ---------------------------------------------------------------------------------------------
// Commands

using CommandBody = std::variant<
    // the world
    Clock, SystemFlag, Setting, WriteFile, CopyFile, CommandLine, Device, UrlSource, SoundInputs, SerialPorts, Scanners,
    FtpServer, DesktopTools, Start,
    // actions
    Click, DoubleClick, SetProperty, Key, Foreground, CloseWindow, MinimizeWindow, RestoreWindow, Wait, Yield, After,
    Call, LoadWindow, UnloadWindow, AnswerMsgBox, AnswerOptions, AnswerColour, AnswerInput, AnswerFileDialog,
    ChangePicture, DropFrames, Unplug, SoundLevel, SerialLine, Joystick, HttpRequest,
    // expectations
    ExpectProperty, ExpectState, ExpectSetting, ExpectFileExists, ExpectFileSize, ExpectFileText, ExpectFileBytes,
    ExpectMsgBox, ExpectInputBox, ExpectFileDialog, ExpectNoDialog, ExpectWindow, ExpectClipboard, ExpectMovie,
    ExpectImageSize, ExpectImagePixel, ExpectDeviceLog, ExpectDeviceLogSequence, ExpectFtpReceived, ExpectFtpLog,
    ExpectHttpText, ExpectHttpStatus, ExpectHttpHeader, ExpectHttpBodyImage>;

// One command of a scenario file: its line number (from 1), its text as written without the
// surrounding blanks (for --verbose; a text block's lines are not part of it) and its meaning.
struct Command {
  int line = 0;
  std::string text;
  CommandBody body;
};

// A line that breaks the rules. what() is "expected X, found Y" without the line, so the runner
// can print "path:LINE: what()". found is quoted text as written ("\"=>\"") or a plain phrase
// (end of line, end of file).
class ParseError : public std::runtime_error {
 public:
  ParseError(int line, std::string expected, std::string found);

  int line() const { return line_; }
  const std::string& expected() const { return expected_; }
  const std::string& found() const { return found_; }

 private:
  int line_;
  std::string expected_;
  std::string found_;
};

// Reads a whole scenario file. Lines may end with LF or CR LF. Throws ParseError at the first
// line that breaks the rules (and nothing else but std::bad_alloc), whatever the input.
std::vector<Command> ParseScript(std::string_view source);

// `text` with every "$APP" replaced by the program folder and every "$TEMP" by the world's
// temporary folder, both given with their trailing separator: "$APPclip.avi" -> "/w/app/clip.avi".
// Replaced text is not scanned again.
std::string ExpandPlaceholders(std::string_view text, std::string_view app_folder_with_slash,
                               std::string_view temp_folder_with_slash);

}  // namespace zr::scenario
