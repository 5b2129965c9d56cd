#include "base/formatting.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <system_error>

namespace zr {

namespace {

// Enough room for any double written in fixed notation without a fraction (at most 309
// integer digits) or in the general form with 15 significant digits.
constexpr std::size_t kNumberBufferSize = 400;
constexpr int kSignificantDigits = 15;

// ---- Masks ----

// The number of digits a mask always shows: every place from the first '0' onwards is
// mandatory, the '#' places before it show a digit only when the number has one there.
std::size_t MandatoryDigits(std::string_view mask) {
  const auto first_zero = mask.find('0');
  return first_zero == std::string_view::npos ? 0 : mask.size() - first_zero;
}

void RequireDigitPlacesOnly(std::string_view mask) {
  const bool only_places =
      std::all_of(mask.begin(), mask.end(), [](char place) { return place == '#' || place == '0'; });
  if (mask.empty() || !only_places) {
    throw std::invalid_argument("A number mask is made of '#' and '0' places only");
  }
}

// The decimal digits of a whole, non-negative number of any double magnitude.
std::string WholeNumberDigits(double whole) {
  std::array<char, kNumberBufferSize> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), whole, std::chars_format::fixed, 0);
  return {buffer.data(), result.ptr};
}

// The digits of a rounded magnitude as the mask shows them: zero itself has no digit of its
// own, so it only appears through mandatory places.
std::string MaskedDigits(double magnitude, std::size_t mandatory) {
  std::string digits = magnitude == 0.0 ? std::string() : WholeNumberDigits(magnitude);
  if (digits.size() < mandatory) {
    digits.insert(0, mandatory - digits.size(), '0');
  }
  return digits;
}

// ---- Number text ----

// Writes the exponent of a general-form number the way the program shows it: a capital E,
// then its sign and at least two digits ("1E+15", "1E-05").
std::string CapitaliseExponent(std::string text) {
  const auto marker = text.find('e');
  if (marker != std::string::npos) {
    text[marker] = 'E';
  }
  return text;
}

// ---- Numeric prefix ----

bool IsSkippedBlank(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

std::string WithoutBlanks(std::string_view text) {
  std::string kept;
  kept.reserve(text.size());
  std::copy_if(text.begin(), text.end(), std::back_inserter(kept),
               [](char character) { return !IsSkippedBlank(character); });
  return kept;
}

bool IsDecimalDigit(char character) { return character >= '0' && character <= '9'; }

bool StartsWithLetter(std::string_view text, std::size_t position, char upper_letter) {
  return position < text.size() && (text[position] == upper_letter || text[position] == upper_letter + ('a' - 'A'));
}

int RadixDigitValue(char character) {
  if (IsDecimalDigit(character)) {
    return character - '0';
  }
  if (character >= 'A' && character <= 'F') {
    return character - 'A' + 10;
  }
  if (character >= 'a' && character <= 'f') {
    return character - 'a' + 10;
  }
  return std::numeric_limits<int>::max();
}

// A hexadecimal or octal constant takes the narrowest of the 16- and 32-bit integers that
// holds its bits, so "&HFFFF" is -1 while "&H10000" is 65536; more than 32 bits overflow.
double RadixConstantValue(std::string_view digits, int radix) {
  constexpr std::uint64_t kLargest32 = 0xFFFFFFFFU;
  constexpr std::uint64_t kLargest16 = 0xFFFFU;
  std::uint64_t bits = 0;
  for (const char character : digits) {
    const int digit = RadixDigitValue(character);
    if (digit >= radix) {
      break;
    }
    bits = bits * static_cast<std::uint64_t>(radix) + static_cast<std::uint64_t>(digit);
    if (bits > kLargest32) {
      throw OverflowError();
    }
  }
  if (bits <= kLargest16) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(bits));
  }
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
}

std::size_t CountDigitsFrom(std::string_view text, std::size_t position) {
  std::size_t end = position;
  while (end < text.size() && IsDecimalDigit(text[end])) {
    ++end;
  }
  return end - position;
}

// The parts of a decimal number found at the start of a text.
struct DecimalPrefix {
  std::string_view sign;
  std::string_view whole_digits;
  std::string_view fraction_digits;
  std::string_view exponent_sign;
  std::string_view exponent_digits;
};

bool IsExponentMarker(std::string_view text, std::size_t position) {
  return StartsWithLetter(text, position, 'E') || StartsWithLetter(text, position, 'D');
}

// Reads an exponent only when it has digits: "3e" and "3e+" are just 3.
void ReadExponent(std::string_view text, std::size_t position, DecimalPrefix& prefix) {
  if (!IsExponentMarker(text, position)) {
    return;
  }
  std::size_t digits_start = position + 1;
  const bool has_sign = digits_start < text.size() && (text[digits_start] == '+' || text[digits_start] == '-');
  if (has_sign) {
    ++digits_start;
  }
  const std::size_t digit_count = CountDigitsFrom(text, digits_start);
  if (digit_count == 0) {
    return;
  }
  prefix.exponent_sign = text.substr(position + 1, has_sign ? 1 : 0);
  prefix.exponent_digits = text.substr(digits_start, digit_count);
}

DecimalPrefix ReadDecimalPrefix(std::string_view text) {
  DecimalPrefix prefix;
  std::size_t position = 0;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    prefix.sign = text.substr(0, 1);
    position = 1;
  }
  prefix.whole_digits = text.substr(position, CountDigitsFrom(text, position));
  position += prefix.whole_digits.size();
  if (position < text.size() && text[position] == '.') {
    ++position;
    prefix.fraction_digits = text.substr(position, CountDigitsFrom(text, position));
    position += prefix.fraction_digits.size();
  }
  if (!prefix.whole_digits.empty() || !prefix.fraction_digits.empty()) {
    ReadExponent(text, position, prefix);
  }
  return prefix;
}

// The exponent as a number, held back at a bound far beyond any double so that an endless
// run of exponent digits cannot overflow the count.
long ExponentValue(const DecimalPrefix& prefix) {
  constexpr long kBound = 100000;
  long value = 0;
  for (const char digit : prefix.exponent_digits) {
    value = std::min(kBound, value * 10 + (digit - '0'));
  }
  return prefix.exponent_sign == "-" ? -value : value;
}

// Where the first significant digit stands: 1 for "1" up to "9", 2 for "10" up to "99",
// 0 for "0.1" up to "0.9", -1 for "0.01" up to "0.09", and so on.
long DecimalOrder(const DecimalPrefix& prefix) {
  const auto first_whole = prefix.whole_digits.find_first_not_of('0');
  if (first_whole != std::string_view::npos) {
    return static_cast<long>(prefix.whole_digits.size() - first_whole) + ExponentValue(prefix);
  }
  const auto first_fraction = prefix.fraction_digits.find_first_not_of('0');
  return ExponentValue(prefix) - static_cast<long>(first_fraction);
}

std::string StandardNumberText(const DecimalPrefix& prefix) {
  std::string text;
  text.append(prefix.whole_digits.empty() ? "0" : prefix.whole_digits);
  if (!prefix.fraction_digits.empty()) {
    text.append(".").append(prefix.fraction_digits);
  }
  if (!prefix.exponent_digits.empty()) {
    text.append("e").append(prefix.exponent_sign).append(prefix.exponent_digits);
  }
  return text;
}

// A number too large for a double overflows; one too small to tell from zero is zero.
double DecimalValue(const DecimalPrefix& prefix) {
  if (prefix.whole_digits.empty() && prefix.fraction_digits.empty()) {
    return 0.0;
  }
  const std::string text = StandardNumberText(prefix);
  double magnitude = 0.0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), magnitude);
  if (result.ec == std::errc::result_out_of_range) {
    if (DecimalOrder(prefix) > 0) {
      throw OverflowError();
    }
    return 0.0;
  }
  return prefix.sign == "-" ? -magnitude : magnitude;
}

// ---- Rounding ----

double RoundHalfEvenToWhole(double value) {
  const double below = std::floor(value);
  const double distance = value - below;
  if (distance > 0.5) {
    return below + 1.0;
  }
  if (distance < 0.5) {
    return below;
  }
  return std::fmod(below, 2.0) == 0.0 ? below : below + 1.0;
}

template <typename Integer>
Integer ToIntegerOrOverflow(double whole) {
  const bool in_range = whole >= static_cast<double>(std::numeric_limits<Integer>::min()) &&
                        whole <= static_cast<double>(std::numeric_limits<Integer>::max());
  if (!in_range) {  // NaN fails both comparisons and lands here too.
    throw OverflowError();
  }
  return static_cast<Integer>(whole);
}

}  // namespace

std::string FormatNumber(double value, std::string_view mask) {
  RequireDigitPlacesOnly(mask);
  if (!std::isfinite(value)) {
    throw OverflowError();
  }
  const double rounded = std::round(value);
  const std::string digits = MaskedDigits(std::fabs(rounded), MandatoryDigits(mask));
  return rounded < 0.0 ? "-" + digits : digits;
}

std::string NumberText(double value) {
  if (value == 0.0) {
    return "0";  // Also for -0, which the program never shows with a sign.
  }
  std::array<char, kNumberBufferSize> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general,
                                    kSignificantDigits);
  return CapitaliseExponent({buffer.data(), result.ptr});
}

std::string LeadingBlank(double value) {
  const std::string text = NumberText(value);
  return text.front() == '-' ? text : " " + text;
}

double NumericPrefix(std::string_view text) {
  const std::string kept = WithoutBlanks(text);
  const std::string_view view = kept;
  if (!view.empty() && view[0] == '&') {
    if (StartsWithLetter(view, 1, 'H')) {
      return RadixConstantValue(view.substr(2), 16);
    }
    if (StartsWithLetter(view, 1, 'O')) {
      return RadixConstantValue(view.substr(2), 8);
    }
  }
  return DecimalValue(ReadDecimalPrefix(view));
}

std::int32_t RoundHalfEven(double value) { return ToIntegerOrOverflow<std::int32_t>(RoundHalfEvenToWhole(value)); }

std::int16_t RoundHalfEven16(double value) { return ToIntegerOrOverflow<std::int16_t>(RoundHalfEvenToWhole(value)); }

double Fix(double value) { return std::trunc(value); }

std::int16_t ToInt16(std::int64_t value) {
  if (value < std::numeric_limits<std::int16_t>::min() || value > std::numeric_limits<std::int16_t>::max()) {
    throw OverflowError();
  }
  return static_cast<std::int16_t>(value);
}

std::int16_t Int16Add(std::int16_t a, std::int16_t b) { return ToInt16(std::int64_t{a} + std::int64_t{b}); }

std::int16_t Int16Multiply(std::int16_t a, std::int16_t b) { return ToInt16(std::int64_t{a} * std::int64_t{b}); }

double Divide(double dividend, double divisor) {
  if (divisor == 0.0) {
    throw DivisionByZeroError();
  }
  return dividend / divisor;
}

}  // namespace zr

namespace zr {

std::vector<std::string_view> SplitAtCommas(std::string_view text) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    const std::size_t comma = text.find(',');
    pieces.push_back(text.substr(0, comma));
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
    if (text.empty()) pieces.emplace_back();
  }
  return pieces;
}

std::string LowerCase(std::string_view text) {
  std::string lowered(text);
  for (char& character : lowered)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return lowered;
}

std::string LastThreeLower(std::string_view name) {
  return LowerCase(name.size() < 3 ? name : name.substr(name.size() - 3));
}

std::string UpperCase(std::string_view text) {
  std::string raised(text);
  for (char& character : raised)
    if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
  return raised;
}

}  // namespace zr

namespace zr {

namespace {
std::string TwoDigits(int number) { return FormatNumber(number, "00"); }
}  // namespace

std::string DateText(const DateTime& when) {
  return FormatNumber(when.year, "0000") + "-" + TwoDigits(when.month) + "-" + TwoDigits(when.day);
}

std::string TimeText(const DateTime& when) {
  return TwoDigits(when.hour) + ":" + TwoDigits(when.minute) + ":" + TwoDigits(when.second);
}

}  // namespace zr
