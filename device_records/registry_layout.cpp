// SPDX-License-Identifier: MIT
#include "device_records/registry_layout.h"

#include <algorithm>

namespace qx {

Text HardwareKeyPath(const Text& instance_id) {
    return Format(TEXT("System\\CurrentControlSet\\Enum\\%s\\Device Parameters"), instance_id);
}

Text Ui1KeyPath(const Text& instance_id) {
    return Format(TEXT("%s\\%s"), HardwareKeyPath(instance_id), kUi1);
}

Text BackupKeyPath(const Text& parent_id, const Text& backup_name) {
    return Format(TEXT("%s\\%s"), HardwareKeyPath(parent_id), backup_name);
}

Text BackupUi1KeyPath(const Text& parent_id, const Text& backup_name) {
    return Format(TEXT("%s\\%s"), BackupKeyPath(parent_id, backup_name), kUi1);
}

Text PortBackupKeyName(const Text& instance_id) {
    constexpr WCHAR kBackslash = TEXT('\\');
    std::basic_string<WCHAR> name(instance_id.view());
    const std::size_t first = name.find(kBackslash);
    const std::size_t second = first == name.npos ? name.npos : name.find(kBackslash, first + 1);
    if (second != name.npos && second - first > 2)
        name.erase(first + 1, second - first - 2);
    std::replace(name.begin(), name.end(), kBackslash, WCHAR{TEXT('_')});
    return Text(TextView(name));
}

}  // namespace qx
