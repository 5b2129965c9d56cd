#include "platform/linux/evdev_joystick.h"

#include <fcntl.h>
#include <linux/input.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdint>
#include <optional>
#include <thread>
#include <utility>

namespace zr::platform::linux_impl {
namespace {

// The joystick and game pad buttons: BTN_JOYSTICK up to the digitiser's tools.
constexpr int kFirstButtonCode = BTN_JOYSTICK;
constexpr int kEndButtonCode = BTN_DIGI;
// Bit 31 would make the state negative, which the program reads as no state.
constexpr int kMostButtons = 31;
constexpr int kPollTimeoutMs = 100;
constexpr std::size_t kEventsPerRead = 64;
constexpr std::size_t kNameBytes = 256;

using KeyBits = std::array<std::uint8_t, KEY_MAX / CHAR_BIT + 1>;

bool BitSet(const KeyBits& bits, int code) {
  const auto index = static_cast<std::size_t>(code);
  return ((static_cast<unsigned>(bits[index / CHAR_BIT]) >> (index % CHAR_BIT)) & 1U) != 0;
}

// An open event device, closed when it ends.
class EventFile {
 public:
  EventFile(EvdevSystem& system, const std::string& path)
      : system_(system), fd_(system.Open(path, O_RDONLY | O_NONBLOCK)) {}
  ~EventFile() {
    if (fd_ >= 0) system_.Close(fd_);
  }
  EventFile(const EventFile&) = delete;
  EventFile& operator=(const EventFile&) = delete;

  bool IsOpen() const { return fd_ >= 0; }
  int Fd() const { return fd_; }
  std::optional<KeyBits> Keys(unsigned long request) {
    KeyBits bits{};
    if (system_.Ioctl(fd_, request, bits.data()) < 0) return std::nullopt;
    return bits;
  }
  std::optional<KeyBits> Capabilities() { return Keys(EVIOCGBIT(EV_KEY, sizeof(KeyBits))); }
  std::optional<KeyBits> PressedKeys() { return Keys(EVIOCGKEY(sizeof(KeyBits))); }
  std::string Name() {
    std::array<char, kNameBytes> name{};
    if (system_.Ioctl(fd_, EVIOCGNAME(kNameBytes - 1), name.data()) < 0) return "";
    return std::string(name.data());
  }

 private:
  EvdevSystem& system_;
  int fd_;
};

// The device's buttons in the order of their codes: the code of button n is at n.
std::vector<int> ButtonCodes(const KeyBits& capabilities) {
  std::vector<int> codes;
  for (int code = kFirstButtonCode; code < kEndButtonCode && codes.size() < kMostButtons; ++code)
    if (BitSet(capabilities, code)) codes.push_back(code);
  return codes;
}

// The number that ends the node's path; -1 where there is none or it is out of range.
long NodeNumber(const std::string& path) {
  const auto digits = path.find_last_not_of("0123456789") + 1;
  long number = -1;
  std::from_chars(path.data() + digits, path.data() + path.size(), number);
  return number;
}

class EvdevJoystick final : public PostingJoystick {
 public:
  EvdevJoystick(EvdevSystem& system, EventLoop& loop, JoystickDevice device)
      : PostingJoystick(loop), system_(system), device_(std::move(device)) {
    reader_ = std::thread([this] { ReadButtons(); });
  }
  ~EvdevJoystick() override {
    stop_ = true;
    reader_.join();
  }
  EvdevJoystick(const EvdevJoystick&) = delete;
  EvdevJoystick& operator=(const EvdevJoystick&) = delete;

  std::string Name() const override { return device_.name; }

 private:
  // The reader thread: the state at the start, then every change of it, until the joystick
  // ends or the device goes away.
  void ReadButtons() {
    EventFile file(system_, device_.path);
    if (!file.IsOpen()) return;
    const auto capabilities = file.Capabilities();
    if (!capabilities) return;
    codes_ = ButtonCodes(*capabilities);
    if (!TakeStateFromDevice(file)) return;
    while (!stop_) {
      pollfd entry{file.Fd(), POLLIN, 0};
      const int ready = system_.Poll(entry, kPollTimeoutMs);
      if (ready < 0 && errno != EINTR) return;
      if (ready <= 0) continue;
      if ((entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return;
      if (!ReadEvents(file)) return;
    }
  }

  // The state as the device holds it now, posted when it differs from the last one posted.
  bool TakeStateFromDevice(EventFile& file) {
    const auto pressed = file.PressedKeys();
    if (!pressed) return false;
    pending_ = 0;
    for (std::size_t n = 0; n < codes_.size(); ++n)
      if (BitSet(*pressed, codes_[n])) pending_ |= 1 << n;
    PostWhenChanged();
    return true;
  }

  // Key events change the pending state; a report posts it. Events the kernel dropped for a
  // slow reader are made good by asking the device for its state.
  bool ReadEvents(EventFile& file) {
    std::array<input_event, kEventsPerRead> events{};
    const ssize_t bytes = system_.Read(file.Fd(), events.data(), sizeof(events));
    if (bytes < 0) return errno == EAGAIN || errno == EINTR;
    const auto count = static_cast<std::size_t>(bytes) / sizeof(input_event);
    for (std::size_t i = 0; i < count; ++i) {
      const input_event& event = events[i];
      if (event.type == EV_KEY) ApplyKey(event.code, event.value != 0);
      if (event.type == EV_SYN && event.code == SYN_REPORT) PostWhenChanged();
      if (event.type == EV_SYN && event.code == SYN_DROPPED && !TakeStateFromDevice(file)) return false;
    }
    return bytes > 0;
  }

  void ApplyKey(int code, bool down) {
    const auto found = std::find(codes_.begin(), codes_.end(), code);
    if (found == codes_.end()) return;
    const int bit = 1 << (found - codes_.begin());
    pending_ = down ? (pending_ | bit) : (pending_ & ~bit);
  }

  void PostWhenChanged() {
    if (posted_ == pending_) return;
    posted_ = pending_;
    PostButtons(pending_);
  }

  EvdevSystem& system_;
  const JoystickDevice device_;
  std::atomic<bool> stop_{false};
  // The reader thread's own.
  std::vector<int> codes_;
  int pending_ = 0;
  std::optional<int> posted_;
  std::thread reader_;
};

}  // namespace

std::vector<JoystickDevice> FindJoysticks(EvdevSystem& system) {
  std::vector<std::string> nodes = system.ListEventNodes();
  std::sort(nodes.begin(), nodes.end(),
            [](const std::string& a, const std::string& b) { return NodeNumber(a) < NodeNumber(b); });
  std::vector<JoystickDevice> joysticks;
  for (const auto& path : nodes) {
    EventFile file(system, path);
    if (!file.IsOpen()) continue;
    const auto capabilities = file.Capabilities();
    if (capabilities && !ButtonCodes(*capabilities).empty()) joysticks.push_back({path, file.Name()});
  }
  return joysticks;
}

namespace {

std::unique_ptr<Joystick> OpenOneJoystick(EvdevSystem& system, EventLoop& loop, const std::string& wanted) {
  const auto joysticks = FindJoysticks(system);
  if (joysticks.empty()) return std::make_unique<NoJoystick>();
  const auto named = std::find_if(joysticks.begin(), joysticks.end(), [&](const JoystickDevice& device) {
    return !wanted.empty() && (device.path == wanted || device.name == wanted);
  });
  return std::make_unique<EvdevJoystick>(system, loop, named != joysticks.end() ? *named : joysticks.front());
}

// The joystick read now, which the operator may change for another; the listener goes over to
// the new one, which tells it its state.
class ChosenJoystick final : public Joystick {
 public:
  ChosenJoystick(EvdevSystem& system, EventLoop& loop, const std::string& wanted)
      : system_(system), loop_(loop), read_(OpenOneJoystick(system, loop, wanted)) {}

  std::string Name() const override { return read_->Name(); }
  void SetListener(ButtonsListener listener) override {
    listener_ = listener;
    read_->SetListener(std::move(listener));
  }
  std::vector<std::string> Found() const override {
    std::vector<std::string> names;
    for (const auto& device : FindJoysticks(system_)) names.push_back(device.name);
    return names;
  }
  void Use(const std::string& wanted) override {
    read_.reset();  // its reader thread ends before the device is opened again
    read_ = OpenOneJoystick(system_, loop_, wanted);
    read_->SetListener(listener_);
  }

 private:
  EvdevSystem& system_;
  EventLoop& loop_;
  std::unique_ptr<Joystick> read_;
  ButtonsListener listener_;
};

}  // namespace

std::unique_ptr<Joystick> OpenJoystick(EvdevSystem& system, EventLoop& loop, const std::string& wanted) {
  return std::make_unique<ChosenJoystick>(system, loop, wanted);
}

}  // namespace zr::platform::linux_impl
