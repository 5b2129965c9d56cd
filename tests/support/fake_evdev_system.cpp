#include "tests/support/fake_evdev_system.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>

namespace zr::testing {

namespace {

void SetBits(const std::set<int>& codes, void* argument, std::size_t bytes) {
  auto* bits = static_cast<std::uint8_t*>(argument);
  std::memset(bits, 0, bytes);
  for (const int code : codes)
    if (static_cast<std::size_t>(code) / CHAR_BIT < bytes)
      bits[static_cast<std::size_t>(code) / CHAR_BIT] |= static_cast<std::uint8_t>(1U << (code % CHAR_BIT));
}

input_event Event(int type, int code, int value) {
  input_event event{};
  event.type = static_cast<__u16>(type);
  event.code = static_cast<__u16>(code);
  event.value = value;
  return event;
}

int Fail(int error) {
  errno = error;
  return -1;
}

}  // namespace

void FakeEvdevSystem::AddDevice(const std::string& path, FakeEvdevDevice device) {
  std::lock_guard lock(mutex_);
  nodes_[path] = Node{std::move(device), false};
}

void FakeEvdevSystem::Queue(const std::string& path, std::initializer_list<input_event> events) {
  for (auto& [fd, file] : files_)
    if (file.path == path) file.events.insert(file.events.end(), events);
  changed_.notify_all();
}

void FakeEvdevSystem::SendKey(const std::string& path, int code, bool down) {
  std::lock_guard lock(mutex_);
  auto& pressed = nodes_.at(path).device.pressed;
  if (down)
    pressed.insert(code);
  else
    pressed.erase(code);
  Queue(path, {Event(EV_KEY, code, down ? 1 : 0), Event(EV_SYN, SYN_REPORT, 0)});
}

void FakeEvdevSystem::LoseEvents(const std::string& path, std::set<int> pressed) {
  std::lock_guard lock(mutex_);
  nodes_.at(path).device.pressed = std::move(pressed);
  Queue(path, {Event(EV_SYN, SYN_DROPPED, 0)});
}

void FakeEvdevSystem::Unplug(const std::string& path) {
  std::lock_guard lock(mutex_);
  nodes_.at(path).unplugged = true;
  changed_.notify_all();
}

int FakeEvdevSystem::OpenFiles() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(files_.size());
}

std::vector<std::string> FakeEvdevSystem::ListEventNodes() {
  std::lock_guard lock(mutex_);
  std::vector<std::string> paths;
  for (const auto& [path, node] : nodes_)
    if (!node.unplugged) paths.push_back(path);
  return paths;
}

int FakeEvdevSystem::Open(const std::string& path, int) {
  std::lock_guard lock(mutex_);
  const auto node = nodes_.find(path);
  if (node == nodes_.end() || node->second.unplugged) return Fail(ENOENT);
  if (node->second.device.open_error) return Fail(node->second.device.open_error);
  files_[next_fd_] = File{path, {}};
  return next_fd_++;
}

int FakeEvdevSystem::Close(int fd) {
  std::lock_guard lock(mutex_);
  return files_.erase(fd) ? 0 : Fail(EBADF);
}

FakeEvdevSystem::File* FakeEvdevSystem::FileOf(int fd) {
  const auto file = files_.find(fd);
  return file == files_.end() ? nullptr : &file->second;
}

int FakeEvdevSystem::Ioctl(int fd, unsigned long request, void* argument) {
  std::lock_guard lock(mutex_);
  File* file = FileOf(fd);
  if (!file) return Fail(EBADF);
  const Node& node = nodes_.at(file->path);
  if (node.unplugged) return Fail(ENODEV);
  const auto size = static_cast<std::size_t>(_IOC_SIZE(request));
  if (request == EVIOCGBIT(EV_KEY, size)) {
    SetBits(node.device.keys, argument, size);
  } else if (request == EVIOCGKEY(size)) {
    SetBits(node.device.pressed, argument, size);
  } else if (request == EVIOCGNAME(size)) {
    std::strncpy(static_cast<char*>(argument), node.device.name.c_str(), size);
  } else {
    return Fail(ENOTTY);
  }
  return 0;
}

ssize_t FakeEvdevSystem::Read(int fd, void* buffer, std::size_t size) {
  std::lock_guard lock(mutex_);
  File* file = FileOf(fd);
  if (!file) return Fail(EBADF);
  if (nodes_.at(file->path).unplugged) return Fail(ENODEV);
  if (file->events.empty()) return Fail(EAGAIN);
  auto* events = static_cast<input_event*>(buffer);
  std::size_t count = 0;
  for (; count < size / sizeof(input_event) && !file->events.empty(); ++count) {
    events[count] = file->events.front();
    file->events.pop_front();
  }
  return static_cast<ssize_t>(count * sizeof(input_event));
}

int FakeEvdevSystem::Poll(pollfd& entry, int timeout_ms) {
  std::unique_lock lock(mutex_);
  const auto ready = [&] {
    File* file = FileOf(entry.fd);
    return !file || nodes_.at(file->path).unplugged || !file->events.empty();
  };
  if (!changed_.wait_for(lock, std::chrono::milliseconds(timeout_ms), ready)) return 0;
  File* file = FileOf(entry.fd);
  entry.revents = !file ? POLLNVAL : nodes_.at(file->path).unplugged ? POLLERR : POLLIN;
  return 1;
}

}  // namespace zr::testing
