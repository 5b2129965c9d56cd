#include "platform/sim/sim_scanner.h"

#include <algorithm>
#include <utility>

namespace zr::platform::sim {

namespace {

constexpr int kBands = 4;

// One scan: a band at each step, then the end. The steps are posted events, or the ticks of a
// timer on the virtual clock for a scanner with a pace; the job's liveness guards both.
class SimScanJob final : public ScanJob, public TimerClient {
 public:
  SimScanJob(EventLoop& loop, SimScannerDevice device, std::function<void(int)> progress,
             std::function<void(ScanResult)> done)
      : loop_(loop),
        device_(std::move(device)),
        progress_(std::move(progress)),
        done_(std::move(done)),
        alive_(std::make_shared<bool>(true)) {
    if (device_.band_ms > 0)
      loop_.StartTimer(*this, device_.band_ms);
    else
      PostStep();
  }
  ~SimScanJob() override {
    *alive_ = false;
    if (device_.band_ms > 0) loop_.StopTimer(*this);
  }

  void Cancel() override { cancelled_ = true; }
  void Fire() override { Step(); }

 private:
  void PostStep() {
    loop_.Post([this, alive = alive_] {
      if (*alive) Step();
    });
  }

  void Step() {
    if (finished_) return;
    if (cancelled_ || !device_.failure.empty()) {
      Finish();
      return;
    }
    ++band_;
    progress_(band_ * 100 / kBands);
    if (band_ == kBands)
      Finish();
    else if (device_.band_ms == 0)
      PostStep();
  }

  void Finish() {
    finished_ = true;
    if (device_.band_ms > 0) loop_.StopTimer(*this);
    ScanResult result;
    if (!device_.failure.empty())
      result.failure = device_.failure;
    else if (!cancelled_)
      result.picture = std::make_shared<const Picture>(SimScannedPage(device_.width, device_.height));
    // The end may destroy the job: nothing of it is touched after the call.
    auto done = std::move(done_);
    done(std::move(result));
  }

  EventLoop& loop_;
  SimScannerDevice device_;
  std::function<void(int)> progress_;
  std::function<void(ScanResult)> done_;
  std::shared_ptr<bool> alive_;
  int band_ = 0;
  bool cancelled_ = false;
  bool finished_ = false;
};

}  // namespace

std::vector<ScannerSource> SimScanners::Sources() {
  std::vector<ScannerSource> sources;
  for (const auto& device : devices) sources.push_back({device.name, device.name});
  return sources;
}

std::unique_ptr<ScanJob> SimScanners::Scan(const std::string& id, std::function<void(int percent)> progress,
                                           std::function<void(ScanResult)> done) {
  log_("ScanImage(" + id + ")");
  const auto device =
      std::find_if(devices.begin(), devices.end(), [&](const SimScannerDevice& each) { return each.name == id; });
  SimScannerDevice scanner = device != devices.end() ? *device : SimScannerDevice{id, 0, 0, 0, "Device not found"};
  return std::make_unique<SimScanJob>(loop_, std::move(scanner), std::move(progress), std::move(done));
}

Picture SimScannedPage(int width, int height) {
  Picture page{width, height, std::vector<std::uint8_t>(Picture::BytesFor(width, height))};
  for (int row = 0; row < height; ++row) {
    std::uint8_t* line = page.bottom_up_bgr.data() +
                         static_cast<std::size_t>(height - 1 - row) * static_cast<std::size_t>(page.Stride());
    for (int column = 0; column < width; ++column) {
      line[column * 3 + 0] = 128;
      line[column * 3 + 1] = static_cast<std::uint8_t>(row * 255 / std::max(1, height - 1));
      line[column * 3 + 2] = static_cast<std::uint8_t>(column * 255 / std::max(1, width - 1));
    }
  }
  return page;
}

}  // namespace zr::platform::sim
