// SPDX-License-Identifier: MIT
// Named mutexes, and waiting.
//
// A mutex belongs to a thread of a simulated process. Threads of the test program that act as different
// processes really wait for one another; a wait with a time limit takes that much real time.
#include "platform/machine/machine_internal.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace qxsim {

QX_PLATFORM_CALL(CreateMutexW);
QX_PLATFORM_CALL(OpenMutexW);
QX_PLATFORM_CALL(ReleaseMutex);
QX_PLATFORM_CALL(WaitForSingleObject);

namespace {

HANDLE NewHandle(Call& call, Machine& machine, std::shared_ptr<MutexObject> mutex) {
    const std::uint64_t number = machine.Handles().New();
    machine.Handles().mutexes.emplace(number, MutexHandle{std::move(mutex), CurrentSimulatedProcess()});
    call.Opened(kMutexHandle, number);
    return MakeHandle<HANDLE>(number);
}

bool OwnedHere(const MutexObject& mutex) {
    return mutex.owner_process == CurrentSimulatedProcess() &&
           mutex.owner_thread == std::this_thread::get_id();
}

// A thread that ends abandons what it still owns.
struct ThreadEnd {
    bool owned_some = false;
    ~ThreadEnd() {
        if (!owned_some)
            return;
        const std::lock_guard guard(Instruments::The().Lock());
        const std::thread::id self = std::this_thread::get_id();
        AbandonMutexes(Machine::Current(), 0, &self);
    }
};
thread_local ThreadEnd thread_end;

void Own(MutexObject& mutex) {
    mutex.owner_process = CurrentSimulatedProcess();
    mutex.owner_thread = std::this_thread::get_id();
    ++mutex.recursion;
    thread_end.owned_some = true;
}

}  // namespace

void AbandonMutexes(Machine& machine, unsigned process, const std::thread::id* thread) {
    for (auto& [number, open] : machine.Handles().mutexes) {
        MutexObject& mutex = *open.mutex;
        const bool owned = thread != nullptr ? mutex.owner_process != 0 && mutex.owner_thread == *thread
                                             : mutex.owner_process == process;
        if (!owned)
            continue;
        mutex.owner_process = 0;
        mutex.recursion = 0;
        mutex.abandoned = true;
    }
    machine.Handles().mutex_released.notify_all();
}

std::optional<DWORD> WaitForMutex(Call& call, Machine& machine, std::uint64_t handle, DWORD timeout) {
    const auto found = machine.Handles().mutexes.find(handle);
    if (found == machine.Handles().mutexes.end())
        return std::nullopt;
    const std::shared_ptr<MutexObject> mutex = found->second.mutex;
    const auto available = [&] { return mutex->owner_process == 0 || OwnedHere(*mutex); };
    if (!available() && timeout == INFINITE) {
        if (mutex->owner_thread == std::this_thread::get_id()) {
            // One thread acts as both processes, so that nobody is left to release it: better loud than for
            // ever.
            std::fputs(
                "simulated computer: a thread waits for a mutex that it owns itself as another process\n",
                stderr);
            std::abort();
        }
        machine.Handles().mutex_released.wait(call.Guard(), available);
    } else if (!available() && !machine.Handles().mutex_released.wait_for(
                                   call.Guard(), std::chrono::milliseconds(timeout), available)) {
        return WAIT_TIMEOUT;
    }
    Own(*mutex);
    return std::exchange(mutex->abandoned, false) ? WAIT_ABANDONED : WAIT_OBJECT_0;
}

HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL owned, LPCWSTR name) {
    Call call("CreateMutexW", owned, name);
    const auto fail = [&](DWORD error) { return call.Fail(error, static_cast<HANDLE>(nullptr)); };
    if (call.Faulted())
        return fail(call.FaultError(ERROR_ACCESS_DENIED));
    Machine& machine = Machine::Current();
    const WideString key = name == nullptr ? WideString() : WideString(name);
    if (machine.refused_mutexes.contains(key))
        return fail(ERROR_ACCESS_DENIED);
    std::shared_ptr<MutexObject> mutex;
    if (!key.empty())
        mutex = machine.Handles().mutex_names[key].lock();
    const bool existed = mutex != nullptr;
    if (!existed) {
        mutex = std::make_shared<MutexObject>();
        mutex->name = key;
        if (!key.empty())
            machine.Handles().mutex_names[key] = mutex;
        if (owned != FALSE)
            Own(*mutex);
    }
    // Success, too, says by the last error whether the mutex was there already.
    SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return call.Return(NewHandle(call, machine, std::move(mutex)));
}

// To wait for a mutex, which its maker may allow where he allows no more.
HANDLE WINAPI OpenMutexW(DWORD access, BOOL inherit, LPCWSTR name) {
    Call call("OpenMutexW", access, inherit, name);
    const auto fail = [&](DWORD error) { return call.Fail(error, static_cast<HANDLE>(nullptr)); };
    if (call.Faulted())
        return fail(call.FaultError(ERROR_ACCESS_DENIED));
    Machine& machine = Machine::Current();
    std::shared_ptr<MutexObject> mutex = machine.Handles().mutex_names[name].lock();
    if (mutex == nullptr)
        return fail(ERROR_FILE_NOT_FOUND);
    if (access != SYNCHRONIZE)
        return fail(ERROR_ACCESS_DENIED);
    return call.Return(NewHandle(call, machine, std::move(mutex)));
}

BOOL WINAPI ReleaseMutex(HANDLE handle) {
    Call call("ReleaseMutex", handle);
    Machine& machine = Machine::Current();
    const auto found = machine.Handles().mutexes.find(HandleNumber(handle));
    if (found == machine.Handles().mutexes.end()) {
        if (ThePassthrough().release_mutex)
            return call.Return(ThePassthrough().release_mutex(handle));
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE));
    }
    MutexObject& mutex = *found->second.mutex;
    if (!OwnedHere(mutex))
        return call.Fail(call.FaultError(ERROR_NOT_OWNER));
    // Made to fail, it releases all the same: an owner that lives on has no other way to give the mutex back.
    if (--mutex.recursion == 0) {
        mutex.owner_process = 0;
        machine.Handles().mutex_released.notify_all();
    }
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_GEN_FAILURE));
    return call.Return(TRUE);
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD timeout) {
    Call call("WaitForSingleObject", handle, timeout);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), WAIT_FAILED);
    Machine& machine = Machine::Current();
    std::optional<DWORD> outcome = WaitForMutex(call, machine, HandleNumber(handle), timeout);
    if (!outcome)
        outcome = WaitForProcess(machine, HandleNumber(handle), timeout);
    if (outcome)
        return call.Return(*outcome);
    if (ThePassthrough().wait_for_single_object) {
        call.Unlock();
        const DWORD real = ThePassthrough().wait_for_single_object(handle, timeout);
        call.Relock();
        return call.Return(real);
    }
    return call.Fail(ERROR_INVALID_HANDLE, WAIT_FAILED);
}

bool Machine::MutexExists(WideView name) const {
    const auto found = handles_->mutex_names.find(WideString(name));
    return found != handles_->mutex_names.end() && !found->second.expired();
}

void Machine::EndProcess(unsigned process) {
    Call call = Call::Infallible("(process ends)", process);
    AbandonMutexes(*this, process, nullptr);
    const auto close = [&](const char* kind, auto& table) {
        std::erase_if(table, [&](const auto& entry) {
            return entry.second.process == process && call.Closed(kind, entry.first);
        });
    };
    close(kMutexHandle, handles_->mutexes);
    close(kFileHandle, handles_->files);
}

}  // namespace qxsim
