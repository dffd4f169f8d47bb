// SPDX-License-Identifier: MIT
#include "platform/machine/instruments.h"

#include <utility>

namespace qxsim {

namespace {

thread_local unsigned current_process = 1;

}  // namespace

unsigned CurrentThreadNumber() {
    static std::atomic<unsigned> next{1};
    thread_local const unsigned number = next++;
    return number;
}

unsigned CurrentSimulatedProcess() {
    return current_process;
}

SimulatedProcess::SimulatedProcess(unsigned process) : previous_(current_process) {
    current_process = process;
}

SimulatedProcess::~SimulatedProcess() {
    current_process = previous_;
}

std::string Describe(const WCHAR* text) {
    if (text == nullptr)
        return "null";
    if (reinterpret_cast<std::uintptr_t>(text) <= 0xFFFF)  // a resource id in the place of a name
        return "#" + std::to_string(reinterpret_cast<std::uintptr_t>(text));
    return "\"" + ToUtf8(text) + "\"";
}

std::string Describe(const char* text) {
    return text == nullptr ? std::string("null") : "\"" + std::string(text) + "\"";
}

std::string Describe(const void* pointer) {
    return pointer == nullptr ? std::string("null") : Hexadecimal(reinterpret_cast<std::uintptr_t>(pointer));
}

std::string Describe(const GUID* guid) {
    return guid == nullptr ? std::string("null") : FormatGuid(*guid);
}

std::string DescribeNumber(std::uint64_t value) {
    return value < 1000 ? std::to_string(value) : Hexadecimal(value);
}

Instruments& Instruments::The() {
    static Instruments instruments;
    return instruments;
}

void Instruments::Reset() {
    const std::lock_guard guard(lock_);
    ++epoch_;
    keep_trace_ = true;
    trace_.clear();
    sink_ = nullptr;
    calls_ = 0;
    counts_.clear();
    open_.clear();
    bad_closings_.clear();
    faults_.clear();
    faults_fired_ = 0;
    changes_ = 0;
    cut_at_ = 0;
    on_cut_ = nullptr;
}

void Instruments::KeepTrace(bool keep) {
    const std::lock_guard guard(lock_);
    keep_trace_ = keep;
}

std::vector<CallRecord> Instruments::Trace() const {
    const std::lock_guard guard(lock_);
    return {trace_.begin(), trace_.end()};
}

void Instruments::OnCall(std::function<void(const CallRecord&)> sink) {
    const std::lock_guard guard(lock_);
    sink_ = std::move(sink);
}

std::uint64_t Instruments::CallCount() const {
    const std::lock_guard guard(lock_);
    return calls_;
}

std::uint64_t Instruments::CallCount(std::string_view function) const {
    const std::lock_guard guard(lock_);
    const auto found = counts_.find(function);
    return found == counts_.end() ? 0 : found->second;
}

std::map<std::string, std::uint64_t, std::less<>> Instruments::CallCounts() const {
    const std::lock_guard guard(lock_);
    return counts_;
}

std::vector<OpenHandle> Instruments::StillOpen() const {
    const std::lock_guard guard(lock_);
    std::vector<OpenHandle> all;
    all.reserve(open_.size());
    for (const auto& [key, handle] : open_)
        all.push_back(handle);
    return all;
}

std::vector<std::string> Instruments::BadClosings() const {
    const std::lock_guard guard(lock_);
    return bad_closings_;
}

std::string Instruments::LedgerReport() const {
    const std::lock_guard guard(lock_);
    std::string report;
    for (const auto& [key, handle] : open_) {
        report += "never closed: " + handle.kind + " " + Hexadecimal(handle.handle) + " opened by call " +
                  std::to_string(handle.opened_by) + ", " + handle.call + "\n";
    }
    for (const std::string& line : bad_closings_)
        report += line + "\n";
    return report;
}

void Instruments::Inject(Fault fault) {
    const std::lock_guard guard(lock_);
    faults_.push_back({std::move(fault), 0});
}

void Instruments::ClearFaults() {
    const std::lock_guard guard(lock_);
    faults_.clear();
}

std::uint64_t Instruments::FaultsFired() const {
    const std::lock_guard guard(lock_);
    return faults_fired_;
}

void Instruments::CutPowerAt(std::uint64_t nth, std::function<void()> on_cut) {
    const std::lock_guard guard(lock_);
    cut_at_ = changes_ + nth;
    on_cut_ = std::move(on_cut);
}

std::uint64_t Instruments::Changes() const {
    const std::lock_guard guard(lock_);
    return changes_;
}

Call::Call(Made, const char* function, bool fallible, const std::function<std::string()>& arguments)
    : instruments_(Instruments::The()), guard_(instruments_.lock_), function_(function) {
    number_ = ++instruments_.calls_;
    epoch_ = instruments_.epoch_;
    if (const auto found = instruments_.counts_.find(std::string_view(function));
        found != instruments_.counts_.end()) {
        ++found->second;
    } else {
        instruments_.counts_.emplace(function, 1);
    }
    if (fallible) {
        for (Instruments::ArmedFault& armed : instruments_.faults_) {
            if (!armed.fault.function.empty() && armed.fault.function != function)
                continue;
            ++armed.seen;
            const bool fires =
                armed.fault.for_good ? armed.seen >= armed.fault.nth : armed.seen == armed.fault.nth;
            if (fires && !fault_)
                fault_ = armed.fault;
        }
        if (fault_)
            ++instruments_.faults_fired_;
    }
    if (instruments_.keep_trace_ || instruments_.sink_) {
        record_ = CallRecord{.number = number_,
                             .process = CurrentSimulatedProcess(),
                             .thread = CurrentThreadNumber(),
                             .function = function,
                             .arguments = arguments(),
                             .result = {},
                             .fallible = fallible,
                             .failed_on_purpose = fault_.has_value()};
        if (instruments_.keep_trace_) {
            place_ = instruments_.trace_.size();
            instruments_.trace_.push_back(*record_);
        }
    }
}

Call::~Call() {
    if (!guard_.owns_lock())
        guard_.lock();
    if (!record_ || epoch_ != instruments_.epoch_)
        return;
    record_->changes_state = changes_state_;
    if (instruments_.keep_trace_ && place_ < instruments_.trace_.size() &&
        instruments_.trace_[place_].number == number_) {
        instruments_.trace_[place_] = *record_;
    }
    if (instruments_.sink_)
        instruments_.sink_(*record_);
}

void Call::Changing() {
    changes_state_ = true;
    ++instruments_.changes_;
    if (instruments_.changes_ == instruments_.cut_at_ && instruments_.on_cut_) {
        const std::function<void()> on_cut = std::exchange(instruments_.on_cut_, nullptr);
        on_cut();
    }
}

void Call::Opened(const char* kind, std::uint64_t handle) {
    OpenHandle entry{.kind = kind, .handle = handle, .opened_by = number_, .call = function_};
    if (record_)
        entry.call += "(" + record_->arguments + ")";
    instruments_.open_.insert_or_assign({kind, handle}, std::move(entry));
}

bool Call::Closed(const char* kind, std::uint64_t handle) {
    if (instruments_.open_.erase({kind, handle}) != 0)
        return true;
    instruments_.bad_closings_.push_back("closed though not open: " + std::string(kind) + " " +
                                         Hexadecimal(handle) + " by call " + std::to_string(number_) + ", " +
                                         function_);
    return false;
}

BOOL Call::Fail(DWORD error) {
    SetLastError(error);
    if (record_)
        record_->result = "FALSE, error " + DescribeNumber(error);
    return FALSE;
}

void Call::Unlock() {
    guard_.unlock();
}

void Call::Relock() {
    guard_.lock();
}

std::string Call::Join(std::initializer_list<std::string> parts) {
    std::string joined;
    for (const std::string& part : parts) {
        if (!joined.empty())
            joined += ", ";
        joined += part;
    }
    return joined;
}

}  // namespace qxsim
