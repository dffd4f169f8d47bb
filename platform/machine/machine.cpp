#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <stdexcept>
#include <utility>

namespace qxsim {

namespace {

const SetupClass kSetupClasses[] = {
    {"Ports", {0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"MultiPortSerial", {0x50906CB8, 0xBA12, 0x11D1, {0xBF, 0x5D, 0x00, 0x00, 0xF8, 0x05, 0xF5, 0x30}}},
    {"USB", {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}}},
    {"System", {0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"MultiFunction", {0x4D36E971, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"Modem", {0x4D36E96D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"Net", {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"HIDClass", {0x745A17A0, 0x74D3, 0x11D0, {0xB6, 0xFE, 0x00, 0xA0, 0xC9, 0x0F, 0x57, 0xDA}}},
};

// Interface class of the control devices, unless the machine file has another.
constexpr GUID kControlClass = {0x6C1B7D42, 0x3E5A, 0x4F0B, {0x9A, 0x61, 0x2D, 0x8E, 0x57, 0xC4, 0xB9, 0x13}};

constexpr const char* kEnumPath = "System\\CurrentControlSet\\Enum\\";
constexpr const char* kClassPath = "System\\CurrentControlSet\\Control\\Class\\";

std::uint32_t HiveNumber(HKEY hive) {
    return static_cast<std::uint32_t>(HandleNumber(hive));
}

std::shared_ptr<RegistryKey> NewKey(WideView name, bool is_volatile) {
    auto key = std::make_shared<RegistryKey>();
    key->name = name;
    key->is_volatile = is_volatile;
    return key;
}

// Walks a path, key by key. `step` answers the subkey or null to stop.
template <typename Step>
std::shared_ptr<RegistryKey> Walk(std::shared_ptr<RegistryKey> key, WideView path, const Step& step) {
    while (key && !path.empty()) {
        const std::size_t end = std::min(path.find(static_cast<WCHAR>('\\')), path.size());
        if (const WideView part = path.substr(0, end); !part.empty())
            key = step(*key, part);
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return key;
}

void MarkDeleted(RegistryKey& key) {
    key.deleted = true;
    for (auto& [name, subkey] : key.subkeys)
        MarkDeleted(*subkey);
}

void DropVolatileKeys(RegistryKey& key) {
    std::erase_if(key.subkeys, [](const auto& entry) { return entry.second->is_volatile; });
    for (auto& [name, subkey] : key.subkeys)
        DropVolatileKeys(*subkey);
}

WideString PortNameOf(const Machine& machine, const Device& device) {
    const std::shared_ptr<RegistryKey> key = machine.HardwareKey(device);
    const RegistryValue* value = key ? key->Find(ToWide("PortName")) : nullptr;
    return value != nullptr ? BytesText(value->data) : WideString();
}

const WideString& SettingName(std::size_t place) {
    static const std::vector<WideString> names = [] {
        std::vector<WideString> wide;
        for (const char* name : PortSettingNames())
            wide.push_back(ToWide(name));
        return wide;
    }();
    return names[place];
}

Machine* current_machine = nullptr;

}  // namespace

// --- registry ---

RegistryValue* RegistryKey::Find(WideView value_name) {
    const auto found = std::ranges::find_if(
        values, [&](const RegistryValue& value) { return EqualsCaseless(value.name, value_name); });
    return found == values.end() ? nullptr : &*found;
}

const RegistryValue* RegistryKey::Find(WideView value_name) const {
    return const_cast<RegistryKey*>(this)->Find(value_name);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

void RegistryKey::Set(WideView value_name, DWORD type, Bytes data) {
    if (RegistryValue* value = Find(value_name)) {
        value->type = type;
        value->data = std::move(data);
    } else {
        values.push_back({WideString(value_name), type, std::move(data)});
    }
}

std::shared_ptr<RegistryKey> RegistryKey::Clone() const {
    auto copy = std::make_shared<RegistryKey>(*this);
    for (auto& [subkey_name, subkey] : copy->subkeys)
        subkey = subkey->Clone();
    return copy;
}

// --- classes ---

const SetupClass* FindSetupClass(std::string_view name) {
    for (const SetupClass& candidate : kSetupClasses) {
        if (EqualsCaseless(ToWide(candidate.name), ToWide(name)))
            return &candidate;
    }
    return nullptr;
}

// --- state ---

MachineState::MachineState()
    : system_directory(ToWide("C:\\Windows\\system32")), control_class(kControlClass), claimed(256) {
    for (const HKEY hive :
         {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_CONFIG})
        hives.emplace(HiveNumber(hive), NewKey({}, false));
    devices.resize(2);
    Device& root = devices[Machine::kRoot];
    root.node = Machine::kRoot;
    root.id = ToWide("HTREE\\ROOT\\0");
}

MachineState::MachineState(const MachineState& other) {
    *this = other;
}

MachineState& MachineState::operator=(const MachineState& other) {
    if (this == &other)
        return *this;
    schema = other.schema;
    about = other.about;
    major_version = other.major_version;
    minor_version = other.minor_version;
    build = other.build;
    system_directory = other.system_directory;
    control_class = other.control_class;
    hives = other.hives;
    for (auto& [number, key] : hives)
        key = key->Clone();
    devices = other.devices;
    claimed = other.claimed;
    programs = other.programs;
    dos_names = other.dos_names;
    return *this;
}

Passthrough& ThePassthrough() {
    static Passthrough passthrough;
    return passthrough;
}

Machine::Machine() : handles_(std::make_unique<Handles>()) {
    for (const char* path : {"Software", kPortsPath, "System\\CurrentControlSet\\Enum",
                             "System\\CurrentControlSet\\Control\\Class"})
        MakeKey(ToWide(path));
    MakeKey(ToWide("Hardware\\DeviceMap"), HKEY_LOCAL_MACHINE, true);
}

Machine::Machine(MachineState state) : MachineState(std::move(state)), handles_(std::make_unique<Handles>()) {
    Boot();
}

Machine::~Machine() = default;

Machine& Machine::Current() {
    if (current_machine == nullptr) {
        static Machine empty;
        current_machine = &empty;
    }
    return *current_machine;
}

CurrentMachine::CurrentMachine(Machine& machine) : previous_(current_machine) {
    const std::lock_guard guard(Instruments::The().Lock());
    current_machine = &machine;
}

CurrentMachine::~CurrentMachine() {
    const std::lock_guard guard(Instruments::The().Lock());
    current_machine = previous_;
}

void Machine::Boot() {
    for (Device& device : devices) {
        if (device.node != kRoot)
            device.started = false;
        if (device.disabled)  // also one that was in use when it was disabled, and stayed up until now
            device.problem = CM_PROB_DISABLED;
        device.held_open_by.clear();
        if (device.control)
            device.control->writes.clear();
        DropDosNamesOf(device.kernel_path);
    }
    // What no device here accounts for came from drivers that are not part of the picture, and comes again.
    std::vector<RegistryValue> others;
    if (const auto map = FindKey(ToWide(kSerialCommPath))) {
        std::ranges::copy_if(map->values, std::back_inserter(others), [&](const RegistryValue& entry) {
            return std::ranges::none_of(devices, [&](const Device& device) {
                return EqualsCaseless(device.kernel_path, entry.name);
            });
        });
    }
    for (auto& [number, hive] : hives)
        DropVolatileKeys(*hive);
    MakeKey(ToWide("Hardware\\DeviceMap"), HKEY_LOCAL_MACHINE, true);
    if (!others.empty())
        MakeKey(ToWide(kSerialCommPath), HKEY_LOCAL_MACHINE, true)->values = std::move(others);
    for (const DEVINST child : std::vector(devices[kRoot].children))
        Start(devices[child]);
}

std::unique_ptr<Machine> Machine::Reopen(const MachineState& state) {
    return std::make_unique<Machine>(MachineState(state));
}

std::unique_ptr<Machine> Machine::Clone() const {
    auto twin = std::make_unique<Machine>();
    // Only the state is copied, on purpose.
    static_cast<MachineState&>(*twin) = *this;  // NOLINT(cppcoreguidelines-slicing)
    twin->database_broken = database_broken;
    twin->refused_mutexes = refused_mutexes;
    twin->clock = clock;
    return twin;
}

// --- registry, from outside ---

std::shared_ptr<RegistryKey> Machine::FindKey(WideView path, HKEY hive) const {
    const auto root = hives.find(HiveNumber(hive));
    if (root == hives.end())
        return nullptr;
    return Walk(root->second, path, [](RegistryKey& key, WideView part) {
        const auto found = key.subkeys.find(part);
        return found == key.subkeys.end() ? nullptr : found->second;
    });
}

std::shared_ptr<RegistryKey> Machine::MakeKey(WideView path, HKEY hive, bool is_volatile) {
    const auto root = hives.find(HiveNumber(hive));
    if (root == hives.end())
        return nullptr;
    return Walk(root->second, path, [is_volatile](RegistryKey& key, WideView part) {
        std::shared_ptr<RegistryKey>& subkey = key.subkeys[WideString(part)];
        if (!subkey)
            subkey = NewKey(part, is_volatile || key.is_volatile);
        return subkey;
    });
}

bool Machine::DeleteKey(WideView path, HKEY hive) {
    const std::size_t cut = path.rfind(static_cast<WCHAR>('\\'));
    const std::shared_ptr<RegistryKey> parent =
        cut == WideView::npos ? FindKey({}, hive) : FindKey(path.substr(0, cut), hive);
    if (!parent)
        return false;
    const auto found = parent->subkeys.find(cut == WideView::npos ? path : path.substr(cut + 1));
    if (found == parent->subkeys.end())
        return false;
    MarkDeleted(*found->second);
    parent->subkeys.erase(found);
    return true;
}

std::optional<std::string> Machine::ReadText(std::string_view path, std::string_view value) const {
    const auto key = FindKey(ToWide(path));
    const RegistryValue* found = key ? key->Find(ToWide(value)) : nullptr;
    return found != nullptr ? std::optional(ToUtf8(BytesText(found->data))) : std::nullopt;
}

std::optional<std::uint32_t> Machine::ReadDword(std::string_view path, std::string_view value) const {
    const auto key = FindKey(ToWide(path));
    const RegistryValue* found = key ? key->Find(ToWide(value)) : nullptr;
    if (found == nullptr || found->type != REG_DWORD || found->data.size() != 4)
        return std::nullopt;
    std::uint32_t number = 0;
    std::memcpy(&number, found->data.data(), sizeof(number));
    return number;
}

void Machine::WriteText(std::string_view path, std::string_view value, std::string_view text) {
    MakeKey(ToWide(path))->Set(ToWide(value), REG_SZ, TextBytes(ToWide(text)));
}

void Machine::WriteDword(std::string_view path, std::string_view value, std::uint32_t number) {
    MakeKey(ToWide(path))->Set(ToWide(value), REG_DWORD, DwordBytes(number));
}

// --- devices, from outside ---

Device* Machine::Find(WideView id) {
    for (std::size_t node = kRoot; node < devices.size(); ++node) {
        if (!devices[node].removed && EqualsCaseless(devices[node].id, id))
            return &devices[node];
    }
    return nullptr;
}

const Device* Machine::Find(WideView id) const {
    return const_cast<Machine*>(this)->Find(id);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

Device* Machine::Find(std::string_view id) {
    return Find(WideView(ToWide(id)));
}

const Device* Machine::Find(std::string_view id) const {
    return Find(WideView(ToWide(id)));
}

Device* Machine::Node(DEVINST node) {
    return node >= kRoot && node < devices.size() && !devices[node].removed ? &devices[node] : nullptr;
}

const Device* Machine::Node(DEVINST node) const {
    return const_cast<Machine*>(this)->Node(node);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

DEVINST Machine::AddDevice(DEVINST parent, const DeviceRecipe& recipe) {
    const WideString id = ToWide(recipe.id);
    if (recipe.id.empty() || Find(WideView(id)) != nullptr)
        throw std::invalid_argument("device id \"" + recipe.id + "\" is empty or taken");
    if (Node(parent) == nullptr)
        throw std::invalid_argument("no parent for device \"" + recipe.id + "\"");
    const auto node = static_cast<DEVINST>(devices.size());
    devices.emplace_back();
    Device& device = devices.back();
    device.node = node;
    device.id = id;
    device.parent = parent;
    device.class_name = ToWide(!recipe.setup_class.empty() ? recipe.setup_class
                               : recipe.port               ? "Ports"
                                                           : "System");
    if (const SetupClass* known = FindSetupClass(ToUtf8(device.class_name)))
        device.setup_class = known->guid;
    if (recipe.class_guid)
        device.setup_class = *recipe.class_guid;
    const bool is_port = IsPort(device);

    const std::string description = recipe.description ? *recipe.description
                                    : is_port          ? std::string("Veltramark Serial Port")
                                                       : recipe.id;
    SetPropertyText(device, SPDRP_DEVICEDESC, description);
    if (recipe.friendly_name)
        SetPropertyText(device, SPDRP_FRIENDLYNAME, *recipe.friendly_name);
    else if (recipe.port)
        SetPropertyText(device, SPDRP_FRIENDLYNAME, description + " (" + *recipe.port + ")");
    if (recipe.location)
        SetPropertyText(device, SPDRP_LOCATION_INFORMATION, *recipe.location);
    std::vector<std::string> hardware_ids = recipe.hardware_ids;
    if (hardware_ids.empty())
        hardware_ids.push_back(recipe.id.substr(0, recipe.id.rfind('\\')));
    Bytes list;
    for (const std::string& hardware_id : hardware_ids) {
        const Bytes one = TextBytes(ToWide(hardware_id));
        list.insert(list.end(), one.begin(), one.end());
    }
    list.resize(list.size() + sizeof(WCHAR));
    device.properties[SPDRP_HARDWAREID] = {REG_MULTI_SZ, list};

    // A driver key and a kernel device as nobody else has them.
    std::string driver;
    if (recipe.driver) {
        driver = *recipe.driver;
    } else {
        std::set<std::string> taken;
        for (const Device& other : devices)
            taken.insert(PropertyText(other, SPDRP_DRIVER));
        const std::string guid = FormatGuid(device.setup_class);
        for (unsigned number = 0; driver.empty(); ++number) {
            const std::string digits = std::to_string(number);
            std::string candidate = guid + "\\";
            candidate.append(4 - std::min<std::size_t>(digits.size(), 4), '0').append(digits);
            if (!taken.contains(candidate))
                driver = candidate;
        }
    }
    SetPropertyText(device, SPDRP_DRIVER, driver);
    if (!driver.empty())
        MakeKey(ToWide(kClassPath + driver));
    if (recipe.kernel_path) {
        device.kernel_path = ToWide(*recipe.kernel_path);
    } else if (is_port) {
        std::set<WideString, CaselessLess> taken;
        for (const Device& other : devices)
            taken.insert(other.kernel_path);
        for (unsigned number = 0; device.kernel_path.empty(); ++number) {
            const WideString candidate =
                ToWide((recipe.foreign ? "\\Device\\Serial" : "\\Device\\QxSerial") + std::to_string(number));
            if (!taken.contains(candidate))
                device.kernel_path = candidate;
        }
    }

    const std::shared_ptr<RegistryKey> hardware_key = MakeKey(HardwareKeyPath(device.id));
    if (recipe.port) {
        hardware_key->Set(ToWide("PortName"), REG_SZ, TextBytes(ToWide(*recipe.port)));
        if (const unsigned number = ComNumber(ToWide(*recipe.port)); recipe.claim)
            SetClaimed(number, true);
    }
    if (recipe.control.value_or(is_port && !recipe.foreign)) {
        device.control.emplace();
        std::string reference = driver;
        std::erase(reference, '\\');
        device.interfaces.push_back({control_class, ToWide("qxgendrv_" + reference)});
    }
    device.plugged = recipe.plugged;
    device.problem = recipe.problem != 0 ? recipe.problem : recipe.started ? 0 : CM_PROB_FAILED_INSTALL;
    device.disabled = recipe.problem == CM_PROB_DISABLED;
    device.started = false;
    devices[parent].children.push_back(node);
    Start(device);
    return node;
}

void Machine::StoreSettings(const Device& device) {
    const std::shared_ptr<RegistryKey> key = HardwareKey(device);
    if (!key || !device.control)
        return;
    for (std::size_t at = 0; at < kPortSettingCount; ++at) {
        const std::uint32_t value = device.control->settings.values[at];
        const WideString& name = SettingName(at);
        if (value != device.control->defaults.values[at] || key->Find(name) != nullptr)
            key->Set(name, REG_DWORD, DwordBytes(value));
    }
}

void Machine::TakeStoredSettings(Device& device) const {
    const std::shared_ptr<RegistryKey> key = HardwareKey(device);
    if (!key || !device.control)
        return;
    for (std::size_t at = 0; at < kPortSettingCount; ++at) {
        const std::string_view name = PortSettingNames()[at];
        const RegistryValue* value = name.starts_with("Supported") ? nullptr : key->Find(SettingName(at));
        if (value != nullptr && value->type == REG_DWORD && value->data.size() == sizeof(std::uint32_t))
            std::memcpy(&device.control->settings.values[at], value->data.data(), sizeof(std::uint32_t));
    }
}

bool Machine::Present(const Device& device) const {
    if (device.node == kRoot)
        return true;
    if (!device.plugged || device.removed)
        return false;
    const Device& parent = devices[device.parent];
    return parent.started && Present(parent);
}

void Machine::Start(Device& device) {
    if (device.problem != 0 || !Present(device))
        return;
    device.started = true;
    TakeStoredSettings(device);
    if (!device.kernel_path.empty()) {  // a port's, and also a modem's
        const WideString name = PortNameOf(*this, device);
        // Another driver that defined the name first keeps it: the port then runs, but without a name.
        if (!name.empty() && !dos_names.contains(name)) {
            DefineDosName(name, device.kernel_path);
            MakeKey(ToWide(kSerialCommPath), HKEY_LOCAL_MACHINE, true)
                ->Set(device.kernel_path, REG_SZ, TextBytes(name));
        }
    }
    for (const DEVINST child : std::vector(device.children))
        Start(devices[child]);
}

// A stopping port driver takes back every name that leads to its device, also one that somebody else gave it.
void Machine::Stop(Device& device) {
    for (const DEVINST child : device.children)
        Stop(devices[child]);
    if (!device.started || device.node == kRoot)
        return;
    device.started = false;
    if (device.kernel_path.empty())
        return;
    DropDosNamesOf(device.kernel_path);
    if (const auto map = FindKey(ToWide(kSerialCommPath))) {
        std::erase_if(map->values, [&](const RegistryValue& entry) {
            return EqualsCaseless(entry.name, device.kernel_path);
        });
    }
}

void Machine::SetPlugged(Device& device, bool plugged) {
    if (!plugged)
        Stop(device);
    device.plugged = plugged;
    if (plugged)
        Start(device);
}

void Machine::Remove(Device& device) {
    Stop(device);
    for (const DEVINST child : std::vector(device.children))
        Remove(devices[child]);
    const WideString enum_key = ToWide(kEnumPath) + device.id;
    DeleteKey(enum_key);
    if (const std::string driver = PropertyText(device, SPDRP_DRIVER); !driver.empty())
        DeleteKey(ToWide(kClassPath + driver));
    std::erase(devices[device.parent].children, device.node);
    Device gone;
    gone.node = device.node;
    gone.id = device.id;
    gone.parent = kRoot;
    gone.plugged = gone.started = false;
    gone.removed = true;
    device = std::move(gone);
}

bool Machine::InUse(const Device& device) const {
    return !device.held_open_by.empty() || std::ranges::any_of(handles_->files, [&](const auto& entry) {
        return entry.second.node == device.node;
    }) || std::ranges::any_of(device.children, [&](DEVINST child) { return InUse(devices[child]); });
}

unsigned Machine::Reenumerations(DEVINST node) const {
    const auto found = reenumerations_.find(node);
    return found == reenumerations_.end() ? 0 : found->second;
}

void CountReenumeration(Machine& machine, DEVINST node) {
    ++machine.reenumerations_[node];
}

WideString Machine::HardwareKeyPath(WideView id) {
    static const WideString head = ToWide(kEnumPath);
    static const WideString tail = ToWide("\\Device Parameters");
    WideString path;
    path.reserve(head.size() + id.size() + tail.size());
    return path.append(head).append(id).append(tail);
}

std::shared_ptr<RegistryKey> Machine::HardwareKey(const Device& device) const {
    return FindKey(HardwareKeyPath(device.id));
}

bool Machine::IsPort(const Device& device) {
    return IsEqualGUID(device.setup_class, kSetupClasses[0].guid);
}

std::vector<const Device*> Machine::Ports() const {
    std::vector<const Device*> ports;
    const std::function<void(const Device&)> visit = [&](const Device& device) {
        if (IsPort(device))
            ports.push_back(&device);
        for (const DEVINST child : device.children)
            visit(devices[child]);
    };
    visit(devices[kRoot]);
    return ports;
}

std::string Machine::PropertyText(const Device& device, DWORD property) const {
    const auto found = device.properties.find(property);
    return found == device.properties.end() ? std::string() : ToUtf8(BytesText(found->second.data));
}

void Machine::SetPropertyText(Device& device, DWORD property, std::string_view text) {
    device.properties[property] = {REG_SZ, TextBytes(ToWide(text))};
}

WideString Machine::InterfacePath(const Device& device, const DeviceInterface& published) const {
    WideString path = LowerCase(device.id);
    std::ranges::replace(path, static_cast<WCHAR>('\\'), static_cast<WCHAR>('#'));
    path = ToWide("\\\\?\\") + path + ToWide("#" + FormatGuid(published.interface_class));
    if (!published.reference.empty())
        path += ToWide("\\") + published.reference;
    return path;
}

bool Machine::Active(const Device& device, const DeviceInterface& published) const {
    return published.enabled && device.started && Present(device);
}

std::string Machine::ControlPath(const Device& device) const {
    for (const DeviceInterface& published : device.interfaces) {
        if (IsEqualGUID(published.interface_class, control_class))
            return ToUtf8(InterfacePath(device, published));
    }
    return {};
}

Machine::PortNames Machine::NamesOf(const Device& port) const {
    PortNames names;
    names.id = ToUtf8(port.id);
    const WideString name = PortNameOf(*this, port);
    names.port_name = ToUtf8(name);
    names.claimed = Claimed(ComNumber(name));
    for (const auto& [dos_name, targets] : dos_names) {
        if (!port.kernel_path.empty() && EqualsCaseless(targets.front(), port.kernel_path))
            names.dos_names.push_back(ToUtf8(dos_name));
    }
    if (!port.kernel_path.empty())
        names.serial_comm = ReadText(kSerialCommPath, ToUtf8(port.kernel_path)).value_or("");
    names.friendly_name = PropertyText(port, SPDRP_FRIENDLYNAME);
    names.present = Present(port);
    names.started = port.started;
    return names;
}

// --- port database and DOS names, from outside ---

bool Machine::Claimed(unsigned number) const {
    return number >= 1 && number <= claimed.size() && claimed[number - 1];
}

void Machine::SetClaimed(unsigned number, bool is_claimed) {
    if (number >= 1 && number <= claimed.size())
        claimed[number - 1] = is_claimed;
}

std::vector<unsigned> Machine::ClaimedNumbers() const {
    std::vector<unsigned> numbers;
    for (unsigned number = 1; number <= claimed.size(); ++number) {
        if (claimed[number - 1])
            numbers.push_back(number);
    }
    return numbers;
}

std::optional<std::string> Machine::DosTarget(std::string_view name) const {
    const auto found = dos_names.find(ToWide(name));
    return found == dos_names.end() ? std::nullopt : std::optional(ToUtf8(found->second.front()));
}

void Machine::DefineDosName(WideView name, WideView target) {
    std::vector<WideString>& targets = dos_names[WideString(name)];
    targets.insert(targets.begin(), WideString(target));
}

void Machine::DropDosNamesOf(WideView target) {
    if (target.empty())
        return;
    for (auto& [name, targets] : dos_names)
        std::erase_if(targets, [&](const WideString& one) { return EqualsCaseless(one, target); });
    std::erase_if(dos_names, [](const auto& entry) { return entry.second.empty(); });
}

// --- processes ---

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

HDEVINFO HandDevice(Machine& machine, const Device& device, SP_DEVINFO_DATA& element) {
    const std::uint64_t number = machine.Open().New();
    DeviceSet& set = machine.Open().sets[number];
    set.handed = true;
    element = {};
    element.cbSize = sizeof(element);
    FillElement(machine, set, AddElement(set, device.node), element);
    return MakeHandle<HDEVINFO>(number);
}

}  // namespace qxsim
