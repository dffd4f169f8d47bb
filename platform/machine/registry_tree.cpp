// SPDX-License-Identifier: MIT
// The registry's keys and values as they are kept, and as they are seen from outside the calls.
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qxsim {

namespace {

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

}  // namespace

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

void RegistryKey::DropVolatileKeys() {
    std::erase_if(subkeys, [](const auto& entry) { return entry.second->is_volatile; });
    for (auto& [subkey_name, subkey] : subkeys)
        subkey->DropVolatileKeys();
}

std::uint32_t HiveNumber(HKEY hive) {
    return static_cast<std::uint32_t>(HandleNumber(hive));
}

std::shared_ptr<RegistryKey> RegistryKey::Clone() const {
    auto copy = std::make_shared<RegistryKey>(*this);
    for (auto& [subkey_name, subkey] : copy->subkeys)
        subkey = subkey->Clone();
    return copy;
}

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

}  // namespace qxsim
