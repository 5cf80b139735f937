#include "support/written_text.h"

#if !defined(__SSE2__)

namespace support {

std::size_t SkipWrittenLines(std::string_view text, std::size_t line, const SectionGrammar& grammar,
                             std::vector<Section>& sections) {
    const std::string_view seam = grammar.Seam();
    const char* at = text.data() + line;
    for (;;) {
        const char* const keyEnd = grammar.WrittenKeyEnd(at);
        if (keyEnd != nullptr) {
            const char* const end = LineEnd(keyEnd + 1);
            if (*end == '\n') {
                at = end + 1;
                continue;
            }
        }
        const auto place = static_cast<std::size_t>(at - text.data());
        if (place + seam.size() > text.size() || !IsSame({at, seam.size()}, seam)) {
            return place;
        }
        sections.back().end = place + 2;
        OpenSection(sections, place + 2, text.size());
        at += seam.size();
    }
}

}  // namespace support

#endif
