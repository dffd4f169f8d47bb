#include "device_records/registry_layout.h"

#include <algorithm>

namespace qx {

namespace {

constexpr const WCHAR* kHardwareKeyFormat = TEXT("System\\CurrentControlSet\\Enum\\%s\\Device Parameters");
constexpr const WCHAR* kUi1KeyFormat = TEXT("System\\CurrentControlSet\\Enum\\%s\\Device Parameters\\UI1");
constexpr const WCHAR* kBackupKeyFormat = TEXT("System\\CurrentControlSet\\Enum\\%s\\Device Parameters\\%s");
constexpr const WCHAR* kBackupUi1KeyFormat =
    TEXT("System\\CurrentControlSet\\Enum\\%s\\Device Parameters\\%s\\UI1");

}  // namespace

Text HardwareKeyPath(const Text& instance_id) {
    return Format(kHardwareKeyFormat, instance_id);
}

Text Ui1KeyPath(const Text& instance_id) {
    return Format(kUi1KeyFormat, instance_id);
}

Text BackupKeyPath(const Text& parent_id, const Text& backup_name) {
    return Format(kBackupKeyFormat, parent_id, backup_name);
}

Text BackupUi1KeyPath(const Text& parent_id, const Text& backup_name) {
    return Format(kBackupUi1KeyFormat, parent_id, backup_name);
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
