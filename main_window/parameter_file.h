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

namespace zr {

class Program;

// Writes the set-up to `path`, atomically; nothing once the final shutdown has begun, and
// nothing (without a message) when the file cannot be written.
void SaveParameters(Program& program, const std::string& path);

// Applies the file at `path`; each key missing from the file means its default. Nothing once
// the final shutdown has begun.
void LoadParameters(Program& program, const std::string& path);

// The value of `key` in the file at `path`, read the way the file has always been read: a
// comma ends a value, leading blanks are dropped, a leading double quote opens a quoted
// field, keys match without regard to case, the first match wins and a comment line never
// matches. The default when the file cannot be read or has no such key.
std::string GetParameter(const std::string& path, const std::string& key, const std::string& default_value);

}  // namespace zr
