// SPDX-License-Identifier: MIT
// What the services share: the tables of open handles, and the small checks that every call makes.
#pragma once

#include "platform/machine/calls.h"
#include "platform/machine/machine.h"

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace qxsim {

inline constexpr const char* kKeyHandle = "registry key";
inline constexpr const char* kSetHandle = "device set";
inline constexpr const char* kFileHandle = "file";
inline constexpr const char* kMutexHandle = "mutex";
inline constexpr const char* kProcessHandle = "process";
inline constexpr const char* kThreadHandle = "thread";
inline constexpr const char* kDatabaseHandle = "port database";
inline constexpr const char* kMemoryHandle = "local memory";

inline constexpr const char* kEnumPath = "System\\CurrentControlSet\\Enum\\";
inline constexpr const char* kClassPath = "System\\CurrentControlSet\\Control\\Class\\";

struct KeyHandle {
    std::shared_ptr<RegistryKey> key;
    REGSAM granted = 0;
};

// A device in a set.
struct SetElement {
    DEVINST node = 0;
    std::unique_ptr<SP_DEVINSTALL_PARAMS_W> install_params;  // made when first asked for
    Bytes class_install_params;
};

struct SetInterface {
    DEVINST node = 0;
    std::size_t index = 0;  // in the device's interfaces
};

struct DeviceSet {
    std::optional<GUID> class_guid;
    std::vector<SetElement> elements;
    std::vector<SetInterface> interfaces;
    std::unique_ptr<SP_DEVINSTALL_PARAMS_W> install_params;
    Bytes class_install_params;
    bool handed = false;  // made for a test or the device installer, not by a call
};

enum class FileKind { Port, Control, Other };

struct FileHandle {
    DEVINST node = 0;
    FileKind kind = FileKind::Other;
    DWORD access = 0;
    DWORD share = 0;
    unsigned process = 0;
};

struct MutexObject {
    WideString name;
    unsigned owner_process = 0;  // 0 for free
    std::thread::id owner_thread;
    unsigned recursion = 0;
    bool abandoned = false;
};

struct MutexHandle {
    std::shared_ptr<MutexObject> mutex;
    unsigned process = 0;
};

struct ProcessHandle {
    std::size_t program = 0;  // in Machine::started_programs
    bool is_thread = false;
};

struct Machine::HandleTable {
    // Far from what the real system hands out, so that the two are never taken for one another, and never
    // used twice, so that closing twice is always noticed.
    std::uint64_t last = 0x51000000;
    [[nodiscard]] std::uint64_t New() { return last += 4; }

    std::unordered_map<std::uint64_t, KeyHandle> keys;
    std::unordered_map<std::uint64_t, DeviceSet> sets;
    std::unordered_map<std::uint64_t, FileHandle> files;
    std::unordered_map<std::uint64_t, MutexHandle> mutexes;
    std::unordered_map<std::uint64_t, ProcessHandle> processes;
    std::set<std::uint64_t> databases;
    std::map<WideString, std::weak_ptr<MutexObject>> mutex_names;
    std::condition_variable_any mutex_released;
    std::map<DEVINST, unsigned> reenumerations;
};

template <typename Handle>
[[nodiscard]] std::uint64_t HandleNumber(Handle handle) {
    return reinterpret_cast<std::uint64_t>(handle);
}
template <typename Handle>
[[nodiscard]] Handle MakeHandle(std::uint64_t number) {
    return reinterpret_cast<Handle>(number);  // NOLINT(performance-no-int-to-ptr): handles are numbers
}

// The open set behind a handle, or null.
[[nodiscard]] DeviceSet* FindSet(Machine& machine, HDEVINFO handle);
// The element of the set that `data` names. Null, with `error` set as the platform does, when there is none.
[[nodiscard]] SetElement* FindElement(DeviceSet* set, const SP_DEVINFO_DATA* data, DWORD& error);
// Adds the device (or finds it) and answers its place.
std::size_t AddElement(DeviceSet& set, DEVINST node);
void FillElement(const Machine& machine, const DeviceSet& set, std::size_t place, SP_DEVINFO_DATA& data);

// The key rights that an access mask asks for, generic rights translated.
[[nodiscard]] REGSAM KeyRights(REGSAM asked);
// Opens a key for a caller: its handle, or an error.
[[nodiscard]] LONG OpenKeyHandle(Call& call, Machine& machine, const std::shared_ptr<RegistryKey>& key,
                                 REGSAM asked, HKEY& result);

// Answers `request` of the device's driver: what DeviceIoControl does with it.
[[nodiscard]] DWORD AnswerDriverRequest(Call& call, Device& device, DWORD code, const Bytes& input,
                                        BYTE* output, DWORD output_size, DWORD& returned);

// What a wait for an open mutex or process ends with; none when the handle is neither.
[[nodiscard]] std::optional<DWORD> WaitForMutex(Call& call, Machine& machine, std::uint64_t handle,
                                                DWORD timeout);
[[nodiscard]] std::optional<DWORD> WaitForProcess(Machine& machine, std::uint64_t handle, DWORD timeout);

// Mutexes owned by a process, or by one of its threads when there is one given, become free and abandoned.
void AbandonMutexes(Machine& machine, unsigned process, const std::thread::id* thread);

}  // namespace qxsim
