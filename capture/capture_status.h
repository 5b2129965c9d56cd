#pragma once

#include <string>
// The capture status handler of the driver kind: run by the main timer on every tick, it turns
// what the driver's callback left (an id, a text, the end flag) and the driver's status into
// the status panel, and closes a run out once when the driver reports its end.

namespace zr {

class Program;

void CaptureStatusUpdate(Program& program);

// The close-out steps that other features own.
void WriteInformationChunk(Program& program, const std::string& movie_path);
void PopUpMovieViewer(Program& program, const std::string& movie_path);

}  // namespace zr
