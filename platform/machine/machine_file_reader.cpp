// SPDX-License-Identifier: MIT
#include "platform/machine/did_you_mean.h"
#include "platform/machine/machine_file.h"
#include "platform/machine/machine_file_tree.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <functional>
#include <iterator>
#include <set>
#include <utility>

namespace qxsim {

const std::map<std::string, std::vector<std::string>>& MachineFileKeys() {
    static const std::map<std::string, std::vector<std::string>> keys{
        {"machine",
         {"$schema", "format", "about", "system", "controlClass", "devices", "registry", "portDatabase",
          "dosNames", "programs", "refusedMutexes"}},
        {"system", {"version", "build", "systemDirectory", "highContrast"}},
        {"portDatabase", {"size", "alsoClaimed", "broken"}},
        {"program", {"runsFor", "exitCode"}},
        {"device", {"id",           "class",        "classGuid", "port",    "claim",       "foreign",
                    "present",      "started",      "disabled",  "problem", "description", "friendlyName",
                    "manufacturer", "location",     "service",   "driver",  "hardwareIds", "compatibleIds",
                    "properties",   "kernelDevice", "openBy",    "values",  "keys",        "refuses",
                    "control",      "settings",     "defaults",  "bus",     "busDefaults", "misbehaves",
                    "interfaces",   "children"}},
        {"interface", {"class", "reference", "enabled"}},
        {"misbehaviour",
         {"request", "set", "refuse", "size", "truncate", "claimed", "stream", "extra", "fillsWhatFits"}},
        {"key", {"volatile", "values", "keys", "refuses"}},
        {"data", {"type", "text", "hex"}},
    };
    return keys;
}

namespace machine_file {

Bytes ListBytes(const std::vector<std::string>& texts) {
    Bytes bytes;
    for (const std::string& text : texts) {
        const Bytes one = TextBytes(ToWide(text));
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    bytes.resize(bytes.size() + sizeof(WCHAR));
    return bytes;
}

unsigned PortNumber(std::string_view name) {
    constexpr unsigned kMost = 4096;  // what the system's database of numbers can hold
    if (!name.starts_with("COM") || name.size() < 4 || name[3] == '0')
        return 0;
    unsigned number = 0;
    const auto [end, error] = std::from_chars(name.data() + 3, name.data() + name.size(), number);
    return error == std::errc() && end == name.data() + name.size() && number <= kMost ? number : 0;
}

namespace {

const std::vector<std::string>& KeysOf(const char* object) {
    return MachineFileKeys().at(object);
}

// The entry of a table with this name; the first one, and a mistake, when there is none.
template <typename Table>
const auto& Named(const Table& table, const Place& place) {
    std::string all;
    for (const auto& entry : table) {
        if (place.IsText() && place.Text() == entry.name)
            return entry;
        all += std::string(all.empty() ? "" : ", ") + entry.name;
    }
    place.Fail("expected one of " + all);
    return *std::begin(table);
}

// A registry value or property: a number is a REG_DWORD, a text a REG_SZ, a list of texts a REG_MULTI_SZ,
// anything else an object with its type.
Property ReadData(const Place& place) {
    switch (place.Kind()) {
        case FileNode::Kind::Number:
            return {REG_DWORD, DwordBytes(place.Number())};
        case FileNode::Kind::Text:
            return {REG_SZ, TextBytes(ToWide(place.Text()))};
        case FileNode::Kind::List:
            return {REG_MULTI_SZ, ListBytes(place.Texts())};
        case FileNode::Kind::Object:
            break;
        default:
            place.Fail("expected a number, a text, a list of texts or an object with \"type\"");
            return {};
    }
    const Fields fields(place, KeysOf("data"));
    Property data;
    if (const auto type = fields.Need("type"))
        data.type = type->Kind() == FileNode::Kind::Number ? type->Number() : Named(kTypes, *type).type;
    const std::optional<Place> text = fields.Find("text");
    const std::optional<Place> bytes = fields.Find("hex");
    if (text.has_value() == bytes.has_value())
        place.Fail("expected either \"text\" or \"hex\"");
    else
        data.data = text ? TextBytes(ToWide(text->Text())) : bytes->Hexadecimal();
    return data;
}

// Values by name; null takes away one that would be there.
void ReadValues(const Place& place, RegistryKey& key) {
    for (const auto& [name, at, value] : place.Members()) {
        const WideString wide = ToWide(name);
        if (value.IsNull()) {
            std::erase_if(key.values,
                          [&](const RegistryValue& one) { return EqualsCaseless(one.name, wide); });
        } else {
            Property data = ReadData(value);
            key.Set(wide, data.type, std::move(data.data));
        }
    }
}

void ReadKeys(const Place& place, RegistryKey& parent);

// What a key and a device have in common: values, subkeys, refusals.
void ReadKeyFields(const Fields& fields, RegistryKey& key) {
    if (const auto values = fields.Find("values"))
        ReadValues(*values, key);
    if (const auto keys = fields.Find("keys"))
        ReadKeys(*keys, key);
    if (const auto refuses = fields.Find("refuses")) {
        for (const Place& right : refuses->List())
            key.refused |= Named(kRights, right).rights;
    }
}

// Subkeys by path, each with its values; those on the way to one need not be named. Null takes a key away.
void ReadKeys(const Place& place, RegistryKey& parent) {
    for (const auto& [path, at, content] : place.Members()) {
        RegistryKey* above = nullptr;
        RegistryKey* key = &parent;
        const WideString wide = ToWide(path);
        WideString part;
        for (std::size_t begin = 0; begin <= wide.size();) {
            const std::size_t end = std::min(wide.find(static_cast<WCHAR>('\\'), begin), wide.size());
            part = wide.substr(begin, end - begin);
            if (part.empty()) {
                content.FailAt(at, "an empty name in the path of a key");
                break;
            }
            std::shared_ptr<RegistryKey>& subkey = key->subkeys[part];
            if (!subkey) {
                subkey = std::make_shared<RegistryKey>();
                subkey->name = part;
                subkey->is_volatile = key->is_volatile;
            }
            above = key;
            key = subkey.get();
            begin = end + 1;
        }
        if (content.IsNull()) {
            if (above != nullptr)
                above->subkeys.erase(part);
            continue;
        }
        const Fields fields(content, KeysOf("key"));
        key->is_volatile = fields.Flag("volatile", key->is_volatile);
        ReadKeyFields(fields, *key);
    }
}

template <typename Settings, typename Names>
void ReadSettings(const Place& place, const Names& names, Settings& settings, std::string* text) {
    std::vector<std::string> known(names.begin(), names.end());
    if (text != nullptr)
        known.emplace_back(kBusTextName);
    for (const auto& [name, at, value] : place.Members()) {
        if (std::ranges::find(known, name) == known.end())
            value.FailAt(at, "no such setting" + DidYouMean(name, known));
        else if (text != nullptr && name == kBusTextName)
            *text = value.Text();
        else
            settings[name] = value.Number();
    }
}

void ReadMisbehaviour(const Place& place, ControlDevice& control) {
    for (const Place& entry : place.List()) {
        const Fields fields(entry, KeysOf("misbehaviour"));
        const auto request = fields.Need("request");
        if (!request)
            continue;
        Misbehaviour behaviour;
        const auto number = [&](const char* name) -> std::optional<std::uint32_t> {
            const auto found = fields.Find(name);
            return found ? std::optional(found->Number()) : std::nullopt;
        };
        behaviour.refuse = number("refuse");
        behaviour.size = number("size");
        behaviour.truncate = number("truncate");
        behaviour.claimed = number("claimed");
        if (const auto stream = fields.Find("stream"))
            behaviour.stream = stream->Hexadecimal();
        if (const auto extra = fields.Find("extra"))
            behaviour.extra = extra->Number(1U << 20);
        behaviour.fill_what_fits = fields.Flag("fillsWhatFits", false);
        const auto set = fields.Find("set");
        for (const DWORD each : {0U, 1U}) {
            if (!set || set->Number(1) == each)
                control.misbehaviour[{Named(kRequests, *request).request, each}] = behaviour;
        }
    }
}

// As the system has them: enumerator, device and instance.
bool IsInstanceId(const std::string& id) {
    return std::ranges::count(id, '\\') == 2 && id.find("\\\\") == std::string::npos && id.front() != '\\' &&
           id.back() != '\\' &&
           std::ranges::all_of(id, [](char c) { return c > ' ' && c < '\x7F' && c != ','; });
}

class MachineReader {
  public:
    explicit MachineReader(Machine& machine) : machine_(machine) {}

    void Read(const Place& file) {
        if (const auto format = FormatOf(file); format && format->Number() != kMachineFileFormat) {
            format->Fail("this program reads files of format " + std::to_string(kMachineFileFormat));
            return;
        }
        const Fields fields(file, KeysOf("machine"));
        if (const auto schema = fields.Find("$schema"))
            machine_.schema = schema->Text();
        if (const auto about = fields.Find("about"))
            machine_.about = about->Text();
        if (const auto system = fields.Find("system"))
            ReadSystem(*system);
        if (const auto control_class = fields.Find("controlClass"))
            machine_.control_class = control_class->Guid();
        if (const auto database = fields.Find("portDatabase"))
            ReadDatabase(*database);
        if (const auto devices = fields.Find("devices")) {
            for (const Place& device : devices->List())
                ReadDevice(device, Machine::kRoot, false);
        }
        if (const auto programs = fields.Find("programs"))
            ReadPrograms(*programs);
        if (const auto mutexes = fields.Find("refusedMutexes")) {
            for (const std::string& name : mutexes->Texts())
                machine_.refused_mutexes.insert(ToWide(name));
        }
        machine_.Boot();
        // What the drivers' start would overwrite.
        for (const std::function<void()>& late : after_start_)
            late();
        if (const auto registry = fields.Find("registry"))
            ReadRegistry(*registry);
        if (const auto names = fields.Find("dosNames"))
            ReadNames(*names);
    }

  private:
    // Looked for before anything else: another format may have other keys.
    static std::optional<Place> FormatOf(const Place& file) {
        if (file.Kind() == FileNode::Kind::Object)
            for (const auto& [name, at, value] : file.Members())
                if (name == "format")
                    return value;
        return std::nullopt;
    }

    void ReadSystem(const Place& place) {
        const Fields fields(place, KeysOf("system"));
        if (const auto version = fields.Find("version")) {
            unsigned major = 0;
            unsigned minor = 0;
            int length = 0;
            const std::string text = version->IsText() ? version->Text() : std::string();
            if (std::sscanf(text.c_str(), "%3u.%3u%n", &major, &minor, &length) != 2 ||
                static_cast<std::size_t>(length) != text.size())
                version->Fail("expected a version such as \"6.1\" or \"10.0\"");
            machine_.major_version = major;
            machine_.minor_version = minor;
        }
        if (const auto build = fields.Find("build"))
            machine_.build = build->Number();
        if (const auto directory = fields.Find("systemDirectory"))
            machine_.system_directory = ToWide(directory->Text());
        machine_.high_contrast = fields.Flag("highContrast", false);
    }

    void ReadDatabase(const Place& place) {
        const Fields fields(place, KeysOf("portDatabase"));
        if (const auto size = fields.Find("size"))
            machine_.claimed.resize(size->Number(4096, 1));
        if (const auto claimed = fields.Find("alsoClaimed")) {
            for (const Place& number : claimed->List())
                machine_.SetClaimed(number.Number(static_cast<std::uint32_t>(machine_.claimed.size()), 1),
                                    true);
        }
        machine_.database_broken = fields.Flag("broken", false);
    }

    void ReadPrograms(const Place& place) {
        for (const auto& [name, at, content] : place.Members()) {
            const Fields fields(content, KeysOf("program"));
            Program program;
            if (const auto time = fields.Find("runsFor"))
                program.runs_for = time->Number();
            if (const auto code = fields.Find("exitCode"))
                program.exit_code = code->Number();
            const bool is_path = name.find('\\') != std::string::npos;
            machine_.programs[is_path ? ToWide(name) : machine_.system_directory + ToWide("\\" + name)] =
                program;
        }
    }

    void ReadRegistry(const Place& place) {
        for (const auto& [name, at, hive] : place.Members()) {
            const auto known =
                std::ranges::find(kHives, name, [](const HiveName& one) { return std::string(one.name); });
            if (known == std::end(kHives))
                hive.FailAt(at, "unknown hive");
            else
                ReadKeys(hive, *machine_.FindKey({}, known->hive));
        }
    }

    void ReadNames(const Place& place) {
        for (const auto& [name, at, targets] : place.Members()) {
            std::vector<WideString> wide;
            for (const std::string& target : targets.Texts())
                wide.push_back(ToWide(target));
            machine_.dos_names.erase(ToWide(name));
            if (!wide.empty())
                machine_.dos_names.emplace(ToWide(name), std::move(wide));
        }
    }

    void ReadDevice(const Place& place, DEVINST parent, bool foreign) {
        const Fields fields(place, KeysOf("device"));
        const auto id = fields.Need("id");
        if (!id)
            return;
        DeviceRecipe recipe;
        recipe.id = id->Text();
        if (!id->IsText() || recipe.id.empty())
            return id->Fail("expected a device id");
        if (!IsInstanceId(recipe.id))
            id->Fail("expected a device id of three parts, such as \"USB\\\\VID_0F7A&PID_1104\\\\A1\"");
        if (!ids_.insert(UpperCase(ToWide(recipe.id))).second)
            return id->Fail("duplicate device id");
        recipe.foreign = fields.Flag("foreign", foreign);
        ReadRecipe(fields, recipe);
        const DEVINST node = machine_.AddDevice(parent, recipe);
        ReadDetails(fields, node);
        if (const auto children = fields.Find("children")) {
            for (const Place& child : children->List())
                ReadDevice(child, node, recipe.foreign);
        }
    }

    // What the rest of a device is filled in from.
    void ReadRecipe(const Fields& fields, DeviceRecipe& recipe) const {
        const auto class_name = fields.Find("class");
        const auto class_guid = fields.Find("classGuid");
        if (class_name)
            recipe.setup_class = class_name->Text();
        if (class_guid)
            recipe.class_guid = class_guid->Guid();
        else if (class_name && FindSetupClass(recipe.setup_class) == nullptr)
            class_name->Fail("unknown class; give its \"classGuid\", too");
        recipe.claim = fields.Flag("claim", true);
        if (const auto port = fields.Find("port"); port && !port->IsNull()) {
            recipe.port = port->Text();
            const unsigned number = PortNumber(*recipe.port);
            if (number == 0)
                port->Fail("expected a COM name such as \"COM5\"");
            else if (recipe.claim && number > machine_.claimed.size())
                port->Fail("the port database has " + std::to_string(machine_.claimed.size()) +
                           " numbers; give it a larger \"size\", or the port \"claim\": false");
        }
        const auto text = [&](const char* name) -> std::optional<std::string> {
            const auto found = fields.Find(name);
            return !found || !(found->IsText() || found->IsNull()) ? std::nullopt
                   : found->IsNull()                               ? std::optional(std::string())
                                                                   : std::optional(found->Text());
        };
        recipe.description = text("description");
        recipe.driver = text("driver");
        recipe.kernel_path = text("kernelDevice");
        if (const auto control = fields.Find("control"))
            recipe.control = control->Truth();
        recipe.plugged = fields.Flag("present", true);
        recipe.started = fields.Flag("started", true);
        if (const auto problem = fields.Find("problem"))
            recipe.problem = problem->Number();
        else if (!recipe.started)
            recipe.problem = CM_PROB_FAILED_INSTALL;
        if (fields.Flag("disabled", false))
            recipe.problem = CM_PROB_DISABLED;
        recipe.started = recipe.problem == 0;
    }

    void ReadDetails(const Fields& fields, DEVINST node) {
        Device& device = machine_.devices[node];
        for (const PropertyName& known : kProperties) {
            const auto found = fields.Find(known.name);
            if (found && found->IsNull())
                device.properties.erase(known.property);
            else if (found)
                device.properties[known.property] = ReadData(*found);
        }
        if (const auto more = fields.Find("properties")) {
            for (const auto& [code, at, value] : more->Members()) {
                if (code.empty() || code.size() > 3 ||
                    code.find_first_not_of("0123456789") != std::string::npos)
                    value.FailAt(at, "expected the number of a property");
                else
                    device.properties[static_cast<DWORD>(std::stoul(code))] = ReadData(value);
            }
        }
        const auto values = fields.Find("values");
        const bool keyless = values && values->IsNull();
        if (keyless)
            machine_.DeleteKey(Machine::HardwareKeyPath(device.id));
        ReadControl(fields, device);
        if (!keyless)
            ReadKeyFields(fields, *machine_.HardwareKey(device));
        if (const auto interfaces = fields.Find("interfaces")) {
            device.interfaces.clear();
            for (const Place& entry : interfaces->List()) {
                const Fields own(entry, KeysOf("interface"));
                DeviceInterface published;
                if (const auto interface_class = own.Need("class"))
                    published.interface_class = interface_class->Guid();
                if (const auto reference = own.Find("reference"))
                    published.reference = ToWide(reference->Text());
                published.enabled = own.Flag("enabled", true);
                device.interfaces.push_back(std::move(published));
            }
        }
        ReadRunning(fields, node);
    }

    // How a device runs may differ from how it would start.
    void ReadRunning(const Fields& fields, DEVINST node) {
        if (const auto program = fields.Find("openBy"))
            after_start_.emplace_back(
                [this, node, name = ToWide(program->Text())] { machine_.devices[node].held_open_by = name; });
        if (const auto problem = fields.Find("problem"))
            after_start_.emplace_back(
                [this, node, code = problem->Number()] { machine_.devices[node].problem = code; });
        if (const auto started = fields.Find("started"))
            after_start_.emplace_back(
                [this, node, runs = started->Truth()] { machine_.devices[node].started = runs; });
    }

    void ReadControl(const Fields& fields, Device& device) {
        const auto settings = fields.Find("settings");
        const auto defaults = fields.Find("defaults");
        const auto bus = fields.Find("bus");
        const auto bus_defaults = fields.Find("busDefaults");
        const auto misbehaves = fields.Find("misbehaves");
        if (!device.control) {
            for (const auto& field : {settings, defaults, bus, bus_defaults, misbehaves}) {
                if (field)
                    field->Fail("the device has no control device");
            }
            return;
        }
        ControlDevice& control = *device.control;
        if (defaults)
            ReadSettings(*defaults, PortSettingNames(), control.defaults, nullptr);
        control.settings = control.defaults;
        if (bus_defaults)
            ReadSettings(*bus_defaults, BusNumberNames(), control.bus_defaults,
                         &control.bus_defaults.interface_type);
        control.bus = control.bus_defaults;
        if (settings) {
            ReadSettings(*settings, PortSettingNames(), control.settings, nullptr);
            machine_.StoreSettings(device);
            // The hardware key may have other ones for the next start.
            after_start_.emplace_back([this, node = device.node, place = *settings] {
                ReadSettings(place, PortSettingNames(), machine_.devices[node].control->settings, nullptr);
            });
        }
        if (bus)
            ReadSettings(*bus, BusNumberNames(), control.bus, &control.bus.interface_type);
        if (misbehaves)
            ReadMisbehaviour(*misbehaves, control);
    }

    Machine& machine_;
    std::set<WideString> ids_{UpperCase(ToWide("HTREE\\ROOT\\0"))};
    std::vector<std::function<void()>> after_start_;
};

}  // namespace

std::unique_ptr<Machine> Read(std::string_view content, const std::string& file, bool pass_over_mistakes) {
    Mistakes mistakes(content, file);
    const FileNode root = ParseFile(content, mistakes);
    auto machine = std::make_unique<Machine>();
    MachineReader(*machine).Read(Place(root, {}, mistakes));
    if (!pass_over_mistakes)
        mistakes.ThrowIfAny();
    return machine;
}

}  // namespace machine_file

std::unique_ptr<Machine> Machine::FromJson(std::string_view json) {
    return machine_file::Read(json, {});
}

}  // namespace qxsim
