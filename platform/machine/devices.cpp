// SPDX-License-Identifier: MIT
// Devices from outside the calls: finding them, their keys and names, starting, stopping and removing them.
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qxsim {

namespace {

constexpr GUID kPortsClass = {0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

const SetupClass kSetupClasses[] = {
    {"Ports", kPortsClass},
    {"MultiPortSerial", {0x50906CB8, 0xBA12, 0x11D1, {0xBF, 0x5D, 0x00, 0x00, 0xF8, 0x05, 0xF5, 0x30}}},
    {"USB", {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}}},
    {"System", {0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"MultiFunction", {0x4D36E971, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"Modem", {0x4D36E96D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"Net", {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}},
    {"HIDClass", {0x745A17A0, 0x74D3, 0x11D0, {0xB6, 0xFE, 0x00, 0xA0, 0xC9, 0x0F, 0x57, 0xDA}}},
};

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

}  // namespace

const SetupClass* FindSetupClass(std::string_view name) {
    for (const SetupClass& candidate : kSetupClasses) {
        if (EqualsCaseless(ToWide(candidate.name), ToWide(name)))
            return &candidate;
    }
    return nullptr;
}

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

std::shared_ptr<RegistryKey> Machine::DriverKey(const Device& device) const {
    const std::string driver = PropertyText(device, SPDRP_DRIVER);
    return driver.empty() ? nullptr : FindKey(ToWide(kClassPath + driver));
}

bool Machine::IsPort(const Device& device) {
    return IsEqualGUID(device.setup_class, kPortsClass);
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

std::string Machine::PortName(const Device& port) const {
    return ToUtf8(PortNameOf(*this, port));
}

std::string Machine::SerialCommName(const Device& port) const {
    return ReadText(kSerialCommPath, ToUtf8(port.kernel_path)).value_or("");
}

}  // namespace qxsim
