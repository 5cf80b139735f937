#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/siptrunkctl/view/json.h"
#include "tools/siptrunkctl/view/table.h"

/// How the answer is wanted.
struct OutputOptions {
    std::string color = "auto";  ///< "auto", "always" or "never"
    bool json = false;
    bool quiet = false;
    bool noLegend = false;
    bool full = false;
    bool showSecrets = false;
};

/// The answer of one command. Until Flush, nothing is on the standard output, so a failure leaves
/// it empty.
class Output {
  public:
    /// @param options must outlive the object; they count when something is printed
    explicit Output(const OutputOptions& options) : m_options(options) {}

    /// Answers with a list; `noun` says what a record is.
    void PrintList(const std::vector<Record>& records, const char* noun);
    /// Answers with one record.
    void PrintOne(const Record& record);
    /// Answers that something was done: the text for people, or the record as JSON.
    void Confirm(const std::string& text, const Record& record);
    /// The same with JSON of another form.
    void Confirm(const std::string& text, const Json& json);
    /// Answers with a text, or with JSON, as it stands.
    void PrintText(std::string_view text) { m_text += text; }

    /// Writes the answer. Throws a Failure when it cannot be written.
    void Flush();

  private:
    Layout TheLayout() const;

    const OutputOptions& m_options;
    std::string m_text;
};

/// @return whether a stream is to have colors.
/// @param when as in OutputOptions
/// @param fd its descriptor
bool WantsColor(const std::string& when, int fd);

/// Writes a text to the standard error, as it stands.
void WriteError(std::string_view text);

/// Tells something on the standard error, in one line that begins with the tool's name.
void Tell(std::string_view text, bool color = false);
