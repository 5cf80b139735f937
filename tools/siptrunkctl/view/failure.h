#pragma once

#include <stdexcept>
#include <string>

/// How the tool ends; part of its interface, since scripts look at it.
enum class ExitCode : int {
    kDone = 0,
    kFailed = 1,
    kUsage = 2,
    kNoSuchTrunk = 3,
    kTaken = 4,
    kMalformed = 5,
    kNotPermitted = 6
};

/// Ends a command. Each line of the text names the object, the cause and, where one is known, the
/// cure.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& text) : Failure(ExitCode::kFailed, text) {}
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ExitCode Code() const { return m_code; }

  private:
    ExitCode m_code;
};

/// A command line that asks for something impossible; nothing was looked at or changed.
class UsageFailure : public Failure {
  public:
    explicit UsageFailure(const std::string& text) : Failure(ExitCode::kUsage, text) {}
};
