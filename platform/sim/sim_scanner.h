#pragma once
// The scanners of the scenario world: "Test Scanner" unless a scenario names others. A scan
// delivers a picture of the scanner's page in four bands: posted to the loop one after another,
// or one band each `band_ms` of virtual time, so that a scenario can cancel it halfway.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/event_loop.h"
#include "platform/scanner.h"

namespace zr::platform::sim {

struct SimScannerDevice {
  std::string name;
  int width = 157;   // the page of SANE's test scanner at its 50 dots an inch
  int height = 196;  // pixels
  int band_ms = 0;
  std::string failure;  // the device's words when the scan fails, empty for none
};

class SimScanners final : public Scanners {
 public:
  SimScanners(EventLoop& loop, std::function<void(std::string)> log) : loop_(loop), log_(std::move(log)) {}

  std::vector<SimScannerDevice> devices{SimScannerDevice{"Test Scanner", 157, 196, 0, ""}};

  std::vector<ScannerSource> Sources() override;
  std::unique_ptr<ScanJob> Scan(const std::string& id, std::function<void(int percent)> progress,
                                std::function<void(ScanResult)> done) override;

 private:
  EventLoop& loop_;
  std::function<void(std::string)> log_;
};

// The picture a simulated scanner delivers: a diagonal ramp, red across, green down.
Picture SimScannedPage(int width, int height);

}  // namespace zr::platform::sim
