#pragma once
// Every window of the program, declared once in its feature's folder:
//
//   using Registration = WindowRegistration<VideoScreen>;
//   const Registration kRegistration{{
//       {"Disconnect", Registration::Calls(&VideoScreen::Disconnect)},
//       {"Preview", [](VideoScreen& w, const ProcedureArguments& a) { a.Expect(1); w.Preview(a.Integer(0)); }},
//   }};
//
// The window class names itself (`static constexpr std::string_view kWindowName`), says where it
// shows if not as a window of its own (`static constexpr ui::WindowPlacement kPlacement`), and the
// program makes one slot per registration. The procedures are the window's own that a scenario may call
// by name; procedures that belong to no window register as ProgramProcedures. A window class
// without a registration fails the registry test (tests/core/window_registry_test.cpp), which
// finds every window class of the sources.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <typeindex>
#include <typeinfo>
#include <vector>

#include "ui/value.h"
#include "ui/window.h"

namespace zr {

class Program;

// The arguments of a procedure called by name, checked as the procedure reads them.
class ProcedureArguments {
 public:
  explicit ProcedureArguments(std::vector<ui::Value> values) : values_(std::move(values)) {}
  // Fails unless exactly `count` arguments were given.
  void Expect(std::size_t count) const;
  std::string Text(std::size_t at) const;
  double Number(std::size_t at) const;
  int Integer(std::size_t at) const { return static_cast<int>(Number(at)); }
  bool Flag(std::size_t at) const { return Number(at) != 0; }

 private:
  std::vector<ui::Value> values_;
};

// A call with arguments a procedure cannot take: a fault of the script that called it.
class ProcedureCallError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using WindowProcedure = std::function<void(ui::Window&, const ProcedureArguments&)>;
using ProgramProcedure = std::function<void(Program&, const ProcedureArguments&)>;

struct WindowKind {
  std::string name;                     // as the faces and the scenarios address the window
  std::type_index type = typeid(void);  // the class that serves it
  ui::WindowPlacement placement = ui::WindowPlacement::TopLevel;
  std::function<std::unique_ptr<ui::Window>(Program&, const std::string& name)> make;
  std::map<std::string, WindowProcedure, std::less<>> procedures;
};

// The registrations, in the order they ran; filled before the program's entry.
const std::vector<WindowKind>& RegisteredWindowKinds();
const std::map<std::string, ProgramProcedure, std::less<>>& RegisteredProgramProcedures();
const WindowKind* FindWindowKind(std::string_view name);

namespace registry_detail {
void Add(WindowKind kind);
void AddProgramProcedure(std::string name, ProgramProcedure procedure);
}  // namespace registry_detail

// One window kind, made by `W(Program&)`, or `W(Program&, name)` for a class that serves
// several named windows (the picture window serves "Image" and "MultiImage").
template <class W>
class WindowRegistration {
 public:
  using Procedure = std::function<void(W&, const ProcedureArguments&)>;

  // A procedure without arguments: the window's method of that name.
  static Procedure Calls(void (W::*method)()) {
    return [method](W& window, const ProcedureArguments& arguments) {
      arguments.Expect(0);
      (window.*method)();
    };
  }

  explicit WindowRegistration(std::map<std::string, Procedure> procedures = {},
                              std::string_view name = W::kWindowName) {
    WindowKind kind;
    kind.name = std::string(name);
    kind.type = typeid(W);
    if constexpr (requires { W::kPlacement; }) kind.placement = W::kPlacement;
    kind.make = [](Program& program, const std::string& window_name) -> std::unique_ptr<ui::Window> {
      if constexpr (std::is_constructible_v<W, Program&, std::string>)
        return std::make_unique<W>(program, window_name);
      else
        return std::make_unique<W>(program);
    };
    for (auto& [procedure_name, procedure] : procedures)
      kind.procedures.emplace(procedure_name,
                              [call = std::move(procedure)](ui::Window& window, const ProcedureArguments& arguments) {
                                call(dynamic_cast<W&>(window), arguments);
                              });
    registry_detail::Add(std::move(kind));
  }
};

// Procedures that belong to no window: each runs on the whole program.
class ProgramProcedures {
 public:
  explicit ProgramProcedures(std::map<std::string, ProgramProcedure> procedures) {
    for (auto& [name, procedure] : procedures) registry_detail::AddProgramProcedure(name, std::move(procedure));
  }
};

}  // namespace zr
