// SPDX-License-Identifier: MIT
// DOS device names: a name may be defined several times over, and the newest definition counts.
#include "platform/machine/machine_internal.h"

#include <algorithm>

namespace qxsim {

QX_PLATFORM_CALL(QueryDosDeviceW);
QX_PLATFORM_CALL(DefineDosDeviceW);

DWORD WINAPI QueryDosDeviceW(LPCWSTR name, LPWSTR buffer, DWORD size) {
    Call call("QueryDosDeviceW", name, size);
    const auto fail = [&](DWORD error) { return call.Fail(error, DWORD{0}); };
    if (call.Faulted())
        return fail(call.FaultError(ERROR_FILE_NOT_FOUND));
    const Machine& machine = Machine::Current();
    WideString list;
    if (name == nullptr) {
        for (const auto& [known, targets] : machine.dos_names)
            list += known + WCHAR{};
    } else {
        const auto found = machine.dos_names.find(WideView(name));
        if (found == machine.dos_names.end())
            return fail(ERROR_FILE_NOT_FOUND);
        for (const WideString& target : found->second)
            list += target + WCHAR{};
    }
    list += WCHAR{};
    if (buffer == nullptr || size < list.size())
        return fail(ERROR_INSUFFICIENT_BUFFER);
    CopyOut(buffer, list.data(), list.size() * sizeof(WCHAR));
    return call.Return(static_cast<DWORD>(list.size()));
}

BOOL WINAPI DefineDosDeviceW(DWORD flags, LPCWSTR name, LPCWSTR target) {
    Call call("DefineDosDeviceW", flags, name, target);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED));
    constexpr DWORD kKnown = DDD_RAW_TARGET_PATH | DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE |
                             DDD_NO_BROADCAST_SYSTEM | 0x10;  // the last: DDD_LUID_BROADCAST_DRIVE
    const bool remove = (flags & DDD_REMOVE_DEFINITION) != 0;
    const bool exact = (flags & DDD_EXACT_MATCH_ON_REMOVE) != 0;
    if ((flags & ~kKnown) != 0 || name == nullptr || *name == WCHAR{} || (exact && !remove) ||
        (target == nullptr && (!remove || exact)))
        return call.Fail(ERROR_INVALID_PARAMETER);
    WideString path = target == nullptr ? WideString() : WideString(target);
    if (target != nullptr &&
        (flags & DDD_RAW_TARGET_PATH) == 0)  // an ordinary path means the file of that name
        path = ToWide("\\??\\") + path;
    Machine& machine = Machine::Current();
    if (!remove) {
        call.Changing();
        machine.DefineDosName(name, path);
        return call.Return(TRUE);
    }
    const auto found = machine.dos_names.find(WideView(name));
    if (found == machine.dos_names.end())
        return call.Fail(ERROR_FILE_NOT_FOUND);
    std::vector<WideString>& targets = found->second;
    const auto victim = std::ranges::find_if(targets, [&](const WideString& one) {
        return exact ? EqualsCaseless(one, path) : EqualsCaseless(WideView(one).substr(0, path.size()), path);
    });
    if (victim == targets.end())
        return call.Fail(ERROR_FILE_NOT_FOUND);
    call.Changing();
    targets.erase(victim);
    if (targets.empty())
        machine.dos_names.erase(found);
    return call.Return(TRUE);
}

std::optional<std::string> Machine::DosTarget(std::string_view name) const {
    const auto found = dos_names.find(ToWide(name));
    return found == dos_names.end() ? std::nullopt : std::optional(ToUtf8(found->second.front()));
}

void Machine::DefineDosName(WideView name, WideView target) {
    std::vector<WideString>& targets = dos_names[WideString(name)];
    targets.insert(targets.begin(), WideString(target));
}

void Machine::DropDosNamesOf(WideView target) {
    if (target.empty())
        return;
    for (auto& [name, targets] : dos_names)
        std::erase_if(targets, [&](const WideString& one) { return EqualsCaseless(one, target); });
    std::erase_if(dos_names, [](const auto& entry) { return entry.second.empty(); });
}

}  // namespace qxsim
