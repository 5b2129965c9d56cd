#pragma once
// How the expectations of every family compare what the program shows with what the scenario
// expects, and how both sides are written in a failure.

#include <string>

#include "apps/scenario/script.h"
#include "ui/value.h"

namespace zr::scenario {

// A value as a scenario writes it: "text", 12.5, true, rgb(1,2,3), 320x240.
std::string ValueText(const Value& value);

// ==, !=, <, <=, >, >= or contains.
const char* RelationText(Relation relation);

bool CompareNumbers(double actual, Relation relation, double expected);

// Fails with "what RELATION EXPECTED" and the actual value unless the actual value stands in the
// expected relation. The program's Boolean -1/0 equals true/false, a colour compares with the
// packed value, and a text compares as a number with its numeric beginning.
void ExpectValue(const ui::Value& actual, const Comparison& comparison, const std::string& what);

}  // namespace zr::scenario
