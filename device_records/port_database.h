// SPDX-License-Identifier: MIT
// The COM port database during one operation.
#pragma once

#include "device_records/port_util.h"

#include <optional>
#include <span>

namespace qx {

// Holds a port's database open for the length of a scope, since the holder itself does not close it. A
// database that cannot be opened is not an error here: every number counts as taken then.
class PortDatabaseSession {
  public:
    explicit PortDatabaseSession(CPortUtil& database);
    ~PortDatabaseSession();
    PortDatabaseSession(const PortDatabaseSession&) = delete;
    PortDatabaseSession& operator=(const PortDatabaseSession&) = delete;

    // Closes before the scope ends.
    void Close();

  private:
    CPortUtil& database_;
    bool open_;
};

// The lowest COM number from `first` to `last` that the open database knows to be free and that is none of
// `in_use`, numbers of ports that may have lost their claim. None when all are taken, or when the database
// cannot say.
[[nodiscard]] std::optional<DWORD> FirstFreeNumber(const CPortUtil& database, DWORD first, DWORD last,
                                                   std::span<const DWORD> in_use = {});

}  // namespace qx
