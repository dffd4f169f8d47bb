// SPDX-License-Identifier: MIT
#include "platform/machine/machine_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace qxsim {

namespace machine_file {

namespace {

using Json = nlohmann::ordered_json;

std::string HexadecimalOf(const Bytes& bytes) {
    std::string text;
    for (const BYTE byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

// The text in the bytes when they are nothing but that text, its NUL and no half characters.
std::optional<std::string> PlainText(const Bytes& bytes) {
    const std::string text = ToUtf8(BytesText(bytes));
    return TextBytes(ToWide(text)) == bytes ? std::optional(text) : std::nullopt;
}

Json WriteData(DWORD type, const Bytes& data) {
    const std::optional<std::string> text = PlainText(data);
    if (type == REG_SZ && text)
        return *text;
    if (type == REG_DWORD && data.size() == 4)
        return static_cast<std::uint32_t>(data[0]) | static_cast<std::uint32_t>(data[1]) << 8 |
               static_cast<std::uint32_t>(data[2]) << 16 | static_cast<std::uint32_t>(data[3]) << 24;
    if (type == REG_MULTI_SZ) {
        std::vector<std::string> texts;
        Bytes rest = data;
        while (rest.size() > sizeof(WCHAR)) {
            const WideString one = BytesText(rest);
            texts.push_back(ToUtf8(one));
            rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                        rest.size(), (one.size() + 1) * sizeof(WCHAR))));
        }
        if (ListBytes(texts) == data)
            return texts;
    }
    Json json;
    const auto known = std::ranges::find(kTypes, type, &TypeName::type);
    if (known != std::end(kTypes))
        json["type"] = known->name;
    else
        json["type"] = static_cast<std::uint32_t>(type);
    if (type == REG_EXPAND_SZ && text)
        json["text"] = *text;
    else
        json["hex"] = HexadecimalOf(data);
    return json;
}

// The values that differ from what would be there; null for one that is not.
Json WriteValues(const RegistryKey& key, const RegistryKey& usual) {
    Json json = Json::object();
    for (const RegistryValue& value : key.values) {
        const RegistryValue* const same = usual.Find(value.name);
        if (same == nullptr || same->type != value.type || same->data != value.data)
            json[ToUtf8(value.name)] = WriteData(value.type, value.data);
    }
    for (const RegistryValue& value : usual.values) {
        if (key.Find(value.name) == nullptr)
            json[ToUtf8(value.name)] = nullptr;
    }
    return json;
}

Json WriteRefusals(const RegistryKey& key) {
    Json json = Json::array();
    for (const RightName& right : kRights) {
        if ((key.refused & right.rights) == right.rights)
            json.push_back(right.name);
    }
    return json;
}

// The keys below `key` by path, parents first, as far as they differ from what would be there. `leave_out`
// says which are written elsewhere.
template <typename LeaveOut>
void WriteKeys(Json& json, const RegistryKey& key, const RegistryKey& usual, const WideString& path,
               const LeaveOut& leave_out) {
    static const RegistryKey kNone;
    const auto below = [&](const WideString& name) {
        return path.empty() ? name : path + static_cast<WCHAR>('\\') + name;
    };
    for (const auto& [name, subkey] : key.subkeys) {
        const WideString own = below(name);
        if (leave_out(own))
            continue;
        const auto known = usual.subkeys.find(name);
        const bool is_new = known == usual.subkeys.end();
        const RegistryKey& same = is_new ? kNone : *known->second;
        const bool volatility_changes = subkey->is_volatile != (is_new ? key.is_volatile : same.is_volatile);
        Json content = Json::object();
        if (volatility_changes)
            content["volatile"] = subkey->is_volatile;
        if (Json values = WriteValues(*subkey, same); !values.empty())
            content["values"] = std::move(values);
        if (subkey->refused != same.refused)
            content["refuses"] = WriteRefusals(*subkey);
        if (!content.empty() || (is_new && subkey->subkeys.empty()))
            json[ToUtf8(own)] = std::move(content);
        WriteKeys(json, *subkey, same, own, leave_out);
    }
    for (const auto& [name, subkey] : usual.subkeys) {
        if (const WideString own = below(name); !key.subkeys.contains(name) && !leave_out(own))
            json[ToUtf8(own)] = nullptr;
    }
}

// Those numbers that `listed` says yes to.
template <typename Settings, typename Names, typename Listed>
Json WriteSettings(const Settings& settings, const Names& names, const Listed& listed) {
    Json json = Json::object();
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (listed(at))
            json[names[at]] = settings.values[at];
    }
    return json;
}

Json WriteBusSettings(const BusSettings& settings, const BusSettings& usual) {
    Json json = WriteSettings(settings, BusNumberNames(),
                              [&](std::size_t at) { return settings.values[at] != usual.values[at]; });
    if (settings.interface_type != usual.interface_type)
        json[kBusTextName] = settings.interface_type;
    return json;
}

Json WriteMisbehaviour(const ControlDevice& control) {
    Json list = Json::array();
    for (const auto& [where, behaviour] : control.misbehaviour) {
        Json json;
        json["request"] = std::ranges::find(kRequests, where.first, &RequestName::request)->name;
        json["set"] = static_cast<std::uint32_t>(where.second);
        const auto number = [&](const char* name, const auto& value) {
            if (value)
                json[name] = static_cast<std::uint32_t>(*value);
        };
        number("refuse", behaviour.refuse);
        number("size", behaviour.size);
        number("truncate", behaviour.truncate);
        number("claimed", behaviour.claimed);
        if (behaviour.stream)
            json["stream"] = HexadecimalOf(*behaviour.stream);
        if (behaviour.extra != 0)
            json["extra"] = behaviour.extra;
        if (behaviour.fill_what_fits)
            json["fillsWhatFits"] = true;
        list.push_back(std::move(json));
    }
    return list;
}

class DeviceWriter {
  public:
    DeviceWriter(const Machine& machine, const Device& device)
        : machine_(machine), device_(device), key_(machine.HardwareKey(device)) {}

    Json Write() {
        WriteRecipe();
        usual_computer_.control_class = machine_.control_class;
        const Device& usual = usual_computer_.devices[usual_computer_.AddDevice(Machine::kRoot, recipe_)];
        WriteProperties(usual);
        if (device_.control)
            WriteControl(*device_.control);
        WriteHardwareKey();
        WriteInterfaces(usual);
        if (!device_.held_open_by.empty())
            json_["openBy"] = ToUtf8(device_.held_open_by);
        return std::move(json_);
    }

  private:
    void WriteRecipe() {
        json_["id"] = recipe_.id = ToUtf8(device_.id);
        recipe_.setup_class = ToUtf8(device_.class_name);
        recipe_.class_guid = device_.setup_class;
        // A name that is no COM name is a value like any other.
        const RegistryValue* const name = key_ ? key_->Find(ToWide("PortName")) : nullptr;
        const std::optional<std::string> text =
            name != nullptr && name->type == REG_SZ ? PlainText(name->data) : std::nullopt;
        if (const unsigned number = text ? PortNumber(*text) : 0; number != 0 && Machine::IsPort(device_)) {
            json_["port"] = *text;
            recipe_.port = *text;
            recipe_.claim = machine_.Claimed(number);
            if (!recipe_.claim)
                json_["claim"] = false;
        }
        const SetupClass* const known = FindSetupClass(recipe_.setup_class);
        if (!device_.class_name.empty() && !(recipe_.port && recipe_.setup_class == "Ports"))
            json_["class"] = recipe_.setup_class;
        if (known == nullptr || !IsEqualGUID(known->guid, device_.setup_class))
            json_["classGuid"] = FormatGuid(device_.setup_class);
        if (!device_.plugged)
            json_["present"] = false;
        if (device_.disabled)
            json_["disabled"] = true;
        else if (device_.problem != 0)
            json_["problem"] = static_cast<std::uint32_t>(device_.problem);
        if (Machine::IsPort(device_) || !device_.kernel_path.empty())
            json_["kernelDevice"] = recipe_.kernel_path.emplace(ToUtf8(device_.kernel_path));
        recipe_.description = TextOf(SPDRP_DEVICEDESC);
        recipe_.driver = TextOf(SPDRP_DRIVER);
        if (device_.foreign)
            json_["foreign"] = true;
        recipe_.control = device_.control.has_value();
        if (device_.control.has_value() != (Machine::IsPort(device_) && !device_.foreign))
            json_["control"] = device_.control.has_value();
    }

    // Empty for a missing property, none for one that is no text.
    [[nodiscard]] std::optional<std::string> TextOf(DWORD property) const {
        const auto found = device_.properties.find(property);
        if (found == device_.properties.end())
            return std::string();
        return found->second.type == REG_SZ ? PlainText(found->second.data) : std::nullopt;
    }

    void WriteProperties(const Device& usual) {
        std::map<DWORD, Property> rest = device_.properties;
        for (const auto& [name, property] : kProperties) {
            const auto own = rest.find(property);
            const auto same = usual.properties.find(property);
            // The reader fills in what follows from these two.
            const bool always = property == SPDRP_DEVICEDESC || property == SPDRP_DRIVER;
            if (own == rest.end()) {
                if (same != usual.properties.end())
                    json_[name] = nullptr;
                continue;
            }
            if (always || same == usual.properties.end() || same->second != own->second)
                json_[name] = WriteData(own->second.type, own->second.data);
            rest.erase(own);
        }
        for (const auto& [code, property] : rest)
            json_["properties"][std::to_string(code)] = WriteData(property.type, property.data);
    }

    void WriteControl(const ControlDevice& control) {
        // What the driver finds in the hardware key when it starts is listed when it runs with something
        // else.
        const auto listed = [&](std::size_t at) {
            const char* const name = PortSettingNames()[at];
            const RegistryValue* const stored = key_ ? key_->Find(ToWide(name)) : nullptr;
            return control.settings.values[at] != control.defaults.values[at] ||
                   (stored != nullptr && stored->data != DwordBytes(control.settings.values[at]));
        };
        const PortSettings usual;
        const auto special = [&](std::size_t at) { return control.defaults.values[at] != usual.values[at]; };
        const std::pair<const char*, Json> parts[] = {
            {"settings", WriteSettings(control.settings, PortSettingNames(), listed)},
            {"defaults", WriteSettings(control.defaults, PortSettingNames(), special)},
            {"bus", WriteBusSettings(control.bus, control.bus_defaults)},
            {"busDefaults", WriteBusSettings(control.bus_defaults, BusSettings())},
            {"misbehaves", WriteMisbehaviour(control)}};
        for (const auto& [name, part] : parts) {
            if (!part.empty())
                json_[name] = part;
        }
    }

    void WriteHardwareKey() {
        if (!key_) {
            json_["values"] = nullptr;
            return;
        }
        // The port's name and the settings that the driver keeps are told already.
        RegistryKey usual;
        if (recipe_.port)
            usual.Set(ToWide("PortName"), REG_SZ, TextBytes(ToWide(*recipe_.port)));
        if (device_.control) {
            for (std::size_t at = 0; at < kPortSettingCount; ++at) {
                const std::uint32_t value = device_.control->settings.values[at];
                if (value != device_.control->defaults.values[at])
                    usual.Set(ToWide(PortSettingNames()[at]), REG_DWORD, DwordBytes(value));
            }
        }
        if (Json values = WriteValues(*key_, usual); !values.empty())
            json_["values"] = std::move(values);
        Json keys = Json::object();
        WriteKeys(keys, *key_, {}, {}, [](const WideString&) { return false; });
        if (!keys.empty())
            json_["keys"] = std::move(keys);
        if (key_->refused != 0)
            json_["refuses"] = WriteRefusals(*key_);
    }

    void WriteInterfaces(const Device& usual) {
        const auto same = [](const DeviceInterface& a, const DeviceInterface& b) {
            return IsEqualGUID(a.interface_class, b.interface_class) && a.reference == b.reference &&
                   a.enabled == b.enabled;
        };
        if (std::ranges::equal(device_.interfaces, usual.interfaces, same))
            return;
        Json& list = json_["interfaces"] = Json::array();
        for (const DeviceInterface& published : device_.interfaces) {
            Json entry;
            entry["class"] = FormatGuid(published.interface_class);
            if (!published.reference.empty())
                entry["reference"] = ToUtf8(published.reference);
            if (!published.enabled)
                entry["enabled"] = false;
            list.push_back(std::move(entry));
        }
    }

    const Machine& machine_;
    const Device& device_;
    std::shared_ptr<RegistryKey> key_;
    Json json_;
    DeviceRecipe recipe_;
    Machine usual_computer_;
};

Json WriteDevices(const Machine& machine, const Device& parent) {
    Json list = Json::array();
    for (const DEVINST node : parent.children) {
        const Device& device = machine.devices[node];
        Json json = DeviceWriter(machine, device).Write();
        if (!device.children.empty())
            json["children"] = WriteDevices(machine, device);
        list.push_back(std::move(json));
    }
    return list;
}

// The running state of devices that is not as their start leaves it.
void WriteRunning(Json& list, const Machine& machine, const Device& parent, const Machine& started,
                  const Device& usual_parent) {
    for (std::size_t at = 0; at < parent.children.size(); ++at) {
        const Device& device = machine.devices[parent.children[at]];
        const Device& usual = started.devices[usual_parent.children[at]];
        if (device.started != usual.started)
            list[at]["started"] = device.started;
        if (device.problem != usual.problem || (device.started != usual.started && !device.started))
            list[at]["problem"] = static_cast<std::uint32_t>(device.problem);
        if (!device.children.empty())
            WriteRunning(list[at]["children"], machine, device, started, usual);
    }
}

Json WriteNames(const Machine& machine, const Machine& started) {
    Json json = Json::object();
    for (const auto& [name, targets] : machine.dos_names) {
        const auto usual = started.dos_names.find(name);
        if (usual == started.dos_names.end() || usual->second != targets)
            for (const WideString& target : targets)
                json[ToUtf8(name)].push_back(ToUtf8(target));
    }
    for (const auto& [name, targets] : started.dos_names) {
        if (!machine.dos_names.contains(name))
            json[ToUtf8(name)] = Json::array();
    }
    return json;
}

Json WriteRegistry(const Machine& machine, const Machine& started) {
    // Hardware keys stand with their devices.
    std::set<WideString, CaselessLess> elsewhere;
    for (const Device& device : machine.devices) {
        if (!device.removed && device.node != Machine::kRoot)
            elsewhere.insert(Machine::HardwareKeyPath(device.id));
    }
    Json json = Json::object();
    for (const HiveName& hive : kHives) {
        Json keys = Json::object();
        WriteKeys(keys, *machine.FindKey({}, hive.hive), *started.FindKey({}, hive.hive), {},
                  [&](const WideString& path) {
                      return hive.hive == HKEY_LOCAL_MACHINE && elsewhere.contains(path);
                  });
        if (!keys.empty())
            json[hive.name] = std::move(keys);
    }
    return json;
}

std::string TextOf(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json Write(const Machine& machine) {
    Json json;
    if (!machine.schema.empty())
        json["$schema"] = machine.schema;
    json["format"] = kMachineFileFormat;
    if (!machine.about.empty())
        json["about"] = machine.about;
    json["system"]["version"] =
        std::to_string(machine.major_version) + "." + std::to_string(machine.minor_version);
    json["system"]["build"] = static_cast<std::uint32_t>(machine.build);
    const MachineState usual;
    if (machine.system_directory != usual.system_directory)
        json["system"]["systemDirectory"] = ToUtf8(machine.system_directory);
    if (machine.high_contrast)
        json["system"]["highContrast"] = true;
    if (!IsEqualGUID(machine.control_class, usual.control_class))
        json["controlClass"] = FormatGuid(machine.control_class);
    if (machine.claimed.size() != usual.claimed.size())
        json["portDatabase"]["size"] = machine.claimed.size();
    if (machine.database_broken)
        json["portDatabase"]["broken"] = true;
    json["devices"] = WriteDevices(machine, machine.devices[Machine::kRoot]);
    for (const auto& [path, program] : machine.programs) {
        Json& entry = json["programs"][ToUtf8(path)];
        entry["runsFor"] = program.runs_for;
        entry["exitCode"] = static_cast<std::uint32_t>(program.exit_code);
    }
    for (const WideString& name : machine.refused_mutexes)
        json["refusedMutexes"].push_back(ToUtf8(name));

    // What this computer is beyond that, a reader of it tells.
    const std::unique_ptr<Machine> started = Read(TextOf(json), {}, true);
    for (const unsigned number : machine.ClaimedNumbers()) {
        if (!started->Claimed(number))
            json["portDatabase"]["alsoClaimed"].push_back(number);
    }
    WriteRunning(json["devices"], machine, machine.devices[Machine::kRoot], *started,
                 started->devices[Machine::kRoot]);
    if (Json names = WriteNames(machine, *started); !names.empty())
        json["dosNames"] = std::move(names);
    if (Json registry = WriteRegistry(machine, *started); !registry.empty())
        json["registry"] = std::move(registry);
    return json;
}

}  // namespace

}  // namespace machine_file

std::string Machine::ToJson() const {
    return machine_file::TextOf(machine_file::Write(*this));
}

}  // namespace qxsim
