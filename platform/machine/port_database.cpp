// SPDX-License-Identifier: MIT
// The COM port database, which keeps the numbers that are taken apart from the devices that took them.
#include "platform/machine/machine_internal.h"

#include <msports.h>

#include <algorithm>

namespace qxsim {

QX_PLATFORM_CALL(ComDBOpen);
QX_PLATFORM_CALL(ComDBClose);
QX_PLATFORM_CALL(ComDBGetCurrentPortUsage);
QX_PLATFORM_CALL(ComDBClaimPort);
QX_PLATFORM_CALL(ComDBReleasePort);

namespace {

LONG Result(Call& call, DWORD error) {
    return call.Return(static_cast<LONG>(error));
}

bool IsOpen(HCOMDB handle) {
    return Machine::Current().Handles().databases.contains(HandleNumber(handle));
}

}  // namespace

LONG WINAPI ComDBOpen(PHCOMDB result) {
    Call call("ComDBOpen");
    if (result == nullptr)
        return Result(call, ERROR_INVALID_PARAMETER);
    *result = HCOMDB_INVALID_HANDLE_VALUE;
    Machine& machine = Machine::Current();
    if (call.Faulted() || machine.database_broken)
        return Result(call, call.FaultError(ERROR_ACCESS_DENIED));
    const std::uint64_t number = machine.Handles().New();
    machine.Handles().databases.insert(number);
    call.Opened(kDatabaseHandle, number);
    *result = MakeHandle<HCOMDB>(number);
    return Result(call, ERROR_SUCCESS);
}

LONG WINAPI ComDBClose(HCOMDB handle) {
    Call call("ComDBClose", handle);
    if (!call.Closed(kDatabaseHandle, HandleNumber(handle)) ||
        Machine::Current().Handles().databases.erase(HandleNumber(handle)) == 0)
        return Result(call, ERROR_INVALID_PARAMETER);
    return Result(call, call.Faulted() ? call.FaultError(ERROR_GEN_FAILURE) : ERROR_SUCCESS);
}

LONG WINAPI ComDBGetCurrentPortUsage(HCOMDB handle, PBYTE buffer, DWORD size, DWORD report,
                                     LPDWORD reported) {
    Call call("ComDBGetCurrentPortUsage", handle, size, report);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_NOT_CONNECTED));
    if (!IsOpen(handle) || (buffer == nullptr && reported == nullptr) ||
        (buffer != nullptr && report != CDB_REPORT_BYTES))
        return Result(call, ERROR_INVALID_PARAMETER);
    const std::vector<bool>& claimed = Machine::Current().claimed;
    std::size_t count = claimed.size();
    if (buffer != nullptr) {
        count = std::min<std::size_t>(count, size);
        std::copy_n(claimed.begin(), count, buffer);
    }
    if (reported != nullptr)
        *reported = static_cast<DWORD>(count);
    return Result(call, ERROR_SUCCESS);
}

LONG WINAPI ComDBClaimPort(HCOMDB handle, DWORD number, BOOL force, PBOOL forced) {
    Call call("ComDBClaimPort", handle, number, force);
    if (forced != nullptr)
        *forced = FALSE;
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_CANTWRITE));
    std::vector<bool>& claimed = Machine::Current().claimed;
    if (!IsOpen(handle) || number == 0 || number > claimed.size())
        return Result(call, ERROR_INVALID_PARAMETER);
    if (claimed[number - 1]) {
        if (force == FALSE)
            return Result(call, ERROR_SHARING_VIOLATION);
        if (forced != nullptr)
            *forced = TRUE;
        return Result(call, ERROR_SUCCESS);
    }
    call.Changing();
    claimed[number - 1] = true;
    return Result(call, ERROR_SUCCESS);
}

LONG WINAPI ComDBReleasePort(HCOMDB handle, DWORD number) {
    Call call("ComDBReleasePort", handle, number);
    if (call.Faulted())
        return Result(call, call.FaultError(ERROR_CANTWRITE));
    std::vector<bool>& claimed = Machine::Current().claimed;
    if (!IsOpen(handle) || number == 0 || number > claimed.size())
        return Result(call, ERROR_INVALID_PARAMETER);
    if (claimed[number - 1]) {
        call.Changing();
        claimed[number - 1] = false;
    }
    return Result(call, ERROR_SUCCESS);
}

bool Machine::Claimed(unsigned number) const {
    return number >= 1 && number <= claimed.size() && claimed[number - 1];
}

void Machine::SetClaimed(unsigned number, bool is_claimed) {
    if (number >= 1 && number <= claimed.size())
        claimed[number - 1] = is_claimed;
}

std::vector<unsigned> Machine::ClaimedNumbers() const {
    std::vector<unsigned> numbers;
    for (unsigned number = 1; number <= claimed.size(); ++number) {
        if (claimed[number - 1])
            numbers.push_back(number);
    }
    return numbers;
}

}  // namespace qxsim
