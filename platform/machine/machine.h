// SPDX-License-Identifier: MIT
// The simulated computer: its state, and what tests and the host program do to it from outside.
//
// The system under test never sees this header. It calls the platform by its own names, and the services
// beside this file (registry.cpp, device_sets.cpp, dos_names.cpp ...) answer from the current Machine.
//
// Not modelled: security descriptors (a key may refuse rights to everybody instead), registry symbolic links,
// drivers' data transfer, and the time that real hardware takes: only programs that run take time, and that
// time is simulated.
#pragma once

#include <windows.h>

#include "platform/machine/instruments.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include <setupapi.h>
#include <cfgmgr32.h>

namespace qxsim {

// --- registry ---

struct RegistryValue {
    WideString name;
    DWORD type = REG_NONE;
    Bytes data;
};

struct RegistryKey {
    WideString name;                    // with the letter case that it was created with
    std::vector<RegistryValue> values;  // in the order in which they are enumerated
    std::map<WideString, std::shared_ptr<RegistryKey>, CaselessLess> subkeys;
    bool is_volatile = false;  // gone after a restart
    REGSAM refused = 0;        // rights that nobody gets, as KEY_ bits; ask for one and access is denied
    bool deleted = false;      // a handle may outlive its key

    [[nodiscard]] RegistryValue* Find(WideView value_name);
    [[nodiscard]] const RegistryValue* Find(WideView value_name) const;
    void Set(WideView value_name, DWORD type, Bytes data);
    [[nodiscard]] std::shared_ptr<RegistryKey> Clone() const;
    void DropVolatileKeys();
};

// The number of a predefined key: the low 32 bits of its handle.
[[nodiscard]] std::uint32_t HiveNumber(HKEY hive);

// --- the drivers' parameter sets ---

inline constexpr std::size_t kPortSettingCount = 33;
inline constexpr std::size_t kBusNumberCount = 13;
// Names of the values in the order in which the drivers send them; the bus set's text stands between its
// sixth and seventh number.
[[nodiscard]] const std::array<const char*, kPortSettingCount>& PortSettingNames();
[[nodiscard]] const std::array<const char*, kBusNumberCount>& BusNumberNames();
inline constexpr const char* kBusTextName = "InterfaceType";

struct PortSettings {
    std::array<std::uint32_t, kPortSettingCount> values;
    PortSettings();                                                  // what a port driver starts with
    [[nodiscard]] std::uint32_t& operator[](std::string_view name);  // throws std::out_of_range
    [[nodiscard]] std::uint32_t operator[](std::string_view name) const;
    friend bool operator==(const PortSettings&, const PortSettings&) = default;
};

struct BusSettings {
    std::array<std::uint32_t, kBusNumberCount> values;
    std::string interface_type;
    BusSettings();
    [[nodiscard]] std::uint32_t& operator[](std::string_view name);
    [[nodiscard]] std::uint32_t operator[](std::string_view name) const;
    friend bool operator==(const BusSettings&, const BusSettings&) = default;
};

// The five requests of a control device.
enum class DriverRequest { SettingsSize, Settings, Write, DefaultsSize, Defaults };

// How a driver answers one of its requests when it does not behave; every field left alone is answered truly.
struct Misbehaviour {
    std::optional<DWORD> refuse = {};            // fail with this error
    std::optional<std::uint32_t> size = {};      // size requests: this number instead of the stream's length
    std::optional<Bytes> stream = {};            // stream requests: these bytes instead
    std::optional<std::uint32_t> truncate = {};  // either kind: only so many bytes of the answer
    std::uint32_t extra = 0;                     // stream requests: so many bytes 0xEE behind the answer
    std::optional<std::uint32_t> claimed =
        {};                       // report so many bytes returned, whatever was put into the buffer
    bool fill_what_fits = false;  // a buffer too small gets what fits and success, instead of an error
};

// What a port's driver publishes as control device, and keeps.
struct ControlDevice {
    PortSettings settings;
    PortSettings defaults;
    BusSettings bus;
    BusSettings bus_defaults;
    // Keyed by request and set selector (0 or 1).
    std::map<std::pair<DriverRequest, DWORD>, Misbehaviour> misbehaviour;
    std::vector<Bytes>
        writes;  // every request of kind Write as it came, header and all; not kept over a restart
};

// --- devices ---

struct Property {
    DWORD type = REG_SZ;
    Bytes data;
    friend bool operator==(const Property&, const Property&) = default;
};

struct DeviceInterface {
    GUID interface_class{};
    WideString reference;  // behind the device's part of the path; may be empty
    bool enabled = true;   // by its driver; active also takes a started device
};

struct Device {
    DEVINST node = 0;
    WideString id;  // device instance id
    GUID setup_class{};
    WideString class_name;
    DEVINST parent = 0;
    std::vector<DEVINST> children;  // in the order in which the bus lists them
    bool foreign = false;           // of another maker
    bool plugged = true;            // false: known to the computer, but not there (a "ghost")
    bool started = true;
    bool disabled = false;  // by the user; stays over a restart
    DWORD problem = 0;      // CM_PROB_ code of a device that does not start
    bool removed = false;   // uninstalled: nothing but the node number is left
    std::map<DWORD, Property>
        properties;          // SPDRP_ codes; class, class GUID and enumerator come from the fields above
    WideString kernel_path;  // "\Device\QxSerial0" of a port
    std::vector<DeviceInterface> interfaces;
    std::optional<ControlDevice> control;
    WideString held_open_by;  // name of another program that holds the port open; empty for none
};

// The class of a device by the name it has in machine files.
struct SetupClass {
    const char* name;
    GUID guid;
};
[[nodiscard]] const SetupClass* FindSetupClass(std::string_view name);

// What a new device is made from. Whatever is left out is filled in as an installer would.
struct DeviceRecipe {
    std::string id = {};           // UTF-8, as all texts here
    std::string setup_class = {};  // "Ports", "USB", "MultiPortSerial" ...; "Ports" when `port` is set
    std::optional<GUID> class_guid = {};
    std::optional<std::string> port = {};  // COM name: gives "PortName", claim, DOS name, SERIALCOMM entry
    std::optional<std::string> description = {};    // "Veltramark Serial Port" for a port
    std::optional<std::string> friendly_name = {};  // "<description> (COM5)" for a port
    std::optional<std::string> location = {};
    std::optional<std::string> driver = {};  // class GUID and instance number; the next free one
    std::optional<std::string> kernel_path = {};
    std::vector<std::string> hardware_ids = {};  // the id without its instance part
    std::optional<bool> control = {};            // whether the driver publishes a control device; ports do
    bool foreign = false;                        // of another maker: no control device unless asked for
    bool plugged = true;
    bool started = true;
    DWORD problem = 0;  // a device that is not started without a reason has CM_PROB_FAILED_INSTALL
    bool claim = true;  // whether the port database has the port's number claimed
};

// --- the computer ---

struct Program {
    std::uint32_t runs_for = 0;  // milliseconds of simulated time
    DWORD exit_code = 0;
};

// A program that the system under test started.
struct StartedProgram {
    WideString path;
    WideString command_line;
    bool inherit_handles = false;
    DWORD creation_flags = 0;
    DWORD process_id = 0;
    std::uint64_t ends_at = 0;  // simulated milliseconds
    DWORD exit_code = 0;
};

// Everything that survives a restart, and what can be rebuilt from it. Copying copies the registry too.
struct MachineState {
    MachineState();
    MachineState(const MachineState& other);
    MachineState& operator=(const MachineState& other);
    MachineState(MachineState&&) noexcept = default;
    MachineState& operator=(MachineState&&) noexcept = default;
    ~MachineState() = default;

    std::string schema;  // what a machine file names as its JSON schema; UTF-8
    std::string about;   // what a machine file's writer says of it; UTF-8
    DWORD major_version = 10;
    bool high_contrast = false;  // the user's setting
    DWORD minor_version = 0;
    DWORD build = 19045;
    WideString system_directory;
    GUID control_class{};  // interface class of the control devices

    // HKEY_LOCAL_MACHINE and the other predefined keys, by HiveNumber.
    std::map<std::uint32_t, std::shared_ptr<RegistryKey>> hives;
    std::vector<Device> devices;  // index is node number; 0 is unused, 1 the root of the tree
    std::vector<bool> claimed;    // index is COM number - 1
    std::map<WideString, Program, CaselessLess> programs;  // by full path

    // Newest target first. Drivers rebuild these when they start.
    std::map<WideString, std::vector<WideString>, CaselessLess> dos_names;
};

// What is wrong with a machine file, a line for each mistake:
// "line 42, column 17: devices[1].settings.Baudrate: expected a number ...".
class MachineFileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What a closed, unknown or misused handle leads to. On Windows the host program redirects only some of the
// library's calls; a handle of the real system that comes in through a redirected one (CloseHandle,
// RegCloseKey ...) goes on to the real function set here. Left empty, such a handle is invalid.
struct Passthrough {
    std::function<BOOL(HANDLE)> close_handle;
    std::function<LONG(HKEY)> reg_close_key;
    std::function<DWORD(HANDLE, DWORD)> wait_for_single_object;
    std::function<BOOL(HANDLE)> release_mutex;
};
[[nodiscard]] Passthrough& ThePassthrough();

class Machine : public MachineState {
  public:
    Machine();
    // Boots: devices start, and port drivers define their names.
    explicit Machine(MachineState state);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // The computer that answers the calls; an empty one when none was made current.
    [[nodiscard]] static Machine& Current();

    // --- machine files. All throw MachineFileError.
    [[nodiscard]] static std::unique_ptr<Machine> Load(const std::filesystem::path& file);
    [[nodiscard]] static std::unique_ptr<Machine> FromJson(std::string_view json);
    // Writes beside the file, then renames: never half-written. A link stays one, and the file its
    // permissions; a write-protected file stays as it is.
    void Save(const std::filesystem::path& file) const;
    [[nodiscard]] std::string ToJson() const;

    // --- restart
    // The state as it is stored at this moment: what a power cut leaves.
    // NOLINTNEXTLINE(cppcoreguidelines-slicing): the stored part is what is wanted
    [[nodiscard]] MachineState Snapshot() const { return *this; }
    // The computer after a restart from `state`: no handles, mutexes or processes; DOS names and SERIALCOMM
    // entries of ports as their drivers define them when they start.
    [[nodiscard]] static std::unique_ptr<Machine> Reopen(const MachineState& state);
    // A running twin, names and all (not its handles, mutexes and processes): cheap, for sweeps.
    [[nodiscard]] std::unique_ptr<Machine> Clone() const;
    // Starts every device anew, as a restart does.
    void Boot();

    // --- registry, outside the calls: nothing is traced, checked or counted
    // Path under HKEY_LOCAL_MACHINE (or another predefined key); null when absent.
    [[nodiscard]] std::shared_ptr<RegistryKey> FindKey(WideView path, HKEY hive = HKEY_LOCAL_MACHINE) const;
    std::shared_ptr<RegistryKey> MakeKey(WideView path, HKEY hive = HKEY_LOCAL_MACHINE,
                                         bool is_volatile = false);
    bool DeleteKey(WideView path, HKEY hive = HKEY_LOCAL_MACHINE);  // with all below it
    [[nodiscard]] std::optional<std::string> ReadText(std::string_view path, std::string_view value) const;
    [[nodiscard]] std::optional<std::uint32_t> ReadDword(std::string_view path, std::string_view value) const;
    void WriteText(std::string_view path, std::string_view value, std::string_view text);
    void WriteDword(std::string_view path, std::string_view value, std::uint32_t number);

    // --- devices, outside the calls; ids in UTF-8, compared without case
    [[nodiscard]] Device* Find(std::string_view id);
    [[nodiscard]] const Device* Find(std::string_view id) const;
    [[nodiscard]] Device* Find(WideView id);
    [[nodiscard]] const Device* Find(WideView id) const;
    [[nodiscard]] Device* Node(DEVINST node);  // null for a number that is none, or a removed device's
    [[nodiscard]] const Device* Node(DEVINST node) const;
    static constexpr DEVINST kRoot = 1;
    // Adds the device last among its parent's children and, when the recipe says so, starts it. Throws
    // std::invalid_argument for an id that is taken.
    DEVINST AddDevice(DEVINST parent, const DeviceRecipe& recipe);
    // As a port driver does when it is given settings: what differs from its defaults is kept in the hardware
    // key, as numbers under the settings' names. Its start takes them from there (all but the "Supported"
    // ones, which it knows).
    void StoreSettings(const Device& device);
    // In the device tree now: plugged in, and everything above it started.
    [[nodiscard]] bool Present(const Device& device) const;
    // As a driver's start and stop: a port defines or drops its DOS name and SERIALCOMM entry; children
    // follow.
    void Start(Device& device);
    void Stop(Device& device);
    // Pulls or plugs: a device that is not there is stopped, with everything below it.
    void SetPlugged(Device& device, bool plugged);
    // Uninstalls the device and everything below it: their keys and names go, claims stay.
    void Remove(Device& device);
    // Whether anything in the subtree is held open, so that it cannot be stopped now.
    [[nodiscard]] bool InUse(const Device& device) const;
    // Number of times that the subtree of the node was re-enumerated (CM_Reenumerate_DevNode); only counted.
    [[nodiscard]] unsigned Reenumerations(DEVINST node) const;

    // "System\CurrentControlSet\Enum\<id>\Device Parameters"
    [[nodiscard]] static WideString HardwareKeyPath(WideView id);
    [[nodiscard]] std::shared_ptr<RegistryKey> HardwareKey(const Device& device) const;  // null when absent
    [[nodiscard]] std::shared_ptr<RegistryKey> DriverKey(const Device& device) const;    // likewise
    [[nodiscard]] static bool IsPort(const Device& device);                              // of class Ports
    // Ports in the order of the device tree, absent and unstarted ones too.
    [[nodiscard]] std::vector<const Device*> Ports() const;
    // "PortName" in the hardware key, and the name in the port's SERIALCOMM entry; empty when missing.
    [[nodiscard]] std::string PortName(const Device& port) const;
    [[nodiscard]] std::string SerialCommName(const Device& port) const;
    // Text of a property (SPDRP_FRIENDLYNAME ...); empty when it has none.
    [[nodiscard]] std::string PropertyText(const Device& device, DWORD property) const;
    void SetPropertyText(Device& device, DWORD property, std::string_view text);
    [[nodiscard]] WideString InterfacePath(const Device& device, const DeviceInterface& published) const;
    [[nodiscard]] bool Active(const Device& device, const DeviceInterface& published) const;
    // Path of the port's control device; empty when it has none.
    [[nodiscard]] std::string ControlPath(const Device& device) const;

    // --- port database, outside the calls
    [[nodiscard]] bool Claimed(unsigned number) const;
    void SetClaimed(unsigned number, bool claimed);
    [[nodiscard]] std::vector<unsigned> ClaimedNumbers() const;
    bool database_broken = false;  // every open fails with ERROR_ACCESS_DENIED

    // --- DOS names, outside the calls
    [[nodiscard]] std::optional<std::string> DosTarget(std::string_view name) const;
    void DefineDosName(WideView name, WideView target);
    // Removes every definition of any name with this target.
    void DropDosNamesOf(WideView target);

    // --- processes and mutexes
    std::vector<StartedProgram> started_programs;
    std::set<WideString> refused_mutexes;  // CreateMutexW gets ERROR_ACCESS_DENIED
    std::uint64_t clock = 0;               // simulated milliseconds since the start
    [[nodiscard]] bool MutexExists(WideView name) const;
    // The simulated process ends: its handles are closed, mutexes that it owns are abandoned.
    void EndProcess(unsigned process);

    // Called by SetupDiCallClassInstaller before its own work, as the platform calls a device's
    // co-installers; any answer but NO_ERROR fails the call with it. None by default.
    std::function<DWORD(DI_FUNCTION, HDEVINFO, PSP_DEVINFO_DATA)> co_installers;

    // --- what the services keep; not for tests
    struct HandleTable;
    [[nodiscard]] HandleTable& Handles() { return *handles_; }
    [[nodiscard]] const HandleTable& Handles() const { return *handles_; }

  private:
    friend class CurrentMachine;
    void TakeStoredSettings(Device& device) const;
    std::unique_ptr<HandleTable> handles_;
};

// Makes a machine the current one for its lifetime; the one before is current again afterwards.
class CurrentMachine {
  public:
    explicit CurrentMachine(Machine& machine);
    ~CurrentMachine();
    CurrentMachine(const CurrentMachine&) = delete;
    CurrentMachine& operator=(const CurrentMachine&) = delete;

  private:
    Machine* previous_;
};

// A device-information set with one element for the device, as the device installer hands it to the system:
// not traced, not in the ledger, gone with the machine. Fills `element`.
[[nodiscard]] HDEVINFO HandDevice(Machine& machine, const Device& device, SP_DEVINFO_DATA& element);

inline constexpr const char* kSerialCommPath = "Hardware\\DeviceMap\\SERIALCOMM";
inline constexpr const char* kPortsPath = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Ports";

}  // namespace qxsim
