// abidiff does not look at what lists and vectors hold. These functions, of a library of their own,
// show it the records that cross the interface in no other way.

#include "include/raiklaik.h"

void ShowToAbidiff(const CSIPTrunkBase::STAccessibleUser&) {}
void ShowToAbidiff(const CSIPTrunkBase::STAccessibleSlave&) {}
void ShowToAbidiff(const CSIPTrunkBase::STTrunkState&) {}
