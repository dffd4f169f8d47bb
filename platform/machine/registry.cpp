// SPDX-License-Identifier: MIT
// The registry's calls.
//
// Rights are checked where the platform checks them: opening against what the key refuses, reading and
// writing values and enumerating against what the handle was granted, creating and deleting subkeys against
// the keys themselves and not against the handle.
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qxsim {

QX_PLATFORM_CALL(RegOpenKeyExW);
QX_PLATFORM_CALL(RegCreateKeyExW);
QX_PLATFORM_CALL(RegQueryValueExW);
QX_PLATFORM_CALL(RegSetValueExW);
QX_PLATFORM_CALL(RegEnumValueW);
QX_PLATFORM_CALL(RegDeleteKeyW);
QX_PLATFORM_CALL(RegDeleteKeyExW);
QX_PLATFORM_CALL(RegCloseKey);

namespace {

constexpr std::size_t kLongestKeyName = 255;
constexpr std::size_t kLongestValueName = 16383;
constexpr LONG kChildMustBeVolatile = 1021;
constexpr REGSAM kAllKeyRights = 0x1F003F;

[[nodiscard]] LONG Result(Call& call, DWORD error) {
    return call.Return(static_cast<LONG>(error));
}

// The key behind a handle: an open one's or a predefined one's.
std::optional<KeyHandle> KeyOf(Machine& machine, HKEY handle) {
    if (const auto open = machine.Handles().keys.find(HandleNumber(handle));
        open != machine.Handles().keys.end())
        return open->second;
    const auto hive = machine.hives.find(static_cast<std::uint32_t>(HandleNumber(handle)));
    if ((HandleNumber(handle) & 0x80000000) == 0 || hive == machine.hives.end())
        return std::nullopt;
    return KeyHandle{hive->second, kAllKeyRights};
}

// As KeyOf, with the reason why the handle cannot be worked with: closed, deleted, or without the rights.
DWORD UsableKey(Machine& machine, HKEY handle, REGSAM rights, KeyHandle& open) {
    const std::optional<KeyHandle> found = KeyOf(machine, handle);
    if (!found)
        return ERROR_INVALID_HANDLE;
    open = *found;
    if (open.key->deleted)
        return ERROR_KEY_DELETED;
    return (open.granted & rights) == rights ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

WideView View(const WCHAR* text) {
    return text == nullptr ? WideView() : WideView(text);
}

// Parts of a subkey path; false when the platform would not take it.
bool SplitPath(WideView path, std::vector<WideView>& parts) {
    if (!path.empty() && path.front() == '\\')
        return false;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(static_cast<WCHAR>('\\')), path.size());
        const WideView part = path.substr(0, end);
        if (part.size() > kLongestKeyName)
            return false;
        if (!part.empty())
            parts.push_back(part);
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return true;
}

// Answers the data and its size the way that querying and enumerating a value share.
DWORD AnswerData(const RegistryValue& value, DWORD* type, BYTE* data, DWORD* size) {
    const auto actual = static_cast<DWORD>(value.data.size());
    if (type != nullptr)
        *type = value.type;
    if (size == nullptr)
        return ERROR_SUCCESS;
    const DWORD room = std::exchange(*size, actual);
    if (data == nullptr)
        return ERROR_SUCCESS;
    if (room < actual)
        return ERROR_MORE_DATA;
    CopyOut(data, value.data.data(), actual);
    return ERROR_SUCCESS;
}

DWORD DeleteSubkey(Call& call, Machine& machine, HKEY handle, const WCHAR* name) {
    KeyHandle open;
    if (const DWORD error = UsableKey(machine, handle, 0, open); error != ERROR_SUCCESS)
        return error;
    std::vector<WideView> parts;
    if (name == nullptr || !SplitPath(View(name), parts) || parts.empty())
        return ERROR_INVALID_PARAMETER;
    RegistryKey* parent = open.key.get();
    for (std::size_t at = 0; at + 1 < parts.size(); ++at) {
        const auto next = parent->subkeys.find(parts[at]);
        if (next == parent->subkeys.end())
            return ERROR_FILE_NOT_FOUND;
        parent = next->second.get();
    }
    const auto found = parent->subkeys.find(parts.back());
    if (found == parent->subkeys.end())
        return ERROR_FILE_NOT_FOUND;
    if (!found->second->subkeys.empty() || (found->second->refused & DELETE) != 0)
        return ERROR_ACCESS_DENIED;
    call.Changing();
    found->second->deleted = true;
    parent->subkeys.erase(found);
    return ERROR_SUCCESS;
}

}  // namespace

REGSAM KeyRights(REGSAM asked) {
    REGSAM rights = asked & kAllKeyRights;
    if ((asked & GENERIC_READ) != 0)
        rights |= KEY_READ;
    if ((asked & GENERIC_WRITE) != 0)
        rights |= KEY_WRITE;
    return rights;
}

LONG OpenKeyHandle(Call& call, Machine& machine, const std::shared_ptr<RegistryKey>& key, REGSAM asked,
                   HKEY& result) {
    const REGSAM granted = KeyRights(asked);
    if ((granted & key->refused) != 0)
        return ERROR_ACCESS_DENIED;
    const std::uint64_t number = machine.Handles().New();
    machine.Handles().keys.emplace(number, KeyHandle{key, granted});
    call.Opened(kKeyHandle, number);
    result = MakeHandle<HKEY>(number);
    return ERROR_SUCCESS;
}

LONG WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY result) {
    Call call("RegOpenKeyExW", key, subkey, access);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_ACCESS_DENIED));
    if (result == nullptr || options != 0)
        return Result(call, ERROR_INVALID_PARAMETER);
    *result = nullptr;
    Machine& machine = Machine::Current();
    KeyHandle open;
    if (const DWORD error = UsableKey(machine, key, 0, open); error != ERROR_SUCCESS)
        return Result(call, error);
    std::vector<WideView> parts;
    if (!SplitPath(View(subkey), parts))
        return Result(call, ERROR_BAD_PATHNAME);
    for (const WideView part : parts) {
        const auto next = open.key->subkeys.find(part);
        if (next == open.key->subkeys.end())
            return Result(call, ERROR_FILE_NOT_FOUND);
        open.key = std::shared_ptr(next->second);
    }
    return call.Return(OpenKeyHandle(call, machine, open.key, access, *result));
}

LONG WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subkey, DWORD reserved, LPWSTR, DWORD options, REGSAM access,
                            LPSECURITY_ATTRIBUTES, PHKEY result, LPDWORD disposition) {
    Call call("RegCreateKeyExW", key, subkey, options, access);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_ACCESS_DENIED));
    if (result == nullptr || subkey == nullptr || reserved != 0)
        return Result(call, ERROR_INVALID_PARAMETER);
    *result = nullptr;
    Machine& machine = Machine::Current();
    KeyHandle open;
    if (const DWORD error = UsableKey(machine, key, 0, open); error != ERROR_SUCCESS)
        return Result(call, error);
    std::vector<WideView> parts;
    if (!SplitPath(View(subkey), parts))
        return Result(call, ERROR_BAD_PATHNAME);
    const bool is_volatile = (options & REG_OPTION_VOLATILE) != 0;
    bool created = false;
    for (const WideView part : parts) {
        if (const auto next = open.key->subkeys.find(part); next != open.key->subkeys.end()) {
            open.key = std::shared_ptr(next->second);
            continue;
        }
        if ((open.key->refused & KEY_CREATE_SUB_KEY) != 0)
            return Result(call, ERROR_ACCESS_DENIED);
        if (open.key->is_volatile && !is_volatile)
            return Result(call, kChildMustBeVolatile);
        if (!std::exchange(created, true))
            call.Changing();
        auto made = std::make_shared<RegistryKey>();
        made->name = part;
        made->is_volatile = is_volatile;
        open.key->subkeys.emplace(WideString(part), made);
        open.key = std::move(made);
    }
    const LONG outcome = OpenKeyHandle(call, machine, open.key, access, *result);
    if (outcome == ERROR_SUCCESS && disposition != nullptr)
        *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return call.Return(outcome);
}

LONG WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                             LPDWORD size) {
    Call call("RegQueryValueExW", key, name);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_FILE_NOT_FOUND));
    if (reserved != nullptr || (data != nullptr && size == nullptr))
        return Result(call, ERROR_INVALID_PARAMETER);
    KeyHandle open;
    if (const DWORD error = UsableKey(Machine::Current(), key, KEY_QUERY_VALUE, open); error != ERROR_SUCCESS)
        return Result(call, error);
    const RegistryValue* value = open.key->Find(View(name));
    if (value == nullptr)
        return Result(call, ERROR_FILE_NOT_FOUND);
    return Result(call, AnswerData(*value, type, data, size));
}

LONG WINAPI RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
    Call call("RegSetValueExW", key, name, type, size);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_ACCESS_DENIED));
    if (reserved != 0 || (data == nullptr && size != 0) || View(name).size() > kLongestValueName)
        return Result(call, ERROR_INVALID_PARAMETER);
    KeyHandle open;
    if (const DWORD error = UsableKey(Machine::Current(), key, KEY_SET_VALUE, open); error != ERROR_SUCCESS)
        return Result(call, error);
    call.Changing();
    open.key->Set(View(name), type, size == 0 ? Bytes() : Bytes(data, data + size));
    return Result(call, ERROR_SUCCESS);
}

LONG WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD reserved,
                          LPDWORD type, LPBYTE data, LPDWORD size) {
    Call call("RegEnumValueW", key, index);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_ACCESS_DENIED));
    if (name == nullptr || name_size == nullptr || reserved != nullptr ||
        (data != nullptr && size == nullptr))
        return Result(call, ERROR_INVALID_PARAMETER);
    KeyHandle open;
    if (const DWORD error = UsableKey(Machine::Current(), key, KEY_QUERY_VALUE, open); error != ERROR_SUCCESS)
        return Result(call, error);
    if (index >= open.key->values.size())
        return Result(call, ERROR_NO_MORE_ITEMS);
    const RegistryValue& value = open.key->values[index];
    // The room for the name counts its NUL, the answer does not. A name that does not fit leaves the size
    // alone.
    if (*name_size < value.name.size() + 1) {
        if (size != nullptr)
            *size = static_cast<DWORD>(value.data.size());
        return Result(call, ERROR_MORE_DATA);
    }
    const DWORD outcome = AnswerData(value, type, data, size);
    if (outcome == ERROR_SUCCESS) {
        CopyOut(name, value.name.c_str(), (value.name.size() + 1) * sizeof(WCHAR));
        *name_size = static_cast<DWORD>(value.name.size());
    }
    return Result(call, outcome);
}

LONG WINAPI RegDeleteKeyW(HKEY key, LPCWSTR subkey) {
    Call call("RegDeleteKeyW", key, subkey);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_ACCESS_DENIED));
    return Result(call, DeleteSubkey(call, Machine::Current(), key, subkey));
}

LONG WINAPI RegDeleteKeyExW(HKEY key, LPCWSTR subkey, REGSAM access, DWORD reserved) {
    Call call("RegDeleteKeyExW", key, subkey, access);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_ACCESS_DENIED));
    if (reserved != 0)
        return Result(call, ERROR_INVALID_PARAMETER);
    return Result(call, DeleteSubkey(call, Machine::Current(), key, subkey));
}

LONG WINAPI RegCloseKey(HKEY key) {
    Call call("RegCloseKey", key);
    Machine& machine = Machine::Current();
    if (machine.Handles().keys.erase(HandleNumber(key)) != 0) {
        call.Closed(kKeyHandle, HandleNumber(key));
        return Result(call, call.Faulted() ? call.FaultError(ERROR_GEN_FAILURE) : ERROR_SUCCESS);
    }
    if (KeyOf(machine, key))  // closing a predefined key does nothing
        return Result(call, ERROR_SUCCESS);
    if (ThePassthrough().reg_close_key)
        return call.Return(ThePassthrough().reg_close_key(key));
    call.Closed(kKeyHandle, HandleNumber(key));
    return Result(call, ERROR_INVALID_HANDLE);
}

}  // namespace qxsim
