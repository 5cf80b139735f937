#pragma once

#include "tools/siptrunkctl/session.h"

// What the commands do. Each reads its arguments from the session, and either puts its answer there
// or throws a Failure.

namespace command {

// trunks
void List(Session& session);
void Show(Session& session);
void Add(Session& session);
void Modify(Session& session);
void Rename(Session& session);
void Delete(Session& session);
void Check(Session& session);

// trunks to a master
void Status(Session& session);
void Activate(Session& session);
void Deactivate(Session& session);
void UnregisterAll(Session& session);
void Params(Session& session);
void Snapshot(Session& session);

// registrations of slaves
void SlaveList(Session& session);
void SlaveRegister(Session& session);
void SlaveRefresh(Session& session);
void SlaveMove(Session& session);
void SlaveUnregister(Session& session);
void AccountsMaster(Session& session);
void AccountsSlave(Session& session);

// agents
void Agents(Session& session);
void AgentsSet(Session& session);
void Service(Session& session);

// the database as a whole
void Validate(Session& session);
void Export(Session& session);
void Import(Session& session);
void Watch(Session& session);

}  // namespace command
