// The lexical level of the scenario reader: lines, the cursor, tokens and literals.

#include "apps/scenario/script_lexer.h"

#include <charconv>
#include <cmath>
#include <utility>

namespace zr::scenario {

ParseError::ParseError(int line, std::string expected, std::string found)
    : std::runtime_error("expected " + expected + ", found " + found),
      line_(line),
      expected_(std::move(expected)),
      found_(std::move(found)) {}

std::string ExpandPlaceholders(std::string_view text, std::string_view app_folder_with_slash,
                               std::string_view temp_folder_with_slash) {
  constexpr std::string_view kApp = "$APP";
  constexpr std::string_view kTemp = "$TEMP";
  std::string expanded;
  while (!text.empty()) {
    if (text.starts_with(kApp)) {
      expanded += app_folder_with_slash;
      text.remove_prefix(kApp.size());
    } else if (text.starts_with(kTemp)) {
      expanded += temp_folder_with_slash;
      text.remove_prefix(kTemp.size());
    } else {
      expanded += text.front();
      text.remove_prefix(1);
    }
  }
  return expanded;
}

namespace lexer {

namespace {

// Longest piece of a line quoted back in an error.
constexpr std::size_t kShownLength = 40;
// Deepest chain of `after` commands on one line; keeps the reader's recursion bounded.
constexpr int kMaxAfterDepth = 16;
constexpr double kMaxMilliseconds = 1e12;

constexpr std::string_view kEscapesExpected = "an escape (\\\" \\\\ \\r \\n \\t \\xHH)";
constexpr std::string_view kDurationExpected = "a duration (a number with ms or s, as 600ms or 1.5s)";

int HexDigitValue(char c) {
  if (IsDigit(c)) return c - '0';
  return (c >= 'a' ? c - 'a' : c - 'A') + 10;
}

void AppendShownChar(std::string& shown, char c) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  if (c == '"' || c == '\\') {
    shown += '\\';
    shown += c;
  } else if (byte < 0x20 || byte >= 0x7f) {
    shown += "\\x";
    shown += kHex[byte >> 4];
    shown += kHex[byte & 0xf];
  } else {
    shown += c;
  }
}

char LexEscape(Cursor& c, std::size_t backslash) {
  switch (c.Take()) {
    case '"':
      return '"';
    case '\\':
      return '\\';
    case 'r':
      return '\r';
    case 'n':
      return '\n';
    case 't':
      return '\t';
    case 'x': {
      const char high = c.Peek();
      const char low = c.Peek(1);
      if (!IsHexDigit(high) || !IsHexDigit(low)) {
        c.FailFound(kEscapesExpected, c.Slice(backslash, 4));
      }
      c.Advance(2);
      return HexByte(high, low);
    }
    default:
      c.FailFound(kEscapesExpected, c.From(backslash));
  }
}

}  // namespace

char HexByte(char high, char low) { return static_cast<char>(HexDigitValue(high) * 16 + HexDigitValue(low)); }

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string Shown(std::string_view text) {
  std::string shown = "\"";
  for (const char c : text.substr(0, kShownLength)) AppendShownChar(shown, c);
  if (text.size() > kShownLength) shown += "...";
  return shown + '"';
}

// ---------------------------------------------------------------------------------------------
// Lines and the cursor

std::string_view LineSource::Next() {
  const std::size_t end = rest_.find('\n');
  std::string_view line = rest_.substr(0, end);
  rest_ = end == std::string_view::npos ? std::string_view{} : rest_.substr(end + 1);
  ++line_number_;
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

void Cursor::EnterAfter() {
  if (++after_depth_ > kMaxAfterDepth) {
    Fail("at most " + std::to_string(kMaxAfterDepth) + " nested after commands");
  }
}

std::string Cursor::TakeBlock(std::string_view end_word, std::string_view line_end) {
  std::string block;
  while (lines_.HasMore()) {
    const std::string_view line = lines_.Next();
    if (line == end_word) return block;
    block.append(line).append(line_end);
  }
  throw ParseError(line_number_, "a line " + Shown(end_word) + " ending the text block", "end of file");
}

void Cursor::FailAt(std::size_t start, std::string_view expected) const {
  throw ParseError(line_number_, std::string(expected), FoundAt(start));
}

void Cursor::FailFound(std::string_view expected, std::string_view found) const {
  throw ParseError(line_number_, std::string(expected), Shown(found));
}

std::size_t Cursor::NextNonBlank() const {
  std::size_t next = position_;
  while (next < text_.size() && IsBlank(text_[next])) ++next;
  return next;
}

std::string Cursor::FoundAt(std::size_t start) const {
  if (start >= text_.size()) return std::string(kEndOfLine);
  if (IsBlank(text_[start])) return "a blank";
  const std::string_view rest = text_.substr(start);
  return Shown(rest.substr(0, std::min(rest.find_first_of(" \t"), rest.size())));
}

// ---------------------------------------------------------------------------------------------
// Tokens

bool AtLineEnd(Cursor& c) {
  c.SkipBlanks();
  return c.AtEnd();
}

void RequireEnd(Cursor& c) {
  if (!AtLineEnd(c)) c.Fail(kEndOfLine);
}

std::string_view PeekToken(Cursor& c) {
  c.SkipBlanks();
  const std::string_view rest = c.Rest();
  const auto belongs = IsOperatorChar(c.Peek()) ? IsOperatorChar : IsWordChar;
  std::size_t length = 0;
  while (length < rest.size() && belongs(rest[length])) ++length;
  return rest.substr(0, length);
}

void FailToken(Cursor& c, std::string_view expected) {
  const std::string_view token = PeekToken(c);
  if (token.empty()) c.Fail(expected);
  c.FailFound(expected, token);
}

bool TakeKeyword(Cursor& c, std::string_view keyword) {
  if (PeekToken(c) != keyword) return false;
  c.Advance(keyword.size());
  return true;
}

void RequireKeyword(Cursor& c, std::string_view keyword) {
  if (!TakeKeyword(c, keyword)) FailToken(c, Shown(keyword));
}

bool TakeSymbol(Cursor& c, std::string_view symbol) {
  c.SkipBlanks();
  return c.ConsumeText(symbol);
}

void RequireSymbol(Cursor& c, std::string_view symbol) {
  if (!TakeSymbol(c, symbol)) c.Fail(Shown(symbol));
}

void RequireOperator(Cursor& c, std::string_view op) {
  if (PeekToken(c) != op) FailToken(c, Shown(op));
  c.Advance(op.size());
}

// ---------------------------------------------------------------------------------------------
// Literals

std::string LexString(Cursor& c, std::string_view expected) {
  if (!c.Consume('"')) c.Fail(expected);
  std::string text;
  while (!c.AtEnd()) {
    const std::size_t here = c.position();
    const char next = c.Take();
    if (next == '"') return text;
    text += next == '\\' ? LexEscape(c, here) : next;
  }
  c.Fail("a closing double quote");
}

std::string TakeString(Cursor& c, std::string_view expected) {
  c.SkipBlanks();
  return LexString(c, expected);
}

std::vector<std::string> TakeStrings(Cursor& c) {
  std::vector<std::string> strings;
  while (!AtLineEnd(c)) strings.push_back(TakeString(c));
  return strings;
}

NumberToken LexNumber(Cursor& c, std::string_view expected) {
  const std::size_t start = c.position();
  c.Consume('-');
  if (c.LexWhile(IsDigit).empty()) c.FailAt(start, expected);
  if (c.Peek() == '.' && IsDigit(c.Peek(1))) {
    c.Advance(1);
    c.LexWhile(IsDigit);
  }
  NumberToken token{.text = c.From(start)};
  const char* const end = token.text.data() + token.text.size();
  if (std::from_chars(token.text.data(), end, token.value).ec != std::errc{}) {
    c.FailFound(expected, token.text);
  }
  return token;
}

double TakeNumber(Cursor& c, std::string_view expected) {
  c.SkipBlanks();
  return LexNumber(c, expected).value;
}

std::int64_t LexInteger(Cursor& c, std::int64_t lowest, std::int64_t highest, std::string_view expected) {
  const NumberToken token = LexNumber(c, expected);
  const bool whole = token.value == std::floor(token.value);
  if (!whole || token.value < static_cast<double>(lowest) || token.value > static_cast<double>(highest)) {
    c.FailFound(expected, token.text);
  }
  return static_cast<std::int64_t>(token.value);
}

int LexInt(Cursor& c, int lowest, int highest, std::string_view expected) {
  return static_cast<int>(LexInteger(c, lowest, highest, expected));
}

int TakeInt(Cursor& c, int lowest, int highest, std::string_view expected) {
  c.SkipBlanks();
  return LexInt(c, lowest, highest, expected);
}

Size LexSize(Cursor& c, std::string_view expected) {
  const std::size_t start = c.position();
  Size size{.width = LexInt(c, 1, kMaxDimension, expected)};
  if (!c.Consume('x')) c.FailAt(start, expected);
  size.height = LexInt(c, 1, kMaxDimension, expected);
  return size;
}

Size TakeSize(Cursor& c) {
  c.SkipBlanks();
  return LexSize(c, kSizeExpected);
}

bool IsSizeText(std::string_view text) {
  const std::size_t x = text.find('x');
  const auto all_digits = [](std::string_view part) {
    return !part.empty() && std::all_of(part.begin(), part.end(), IsDigit);
  };
  return x != std::string_view::npos && all_digits(text.substr(0, x)) && all_digits(text.substr(x + 1));
}

Duration TakeDuration(Cursor& c) {
  c.SkipBlanks();
  const std::size_t start = c.position();
  const double amount = LexNumber(c, kDurationExpected).value;
  double unit = 0;
  if (c.ConsumeText("ms")) {
    unit = 1;
  } else if (c.Consume('s')) {
    unit = 1000;
  }
  const double milliseconds = amount * unit;
  if (unit == 0 || IsWordChar(c.Peek()) || milliseconds < 0 || milliseconds > kMaxMilliseconds) {
    c.FailAt(start, kDurationExpected);
  }
  const double whole = std::round(milliseconds);
  if (std::abs(milliseconds - whole) > 1e-6) c.FailAt(start, "a whole number of milliseconds");
  return Duration(static_cast<Duration::rep>(whole));
}

std::string TakePath(Cursor& c) {
  c.SkipBlanks();
  if (c.Peek() == '"') return LexString(c);
  const std::string_view bare = c.LexWhile(IsNotBlank);
  if (bare.empty()) c.Fail("a path");
  return std::string(bare);
}

std::string LexName(Cursor& c, std::string_view expected) {
  if (!IsNameStart(c.Peek())) c.FailAt(c.position(), expected);
  return std::string(c.LexWhile(IsNameChar));
}

std::string TakeName(Cursor& c) {
  c.SkipBlanks();
  return LexName(c, "a name");
}

bool AtHeredoc(Cursor& c) {
  c.SkipBlanks();
  return c.Rest().starts_with("<<") || PeekToken(c) == "lf";
}

std::string TakeHeredoc(Cursor& c) {
  const std::string_view line_end = TakeKeyword(c, "lf") ? "\n" : "\r\n";
  RequireSymbol(c, "<<");
  const std::string_view end_word = c.LexWhile(IsNameChar);
  if (end_word.empty()) c.FailAt(c.position(), "a word after << to end the text block");
  RequireEnd(c);
  return c.TakeBlock(end_word, line_end);
}

}  // namespace lexer
}  // namespace zr::scenario
