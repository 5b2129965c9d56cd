// The simulated FTP server: how it treats the program's uploads (`ftp-server`) and the
// expectations on what it received and the commands it logged. The runner does not carry these
// out yet; a scenario that uses them fails at that line.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner&, const FtpServer&) { NotYetSupported("ftp-server"); }
void Do(Runner&, const ExpectFtpReceived&) { NotYetSupported("expect ftp"); }
void Do(Runner&, const ExpectFtpLog&) { NotYetSupported("expect ftp"); }

}  // namespace

void AddFtpSteps(StepTable& steps) {
  steps.On<FtpServer>(Do);
  steps.On<ExpectFtpReceived>(Do);
  steps.On<ExpectFtpLog>(Do);
}

}  // namespace zr::scenario
