#include "tests/support/movie_probe.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>

namespace zr::testing {

std::string RunCommand(const std::string& command) {
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  char chunk[4096];
  for (std::size_t got; pipe && (got = fread(chunk, 1, sizeof chunk, pipe.get())) > 0;) output.append(chunk, got);
  return output;
}

std::map<std::string, std::string> ProbeStream(const std::string& path, char kind, const std::string& entries) {
  std::istringstream lines(RunCommand("ffprobe -v error -count_frames -select_streams " + std::string(1, kind) +
                                      ":0 -show_entries stream=" + entries + " -of default=noprint_wrappers=1 '" +
                                      path + "' 2>/dev/null"));
  std::map<std::string, std::string> values;
  for (std::string line; std::getline(lines, line);) {
    const auto equals = line.find('=');
    if (equals != std::string::npos) values[line.substr(0, equals)] = line.substr(equals + 1);
  }
  return values;
}

std::pair<long, long> HeaderAndDecodedFrames(const std::string& path) {
  auto video = ProbeStream(path, 'v', "nb_frames,nb_read_frames");
  const auto number = [&](const char* key) { return video.count(key) ? std::stol(video[key]) : -1L; };
  return {number("nb_frames"), number("nb_read_frames")};
}

double ProbeDurationSeconds(const std::string& path) {
  const std::string text =
      RunCommand("ffprobe -v error -show_entries format=duration -of csv=p=0 '" + path + "' 2>/dev/null");
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  return end == text.c_str() ? -1 : seconds;
}

}  // namespace zr::testing
