// The window registry: every window class of the sources is registered, each kind makes its own
// class, and procedures are found by name with their arguments checked.

#include "core/window_registry.h"

#include <cxxabi.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "apps/scenario/world.h"

namespace zr {
namespace {

std::string ClassName(const std::type_index& type) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                    std::free);
  return status == 0 ? std::string(name.get()) : type.name();
}

// The concrete window classes the logic folders declare: every class built on a window or on
// the main window's frame, less the frame itself, which the main window completes.
std::set<std::string> DeclaredWindowClasses() {
  const std::regex declaration(R"(class (\w+)(?: final)? : public (?:ui::Window|MainWindow)\b)");
  std::set<std::string> classes;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(ZR_SOURCE_DIR)) {
    const std::string path = entry.path().string();
    if (entry.path().extension() != ".h" || path.find("/build") != std::string::npos ||
        path.find("/tests/") != std::string::npos || path.find("/gui/") != std::string::npos)
      continue;
    std::ifstream file(entry.path());
    std::stringstream text;
    text << file.rdbuf();
    const std::string source = text.str();
    for (std::sregex_iterator match(source.begin(), source.end(), declaration), end; match != end; ++match)
      if ((*match)[1] != "MainWindow") classes.insert("zr::" + (*match)[1].str());
  }
  return classes;
}

TEST(WindowRegistry, EveryWindowClassIsRegistered) {
  std::set<std::string> registered;
  for (const WindowKind& kind : RegisteredWindowKinds()) registered.insert(ClassName(kind.type));
  const std::set<std::string> declared = DeclaredWindowClasses();
  ASSERT_FALSE(declared.empty());
  for (const std::string& window_class : declared)
    EXPECT_TRUE(registered.count(window_class)) << window_class << " is declared but never registered";
}

TEST(WindowRegistry, EachKindMakesItsOwnClassUnderItsName) {
  scenario::World world;
  Program& program = world.MakeProgram();
  for (const char* name : {"Splash", "VideoInfo", "Preferences", "Msg", "Image", "MultiImage"}) {
    SCOPED_TRACE(name);
    const WindowKind* kind = FindWindowKind(name);
    ASSERT_NE(kind, nullptr);
    ui::Window& window = program.Slot(name)();
    EXPECT_EQ(window.Name(), name);
    EXPECT_EQ(std::type_index(typeid(window)), kind->type);
  }
  EXPECT_EQ(FindWindowKind("NoSuchWindow"), nullptr);
  EXPECT_THROW(program.Slot("NoSuchWindow"), std::logic_error);
}

TEST(WindowRegistry, ProcedureArgumentsAreCheckedAsTheyAreRead) {
  const ProcedureArguments arguments({ui::Value{std::string("zrsr.zrp")}, ui::Value{2.0}, ui::Value{true}});
  EXPECT_NO_THROW(arguments.Expect(3));
  EXPECT_THROW(arguments.Expect(2), ProcedureCallError);
  EXPECT_EQ(arguments.Text(0), "zrsr.zrp");
  EXPECT_EQ(arguments.Integer(1), 2);
  EXPECT_TRUE(arguments.Flag(2));
  EXPECT_EQ(arguments.Number(2), -1);  // the program's true
  EXPECT_THROW(arguments.Text(1), ProcedureCallError);
  EXPECT_THROW(arguments.Number(0), ProcedureCallError);
  EXPECT_THROW(arguments.Text(3), std::out_of_range);
  ASSERT_TRUE(RegisteredProgramProcedures().count("ExitProgram"));
  ASSERT_TRUE(FindWindowKind("VideoScreen")->procedures.count("Record"));
}

}  // namespace
}  // namespace zr
