// SPDX-License-Identifier: MIT
// Machine files: a computer as JSON that a person can read and write. What this header has is shared by their
// reader and their writer.
//
// A file says what matters and leaves the rest out: {"id": "...", "port": "COM5"} is a port with its friendly
// name, claim, DOS name, SERIALCOMM entry and control device. Stored files are no different. What the
// computer lacks of that, or has otherwise, stands in the file, with null for what is not there; so each fact
// stands there once, and a key that a person changes takes the rest along.
#pragma once

#include "platform/machine/machine.h"

#include <map>
#include <string>
#include <vector>

namespace qxsim {

inline constexpr std::uint32_t kMachineFileFormat = 1;

// The keys of each kind of object in a machine file.
[[nodiscard]] const std::map<std::string, std::vector<std::string>>& MachineFileKeys();

namespace machine_file {

struct TypeName {
    const char* name;
    DWORD type;
};
inline constexpr TypeName kTypes[] = {
    {"REG_NONE", REG_NONE},           {"REG_SZ", REG_SZ},
    {"REG_EXPAND_SZ", REG_EXPAND_SZ}, {"REG_BINARY", REG_BINARY},
    {"REG_DWORD", REG_DWORD},         {"REG_DWORD_BIG_ENDIAN", REG_DWORD_BIG_ENDIAN},
    {"REG_LINK", REG_LINK},           {"REG_MULTI_SZ", REG_MULTI_SZ},
    {"REG_QWORD", REG_QWORD}};

struct RightName {
    const char* name;
    REGSAM rights;
};
inline constexpr RightName kRights[] = {{"read", KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS},
                                        {"write", KEY_SET_VALUE},
                                        {"create", KEY_CREATE_SUB_KEY},
                                        {"delete", DELETE}};

struct RequestName {
    const char* name;
    DriverRequest request;
};
inline constexpr RequestName kRequests[] = {{"settingsSize", DriverRequest::SettingsSize},
                                            {"settings", DriverRequest::Settings},
                                            {"write", DriverRequest::Write},
                                            {"defaultsSize", DriverRequest::DefaultsSize},
                                            {"defaults", DriverRequest::Defaults}};

struct HiveName {
    const char* name;
    HKEY hive;
};
inline const HiveName kHives[] = {{"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
                                  {"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
                                  {"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
                                  {"HKEY_USERS", HKEY_USERS},
                                  {"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG}};

struct PropertyName {
    const char* name;
    DWORD property;
};
inline constexpr PropertyName kProperties[] = {
    {"description", SPDRP_DEVICEDESC}, {"friendlyName", SPDRP_FRIENDLYNAME},
    {"manufacturer", SPDRP_MFG},       {"location", SPDRP_LOCATION_INFORMATION},
    {"service", SPDRP_SERVICE},        {"driver", SPDRP_DRIVER},
    {"hardwareIds", SPDRP_HARDWAREID}, {"compatibleIds", SPDRP_COMPATIBLEIDS}};

// Several texts in a row, as a REG_MULTI_SZ has them.
[[nodiscard]] Bytes ListBytes(const std::vector<std::string>& texts);

// "COM1" to "COM4096", written as the system writes them; 0 for anything else.
[[nodiscard]] unsigned PortNumber(std::string_view name);

// The computer of a file. Mistakes are noted or, when there is nowhere to note them, passed over.
[[nodiscard]] std::unique_ptr<Machine> Read(std::string_view content, const std::string& file,
                                            bool pass_over_mistakes = false);

}  // namespace machine_file

}  // namespace qxsim
