// The serial ports: which nodes are offered and in what order, the modem lines and DTR through
// the system-call seam, and opening, reading and closing a real terminal (a pseudo-terminal).

#include "platform/linux/tty_serial_ports.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/serial.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string>
#include <vector>

namespace zr::platform::linux_impl {
namespace {

class FakeSerialSystem final : public SerialSystem {
 public:
  struct Node {
    int uart = PORT_16550A;
    int lines = 0;  // TIOCM_* bits
    int open_error = 0;
    bool terminal = true;
  };
  std::map<std::string, std::vector<std::string>> folders;
  std::map<std::string, std::string> links;
  std::map<std::string, Node> nodes;
  std::map<int, std::string> open;

  std::vector<std::string> ListFolder(const std::string& folder) override { return folders[folder]; }
  std::string LinkTarget(const std::string& path) override { return links.count(path) ? links[path] : ""; }
  int Open(const std::string& path, int) override {
    const auto node = nodes.find(path);
    const int error = node == nodes.end() ? ENOENT : node->second.open_error;
    if (error != 0) return errno = error, -1;
    open[next_fd_] = path;
    return next_fd_++;
  }
  int Close(int fd) override { return open.erase(fd) == 1 ? 0 : (errno = EBADF, -1); }
  int Ioctl(int fd, unsigned long request, void* argument) override {
    Node& node = nodes.at(open.at(fd));
    if (!node.terminal) return errno = ENOTTY, -1;
    if (request == TIOCGSERIAL) static_cast<serial_struct*>(argument)->type = node.uart;
    if (request == TIOCMBIS) node.lines |= *static_cast<int*>(argument);
    if (request == TIOCMGET) *static_cast<int*>(argument) = node.lines;
    return 0;
  }

 private:
  int next_fd_ = 3;
};

TEST(TtySerialPorts, OffersByIdNamesThenRealUartsThenAdaptersNoByIdNameLeadsTo) {
  FakeSerialSystem system;
  system.folders["/dev/serial/by-id"] = {"usb-Switch_B-port0", "usb-Switch_A-port0"};
  system.links = {{"/dev/serial/by-id/usb-Switch_A-port0", "/dev/ttyUSB1"},
                  {"/dev/serial/by-id/usb-Switch_B-port0", "/dev/ttyACM0"}};
  system.folders["/dev"] = {"ttyS10",  "ttyS2",   "ttyS1",        "ttyS3", "ttyUSB1", "ttyUSB0",
                            "ttyACM0", "ttyACM1", "ttyUSBserial", "tty0",  "video0"};
  for (const char* node : {"/dev/ttyS10", "/dev/ttyS2", "/dev/ttyUSB0", "/dev/ttyUSB1", "/dev/ttyACM0", "/dev/ttyACM1"})
    system.nodes[node];
  system.nodes["/dev/ttyS1"].uart = PORT_UNKNOWN;  // no UART behind it
  system.nodes["/dev/ttyS3"].open_error = EACCES;  // cannot be told apart
  auto ports = MakeTtySerialPorts(system);
  EXPECT_EQ(ports->Enumerate(),
            (std::vector<std::string>{"/dev/serial/by-id/usb-Switch_A-port0", "/dev/serial/by-id/usb-Switch_B-port0",
                                      "/dev/ttyS2", "/dev/ttyS10", "/dev/ttyUSB0", "/dev/ttyACM1"}));
  EXPECT_TRUE(system.open.empty()) << "every port looked at is closed again";
}

TEST(TtySerialPorts, AnOpenPortRaisesDtrReadsCtsAndDsrAndClosesWhenLetGo) {
  FakeSerialSystem system;
  auto& node = system.nodes["/dev/ttyUSB0"];
  system.nodes["/dev/null"].terminal = false;
  system.nodes["/dev/ttyUSB1"].open_error = EACCES;
  auto ports = MakeTtySerialPorts(system);
  {
    auto line = ports->Open("/dev/ttyUSB0");
    ASSERT_TRUE(line.ok()) << line.error().message;
    ASSERT_TRUE((*line)->RaiseDtr().ok());
    EXPECT_EQ(node.lines, TIOCM_DTR);
    for (const auto& [bits, cts, dsr] :
         {std::tuple{0, false, false}, std::tuple{TIOCM_CTS, true, false},
          std::tuple{TIOCM_DSR | TIOCM_RI, false, true}, std::tuple{TIOCM_CTS | TIOCM_DSR, true, true}}) {
      node.lines = bits;
      const auto read = (*line)->ReadLines();
      ASSERT_TRUE(read.ok());
      EXPECT_EQ(read->cts, cts) << bits;
      EXPECT_EQ(read->dsr, dsr) << bits;
    }
    EXPECT_EQ(system.open.size(), 1u);
  }
  EXPECT_TRUE(system.open.empty());
  EXPECT_EQ(ports->Open("/dev/ttyUSB1").error().message, "Cannot open /dev/ttyUSB1: Permission denied");
  EXPECT_EQ(ports->Open("/dev/null").error().message, "/dev/null is not a serial port");
  EXPECT_TRUE(system.open.empty());
}

// A pseudo-terminal opens and closes like a port; it has no modem lines, which is told with its
// name. Files that are no terminal and missing names are refused with the reason.
TEST(TtySerialPorts, ARealTerminalOpensClosesAndSaysWhatItCannotDo) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(grantpt(master), 0);
  ASSERT_EQ(unlockpt(master), 0);
  const std::string name = ptsname(master);
  auto ports = MakeTtySerialPorts();
  const auto descriptors_before = [] {
    int count = 0;
    for (int fd = 0; fd < 1024; ++fd) count += fcntl(fd, F_GETFD) != -1 ? 1 : 0;
    return count;
  };
  const int before = descriptors_before();
  {
    auto line = ports->Open(name);
    ASSERT_TRUE(line.ok()) << line.error().message;
    EXPECT_EQ(descriptors_before(), before + 1);
    const auto read = (*line)->ReadLines();
    ASSERT_FALSE(read.ok());
    EXPECT_TRUE(read.error().message.starts_with("Cannot read the lines of " + name + ": ")) << read.error().message;
  }
  EXPECT_EQ(descriptors_before(), before);
  EXPECT_EQ(ports->Open("/dev/null").error().message, "/dev/null is not a serial port");
  EXPECT_EQ(ports->Open("/dev/ttyNone7").error().message, "Cannot open /dev/ttyNone7: No such file or directory");
  EXPECT_EQ(descriptors_before(), before);
  close(master);
}

}  // namespace
}  // namespace zr::platform::linux_impl
