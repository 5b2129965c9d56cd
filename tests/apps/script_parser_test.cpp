// Reading scenario files into commands: every command form, the lexical rules, the addressing
// forms, and the errors a mistyped line gives.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "apps/scenario/script.h"

namespace zr::scenario {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

// The command of a one-command scenario.
Command ParseOne(std::string_view source) {
  std::vector<Command> commands = ParseScript(source);
  if (commands.size() != 1) {
    ADD_FAILURE() << commands.size() << " commands from: " << source;
    return {};
  }
  return std::move(commands.front());
}

// An address written unlike scenario text, so that a check cannot pass by echoing its input:
// window#instance, then /name(index){key}... per segment.
std::string Describe(const std::vector<Segment>& path, std::string text = "") {
  for (const Segment& segment : path) {
    text += "/" + segment.name;
    if (segment.index) text += "(" + std::to_string(*segment.index) + ")";
    for (const std::string& key : segment.keys) text += "{" + key + "}";
  }
  return text;
}

std::string Describe(const Address& address) {
  return Describe(address.path, address.window.name + "#" + std::to_string(address.window.instance));
}

using Check = std::function<bool(const CommandBody&)>;

// The command is a T and `holds` is true of it.
template <typename T, typename Predicate>
Check Is(Predicate holds) {
  return [holds](const CommandBody& body) {
    const T* command = std::get_if<T>(&body);
    return command != nullptr && holds(*command);
  };
}

template <typename T>
Check Is() {
  return [](const CommandBody& body) { return std::holds_alternative<T>(body); };
}

struct FormCase {
  std::string_view source;
  Check check;
};

void ExpectForms(const std::vector<FormCase>& cases) {
  for (const FormCase& form : cases) {
    SCOPED_TRACE(form.source);
    try {
      EXPECT_TRUE(form.check(ParseOne(form.source).body));
    } catch (const ParseError& error) {
      ADD_FAILURE() << "line " << error.line() << ": " << error.what();
    }
  }
}

TEST(ScriptParserForms, WorldCommands) {
  ExpectForms({
      {R"(file out.txt = "a\r\nb")",
       Is<WriteFile>([](const WriteFile& f) { return f.path == "out.txt" && f.content == "a\r\nb"; })},
      {R"(args "/auto \"x\"")", Is<CommandLine>([](const CommandLine& a) { return a.text == "/auto \"x\""; })},
      {R"(device vfw "Sim Camera")", Is<Device>([](const Device& d) {
         const DeviceOptions& o = d.options;
         return d.kind == DeviceKind::kDriver && d.name == "Sim Camera" && o.size == Size{320, 240} && !o.fps &&
                !o.picture && !o.overlay && !o.connect_fails && !o.device_class && !o.dialogs.source &&
                o.inputs.empty();
       })},
      {R"(device wdm "Cam" size=640x480 fps=12.5 picture=solid(128, 64,32) overlay=yes )"
       R"(dialogs=source,display connect=fail class=tuner inputs="Composite,S-Video" )"
       R"(formats="640x480x24, 320x240x16" audio="Microphone, Line In")",
       Is<Device>([](const Device& d) {
         const DeviceOptions& o = d.options;
         return d.kind == DeviceKind::kControlDevice && o.size == Size{640, 480} && o.fps == 12.5 &&
                std::get<SolidPicture>(*o.picture).colour == Colour{128, 64, 32} && o.overlay && o.dialogs.source &&
                !o.dialogs.format && o.dialogs.display && o.connect_fails && o.device_class == DeviceClass::kTuner &&
                o.inputs == std::vector<std::string>{"Composite", "S-Video"} &&
                o.formats == std::vector<VideoFormat>{{640, 480, 24}, {320, 240, 16}} &&
                o.audio_inputs == std::vector<std::string>{"Microphone", "Line In"};
       })},
      {R"(device vfw "A" picture=file("x.bmp") class=dv)", Is<Device>([](const Device& d) {
         return std::get<PictureFile>(*d.options.picture).path == "x.bmp" && d.options.device_class == DeviceClass::kDv;
       })},
      {R"(url "http://cam/x.jpg" fps=5 connect=fail size=64x48)", Is<UrlSource>([](const UrlSource& u) {
         return u.address == "http://cam/x.jpg" && u.options.fps == 5 && u.options.connect_fails &&
                u.options.size == Size{64, 48};
       })},
      {R"(sound-inputs "Mic" "Line")", Is<SoundInputs>([](const SoundInputs& s) {
         return s.names == std::vector<std::string>{"Mic", "Line"};
       })},
      {R"(serial-ports "/dev/ttyS0" "/dev/ttyUSB0")",
       Is<SerialPorts>([](const SerialPorts& s) { return s.names.size() == 2 && s.names[1] == "/dev/ttyUSB0"; })},
      {R"(ftp-server refuse-dir "up" refuse-connect refuse-file)",
       Is<FtpServer>([](const FtpServer& f) { return f.refuse_connect && f.refused_folder == "up" && f.refuse_file; })},
      {"ftp-server delay=250ms", Is<FtpServer>([](const FtpServer& f) { return f.delay == Duration(250); })},
  });
}

TEST(ScriptParserForms, Actions) {
  ExpectForms({
      {"unload MovieViewer#1", Is<UnloadWindow>([](const UnloadWindow& w) { return w.window.instance == 1; })},
      {"call Image#2.Record( )",
       Is<Call>([](const Call& c) { return c.window->instance == 2 && c.arguments.empty(); })},
      {"answer options Cancel", Is<AnswerOptions>([](const AnswerOptions& a) { return !a.accept; })},
      {R"(answer open "a.bmp" "b.bmp")", Is<AnswerFileDialog>([](const AnswerFileDialog& a) {
         return a.kind == FileDialogKind::kOpen && a.paths.size() == 2;
       })},
      {"answer folder cancel", Is<AnswerFileDialog>([](const AnswerFileDialog& a) {
         return a.kind == FileDialogKind::kFolder && a.paths.empty();
       })},
      {"sound level 42.5", Is<SoundLevel>([](const SoundLevel& s) { return s.level == 42.5; })},
      {"serial CTS on", Is<SerialLine>([](const SerialLine& s) { return s.signal == SerialSignal::kCts && s.on; })},
      {R"(http "GET / HTTP/1.0\r\n\r\n")",
       Is<HttpRequest>([](const HttpRequest& h) { return h.request == "GET / HTTP/1.0\r\n\r\n"; })},
  });
}

TEST(ScriptParserForms, AfterCarriesAnyCommandWithItsOwnText) {
  const Command command = ParseOne("\n  after 500ms after 0ms click Master.X  ");
  const auto& outer = std::get<After>(command.body);
  const auto& inner = std::get<After>(outer.command->body);
  EXPECT_EQ(command.text, "after 500ms after 0ms click Master.X");
  EXPECT_EQ(outer.delay, 500ms);
  EXPECT_EQ(inner.delay, 0ms);
  EXPECT_EQ(outer.command->text, "after 0ms click Master.X");
  EXPECT_EQ(inner.command->line, 2);
  EXPECT_EQ(Describe(std::get<Click>(inner.command->body).target), "Master#0/X");
}

TEST(ScriptParserForms, Expectations) {
  ExpectForms({
      {"expect Master.Slider.Value >= -2.5", Is<ExpectProperty>([](const ExpectProperty& e) {
         return e.comparison.relation == Relation::kGreaterOrEqual && e.comparison.expected == Value(-2.5);
       })},
      {"expect Master.Label1.ForeColor != rgb(255,0,0)", Is<ExpectProperty>([](const ExpectProperty& e) {
         return e.comparison.relation == Relation::kNotEqual && e.comparison.expected == Value(Colour{255, 0, 0});
       })},

      {"expect state CaptureParms.dwIndexSize < 34952", Is<ExpectState>([](const ExpectState& e) {
         return Describe(e.member) == "/CaptureParms/dwIndexSize" && e.comparison.relation == Relation::kLess;
       })},
      {"expect file sub/x.bmp size > 54", Is<ExpectFileSize>([](const ExpectFileSize& e) {
         return e.path == "sub/x.bmp" && e.size.relation == Relation::kGreater && e.size.expected == 54;
       })},
      {R"(expect file a.txt text lacks "y")",
       Is<ExpectFileText>([](const ExpectFileText& e) { return e.match == TextMatch::kLacks && e.text == "y"; })},
      {R"(expect file a.avi bytes 8 == hex "4C49a0")",
       Is<ExpectFileBytes>([](const ExpectFileBytes& e) { return e.offset == 8 && e.bytes == "LI\xa0"; })},
      {R"(expect dialog msgbox contains "fail" buttons yesno title "T" icon none)",
       Is<ExpectMsgBox>([](const ExpectMsgBox& e) {
         return e.partial && e.text == "fail" && e.title == "T" && e.icon == MsgBoxIcon::kNone &&
                e.buttons == MsgBoxButtons::kYesNo;
       })},
      {R"(expect dialog input contains "Name" default "D" title "T")", Is<ExpectInputBox>([](const ExpectInputBox& e) {
         return e.partial && e.prompt == "Name" && e.default_text == "D" && e.title == "T";
       })},
      {R"(expect dialog open title "Open" filter "*.avi" name "a.avi")",
       Is<ExpectFileDialog>([](const ExpectFileDialog& e) {
         return e.kind == FileDialogKind::kOpen && e.title == "Open" && e.filter == "*.avi" && e.name == "a.avi";
       })},
      {"expect window Image#1 hidden", Is<ExpectWindow>([](const ExpectWindow& e) {
         return e.window.instance == 1 && e.condition == WindowCondition::kHidden;
       })},
      {"expect image a.bmp pixel(-1,2) == rgb(3,4,5)", Is<ExpectImagePixel>([](const ExpectImagePixel& e) {
         return e.x == -1 && e.y == 2 && e.colour == Colour{3, 4, 5} && e.tolerance == 0;
       })},
      {"expect image a.jpg pixel(0, 7) ~ rgb(10,20,30) +- 8",
       Is<ExpectImagePixel>([](const ExpectImagePixel& e) { return e.y == 7 && e.tolerance == 8; })},
      {R"(expect ftp received "a.jpg" size != 0)", Is<ExpectFtpReceived>([](const ExpectFtpReceived& e) {
         return e.name == "a.jpg" && e.size.relation == Relation::kNotEqual;
       })},
      {R"(expect ftp log contains "STOR")", Is<ExpectFtpLog>([](const ExpectFtpLog& e) { return e.text == "STOR"; })},
      {R"(expect http text lacks "x")",
       Is<ExpectHttpText>([](const ExpectHttpText& e) { return e.match == TextMatch::kLacks && e.text == "x"; })},
      {"expect http status == 200",
       Is<ExpectHttpStatus>([](const ExpectHttpStatus& e) { return e.status.expected == 200; })},
      {R"(expect http header "Content-Type" == "jpeg")",
       Is<ExpectHttpHeader>([](const ExpectHttpHeader& e) { return e.name == "Content-Type" && e.value == "jpeg"; })},
      {"expect http body image", Is<ExpectHttpBodyImage>()},
  });
}

TEST(ScriptParserAddresses, WindowsSegmentsIndexesAndKeys) {
  const std::vector<std::pair<std::string_view, std::string_view>> cases = {
      {"Master.StatusString", "Master#0/StatusString"},
      {"Master.AviBuilderCursors[add][group]", "Master#0/AviBuilderCursors{add}{group}"},
      {R"x(Master.DeviceToolbar[device]["IP Camera... (JPEG HTTP)"])x",
       "Master#0/DeviceToolbar{device}{IP Camera... (JPEG HTTP)}"},
      {"Master.imagesettings(1)[filenames]", "Master#0/imagesettings(1){filenames}"},
      {"Autostart", "Autostart#0"},
      {"Image#2", "Image#2"},
      {"Image#2.Caption", "Image#2/Caption"},
      {"Master.Combo.List( -1 )", "Master#0/Combo/List(-1)"},
      {R"(W.Bar[a.b-c]["q\"]"].Value)", "W#0/Bar{a.b-c}{q\"]}/Value"},
  };
  for (const auto& [text, described] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Describe(std::get<Click>(ParseOne("click " + std::string(text)).body).target), described);
  }
}

TEST(ScriptParserLexical, StringEscapesDecode) {
  const std::vector<std::pair<std::string_view, std::string>> cases = {
      {R"("a\"b")", "a\"b"},
      {R"("back\\slash")", "back\\slash"},
      {R"("\r\n\t")", "\r\n\t"},
      {R"("\x41\x7e\x7E")", "A~~"},
      {R"("\x00z")", "\0z"s},
      {R"("\xFF")", "\xff"},
      {R"("  # not a comment  ")", "  # not a comment  "},
  };
  for (const auto& [literal, decoded] : cases) {
    SCOPED_TRACE(literal);
    EXPECT_EQ(std::get<CommandLine>(ParseOne("args " + std::string(literal)).body).text, decoded);
  }
}

TEST(ScriptParserLexical, ValuesKeepTheirKind) {
  const std::vector<std::pair<std::string_view, Value>> cases = {
      {"-5", -5.0},
      {"1.25", 1.25},
      {"007", 7.0},
      {"false", false},
      {"rgb( 1, 2 ,3 )", Colour{1, 2, 3}},
      {"640x480", Size{640, 480}},
      {R"("10")", "10"s},
  };
  for (const auto& [literal, value] : cases) {
    SCOPED_TRACE(literal);
    EXPECT_EQ(std::get<SetProperty>(ParseOne("set W.C.P = " + std::string(literal)).body).value, value);
  }
}

TEST(ScriptParserLexical, DurationsBecomeWholeMilliseconds) {
  const std::vector<std::pair<std::string_view, Duration>> cases = {
      {"600ms", 600ms}, {"20s", 20s},     {"1.5s", 1500ms}, {"0ms", 0ms},
      {"0.25s", 250ms}, {"4.1s", 4100ms}, {"0.001s", 1ms},
  };
  for (const auto& [text, duration] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(std::get<Wait>(ParseOne("wait " + std::string(text)).body).delay, duration);
  }
}

TEST(ScriptParserLexical, TextBlocksEndLinesWithCrLfUnlessLf) {
  const std::vector<std::pair<std::string_view, std::string_view>> cases = {
      {"file a.txt <<END\none\n\n# two\nEND\n", "one\r\n\r\n# two\r\n"},
      {"file a.txt lf <<END\none\ntwo\nEND", "one\ntwo\n"},
      {"file a.txt <<END\r\none\r\n END\r\nEND\r\n", "one\r\n END\r\n"},
      {"file a.txt <<X\nX", ""},
  };
  for (const auto& [source, content] : cases) {
    SCOPED_TRACE(source);
    EXPECT_EQ(std::get<WriteFile>(ParseOne(source).body).content, content);
  }
  const auto commands = ParseScript("expect file a.txt lf <<EOF\nx\nEOF\nstart\n");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(std::get<ExpectFileText>(commands[0].body).text, "x\n");
  EXPECT_EQ(commands[0].text, "expect file a.txt lf <<EOF");
  EXPECT_EQ(commands[1].line, 4);
}

TEST(ScriptParserLexical, BlankLinesCommentsAndLineEndsAreSkipped) {
  const auto commands = ParseScript("\r\n  # note\r\n\t\r\n  start  \r\n#\nyield");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].line, 4);
  EXPECT_EQ(commands[0].text, "start");
  EXPECT_EQ(commands[1].line, 6);
  EXPECT_TRUE(ParseScript("").empty());
}

struct ErrorCase {
  std::string_view source;
  int line;
  std::string_view expected;  // a part of the expectation
  std::string_view found;
};

TEST(ScriptParserErrors, SayLineExpectedAndFoundInThatOrder) {
  const std::vector<ErrorCase> cases = {
      {"clik Master.X", 1, "a command", R"("clik")"},
      {"\n# c\n  start extra", 3, "end of line", R"("extra")"},
      {"expect Master.X.Caption => \"a\"", 1, "a comparison (==, !=, <, <=, >, >=, contains)", R"("=>")"},
      {"expect fiel x exists", 1, "state, setting, file", R"("fiel")"},
      {"expect file x.txt exist", 1, "exists, missing, size", R"("exist")"},
      {"expect Master.X.Value contains 5", 1, "a string after contains", R"("5")"},
      {"expect Master.X.Value > \"a\"", 1, "a number", R"("\"a\"")"},
      {"wait 5", 1, "a duration", R"("5")"},
      {"wait 2.5ms", 1, "a whole number of milliseconds", R"("2.5ms")"},
      {"click Master.X[a][b][c]", 1, "at most two", R"("[c]")"},
      {"click Master. X", 1, "a control or property name", "a blank"},
      {"click Image#0", 1, "an instance number", R"("0")"},
      {"device vfw \"C\" sise=1x1", 1, "an option (size, fps,", R"("sise")"},
      {"device vfw \"C\" size=1x1 size=2x2", 1, "each option at most once", R"("size")"},
      {"device vfw \"C\" size=640", 1, "a size WxH", R"("640")"},
      {"device vfw \"C\" formats=\"640x480\"", 1, "a format WxHxBITS", R"("640x480")"},
      {"device wdm \"C\" inputs=\"A,,B\"", 1, "names separated by commas", R"("\"A,,B\"")"},
      {"device usb \"C\"", 1, "vfw or wdm", R"("usb")"},
      {"args \"abc", 1, "a closing double quote", "end of line"},
      {R"(args "a\qb")", 1, "an escape", R"("\\q")"},
      {"expect window Master shown", 1, "loaded, unloaded, visible or hidden", R"("shown")"},
      {"file x.txt <<END\nabc", 1, R"(a line "END" ending the text block)", "end of file"},
      {"file x.txt", 1, "= \"text\" or a text block", "end of line"},
      {"clock 2026-02-29 10:00:00", 1, "a date and time", R"("2026-02-29 10:00:00")"},
      {"key down alt", 1, "a key (ctrl, shift", R"("alt")"},
      {"answer msgbox Maybe", 1, "Yes, No, OK, Cancel, Abort, Retry or Ignore", R"("Maybe")"},
      {"call Master.Run", 1, R"("(")", "end of line"},
      {"call Run(rgb(1,2,3))", 1, "an argument", R"x("rgb(1,2,3))")x"},
      {"call Image#2(1)", 1, "a procedure name", R"x("(1)")x"},
      {"expect image x.bmp pixel(1,2) ~ rgb(1,2,3)", 1, R"("+-")", "end of line"},
      {"expect image x.bmp pixel(1,2) == rgb(1,2,300)", 1, "a colour component", R"("300")"},
      {"expect file x bytes 0 == hex \"4C4\"", 1, "pairs of hex digits", R"("\"4C4\"")"},
      {"expect movie x.avi fourcc == \"MJPEG\"", 1, "four characters", R"("\"MJPEG\"")"},
      {"expect device log sequence", 1, "a string", "end of line"},
      {"start\nafter 1s wiat 2s", 2, "a command", R"("wiat")"},
      {"answer options Yes", 1, "OK or Cancel", R"("Yes")"},
  };
  for (const ErrorCase& error_case : cases) {
    SCOPED_TRACE(error_case.source);
    try {
      ParseScript(error_case.source);
      ADD_FAILURE() << "no error";
    } catch (const ParseError& error) {
      EXPECT_EQ(error.line(), error_case.line);
      EXPECT_NE(error.expected().find(error_case.expected), std::string::npos) << error.what();
      EXPECT_EQ(error.found(), error_case.found) << error.what();
      EXPECT_EQ(error.what(), "expected " + error.expected() + ", found " + error.found());
    }
  }
}

TEST(ScriptParserErrors, LongAfterChainsAreRefusedNotRecursedInto) {
  std::string line;
  for (int i = 0; i < 10000; ++i) line += "after 1ms ";
  EXPECT_THROW(ParseScript(line + "yield"), ParseError);
}

// Random bytes and randomly damaged scenario lines: the reader either returns commands or
// throws its own error, never anything else.
TEST(ScriptParserErrors, AnyInputReadsOrFailsCleanly) {
  const std::string_view sample =
      "device wdm \"C\" size=640x480 picture=solid(1,2,3) inputs=\"a,b\"\n"
      "expect Master.Bar[a][\"b c\"].List(3) >= -1.5\nfile a lf <<E\nx\nE\n"
      "after 1.5s call W.P(\"\\x41\", true)\nexpect image a pixel(1,2) ~ rgb(1,2,3) +- 4\n";
  const std::string_view alphabet = "\"\\ .#[]()=<>!~+-,x0123456789abcdefsmEN\n\r\t\x01\xff";
  std::mt19937 random(20260115);
  for (int round = 0; round < 20000; ++round) {
    std::string source(sample);
    const int damage = static_cast<int>(random() % 6) + 1;
    for (int i = 0; i < damage; ++i) {
      const std::size_t at = random() % source.size();
      source[at] = round % 3 == 0 ? static_cast<char>(random() % 256) : alphabet[random() % alphabet.size()];
    }
    if (round % 5 == 0) source.resize(random() % source.size());
    if (round % 7 == 0) {
      source.resize(random() % 300);
      for (char& byte : source) byte = static_cast<char>(random() % 256);
    }
    try {
      ParseScript(source);
    } catch (const ParseError& error) {
      EXPECT_GT(error.line(), 0);
    }
  }
}

TEST(ScriptParserPlaceholders, ExpandAppAndTempOnce) {
  const std::vector<std::pair<std::string_view, std::string_view>> cases = {
      {"$APPclip.avi", "/w/app/clip.avi"},
      {"$TEMPx", "/w/tmp/x"},
      {"a$APP$TEMP$APPb", "a/w/app//w/tmp//w/app/b"},
      {"$AP $temp $ $$APP", "$AP $temp $ $/w/app/"},
  };
  for (const auto& [text, expanded] : cases) {
    EXPECT_EQ(ExpandPlaceholders(text, "/w/app/", "/w/tmp/"), expanded) << text;
  }
  EXPECT_EQ(ExpandPlaceholders("$APP", "$TEMP/", "/t/"), "$TEMP/");
}

}  // namespace
}  // namespace zr::scenario
