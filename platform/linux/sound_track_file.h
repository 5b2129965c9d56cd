#pragma once
// A movie's sound track saved as a wave file: decoded with FFmpeg and written as 16-bit PCM at
// the track's own rate and channels. The header's sizes are written when the track has ended,
// so a save cut short leaves a file whose header claims no samples.

#include <functional>
#include <string>

#include "base/result.h"

namespace zr::platform::linux_impl {

Result<void> SaveSoundTrack(const std::string& movie, const std::string& wave, const std::function<bool()>& cancelled);

}  // namespace zr::platform::linux_impl
