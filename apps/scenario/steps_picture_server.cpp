// The picture server: raw requests to it (`http`) and the expectations on its last response.
// A request reaches the program through the loop, as a browser's does, and is answered before
// the next command; inside a blocking call of the program it waits, as every posted event does.

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "apps/scenario/comparisons.h"
#include "apps/scenario/steps.h"
#include "base/formatting.h"
#include "image/jpeg_codec.h"

namespace zr::scenario {

namespace {

constexpr std::string_view kEndOfHead = "\r\n\r\n";

void Do(Runner& runner, const HttpRequest& request) {
  auto& world = runner.world();
  if (!world.picture_server.Deliver(request.request)) return;
  if (!world.loop.Blocking()) world.loop.Yield();
}

const std::string& LastResponse(const Runner& runner) {
  const auto& response = runner.world().picture_server.LastResponse();
  if (!response) Fail("a response of the picture server", "no request answered");
  return *response;
}

std::string_view HeadOf(std::string_view response) { return response.substr(0, response.find(kEndOfHead)); }

void Do(Runner& runner, const ExpectHttpText& expect) {
  const std::string& response = LastResponse(runner);
  const std::string text = runner.Expand(expect.text);
  const bool found = response.find(text) != std::string::npos;
  if (expect.match == TextMatch::kEquals && response != text) Fail("response " + Quoted(text), Quoted(response));
  if (expect.match == TextMatch::kContains && !found) Fail("response containing " + Quoted(text), Quoted(response));
  if (expect.match == TextMatch::kLacks && found) Fail("response lacking " + Quoted(text), Quoted(response));
}

// The number after the protocol in the status line: "HTTP/1.1 200 OK" is 200.
void Do(Runner& runner, const ExpectHttpStatus& expect) {
  const std::string_view head = HeadOf(LastResponse(runner));
  const std::string_view status_line = head.substr(0, head.find("\r\n"));
  const auto blank = status_line.find(' ');
  const std::string code = blank == std::string_view::npos ? "" : std::string(status_line.substr(blank + 1, 3));
  const double status = NumericPrefix(code);
  if (!CompareNumbers(status, expect.status.relation, expect.status.expected))
    Fail(std::string("status ") + RelationText(expect.status.relation) + " " + NumberText(expect.status.expected),
         Quoted(std::string(status_line)));
}

// A header of the response's head by its name, matched without regard to case; its value
// without the blanks after the colon.
void Do(Runner& runner, const ExpectHttpHeader& expect) {
  std::string_view head = HeadOf(LastResponse(runner));
  const std::string wanted = LowerCase(expect.name) + ":";
  head.remove_prefix(std::min(head.find("\r\n"), head.size()));
  while (!head.empty()) {
    head.remove_prefix(std::min<std::size_t>(2, head.size()));
    const std::string_view line = head.substr(0, head.find("\r\n"));
    head.remove_prefix(line.size());
    if (!LowerCase(line).starts_with(wanted)) continue;
    std::string_view value = line.substr(wanted.size());
    while (value.starts_with(' ')) value.remove_prefix(1);
    if (value != expect.value) Fail("header " + expect.name + " " + Quoted(expect.value), Quoted(std::string(value)));
    return;
  }
  Fail("header " + expect.name + " " + Quoted(expect.value), "no such header");
}

void Do(Runner& runner, const ExpectHttpBodyImage&) {
  const std::string& response = LastResponse(runner);
  const auto end = response.find(kEndOfHead);
  const std::string_view body =
      end == std::string::npos ? std::string_view() : std::string_view(response).substr(end + kEndOfHead.size());
  JpegDecoder decoder;
  const auto picture = decoder.Decode(std::span(reinterpret_cast<const std::uint8_t*>(body.data()), body.size()));
  if (!picture) Fail("a JPEG picture as the body", Quoted(std::string(HeadOf(response))));
}

}  // namespace

void AddPictureServerSteps(StepTable& steps) {
  steps.On<HttpRequest>(Do);
  steps.On<ExpectHttpText>(Do);
  steps.On<ExpectHttpStatus>(Do);
  steps.On<ExpectHttpHeader>(Do);
  steps.On<ExpectHttpBodyImage>(Do);
}

}  // namespace zr::scenario
