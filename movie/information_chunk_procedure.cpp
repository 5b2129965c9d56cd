// WriteAviInfo as a procedure other parts of the program call by name; kept apart from the
// chunk itself, which stands on nothing of the program.
#include "core/window_registry.h"
#include "movie/information_chunk.h"

namespace zr {
namespace {

const ProgramProcedures kProcedures{{
    {"WriteAviInfo",
     [](Program&, const ProcedureArguments& a) {
       a.Expect(7);
       WriteAviInfo(a.Text(0), a.Text(1), a.Text(2), a.Text(3), a.Text(4), a.Text(5), a.Text(6));
     }},
}};

}  // namespace
}  // namespace zr
