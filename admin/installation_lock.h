// SPDX-License-Identifier: MIT
// Keeps out of the way of port installations, and keeps them out of ours.
#pragma once

#include "admin/commands.h"
#include "base/handles.h"

#include <array>

namespace qxports {

// Holds the port installation mutex; at a dry run nothing. Throws Failure when somebody else has it, unless
// the user wants to wait; also when it cannot be had at all: what is not installation can be done later.
class InstallationLock {
  public:
    explicit InstallationLock(const Context& context);
    ~InstallationLock();
    InstallationLock(const InstallationLock&) = delete;
    InstallationLock& operator=(const InstallationLock&) = delete;

    // Whether one is held anywhere in this program, that is, whether something may be half changed.
    [[nodiscard]] static bool IsHeld() noexcept;

  private:
    void Take(std::size_t which, const Context& context);
    void Release();

    // Names are each session's own, and the device installer runs in a session of services: its mutex is the
    // "Global" one. In a program that runs there, too, the two are one.
    std::array<qx::KernelObject, 2> mutexes_;
    std::size_t held_ = 0;
};

}  // namespace qxports
