#include "platform/linux/sane_scanners.h"

#include <sane/sane.h>
#include <sane/saneopts.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "image/picture_limits.h"

namespace zr::platform::linux_impl {

namespace {

namespace fs = std::filesystem;

// SANE keeps global state and is not safe from two threads at once.
std::mutex& SaneLock() {
  static std::mutex lock;
  return lock;
}

std::string StatusText(SANE_Status status) { return sane_strstatus(status); }

// The configuration with the test backend added: the system's backend list, then "test".
// Nothing where the environment chose a configuration of its own.
class TestBackendConfiguration {
 public:
  TestBackendConfiguration() {
    if (getenv("SANE_CONFIG_DIR") != nullptr) return;
    std::string pattern = (fs::temp_directory_path() / "zandrell-sane-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) return;
    folder_ = pattern;
    std::ofstream list(folder_ / "dll.conf");
    std::ifstream system_list("/etc/sane.d/dll.conf");
    list << system_list.rdbuf() << "\ntest\n";
    // The trailing separator keeps the system's folders for each backend's own file.
    setenv("SANE_CONFIG_DIR", (folder_.string() + ":").c_str(), 1);
  }
  ~TestBackendConfiguration() {
    if (folder_.empty()) return;
    unsetenv("SANE_CONFIG_DIR");
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  TestBackendConfiguration(const TestBackendConfiguration&) = delete;
  TestBackendConfiguration& operator=(const TestBackendConfiguration&) = delete;

 private:
  fs::path folder_;
};

// The scan mode option set to colour, where the device offers it; the device's default stays
// otherwise, as it does for the resolution and the page.
void ChooseColour(SANE_Handle handle) {
  for (SANE_Int index = 1;; ++index) {
    const SANE_Option_Descriptor* option = sane_get_option_descriptor(handle, index);
    if (option == nullptr) return;
    if (option->name == nullptr || std::strcmp(option->name, SANE_NAME_SCAN_MODE) != 0) continue;
    if (option->type != SANE_TYPE_STRING || option->constraint_type != SANE_CONSTRAINT_STRING_LIST ||
        !SANE_OPTION_IS_SETTABLE(option->cap))
      return;
    for (const SANE_String_Const* mode = option->constraint.string_list; *mode != nullptr; ++mode) {
      if (std::strcmp(*mode, SANE_VALUE_SCAN_MODE_COLOR) != 0) continue;
      std::vector<char> value(static_cast<std::size_t>(std::max<SANE_Int>(option->size, 16)));
      std::strncpy(value.data(), *mode, value.size() - 1);
      sane_control_option(handle, index, SANE_ACTION_SET_VALUE, value.data(), nullptr);
      return;
    }
    return;
  }
}

// One row as the device sends it (RGB or grey, 8 or 16 bits) into the picture's BGR row.
void StoreRow(const SANE_Parameters& parameters, const std::uint8_t* row, std::uint8_t* bgr, int width) {
  const int bytes = parameters.depth == 16 ? 2 : 1;
  const bool colour = parameters.format == SANE_FRAME_RGB;
  for (int column = 0; column < width; ++column) {
    for (int channel = 0; channel < 3; ++channel) {
      const int sample = colour ? column * 3 + channel : column;
      // 16-bit samples come in the machine's order; the high byte is kept.
      const std::uint8_t* at = row + sample * bytes;
      const std::uint8_t value = bytes == 2 ? static_cast<std::uint8_t>((at[0] | (at[1] << 8)) >> 8) : at[0];
      bgr[column * 3 + (2 - channel)] = value;
    }
  }
}

struct JobState {
  bool alive = true;  // read and written on the logic thread only
  std::function<void(int)> progress;
  std::function<void(ScanResult)> done;
};

class SaneScanJob final : public ScanJob {
 public:
  SaneScanJob(EventLoop& loop, std::string device, std::function<void(int)> progress,
              std::function<void(ScanResult)> done)
      : loop_(loop), state_(std::make_shared<JobState>(JobState{true, std::move(progress), std::move(done)})) {
    thread_ = std::thread([this, device = std::move(device), state = state_] {
      ScanResult result = Run(device, state);
      loop_.Post([state, result = std::move(result)]() mutable {
        if (state->alive) state->done(std::move(result));
      });
    });
  }
  ~SaneScanJob() override {
    state_->alive = false;
    cancelled_ = true;
    thread_.join();
  }

  void Cancel() override { cancelled_ = true; }

 private:
  ScanResult Run(const std::string& device, const std::shared_ptr<JobState>& state) {
    std::lock_guard<std::mutex> lock(SaneLock());
    if (cancelled_) return ScanResult{};
    SANE_Handle handle = nullptr;
    if (const SANE_Status status = sane_open(device.c_str(), &handle); status != SANE_STATUS_GOOD)
      return ScanResult{nullptr, StatusText(status)};
    ChooseColour(handle);
    ScanResult result = ReadPage(handle, state);
    sane_cancel(handle);
    sane_close(handle);
    return result;
  }

  ScanResult ReadPage(SANE_Handle handle, const std::shared_ptr<JobState>& state) {
    if (const SANE_Status status = sane_start(handle); status != SANE_STATUS_GOOD)
      return ScanResult{nullptr, StatusText(status)};
    SANE_Parameters parameters{};
    if (const SANE_Status status = sane_get_parameters(handle, &parameters); status != SANE_STATUS_GOOD)
      return ScanResult{nullptr, StatusText(status)};
    const bool known_height = parameters.lines > 0;
    const int width = parameters.pixels_per_line;
    const int samples = parameters.format == SANE_FRAME_RGB ? 3 : 1;
    if ((parameters.format != SANE_FRAME_RGB && parameters.format != SANE_FRAME_GRAY) ||
        (parameters.depth != 8 && parameters.depth != 16) || width <= 0 || width > kMaxPictureSide ||
        parameters.lines > kMaxPictureSide || parameters.bytes_per_line < width * samples * (parameters.depth / 8))
      return ScanResult{nullptr, "Unsupported picture format"};

    const auto row_bytes = static_cast<std::size_t>(parameters.bytes_per_line);
    std::vector<std::uint8_t> rows;  // top-down, as the device sends them
    if (known_height) rows.reserve(row_bytes * static_cast<std::size_t>(parameters.lines));
    const std::size_t limit = row_bytes * static_cast<std::size_t>(known_height ? parameters.lines : kMaxPictureSide);
    std::vector<SANE_Byte> buffer(64 * 1024);
    int shown = -1;
    for (;;) {
      if (cancelled_) return ScanResult{};
      SANE_Int length = 0;
      const SANE_Status status = sane_read(handle, buffer.data(), static_cast<SANE_Int>(buffer.size()), &length);
      if (status == SANE_STATUS_EOF) break;
      if (status == SANE_STATUS_CANCELLED) return ScanResult{};
      if (status != SANE_STATUS_GOOD) return ScanResult{nullptr, StatusText(status)};
      const std::size_t take = std::min(static_cast<std::size_t>(length), limit - rows.size());
      rows.insert(rows.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(take));
      if (known_height) {
        const int percent = static_cast<int>(rows.size() * 100 / limit);
        if (percent != shown) {
          shown = percent;
          loop_.Post([state, percent] {
            if (state->alive) state->progress(percent);
          });
        }
      }
      if (rows.size() == limit) break;
    }
    const int height = static_cast<int>(rows.size() / row_bytes);
    if (height == 0) return ScanResult{nullptr, "The scanner sent no picture"};
    auto picture = std::make_shared<Picture>();
    picture->width = width;
    picture->height = height;
    picture->bottom_up_bgr.assign(Picture::BytesFor(width, height), 0);
    for (int row = 0; row < height; ++row)
      StoreRow(parameters, rows.data() + static_cast<std::size_t>(row) * row_bytes,
               picture->bottom_up_bgr.data() +
                   static_cast<std::size_t>(height - 1 - row) * static_cast<std::size_t>(picture->Stride()),
               width);
    return ScanResult{std::move(picture), ""};
  }

  EventLoop& loop_;
  std::shared_ptr<JobState> state_;
  std::atomic<bool> cancelled_{false};
  std::thread thread_;
};

class SaneScanners final : public Scanners {
 public:
  explicit SaneScanners(EventLoop& loop) : loop_(loop) {
    std::lock_guard<std::mutex> lock(SaneLock());
    SANE_Int version = 0;
    initialised_ = sane_init(&version, nullptr) == SANE_STATUS_GOOD;
  }
  ~SaneScanners() override {
    std::lock_guard<std::mutex> lock(SaneLock());
    if (initialised_) sane_exit();
  }
  SaneScanners(const SaneScanners&) = delete;
  SaneScanners& operator=(const SaneScanners&) = delete;

  std::vector<ScannerSource> Sources() override {
    std::vector<ScannerSource> sources;
    std::lock_guard<std::mutex> lock(SaneLock());
    const SANE_Device** devices = nullptr;
    if (!initialised_ || sane_get_devices(&devices, SANE_TRUE) != SANE_STATUS_GOOD) return sources;
    for (const SANE_Device** device = devices; *device != nullptr; ++device) {
      std::string name = SaneSourceName((*device)->name, (*device)->vendor, (*device)->model);
      if (!name.empty()) sources.push_back({(*device)->name, std::move(name)});
    }
    return sources;
  }

  std::unique_ptr<ScanJob> Scan(const std::string& id, std::function<void(int)> progress,
                                std::function<void(ScanResult)> done) override {
    return std::make_unique<SaneScanJob>(loop_, id, std::move(progress), std::move(done));
  }

 private:
  TestBackendConfiguration configuration_;
  EventLoop& loop_;
  bool initialised_ = false;
};

}  // namespace

std::string SaneSourceName(const std::string& device, const std::string& vendor, const std::string& model) {
  if (device.rfind("test:", 0) == 0) return device == "test:0" ? "Test Scanner" : "";
  return vendor + " " + model;
}

std::unique_ptr<Scanners> MakeSaneScanners(EventLoop& loop) { return std::make_unique<SaneScanners>(loop); }

}  // namespace zr::platform::linux_impl
