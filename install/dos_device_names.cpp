#include "install/dos_device_names.h"

#include "base/handles.h"

#include <array>

namespace qx {

namespace {

bool DefineDosName(const Text& name, const Text& target) {
    return DefineDosDeviceW(DDD_RAW_TARGET_PATH, name.c_str(), target.c_str()) != FALSE;
}

}  // namespace

std::optional<Text> TargetOfDosName(const Text& name) {
    std::array<WCHAR, 256> target{};
    if (QueryDosDeviceW(name.c_str(), target.data(), static_cast<DWORD>(target.size())) == 0)
        return std::nullopt;
    return Text::FromBuffer(target.data(), target.size());
}

bool RemoveDosName(const Text& name, const Text& target) {
    return DefineDosDeviceW(DDD_RAW_TARGET_PATH | DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE,
                            name.c_str(), target.c_str()) != FALSE;
}

bool MoveDosDeviceName(const Text& old_name, const Text& new_name) {
    const std::optional<Text> target = TargetOfDosName(old_name);
    if (!target || !RemoveDosName(old_name, *target))
        return false;
    if (!DefineDosName(new_name, *target)) {
        // A port without any name could not be opened until the next start of the computer.
        static_cast<void>(DefineDosName(old_name, *target));
        return false;
    }
    RegistryKey map;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("Hardware\\DeviceMap\\SERIALCOMM"), 0, KEY_ALL_ACCESS,
                      map.Put()) != ERROR_SUCCESS)
        return false;
    return RegSetValueExW(map.Get(), target->c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(new_name.c_str()),
                          new_name.SizeInBytes()) == ERROR_SUCCESS;
}

}  // namespace qx
