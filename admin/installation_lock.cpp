// SPDX-License-Identifier: MIT
#include "admin/installation_lock.h"

#include "admin/text.h"
#include "install/product_data.h"

namespace qxports {

namespace {

constexpr const char* kUnderWay = "a port is being installed right now; try again, or --wait for it";

bool g_is_held = false;

}  // namespace

InstallationLock::InstallationLock(const Context& context) {
    if (context.manner.dry_run)
        return;
    try {
        for (; held_ < mutexes_.size(); ++held_)
            Take(held_, context);
        g_is_held = true;
    } catch (...) {
        Release();
        throw;
    }
}

InstallationLock::~InstallationLock() {
    g_is_held = false;
    Release();
}

bool InstallationLock::IsHeld() noexcept {
    return g_is_held;
}

void InstallationLock::Take(std::size_t which, const Context& context) {
    const qx::Text name = qx::Text(which == 0 ? TEXT("") : TEXT("Global\\")) + qx::kPortInstallationMutex;
    qx::KernelObject& mutex = mutexes_[which];
    mutex.Reset(CreateMutexW(nullptr, FALSE, name.c_str()));
    if (!mutex) {
        // The one that an installation as the system has made lets administrators wait for it, and no more.
        const DWORD error = GetLastError();
        if (error == ERROR_ACCESS_DENIED) {
            mutex.Reset(OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
            // An installation that ended just now has taken it along.
            if (!mutex && GetLastError() == ERROR_FILE_NOT_FOUND)
                mutex.Reset(CreateMutexW(nullptr, FALSE, name.c_str()));
        }
        if (!mutex)
            throw Failure(
                error == ERROR_ACCESS_DENIED ? kBusy : kSystemFailed,
                "nothing is changed, for the port installation mutex cannot be had: " + ErrorWords(error) +
                    (error == ERROR_ACCESS_DENIED ? ". Perhaps a port is being installed right now" : ""));
    }
    DWORD outcome = WaitForSingleObject(mutex.Get(), 0);
    if (outcome == WAIT_TIMEOUT && context.manner.wait) {
        context.around.Err("Waiting for the installation of a port...\n");
        outcome = WaitForSingleObject(mutex.Get(), INFINITE);
    }
    if (outcome == WAIT_TIMEOUT)
        throw Failure(kBusy, kUnderWay);
    // An abandoned one is ours: the installation that held it has ended, if not well.
    if (outcome != WAIT_OBJECT_0 && outcome != WAIT_ABANDONED)
        throw Failure(kSystemFailed,
                      "the port installation mutex cannot be waited for: " + ErrorWords(GetLastError()));
}

void InstallationLock::Release() {
    while (held_ > 0)
        ReleaseMutex(mutexes_[--held_].Get());
}

}  // namespace qxports
