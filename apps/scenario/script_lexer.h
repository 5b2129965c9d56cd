#pragma once
// The lexical level of the scenario reader: the lines of a file, a cursor over one line, and the
// tokens a command is built from (words, operators, quoted strings with their escapes, numbers,
// sizes, durations, paths, names, text blocks). Every error it raises is a ParseError that
// quotes the text it found. The grammar (script_grammar.cpp) builds the commands from these.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/scenario/script.h"

namespace zr::scenario::lexer {

// The largest width or height of a size, and the largest pixel coordinate.
constexpr int kMaxDimension = 65535;

constexpr std::string_view kEndOfLine = "end of line";
constexpr std::string_view kStringExpected = "a string in double quotes";
constexpr std::string_view kSizeExpected = "a size WxH (as 320x240)";

// ---------------------------------------------------------------------------------------------
// Characters and text

inline bool IsBlank(char c) { return c == ' ' || c == '\t'; }
inline bool IsNotBlank(char c) { return !IsBlank(c); }
inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
inline bool IsNameStart(char c) { return IsLetter(c) || c == '_'; }
inline bool IsNameChar(char c) { return IsNameStart(c) || IsDigit(c); }
inline bool IsWordChar(char c) { return IsNameChar(c) || c == '-'; }
inline bool IsOperatorChar(char c) { return c == '=' || c == '!' || c == '<' || c == '>' || c == '~'; }
inline bool IsBareKeyChar(char c) { return IsNotBlank(c) && c != '[' && c != ']' && c != '"'; }
inline bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// Two hex digits as the byte they stand for: '4', 'C' -> 'L'.
char HexByte(char high, char low);

std::string_view TrimBlanks(std::string_view text);

// Text quoted back in an error: in double quotes, unprintable bytes as \xHH, long text cut.
std::string Shown(std::string_view text);

// ---------------------------------------------------------------------------------------------
// Lines and the cursor

// The lines of a scenario file, handed out one at a time, without their LF or CR LF.
class LineSource {
 public:
  explicit LineSource(std::string_view source) : rest_(source) {}

  bool HasMore() const { return !rest_.empty(); }
  std::string_view Next();

  // The number of the line last handed out, from 1.
  int line_number() const { return line_number_; }

 private:
  std::string_view rest_;
  int line_number_ = 0;
};

// A position in one line of a scenario file, and the errors that quote from it.
class Cursor {
 public:
  Cursor(std::string_view text, int line_number, LineSource& lines)
      : text_(text), line_number_(line_number), lines_(lines) {}

  // A cursor over a piece of text taken from this line (an item of a quoted list); its errors
  // carry this line's number.
  Cursor Within(std::string_view piece) const { return Cursor(piece, line_number_, lines_); }

  int line_number() const { return line_number_; }
  std::size_t position() const { return position_; }
  bool AtEnd() const { return position_ >= text_.size(); }
  char Peek(std::size_t ahead = 0) const { return position_ + ahead < text_.size() ? text_[position_ + ahead] : '\0'; }
  std::string_view Rest() const { return text_.substr(position_); }
  std::string_view From(std::size_t start) const { return text_.substr(start, position_ - start); }
  std::string_view Slice(std::size_t start, std::size_t length) const { return text_.substr(start, length); }

  void Advance(std::size_t count) { position_ = std::min(position_ + count, text_.size()); }
  char Take() {
    const char c = Peek();
    Advance(1);
    return c;
  }
  bool Consume(char c) {
    if (AtEnd() || text_[position_] != c) return false;
    ++position_;
    return true;
  }
  bool ConsumeText(std::string_view piece) {
    if (!Rest().starts_with(piece)) return false;
    position_ += piece.size();
    return true;
  }
  void SkipBlanks() { position_ = NextNonBlank(); }

  template <typename Predicate>
  std::string_view LexWhile(Predicate belongs) {
    const std::size_t start = position_;
    while (!AtEnd() && belongs(text_[position_])) ++position_;
    return From(start);
  }

  // Counts one more `after` on this line; too deep a chain is an error.
  void EnterAfter();

  // The lines after this one up to a line that is exactly end_word, each ended by line_end.
  std::string TakeBlock(std::string_view end_word, std::string_view line_end);

  // Errors: found is the run of non-blank text at `start` (or at the next non-blank).
  [[noreturn]] void FailAt(std::size_t start, std::string_view expected) const;
  [[noreturn]] void Fail(std::string_view expected) const { FailAt(NextNonBlank(), expected); }
  [[noreturn]] void FailFound(std::string_view expected, std::string_view found) const;

 private:
  std::size_t NextNonBlank() const;
  std::string FoundAt(std::size_t start) const;

  std::string_view text_;
  std::size_t position_ = 0;
  int line_number_;
  LineSource& lines_;
  int after_depth_ = 0;
};

// ---------------------------------------------------------------------------------------------
// Tokens

bool AtLineEnd(Cursor& c);
void RequireEnd(Cursor& c);

// The next token, not taken: a run of operator characters (== <= ~) or of word characters.
std::string_view PeekToken(Cursor& c);

// An error quoting the next token, or the next non-blank text where no token starts.
[[noreturn]] void FailToken(Cursor& c, std::string_view expected);

bool TakeKeyword(Cursor& c, std::string_view keyword);
void RequireKeyword(Cursor& c, std::string_view keyword);
bool TakeSymbol(Cursor& c, std::string_view symbol);
void RequireSymbol(Cursor& c, std::string_view symbol);

// An operator token that must be exactly `op`: "=" is not "==".
void RequireOperator(Cursor& c, std::string_view op);

// One word of a fixed set and what it stands for.
template <typename T>
struct Choice {
  std::string_view word;
  T value;
};

// "a, b or c"
template <typename T, std::size_t N>
std::string Alternatives(const std::array<Choice<T>, N>& choices) {
  std::string text;
  for (std::size_t i = 0; i < N; ++i) {
    if (i > 0) text += i + 1 == N ? " or " : ", ";
    text += choices[i].word;
  }
  return text;
}

template <typename T, std::size_t N>
std::optional<T> FindChoice(const std::array<Choice<T>, N>& choices, std::string_view word) {
  for (const Choice<T>& choice : choices) {
    if (choice.word == word) return choice.value;
  }
  return std::nullopt;
}

template <typename T, std::size_t N>
T TakeChoice(Cursor& c, const std::array<Choice<T>, N>& choices, std::string_view expected) {
  const std::string_view token = PeekToken(c);
  const std::optional<T> value = FindChoice(choices, token);
  if (!value) FailToken(c, expected);
  c.Advance(token.size());
  return *value;
}

template <typename T, std::size_t N>
T TakeChoice(Cursor& c, const std::array<Choice<T>, N>& choices) {
  return TakeChoice(c, choices, Alternatives(choices));
}

// "(" what `take` reads ")"
template <typename Reader>
auto TakeParenthesised(Cursor& c, Reader take) {
  RequireSymbol(c, "(");
  auto value = take(c);
  RequireSymbol(c, ")");
  return value;
}

// ---------------------------------------------------------------------------------------------
// Literals. Lex* read at the cursor; Take* first skip the blanks before.

// "text" with its escapes decoded.
std::string LexString(Cursor& c, std::string_view expected = kStringExpected);
std::string TakeString(Cursor& c, std::string_view expected = kStringExpected);

// Strings up to the end of the line.
std::vector<std::string> TakeStrings(Cursor& c);

// A number as written and its value.
struct NumberToken {
  std::string_view text;
  double value = 0;
};

// -?digits(.digits)?
NumberToken LexNumber(Cursor& c, std::string_view expected);
double TakeNumber(Cursor& c, std::string_view expected);

// A whole number from lowest to highest.
std::int64_t LexInteger(Cursor& c, std::int64_t lowest, std::int64_t highest, std::string_view expected);
int LexInt(Cursor& c, int lowest, int highest, std::string_view expected);
int TakeInt(Cursor& c, int lowest, int highest, std::string_view expected);

// WxH, each from 1 to kMaxDimension.
Size LexSize(Cursor& c, std::string_view expected);
Size TakeSize(Cursor& c);

// digits x digits, as "640x480"
bool IsSizeText(std::string_view text);

// A number with ms or s, as 600ms or 1.5s: a whole number of milliseconds, not negative.
Duration TakeDuration(Cursor& c);

// A quoted path, or a bare one up to the next blank.
std::string TakePath(Cursor& c);

// A letter or underscore, then letters, digits and underscores.
std::string LexName(Cursor& c, std::string_view expected);
std::string TakeName(Cursor& c);

// Whether a text block ([lf] <<WORD) comes next.
bool AtHeredoc(Cursor& c);

// [lf] <<WORD at the end of the line, then the block of lines up to WORD.
std::string TakeHeredoc(Cursor& c);

}  // namespace zr::scenario::lexer
