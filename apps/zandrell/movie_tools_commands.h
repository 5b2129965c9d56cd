#pragma once
// The movie window's long tools without windows: every frame of a movie saved as the window
// names its pictures, and a movie recompressed with one of our compressors, its sound saved
// beside it. Progress goes to standard error; each returns the process's exit status.

#include <optional>
#include <string>
#include <vector>

namespace zr {

// The entry of `names` that is `wanted` (any case), or else the first that holds it.
std::optional<std::size_t> EntryNamed(const std::vector<std::string>& names, const std::string& wanted);

int ExtractFramesWithoutWindows(const std::string& movie, const std::string& name);
int RecompressWithoutWindows(const std::string& movie, const std::string& target, const std::string& codec);
// The movie as a standard DV stream file beside it (PAL or NTSC by its rate), as the DV export
// writes it when no DV deck takes the movie.
int ExportDvWithoutWindows(const std::string& movie);

}  // namespace zr
