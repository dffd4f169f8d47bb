#include "host/session.h"

#include "host/failure.h"

#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <limits>
#include <utility>

namespace qxhost {

namespace {

using qxsim::Device;
using qxsim::ToUtf8;

// An empty name would be found in every device.
constexpr const char* kNoName = "name a device";

std::string Upper(const std::string& text) {
    return ToUtf8(qxsim::UpperCase(qxsim::ToWide(text)));
}

std::string Listed(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list.empty() ? "none" : list;
}

bool Real(const Device& device) {
    return device.node > qxsim::Machine::kRoot && !device.removed;
}

Device& TheOne(const std::vector<Device*>& found, const std::string& name) {
    if (found.size() == 1)
        return *found.front();
    std::vector<std::string> ids;
    ids.reserve(found.size());
    for (const Device* each : found)
        ids.push_back(ToUtf8(each->id));
    throw Failure(kUnknownDevice, "\"" + name + "\" can mean " + Listed(ids));
}

}  // namespace

Session::Session(std::filesystem::path file) : file_(std::move(file)) {
    if (!std::filesystem::exists(file_))
        throw Failure(kBadMachine, file_.string() + ": there is no such machine file");
    qxsim::Instruments::The().Reset();
    qxsim::Instruments::The().KeepTrace(false);
    try {
        machine_ = qxsim::Machine::Load(file_);
    } catch (const qxsim::MachineFileError& error) {
        const std::string what = error.what();
        throw Failure(kBadMachine,
                      what.find(file_.string()) == std::string::npos ? file_.string() + ": " + what : what);
    }
    current_.emplace(*machine_);
}

Session::~Session() {
    qxsim::Instruments::The().OnCall({});
    current_.reset();
}

void Session::PretendVersion(const std::string& version) {
    DWORD major = 0;
    DWORD minor = 0;
    const char* end = version.data() + version.size();
    const auto [dot, error] = std::from_chars(version.data(), end, major);
    const auto rest = error == std::errc() && dot != end && *dot == '.' ? std::from_chars(dot + 1, end, minor)
                                                                        : std::from_chars_result{dot, error};
    if (error != std::errc() || rest.ec != std::errc() || rest.ptr != end || major < 5 || major > 11 ||
        dot == end)
        throw Failure(kBadUse,
                      "\"" + version + "\" is no system version; write it as 5.1, 6.0, 6.1, 6.3 or 10.0");
    true_version_ = Version{machine_->major_version, machine_->minor_version};
    machine_->major_version = major;
    machine_->minor_version = minor;
}

void Session::TraceCalls() {
    qxsim::Instruments::The().KeepTrace(true);
    qxsim::Instruments::The().OnCall([](const qxsim::CallRecord& call) {
        // What the user at the screen does is no call of the library.
        if (call.process == 1)
            std::cerr << "    " << call.function << "(" << call.arguments << ") = " << call.result << '\n';
    });
}

void Session::Store() {
    const DWORD pretended_major = machine_->major_version;
    const DWORD pretended_minor = machine_->minor_version;
    if (true_version_) {
        machine_->major_version = true_version_->major;
        machine_->minor_version = true_version_->minor;
    }
    std::string problem;
    try {
        machine_->Save(file_);
    } catch (const std::exception& error) {
        problem = error.what();
    }
    machine_->major_version = pretended_major;
    machine_->minor_version = pretended_minor;
    if (!problem.empty())
        throw Failure(kBadMachine, "the machine could not be stored, the file is as it was: " + problem);
}

std::vector<const Device*> Session::PortsInOrder() const {
    std::vector<const Device*> ports = machine_->Ports();
    const auto number = [this](const Device* port) {
        const int of_name =
            qx::ComNumberOf(qx::Text(qxsim::ToWide(machine_->NamesOf(*port).port_name).c_str()));
        return of_name > 0 ? of_name : std::numeric_limits<int>::max();
    };
    std::stable_sort(ports.begin(), ports.end(),
                     [&](const Device* a, const Device* b) { return number(a) < number(b); });
    return ports;
}

Device& Session::Port(const std::string& name) {
    if (name.empty())
        throw Failure(kBadUse, kNoName);
    std::vector<Device*> found;
    std::vector<std::string> known;
    for (const Device* const each : PortsInOrder()) {
        const std::string port_name = machine_->NamesOf(*each).port_name;
        if (!port_name.empty())
            known.push_back(port_name);
        if (Upper(port_name) == Upper(name))
            found.push_back(machine_->Node(each->node));
    }
    if (found.empty())
        throw Failure(kUnknownDevice,
                      "there is no port " + name + " on this machine; its ports are " + Listed(known));
    return TheOne(found, name);
}

Device& Session::Named(const std::string& name) {
    if (name.empty())
        throw Failure(kBadUse, kNoName);
    const std::string wanted = Upper(name);
    // COM2 is not the beginning of COM20.
    const bool may_be_part =
        !wanted.starts_with("COM") || wanted.find_first_not_of("0123456789", 3) != std::string::npos;
    std::vector<Device*> whole;
    std::vector<Device*> part;
    std::vector<std::string> ids;
    ids.reserve(machine_->devices.size());
    for (Device& each : machine_->devices) {
        if (!Real(each))
            continue;
        const std::string id = ToUtf8(each.id);
        ids.push_back(id);
        const std::string friendly = machine_->PropertyText(each, SPDRP_FRIENDLYNAME);
        const std::string description = machine_->PropertyText(each, SPDRP_DEVICEDESC);
        const std::string com = machine_->IsPort(each) ? machine_->NamesOf(each).port_name : std::string();
        if (Upper(id) == wanted)
            return each;
        const auto has_part = [&](const std::string& text) {
            return Upper(text).find(wanted) != std::string::npos;
        };
        if (Upper(friendly) == wanted || Upper(com) == wanted)
            whole.push_back(&each);
        else if (may_be_part && (has_part(id) || has_part(friendly) || has_part(description)))
            part.push_back(&each);
    }
    if (!whole.empty())
        return TheOne(whole, name);
    if (part.empty())
        throw Failure(kUnknownDevice,
                      "there is no device \"" + name + "\" on this machine; it has " + Listed(ids));
    // A device's id is often part of the ids below it: the adapter is meant, not its ports.
    const bool all_below = std::all_of(part.begin() + 1, part.end(), [&](const Device* device) {
        for (const Device* up = device; up != nullptr; up = machine_->Node(up->parent))
            if (up == part.front())
                return true;
        return false;
    });
    if (all_below)
        part.resize(1);
    return TheOne(part, name);
}

HandedDevice Session::Hand(const Device& device) {
    HandedDevice handed;
    handed.set = qxsim::HandDevice(*machine_, device, handed.element);
    return handed;
}

std::string ShownName(const qxsim::Machine& machine, const Device& device) {
    for (const DWORD property : {DWORD{SPDRP_FRIENDLYNAME}, DWORD{SPDRP_DEVICEDESC}})
        if (std::string text = machine.PropertyText(device, property); !text.empty())
            return text;
    return ToUtf8(device.id);
}

}  // namespace qxhost
