#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/siptrunkctl/file/database.h"
#include "tools/siptrunkctl/view/value.h"

/// One trunk of the database, read from its own section as the library reads it.
struct TrunkRow {
    std::string name;
    std::string user;
    std::string ip;
    std::string port;
    std::string date;
    std::string time;
    std::string oddity;  ///< what operators should know; empty when nothing is odd
    bool isToMaster = false;
    bool hasAddress = false;  ///< whether there is a key for it, even an empty one
    bool symNat = false;
    bool registration = false;

    bool IsActive() const { return !date.empty(); }
    /// "DATE TIME" of the registration, empty when there is none.
    std::string Since() const;
    const char* Type() const { return isToMaster ? "master" : "slave"; }
};

/// Returns the trunks of a database in the order of the file. One read gives all of them.
std::vector<TrunkRow> TrunkRowsOf(const Sections& sections);

/// The same of the device's database. Throws as RequireDatabase does.
std::vector<TrunkRow> ReadTrunkRows();

/// "DATE TIME" of a registration, empty when there is none.
std::string SinceText(const std::string& date, const std::string& time);

/// The fields "since" and, for JSON, "since_iso".
void AppendSince(Record& record, const std::string& date, const std::string& time);
