// The picture server: raw requests to it (`http`) and the expectations on its last response.
// The runner does not carry these out yet; a scenario that uses them fails at that line.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner&, const HttpRequest&) { NotYetSupported("http"); }
void Do(Runner&, const ExpectHttpText&) { NotYetSupported("expect http"); }
void Do(Runner&, const ExpectHttpStatus&) { NotYetSupported("expect http"); }
void Do(Runner&, const ExpectHttpHeader&) { NotYetSupported("expect http"); }
void Do(Runner&, const ExpectHttpBodyImage&) { NotYetSupported("expect http"); }

}  // namespace

void AddPictureServerSteps(StepTable& steps) {
  steps.On<HttpRequest>(Do);
  steps.On<ExpectHttpText>(Do);
  steps.On<ExpectHttpStatus>(Do);
  steps.On<ExpectHttpHeader>(Do);
  steps.On<ExpectHttpBodyImage>(Do);
}

}  // namespace zr::scenario
