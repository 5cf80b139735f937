#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/siptrunkctl/commands/context.h"
#include "tools/siptrunkctl/device/trunks.h"

/// The values that a command line gives for a trunk.
struct TrunkValues {
    std::optional<std::string> type;  // as stored: "1" or "0"
    std::optional<std::string> user;
    std::optional<std::string> ip;
    std::optional<std::string> port;
    std::optional<bool> registration;
    std::optional<bool> symNat;
};

/// Reads KEY=VALUE words.
/// Throws UsageFailure, which names the key and never a password.
TrunkValues ReadTrunkValues(const std::vector<std::string>& words);

/// Puts the values into a trunk.
/// @param trunk one that is stored, or an empty one that is to be added
///
/// Throws UsageFailure when the values do not go with the trunk's kind, or some are missing.
void ApplyTrunkValues(const TrunkValues& values, Trunk& trunk);

/// Reads "on", "off", "1" or "0". what  what is switched, for the failure's text
bool ReadSwitch(const std::string& what, const std::string& value);

/// Throws UsageFailure unless the database can hold the value and give it back.
/// @param what what the value is, for the failure's text
void CheckValue(const std::string& what, const std::string& value);

/// The same for a port, and for an address or host name.
void CheckPort(const std::string& what, const std::string& value);
void CheckAddress(const std::string& what, const std::string& value);

/// What may stand for a KEY=VALUE word, for the completion.
std::vector<Candidate> TrunkValueCandidates();
