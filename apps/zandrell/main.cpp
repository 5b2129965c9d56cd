// The program. On a desktop it opens its windows. Without windows (--headless, and wherever no
// display can be opened) it starts as an operator starts it, connects a device in the device
// chooser, records a movie of the asked length from it (or runs a set-up, or serves the picture
// page to browsers), says what it did and closes as the operator closes it, saving its set-up.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "apps/zandrell/headless_operator.h"
#include "apps/zandrell/movie_tools_commands.h"
#include "apps/zandrell/program_parts.h"
#include "base/formatting.h"
#include "capture/video_screen.h"
#include "core/operating_mode.h"
#include "gui/desktop_toolkit.h"
#include "image/picture_writer.h"
#include "image/tools/tone_histogram.h"
#include "image/windows/image_window.h"
#include "main_window/master.h"
#include "platform/atomic_file.h"
#include "platform/linux/magick_image_converter.h"
#include "platform/linux/movie_output_file.h"
#include "platform/linux/poll_event_loop.h"
#include "platform/linux/termination_signals.h"

namespace {

using namespace zr::platform;
using namespace zr::platform::linux_impl;
using zr::HeadlessOperator;
using zr::ProgramParts;
using zr::ProgramStart;

constexpr int kDefaultSeconds = 3;
// How long past its limit a run may take to close its file before the program stops it.
constexpr std::int64_t kClosingGraceMs = 15000;

void PrintHelp() {
  std::cout << "Usage: zandrell [OPTIONS] [PARAMETER_FILE]\n"
               "Opens the capture program's windows; without a display, or with --headless, records a\n"
               "movie from a capture device without windows.\n\n"
               "  --headless              run without windows\n"
               "  --record SECONDS FILE   without windows: record a movie of SECONDS seconds into FILE\n"
               "                          (default: 3 seconds into zandrell.avi in the current folder);\n"
               "                          an older movie at FILE is replaced when the new one is done,\n"
               "                          anything else there (a folder, a device, a link) is refused\n"
               "  --run [SECONDS]         without windows: run the set-up of PARAMETER_FILE (or of the last\n"
               "                          start) as its mode and trigger say (a movie, a single image, a\n"
               "                          series on an interval or by hand), for SECONDS or until a signal;\n"
               "                          a line is printed for each stored picture\n"
               "  --webshare PORT         without windows: serve the live picture page to browsers on PORT\n"
               "                          (1 to 65535; below 1024 only with the system's leave) from the\n"
               "                          connected device until a signal\n"
               "  --build-avi OUT.avi --fps N [--codec NAME] FILE... | --folder DIR [--mask MASK]\n"
               "                          without windows: build the movie OUT.avi from bitmap files, one\n"
               "                          file a frame, as the AVI builder does: the FILEs in their order,\n"
               "                          or those of DIR whose names match MASK (default \"*.bmp\"; hidden\n"
               "                          and read-only files are passed over), at N frames a second (1 to\n"
               "                          30), with the compressor NAME (default: the DivX-compatible one;\n"
               "                          a wrong NAME lists them); a file of another size or depth than\n"
               "                          the first is refused and the movie is built from the rest\n"
               "  --histogram IN OUT.txt  without windows: write the tone curves of the BMP or JPEG picture IN\n"
               "                          to OUT.txt as the histogram window exports them (tab-separated)\n"
               "  --extract MOVIE OUT.jpg|OUT.bmp\n"
               "                          without windows: save every frame of MOVIE as the movie window\n"
               "                          does, as OUT_Frame_000000.jpg (or .bmp) and on, numbered from 0;\n"
               "                          JPEG pictures at the program's JPEG quality\n"
               "  --recompress MOVIE OUT.avi --codec NAME\n"
               "                          without windows: write MOVIE's video anew to OUT.avi with the\n"
               "                          compressor NAME (a wrong NAME lists them), and its sound, if it\n"
               "                          has any, to OUT.wav\n"
               "  --export-dv MOVIE       without windows: write MOVIE as a standard DV stream file beside\n"
               "                          it (MOVIE.dv, PAL 720x576 at 25 frames a second or NTSC 720x480\n"
               "                          at 29.97 by the movie's rate), as the DV export does without a deck\n"
               "  --effect NAME[,NAME...] IN OUT\n"
               "                          without windows: apply the picture window's effects to the\n"
               "                          picture IN in the order given, each as its key in the effects\n"
               "                          menu does (negative, flip, mirror, greyscale, soften, lighting,\n"
               "                          sharpen, solarize, diffuse, emboss, reset, bd_1, bd_8, bd_24,\n"
               "                          bd_32), and save the result to OUT in the format its ending\n"
               "                          names (jpg, jp2, bmp, gif, dib, tif, png, pcx, tga)\n"
               "  --device NAME           the device to connect, as the device chooser lists it,\n"
               "                          e.g. \"Built-in Test Camera (VFW)\" or \"Built-in Test Camera\";\n"
               "                          default: the built-in test camera\n"
               "  --list-devices          list the devices the chooser offers, and exit\n"
               "  --app-path DIR          the program folder, where zrsr.zr2 and zrsr.zr3 are kept\n"
               "                          (made when missing; default: the executable's folder, or\n"
               "                          $XDG_DATA_HOME/video-zandrell (~/.local/share/video-zandrell)\n"
               "                          for an installed program or one whose folder cannot be written)\n"
               "  --lang CODE             the language of the texts: en, pt, es, fr or de\n"
               "                          (default: the desktop's)\n"
               "  PARAMETER_FILE          a .zrp file of capture settings applied at start\n"
               "                          (frame rate, sound format, ...)\n"
               "  --help                  this text\n\n"
               "Settings are kept in $XDG_CONFIG_HOME/video-zandrell (default ~/.config/video-zandrell);\n"
               "Size=1920x1080 under [Built-in Test Camera] in \"Video Zandrell.ini\" there starts the built-in\n"
               "test camera at one of its other sizes (default 640x480), Rate=1 at 1 to 30 frames a second\n"
               "(default 30).\n"
               "Exit status without windows: 0 when the movie was written as asked; 1 when the run ended\n"
               "badly (a full disk, a missing folder, ...: the reason is printed) or wrote no movie; 2 for a\n"
               "wrong option or a FILE that cannot be a movie. --build-avi: 0 when every file made a frame;\n"
               "1 when a file was refused or the movie could not be built (the builder's message is printed).\n"
               "--histogram: 0 when the text was written; 1 when IN is no picture or OUT.txt cannot be written.\n"
               "--extract and --recompress: 0 when every frame (and the sound) was saved; 1 when the work\n"
               "failed; 2 for a missing MOVIE, one that is no movie, or an OUT that cannot be written.\n"
               "--export-dv: 0 when the DV file was written; 1 when it could not be; 2 for a missing MOVIE or\n"
               "one that is no movie.\n"
               "--effect: 0 when OUT was written; 1 when IN cannot be read, an effect fails or OUT cannot be\n"
               "written; 2 for a name no key of the effects menu has.\n"
               "SIGTERM, SIGINT or SIGHUP end a run as Stop does (the movie is closed and plays), save the\n"
               "set-up and end the program with the status 128 + the signal's number; a second one ends\n"
               "it at once.\n";
}

// A separator at the end stays: such a name is a folder's.
std::string Absolute(const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

struct Options {
  bool headless = false;
  bool run_set_up = false;
  std::optional<int> run_seconds;  // nothing: until a signal
  std::optional<int> webshare_port;
  int seconds = kDefaultSeconds;
  std::string output = Absolute("zandrell.avi");
  std::string device;
  bool list_devices = false;
  std::string app_path;
  std::string command_line;
  std::optional<zr::Language> language;
  // --build-avi: the movie, its rate and compressor, and the files or the folder and mask.
  std::optional<std::string> build_avi;
  int build_fps = 0;
  std::string codec;
  std::vector<std::string> frames;
  std::string folder;
  std::string mask = "*.bmp";
  // --histogram: the picture and the text file.
  std::optional<std::pair<std::string, std::string>> histogram;
  // --extract and --recompress: the movie and what is made of it.
  std::optional<std::string> extract_from;
  std::optional<std::string> recompress_from;
  // --export-dv: the movie written as a DV file beside it.
  std::optional<std::string> export_dv_from;
  std::string made;
  // --effect: the menu keys, the picture in and the file out.
  std::optional<std::string> effects;
  std::vector<std::string> effect_files;
};

const char* Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::optional<int> Seconds(const std::string& text) {
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (end == text.c_str() || *end != '\0' || value < 1 || value > 24L * 3600) return std::nullopt;
  return static_cast<int>(value);
}

// Nothing when the options cannot be understood (the reason is printed).
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  std::vector<std::string> positional;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& option = arguments[i];
    const bool has_value = i + 1 < arguments.size();
    if (option == "--histogram" && i + 2 < arguments.size()) {
      options.histogram.emplace(arguments[i + 1], arguments[i + 2]);
      i += 2;
    } else if (option == "--headless") {
      options.headless = true;
    } else if (option == "--list-devices") {
      options.list_devices = true;
    } else if (option == "--record" && i + 2 < arguments.size()) {
      const auto seconds = Seconds(arguments[++i]);
      if (!seconds) {
        std::cerr << "zandrell: --record wants a number of seconds from 1 to 86400, not " << arguments[i] << "\n";
        return std::nullopt;
      }
      options.seconds = *seconds;
      options.output = Absolute(arguments[++i]);
    } else if (option == "--run") {
      options.run_set_up = true;
      options.headless = true;
      if (has_value && !arguments[i + 1].starts_with("--")) {
        if (const auto seconds = Seconds(arguments[i + 1])) {
          options.run_seconds = seconds;
          ++i;
        }
      }
    } else if (option == "--webshare" && has_value) {
      char* end = nullptr;
      const long port = std::strtol(arguments[++i].c_str(), &end, 10);
      if (*end != '\0' || end == arguments[i].c_str() || port < 1 || port > 65535) {
        std::cerr << "zandrell: --webshare wants a port from 1 to 65535, not " << arguments[i] << "\n";
        return std::nullopt;
      }
      options.webshare_port = static_cast<int>(port);
      options.headless = true;
    } else if (option == "--device" && has_value) {
      options.device = arguments[++i];
    } else if (option == "--app-path" && has_value) {
      options.app_path = arguments[++i];
    } else if (option == "--lang" && has_value) {
      options.language = zr::LanguageOfOption(arguments[++i]);
      if (!options.language) {
        std::cerr << "zandrell: unknown language " << arguments[i] << " (en, pt, es, fr or de)\n";
        return std::nullopt;
      }
    } else if (option == "--effect" && has_value) {
      options.effects = arguments[++i];
    } else if (option == "--build-avi" && has_value) {
      options.build_avi = Absolute(arguments[++i]);
      options.headless = true;
    } else if ((option == "--extract" || option == "--recompress") && i + 2 < arguments.size()) {
      (option == "--extract" ? options.extract_from : options.recompress_from) = Absolute(arguments[++i]);
      options.made = Absolute(arguments[++i]);
    } else if (option == "--export-dv" && has_value) {
      options.export_dv_from = Absolute(arguments[++i]);
    } else if (option == "--fps" && has_value) {
      const auto rate = Seconds(arguments[++i]);
      if (!rate || *rate > 30) {
        std::cerr << "zandrell: --fps wants a rate from 1 to 30, not " << arguments[i] << "\n";
        return std::nullopt;
      }
      options.build_fps = *rate;
    } else if (option == "--codec" && has_value) {
      options.codec = arguments[++i];
    } else if (option == "--folder" && has_value) {
      options.folder = Absolute(arguments[++i]);
    } else if (option == "--mask" && has_value) {
      options.mask = arguments[++i];
    } else if (!option.starts_with("--")) {
      positional.push_back(option);
    } else {
      std::cerr << "zandrell: unknown or incomplete option " << option << "\n";
      return std::nullopt;
    }
  }
  if (options.effects) {
    if (positional.size() != 2) {
      std::cerr << "zandrell: --effect wants the names, then the picture IN and the file OUT\n";
      return std::nullopt;
    }
    options.effect_files = positional;
  } else if (options.build_avi) {
    for (const auto& file : positional) options.frames.push_back(Absolute(file));
    if (options.build_fps == 0 || options.frames.empty() == options.folder.empty()) {
      std::cerr << "zandrell: --build-avi wants --fps and either bitmap files or --folder\n";
      return std::nullopt;
    }
  } else if (positional.size() > 1) {
    std::cerr << "zandrell: one parameter file at most, not " << positional[1] << "\n";
    return std::nullopt;
  } else if (!positional.empty()) {
    options.command_line = Absolute(positional.front());
  }
  return options;
}

void ListDevices(const std::vector<VideoDeviceEntry>& video, const std::vector<AudioDeviceEntry>& audio) {
  std::cout << "Video devices (each is offered as \"NAME (VFW)\" and as \"NAME\"):\n";
  for (const auto& entry : video) std::cout << "  " << entry.name << "\n";
  std::cout << "Sound devices:\n";
  for (const auto& entry : audio) std::cout << "  " << entry.name << "\n";
}

// Presses the operator's record button with a limit of `seconds` and waits for the run to end;
// a request to end the process, or a run that outlasts its limit, stops it as Stop does.
bool RecordMovie(zr::Program& program, PollEventLoop& loop, const Options& options, const TerminationWatch& watch) {
  auto& master = program.Window<zr::Master>();
  // Entering the mode anew would put the movie rate back to the preview rate.
  if (zr::ModeOfKey(program.state.CaptureType) != zr::OperatingMode::Movie) master.SetOperationMode("movie");
  master.MovieDisableLimit.Value = 0;
  master.MovieHoursControl.Value = options.seconds / 3600;
  master.MovieMinutesControl.Value = options.seconds % 3600 / 60;
  master.MovieSecondsControl.Value = options.seconds % 60;
  program.state.CaptureFilename = options.output;
  program.Window<zr::VideoScreen>().SetFilename(options.output);
  auto& record = master.RecordButton();
  master.OperationBar.ClickButton(record);
  const std::int64_t give_up_ms = loop.NowMs() + options.seconds * 1000LL + kClosingGraceMs;
  loop.RunModal([&] { return record.Image.get() == "record" || watch.Received() != 0 || loop.NowMs() > give_up_ms; });
  if (record.Image.get() != "record") {
    if (watch.Received() == 0) std::cerr << "zandrell: the run did not end by its limit; stopping it\n";
    master.StopRunForExit();
  }
  return master.StatusString.Caption.get() == program.Translate("Stopped");
}

// Says each picture a series stores as it comes: its file, or the clipboard.
class StoredPictures {
 public:
  explicit StoredPictures(zr::Program& program) : program_(program) {}

  void SayNew() {
    const std::int32_t count = program_.state.ImageCount;
    if (count <= said_) return;  // the end of a series sets the count back to 0
    said_ = count;
    const zr::ui::Window* window = program_.Slot("MultiImage").LoadedWindow();
    const std::string where = window && program_.Window<zr::Master>().MultipleImageMode.ListIndex != 0
                                  ? window->Caption.get()
                                  : program_.state.CaptureFilename;
    std::cout << "Picture " << count << ": " << where << std::endl;
  }

 private:
  zr::Program& program_;
  std::int32_t said_ = 0;
};

// Presses Rec/Stop as the set-up's mode says and lets it run for the asked time or until a
// request to end: a movie to its own limit, one picture in "image" mode, a series by its trigger.
bool RunSetUp(zr::Program& program, PollEventLoop& loop, const Options& options, const TerminationWatch& watch) {
  auto& master = program.Window<zr::Master>();
  auto& record = master.RecordButton();
  const auto mode = zr::ModeOfKey(program.state.CaptureType);
  if (mode != zr::OperatingMode::Movie && mode != zr::OperatingMode::Image && mode != zr::OperatingMode::Multiple) {
    std::cerr << "zandrell: the set-up's mode \"" << program.state.CaptureType
              << "\" takes no pictures; a set-up of a movie, an image or a series runs\n";
    return false;
  }
  program.state.ImageCount = 0;
  master.OperationBar.ClickButton(record);
  if (mode == zr::OperatingMode::Image) {
    std::cout << "Picture: " << program.state.CaptureFilename << std::endl;
    return true;
  }
  StoredPictures pictures(program);
  const std::int64_t started_ms = loop.NowMs();
  const auto time_is_up = [&] {
    return options.run_seconds && loop.NowMs() - started_ms >= *options.run_seconds * 1000LL;
  };
  loop.RunModal([&] {
    pictures.SayNew();
    return watch.Received() != 0 || time_is_up() || record.Image.get() == "record";
  });
  if (record.Image.get() != "record") {
    if (mode == zr::OperatingMode::Movie)
      master.StopRunForExit();
    else
      master.OperationBar.ClickButton(record);
  }
  pictures.SayNew();
  return true;
}

// Serves the picture page as the "webshare" mode does, on the asked port (typed into the port
// box, as an operator would), until a request to end. False when the port cannot be listened on.
bool ServePictures(zr::Program& program, PollEventLoop& loop, int port, const TerminationWatch& watch) {
  auto& master = program.Window<zr::Master>();
  master.SetOperationMode("webshare");
  master.WebShare_Port.Text = std::to_string(port);
  if (!program.services.picture_server.Listening()) {
    std::cerr << "zandrell: " << master.Labels(14).Caption.get() << "\n";
    return false;
  }
  master.ShowAddress();
  std::cout << "Serving the live picture at " << master.WebShare_Url.Caption.get() << "/ (and http://127.0.0.1:" << port
            << "/) until a signal" << std::endl;
  loop.RunModal([&] { return watch.Received() != 0; });
  return true;
}

bool IsFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

void ReportMovie(MovieFiles& movies, const std::string& path) {
  const auto info = movies.ReadInfo(path);
  if (!info) {
    std::cerr << "zandrell: the movie cannot be read back: " << info.error().message << "\n";
    return;
  }
  std::cout << "Wrote " << path << ": " << info->frame_count << " frames of " << info->width << "x" << info->height
            << " at " << info->frames_per_second << " fps (" << info->fourcc << "), " << info->duration_seconds << " s";
  if (info->audio)
    std::cout << ", sound " << info->audio->samples_per_second << " Hz " << info->audio->bits_per_sample << "-bit "
              << info->audio->channels << (info->audio->channels == 1 ? " channel" : " channels");
  std::cout << "\n";
}

ProgramStart StartOf(const Options& options, const std::string& app_path) {
  const char* home = std::getenv("HOME");
  return ProgramStart{app_path, options.command_line,
                      home && *home == '/' ? std::filesystem::path(home).string() + "/" : "",
                      options.language.value_or(
                          zr::DesktopLanguage(Environment("LC_ALL"), Environment("LC_MESSAGES"), Environment("LANG")))};
}

// The compressor of ImgAviCodec whose name is `name` (any case), or else the first that holds it.
std::optional<int> CompressorEntry(const zr::ui::ListControl& list, const std::string& name) {
  std::vector<std::string> names;
  for (const auto& item : list.Items) names.push_back(item.text);
  const auto entry = zr::EntryNamed(names, name);
  return entry ? std::optional<int>(static_cast<int>(*entry)) : std::nullopt;
}

// Builds a movie from bitmap files through the AVI builder of the main window, as an operator
// would: the files added, the rate and the compressor chosen, the build's progress printed as
// the preview's caption shows it. A request to end cancels the build; the movie keeps what was
// written.
int BuildMovieWithoutWindows(const Options& options, const std::string& app_path) {
  if (auto usable = MovieOutputFile::CheckName(*options.build_avi); !usable) {
    std::cerr << "zandrell: " << usable.error().message << "; no movie was built\n";
    return 2;
  }
  PollEventLoop loop;
  TerminalDialogs dialogs(std::cerr);
  MemoryClipboard clipboard;
  ProgramParts parts(loop, loop, [&loop] { loop.Wake(); }, dialogs, clipboard, nullptr, ScreenSize{1920, 1080},
                     StartOf(options, app_path), {}, {});
  zr::Program& program = parts.program;
  // No device is needed: the chooser is closed as it shows.
  loop.SetOperator([&program] {
    if (auto* chooser = program.IfLoaded<zr::ChooseDevice>()) chooser->Cancel.Click();
  });
  program.Main();
  auto& master = program.Window<zr::Master>();
  TerminationWatch watch(loop, nullptr, [&master](int) { master.AVIBuildCancel.Click(); });
  // A build changes nothing of the set-up: the main window is not closed, so the set-up is not
  // written again (a score of files synced one by one, which after a large movie waits on the
  // disk for a good part of a second).
  const auto end = [&](int status) { return watch.Received() != 0 ? 128 + watch.Received() : status; };
  if (!options.codec.empty()) {
    const auto entry = CompressorEntry(master.ImgAviCodec, options.codec);
    if (!entry) {
      std::cerr << "zandrell: no compressor \"" << options.codec << "\"; this machine has:\n";
      for (const auto& item : master.ImgAviCodec.Items) std::cerr << "  " << item.text << "\n";
      return end(2);
    }
    master.ImgAviCodec.ListIndex = *entry;
  }
  master.AVIBuildFPS.ListIndex = options.build_fps - 1;
  if (options.folder.empty())
    master.AddFiles(options.frames);
  else
    master.AddGroup(options.folder.ends_with('/') ? options.folder : options.folder + "/", options.mask);
  const int frames = master.lstDIBList.ListCount();
  const bool refused = options.folder.empty() && frames < static_cast<int>(options.frames.size());
  if (frames == 0) {
    std::cerr << "zandrell: no bitmap file to build the movie from\n";
    return end(1);
  }
  std::cout << "Building " << *options.build_avi << " from " << frames << " files" << std::endl;
  std::string said;
  const auto say_progress = [&] {
    const zr::ui::Window* preview = program.Slot("MultiImage").LoadedWindow();
    if (!preview || preview->Caption.get() == said) return;
    said = preview->Caption.get();
    std::cout << said << std::endl;
  };
  loop.SetOperator(say_progress);
  const bool built = master.BuildMovie(*options.build_avi);
  loop.SetOperator(nullptr);
  say_progress();
  if (IsFile(*options.build_avi)) ReportMovie(parts.movies, *options.build_avi);
  if (const std::size_t refusals = options.frames.size() - static_cast<std::size_t>(frames); refused)
    std::cerr << "zandrell: " << refusals << (refusals == 1 ? " file was" : " files were") << " refused\n";
  return end(built && !refused ? 0 : 1);
}

// The effects menu's entries named, in order; nothing when a name is no key of the menu.
std::optional<std::vector<const zr::EffectsMenuEntry*>> EffectsNamed(const std::string& names) {
  std::vector<const zr::EffectsMenuEntry*> entries;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = names.find(',', start);
    const std::string name = names.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    const auto* entry = zr::FindEffectsMenuEntry(name);
    if (!entry) {
      std::cerr << "zandrell: no effect \"" << name << "\"; the effects menu has:";
      for (const auto& known : zr::EffectsMenu()) std::cerr << " " << known.key;
      std::cerr << "\n";
      return std::nullopt;
    }
    entries.push_back(entry);
    if (comma == std::string::npos) return entries;
    start = comma + 1;
  }
}

// The picture as the picture window opens it (a bitmap or a JPEG file), else any picture file
// the converter reads.
std::optional<Picture> ReadPicture(ImageConverter& converter, const std::string& path) {
  if (const auto picture = zr::LoadPictureFile(path)) return *picture;
  auto read = converter.Read(path);
  if (read) return std::move(*read);
  std::cerr << "zandrell: " << path << " is no picture: " << read.error().message << "\n";
  return std::nullopt;
}

// What each key of the picture window's effects menu does, on the picture of a file: the
// effects add up, "reset" goes back to the file's picture, a bit depth is kept for the save.
int ApplyEffectsWithoutWindows(const Options& options) {
  const auto entries = EffectsNamed(*options.effects);
  if (!entries) return 2;
  const std::string& in = options.effect_files[0];
  const std::string& out = options.effect_files[1];
  MagickImageConverter converter;
  const auto original = ReadPicture(converter, in);
  if (!original) return 1;
  Picture picture = *original;
  std::optional<int> bits;
  // Diffusion's generator is seeded from the clock, as in the window.
  const auto seed = static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count());
  for (const zr::EffectsMenuEntry* entry : *entries) {
    if (entry->bits != 0) {
      auto converted = converter.ChangeBitDepth(picture, entry->bits);
      if (!converted) {
        std::cerr << "zandrell: " << entry->key << ": " << converted.error().message << "\n";
        return 1;
      }
      picture = std::move(*converted);
      bits = entry->bits;
    } else if (!entry->effect) {
      picture = *original;
    } else {
      try {
        zr::EffectProgress(*entry->effect, picture.width);
      } catch (const zr::DivisionByZeroError& error) {
        std::cerr << "zandrell: " << entry->key << ": " << error.what() << " (the picture is " << picture.width
                  << " pixels wide; the effects need 12 or more)\n";
        return 1;
      }
      picture = zr::ApplyEffect(*entry->effect, picture, zr::EffectInputs{0, seed});
    }
  }
  if (auto saved = converter.Save(picture, out, bits); !saved) {
    std::cerr << "zandrell: " << out << ": " << saved.error().message << "\n";
    return 1;
  }
  return 0;
}

int RunWithWindows(zr::gui::DesktopToolkit& toolkit, const Options& options, const std::string& app_path,
                   std::vector<VideoDeviceEntry> video, std::vector<AudioDeviceEntry> audio) {
  ProgramParts parts(
      toolkit.Loop(), toolkit.Descriptors(), [] {}, toolkit.Dialogs(), toolkit.Clipboard(), &toolkit.DeviceDialogs(),
      toolkit.Facts(), StartOf(options, app_path), std::move(video), std::move(audio));
  TerminationWatch watch(
      toolkit.Loop(), [&devices = parts.devices] { devices.EndRunsFromAnyThread(); },
      [&toolkit](int) { toolkit.EndProgram(); });
  const int status = toolkit.Run(parts.program, parts.LiveVideo());
  return watch.Received() != 0 ? 128 + watch.Received() : status;
}

int RunWithoutWindows(const Options& options, const std::string& app_path, std::vector<VideoDeviceEntry> video,
                      std::vector<AudioDeviceEntry> audio) {
  // What stands at the movie's name is replaced only when it is a movie's kind of file.
  if (auto usable = MovieOutputFile::CheckName(options.output); !options.run_set_up && !usable) {
    std::cerr << "zandrell: " << usable.error().message << "; nothing was recorded\n";
    return 2;
  }
  PollEventLoop loop;
  TerminalDialogs dialogs(std::cerr);
  MemoryClipboard clipboard;
  ProgramParts parts(
      loop, loop, [&loop] { loop.Wake(); }, dialogs, clipboard, nullptr, ScreenSize{1920, 1080},
      StartOf(options, app_path), std::move(video), std::move(audio));
  zr::Program& program = parts.program;
  auto& devices = parts.devices;
  TerminationWatch watch(
      loop, [&devices] { devices.EndRunsFromAnyThread(); }, nullptr);
  HeadlessOperator headless_operator(program, options.device);
  loop.SetOperator([&headless_operator] { headless_operator.Act(); });
  program.Main();
  loop.SetOperator(nullptr);

  bool recorded = false;
  const bool asked_to_end_at_start = watch.Received() != 0;
  if (!asked_to_end_at_start && !devices.Connected()) {
    std::cerr << "zandrell: no device is connected"
              << (devices.SourceMessage().empty() ? "" : ": " + devices.SourceMessage()) << "\n";
  } else if (!asked_to_end_at_start) {
    if (options.webshare_port)
      recorded = ServePictures(program, loop, *options.webshare_port, watch);
    else if (options.run_set_up)
      recorded = RunSetUp(program, loop, options, watch);
    else
      recorded = RecordMovie(program, loop, options, watch);
    for (const std::string& message : {devices.SourceMessage(), devices.RunMessage()})
      if (!message.empty()) std::cerr << "zandrell: " << message << "\n";
    const std::string status = program.Window<zr::Master>().StatusString.Caption.get();
    if (options.run_set_up) {
      std::cout << status << "\n";
    } else if (!options.webshare_port) {
      std::cout << status << ": " << options.output << "\n";
      // A run that ended badly may still have written a movie: what it holds is told too.
      if (IsFile(options.output)) ReportMovie(parts.movies, options.output);
    }
  }
  program.SlotOf<zr::Master>().Unload(zr::ui::UnloadMode::FromCode);
  if (const int signal = watch.Received(); signal != 0) {
    std::cerr << "zandrell: ended on " << TerminationSignalName(signal) << "\n";
    return 128 + signal;
  }
  if (options.run_set_up || options.webshare_port) return recorded ? 0 : 1;
  return recorded && IsFile(options.output) ? 0 : 1;
}

// The histogram window's export of a picture file, without windows.
int WriteHistogramWithoutWindows(const std::string& picture_path, const std::string& text_path) {
  const auto picture = zr::LoadPictureFile(picture_path);
  if (!picture) {
    std::cerr << "zandrell: " << picture_path << " is no BMP or JPEG picture the program reads\n";
    return 1;
  }
  if (auto written = zr::platform::ReplaceFileAtomically(text_path, zr::ToneExportOf(*picture),
                                                         zr::platform::NewFileMode::KeepExisting);
      !written) {
    std::cerr << "zandrell: cannot write " << text_path << ": " << written.error().message << "\n";
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // Before any thread starts: the requests to end are read by the watch of whichever face runs.
  BlockTerminationSignals();
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  for (const auto& argument : arguments) {
    if (argument == "--help") {
      PrintHelp();
      return 0;
    }
  }
  const auto parsed = ParseOptions(arguments);
  if (!parsed) {
    PrintHelp();
    return 2;
  }
  const Options& options = *parsed;
  if (options.histogram) return WriteHistogramWithoutWindows(options.histogram->first, options.histogram->second);
  // The movie tools need neither devices nor the program's folder.
  if (options.extract_from) return zr::ExtractFramesWithoutWindows(*options.extract_from, options.made);
  if (options.recompress_from)
    return zr::RecompressWithoutWindows(*options.recompress_from, options.made, options.codec);
  if (options.export_dv_from) return zr::ExportDvWithoutWindows(*options.export_dv_from);
  if (options.effects) return ApplyEffectsWithoutWindows(options);
  auto video_devices = ProbeVideoDevices();
  auto audio_devices = ProbeAudioDevices();
  if (options.list_devices) {
    ListDevices(video_devices, audio_devices);
    return 0;
  }

  // The executable as the system found it: a program started through the PATH has a bare name
  // in argv[0].
  std::string executable_folder = ExecutableFolder();
  if (executable_folder.empty()) executable_folder = std::filesystem::absolute(argv[0]).parent_path().string();
  const std::string app_path = ResolveProgramFolder(executable_folder, options.app_path);
  if (!std::filesystem::is_directory(app_path)) {
    std::cerr << "zandrell: " << app_path << " cannot be made a folder for the program's files\n";
    return 2;
  }
  for (const char* shipped : {"webshare.html", "codec.zr", "camera.wav"})
    zr::platform::linux_impl::ProvideProgramFile(executable_folder, app_path, shipped);
  if (options.build_avi) return BuildMovieWithoutWindows(options, app_path);
  if (!options.headless) {
    if (auto toolkit = zr::gui::DesktopToolkit::Open(argc, argv))
      return RunWithWindows(*toolkit, options, app_path, std::move(video_devices), std::move(audio_devices));
    std::cerr << "zandrell: no display to open windows on; recording " << options.seconds << " s from "
              << (options.device.empty() ? "the built-in test camera" : options.device) << " without windows instead\n";
  }
  return RunWithoutWindows(options, app_path, std::move(video_devices), std::move(audio_devices));
}
