// SPDX-License-Identifier: MIT
#include "admin/port_settings.h"

#include "admin/failure.h"
#include "admin/setting_meaning.h"
#include "admin/text.h"

#include <algorithm>

namespace qxports {

namespace {

constexpr std::string_view kBus = "Bus.";

const char* NameOfSet(bool bus) {
    return bus ? "bus" : "port";
}

DWORD SelectorOf(bool bus) {
    return bus ? qx::kBusSet : qx::kPortSet;
}

void SetText(const Setting& setting, const std::string& word) {
    constexpr std::size_t kLongest = 255;
    const qx::Text text = Wide(word);
    if (text.length() > kLongest)
        throw Failure(kBadUse, setting.Name() + " cannot be longer than 255 characters");
    // The drivers know single bytes only.
    if (std::ranges::any_of(text.view(), [](WCHAR unit) { return unit > 0xFF; }))
        throw Failure(kBadUse, setting.Name() + " can only have characters up to U+00FF");
    setting.element->String()->text = text;
}

// All names, each as it reaches its setting: where both sets have one, the bus's is told apart.
std::string KnownNames(const std::vector<Setting>& all) {
    std::vector<std::string> known;
    for (const Setting& each : all) {
        const std::string name = each.Name();
        known.push_back((std::ranges::find(known, name) != known.end() ? std::string(kBus) : "") + name);
    }
    return Listed(known);
}

}  // namespace

std::string Setting::Name() const {
    return Utf8(element->Name());
}

std::string Setting::Value() const {
    return IsNumber() ? std::to_string(*element->Number()) : '"' + Utf8(element->String()->text) + '"';
}

std::string Setting::Meaning() const {
    return IsNumber() ? MeaningOf(Name(), *element->Number(), bus) : "";
}

bool Setting::IsCapability() const {
    const std::string name = Name();
    return name.starts_with("Supported") || name.ends_with("Supported") || name == "PortType" ||
           name.ends_with("BaudRate") || name.ends_with("FifoSize") || name == "InterfaceType";
}

std::string Change::Text() const {
    const std::string meaning = setting.Meaning();
    return (setting.bus ? std::string(kBus) : "") + setting.Name() + ": " + before +
           (IsOne() ? " -> " + setting.Value() + (meaning.empty() ? "" : " (" + meaning + ")")
                    : " (unchanged)");
}

PortSettings::PortSettings(const Computer& computer, const Port& port, bool defaults)
    : computer_(computer), port_of_(port), channel_(computer.Set(), port.element) {
    if (!channel_.FindInterface())
        throw Failure(kNoAnswer, port.Name() + " has no control device: its driver does not run, or is " +
                                     "another maker's (" + port.shown + ")");
    Read(defaults);
}

void PortSettings::Read(bool defaults) {
    for (const bool bus : {false, true}) {
        const bool read = defaults ? channel_.ReadDefaultSettings(SetOf(bus), SelectorOf(bus))
                                   : channel_.ReadSettings(SetOf(bus), SelectorOf(bus));
        if (!read)
            throw Failure(kNoAnswer, "the driver of " + port_of_.Name() +
                                         " does not answer when asked for its " +
                                         (defaults ? "default " : "") + NameOfSet(bus) +
                                         " settings: " + ErrorWords(GetLastError()));
    }
}

std::vector<Setting> PortSettings::All() {
    std::vector<Setting> all;
    for (const bool bus : {false, true})
        for (const auto* at = SetOf(bus).First(); at != nullptr; at = SetOf(bus).Next())
            all.push_back({at, bus});
    return all;
}

Setting PortSettings::Find(const std::string& name) {
    const std::vector<Setting> all = All();
    const bool only_bus = name.size() > kBus.size() && IsSameName(name.substr(0, kBus.size()), kBus);
    const std::string bare = only_bus ? name.substr(kBus.size()) : name;
    const auto found = std::ranges::find_if(
        all, [&](const Setting& each) { return (each.bus || !only_bus) && IsSameName(each.Name(), bare); });
    if (found == all.end())
        throw Failure(kBadUse, "there is no setting \"" + name + "\"; the settings are " + KnownNames(all));
    return *found;
}

void PortSettings::Set(const Setting& setting, const std::string& word) {
    if (std::ranges::any_of(changes_,
                            [&](const Change& each) { return each.setting.element == setting.element; }))
        throw Failure(kBadUse, setting.Name() + " is set twice");
    const Change change{setting, setting.Value()};
    if (!setting.IsNumber()) {
        SetText(setting, word);
    } else {
        const auto other = [&](std::string_view wanted) { return Other(setting.bus, wanted); };
        *setting.element->Number() = ValueFor(setting.Name(), word, setting.bus, other);
    }
    changes_.push_back(change);
}

void PortSettings::SetNumber(const std::string& name, bool bus, DWORD number) {
    const std::vector<Setting> all = All();
    const auto found = std::ranges::find_if(
        all, [&](const Setting& each) { return each.bus == bus && each.Name() == name && each.IsNumber(); });
    if (found == all.end())
        throw Failure(kBadUse, std::string("there is no ") + NameOfSet(bus) + " setting \"" + name +
                                   "\" with a number");
    if (found->IsCapability())
        throw Failure(kBadUse, name + " tells what the port can do, and is not set");
    RequireAllowed(name, number, bus, [&](std::string_view wanted) { return Other(bus, wanted); });
    Set(*found, "raw:" + std::to_string(number));
}

DWORD PortSettings::Other(bool bus, std::string_view name) {
    for (const Setting& each : All())
        if (each.bus == bus && each.IsNumber() && each.Name() == name)
            return *each.element->Number();
    return 0;
}

bool PortSettings::Changed() const {
    return std::ranges::any_of(changes_, &Change::IsOne);
}

void PortSettings::Write() {
    const auto concerned = [&](bool bus) {
        return std::ranges::any_of(
            changes_, [&](const Change& each) { return each.setting.bus == bus && each.IsOne(); });
    };
    for (const bool bus : {false, true})
        if (concerned(bus) && !channel_.WriteSettings(SetOf(bus), SelectorOf(bus))) {
            const std::string why = "the driver of " + port_of_.Name() + " refuses the " + NameOfSet(bus) +
                                    " settings: " + ErrorWords(GetLastError());
            if (bus && concerned(false))
                TakeBack(false, why);
            throw Failure(kNoAnswer, why);
        }
    std::optional<PortSettings> stored;
    try {
        stored.emplace(computer_, port_of_);
    } catch (const Failure& failure) {
        throw Failure(kNotAsItShould,
                      "the settings are written and cannot be read again: " + std::string(failure.what()));
    }
    const std::vector<Setting> now = stored->All();
    const std::vector<Setting> wanted = All();
    for (const Change& each : changes_)
        for (std::size_t i = 0; i < wanted.size(); ++i)
            if (wanted[i].element == each.setting.element && now[i].Value() != each.setting.Value())
                throw Failure(kNotAsItShould, "the driver of " + port_of_.Name() + " kept " +
                                                  each.setting.Name() + " at " + now[i].Value());
}

void PortSettings::TakeBack(bool bus, const std::string& why) {
    for (const Change& each : changes_)
        if (each.setting.bus == bus && each.setting.IsNumber())
            *each.setting.element->Number() = static_cast<DWORD>(std::stoul(each.before));
    if (!channel_.WriteSettings(SetOf(bus), SelectorOf(bus)))
        throw Failure(kNotAsItShould, why + "; it has the " + NameOfSet(bus) +
                                          " settings, and does not take " +
                                          "the old ones back: " + ErrorWords(GetLastError()));
}

}  // namespace qxports
