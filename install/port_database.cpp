#include "install/port_database.h"

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

std::optional<DWORD> FirstFreeNumber(CPortUtil& database, DWORD first, DWORD last) {
    for (DWORD number = first; number <= last; ++number)
        if (database.IsPortFree(number))
            return number;
    return std::nullopt;
}

}  // namespace qx
