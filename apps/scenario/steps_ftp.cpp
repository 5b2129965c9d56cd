// The simulated FTP server: how it treats the program's uploads (`ftp-server`) and the
// expectations on what it received and the commands it logged. A world without `ftp-server`
// has no server: every connection is refused.

#include "apps/scenario/comparisons.h"
#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner& runner, const FtpServer& options) {
  auto& server = runner.world().ftp;
  server.present = true;
  server.refuse_connect = options.refuse_connect;
  server.refused_folder = options.refused_folder.value_or("");
  server.refuse_file = options.refuse_file;
  server.delay_ms = options.delay.count();
}

std::string ServerSummary(const std::vector<std::string>& lines, const char* nothing) {
  std::string summary;
  for (const auto& line : lines) summary += (summary.empty() ? "" : " | ") + line;
  return summary.empty() ? nothing : Quoted(summary);
}

void Do(Runner& runner, const ExpectFtpReceived& expect) {
  const auto& received = runner.world().ftp.received;
  const std::string name = runner.Expand(expect.name);
  const auto file = received.find(name);
  if (file == received.end()) {
    std::vector<std::string> names;
    for (const auto& [path, bytes] : received) names.push_back(path);
    Fail("a file " + Quoted(name) + " on the FTP server", ServerSummary(names, "no file received"));
  }
  const auto size = static_cast<double>(file->second.size());
  if (!CompareNumbers(size, expect.size.relation, expect.size.expected))
    Fail(Quoted(name) + " of size " + RelationText(expect.size.relation) + " " + ValueText(expect.size.expected),
         ValueText(size));
}

void Do(Runner& runner, const ExpectFtpLog& expect) {
  const auto& log = runner.world().ftp.log;
  const std::string text = runner.Expand(expect.text);
  for (const auto& line : log)
    if (line.find(text) != std::string::npos) return;
  Fail("an FTP log line holding " + Quoted(text), ServerSummary(log, "an empty FTP log"));
}

}  // namespace

void AddFtpSteps(StepTable& steps) {
  steps.On<FtpServer>(Do);
  steps.On<ExpectFtpReceived>(Do);
  steps.On<ExpectFtpLog>(Do);
}

}  // namespace zr::scenario
