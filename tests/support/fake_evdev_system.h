#pragma once
// Played input event devices behind the system-call seam, callable from any thread: a device
// can refuse to open or go away; open files are counted.

#include <linux/input.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/evdev_system.h"

namespace zr::testing {

struct FakeEvdevDevice {
  std::string name = "Fake Pad";
  std::set<int> keys;     // the key codes the device has
  std::set<int> pressed;  // those held down now
  int open_error = 0;     // the errno every open answers with (EACCES), 0: opens
};

class FakeEvdevSystem final : public platform::linux_impl::EvdevSystem {
 public:
  void AddDevice(const std::string& path, FakeEvdevDevice device);
  // Key `code` goes down or up, followed by a report, as one packet of events.
  void SendKey(const std::string& path, int code, bool down);
  // The keys held become `pressed` while the kernel's queue is full: the events are lost, and the
  // reader is told to ask the device for its state.
  void LoseEvents(const std::string& path, std::set<int> pressed);
  // The device goes away: every call on its files fails with ENODEV, a poll with POLLERR.
  void Unplug(const std::string& path);
  int OpenFiles() const;

  std::vector<std::string> ListEventNodes() override;
  int Open(const std::string& path, int flags) override;
  int Close(int fd) override;
  int Ioctl(int fd, unsigned long request, void* argument) override;
  ssize_t Read(int fd, void* buffer, std::size_t size) override;
  int Poll(pollfd& entry, int timeout_ms) override;

 private:
  struct Node {
    FakeEvdevDevice device;
    bool unplugged = false;
  };
  struct File {
    std::string path;
    std::deque<input_event> events;
  };
  void Queue(const std::string& path, std::initializer_list<input_event> events);
  File* FileOf(int fd);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, Node> nodes_;
  std::map<int, File> files_;
  int next_fd_ = 100;
};

}  // namespace zr::testing
