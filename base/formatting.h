#pragma once
// The program's text and number rules, used by every window: format masks, the leading blank
// of a shown number, the numeric prefix of a text, rounding and truncation, and the 16-bit
// arithmetic whose overflow is part of some behaviours.

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "base/date_time.h"
#include "base/program_error.h"

namespace zr {

// Raised where the program's 16- or 32-bit integer arithmetic overflows; the procedure's own
// error handling decides what happens next.
class OverflowError : public ProgramError {
 public:
  OverflowError() : ProgramError("Overflow") {}
};

// Raised by a division by zero in the program's arithmetic.
class DivisionByZeroError : public ProgramError {
 public:
  DivisionByZeroError() : ProgramError("Division by zero") {}
};

// A number formatted by a mask made of '#' and '0' digit places ("#00", "#0", "#", "#000000",
// "#0000"). The value is rounded to an integer half away from zero; '0' places pad with zeros,
// '#' places show a digit only where one is needed, so 0 under "#" is the empty text.
// A negative value keeps its sign in front: -5 under "#00" is "-05"; one that rounds to 0 has
// no sign. Every place from the first '0' on is mandatory. Numbers of any size show all their
// digits. Raises std::invalid_argument for an empty mask or one with other characters, and
// OverflowError for an infinite or NaN value.
std::string FormatNumber(double value, std::string_view mask);

// A number as text with no blank in front: 5 -> "5", 1.5 -> "1.5", -2 -> "-2".
// Up to 15 significant digits, no trailing zeros, no exponent for ordinary magnitudes.
// From 1E+15 in magnitude, and below 0.0001 other than 0, the exponent form is used: a
// capital E, the exponent's sign and at least two digits ("1E+15", "1.5E+16", "1E-05").
// Zero is "0", whatever its sign.
std::string NumberText(double value);

// A number as shown in texts that carry a leading blank when not negative: 5 -> " 5",
// -5 -> "-5", 0 -> " 0".
std::string LeadingBlank(double value);

// The numeric prefix of a text: blanks, tabs, carriage returns and line feeds are skipped
// anywhere, an optional sign, digits, an optional fraction and an exponent ('E' or 'D', either
// case, counted only when it has digits); the rest is ignored. "12abc" -> 12, " 1 2" -> 12,
// "abc" -> 0, "1.2.3" -> 1.2, "3e" -> 3, "1e3" -> 1000.
// "&H" and "&O" begin hexadecimal and octal integers: "&H1F" -> 31, "&O17" -> 15. They take
// the 16-bit integer when their bits fit in one ("&HFFFF" -> -1), else the 32-bit one
// ("&H10000" -> 65536, "&HFFFFFFFF" -> -1).
// Raises OverflowError for a constant of more than 32 bits or a number beyond a double's
// range; a number too small for a double is 0.
double NumericPrefix(std::string_view text);

// The screen's unit of the windows' sizes and positions: 15 twips to the pixel (96 dots to
// the inch, 1440 twips to the inch).
inline constexpr int kTwipsPerPixel = 15;

// A floating value to the nearest integer, halves to the even neighbour: 2.5 -> 2, 3.5 -> 4,
// -2.5 -> -2. Raises OverflowError when the rounded value is beyond the 32-bit range, and for
// NaN.
std::int32_t RoundHalfEven(double value);

// The same rounding into a 16-bit integer; raises OverflowError beyond -32768..32767.
std::int16_t RoundHalfEven16(double value);

// Truncation towards zero: 2.7 -> 2, -2.7 -> -2, -0.2 -> -0 (equal to 0).
double Fix(double value);

// A number cut towards zero into `Integer`; 0 for one beyond its range or NaN, as for a stored
// number that does not parse: 7.9 -> 7, 1E+30 -> 0, -2147483649 -> 0 in 32 bits.
template <class Integer>
Integer TruncatedOrZero(double value) {
  const double whole = Fix(value);
  const bool fits = whole >= static_cast<double>(std::numeric_limits<Integer>::min()) &&
                    whole <= static_cast<double>(std::numeric_limits<Integer>::max());
  return fits ? static_cast<Integer>(whole) : Integer{0};
}

// 16-bit integer arithmetic that raises OverflowError outside -32768..32767.
std::int16_t Int16Add(std::int16_t a, std::int16_t b);
std::int16_t Int16Multiply(std::int16_t a, std::int16_t b);
// A wider value brought into 16 bits, with the same overflow rule.
std::int16_t ToInt16(std::int64_t value);

// Division that raises DivisionByZeroError on a zero divisor, even for 0 / 0.
double Divide(double dividend, double divisor);

}  // namespace zr

namespace zr {

// The text in lower case or in capitals (ASCII letters; other characters as they stand).
// "A,B,C" -> {"A", "B", "C"}; "A," -> {"A", ""}; the empty text has no pieces.
std::vector<std::string_view> SplitAtCommas(std::string_view text);

std::string LowerCase(std::string_view text);
std::string UpperCase(std::string_view text);
// A file name's last three characters in lower case (the whole name when shorter): the kind of
// file it names.
std::string LastThreeLower(std::string_view name);

// The date and time forms the program writes into its files: "2026-11-21" and "14:30:00".
std::string DateText(const DateTime& when);
std::string TimeText(const DateTime& when);

}  // namespace zr
