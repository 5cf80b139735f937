#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <set>

#include "support/file_descriptor.h"
#include "support/system_call.h"
#include "tools/siptrunkctl/commands.h"
#include "tools/siptrunkctl/database_text.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/json.h"
#include "tools/siptrunkctl/text.h"
#include "tools/siptrunkctl/trunks.h"

namespace {

using Sections = std::vector<DatabaseSection>;

/// Sleeps until a file in a folder is written or replaced. The folder is watched, since every save
/// puts another file in the place of the old one.
class FolderWatch {
  public:
    /// path  the file; links are followed, as they are by a save
    explicit FolderWatch(const std::string& path) : m_events(inotify_init1(IN_CLOEXEC)) {
        const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr),
                                                          std::free);
        const std::string target = real ? real.get() : path;
        const std::size_t slash = target.rfind('/');
        const std::string folder = target.substr(0, slash);
        m_name = target.substr(slash + 1);
        const std::uint32_t events = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                     IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
        if (m_events.Number() == -1 ||
            inotify_add_watch(m_events.Number(), folder.c_str(), events) == -1) {
            ThrowSystemFailure(errno, folder, "watch");
        }
    }

    void WaitForChange() {
        while (!ReadEvents()) {
        }
    }

  private:
    // Returns whether one of the events is about the file.
    bool ReadEvents() {
        alignas(struct inotify_event) std::array<char, 4096> block{};
        const ssize_t count =
            RetryInterrupted([&] { return read(m_events.Number(), block.data(), block.size()); });
        if (count == -1) {
            ThrowSystemFailure(errno, m_name, "watch");
        }
        bool isAbout = false;
        struct inotify_event event {};
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);
             at += sizeof(event) + event.len) {
            std::memcpy(&event, block.data() + at, sizeof(event));
            if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED)) != 0) {
                throw Failure(ExitCode::kFailed, "the folder of " + m_name + " was removed");
            }
            const bool isNamed = event.len > 0 && m_name == block.data() + at + sizeof(event);
            isAbout = isAbout || isNamed || (event.mask & IN_Q_OVERFLOW) != 0;
        }
        return isAbout;
    }

    FileDescriptor m_events;
    std::string m_name;
};

/// Tells what has changed from one state of the database to the next.
class Comparison {
  public:
    Comparison(Session& session, const Sections& before, const Sections& after)
        : m_session(session), m_before(before), m_after(after) {}

    void Tell() {
        for (const DatabaseSection& section : m_before) {
            if (Counterpart(m_after, section) == nullptr) {
                TellTrunk("deleted", section);
            }
        }
        for (const DatabaseSection& section : m_after) {
            const DatabaseSection* old = Counterpart(m_before, section);
            if (old == nullptr) {
                TellTrunk("added", section);
            } else if (Counterpart(m_after, section) == &section) {
                TellKeys(*old, section);
            }
        }
    }

  private:
    // Of several trunks with one name only the first counts, and the section without a name is that
    // of the agents' switches.
    static const DatabaseSection* Counterpart(const Sections& sections,
                                              const DatabaseSection& wanted) {
        const std::string* name = wanted.Find("trunk_name");
        for (const DatabaseSection& section : sections) {
            const std::string* other = section.Find("trunk_name");
            if ((name == nullptr) == (other == nullptr) && (name == nullptr || *name == *other)) {
                return &section;
            }
        }
        return nullptr;
    }

    static Field NameOf(const DatabaseSection& section) {
        const std::string* name = section.Find("trunk_name");
        return name == nullptr ? None("name") : Text("name", *name);
    }

    static std::string Titled(const DatabaseSection& section) {
        const std::string* name = section.Find("trunk_name");
        return name == nullptr ? "the agents' switches" : "trunk " + Quoted(*name);
    }

    void TellTrunk(const char* change, const DatabaseSection& section) {
        Print(change + (" " + Titled(section)), {Text("change", change), NameOf(section)});
    }

    void TellKeys(const DatabaseSection& old, const DatabaseSection& section) {
        std::set<std::string> told;
        for (const auto* side : {&old, &section}) {
            for (const DatabaseEntry& entry : side->entries) {
                const std::string* before = old.Find(entry.key);
                const std::string* after = section.Find(entry.key);
                const bool isSame = before != nullptr && after != nullptr && *before == *after;
                if (!isSame && told.insert(entry.key).second) {
                    TellKey(section, entry.key, before, after);
                }
            }
        }
    }

    void TellKey(const DatabaseSection& section, const std::string& key, const std::string* before,
                 const std::string* after) {
        const auto field = [&](const char* name, const std::string* value) {
            return value == nullptr ? None(name)
                   : IsSecret(key)  ? Secret(name, *value)
                                    : Text(name, *value);
        };
        const auto shown = [&](const std::string* value) {
            const bool isHidden = IsSecret(key) && !m_session.Options().showSecrets;
            return value == nullptr ? "none" : isHidden ? "(hidden)" : Quoted(*value);
        };
        Print("changed " + Titled(section) + ": " + Printable(key) + " " + shown(before) + " -> " +
                  shown(after),
              {Text("change", "changed"), NameOf(section), Text("key", key), field("old", before),
               field("new", after)});
    }

    void Print(const std::string& text, const Record& record) {
        const Arguments& options = m_session.Options();
        m_session.PrintText(options.json ? JsonText(ToJson(record, options.showSecrets), -1)
                                         : text + "\n");
    }

    Session& m_session;
    const Sections& m_before;
    const Sections& m_after;
};

// Returns nothing while the database cannot be read; what is wrong with it is told.
std::optional<Sections> ReadSections(const std::string& path) {
    try {
        return HasDatabase() ? RequireDatabase(path).sections : Sections();
    } catch (const std::exception& failure) {
        const std::string text = "siptrunkctl: " + Printable(failure.what()) + "\n";
        (void)!write(STDERR_FILENO, text.data(), text.size());
        return std::nullopt;
    }
}

}  // namespace

void command::Watch(Session& session) {
    const std::string path = DatabasePath();
    FolderWatch watch(path);
    Sections before = HasDatabase() ? RequireDatabase(path).sections : Sections();
    if (!session.Options().quiet) {
        const std::string text = "siptrunkctl: watching " + Printable(path) + "\n";
        (void)!write(STDERR_FILENO, text.data(), text.size());
    }
    while (true) {
        watch.WaitForChange();
        std::optional<Sections> after = ReadSections(path);
        if (after) {
            Comparison(session, before, *after).Tell();
            session.Flush();
            before = std::move(*after);
        }
    }
}
