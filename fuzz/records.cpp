// SPDX-License-Identifier: MIT
// Fuzzes what is read from a device's registry values and properties, which any program may have written, and
// the name under which a port's settings are saved.
#include "device_records/device_reg_info.h"
#include "device_records/registry_layout.h"
#include "fuzz/fuzz_input.h"
#include "platform/machine/machine.h"

#include <memory>
#include <optional>

namespace {

using qx::Text;
using qx::TextView;
using qxfuzz::Require;
using Units = std::basic_string<WCHAR>;

constexpr const char* kPort = "USB\\VID_0F7A&PID_1001&MI_00\\7&1A2B3C&0&0000";

// One computer for all runs: only the port's value and property change.
struct Bench {
    Bench() : current(machine) {
        qxsim::DeviceRecipe recipe;
        recipe.id = kPort;
        recipe.port = "COM5";
        machine.AddDevice(qxsim::Machine::kRoot, recipe);
        set = qxsim::HandDevice(machine, *machine.Find(kPort), element);
    }
    qxsim::Machine machine;
    qxsim::CurrentMachine current;
    HDEVINFO set = nullptr;
    SP_DEVINFO_DATA element{};
};

// The text that bytes spell, up to their first NUL.
Units Spelled(const qxsim::Bytes& bytes) {
    Units text(bytes.size() / sizeof(WCHAR), WCHAR{0});
    if (!text.empty())
        std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
    text.resize(std::min(text.find(WCHAR{0}), text.size()));
    return text;
}

void CheckValue(Bench& bench, DWORD type, const qxsim::Bytes& bytes) {
    bench.machine.HardwareKey(*bench.machine.Find(kPort))->Set(TEXT("PortName"), type, bytes);
    Text value(TEXT("before"));
    const bool read = qx::CQXDeviceRegInfo(bench.set, bench.element).GetDeviceString(TEXT("PortName"), value);
    std::optional<Units> model;
    if (bytes.size() <= 300) {
        qxsim::Bytes buffer = bytes;
        buffer.resize(300);
        model = Spelled(buffer);
    }
#ifdef QX_CANARY
    if (read && value.length() == 7)
        value = value.WithoutFirst(1);
#endif
    Require(read == model.has_value(), "values of up to 300 bytes are read");
    Require(value.view() == (model ? TextView(*model) : TextView(TEXT("before"))),
            "the value is its bytes up to their NUL, and a failed read changes nothing");
}

void CheckProperty(Bench& bench, DWORD type, const qxsim::Bytes& bytes) {
    bench.machine.Find(kPort)->properties[SPDRP_FRIENDLYNAME] = {type, bytes};
    Text value(TEXT("before"));
    const bool read = qx::CQXDeviceRegInfo(bench.set, bench.element).GetFriendlyName(value);
    // A property without data is one that the device does not have.
    const bool is_text = !bytes.empty() && (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ);
    Require(read == is_text, "texts are read and nothing else");
    Require(value.view() == (is_text ? TextView(Spelled(bytes)) : TextView(TEXT("before"))),
            "a property is its bytes up to their NUL, and a failed read changes nothing");
}

void CheckBackupName(const Units& id) {
    Units model = id;
    const std::size_t first = model.find('\\');
    const std::size_t second = first == Units::npos ? first : model.find('\\', first + 1);
    if (second != Units::npos && second - first > 2)
        model = model.substr(0, first + 1) + model.substr(second - 1);
    std::replace(model.begin(), model.end(), WCHAR{'\\'}, WCHAR{'_'});
    const Text name = qx::PortBackupKeyName(Text(TextView(id)));
    Require(name.view() == TextView(model), "a backup's name is the port's id with a short middle");
    Require(!name.Contains(TEXT("\\")), "a backup's name is the name of one key");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Bench bench;
    qxfuzz::Input input(data, size);
    const DWORD type = input.Take<std::uint8_t>() % 14;
    const std::size_t padding = input.Below(4) == 0 ? input.Below(400) : 0;
    CheckBackupName(input.Units(60));
    const auto rest = input.Rest();
    qxsim::Bytes bytes(rest.begin(), rest.end());
    bytes.resize(bytes.size() + padding, 'x');
    CheckValue(bench, type, bytes);
    CheckProperty(bench, type, bytes);
    Require(qxsim::Instruments::The().LedgerReport().empty(), "every handle is closed once");
    return 0;
}
