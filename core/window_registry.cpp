#include "core/window_registry.h"

#include <stdexcept>

namespace zr {

namespace {

std::vector<WindowKind>& Kinds() {
  static std::vector<WindowKind> kinds;
  return kinds;
}

std::map<std::string, ProgramProcedure, std::less<>>& ProgramProcedureTable() {
  static std::map<std::string, ProgramProcedure, std::less<>> procedures;
  return procedures;
}

}  // namespace

void ProcedureArguments::Expect(std::size_t count) const {
  if (values_.size() != count)
    throw ProcedureCallError("expected " + std::to_string(count) + " arguments, found " +
                             std::to_string(values_.size()));
}

std::string ProcedureArguments::Text(std::size_t at) const {
  if (const auto* text = std::get_if<std::string>(&values_.at(at))) return *text;
  throw ProcedureCallError("expected a string argument, found another kind of value");
}

double ProcedureArguments::Number(std::size_t at) const {
  const ui::Value& value = values_.at(at);
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return static_cast<double>(*whole);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? -1 : 0;
  throw ProcedureCallError("expected a number argument, found another kind of value");
}

const std::vector<WindowKind>& RegisteredWindowKinds() { return Kinds(); }

const std::map<std::string, ProgramProcedure, std::less<>>& RegisteredProgramProcedures() {
  return ProgramProcedureTable();
}

const WindowKind* FindWindowKind(std::string_view name) {
  for (const auto& kind : Kinds())
    if (kind.name == name) return &kind;
  return nullptr;
}

namespace registry_detail {

// Two registrations of one name are a fault of the program, found as soon as it starts.
void Add(WindowKind kind) {
  if (FindWindowKind(kind.name)) throw std::logic_error("the window " + kind.name + " is registered twice");
  Kinds().push_back(std::move(kind));
}

void AddProgramProcedure(std::string name, ProgramProcedure procedure) {
  if (!ProgramProcedureTable().emplace(name, std::move(procedure)).second)
    throw std::logic_error("the procedure " + name + " is registered twice");
}

}  // namespace registry_detail

}  // namespace zr
