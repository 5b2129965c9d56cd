#pragma once
// The capture parameter file: the whole set-up of a capture as KEY=value lines. The operator
// saves and opens such files as ".zrp"; the program keeps two of them as its memory:
// "zrsr.zr2" (the whole set-up, written at exit, read at start) and "zrsr.zr3" (written by
// every disconnect, read when a driver-kind device connects; it leaves out the advanced block).
//
// Writer and reader do not mirror each other, on purpose of the files' history: "Write Cache"
// flips on every save and load, six keys are written and never read, and a value holding a
// comma is cut at the comma when read.

#include <string>

#include "core/main_window.h"
#include "main_window/parameter_lookup.h"

namespace zr {

class Program;

// Writes the set-up to `path`, atomically; nothing once the final shutdown has begun, and
// nothing (without a message) when the file cannot be written.
void SaveParameters(Program& program, const std::string& path);

// Applies the file at `path`; each key missing from the file means its default, and so does
// every key of a file that is missing or cannot be opened. A path that is no regular file (a
// FIFO, a device) or a file longer than kLargestParameterFileBytes is refused with a message
// and changes nothing. Nothing once the final shutdown has begun.
void LoadParameters(Program& program, const std::string& path);

}  // namespace zr
