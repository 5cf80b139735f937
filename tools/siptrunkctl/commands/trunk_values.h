#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/device/trunks.h"

/// The values that a command line gives for a trunk, by the words that people use for the keys.
using TrunkValues = std::map<std::string, std::string>;

/// Reads and checks KEY=VALUE words.
/// Throws UsageFailure, which names the key and never a password.
TrunkValues ReadTrunkValues(const std::vector<std::string>& words);

/// Puts the values into a trunk.
/// @param trunk one that is stored, or an empty one that is to be added
///
/// Throws UsageFailure when the values do not go with the trunk's kind, or some are missing.
void ApplyTrunkValues(const TrunkValues& values, Trunk& trunk);

/// What may stand for a KEY=VALUE word, for the completion.
Candidates TrunkValueCandidates();

/// Reads "on", "off", "1" or "0"; `what` says what is switched, for the failure's text.
bool ReadSwitch(const std::string& what, const std::string& value);

/// Throws UsageFailure unless the database can hold the value and give it back.
/// @param what what the value is, for the failure's text
void CheckValue(const std::string& what, const std::string& value);

/// The same for a port, and for an address or host name.
void CheckPort(const std::string& what, const std::string& value);
void CheckAddress(const std::string& what, const std::string& value);
