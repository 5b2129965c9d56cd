#include "platform/linux/termination_signals.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include "platform/linux/poll_event_loop.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using namespace std::chrono_literals;

// Each case runs in a child process of its own: the block and the requests are the process's.
using zr::testing::InChild;

TEST(TerminationWatch, ARequestEndsTheRunsAtOnceThenBecomesAnEventOnTheLoop) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    EXPECT_EQ(InChild([signal] {
                BlockTerminationSignals();
                PollEventLoop loop;
                std::atomic<bool> runs_asked_to_end{false};
                int seen = 0;
                bool runs_asked_first = false;
                TerminationWatch watch(
                    loop, [&] { runs_asked_to_end = true; },
                    [&](int received) {
                      seen = received;
                      runs_asked_first = runs_asked_to_end;
                    });
                kill(getpid(), signal);
                const std::int64_t give_up_ms = loop.NowMs() + 5000;
                loop.RunModal([&] { return seen != 0 || loop.NowMs() > give_up_ms; });
                if (seen != signal) return 1;
                if (!runs_asked_first) return 2;
                return watch.Received() == signal ? 0 : 3;
              }),
              0)
        << TerminationSignalName(signal);
  }
}

TEST(TerminationWatch, ASecondRequestEndsTheProcessAtOnce) {
  EXPECT_EQ(InChild([] {
              BlockTerminationSignals();
              PollEventLoop loop;
              TerminationWatch watch(loop, nullptr, nullptr);
              kill(getpid(), SIGTERM);
              for (int look = 0; look < 5000 && watch.Received() == 0; ++look) std::this_thread::sleep_for(1ms);
              kill(getpid(), SIGHUP);
              std::this_thread::sleep_for(5s);
              return 0;
            }),
            128 + SIGHUP);
}

// The block is the process's, not its children's: a program it starts ends on a request.
TEST(TerminationWatch, AProgramTheProcessStartsStillEndsOnARequest) {
  EXPECT_EQ(InChild([] {
              BlockTerminationSignals();
              const pid_t sleeper = fork();
              if (sleeper == 0) {
                execlp("sleep", "sleep", "10", nullptr);
                _exit(127);
              }
              kill(sleeper, SIGTERM);
              int status = 0;
              waitpid(sleeper, &status, 0);
              return WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM ? 0 : 1;
            }),
            0);
}

}  // namespace
}  // namespace zr::platform::linux_impl
