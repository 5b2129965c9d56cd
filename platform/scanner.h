#pragma once
// The scanners of the machine: the sources the operator chooses among, and a scan of a whole
// page at the source's own resolution in colour, away from the logic thread.
//
// Threads: every call on the logic thread; `progress` and `done` arrive on the logic thread,
// through the event loop, never inside `Scan` itself.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/picture.h"

namespace zr::platform {

// A scanner: the name the system knows it by, and the name the operator sees.
struct ScannerSource {
  std::string id;
  std::string name;
};

// How a scan ended: a picture, the operator's cancel (no picture, no failure), or the device's
// own words for what went wrong.
struct ScanResult {
  std::shared_ptr<const Picture> picture;
  std::string failure;
};

// A scan under way. Cancel asks the device to stop; `done` still comes, without a picture.
// Destroying the job stops the scan and waits for it; nothing is called after that.
class ScanJob {
 public:
  virtual ~ScanJob() = default;
  virtual void Cancel() = 0;
};

class Scanners {
 public:
  virtual ~Scanners() = default;
  // The scanners found now; empty on a machine without any.
  virtual std::vector<ScannerSource> Sources() = 0;
  // Scans the page of the source `id`; `progress` gets the share done in percent.
  virtual std::unique_ptr<ScanJob> Scan(const std::string& id, std::function<void(int percent)> progress,
                                        std::function<void(ScanResult)> done) = 0;
};

}  // namespace zr::platform
