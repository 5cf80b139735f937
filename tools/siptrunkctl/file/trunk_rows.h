#pragma once

#include <string>
#include <vector>

#include "tools/siptrunkctl/file/database.h"

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
    bool symNat = false;
    bool registration = false;

    bool IsActive() const { return !date.empty(); }
    const char* Type() const { return isToMaster ? "master" : "slave"; }
};

/// Returns the trunks of the device's database in the order of the file. One read gives all of
/// them. Throws as RequireDatabase does.
std::vector<TrunkRow> ReadTrunkRows();
