// The library itself, through its public interface.

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"
#include "include/raiklaik.h"

using namespace raiklaik;

namespace {

class Library final : public Contestant {
  public:
    Library(const std::string& folder, int trunks) : m_base(folder + "/") {
        std::filesystem::create_directory(folder + "/telephony");
        WriteText(folder + "/telephony/siptrunkdb", DatabaseText(trunks));
        (void)setenv("QORV_PATH", m_base.c_str(), 1);
    }

    Record Find(const std::string& trunkName) override {
        Record record;
        Check(m_trunks.GetSIPTrunkParams(trunkName, record));
        return record;
    }

    std::list<Record> List() override {
        std::list<Record> records;
        Check(m_trunks.GetSIPTrunkParams(records, type::kToMaster, false));
        return records;
    }

    void Store(Record& record) override {
        Check(m_trunks.SetSIPTrunkParams(record.trunk_name, record, false));
    }

  private:
    static void Check(bool done) {
        if (!done) {
            throw std::runtime_error("an operation of the library failed");
        }
    }

    std::string m_base;
    CSIPTrunkConfig m_trunks{nullptr};
};

const ContestantKind kLibrary("raiklaik", MakeContestant<Library>);

}  // namespace
