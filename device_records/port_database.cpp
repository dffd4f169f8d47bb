// SPDX-License-Identifier: MIT
#include "device_records/port_database.h"

#include <algorithm>

namespace qx {

PortDatabaseSession::PortDatabaseSession(CPortUtil& database)
    : database_(database), open_(database.OpenPortDatabase()) {}

PortDatabaseSession::~PortDatabaseSession() {
    Close();
}

void PortDatabaseSession::Close() {
    if (open_)
        static_cast<void>(database_.ClosePortDatabase());
    open_ = false;
}

std::optional<DWORD> FirstFreeNumber(const CPortUtil& database, DWORD first, DWORD last,
                                     std::span<const DWORD> in_use) {
    for (DWORD number = first; number <= last; ++number)
        if (database.IsPortFree(number) && std::ranges::find(in_use, number) == in_use.end())
            return number;
    return std::nullopt;
}

}  // namespace qx
