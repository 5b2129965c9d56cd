#pragma once
// The scanners through SANE. The built-in devices offer SANE's test scanner as "Test Scanner":
// where the environment names no configuration of its own, the program points SANE at a
// configuration folder it makes, whose backend list is the system's with the test backend
// added. Only the machine's own scanners are listed (network scanners would hold the list up).
//
// Threads: every call on the logic thread; a scan reads on a thread of its own and posts its
// progress and its end to the loop. SANE is called by one thread at a time.

#include <memory>
#include <string>

#include "platform/event_loop.h"
#include "platform/scanner.h"

namespace zr::platform::linux_impl {

std::unique_ptr<Scanners> MakeSaneScanners(EventLoop& loop);

// The name the operator sees for a SANE device: "Test Scanner" for the first device of the test
// backend, the maker and model for the others; empty for a device not offered.
std::string SaneSourceName(const std::string& device, const std::string& vendor, const std::string& model);

}  // namespace zr::platform::linux_impl
