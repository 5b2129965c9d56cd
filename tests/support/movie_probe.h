#pragma once
// What the ffmpeg tools see in a movie, for tests that check files with a reader other than
// the program's own.

#include <map>
#include <string>
#include <utility>

namespace zr::testing {

// Runs a shell command and gives what it wrote on its standard output.
std::string RunCommand(const std::string& command);

// ffprobe's key=value entries (e.g. "nb_read_frames,width,height") of the first stream of a kind
// ('v' video, 'a' audio), frames counted by decoding; empty when there is no such stream.
std::map<std::string, std::string> ProbeStream(const std::string& path, char kind, const std::string& entries);

// The frames the movie's headers count and the frames ffprobe decodes in it; -1 for what it
// cannot tell.
std::pair<long, long> HeaderAndDecodedFrames(const std::string& path);

// The duration of the whole movie in seconds, as ffprobe reads it; -1 when it cannot.
double ProbeDurationSeconds(const std::string& path);

}  // namespace zr::testing
