#include "platform/machine/instruments.h"

#include <array>
#include <cstdio>
#include <utility>

namespace qxsim QX_SIMULATOR_API {

namespace {

thread_local unsigned current_process = 1;

// Threads numbered in the order in which they first call the computer, so that a trace reads the same every
// run.
unsigned CurrentThreadNumber() {
    static std::atomic<unsigned> next{1};
    thread_local const unsigned number = next++;
    return number;
}

std::string Hexadecimal(std::uint64_t value) {
    std::array<char, 20> text{};
    std::snprintf(text.data(), text.size(), "0x%llX", static_cast<unsigned long long>(value));
    return text.data();
}

void AppendUtf8(std::string& out, std::uint32_t point) {
    const auto put = [&](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | point >> 6);
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | point >> 12);
        put(0x80 | (point >> 6 & 0x3F));
        put(0x80 | (point & 0x3F));
    } else {
        put(0xF0 | point >> 18);
        put(0x80 | (point >> 12 & 0x3F));
        put(0x80 | (point >> 6 & 0x3F));
        put(0x80 | (point & 0x3F));
    }
}

constexpr std::uint32_t kReplacement = 0xFFFD;

}  // namespace

std::string ToUtf8(WideView text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        std::uint32_t point = static_cast<std::uint16_t>(text[at]);
        if (point >= 0xD800 && point <= 0xDFFF) {
            const std::uint32_t low = at + 1 < text.size() ? static_cast<std::uint16_t>(text[at + 1]) : 0;
            if (point <= 0xDBFF && low >= 0xDC00 && low <= 0xDFFF) {
                point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
                ++at;
            } else {
                point = kReplacement;
            }
        }
        AppendUtf8(out, point);
    }
    return out;
}

WideString ToWide(std::string_view text) {
    WideString out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at++]);
        const int more = lead < 0x80   ? 0
                         : lead < 0xC2 ? -1
                         : lead < 0xE0 ? 1
                         : lead < 0xF0 ? 2
                         : lead < 0xF5 ? 3
                                       : -1;
        std::uint32_t point = more <= 0 ? lead : lead & (0x3FU >> more);
        int taken = 0;
        while (taken < more && at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) {
            point = point << 6 | (static_cast<unsigned char>(text[at++]) & 0x3F);
            ++taken;
        }
        if (more < 0 || taken < more || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF))
            point = kReplacement;
        if (point >= 0x10000) {
            out.push_back(static_cast<WCHAR>(0xD800 + ((point - 0x10000) >> 10)));
            out.push_back(static_cast<WCHAR>(0xDC00 + ((point - 0x10000) & 0x3FF)));
        } else {
            out.push_back(static_cast<WCHAR>(point));
        }
    }
    return out;
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
    if (guid == nullptr)
        return "null";
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned long>(guid->Data1), guid->Data2, guid->Data3, guid->Data4[0],
                  guid->Data4[1], guid->Data4[2], guid->Data4[3], guid->Data4[4], guid->Data4[5],
                  guid->Data4[6], guid->Data4[7]);
    return text.data();
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

}  // namespace QX_SIMULATOR_API
