#include "apps/scenario/comparisons.h"

#include "apps/scenario/runner_state.h"
#include "base/formatting.h"
#include "ui/control.h"

namespace zr::scenario {

namespace {

std::string ActualText(const ui::Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return Quoted(*text);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
  return NumberText(ui::ValueToNumber(value));
}

bool Holds(const ui::Value& actual, const Comparison& comparison) {
  const Value& expected = comparison.expected;
  if (comparison.relation == Relation::kContains)
    return ui::ValueToText(actual).find(std::get<std::string>(expected)) != std::string::npos;
  bool equal = false;
  if (const auto* expected_text = std::get_if<std::string>(&expected)) {
    equal = std::holds_alternative<std::string>(actual) ? std::get<std::string>(actual) == *expected_text
                                                        : ui::ValueToText(actual) == *expected_text;
  } else if (const auto* flag = std::get_if<bool>(&expected)) {
    if (std::holds_alternative<std::string>(actual)) return false;
    equal = ui::ValueToBool(actual) == *flag;
  } else if (const auto* colour = std::get_if<Colour>(&expected)) {
    equal = !std::holds_alternative<std::string>(actual) &&
            ui::ValueToNumber(actual) == ui::Rgb(colour->red, colour->green, colour->blue);
  } else if (const auto* number = std::get_if<double>(&expected)) {
    if (std::holds_alternative<std::string>(actual)) {
      const auto& text = std::get<std::string>(actual);
      if (text.empty()) return comparison.relation == Relation::kNotEqual;
      return CompareNumbers(NumericPrefix(text), comparison.relation, *number);
    }
    return CompareNumbers(ui::ValueToNumber(actual), comparison.relation, *number);
  } else {
    return false;
  }
  return comparison.relation == Relation::kNotEqual ? !equal : equal;
}

}  // namespace

std::string ValueText(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return Quoted(*text);
  if (const auto* number = std::get_if<double>(&value)) return NumberText(*number);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
  if (const auto* colour = std::get_if<Colour>(&value))
    return "rgb(" + std::to_string(colour->red) + "," + std::to_string(colour->green) + "," +
           std::to_string(colour->blue) + ")";
  const auto& size = std::get<Size>(value);
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

const char* RelationText(Relation relation) {
  switch (relation) {
    case Relation::kEqual:
      return "==";
    case Relation::kNotEqual:
      return "!=";
    case Relation::kLess:
      return "<";
    case Relation::kLessOrEqual:
      return "<=";
    case Relation::kGreater:
      return ">";
    case Relation::kGreaterOrEqual:
      return ">=";
    case Relation::kContains:
      return "contains";
  }
  return "==";
}

bool CompareNumbers(double actual, Relation relation, double expected) {
  switch (relation) {
    case Relation::kEqual:
      return actual == expected;
    case Relation::kNotEqual:
      return actual != expected;
    case Relation::kLess:
      return actual < expected;
    case Relation::kLessOrEqual:
      return actual <= expected;
    case Relation::kGreater:
      return actual > expected;
    case Relation::kGreaterOrEqual:
      return actual >= expected;
    case Relation::kContains:
      return false;
  }
  return false;
}

void ExpectValue(const ui::Value& actual, const Comparison& comparison, const std::string& what) {
  if (!Holds(actual, comparison))
    Fail(what + " " + RelationText(comparison.relation) + " " + ValueText(comparison.expected), ActualText(actual));
}

}  // namespace zr::scenario
