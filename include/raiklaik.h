#pragma once

// raiklaik: the SIP trunk configuration of a telephony device.
//
// A SIP trunk links two devices: a master, which accepts registrations, and a slave, which
// registers to it. One device may be both. The trunks live in a text file, the trunk database,
// which programs read and change through this library. docs/database.md describes the file.

#include <sys/timeb.h>

#include <climits>
#include <cstdint>
#include <ctime>
#include <list>
#include <string>
#include <vector>

#include "support/log_stream.h"
#include "support/thread_mutex.h"

/// The version, for programs that build with several versions. The build reads it here.
#define RAIKLAIK_VERSION_MAJOR 1
#define RAIKLAIK_VERSION_MINOR 1
#define RAIKLAIK_VERSION "1.1.0"

#ifdef __TIMESIZE  // glibc: the bits of time_t where no option changes them
static_assert(sizeof(std::time_t) * CHAR_BIT == __TIMESIZE,
              "raiklaik.h needs time_t as the platform has it: compile without _TIME_BITS=64, or "
              "with -U_TIME_BITS");
#endif

class Semaphore;

/// The scope of the records that cross the library's interface.
///
/// A field bears the name of the database key that it mirrors, unless its comment says otherwise,
/// and holds the key's text as stored; a bool mirrors a key stored as "1" or "0". Records are plain
/// values: they own their strings.
class CSIPTrunkBase {
  public:
    /// One trunk definition.
    struct STParamsRecord {
        std::string trunk_name;         ///< the trunk's name, by which it is found
        std::string user_name;          ///< account used on the trunk
        std::string password;           ///< the account's password, plain text
        std::string remote_ip;          ///< "master_ip" of a trunk to a master, else "slave_ip"
        std::string remote_port;        ///< "master_port" or "slave_port", decimal text
        std::string registration_date;  ///< MM/DD/YYYY, empty when not registered
        std::string registration_time;  ///< HH:MM:SS, empty when not registered
        std::string trunk_type;         ///< "1": trunk to a master; "0" and all else: for a slave
        bool sym_nat = false;  ///< symmetric NAT at the slave's end; trunk for a slave only
        bool registration_status = false;  ///< registration switched on; trunk to a master only
    };

    /// One slave's registration at this device.
    struct STRegistrationParam {
        std::string user_name;   ///< account under which the slave registers; selects the trunk
        std::string password;    ///< the account's password
        std::string slave_ip;    ///< address from which the slave registered
        std::string slave_port;  ///< port from which the slave registered, decimal text
    };

    /// The parameters with which this device registers at a master, live or as saved.
    struct STRegistrationFields {
        std::string user_name;             ///< account at the master
        std::string password;              ///< its password
        std::string master_ip;             ///< the master's address
        std::string master_port;           ///< the master's port, decimal text
        bool registration_status = false;  ///< registration switched on; only of the live ones
    };

    /// One account that slaves may use to register at this device.
    struct STAccessibleUser {
        std::string trunk_name;  ///< the trunk that has the account
        std::string user_name;   ///< account at this device
        std::string password;    ///< its password
    };

    /// One master at which this device is to register.
    struct STAccessibleSlave {
        std::string trunk_name;            ///< the trunk to that master
        std::string user_name;             ///< account at the master
        std::string password;              ///< its password
        std::string master_ip;             ///< the master's address
        std::string master_port;           ///< the master's port, decimal text
        bool registration_status = false;  ///< always handed out as false
        std::int32_t aux_value = 0;        ///< free for the caller; handed out as 0
        bool aux_flag = false;             ///< free for the caller; handed out as false
    };

    /// The two agents' switches.
    struct STAgentStates {
        bool siptrunk_slave_enabled = false;   ///< the agent that registers at masters
        bool siptrunk_master_enabled = false;  ///< the agent that accepts slaves
    };

    /// One trunk in a list of states.
    struct STTrunkState {
        std::string trunk_name;  ///< the trunk's name
        bool active = false;     ///< true when the trunk has a registration date
    };

    /// Whether a trunk's registration is in force.
    enum SIPTrunkActivity : std::int32_t {
        TRUNK_ACTIVE = 0,    ///< the trunk has a registration date
        TRUNK_INACTIVE = 1,  ///< the trunk has none, or an empty one
        TRUNK_NOT_FOUND = 2  ///< no trunk has the name
    };
};

/// A log for the library's lines and the application's own, safe for all threads.
///
/// Each line begins with the local time, "14:05:09.042  ", and within the same second with blanks
/// instead of the repeated part, "        .043  ". Lines of several processes never mix.
class __attribute__((visibility("default"))) CSIPTrunkLogger {
  public:
    /// Opens the log file `name` for appending; a new one gets the mode 0640 less the umask.
    /// Throws std::system_error, whose text names the path, when it cannot be opened or is a pipe.
    explicit CSIPTrunkLogger(const char* name);
    /// Closes the log. No CSIPTrunkConfig that has this logger may be used after that.
    virtual ~CSIPTrunkLogger();
    CSIPTrunkLogger(const CSIPTrunkLogger&) = delete;
    CSIPTrunkLogger& operator=(const CSIPTrunkLogger&) = delete;

    /// Writes one line.
    /// @param level 1 for errors, 3 for information; every level is written
    /// @param format as printf's; should end in a line feed, since none is added. Other control
    /// characters, those in arguments too, and marks that change the direction of writing are
    /// written as `\xNN` for each of their bytes.
    ///
    /// A line that the disk does not take is tried again with the next one; such a failure is never
    /// reported. Of the lines that wait, the oldest are kept: up to 2048 bytes, at least one line.
    /// Throws a std::exception when the line cannot be made, for lack of memory above all.
    __attribute__((format(printf, 3, 4))) void TRACE(unsigned char level, const char* format, ...);

    /// Makes the time prefix of this moment, and notes its second for the next one. Unlike TRACE,
    /// it must not be called while another thread uses the logger.
    std::string FormatTime();

  private:
    LogStream m_stream;
    ThreadMutex m_mutex;
    struct timeb m_clock;         // the last reading
    std::time_t m_lastSecond;     // of the last full prefix
    std::int32_t m_prefixLength;  // length of that prefix up to the milliseconds
};

/// The trunk configuration of the device: every query and every change is one member function.
///
/// Each operation blocks until it holds the lock that all processes of the device share, loads the
/// file afresh, works, saves the whole file if the operation changes it, and releases the lock. So
/// each is atomic for all others, in any thread and process, and it makes no difference whether a
/// program has one object or several. Nothing holds the lock between two operations.
///
/// Common to all operations but GetLocalDateTime:
/// - Files: the base directory is the environment variable QORV_PATH, taken as it stands, so its
///   value must end in "/"; without the variable it is "/etc/qorv-conf/". Each operation reads it
///   anew. The trunk database is "telephony/siptrunkdb" below it.
/// - Failures: no exception of the std::exception family leaves an operation. A failure (file
///   missing, unreadable or malformed, lock refused, disk full, memory short) gives the operation's
///   failure value and one line "ERROR: cause" in the log, which names path and line and never a
///   password. Not finding a trunk logs nothing.
/// - On the disk: when the result says that the file was saved, the new file survives a power cut.
///   After a failure the file is as before, unless the ERROR line says that the new file is in
///   place; a missing file that an operation creates may remain, empty.
/// - Texts are byte strings, compared whole, byte for byte. The first trunk in file order that
///   matches counts. An absent key reads as the empty text. At most 1023 bytes of a value are
///   read, so a longer name is stored whole but not found. Texts are stored up to their first NUL;
///   one with a line feed is refused as a failure.
/// - Out-arguments may have been written when an operation fails. `wasRegistered` and the agents'
///   switches are only ever set to true. Records, lists and strings belong to the caller and must
///   not be shared with another thread during the call.
/// - Kinds: a trunk with "trunk_type" "1" is a trunk to a master; every other one is for a slave.
class __attribute__((visibility("default"))) CSIPTrunkConfig {
  public:
    /// Makes a handle on the device's lock; touches no file.
    /// @param logger gets the progress and ERROR lines; may be null; stays the caller's and must
    /// outlive the object
    ///
    /// Throws std::system_error when the kernel refuses the lock.
    explicit CSIPTrunkConfig(CSIPTrunkLogger* logger);
    /// Lets go of the handle; the lock stays for the others.
    virtual ~CSIPTrunkConfig();
    CSIPTrunkConfig(const CSIPTrunkConfig&) = delete;
    CSIPTrunkConfig& operator=(const CSIPTrunkConfig&) = delete;

    /// @name Trunk definitions
    /// @{

    /// Reads one trunk whole.
    /// @param trunkName the trunk's name
    /// @param record receives the trunk; `sym_nat` or `registration_status`, whichever the trunk's
    /// kind has, is true when the stored text begins with "1", else false, and the other one stays.
    /// Untouched when no trunk has the name; after a failure some fields may be set
    /// @return true when the trunk was found and read; false when there is none, or on failure.
    bool GetSIPTrunkParams(const std::string& trunkName, CSIPTrunkBase::STParamsRecord& record);

    /// Lists the trunks of one kind, in file order.
    /// @param trunks each trunk is appended: name, user, address, port and stamp, for a slave's
    /// also `sym_nat`; never the password, type or registration status
    /// @param trunkType the exact "trunk_type"; a section without that key is in no list
    /// @param flag not used
    /// @return false on failure only; what was appended before it stays.
    bool GetSIPTrunkParams(std::list<CSIPTrunkBase::STParamsRecord>& trunks, std::string trunkType,
                           bool flag);

    /// Lists the trunks that show a registration, in file order: those to a master with a
    /// "registration_date" key, and those for a slave with a "slave_ip" key, even an empty one.
    /// Sections without a name or a type are left out.
    /// @param trunks each trunk is appended: name, address and port, for a slave's also `sym_nat`;
    /// all else empty
    /// @return false on failure only; what was appended before it stays.
    bool GetAllSIPTrunkParams(std::list<CSIPTrunkBase::STParamsRecord>& trunks);

    /// Stores a trunk: adds one, or rewrites the one now named `trunkName`. Nothing is checked for
    /// clashes (see CheckTrunk), and no key is removed: those of another kind stay. A missing file
    /// is created.
    /// @param trunkName the stored name; empty adds a trunk at the end of the file
    /// @param record the new definition, only read; its `remote_ip` and `remote_port` count for a
    /// trunk to a master only, its stamp never
    /// @param resetRegistration true empties a slave's address and stamp; no effect on a trunk to a
    /// master
    /// @return true when the change is on the disk; false when no trunk has that name, or on
    /// failure.
    bool SetSIPTrunkParams(const std::string& trunkName, CSIPTrunkBase::STParamsRecord& record,
                           bool resetRegistration);

    /// Removes a trunk with all its keys.
    /// @param trunkName the trunk's name
    /// @param checkRegistration true looks at the trunk's "registration_status" first
    /// @param wasRegistered set to true when `checkRegistration` is true and that status begins
    /// with "1"; never set to false
    /// @return true when the removal is on the disk; false when no trunk has that name, or on
    /// failure.
    bool DeleteTrunk(const std::string& trunkName, bool checkRegistration, bool& wasRegistered);

    /// Tells whether a trunk that is to be stored would clash with another one.
    /// @param currentName the name of the trunk under edit, which is not compared; for an edit only
    /// @param newName the name to be stored
    /// @param userName the user name to be stored
    /// @param operation "op_edit" for an edit; everything else is an addition
    /// @return 0 when both are free, 1 when the name is taken, 2 when the user name is taken, 3 on
    /// failure. The first clash in file order counts; a section without one of the two keys takes
    /// part as if that key were empty.
    int CheckTrunk(const std::string& currentName, const std::string& newName,
                   const std::string& userName, const std::string& operation);
    /// @}

    /// @name Trunks to a master
    /// @{

    /// Lists whether trunks are active, in file order.
    /// @param states each trunk with a name is appended
    /// @param trunkType the exact "trunk_type", or "2" for all, also those without a type
    /// @return false on failure only; what was appended before it stays.
    bool GetSIPTrunksState(std::list<CSIPTrunkBase::STTrunkState>& states,
                           const std::string& trunkType);

    /// Tells whether one trunk of any kind is active.
    /// @param trunkName the trunk's name
    /// @param activity receives the answer; look at it only when the result is true
    /// @return true, also for an unknown trunk; false on failure.
    bool GetSIPTrunkState(const std::string& trunkName, CSIPTrunkBase::SIPTrunkActivity& activity);

    /// Tells whether a trunk to a master is to be kept registered: whether any section of that kind
    /// and name has exactly "1" as its "registration_status".
    /// @param trunkName the trunk's name
    /// @return false also for an unknown trunk and on failure.
    bool GetStateOfTrunkToMaster(const std::string& trunkName);

    /// Marks a trunk to a master active: stamps it with the local date and time. The file is saved
    /// even when no trunk to a master has that name. Logs a progress line.
    /// @param trunkName the trunk's name
    /// @return true when the file is on the disk, false on failure.
    bool SetTrunkToMasterActiveState(const std::string& trunkName);

    /// Marks a trunk to a master inactive: removes its stamp. The file is saved even when no trunk
    /// to a master has that name. Logs a progress line.
    /// @param trunkName the trunk's name
    /// @return true when the file is on the disk, false on failure.
    bool SetTrunkToMasterInActiveState(const std::string& trunkName);

    /// Sets each "registration_status" that begins with "1" to "0", in trunks of every kind; the
    /// first section of the file, the agents' switches, is left alone. The file is always saved.
    /// @return true when the file is on the disk, false on failure.
    bool SetUnregisterStateToTrunks();

    /// Reads the registration parameters of a trunk to a master.
    /// @param trunkName the trunk's name
    /// @param fields receives them; untouched when no trunk to a master has the name
    /// @param current true reads the live ones, with `registration_status` true when the stored
    /// text begins, after white space, with a decimal number other than 0, else false; false reads
    /// the saved copy, and leaves `registration_status` as it is
    /// @return true, also for an unknown trunk; false on failure.
    bool GetTrunkToMasterParams(const std::string& trunkName,
                                CSIPTrunkBase::STRegistrationFields& fields, const bool& current);

    /// Copies the live registration parameters of a trunk to a master to its saved copy, over an
    /// earlier one. The file is saved even when no trunk to a master has that name.
    /// @param trunkName the trunk's name
    /// @return true when the file is on the disk, false on failure.
    bool ChangeTrunkToMasterConfig(const std::string& trunkName);
    /// @}

    /// @name Registrations of slaves at this device
    /// @{

    /// Stores a slave's registration in the first trunk, of any kind, with its user name. The file
    /// is saved even when there is none. Logs a progress line.
    /// @param registration user, address and port of the slave; an empty user means the first
    /// section whose "user_name" is empty or absent
    /// @param refreshOnly false stores address, port and stamp; true the stamp alone
    /// @return true when the file is on the disk, false on failure.
    bool SetRegisterParam(const CSIPTrunkBase::STRegistrationParam& registration,
                          const bool& refreshOnly);

    /// Stores a registered slave's new address and port, with a new stamp. The file is saved even
    /// when no trunk has the user name.
    /// @param oldRegistration only its user name counts: it selects the trunk, as in
    /// SetRegisterParam
    /// @param newRegistration only its address and port count: they are stored
    /// @return true when the file is on the disk, false on failure.
    bool ChangeRegisterParam(const CSIPTrunkBase::STRegistrationParam& oldRegistration,
                             const CSIPTrunkBase::STRegistrationParam& newRegistration);

    /// Removes a slave's registration, whatever its address: address, port and stamp. The file is
    /// saved even when no trunk has the user name. Logs a progress line.
    /// @param registration its user name selects the first trunk that has a "user_name" key equal
    /// to it
    /// @return true when the file is on the disk, false on failure.
    bool SetUnregisterParam(const CSIPTrunkBase::STRegistrationParam& registration);

    /// Lists the registered slaves, in file order: every section with a "slave_ip" key, even an
    /// empty one. Logs a progress line.
    /// @param slaves emptied once the lock is held, then filled
    /// @return false on failure; what was appended before it stays.
    bool InitRegisterSlaveList(std::vector<CSIPTrunkBase::STRegistrationParam>& slaves);

    /// Lists the accounts with which slaves may register at this device, in file order: the trunks
    /// whose "trunk_type" is exactly "0".
    /// @param accessibleUsers each is appended
    /// @return false on failure; what was appended before it stays.
    bool GetMasterAccesibleUsersList(std::vector<CSIPTrunkBase::STAccessibleUser>& accessibleUsers);

    /// Lists the masters at which this device is to register, in file order: the trunks to a master
    /// whose "registration_status" is exactly "1". Each trunk that is listed loses its stamp and so
    /// becomes inactive. The file is always saved.
    /// @param accessibleSlaves each is appended, with `registration_status` false
    /// @return true when the file is on the disk; false on failure; what was appended before it
    /// stays.
    bool GetSlaveAccesibleUsersList(
        std::vector<CSIPTrunkBase::STAccessibleSlave>& accessibleSlaves);
    /// @}

    /// @name Agents
    /// @{

    /// Reads the agents' switches from the first section of the database. Logs a progress line.
    /// @param states a switch that is on is set to true; the others stay as they are, so clear them
    /// first
    /// @return true when both switches are there, or the file has no section; else false.
    bool GetSIPTrunkAgentStates(CSIPTrunkBase::STAgentStates& states);

    /// Stores the agents' switches. A missing file is created; when there is no first section with
    /// both switches, a section with both is put first. Logs a progress line.
    /// @param states the switches
    /// @return true when the change is on the disk, false on failure.
    bool SetSIPTrunkAgentStates(const CSIPTrunkBase::STAgentStates& states);

    /// Tells whether the trunk service starts with the system: whether the last "START_SIPTRUNK" in
    /// the system start file, "sysconfig/rc.conf" below the base directory, is exactly "true".
    /// @return false also when the entry or the file is missing, and on failure.
    bool LoadAgentStatus();

    /// Stores whether the trunk service starts with the system, in that file, which must exist; its
    /// other lines stay as they are.
    /// @param flag true when it starts
    /// @return true when the change is on the disk, false on failure.
    bool SaveAgentStatus(const bool& flag);
    /// @}

    /// @name Clock
    /// @{

    /// Appends the current local time, HH:MM:SS, to `time` and the date, MM/DD/YYYY, to `date`.
    /// Takes no lock and touches no file. Throws std::bad_alloc without memory.
    void GetLocalDateTime(std::string& time, std::string& date);
    /// @}

  private:
    CSIPTrunkLogger* m_logger;
    Semaphore* m_semaphore;
};
