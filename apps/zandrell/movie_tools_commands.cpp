#include "apps/zandrell/movie_tools_commands.h"

#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <optional>

#include "base/formatting.h"
#include "core/settings_keys.h"
#include "platform/linux/dv_stream_file.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/movie_output_file.h"
#include "platform/linux/poll_event_loop.h"
#include "platform/linux/termination_signals.h"
#include "platform/linux/threaded_movie_tools.h"

namespace zr {

namespace {

namespace fs = std::filesystem;
using namespace platform;
using namespace platform::linux_impl;

constexpr int kBadInput = 2;
constexpr int kFailed = 1;

// Why `movie` cannot be read as a movie; nothing when it can.
std::optional<std::string> UnreadableMovie(MovieFiles& movies, const std::string& movie) {
  std::error_code error;
  if (!fs::exists(movie, error)) return movie + ": no such file";
  if (!fs::is_regular_file(movie, error)) return movie + " is not a regular file";
  if (auto info = movies.ReadInfo(movie); !info)
    return movie + " is not a movie the program reads: " + info.error().message;
  return std::nullopt;
}

// Why no file can be written into the folder of `path`; nothing when one can.
std::optional<std::string> UnwritableFolder(const std::string& path) {
  const fs::path folder = fs::absolute(path).parent_path();
  std::error_code error;
  if (!fs::is_directory(folder, error)) return folder.string() + " is not a folder";
  if (::access(folder.c_str(), W_OK) != 0) return "no file can be written in " + folder.string();
  return std::nullopt;
}

// Runs `job` to its end on a loop of its own; a request to end the process cancels it.
template <class End, class Start>
std::pair<End, int> RunJob(PollEventLoop& loop, Start start) {
  std::optional<End> ended;
  std::unique_ptr<MovieJob> job;
  TerminationWatch watch(loop, nullptr, [&job](int) {
    if (job) job->Cancel();
  });
  job = start([&ended](const End& end) { ended = end; });
  loop.RunModal([&ended] { return ended.has_value(); });
  job.reset();
  return {*ended, watch.Received()};
}

}  // namespace

std::optional<std::size_t> EntryNamed(const std::vector<std::string>& names, const std::string& wanted) {
  const std::string lower = LowerCase(wanted);
  for (const bool whole : {true, false}) {
    for (std::size_t index = 0; index < names.size(); ++index) {
      const std::string entry = LowerCase(names[index]);
      if (whole ? entry == lower : entry.find(lower) != std::string::npos) return index;
    }
  }
  return std::nullopt;
}

int ExtractFramesWithoutWindows(const std::string& movie, const std::string& name) {
  const std::string kind = LastThreeLower(name);
  if (kind != "bmp" && kind != "jpg") {
    std::cerr << "zandrell: --extract wants a name ending in .bmp or .jpg, not " << name << "\n";
    return kBadInput;
  }
  FfmpegMovieFiles movies;
  for (const auto& refusal : {UnreadableMovie(movies, movie), UnwritableFolder(name)}) {
    if (refusal) {
      std::cerr << "zandrell: " << *refusal << "; no frame was saved\n";
      return kBadInput;
    }
  }
  // JPEG pictures are coded at the quality the program starts with.
  IniSettingsStore settings(DefaultSettingsFolder());
  FrameExtractionRequest request;
  request.movie = movie;
  request.base = name.substr(0, name.size() - 4);
  request.kind = kind == "bmp" ? FrameFileKind::Bitmap : FrameFileKind::Jpeg;
  request.jpeg_quality = ReadSettingInteger<int>(settings, settings::JpegQualityAtStart);

  PollEventLoop loop;
  ThreadedMovieTools tools(loop, movies);
  const auto [end, signal] = RunJob<FrameExtractionEnd>(loop, [&](auto ended) {
    return tools.StartExtraction(request, {nullptr,
                                           [](const ExtractionProgress& progress) {
                                             std::cerr << "Saving " << progress.done << " of " << progress.frames
                                                       << " frames" << std::endl;
                                           },
                                           ended});
  });
  if (end.unreadable) {
    std::cerr << "zandrell: " << movie << " cannot be read: " << end.unreadable->message << "\n";
    return kFailed;
  }
  std::cout << "Saved " << end.saved << " of " << end.frames << " frames as "
            << FrameFileName(request.base, 0, request.kind) << " and on" << std::endl;
  if (end.undecodable > 0) std::cerr << "zandrell: " << end.undecodable << " frames could not be decoded\n";
  if (end.save_error) std::cerr << "zandrell: " << end.save_error->message << "\n";
  if (signal != 0) {
    std::cerr << "zandrell: ended on " << TerminationSignalName(signal) << "\n";
    return 128 + signal;
  }
  return end.saved == end.frames ? 0 : kFailed;
}

int RecompressWithoutWindows(const std::string& movie, const std::string& target, const std::string& codec) {
  FfmpegMovieFiles movies;
  const auto compressors = movies.VideoCompressors();
  std::vector<std::string> names;
  for (const auto& compressor : compressors) names.push_back(compressor.name);
  const auto entry = EntryNamed(names, codec);
  if (codec.empty() || !entry) {
    std::cerr << "zandrell: " << (codec.empty() ? "--recompress wants --codec NAME" : "no compressor \"" + codec + "\"")
              << "; this machine has:\n";
    for (const auto& known : names) std::cerr << "  " << known << "\n";
    return kBadInput;
  }
  if (const auto unreadable = UnreadableMovie(movies, movie)) {
    std::cerr << "zandrell: " << *unreadable << "; nothing was recompressed\n";
    return kBadInput;
  }
  auto usable = MovieOutputFile::CheckName(target);
  const auto refusal = usable ? UnwritableFolder(target) : usable.error().message;
  if (refusal) {
    std::cerr << "zandrell: " << *refusal << "; nothing was recompressed\n";
    return kBadInput;
  }
  const VideoCompressor& compressor = compressors[*entry];
  RecompressionRequest request{movie, target, CodecFieldsOf(compressor, compressor.default_value), std::nullopt};
  // The sound goes beside the movie as the window saves it, when the movie has any.
  if (movies.ReadInfo(movie)->audio) request.sound = target.substr(0, target.size() - 4) + ".wav";

  PollEventLoop loop;
  ThreadedMovieTools tools(loop, movies);
  const auto [end, signal] = RunJob<RecompressionEnd>(loop, [&](auto ended) {
    return tools.StartRecompression(
        request, {[](int percent) { std::cerr << "Recompressing: " << percent << "%" << std::endl; }, ended});
  });
  bool whole = !end.video.error && !end.video.aborted;
  if (end.video.error)
    std::cerr << "zandrell: " << end.video.error->message << "\n";
  else
    std::cout << "Recompressed " << movie << " to " << target << " with " << compressor.name << " (" << end.frames
              << " frames" << (end.video.aborted ? ", cancelled" : "") << ")" << std::endl;
  if (request.sound && end.sound.error) {
    std::cerr << "zandrell: the sound was not saved: " << end.sound.error->message << "\n";
    whole = false;
  } else if (request.sound && !end.sound.aborted) {
    std::cout << "Sound saved to " << *request.sound << std::endl;
  }
  if (signal != 0) {
    std::cerr << "zandrell: ended on " << TerminationSignalName(signal) << "\n";
    return 128 + signal;
  }
  return whole ? 0 : kFailed;
}

// The export window's DV file, written where the export puts it when no DV deck takes the movie.
int ExportDvWithoutWindows(const std::string& movie) {
  FfmpegMovieFiles movies;
  if (const auto unreadable = UnreadableMovie(movies, movie)) {
    std::cerr << "zandrell: " << *unreadable << "; nothing was exported\n";
    return kBadInput;
  }
  const std::string target = DvFileBeside(movie);
  if (const auto refusal = UnwritableFolder(target)) {
    std::cerr << "zandrell: " << *refusal << "; nothing was exported\n";
    return kBadInput;
  }
  int shown_second = -1;
  const auto written = WriteDvStream(movie, target, [&shown_second](std::int64_t position_ms) {
    if (static_cast<int>(position_ms / 1000) != shown_second)
      std::cerr << "Exporting: " << (shown_second = static_cast<int>(position_ms / 1000)) << " s" << std::endl;
    return true;
  });
  if (!written) {
    std::cerr << "zandrell: " << written.error().message << "\n";
    return kFailed;
  }
  std::cout << "Exported " << movie << " to " << target << std::endl;
  return 0;
}

}  // namespace zr
