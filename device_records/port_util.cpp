// SPDX-License-Identifier: MIT
#include "device_records/port_util.h"

#include <algorithm>

namespace qx {

namespace {

// The database's report: one byte per COM number, COM1 first, other than 0 when claimed.
using UsageMap = std::array<BYTE, 256>;

bool GetUsage(HCOMDB database, UsageMap& usage) noexcept {
    usage.fill(0);
    DWORD ports_reported = 0;
    return ComDBGetCurrentPortUsage(database, usage.data(), static_cast<DWORD>(usage.size()),
                                    CDB_REPORT_BYTES, &ports_reported) == ERROR_SUCCESS;
}

}  // namespace

bool CPortUtil::OpenPortDatabase() noexcept {
    if (ComDBOpen(&database_) == ERROR_SUCCESS)
        return true;
    database_ = HCOMDB_INVALID_HANDLE_VALUE;
    return false;
}

bool CPortUtil::ClosePortDatabase() noexcept {
    const LONG status = ComDBClose(database_);
    database_ = HCOMDB_INVALID_HANDLE_VALUE;
    return status == ERROR_SUCCESS;
}

bool CPortUtil::ClaimPort(DWORD number, bool force, bool* forced) noexcept {
    BOOL was_forced = FALSE;
    if (ComDBClaimPort(database_, number, force ? TRUE : FALSE, &was_forced) != ERROR_SUCCESS)
        return false;
    if (forced)
        *forced = was_forced != FALSE;
    return true;
}

bool CPortUtil::ReleasePort(DWORD number) noexcept {
    return ComDBReleasePort(database_, number) == ERROR_SUCCESS;
}

bool CPortUtil::IsPortFree(DWORD number) const noexcept {
    UsageMap usage;
    if (database_ == HCOMDB_INVALID_HANDLE_VALUE || number == 0 || number > usage.size())
        return false;
    return GetUsage(database_, usage) && usage[number - 1] == 0;
}

std::vector<ListedComName> CPortUtil::ListComNames(const Text& current) const {
    constexpr DWORD kListedNames = 255;  // the last number of the database has never been offered
    std::vector<ListedComName> names;
    UsageMap usage;
    if (database_ == HCOMDB_INVALID_HANDLE_VALUE || !GetUsage(database_, usage))
        return names;
    names.reserve(kListedNames);
    for (DWORD number = 1; number <= kListedNames; ++number)
        names.push_back({number, usage[number - 1] != 0 && !(ComNameOf(number) == current)});
    return names;
}

std::optional<std::array<bool, 256>> CPortUtil::Claims() const noexcept {
    UsageMap usage;
    if (database_ == HCOMDB_INVALID_HANDLE_VALUE || !GetUsage(database_, usage))
        return std::nullopt;
    std::array<bool, 256> claims{};
    std::ranges::transform(usage, claims.begin(), [](BYTE used) { return used != 0; });
    return claims;
}

}  // namespace qx
