#pragma once
// Replacing a file so that a crash leaves the old file or the new one, never half of one: the
// text goes to a temporary file in the same folder, is synced, and the temporary is renamed
// over the target. Used by the settings store and the parameter files.

#include <string>

#include "base/result.h"

namespace zr::platform {

enum class NewFileMode {
  Private,       // 0600 whatever the umask: files that only the user may read
  KeepExisting,  // a replaced file keeps its mode; a new one gets 0666 less the umask
};

// On failure nothing is left behind and the old file, if any, stays as it was.
Result<void> ReplaceFileAtomically(const std::string& path, const std::string& text, NewFileMode mode);

}  // namespace zr::platform
