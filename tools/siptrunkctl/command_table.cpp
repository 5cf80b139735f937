#include "tools/siptrunkctl/command_table.h"

#include "tools/siptrunkctl/commands.h"

const Command kCommands[] = {
    {"list", "", kType | kActive | kNames, "list the trunks",
     "Trunks to a master come first, then those for a slave, each in the order of the file.",
     "siptrunkctl list --type master", command::List},
    {"show", "NAME", kNoOptions, "show one trunk whole", "", "siptrunkctl show office",
     command::Show},
    {"add", "NAME KEY=VALUE...", kPassword, "add a trunk",
     "Keys: type=master|slave, user=, ip=, port=, registration=on|off, sym_nat=on|off.\n"
     "A trunk to a master needs type, user, ip and port; it is kept registered with\n"
     "registration=on. A trunk for a slave needs type and user; its address comes from the "
     "slave's\n"
     "registration. The names of the database's keys are taken too (user_name=, master_ip=, ...).\n"
     "The password is asked for on a terminal.",
     "siptrunkctl add office type=master user=1001 ip=192.0.2.10 port=5060 registration=on\n"
     "  siptrunkctl add branch type=slave user=2001 sym_nat=on --password-file secret.txt",
     command::Add},
    {"modify", "NAME [KEY=VALUE...]", kPassword | kResetRegistration, "change a trunk",
     "Keys as for \"add\"; what is not named stays. The password stays too, unless\n"
     "--password-file or --ask-password is given.",
     "siptrunkctl modify office port=5062 registration=off", command::Modify},
    {"rename", "OLD NEW", kNoOptions, "give a trunk another name", "",
     "siptrunkctl rename office headquarters", command::Rename},
    {"delete", "NAME", kNoOptions, "remove a trunk with all its keys", "",
     "siptrunkctl delete office", command::Delete},
    {"check", "NAME", kUser | kEdit, "tell whether a name (and a user) is free",
     "Exit code 0 when free, 4 when taken.",
     "siptrunkctl check office --user 1001\n"
     "  siptrunkctl check headquarters --user 1001 --edit office",
     command::Check},
    {"status", "[NAME]", kType, "show which trunks are active and kept registered",
     "A trunk is active while it has a registration date. \"registration\" tells whether a trunk "
     "to a\n"
     "master is to be kept registered; trunks for a slave have no such switch.",
     "siptrunkctl status office", command::Status},
    {"activate", "NAME", kNoOptions, "mark a trunk to a master active, with the time of now",
     "The slave agent does so when the master has accepted the registration.",
     "siptrunkctl activate office", command::Activate},
    {"deactivate", "NAME", kNoOptions, "mark a trunk to a master inactive",
     "Its registration date and time are removed; whether it is to be kept registered stays.",
     "siptrunkctl deactivate office", command::Deactivate},
    {"unregister-all", "", kNoOptions, "switch registration off for every trunk", "",
     "siptrunkctl unregister-all", command::UnregisterAll},
    {"params", "NAME", kSaved, "show the registration parameters of a trunk to a master",
     "The saved copy is the one that \"snapshot\" makes; before that it is empty.",
     "siptrunkctl params office --saved", command::Params},
    {"snapshot", "NAME", kNoOptions, "save a copy of a trunk's registration parameters", "",
     "siptrunkctl snapshot office", command::Snapshot},
    {"slave list", "", kNoOptions, "list the registered slaves", "", "siptrunkctl slave list",
     command::SlaveList},
    {"slave register", "USER IP PORT", kNoOptions, "register a slave at this device", "",
     "siptrunkctl slave register 2001 198.51.100.7 5060", command::SlaveRegister},
    {"slave refresh", "USER", kNoOptions, "renew the time of a slave's registration", "",
     "siptrunkctl slave refresh 2001", command::SlaveRefresh},
    {"slave move", "USER IP PORT", kNoOptions, "change a registered slave's address", "",
     "siptrunkctl slave move 2001 198.51.100.8 5062", command::SlaveMove},
    {"slave unregister", "USER", kNoOptions, "remove a slave's registration", "",
     "siptrunkctl slave unregister 2001", command::SlaveUnregister},
    {"accounts master", "", kNoOptions, "list the accounts that slaves may register with", "",
     "siptrunkctl accounts master --show-secrets", command::AccountsMaster},
    {"accounts slave", "", kYes, "hand out the masters to register at",
     "Every trunk that is listed becomes inactive: its registration date is removed, as when the\n"
     "slave agent starts anew. So it wants --yes.",
     "siptrunkctl accounts slave --yes", command::AccountsSlave},
    {"agents", "", kNoOptions, "show the switches of the two agents", "",
     "siptrunkctl agents --json", command::Agents},
    {"agents set", "SWITCH=on|off...", kNoOptions, "switch the agents on or off",
     "SWITCH is master (this device accepts slaves) or slave (this device registers at masters). "
     "A\n"
     "switch that is not named stays.",
     "siptrunkctl agents set master=on slave=off", command::AgentsSet},
    {"service", "[on|off]", kNoOptions, "show or set whether the service starts with the system",
     "", "siptrunkctl service on", command::Service},
    {"validate", "[FILE]", kNoOptions, "list every problem of a database",
     "Exit code 5 when there is one. Without FILE the device's database is looked at.",
     "siptrunkctl validate /etc/qorv-conf/telephony/siptrunkdb", command::Validate},
    {"export", "", kNoOptions, "print the database as JSON",
     "All sections with all keys. Passwords are null unless --show-secrets is given.",
     "umask 077 && siptrunkctl export --show-secrets > trunks.json", command::Export},
    {"import", "FILE", kReplace | kDryRun, "store what \"export\" printed",
     "FILE may be - for the standard input. Everything is checked first, and then stored in one\n"
     "step. The trunks are added to those stored; with --replace they take their place. A "
     "password\n"
     "that is null stays the one stored for the trunk of that name.",
     "siptrunkctl import trunks.json --dry-run", command::Import},
    {"watch", "", kNoOptions, "print each change of a trunk as it happens",
     "Ends with Ctrl-C. With --json each change is one line.", "siptrunkctl watch", command::Watch},
    {nullptr, nullptr, kNoOptions, nullptr, nullptr, nullptr, nullptr}};
