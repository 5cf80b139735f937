#pragma once

#include <list>
#include <sstream>
#include <string>
#include <vector>

#include "include/raiklaik.h"
#include "tests/below/recorder.h"
#include "tests/fixture/record_values.h"

namespace below {

/// One way through an operation.
struct Row {
    std::string name;                                   ///< the call as it is written
    std::function<std::string(CSIPTrunkConfig&)> call;  ///< returns the answer
    std::string sections;      ///< of the database: "trunk_name=a trunk_type=1; trunk_name=b"
    std::string progress;      ///< the text of the INFO line, empty for none
    std::string calls;         ///< see Recorder; up to the last before all is released
    std::string answer;        ///< the result and what was handed out
    std::string refused = {};  ///< see Recorder
};

/// The two first members of a row: a call whose result is all of its answer, and one that hands out
/// into `out`, which is `before` at first.
#define ROW_OF(operation) \
#operation, Answers([](CSIPTrunkConfig& config) { return config.operation; })
#define ROW_WITH(before, operation) \
#operation,                     \
        AnswersWith(before, [](CSIPTrunkConfig& config, auto& out) { return config.operation; })

std::vector<Row> TrunkRows();
std::vector<Row> MasterLinkRows();
std::vector<Row> SlaveRegistrationRows();
std::vector<Row> AgentRows();

// How the operations begin: their buffer, the lock, and the way in which they open the file.
const std::string kHeapRead = "SmartBuffer Lock database(false,true,false) Restart ";
const std::string kHeapChange = "SmartBuffer Lock database(false,false,false) Restart ";
const std::string kHeapCreate = "SmartBuffer Lock database(true,false,false) Restart ";
const std::string kLocalRead = "Lock database(false,true,false) Restart ";
const std::string kLocalChange = "Lock database(false,false,false) Restart ";
const std::string kLocalCreate = "Lock database(true,false,false) Restart ";

// The agents' switches, a trunk for a slave and one to a master.
const std::string kSwitches = "siptrunk_master_enabled=1 siptrunk_slave_enabled=1;";
const std::string kBranch =
    "trunk_name=branch trunk_type=0 user_name=b1 password=b2 slave_ip=b3 slave_port=b4 "
    "registration_date=b5 registration_time=b6 sym_nat=1;";
const std::string kOffice =
    "trunk_name=office trunk_type=1 user_name=o1 password=o2 master_ip=o3 master_port=o4 "
    "registration_date=o5 registration_time=o6 registration_status=1;";
const std::string kAll = kSwitches + kBranch + kOffice;

template <typename Value>
void Print(std::ostream& stream, const Value& value) {
    stream << std::boolalpha << value;
}
template <template <typename...> typename Container, typename Item>
void Print(std::ostream& stream, const Container<Item>& items) {
    for (const Item& item : items) {
        stream << item;
    }
}

template <typename Value>
std::string Text(const Value& value) {
    std::ostringstream text;
    Print(text, value);
    return text.str();
}

template <typename Operation>
auto Answers(const Operation& operation) {
    return [=](CSIPTrunkConfig& config) { return Text(operation(config)); };
}

template <typename Out, typename Operation>
auto AnswersWith(const Out& before, const Operation& operation) {
    return [=](CSIPTrunkConfig& config) {
        Out out = before;
        Recording().shown = [&] { return " " + Text(out); };
        Recording().lastShown = Recording().shown();
        const std::string result = Text(operation(config, out));
        return result + Recording().shown();
    };
}

}  // namespace below
