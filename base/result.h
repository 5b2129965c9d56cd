#pragma once
// Errors as values for the platform seams: a failure carries a message and where it came from;
// the logic turns it into the program's own texts.

#include <string>
#include <utility>
#include <variant>

namespace zr {

struct Error {
  std::string message;   // what went wrong, for the operator's eyes or a log
  std::string where;     // the operation that failed, e.g. "avformat_write_header"
  int system_error = 0;  // the system's error number (errno) when the system refused, else 0
};

template <class T>
class Result {
 public:
  Result(T value) : content_(std::move(value)) {}      // NOLINT: implicit by design
  Result(Error error) : content_(std::move(error)) {}  // NOLINT: implicit by design

  bool ok() const { return std::holds_alternative<T>(content_); }
  explicit operator bool() const { return ok(); }
  T& value() { return std::get<T>(content_); }
  const T& value() const { return std::get<T>(content_); }
  T& operator*() { return value(); }
  T* operator->() { return &value(); }
  const T& operator*() const { return value(); }
  const T* operator->() const { return &value(); }
  const Error& error() const { return std::get<Error>(content_); }

 private:
  std::variant<T, Error> content_;
};

struct Done {};

template <>
class Result<void> {
 public:
  Result() = default;
  Result(Error error) : error_(std::move(error)), failed_(true) {}  // NOLINT: implicit by design

  bool ok() const { return !failed_; }
  explicit operator bool() const { return ok(); }
  const Error& error() const { return error_; }

 private:
  Error error_;
  bool failed_ = false;
};

}  // namespace zr

// The platform seams name them as their own.
namespace zr::platform {
using zr::Done;
using zr::Error;
using zr::Result;
}  // namespace zr::platform
