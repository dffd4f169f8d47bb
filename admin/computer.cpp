// SPDX-License-Identifier: MIT
#include "admin/computer.h"

#include "admin/text.h"
#include "device_records/device_reg_info.h"
#include "install/device_helpers.h"

#include <initguid.h>

#include <devguid.h>

#include <algorithm>
#include <charconv>

namespace qxports {

namespace {

// The entry that the driver names for the device manager.
constexpr const WCHAR* kPageProvider = TEXT("QxUPortPropPage");

// Whether the driver's own key names this library's pages. It stays when the device is pulled.
bool ShowsOurPages(HDEVINFO set, SP_DEVINFO_DATA element) {
    const qx::HardwareKey key(SetupDiOpenDevRegKey(set, &element, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ));
    std::array<WCHAR, 256> provider{};
    DWORD size = sizeof(provider) - sizeof(WCHAR);
    return key &&
           RegQueryValueExW(key.Get(), TEXT("EnumPropPages32"), nullptr, nullptr,
                            reinterpret_cast<BYTE*>(provider.data()), &size) == ERROR_SUCCESS &&
           qx::Text(provider.data()).Contains(kPageProvider);
}

std::string PropertyOf(HDEVINFO set, const SP_DEVINFO_DATA& element, DWORD property) {
    qx::Text text;
    static_cast<void>(qx::CQXDeviceRegInfo(set, element).GetPropertyString(property, text));
    return Utf8(text);
}

std::string ShownName(HDEVINFO set, const SP_DEVINFO_DATA& element) {
    const std::string friendly = PropertyOf(set, element, SPDRP_FRIENDLYNAME);
    return friendly.empty() ? PropertyOf(set, element, SPDRP_DEVICEDESC) : friendly;
}

}  // namespace

std::string Port::Name() const {
    return Utf8(places.port_name);
}

Computer::Computer() : Computer(qx::ReadSharedNamePlaces()) {}

Computer::Computer(qx::SharedNamePlaces shared)
    : devices_(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES)),
      shared_(std::move(shared)) {
    if (!devices_)
        throw Failure(kSystemFailed, "the devices cannot be listed: " + ErrorWords(GetLastError()));
    SP_DEVINFO_DATA element{};
    element.cbSize = sizeof(element);
    const auto next = [&](DWORD index) { return SetupDiEnumDeviceInfo(devices_.Get(), index, &element); };
    // The end is asked for twice, and then the beginning again: a list that was cut short would make names
    // free that devices have.
    DWORD index = 0;
    for (; next(index) || next(index); ++index) {
        Port port;
        port.element = element;
        port.places = qx::ReadNamePlaces(devices_.Get(), element, shared_);
        const std::optional<qx::InstanceId> id = qx::InstanceIdOf(element.DevInst);
        port.id = id ? Utf8(id->view()) : "(a device without an id)";
        if (!port.places.port_name_known)
            unknown_.push_back("the name of " + port.id);
        const bool is_port = IsEqualGUID(element.ClassGuid, GUID_DEVCLASS_PORTS) != FALSE;
        if (!is_port && port.places.port_name.empty())
            continue;
        ULONG status = 0;
        ULONG problem = 0;
        const CONFIGRET result = CM_Get_DevNode_Status(&status, &problem, element.DevInst, 0);
        port.present = result == CR_SUCCESS;
        if (result != CR_SUCCESS && result != CR_NO_SUCH_DEVNODE)
            unknown_.push_back("whether " + port.id + " is present");
        port.started = port.present && (status & DN_STARTED) != 0;
        port.problem = (status & DN_HAS_PROBLEM) != 0 ? problem : 0;
        port.ours = is_port && ShowsOurPages(devices_.Get(), element);
        port.shown = ShownName(devices_.Get(), element);
        if (port.shown.empty())
            port.shown = port.id;
        ports_.push_back(std::move(port));
    }
    if (index == 0 || !next(0))
        unknown_.emplace_back("the list of devices");
    // Those without a number come last.
    std::ranges::stable_sort(ports_, {}, [](const Port& port) { return port.places.number - 1; });
}

const Port& Computer::Find(std::string_view name) const {
    std::vector<const Port*> found;
    std::vector<std::string> known;
    for (const Port& port : ports_) {
        if (!port.places.port_name.empty())
            known.push_back(port.Name());
        if (IsSameName(port.id, name))
            return port;
        if (!name.empty() && IsSameName(port.Name(), name))
            found.push_back(&port);
    }
    if (found.size() == 1)
        return *found.front();
    if (found.empty())
        throw Failure(kUnknownPort, "there is no port " + std::string(name) +
                                        "; the ports of this computer are " + Listed(known));
    known.clear();
    for (const Port* const port : found)
        known.push_back(port->id);
    throw Failure(kUnknownPort, "several devices are " + std::string(name) +
                                    ", name one by its instance id: " + Listed(known));
}

std::vector<const Port*> Computer::Holders(DWORD number) const {
    std::vector<const Port*> holders;
    for (const Port& port : ports_)
        if (number != 0 && port.places.number == number)
            holders.push_back(&port);
    return holders;
}

void Computer::RequireAllKnown(ExitCode code) const {
    std::vector<std::string> unknown = unknown_;
    if (!shared_.claims)
        unknown.emplace_back("the port database");
    if (!shared_.dos_names)
        unknown.emplace_back("the DOS device names");
    if (!shared_.serial_comm)
        unknown.emplace_back("SERIALCOMM");
    if (!unknown.empty())
        throw Failure(code,
                      "not everything can be read that has to be known first, which takes the rights of an "
                      "administrator: " +
                          Listed(unknown));
}

std::string Computer::Property(const Port& port, DWORD property) const {
    return PropertyOf(devices_.Get(), port.element, property);
}

DWORD ComNumber(std::string_view name) {
    std::string_view digits = name;
    if (digits.size() > 3 && IsSameName(digits.substr(0, 3), "COM"))
        digits.remove_prefix(3);
    DWORD number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size() || number == 0 || number > 256)
        throw Failure(kBadUse, "\"" + std::string(name) + "\" is no COM name; they go from COM1 to COM256");
    return number;
}

std::string AdapterOf(const Port& port) {
    const std::optional<DEVINST> parent = qx::ParentOf(port.element.DevInst);
    const std::optional<qx::InstanceId> id = parent ? qx::InstanceIdOf(*parent) : std::nullopt;
    const qx::DeviceSet set(id ? SetupDiCreateDeviceInfoList(nullptr, nullptr) : INVALID_HANDLE_VALUE);
    const std::optional<SP_DEVINFO_DATA> element =
        set ? qx::OpenDeviceIn(set.Get(), id->c_str()) : std::nullopt;
    if (!element)
        return {};
    const std::string shown = ShownName(set.Get(), *element);
    return shown.empty() ? Utf8(id->view()) : shown;
}

std::string Listed(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list.empty() ? "none" : list;
}

}  // namespace qxports
