#pragma once
// The public procedures a scenario may `call` by their own names, and the members of the state
// record it may `expect`.

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/scenario/script.h"
#include "core/program.h"

namespace zr::scenario {

// Runs `W.Name(args)` or `Name(args)`; raises AddressError for a name the program has not or
// for arguments that do not fit.
void CallProcedure(Program& program, const std::optional<WindowRef>& window, const std::string& name,
                   const std::vector<Value>& arguments, const std::string& app_folder, const std::string& temp_folder);

// A member of the state record: `CaptureType`, `AviInfoText(0)`, `CaptureParms.dwIndexSize`.
ui::Value ReadStateMember(Program& program, std::span<const Segment> member);

}  // namespace zr::scenario
