// SPDX-License-Identifier: MIT
// A new device from a recipe; what the recipe leaves out is filled in as an installer would.
#include "driver_access/product_data.h"
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <stdexcept>

namespace qxsim {

namespace {

// The numbers that are taken among names of one kind.
class TakenNumbers {
  public:
    void Take(WideView digits) {
        std::size_t number = 0;
        for (const WCHAR unit : digits) {
            if (unit < '0' || unit > '9' || number >= kMost)
                return;
            number = number * 10 + (unit - static_cast<unsigned>('0'));
        }
        taken_.resize(std::max(taken_.size(), number + 1));
        taken_[number] = true;
    }
    [[nodiscard]] std::string FirstFree() const {
        return std::to_string(std::ranges::find(taken_, false) - taken_.begin());
    }

  private:
    static constexpr std::size_t kMost = 100'000;
    std::vector<bool> taken_;
};

std::string NewDriver(const Machine& machine, const GUID& setup_class) {
    const std::string guid = FormatGuid(setup_class);
    TakenNumbers taken;
    if (const std::shared_ptr<RegistryKey> of_class = machine.FindKey(ToWide(kClassPath + guid))) {
        for (const auto& [name, key] : of_class->subkeys)
            taken.Take(name);
    }
    const std::string number = taken.FirstFree();
    return guid + "\\" + std::string(4 - std::min<std::size_t>(number.size(), 4), '0') + number;
}

WideString NewKernelPath(const Machine& machine, const char* kind) {
    const WideString prefix = ToWide(kind);
    TakenNumbers taken;
    for (const Device& device : machine.devices) {
        if (device.kernel_path.size() > prefix.size() && device.kernel_path.starts_with(prefix))
            taken.Take(WideView(device.kernel_path).substr(prefix.size()));
    }
    return prefix + ToWide(taken.FirstFree());
}

Bytes TextListBytes(const std::vector<std::string>& texts) {
    Bytes list;
    for (const std::string& text : texts) {
        const Bytes one = TextBytes(ToWide(text));
        list.insert(list.end(), one.begin(), one.end());
    }
    list.resize(list.size() + sizeof(WCHAR));
    return list;
}

void NameDevice(Machine& machine, Device& device, const DeviceRecipe& recipe) {
    const std::string description =
        recipe.description.value_or(Machine::IsPort(device) ? "Veltramark Serial Port" : recipe.id);
    machine.SetPropertyText(device, SPDRP_DEVICEDESC, description);
    if (recipe.friendly_name)
        machine.SetPropertyText(device, SPDRP_FRIENDLYNAME, *recipe.friendly_name);
    else if (recipe.port)
        machine.SetPropertyText(device, SPDRP_FRIENDLYNAME, description + " (" + *recipe.port + ")");
    if (recipe.location)
        machine.SetPropertyText(device, SPDRP_LOCATION_INFORMATION, *recipe.location);
    const std::string without_instance = recipe.id.substr(0, recipe.id.rfind('\\'));
    device.properties[SPDRP_HARDWAREID] = {
        REG_MULTI_SZ,
        TextListBytes(recipe.hardware_ids.empty() ? std::vector{without_instance} : recipe.hardware_ids)};
}

}  // namespace

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
    device.foreign = recipe.foreign;
    device.class_name = ToWide(!recipe.setup_class.empty() ? recipe.setup_class
                               : recipe.port               ? "Ports"
                                                           : "System");
    if (const SetupClass* known = FindSetupClass(ToUtf8(device.class_name)))
        device.setup_class = known->guid;
    if (recipe.class_guid)
        device.setup_class = *recipe.class_guid;
    const bool is_port = IsPort(device);
    NameDevice(*this, device, recipe);

    const std::string driver = recipe.driver ? *recipe.driver : NewDriver(*this, device.setup_class);
    SetPropertyText(device, SPDRP_DRIVER, driver);
    if (!driver.empty())
        MakeKey(ToWide(kClassPath + driver));
    if (recipe.kernel_path)
        device.kernel_path = ToWide(*recipe.kernel_path);
    else if (is_port)
        device.kernel_path = NewKernelPath(*this, recipe.foreign ? "\\Device\\Serial" : "\\Device\\QxSerial");

    const std::shared_ptr<RegistryKey> hardware_key = MakeKey(HardwareKeyPath(device.id));
    if (recipe.port) {
        hardware_key->Set(ToWide("PortName"), REG_SZ, TextBytes(ToWide(*recipe.port)));
        if (recipe.claim)
            SetClaimed(ComNumber(ToWide(*recipe.port)), true);
    }
    if (recipe.control.value_or(is_port && !recipe.foreign)) {
        // As the port's driver package does.
        MakeKey(ToWide(kClassPath + driver))
            ->Set(ToWide("EnumPropPages32"), REG_SZ, TextBytes(ToWide("QxUUI10.DLL,QxUPortPropPage")));
        device.control.emplace();
        std::string reference = driver;
        std::erase(reference, '\\');
        device.interfaces.push_back({control_class, qx::kControlReferencePrefix + ToWide(reference)});
    }
    device.plugged = recipe.plugged;
    device.problem = recipe.problem != 0 ? recipe.problem : recipe.started ? 0 : CM_PROB_FAILED_INSTALL;
    device.disabled = recipe.problem == CM_PROB_DISABLED;
    device.started = false;
    devices[parent].children.push_back(node);
    Start(device);
    return node;
}

}  // namespace qxsim
