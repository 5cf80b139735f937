#include "tools/siptrunkctl/view/output.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "support/printable_text.h"
#include "support/system_call.h"
#include "tools/siptrunkctl/view/failure.h"

bool WantsColor(const std::string& when, int fd) {
    if (when != "auto") {
        return when == "always";
    }
    const char* noColor = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return (noColor == nullptr || *noColor == '\0') && isatty(fd) == 1 && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

void WriteError(std::string_view text) {
    if (write(STDERR_FILENO, text.data(), text.size()) == -1) {
        return;  // there is nowhere else to tell it
    }
}

void Tell(std::string_view text, bool color) {
    WriteError((color ? "\x1b[1;31msiptrunkctl:\x1b[0m " : "siptrunkctl: ") +
               support::PrintableLine(std::string(text)) + "\n");
}

Layout Output::TheLayout() const {
    Layout layout;
    layout.legend = !m_options.noLegend;
    layout.color = WantsColor(m_options.color, STDOUT_FILENO);
    layout.secrets = m_options.showSecrets;
    struct winsize size {};
    if (!m_options.full && isatty(STDOUT_FILENO) == 1 &&
        ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        layout.columns = size.ws_col;
    }
    return layout;
}

void Output::PrintList(const std::vector<Record>& records, const char* noun) {
    m_text += m_options.json ? JsonText(ToJson(records, m_options.showSecrets))
                             : TableText(records, noun, TheLayout());
}

void Output::PrintOne(const Record& record) {
    m_text += m_options.json ? JsonText(ToJson(record, m_options.showSecrets))
                             : PageText(record, TheLayout());
}

void Output::Confirm(const std::string& text, const Record& record) {
    Confirm(text, m_options.json ? ToJson(record, m_options.showSecrets) : Json());
}

void Output::Confirm(const std::string& text, const Json& json) {
    if (m_options.json) {
        m_text += JsonText(json);
    } else if (!m_options.quiet) {
        m_text += text + "\n";
    }
}

void Output::Flush() {
    for (std::string_view text = m_text; !text.empty();) {
        const ssize_t written = support::RetryInterrupted(
            [&] { return write(STDOUT_FILENO, text.data(), text.size()); });
        if (written == -1) {
            throw Failure(std::string("standard output: write: ") + std::strerror(errno));
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    m_text.clear();
}
