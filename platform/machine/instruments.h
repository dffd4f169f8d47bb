// SPDX-License-Identifier: MIT
// The four instruments through which every simulated platform call passes: a trace of the calls, a ledger of
// open handles, fault injection and a power cut.
#pragma once

#include <windows.h>

#include "platform/machine/text.h"

#include <atomic>
#include <concepts>
#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qxsim {

// One platform call as the trace keeps it.
struct CallRecord {
    std::uint64_t number = 0;  // 1 for the first call after a reset
    unsigned process = 0;      // the simulated process that made it
    unsigned thread = 0;       // the thread, numbered in order of first call
    std::string function;      // the platform's name of the call
    std::string arguments;     // comma-separated, as written by the call
    std::string result;        // empty while the call is still running
    bool fallible = true;      // whether fault injection could fail it
    bool failed_on_purpose = false;
    bool changes_state = false;
};

// A handle that was opened and is not closed.
struct OpenHandle {
    std::string kind;  // "registry key", "device set", "window" ...
    std::uint64_t handle = 0;
    std::uint64_t opened_by = 0;  // number of the call
    std::string call;             // that call with its arguments
};

// What fault injection fails.
struct Fault {
    std::string function;   // the platform's name of the call; empty for any
    std::uint64_t nth = 1;  // counted over the matching calls made since the fault was set; 1 is the next
    bool for_good = false;  // also every matching call after the n-th
    DWORD error = 0;        // error code to fail with; 0 lets the call choose a likely one
};

// The instruments of the one simulated computer that a process works on. All members may be called from any
// thread.
class Instruments {
  public:
    static Instruments& The();

    // Forgets trace, ledger, faults, power cut and all counts.
    void Reset();

    // --- trace ---
    // Keeping records costs more than the calls themselves; counting goes on when it is off. On after Reset.
    void KeepTrace(bool keep);
    [[nodiscard]] std::vector<CallRecord> Trace() const;
    // Called with each finished call, for printing while the system runs; none by default.
    void OnCall(std::function<void(const CallRecord&)> sink);
    [[nodiscard]] std::uint64_t CallCount() const;
    [[nodiscard]] std::uint64_t CallCount(std::string_view function) const;
    [[nodiscard]] std::map<std::string, std::uint64_t, std::less<>> CallCounts() const;

    // --- handle ledger ---
    [[nodiscard]] std::vector<OpenHandle> StillOpen() const;
    // Closings of handles that were not open, each as a readable line.
    [[nodiscard]] std::vector<std::string> BadClosings() const;
    // What StillOpen and BadClosings know, as text for a test's failure message; empty when all is in order.
    [[nodiscard]] std::string LedgerReport() const;

    // --- fault injection ---
    void Inject(Fault fault);
    void ClearFaults();
    // How many calls were failed since the last reset.
    [[nodiscard]] std::uint64_t FaultsFired() const;

    // --- power cut ---
    // From the `nth` state-changing call on (1 is the next) nothing is stored any more: `on_cut` runs just
    // before that call changes anything and takes the picture with which the computer can be opened again.
    // The system under test goes on without noticing.
    void CutPowerAt(std::uint64_t nth, std::function<void()> on_cut);
    // State-changing calls made since the last reset.
    [[nodiscard]] std::uint64_t Changes() const;

    // The lock that every simulated call holds while it looks at or changes the computer.
    [[nodiscard]] std::recursive_mutex& Lock() { return lock_; }

  private:
    friend class Call;
    Instruments() = default;

    struct ArmedFault {
        Fault fault;
        std::uint64_t seen = 0;
    };

    mutable std::recursive_mutex lock_;
    bool keep_trace_ = true;
    std::deque<CallRecord> trace_;
    std::function<void(const CallRecord&)> sink_;
    std::uint64_t epoch_ = 0;
    std::uint64_t calls_ = 0;
    std::map<std::string, std::uint64_t, std::less<>> counts_;
    std::map<std::pair<std::string, std::uint64_t>, OpenHandle> open_;
    std::vector<std::string> bad_closings_;
    std::vector<ArmedFault> faults_;
    std::uint64_t faults_fired_ = 0;
    std::uint64_t changes_ = 0;
    std::uint64_t cut_at_ = 0;  // absolute count of changes; 0 for none
    std::function<void()> on_cut_;
};

// Threads are numbered in the order in which they first call the computer, so that a trace reads the same
// every run.
[[nodiscard]] unsigned CurrentThreadNumber();

// The simulated process on whose behalf the current thread works; 1 unless a SimulatedProcess says otherwise.
[[nodiscard]] unsigned CurrentSimulatedProcess();

// Lets the current thread act as another process of the simulated computer for its lifetime.
class SimulatedProcess {
  public:
    explicit SimulatedProcess(unsigned process);
    ~SimulatedProcess();
    SimulatedProcess(const SimulatedProcess&) = delete;
    SimulatedProcess& operator=(const SimulatedProcess&) = delete;

  private:
    unsigned previous_;
};

// How arguments are written in the trace.
[[nodiscard]] std::string Describe(const WCHAR* text);
[[nodiscard]] std::string Describe(const char* text);
[[nodiscard]] std::string Describe(const void* pointer);
[[nodiscard]] std::string Describe(const GUID* guid);
[[nodiscard]] std::string DescribeNumber(std::uint64_t value);
template <typename Number>
requires(std::integral<Number> || std::is_enum_v<Number>) [[nodiscard]] std::string Describe(Number value) {
    return DescribeNumber(static_cast<std::uint64_t>(value));
}

// One simulated platform call, from its entry to its return. Every function that answers a platform name
// makes one first thing; it takes the lock, counts and records the call and decides whether fault injection
// fails it:
//
//     LSTATUS RegCloseKey(HKEY key) {
//         Call call("RegCloseKey", key);
//         ...close, also when the call is to fail...
//         if (call.Faulted())
//             return call.Return(call.FaultError(ERROR_GEN_FAILURE));
//         return call.Return(ERROR_SUCCESS);
//     }
//
// Closing calls that are made to fail close all the same: the caller has done its part, and the ledger asks
// no more of it. Simulated functions never call one another by platform names, so that one call of the system
// under test is one record.
class Call {
  public:
    template <typename... Arguments>
    explicit Call(const char* function, const Arguments&... arguments)
        : Call(Made{}, function, true, [&] { return Join({Describe(arguments)...}); }) {}

    // A call that the platform gives no way to fail (CharLowerW, GetLastError ...): counted and traced, never
    // faulted.
    template <typename... Arguments>
    static Call Infallible(const char* function, const Arguments&... arguments) {
        return Call(Made{}, function, false, [&] { return Join({Describe(arguments)...}); });
    }

    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Whether this call is to fail on purpose, and with what error (`likely` unless the fault names one).
    [[nodiscard]] bool Faulted() const { return fault_.has_value(); }
    [[nodiscard]] DWORD FaultError(DWORD likely) const {
        return fault_ && fault_->error != 0 ? fault_->error : likely;
    }

    // To be said before the first lasting change that the call makes (registry, database, names, drivers,
    // devices).
    void Changing();

    // Enter a handle into the ledger, or take it out. Closed answers false, and notes a bad closing, when the
    // handle is not open.
    void Opened(const char* kind, std::uint64_t handle);
    void Opened(const char* kind, const void* handle) {
        Opened(kind, reinterpret_cast<std::uint64_t>(handle));
    }
    bool Closed(const char* kind, std::uint64_t handle);
    bool Closed(const char* kind, const void* handle) {
        return Closed(kind, reinterpret_cast<std::uint64_t>(handle));
    }

    // Records the result and hands it back.
    template <typename Result>
    Result Return(Result result) {
        if (record_)
            record_->result = Describe(result);
        return result;
    }
    // FALSE with the last error set, which the platform does on failure only.
    BOOL Fail(DWORD error);
    // Any failure value with the last error set.
    template <typename Result>
    Result Fail(DWORD error, Result result) {
        Fail(error);
        return result;
    }

    // Lets go of the lock, for calls that wait or call back into the system under test, and takes it again.
    void Unlock();
    void Relock();
    [[nodiscard]] std::unique_lock<std::recursive_mutex>& Guard() { return guard_; }

  private:
    struct Made {};  // keeps the constructor below apart from the one for any arguments
    Call(Made, const char* function, bool fallible, const std::function<std::string()>& arguments);
    static std::string Join(std::initializer_list<std::string> parts);

    Instruments& instruments_;
    std::unique_lock<std::recursive_mutex> guard_;
    const char* function_;
    std::uint64_t number_ = 0;
    std::uint64_t epoch_ = 0;  // of the instruments when the call began; a reset in between drops its record
    std::optional<CallRecord> record_;  // only while a trace is wanted
    std::size_t place_ = 0;             // of the record in the kept trace
    std::optional<Fault> fault_;
    bool changes_state_ = false;
};

}  // namespace qxsim
