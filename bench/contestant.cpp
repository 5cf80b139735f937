#include "bench/contestant.h"

#include <algorithm>
#include <stdexcept>

using namespace raiklaik;

namespace {

template <typename Named, typename Name>
const Named& FindNamed(const std::vector<Named>& all, const std::string& name, const Name& nameOf) {
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Named& each) { return name == nameOf(each); });
    if (found == all.end()) {
        throw std::invalid_argument("there is no " + name);
    }
    return *found;
}

Record Definition(int index, const char* port) {
    Record record;
    record.trunk_name = TrunkName(index);
    record.trunk_type = type::kToMaster;
    record.user_name = "user";
    record.password = "secret";
    record.remote_ip = "192.168.1.1";
    record.remote_port = port;
    record.registration_status = true;
    return record;
}

void Check(const char* job, bool right) {
    if (!right) {
        throw std::runtime_error(std::string(job) + " gives a wrong answer");
    }
}

void RunFind(Contestant& contestant, Targets& targets) {
    (void)contestant.Find(targets.NextName());
}

void RunList(Contestant& contestant, Targets& /*targets*/) { (void)contestant.List(); }

void RunStore(Contestant& contestant, Targets& targets) {
    contestant.Store(targets.NextDefinition());
}

std::string TextOf(const Record& record) {
    std::string text;
    for (const std::string* field : {&record.trunk_name, &record.trunk_type, &record.user_name,
                                     &record.password, &record.remote_ip, &record.remote_port,
                                     &record.registration_date, &record.registration_time}) {
        text.append(*field).append("\n");
    }
    return text + (record.registration_status ? "on" : "off");
}

Record Expected(int index, bool listed) {
    const Entries entries = TrunkEntries(index);
    const auto get = [&](const char* key) {
        return FindNamed(entries, key, [](const auto& entry) { return entry.first; }).second;
    };
    Record record;
    if (listed) {
        FillListedRecord(record, get);
    } else {
        record = FoundRecord(get);
    }
    return record;
}

}  // namespace

ContestantKind::ContestantKind(const char* name, Maker maker) : m_name(name), m_maker(maker) {
    Registered().push_back(*this);
}

std::vector<ContestantKind>& ContestantKind::Registered() {
    static std::vector<ContestantKind> registered;
    return registered;
}

const std::vector<ContestantKind>& ContestantKind::All() { return Registered(); }

const ContestantKind& ContestantKind::Named(const std::string& name) {
    return FindNamed(All(), name, [](const ContestantKind& kind) { return kind.Name(); });
}

Targets::Targets(int trunks)
    : m_definitions{Definition(MiddleTrunk(trunks), "5001"), Definition(LastTrunk(trunks), "5001"),
                    Definition(MiddleTrunk(trunks), "5002"),
                    Definition(LastTrunk(trunks), "5002")} {}

const std::vector<Job>& Jobs() {
    static const std::vector<Job> jobs = {
        {"find", RunFind}, {"list", RunList}, {"store", RunStore}};
    return jobs;
}

const Job& JobNamed(const std::string& name) {
    return FindNamed(Jobs(), name, [](const Job& job) { return job.name; });
}

void CheckAnswers(Contestant& contestant, int trunks) {
    if (!contestant.Answers()) {
        return;
    }
    const std::string name = TrunkName(MiddleTrunk(trunks));
    Record expected = Expected(MiddleTrunk(trunks), false);
    Check("find", TextOf(contestant.Find(name)) == TextOf(expected));

    std::list<Record> listed = contestant.List();
    Check("list", listed.size() == static_cast<std::size_t>(trunks) / 2);
    // Some keep the trunks in the order of their names, not in that of the file.
    const auto number = [](const Record& record) { return std::stoi(record.trunk_name.substr(6)); };
    listed.sort([&](const Record& a, const Record& b) { return number(a) < number(b); });
    int index = 0;
    for (const Record& record : listed) {
        Check("list", TextOf(record) == TextOf(Expected(index, true)));
        index += 2;
    }

    Record stored = Targets(trunks).NextDefinition();
    contestant.Store(stored);
    stored.registration_date = expected.registration_date;
    stored.registration_time = expected.registration_time;
    Check("store", TextOf(contestant.Find(name)) == TextOf(stored));
    Check("store", contestant.List().size() == listed.size());
}
