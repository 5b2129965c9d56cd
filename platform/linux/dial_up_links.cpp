#include "platform/linux/dial_up_links.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>

namespace zr::platform::linux_impl {

namespace {

constexpr std::chrono::milliseconds kClientTimeout{5000};
constexpr std::size_t kLongestListing = 256 * 1024;
constexpr std::array<std::string_view, 5> kPointToPointTypes = {"gsm", "cdma", "pppoe", "bluetooth", "adsl"};

// Runs the client with these arguments, no shell between, and gives what it wrote when it ended
// well within the timeout; nothing otherwise (a client that hangs is killed).
std::optional<std::string> RunClient(std::vector<std::string> arguments) {
  int pipe_ends[2];
  if (::pipe2(pipe_ends, O_CLOEXEC) != 0) return std::nullopt;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  const int spawned = ::posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(pipe_ends[1]);
  std::string output;
  bool whole = spawned == 0;
  const auto deadline = std::chrono::steady_clock::now() + kClientTimeout;
  while (whole) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    pollfd watched{pipe_ends[0], POLLIN, 0};
    if (left <= 0 || ::poll(&watched, 1, static_cast<int>(left)) <= 0) {
      whole = false;
      break;
    }
    char chunk[4096];
    const ssize_t got = ::read(pipe_ends[0], chunk, sizeof chunk);
    if (got <= 0) break;
    output.append(chunk, static_cast<std::size_t>(got));
    if (output.size() > kLongestListing) whole = false;
  }
  ::close(pipe_ends[0]);
  if (spawned != 0) return std::nullopt;
  if (!whole) ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!whole || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return output;
}

}  // namespace

std::vector<std::string> PointToPointLinks(std::string_view listing) {
  std::vector<std::string> links;
  while (!listing.empty()) {
    const std::size_t end = std::min(listing.find('\n'), listing.size());
    const std::string_view line = listing.substr(0, end);
    listing.remove_prefix(std::min(end + 1, listing.size()));
    std::string name;
    std::size_t at = 0;
    for (; at < line.size() && line[at] != ':'; ++at) {
      if (line[at] == '\\' && at + 1 < line.size()) ++at;
      name += line[at];
    }
    if (at >= line.size()) continue;
    const std::string_view type = line.substr(at + 1);
    if (std::find(kPointToPointTypes.begin(), kPointToPointTypes.end(), type) != kPointToPointTypes.end())
      links.push_back(std::move(name));
  }
  return links;
}

std::optional<std::vector<std::string>> NetworkManagerLinks::Active() {
  const auto listing = RunClient({"nmcli", "-t", "-f", "NAME,TYPE", "connection", "show", "--active"});
  if (!listing) return std::nullopt;
  return PointToPointLinks(*listing);
}

void NetworkManagerLinks::HangUp(const std::string& name) { RunClient({"nmcli", "connection", "down", "id", name}); }

}  // namespace zr::platform::linux_impl
