// SPDX-License-Identifier: MIT
// One open handle of the operating system's COM port database.
#pragma once

#include "base/text.h"

#include <msports.h>

#include <array>
#include <optional>
#include <vector>

namespace qx {

// A COM name to choose from.
struct ListedComName {
    DWORD number;
    bool in_use;  // claimed, and not by the port whose name is chosen: it holds its own number
};

// Wraps the database in which the operating system keeps which COM numbers are claimed. Every operation
// returns true on success and shows nothing to the user.
//
// The destructor does not close the database, unlike every other owner of a handle here: opening and closing
// are steps of an operation with work before and behind them, and whoever opens the database closes it within
// the same operation (PortDatabaseSession), never later than the end of one request of the platform. There
// are no copies, which would close it twice.
class CPortUtil {
  public:
    CPortUtil() noexcept = default;
    CPortUtil(const CPortUtil&) = delete;
    CPortUtil& operator=(const CPortUtil&) = delete;

    // Opens the database, creating it on a machine that has none. On failure the holder counts as unopened.
    [[nodiscard]] bool OpenPortDatabase() noexcept;
    // Closes it; the holder is unopened afterwards. False on an unopened holder. Callers that are done with
    // the database have no use for the result.
    bool ClosePortDatabase() noexcept;
    // Claims a COM number. With `force` a number that another device has claimed already is no failure;
    // `forced`, when given, tells after a success whether the platform had to force the claim.
    bool ClaimPort(DWORD number, bool force, bool* forced = nullptr) noexcept;
    // Gives a COM number back.
    bool ReleasePort(DWORD number) noexcept;
    // Whether nobody has claimed the number, by a fresh look at the database. False for numbers outside 1 to
    // 256, on an unopened holder and when the database cannot be read.
    [[nodiscard]] bool IsPortFree(DWORD number) const noexcept;
    // COM1 to COM255 for a choice box. Empty on an unopened holder and when the database cannot be read.
    [[nodiscard]] std::vector<ListedComName> ListComNames(const Text& current) const;
    // Which of COM1 to COM256 are claimed, COM1 first. None on an unopened holder and when the database
    // cannot be read.
    [[nodiscard]] std::optional<std::array<bool, 256>> Claims() const noexcept;

  private:
    HCOMDB database_ = HCOMDB_INVALID_HANDLE_VALUE;
};

}  // namespace qx
