#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "bench/trunk_data.h"

/// One way to keep trunks in a file. Each job takes the lock of all processes, opens the file
/// afresh, works, closes it and gives the lock back.
class Contestant {
  public:
    Contestant() = default;
    virtual ~Contestant() = default;
    Contestant(const Contestant&) = delete;
    Contestant& operator=(const Contestant&) = delete;

    /// Returns the trunk to a master with this name.
    virtual Record Find(const std::string& trunkName) = 0;
    /// Returns all trunks to a master.
    virtual std::list<Record> List() = 0;
    /// Rewrites the definition of the trunk to a master that is named in the record, which is only
    /// read. The change is on the disk when it returns.
    virtual void Store(Record& record) = 0;
    /// False when the jobs cost what they have to, but answer nothing.
    virtual bool Answers() const { return true; }
};

/// How to make a contestant. A global object of this type enters one into the contest, so that a
/// contestant is one source file, which is compiled when its library is there.
class ContestantKind {
  public:
    using Maker = std::unique_ptr<Contestant> (*)(const std::string& folder, int trunks);

    ContestantKind(const char* name, Maker maker);

    /// All kinds, in no particular order.
    static const std::vector<ContestantKind>& All();
    /// Throws std::invalid_argument when there is none with this name.
    static const ContestantKind& Named(const std::string& name);

    const char* Name() const { return m_name; }
    /// Makes the contestant and its database, in an empty folder.
    std::unique_ptr<Contestant> Make(const std::string& folder, int trunks) const {
        return m_maker(folder, trunks);
    }

  private:
    static std::vector<ContestantKind>& Registered();

    const char* m_name;
    Maker m_maker;
};

/// ContestantKind::Maker for a class with the constructor (folder, trunks).
template <typename Class>
std::unique_ptr<Contestant> MakeContestant(const std::string& folder, int trunks) {
    return std::make_unique<Class>(folder, trunks);
}

/// What the jobs look for and store: in turn the trunk in the middle and the last one, of those to
/// a master.
class Targets {
  public:
    explicit Targets(int trunks);

    const std::string& NextName() { return NextDefinition().trunk_name; }
    /// Gives each trunk another port each time, so that no store finds the file as it wants it.
    Record& NextDefinition() { return m_definitions[m_turn++ % 4]; }

  private:
    Record m_definitions[4];
    unsigned int m_turn = 0;
};

/// One measured operation.
struct Job {
    const char* name;
    void (*run)(Contestant& contestant, Targets& targets);
};

/// find, list and store.
const std::vector<Job>& Jobs();
/// Throws std::invalid_argument when there is none with this name.
const Job& JobNamed(const std::string& name);

/// Throws std::runtime_error unless the contestant's answers are right.
void CheckAnswers(Contestant& contestant, int trunks);
