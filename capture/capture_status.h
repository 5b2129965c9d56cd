#pragma once
// The capture status handler of the driver kind: run by the main timer on every tick, it turns
// what the driver's callback left (an id, a text, the end flag) and the driver's status into
// the status panel, and closes a run out once when the driver reports its end. A run that ended
// badly (the driver's status says why in dwReturn) closes out with the reason in the status
// line instead of "Stopped", and without the information chunk.

#include <string>

#include "platform/capture_backends.h"

namespace zr {

class Program;

void CaptureStatusUpdate(Program& program);

// A run of either kind that ended badly says why in the status line; nothing for one that did not.
void ShowRunFailure(Program& program, platform::RunFailure failure);

// The close-out steps that other features own.
void WriteInformationChunk(Program& program, const std::string& movie_path);

}  // namespace zr
