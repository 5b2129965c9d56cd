#include "base/formatting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace zr {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// ---- FormatNumber ----

struct MaskCase {
  double value;
  std::string_view mask;
  std::string_view expected;
};

std::ostream& operator<<(std::ostream& out, const MaskCase& c) {
  return out << c.value << " under \"" << c.mask << "\"";
}

class FormatNumberTest : public testing::TestWithParam<MaskCase> {};

TEST_P(FormatNumberTest, ShowsTheMaskedDigits) {
  EXPECT_EQ(FormatNumber(GetParam().value, GetParam().mask), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(MandatoryAndOptionalPlaces, FormatNumberTest,
                         testing::Values(MaskCase{7, "#00", "07"}, MaskCase{123, "#00", "123"},
                                         MaskCase{45, "#00", "45"}, MaskCase{0, "#", ""}, MaskCase{0, "#0", "0"},
                                         MaskCase{0, "#00", "00"}, MaskCase{5, "#", "5"}, MaskCase{5, "#0", "5"},
                                         MaskCase{42, "#000000", "000042"}, MaskCase{1234567, "#000000", "1234567"},
                                         MaskCase{9, "#0000", "0009"}, MaskCase{1234567, "#", "1234567"},
                                         // Places after the first '0' are all mandatory.
                                         MaskCase{7, "0#", "07"}, MaskCase{0, "##", ""}));

INSTANTIATE_TEST_SUITE_P(RoundsHalfAwayFromZero, FormatNumberTest,
                         testing::Values(MaskCase{2.5, "#", "3"}, MaskCase{1.5, "#", "2"}, MaskCase{0.5, "#0", "1"},
                                         MaskCase{-2.5, "#", "-3"}, MaskCase{-0.5, "#0", "-1"},
                                         MaskCase{2.4999, "#", "2"}, MaskCase{0.49999999999999994, "#0", "0"},
                                         MaskCase{6.5, "#00", "07"}, MaskCase{99.5, "#00", "100"},
                                         MaskCase{0.4, "#", ""}));

INSTANTIATE_TEST_SUITE_P(NegativeValues, FormatNumberTest,
                         testing::Values(MaskCase{-5, "#00", "-05"}, MaskCase{-5, "#", "-5"},
                                         MaskCase{-123, "#00", "-123"}, MaskCase{-0.4, "#0", "0"},
                                         MaskCase{-0.4, "#", ""}, MaskCase{-0.0, "#00", "00"},
                                         MaskCase{-42, "#0000", "-0042"}));

// Free disk space in megabytes and similar counts go far beyond 32 bits.
INSTANTIATE_TEST_SUITE_P(BeyondThirtyTwoBits, FormatNumberTest,
                         testing::Values(MaskCase{4294967296.0, "#", "4294967296"},
                                         MaskCase{-4294967296.0, "#0", "-4294967296"},
                                         MaskCase{9007199254740993.0, "#", "9007199254740992"},
                                         MaskCase{9.2233720368547758e18, "#", "9223372036854775808"},
                                         MaskCase{1e20, "#0", "100000000000000000000"},
                                         MaskCase{-1e19, "#", "-10000000000000000000"}));

TEST(FormatNumber, RejectsMasksWithOtherCharacters) {
  for (const std::string_view mask : {"", "#.00", "0,0", "x", "# 0"}) {
    EXPECT_THROW(FormatNumber(1, mask), std::invalid_argument) << '"' << mask << '"';
  }
}

TEST(FormatNumber, RaisesOverflowForValuesWithoutDigits) {
  for (const double value : {kInfinity, -kInfinity, kNaN}) {
    EXPECT_THROW(FormatNumber(value, "#0"), OverflowError) << value;
  }
}

TEST(FormatNumber, ShowsTheLargestDoubleInFull) {
  const std::string text = FormatNumber(std::numeric_limits<double>::max(), "#");
  EXPECT_EQ(text.size(), 309U);
  EXPECT_EQ(text.substr(0, 6), "179769");
  EXPECT_EQ(FormatNumber(-std::numeric_limits<double>::max(), "#").size(), 310U);
}

// ---- NumberText and LeadingBlank ----

struct TextCase {
  double value;
  std::string_view plain;
  std::string_view blanked;
};

std::ostream& operator<<(std::ostream& out, const TextCase& c) { return out << "value " << c.plain; }

class NumberTextTest : public testing::TestWithParam<TextCase> {};

TEST_P(NumberTextTest, IsTheShortestNaturalText) { EXPECT_EQ(NumberText(GetParam().value), GetParam().plain); }

TEST_P(NumberTextTest, CarriesABlankUnlessNegative) { EXPECT_EQ(LeadingBlank(GetParam().value), GetParam().blanked); }

INSTANTIATE_TEST_SUITE_P(OrdinaryMagnitudes, NumberTextTest,
                         testing::Values(TextCase{5, "5", " 5"}, TextCase{0, "0", " 0"}, TextCase{-0.0, "0", " 0"},
                                         TextCase{-5, "-5", "-5"}, TextCase{1.5, "1.5", " 1.5"},
                                         TextCase{-2, "-2", "-2"}, TextCase{2.25, "2.25", " 2.25"},
                                         TextCase{0.1 + 0.2, "0.3", " 0.3"}, TextCase{100000, "100000", " 100000"},
                                         TextCase{1.0 / 3.0, "0.333333333333333", " 0.333333333333333"},
                                         TextCase{-2.0 / 3.0, "-0.666666666666667", "-0.666666666666667"},
                                         TextCase{0.0001, "0.0001", " 0.0001"}, TextCase{-0.5, "-0.5", "-0.5"},
                                         TextCase{123456789012345, "123456789012345", " 123456789012345"},
                                         TextCase{2147483648.0, "2147483648", " 2147483648"},
                                         TextCase{1234.5678, "1234.5678", " 1234.5678"}));

INSTANTIATE_TEST_SUITE_P(ExponentForm, NumberTextTest,
                         testing::Values(TextCase{1e15, "1E+15", " 1E+15"}, TextCase{1.5e16, "1.5E+16", " 1.5E+16"},
                                         TextCase{-1e15, "-1E+15", "-1E+15"}, TextCase{1e100, "1E+100", " 1E+100"},
                                         TextCase{1e-5, "1E-05", " 1E-05"}, TextCase{-2.5e-7, "-2.5E-07", "-2.5E-07"},
                                         TextCase{1e-300, "1E-300", " 1E-300"},
                                         // Fifteen nines round up into the next power of ten.
                                         TextCase{999999999999999.9, "1E+15", " 1E+15"},
                                         TextCase{0.000099999, "9.9999E-05", " 9.9999E-05"}));

// ---- NumericPrefix ----

struct PrefixCase {
  std::string_view text;
  double expected;
};

std::ostream& operator<<(std::ostream& out, const PrefixCase& c) { return out << '"' << c.text << '"'; }

class NumericPrefixTest : public testing::TestWithParam<PrefixCase> {};

TEST_P(NumericPrefixTest, ReadsTheNumberAtTheStart) {
  EXPECT_DOUBLE_EQ(NumericPrefix(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Decimals, NumericPrefixTest,
                         testing::Values(PrefixCase{"", 0}, PrefixCase{"abc", 0}, PrefixCase{"-", 0},
                                         PrefixCase{"+", 0}, PrefixCase{".", 0}, PrefixCase{"-.", 0},
                                         PrefixCase{"42", 42}, PrefixCase{"12abc", 12}, PrefixCase{"+7", 7},
                                         PrefixCase{"-7", -7}, PrefixCase{"--7", 0}, PrefixCase{"+-7", 0},
                                         PrefixCase{"1.2.3", 1.2}, PrefixCase{".5", 0.5}, PrefixCase{"-.25", -0.25},
                                         PrefixCase{"5.", 5}, PrefixCase{"12,5", 12}, PrefixCase{"007", 7},
                                         PrefixCase{"3.14159", 3.14159}, PrefixCase{"1e", 1},
                                         PrefixCase{"12345678901234567890", 12345678901234567890.0}));

INSTANTIATE_TEST_SUITE_P(BlanksSkippedAnywhere, NumericPrefixTest,
                         testing::Values(PrefixCase{"1 2 3", 123}, PrefixCase{" 4 5x", 45}, PrefixCase{"\t1\t0", 10},
                                         PrefixCase{"1\n2\r\n3", 123}, PrefixCase{"- 5", -5}, PrefixCase{"1 . 5", 1.5},
                                         PrefixCase{"1 e 2", 100}, PrefixCase{"& H 1 F", 31}, PrefixCase{"   ", 0}));

INSTANTIATE_TEST_SUITE_P(Exponents, NumericPrefixTest,
                         testing::Values(PrefixCase{"1e3", 1000}, PrefixCase{"1E3", 1000}, PrefixCase{"1d3", 1000},
                                         PrefixCase{"1D3", 1000}, PrefixCase{"2.5e-2", 0.025},
                                         PrefixCase{"2.5E+2", 250}, PrefixCase{"3e", 3}, PrefixCase{"3e+", 3},
                                         PrefixCase{"3e-x", 3}, PrefixCase{"3ex", 3}, PrefixCase{"4e2.5", 400},
                                         PrefixCase{".5e1", 5}, PrefixCase{"5.e1", 50}, PrefixCase{"-1e2", -100},
                                         PrefixCase{"0e999", 0}, PrefixCase{"e5", 0}, PrefixCase{"1e-400", 0},
                                         PrefixCase{"0.0000000001e-395", 0},
                                         PrefixCase{"1e00000000000000000000002", 100}));

INSTANTIATE_TEST_SUITE_P(
    RadixConstants, NumericPrefixTest,
    testing::Values(PrefixCase{"&H1F", 31}, PrefixCase{"&h1f", 31}, PrefixCase{"&O17", 15}, PrefixCase{"&o17", 15},
                    PrefixCase{"&HFFFF", -1}, PrefixCase{"&H8000", -32768}, PrefixCase{"&H7FFF", 32767},
                    PrefixCase{"&H10000", 65536}, PrefixCase{"&HFFFFFFFF", -1}, PrefixCase{"&H80000000", -2147483648.0},
                    PrefixCase{"&H7FFFFFFF", 2147483647}, PrefixCase{"&H0000FFFF", -1}, PrefixCase{"&O177777", -1},
                    PrefixCase{"&O200000", 65536}, PrefixCase{"&O37777777777", -1}, PrefixCase{"&H", 0},
                    PrefixCase{"&Hxyz", 0}, PrefixCase{"&H1G", 1}, PrefixCase{"&O78", 7}, PrefixCase{"&O8", 0},
                    PrefixCase{"&H1.5", 1}, PrefixCase{"&X12", 0}, PrefixCase{"&12", 0}, PrefixCase{"-&H10", 0}));

TEST(NumericPrefix, RaisesOverflowBeyondItsRange) {
  for (const std::string_view text : {"&H100000000", "&HFFFFFFFFFFFFFFFFFFFF", "&O40000000000", "1e400", "-1e400",
                                      "1e99999999999999999999", "0.001e312"}) {
    EXPECT_THROW(NumericPrefix(text), OverflowError) << '"' << text << '"';
  }
}

TEST(NumericPrefix, JudgesLongDigitRunsByTheirMagnitude) {
  const std::string zeros(400, '0');
  EXPECT_EQ(NumericPrefix("0." + zeros + "1"), 0.0);
  EXPECT_EQ(NumericPrefix("0." + zeros + "1e402"), 10.0);
  EXPECT_THROW(NumericPrefix("1" + zeros), OverflowError);
  EXPECT_THROW(NumericPrefix(zeros + "1" + zeros), OverflowError);
  EXPECT_EQ(NumericPrefix("1" + zeros + "e-400"), 1.0);
}

TEST(NumericPrefix, ReadsTheLargestAndTiniestDoubles) {
  EXPECT_EQ(NumericPrefix("1.7976931348623157e308"), std::numeric_limits<double>::max());
  EXPECT_EQ(NumericPrefix("5e-324"), std::numeric_limits<double>::denorm_min());
}

TEST(NumericPrefix, ReadsBackTheNumberTexts) {
  for (const double value : {0.3, -2.0, 1e15, 1.5e16, 1e-5, 123456.789, -0.000125}) {
    EXPECT_DOUBLE_EQ(NumericPrefix(NumberText(value)), value) << value;
    EXPECT_DOUBLE_EQ(NumericPrefix(LeadingBlank(value)), value) << value;
  }
}

// ---- Rounding ----

struct RoundCase {
  double value;
  std::int32_t expected;
};

std::ostream& operator<<(std::ostream& out, const RoundCase& c) { return out << "round " << c.value; }

class RoundHalfEvenTest : public testing::TestWithParam<RoundCase> {};

TEST_P(RoundHalfEvenTest, RoundsHalvesToTheEvenNeighbour) {
  EXPECT_EQ(RoundHalfEven(GetParam().value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Values, RoundHalfEvenTest,
                         testing::Values(RoundCase{0.5, 0}, RoundCase{1.5, 2}, RoundCase{2.5, 2}, RoundCase{3.5, 4},
                                         RoundCase{-0.5, 0}, RoundCase{-1.5, -2}, RoundCase{-2.5, -2},
                                         RoundCase{-3.5, -4}, RoundCase{2.5000001, 3}, RoundCase{2.4999999, 2},
                                         RoundCase{-2.5000001, -3}, RoundCase{0.49999999999999994, 0}, RoundCase{0, 0},
                                         RoundCase{-0.0, 0}, RoundCase{7, 7}, RoundCase{-7.2, -7}, RoundCase{1e-300, 0},
                                         RoundCase{2147483647.4, 2147483647}, RoundCase{2147483646.5, 2147483646},
                                         RoundCase{-2147483648.5, -2147483647 - 1},
                                         RoundCase{-2147483647.5, -2147483647 - 1}));

TEST(RoundHalfEven, RaisesOverflowBeyondThirtyTwoBits) {
  for (const double value :
       {2147483647.5, 2147483648.0, -2147483648.6, -2147483649.0, 1e300, -1e300, kInfinity, -kInfinity, kNaN}) {
    EXPECT_THROW(RoundHalfEven(value), OverflowError) << value;
  }
}

TEST(RoundHalfEven16, RoundsHalvesToTheEvenNeighbourWithinSixteenBits) {
  for (const auto& [value, expected] : {std::pair{2.5, 2},
                                        {3.5, 4},
                                        {-1.5, -2},
                                        {32766.5, 32766},
                                        {32767.4, 32767},
                                        {-32768.5, -32768},
                                        {-32767.5, -32768}})
    EXPECT_EQ(RoundHalfEven16(value), expected) << value;
  for (const double value : {32767.5, 32768.0, -32768.6, -32769.0, 65535.0, kInfinity, kNaN})
    EXPECT_THROW(RoundHalfEven16(value), OverflowError) << value;
}

TEST(Fix, TruncatesTowardsZero) {
  for (const auto& [value, expected] : {std::pair{2.7, 2.0},
                                        {-2.7, -2.0},
                                        {-0.2, 0.0},
                                        {0.9999, 0.0},
                                        {-5.0, -5.0},
                                        {1e18, 1e18},
                                        {4294967296.75, 4294967296.0}})
    EXPECT_EQ(Fix(value), expected) << value;
}

// ---- 16-bit arithmetic ----

TEST(Int16Arithmetic, AddsMultipliesAndNarrowsWithinRange) {
  EXPECT_EQ(Int16Add(30000, 2767), 32767);
  EXPECT_EQ(Int16Add(-30000, -2768), -32768);
  EXPECT_EQ(Int16Add(32767, -32768), -1);
  EXPECT_EQ(Int16Multiply(9, 3600), 32400);
  EXPECT_EQ(Int16Multiply(-128, 256), -32768);
  EXPECT_EQ(Int16Multiply(0, -32768), 0);
  EXPECT_EQ(ToInt16(32767), 32767);
  EXPECT_EQ(ToInt16(-32768), -32768);
}

TEST(Int16Arithmetic, OverflowsOutsideRange) {
  for (const auto& [a, b] : {std::pair{32767, 1}, {-32768, -1}, {20000, 20000}})
    EXPECT_THROW(Int16Add(static_cast<std::int16_t>(a), static_cast<std::int16_t>(b)), OverflowError) << a << "+" << b;
  // A limit of ten hours given in seconds.
  for (const auto& [a, b] : {std::pair{10, 3600}, {128, 256}, {-1, -32768}, {-32768, -32768}})
    EXPECT_THROW(Int16Multiply(static_cast<std::int16_t>(a), static_cast<std::int16_t>(b)), OverflowError)
        << a << "*" << b;
  for (const std::int64_t value : {std::int64_t{32768}, std::int64_t{-32769}, std::int64_t{65535},
                                   std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()})
    EXPECT_THROW(ToInt16(value), OverflowError) << value;
}

// ---- Division ----

TEST(Divide, DividesPlainlyAndRaisesOnAZeroDivisor) {
  EXPECT_EQ(Divide(7, 2), 3.5);
  EXPECT_EQ(Divide(-1, 4), -0.25);
  EXPECT_DOUBLE_EQ(Divide(1, 3), 1.0 / 3.0);
  for (const auto& [numerator, divisor] : {std::pair{1.0, 0.0}, {0.0, 0.0}, {-3.0, -0.0}})
    EXPECT_THROW(Divide(numerator, divisor), DivisionByZeroError) << numerator << "/" << divisor;
}

}  // namespace
}  // namespace zr
