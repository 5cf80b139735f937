#pragma once

#include <cstddef>
#include <string_view>

#include "tests/below/recorder.h"

namespace Configuration {

/// Stands in for the sectioned file: has the recorder's sections, and records each call.
class MultiSectionFile {
  public:
    MultiSectionFile(std::string_view path, bool create, bool readOnly, bool third,
                     std::string_view keyword, std::string_view opener, std::string_view closer,
                     std::string_view separator, std::string_view commentMark, const char* last) {
        const bool isRight = path == "/below/telephony/siptrunkdb" && keyword == "section" &&
                             opener == "{\n" && closer == "}\n" && separator == "=" &&
                             commentMark == "#" && last == nullptr;
        below::RecordOpening("database", isRight, create, readOnly, third);
    }
    ~MultiSectionFile() { m_recorder.Note("~database"); }
    MultiSectionFile(const MultiSectionFile&) = delete;
    MultiSectionFile& operator=(const MultiSectionFile&) = delete;

    void Restart() { m_recorder.Record("Restart"); }
    bool GotoNextSection() {
        m_recorder.Record("Next");
        return m_next < m_recorder.sections.size() && ++m_next > 0;
    }
    void RestartSection() { m_recorder.Record("RestartSection"); }

    unsigned int GetSectionEntry(const char* key, char* buffer, unsigned int size) {
        return below::Read(Current(), key, buffer, size);
    }
    unsigned int SetSectionEntry(const char* key, const char* value) {
        return below::Set(Current(), key, value);
    }
    void AddSection(bool first) {
        m_recorder.Record("AddSection(" + below::Word(first) + ")");
        auto& sections = m_recorder.sections;
        sections.emplace(first ? sections.begin() : sections.end());
        m_next = first ? 1 : sections.size();
    }
    void AddSectionEntry(const char* key, const char* value) {
        m_recorder.Record(std::string("+") + key + "=" + value);
    }
    void DeleteSection() { m_recorder.Record("DeleteSection"); }
    void DeleteSectionEntry(const char* key) { m_recorder.Record(std::string("-") + key); }

    void Save(bool first, const char* last) { below::Save(first, last); }

  private:
    below::Entries& Current() { return m_recorder.sections.at(m_next - 1); }

    below::Recorder& m_recorder = below::Recording();
    std::size_t m_next = 0;  // the section after the current one
};

}  // namespace Configuration
