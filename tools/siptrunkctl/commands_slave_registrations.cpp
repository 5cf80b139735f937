#include <algorithm>

#include "tools/siptrunkctl/commands.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/text.h"
#include "tools/siptrunkctl/trunk_values.h"
#include "tools/siptrunkctl/trunks.h"

namespace {

using Registration = CSIPTrunkBase::STRegistrationParam;

Registration ReadRegistration(Session& session) {
    Registration registration;
    registration.user_name = session.Word(0);
    registration.slave_ip = session.Word(1);
    registration.slave_port = session.Word(2);
    CheckValue("USER", registration.user_name);
    CheckValue("IP", registration.slave_ip);
    CheckPort("PORT", registration.slave_port);
    return registration;
}

Registration ReadUser(Session& session) {
    Registration registration;
    registration.user_name = session.Word(0);
    CheckValue("USER", registration.user_name);
    return registration;
}

// Renewing what is not there would leave a registration without an address.
void RequireRegistered(Session& session, const std::string& user) {
    if (RequireTrunkOfSlave(session, user).remote_ip.empty()) {
        throw Failure(ExitCode::kFailed, "slave " + Quoted(user) +
                                             " is not registered; \"slave register\" registers it");
    }
}

void Confirm(Session& session, const char* action, const Registration& registration) {
    const bool hasAddress = !registration.slave_ip.empty();
    const std::string address =
        hasAddress ? ": " + Printable(registration.slave_ip) + " port " + registration.slave_port
                   : "";
    session.Confirm(std::string(action) + " slave " + Quoted(registration.user_name) + address,
                    {Text("action", action), Text("user", registration.user_name),
                     hasAddress ? Text("ip", registration.slave_ip) : None("ip"),
                     hasAddress ? Text("port", registration.slave_port) : None("port")});
}

}  // namespace

void command::SlaveList(Session& session) {
    std::vector<Registration> slaves;
    (void)session.Checked(session.Service().InitRegisterSlaveList(slaves));
    std::vector<Record> rows;
    for (const Registration& slave : slaves) {
        rows.push_back({Text("user", slave.user_name), Secret("password", slave.password),
                        Text("ip", slave.slave_ip), Text("port", slave.slave_port)});
    }
    session.PrintList(rows, "slave");
}

void command::SlaveRegister(Session& session) {
    const Registration registration = ReadRegistration(session);
    (void)RequireTrunkOfSlave(session, registration.user_name);
    session.Require(session.Service().SetRegisterParam(registration, false),
                    "the registration was not stored");
    Confirm(session, "registered", registration);
}

void command::SlaveRefresh(Session& session) {
    const Registration registration = ReadUser(session);
    RequireRegistered(session, registration.user_name);
    session.Require(session.Service().SetRegisterParam(registration, true),
                    "the registration was not stored");
    Confirm(session, "refreshed", registration);
}

void command::SlaveMove(Session& session) {
    const Registration registration = ReadRegistration(session);
    RequireRegistered(session, registration.user_name);
    session.Require(session.Service().ChangeRegisterParam(registration, registration),
                    "the registration was not stored");
    Confirm(session, "moved", registration);
}

void command::SlaveUnregister(Session& session) {
    const Registration registration = ReadUser(session);
    (void)RequireTrunkOfSlave(session, registration.user_name);
    session.Require(session.Service().SetUnregisterParam(registration),
                    "the registration was not removed");
    Confirm(session, "unregistered", registration);
}

void command::AccountsMaster(Session& session) {
    std::vector<CSIPTrunkBase::STAccessibleUser> users;
    (void)session.Checked(session.Service().GetMasterAccesibleUsersList(users));
    std::vector<Record> rows;
    for (const CSIPTrunkBase::STAccessibleUser& user : users) {
        rows.push_back({Text("name", user.trunk_name), Text("user", user.user_name),
                        Secret("password", user.password)});
    }
    session.PrintList(rows, "account");
}

void command::AccountsSlave(Session& session) {
    if (!session.Options().yes) {
        throw UsageFailure(
            "accounts slave: every trunk that it lists becomes inactive; say --yes to have that");
    }
    std::vector<CSIPTrunkBase::STAccessibleSlave> masters;
    (void)session.Checked(session.Service().GetSlaveAccesibleUsersList(masters));
    std::vector<Record> rows;
    for (const CSIPTrunkBase::STAccessibleSlave& master : masters) {
        rows.push_back({Text("name", master.trunk_name), Text("user", master.user_name),
                        Secret("password", master.password), Text("ip", master.master_ip),
                        Text("port", master.master_port)});
    }
    session.PrintList(rows, "master");
}
