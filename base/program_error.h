#pragma once
// Run-time errors of the program's own procedures. A procedure that passes over errors
// statement by statement catches these (and only these) and goes on with its next step;
// anything else is a fault of the code and fails loudly.

#include <stdexcept>
#include <string>

namespace zr {

class ProgramError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A device operation that failed (the capture control raises these).
class DeviceError : public ProgramError {
 public:
  using ProgramError::ProgramError;
};

// A file that could not be read, written or deleted.
class FileError : public ProgramError {
 public:
  using ProgramError::ProgramError;
};

// Runs one statement of a procedure that passes over errors: a program error in it is
// dropped and the procedure goes on with the next statement.
template <class Statement>
void ResumeNext(Statement&& statement) {
  try {
    statement();
  } catch (const ProgramError&) {
  }
}

}  // namespace zr
