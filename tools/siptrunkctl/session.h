#pragma once

#include <memory>
#include <string>
#include <vector>

#include "include/raiklaik.h"
#include "tools/siptrunkctl/arguments.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/operation_log.h"
#include "tools/siptrunkctl/output.h"

/// One run of one command: its arguments, the library, and what will be printed.
class Session {
  public:
    explicit Session(const Arguments& arguments) : m_arguments(arguments) {}

    const Arguments& Options() const { return m_arguments; }
    /// A word behind the command; the empty text when there are fewer.
    const std::string& Word(std::size_t place) const;

    /// The library, as the programs of the device use it.
    CSIPTrunkConfig& Service();

    /// Passes on what an operation of the library answered. Throws a Failure with the cause that
    /// the library logged, when it did.
    template <typename Result>
    Result Checked(Result result) {
        ThrowLogged();
        return result;
    }
    /// The same for an operation that must have answered true.
    void Require(bool result, const std::string& otherwise);

    /// Answers with a list. noun  what a record is
    void PrintList(const std::vector<Record>& records, const char* noun);
    /// Answers with one record.
    void PrintOne(const Record& record);
    /// Answers that something was done: the text for people, the record as JSON.
    void Confirm(const std::string& text, const Record& record);
    /// Ends the command with another code than 0, although it answers.
    void SetResult(ExitCode result) { m_result = result; }
    ExitCode Result() const { return m_result; }

    /// Answers with a text as it stands.
    void PrintText(const std::string& text) { m_output += text; }

    /// Writes the answer. Until then nothing is on the standard output, so a failure leaves it
    /// empty. Throws a Failure when it cannot be written.
    void Flush();

  private:
    void ThrowLogged();

    const Arguments& m_arguments;
    std::unique_ptr<OperationLog> m_log;
    std::unique_ptr<CSIPTrunkConfig> m_service;
    std::string m_output;
    ExitCode m_result = ExitCode::kDone;
};

/// Waits until the device's lock is free, when --wait limits how long; then the process ends.
void WaitForLock(const Arguments& arguments);
