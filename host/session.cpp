// SPDX-License-Identifier: MIT
#include "host/session.h"

#include "host/desk.h"

#include "admin/computer.h"
#include "admin/text.h"
#include "platform/machine/did_you_mean.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace qxhost {

namespace {

using qxports::HasPart;
using qxports::IsSameName;
using qxsim::Device;
using qxsim::ToUtf8;

std::vector<std::string> FilesBeside(const std::filesystem::path& file, const std::string& extension) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::absolute(file).parent_path(), ignored))
        if (entry.path().extension() == extension)
            names.push_back(entry.path().filename().string());
    return names;
}

Device& TheOne(const std::vector<Device*>& found, const std::string& name) {
    if (found.size() == 1)
        return *found.front();
    std::vector<std::string> ids;
    ids.reserve(found.size());
    for (const Device* each : found)
        ids.push_back(ToUtf8(each->id));
    throw Failure(kUnknownDevice, "\"" + name + "\" can mean " + qxports::Listed(ids));
}

}  // namespace

Session::Session(const MachineOptions& options) : options_(options) {
    const std::filesystem::path& file = options_.machine;
    if (!std::filesystem::exists(file))
        throw Failure(kBadMachine,
                      "there is no machine file " + file.string() +
                          qxsim::DidYouMean(file.filename().string(), FilesBeside(file, ".json")));
    lock_ = LockFile(file, [&] {
        std::cerr << "qxhost: waiting for another qxhost that works on " << file.string() << std::endl;
    });
    qxsim::Instruments::The().Reset();
    qxsim::Instruments::The().KeepTrace(false);
    try {
        machine_ = qxsim::Machine::Load(file);
    } catch (const qxsim::MachineFileError& error) {
        const std::string what = error.what();
        throw Failure(kBadMachine,
                      what.find(file.string()) == std::string::npos ? file.string() + ": " + what : what);
    }
    before_ = machine_->ToJson();
    true_version_ = {machine_->major_version, machine_->minor_version};
    if (!options_.os.empty())
        PretendVersion(options_.os);
    current_.emplace(*machine_);
}

Session::~Session() {
    qxsim::Instruments::The().OnCall({});
    current_.reset();
}

void Session::PretendVersion(const std::string& version) {
    unsigned major = 0;
    unsigned minor = 0;
    char more = 0;
    if (std::sscanf(version.c_str(), "%2u.%2u%c", &major, &minor, &more) != 2 || major < 5 || major > 11)
        throw Failure(kBadUse,
                      "\"" + version + "\" is no system version; write it as 5.1, 6.0, 6.1, 6.3 or 10.0");
    machine_->major_version = major;
    machine_->minor_version = minor;
}

void Session::TraceCalls() const {
    if (!options_.trace)
        return;
    qxsim::Instruments::The().KeepTrace(true);
    qxsim::Instruments::The().OnCall([](const qxsim::CallRecord& call) {
        // What the user at the screen does is no call of the library.
        if (call.process == 1)
            std::cerr << "    " << call.function << "(" << call.arguments << ") = " << call.result << '\n';
    });
}

void Session::Store() {
    machine_->major_version = true_version_.major;
    machine_->minor_version = true_version_.minor;
    if (options_.output.empty() && machine_->ToJson() == before_)
        return;
    if (options_.dry_run)
        std::cerr << "qxhost: nothing was stored (--dry-run)\n";
    else
        StoreMachine(*machine_, options_.output.empty() ? options_.machine : options_.output);
}

void StoreMachine(const qxsim::Machine& machine, const std::filesystem::path& file) {
    try {
        machine.Save(file);
    } catch (const std::exception& error) {
        throw Failure(kBadMachine, std::string("the machine is not stored: ") + error.what());
    }
    // What a program left that was killed while it stored.
    std::error_code ignored;
    for (const std::string& name : FilesBeside(file, ".new"))
        if (name.starts_with(file.filename().string() + "."))
            std::filesystem::remove(std::filesystem::path(file).replace_filename(name), ignored);
}

Device& Session::Named(const std::string& name) {
    // An empty name would be found in every device.
    if (name.empty())
        throw Failure(kBadUse, "name a device");
    // COM2 is not the beginning of COM20.
    const bool may_be_part =
        !IsSameName(name.substr(0, 3), "COM") || name.find_first_not_of("0123456789", 3) != std::string::npos;
    std::vector<Device*> whole;
    std::vector<Device*> part;
    std::vector<std::string> ids;
    ids.reserve(machine_->devices.size());
    for (Device& each : machine_->devices) {
        if (each.node <= qxsim::Machine::kRoot || each.removed)
            continue;
        const std::string id = ToUtf8(each.id);
        ids.push_back(id);
        const std::string friendly = machine_->PropertyText(each, SPDRP_FRIENDLYNAME);
        const std::string description = machine_->PropertyText(each, SPDRP_DEVICEDESC);
        const std::string com = machine_->PortName(each);
        if (IsSameName(id, name))
            return each;
        if (IsSameName(friendly, name) || IsSameName(com, name))
            whole.push_back(&each);
        else if (may_be_part && (HasPart(id, name) || HasPart(friendly, name) || HasPart(description, name)))
            part.push_back(&each);
    }
    if (!whole.empty())
        return TheOne(whole, name);
    if (part.empty())
        throw Failure(kUnknownDevice,
                      "there is no device \"" + name + "\" on this machine; it has " + qxports::Listed(ids));
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

std::string ShownName(const qxsim::Machine& machine, const Device& device) {
    for (const DWORD property : {DWORD{SPDRP_FRIENDLYNAME}, DWORD{SPDRP_DEVICEDESC}})
        if (std::string text = machine.PropertyText(device, property); !text.empty())
            return text;
    return ToUtf8(device.id);
}

}  // namespace qxhost
