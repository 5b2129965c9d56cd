// The picture server as browsers use it: the program itself without windows,
//   zandrell --headless --webshare PORT --app-path FOLDER
// serving stills of the built-in camera at 640x480 and JPEG quality 75 (settings of the
// benchmark's own), asked for one client after another and by 8 clients at once, against
// `python3 -m http.server` serving a static JPEG of the same size in the same run.
// Every answer is read to its end and must be a whole JPEG answer. The program's CPU time is read
// from /proc/PID/stat, its resident memory before the first and after the last request.
// Targets: at least 0.5 times the static server's requests a second in both runs, at least 200
// requests a second for each second of the program's CPU time, and resident memory growing less
// than 5 MB over all the requests (10,000 by default).
// Then hostile clients: 1,000 requests of garbage (each answered with a picture), 200 clients
// that send half a request line and wait (beyond the 64 connections the server holds; all are
// dropped within its 10 s deadline), then 2,000 picture requests, all answered whole, with the
// resident memory within 10 MB of where it was before the hostile clients.
//
// Usage: picture_server_bench [REQUESTS]   (default 10000, at least 100; half one after another,
//                                            half from 8 clients at once)

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_support.h"

namespace {

constexpr int kClientsAtOnce = 8;
constexpr double kThroughputRatioTarget = 0.5;
constexpr double kRequestsPerCpuSecondTarget = 200;
constexpr double kMemoryGrowthTargetMb = 5;
constexpr int kGarbageRequests = 1000;
constexpr int kSlowClients = 200;
constexpr int kRequestsAfterHostileClients = 2000;
constexpr double kHostileMemoryTargetMb = 10;

int FreePort() {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
  close(probe);
  return ntohs(address.sin_port);
}

// One whole exchange on a fresh connection: the answer read to its end; empty when the server
// cannot be reached.
std::string Fetch(int port, const std::string& path) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  std::string answer;
  if (connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    const std::string request = "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
    if (send(client, request.data(), request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(request.size())) {
      char piece[65536];
      for (ssize_t got; (got = recv(client, piece, sizeof piece, 0)) > 0;)
        answer.append(piece, static_cast<std::size_t>(got));
    }
  }
  close(client);
  return answer;
}

// The connection of a client that sends half a request line and waits; -1 when it cannot connect.
int SlowClient(int port) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  if (connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      send(client, "GET /li", 7, MSG_NOSIGNAL) != 7) {
    close(client);
    return -1;
  }
  return client;
}

// Whether every slow client has been dropped within `seconds`: its read ends, or is reset (one
// beyond the limit is closed with its half line unread).
bool AllDropped(const std::vector<int>& clients, int seconds) {
  const timeval patience{seconds, 0};
  bool dropped = true;
  for (const int client : clients) {
    setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    char byte = 0;
    const ssize_t got = recv(client, &byte, 1, 0);
    dropped = dropped && (got == 0 || (got < 0 && errno == ECONNRESET));
    close(client);
  }
  return dropped;
}

bool IsWholeJpegAnswer(const std::string& answer) {
  const auto body = answer.find("\r\n\r\n");
  return answer.starts_with("HTTP/1.") && answer.find(" 200 ") != std::string::npos && body != std::string::npos &&
         answer.compare(body + 4, 2, "\xFF\xD8") == 0 && answer.ends_with("\xFF\xD9");
}

struct Throughput {
  double requests_per_second = 0;
  int failed = 0;
};

// `requests` requests from `clients` clients at once, each on a connection of its own.
Throughput Load(int port, int requests, int clients) {
  std::atomic<int> next{0};
  std::atomic<int> failed{0};
  const auto started = std::chrono::steady_clock::now();
  std::vector<std::thread> threads;
  for (int client = 0; client < clients; ++client)
    threads.emplace_back([&] {
      for (int number; (number = next++) < requests;)
        if (!IsWholeJpegAnswer(Fetch(port, "/live.jpg?" + std::to_string(number)))) ++failed;
    });
  for (auto& thread : threads) thread.join();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  return {requests / seconds, failed.load()};
}

pid_t Start(const std::vector<std::string>& arguments, const std::filesystem::path& folder) {
  const pid_t pid = fork();
  if (pid == 0) {
    std::filesystem::current_path(folder);
    if (!std::freopen((folder / "output.txt").c_str(), "a", stdout)) _exit(127);
    if (!std::freopen((folder / "output.txt").c_str(), "a", stderr)) _exit(127);
    std::vector<char*> argv;
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  return pid;
}

bool WaitUntilServing(int port, const std::string& path) {
  for (int attempt = 0; attempt < 200; ++attempt) {
    if (IsWholeJpegAnswer(Fetch(port, path))) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

void Stop(pid_t pid) {
  kill(pid, SIGTERM);
  int status = 0;
  waitpid(pid, &status, 0);
}

// User and system time of the process so far.
double ProcessCpuSeconds(pid_t pid) {
  std::ifstream stat_file("/proc/" + std::to_string(pid) + "/stat");
  const std::string stat((std::istreambuf_iterator<char>(stat_file)), std::istreambuf_iterator<char>());
  const auto name_end = stat.rfind(')');
  if (name_end == std::string::npos) return 0;
  std::istringstream fields(stat.substr(name_end + 2));
  std::string skipped;
  for (int field = 3; field < 14; ++field) fields >> skipped;
  double user = 0, system = 0;
  fields >> user >> system;
  return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace

int main(int argc, char** argv) {
  using namespace zr::bench;
  const int requests = argc > 1 ? std::max(100, std::atoi(argv[1])) : 10000;
  const int one_by_one = requests / 2;
  const int at_once = requests - one_by_one;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-picture-server-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder / "static");
  UseSettingsIn(folder / "config", "640x480", 30);
  {
    zr::platform::linux_impl::IniSettingsStore settings(zr::platform::linux_impl::DefaultSettingsFolder());
    zr::SaveSetting(settings, zr::settings::WebShareQuality, "75");
  }

  const std::string program = (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "zandrell").string();
  const int our_port = FreePort();
  const pid_t ours = Start(
      {program, "--headless", "--webshare", std::to_string(our_port), "--app-path", folder.string() + "/"}, folder);
  if (!WaitUntilServing(our_port, "/live")) {
    std::printf("picture server: the program does not serve pictures on port %d (see %s)\n", our_port,
                (folder / "output.txt").c_str());
    Stop(ours);
    return 1;
  }
  // The static server's file: one of the program's own pictures.
  const std::string sample = Fetch(our_port, "/live");
  std::ofstream(folder / "static" / "live.jpg", std::ios::binary) << sample.substr(sample.find("\r\n\r\n") + 4);

  const double memory_before = ResidentMegabytes(ours);
  const double cpu_before = ProcessCpuSeconds(ours);
  const Throughput our_sequential = Load(our_port, one_by_one, 1);
  const Throughput our_parallel = Load(our_port, at_once, kClientsAtOnce);
  const double cpu_used = ProcessCpuSeconds(ours) - cpu_before;
  const double memory_after = ResidentMegabytes(ours);

  int garbage_answered = 0;
  for (int each = 0; each < kGarbageRequests; ++each)
    garbage_answered += IsWholeJpegAnswer(Fetch(our_port, "\x01\x02 garbage " + std::to_string(each))) ? 1 : 0;
  std::vector<int> slow;
  for (int each = 0; each < kSlowClients; ++each) slow.push_back(SlowClient(our_port));
  const bool slow_dropped = AllDropped(slow, 15);
  const Throughput after_hostile = Load(our_port, kRequestsAfterHostileClients, kClientsAtOnce);
  const double memory_after_hostile = ResidentMegabytes(ours);
  Stop(ours);

  const int their_port = FreePort();
  const pid_t theirs = Start({"python3", "-m", "http.server", std::to_string(their_port), "--bind", "127.0.0.1",
                              "--directory", (folder / "static").string()},
                             folder);
  Throughput their_sequential, their_parallel;
  const bool static_ran = WaitUntilServing(their_port, "/live.jpg");
  if (static_ran) {
    their_sequential = Load(their_port, one_by_one, 1);
    their_parallel = Load(their_port, at_once, kClientsAtOnce);
  }
  Stop(theirs);

  const double per_cpu_second = cpu_used > 0 ? requests / cpu_used : 0;
  const double growth = memory_after - memory_before;
  std::printf(
      "picture server, built-in camera at 640x480, quality 75, %d requests (%d one after another, %d from %d "
      "clients at once)\n",
      requests, one_by_one, at_once, kClientsAtOnce);
  std::printf("  one after another     %.0f requests/s, %d failed\n", our_sequential.requests_per_second,
              our_sequential.failed);
  std::printf("  8 at once             %.0f requests/s, %d failed\n", our_parallel.requests_per_second,
              our_parallel.failed);
  bool ratio_met = false;
  if (static_ran) {
    const double sequential_ratio = our_sequential.requests_per_second / their_sequential.requests_per_second;
    const double parallel_ratio = our_parallel.requests_per_second / their_parallel.requests_per_second;
    ratio_met = sequential_ratio >= kThroughputRatioTarget && parallel_ratio >= kThroughputRatioTarget;
    std::printf("  static server         %.0f and %.0f requests/s (python3 -m http.server, %zu-byte file)\n",
                their_sequential.requests_per_second, their_parallel.requests_per_second,
                std::filesystem::file_size(folder / "static" / "live.jpg"));
    std::printf("  ratios                %.2f and %.2f  (target at least %.1f)\n", sequential_ratio, parallel_ratio,
                kThroughputRatioTarget);
  } else {
    std::printf("  python3 -m http.server could not run\n");
  }
  std::printf("  per CPU second        %.0f requests (%.2f s of CPU; target at least %.0f)\n", per_cpu_second, cpu_used,
              kRequestsPerCpuSecondTarget);
  std::printf("  memory growth         %.1f MB       (target under %.0f MB; %.1f MB before, %.1f MB after)\n", growth,
              kMemoryGrowthTargetMb, memory_before, memory_after);
  const double hostile_growth = memory_after_hostile - memory_after;
  std::printf(
      "  hostile clients       %d of %d garbage requests answered with a picture, %d slow clients %s,\n"
      "                        then %d of %d picture requests answered; memory %+.1f MB (target within %.0f MB)\n",
      garbage_answered, kGarbageRequests, kSlowClients, slow_dropped ? "all dropped" : "NOT all dropped",
      kRequestsAfterHostileClients - after_hostile.failed, kRequestsAfterHostileClients, hostile_growth,
      kHostileMemoryTargetMb);
  const bool hostile_met = garbage_answered == kGarbageRequests && slow_dropped && after_hostile.failed == 0 &&
                           hostile_growth < kHostileMemoryTargetMb;
  const bool met = our_sequential.failed == 0 && our_parallel.failed == 0 && ratio_met &&
                   per_cpu_second >= kRequestsPerCpuSecondTarget && growth < kMemoryGrowthTargetMb && hostile_met;
  std::printf("  verdict               %s\n", met ? "met" : "missed");
  std::filesystem::remove_all(folder);
  return met ? 0 : 1;
}
