// SPDX-License-Identifier: MIT
// A port database for systems that have none: the library msports.dll with the documented ComDB calls. The
// claims are kept where the system keeps its own, as a map of bits in the registry, so they hold between
// programs.
#include <windows.h>

#include <msports.h>

#include <algorithm>
#include <vector>

namespace {

constexpr const wchar_t* kKey = L"SYSTEM\\CurrentControlSet\\Control\\COM Name Arbiter";
constexpr const wchar_t* kValue = L"ComDB";
constexpr const wchar_t* kMutex = L"QxTestComDb";
constexpr DWORD kSmallest = COMDB_MIN_PORTS_ARBITRATED;

using Map = std::vector<BYTE>;  // one bit a port

// One use of the map: alone among all programs, and written back when changed.
class Database {
  public:
    Database() : mutex_(CreateMutexW(nullptr, FALSE, kMutex)) {
        WaitForSingleObject(mutex_, INFINITE);
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key_,
                        nullptr);
        DWORD size = 0;
        RegQueryValueExW(key_, kValue, nullptr, nullptr, nullptr, &size);
        map.resize(std::max<DWORD>(size, kSmallest / 8));
        size = static_cast<DWORD>(map.size());
        RegQueryValueExW(key_, kValue, nullptr, nullptr, map.data(), &size);
    }
    ~Database() {
        RegSetValueExW(key_, kValue, 0, REG_BINARY, map.data(), static_cast<DWORD>(map.size()));
        RegCloseKey(key_);
        ReleaseMutex(mutex_);
        CloseHandle(mutex_);
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    [[nodiscard]] DWORD Ports() const { return static_cast<DWORD>(map.size() * 8); }
    [[nodiscard]] bool Claimed(DWORD number) const {
        return (map[(number - 1) / 8] >> ((number - 1) % 8) & 1) != 0;
    }
    void Set(DWORD number, bool claimed) {
        BYTE& byte = map[(number - 1) / 8];
        const auto bit = static_cast<BYTE>(1U << ((number - 1) % 8));
        byte = static_cast<BYTE>(claimed ? byte | bit : byte & ~bit);
    }

    Map map;

  private:
    HANDLE mutex_;
    HKEY key_ = nullptr;
};

bool Good(HCOMDB database) {
    return database != nullptr && database != HCOMDB_INVALID_HANDLE_VALUE;
}

}  // namespace

extern "C" {

LONG WINAPI ComDBOpen(PHCOMDB database) {
    if (database == nullptr)
        return ERROR_INVALID_PARAMETER;
    *database = reinterpret_cast<HCOMDB>(ULONG_PTR{1});
    return ERROR_SUCCESS;
}

LONG WINAPI ComDBClose(HCOMDB database) {
    return Good(database) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

LONG WINAPI ComDBClaimPort(HCOMDB handle, DWORD number, BOOL force, PBOOL forced) {
    if (!Good(handle) || number == 0)
        return ERROR_INVALID_PARAMETER;
    Database database;
    if (number > database.Ports())
        return ERROR_INVALID_PARAMETER;
    const bool taken = database.Claimed(number);
    if (forced != nullptr)
        *forced = taken && force ? TRUE : FALSE;
    if (taken && !force)
        return ERROR_SHARING_VIOLATION;
    database.Set(number, true);
    return ERROR_SUCCESS;
}

LONG WINAPI ComDBReleasePort(HCOMDB handle, DWORD number) {
    if (!Good(handle) || number == 0)
        return ERROR_INVALID_PARAMETER;
    Database database;
    if (number > database.Ports())
        return ERROR_INVALID_PARAMETER;
    database.Set(number, false);
    return ERROR_SUCCESS;
}

LONG WINAPI ComDBGetCurrentPortUsage(HCOMDB handle, PBYTE buffer, DWORD size, DWORD report,
                                     LPDWORD reported) {
    if (!Good(handle) || report != CDB_REPORT_BYTES)
        return ERROR_INVALID_PARAMETER;
    const Database database;
    if (buffer == nullptr) {
        if (reported == nullptr)
            return ERROR_INVALID_PARAMETER;
        *reported = database.Ports();
        return ERROR_SUCCESS;
    }
    const DWORD ports = std::min(size, database.Ports());
    for (DWORD number = 1; number <= ports; ++number)
        buffer[number - 1] = database.Claimed(number) ? 1 : 0;
    if (reported != nullptr)
        *reported = ports;
    return ERROR_SUCCESS;
}

}  // extern "C"
