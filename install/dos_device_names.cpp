// SPDX-License-Identifier: MIT
#include "install/dos_device_names.h"

#include "base/registry.h"
#include "device_records/registry_layout.h"

namespace qx {

namespace {

bool DefineDosName(const WCHAR* name, const KernelPath& target) {
    return DefineDosDeviceW(DDD_RAW_TARGET_PATH, name, target.c_str()) != FALSE;
}

}  // namespace

std::optional<KernelPath> TargetOfDosName(const WCHAR* name) {
    KernelPath target;
    if (QueryDosDeviceW(name, target.Buffer(), static_cast<DWORD>(KernelPath::kCapacity)) == 0)
        return std::nullopt;
    return target;
}

bool RemoveDosName(const WCHAR* name, const KernelPath& target) {
    return DefineDosDeviceW(DDD_RAW_TARGET_PATH | DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE, name,
                            target.c_str()) != FALSE;
}

bool MoveDosDeviceName(const WCHAR* old_name, const Text& new_name) {
    const std::optional<KernelPath> target = TargetOfDosName(old_name);
    if (!target || !RemoveDosName(old_name, *target))
        return false;
    if (!DefineDosName(new_name.c_str(), *target)) {
        // A port without any name could not be opened until the next start of the computer.
        static_cast<void>(DefineDosName(old_name, *target));
        return false;
    }
    const RegistryKey map = OpenKey(HKEY_LOCAL_MACHINE, kSerialCommKey, KEY_ALL_ACCESS);
    return map && WriteText(map.Get(), target->c_str(), new_name.c_str());
}

}  // namespace qx
