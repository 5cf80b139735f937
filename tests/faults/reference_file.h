#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// A trunk database the slow and plain way: a list of lines, each change a change of that list. It
/// shares no code with the library, so that each can be compared with the other.
class ReferenceFile {
  public:
    /// Returns nothing when the text breaks the grammar.
    static std::optional<ReferenceFile> Parse(const std::string& text);

    std::string Text() const;
    std::size_t SectionCount() const { return Sections().size(); }

    /// The value of the first entry with the key, whole.
    std::optional<std::string> Get(std::size_t section, const std::string& key) const;
    /// What a read into 1024 bytes gives: cut short, and the empty text for an absent key.
    std::string Read(std::size_t section, const std::string& key) const;
    /// The first section whose key reads as `text`.
    std::optional<std::size_t> Find(const std::string& key, const std::string& text) const;

    void Set(std::size_t section, const std::string& key, const std::string& value);
    /// Adds an entry after the last.
    void Add(std::size_t section, const std::string& key, const std::string& value);
    void Delete(std::size_t section, const std::string& key);
    void DeleteSection(std::size_t section);
    /// Adds an empty section.
    void InsertFirstSection();
    void AppendSection();

  private:
    struct Place {
        std::size_t opener;
        std::size_t closer;
    };

    std::vector<Place> Sections() const;
    std::optional<std::size_t> FindEntry(std::size_t section, const std::string& key) const;
    void InsertSection(std::size_t line);

    std::vector<std::string> m_lines;  // each with its line end
};
