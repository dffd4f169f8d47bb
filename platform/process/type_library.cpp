// SPDX-License-Identifier: MIT
// The registration of type libraries.
#include "platform/machine/calls.h"
#include "platform/machine/machine.h"
#include "platform/process/modules.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <optional>

#include <oleauto.h>

namespace qxsim {

QX_PLATFORM_CALL(LoadTypeLib);
QX_PLATFORM_CALL(RegisterTypeLib);
QX_PLATFORM_CALL(UnRegisterTypeLib);

namespace {

struct LibraryFacts {
    GUID id{};
    WORD major = 0;
    WORD minor = 0;
    LCID locale = 0;
};

// Reads who a compiled type library is. Its header names a place in the table of identifiers, which the sixth
// entry of the segment directory behind the header and the offsets of its types finds.
std::optional<LibraryFacts> ReadTypeLibrary(ResourceBytes bytes) {
    const auto number = [bytes](std::size_t at) { return ReadAt<DWORD>(bytes, at); };
    constexpr DWORD kMagic = 0x5446534D;
    constexpr std::size_t kHeaderSize = 0x54;
    constexpr DWORD kHasHelpLibrary = 0x100;
    constexpr std::size_t kIdSegment = 5;
    constexpr std::size_t kSegmentEntry = 16;
    if (number(0) != kMagic)
        return std::nullopt;
    std::size_t directory = kHeaderSize + sizeof(DWORD) * number(0x20);
    if (number(0x14) & kHasHelpLibrary)
        directory += sizeof(DWORD);
    const std::size_t at = number(directory + kIdSegment * kSegmentEntry) + std::size_t{number(0x08)};
    LibraryFacts facts;
    if (at + sizeof(GUID) > bytes.size())
        return std::nullopt;
    facts.id = ReadAt<GUID>(bytes, at);
    facts.locale = number(0x0C);
    facts.major = LOWORD(number(0x18));
    facts.minor = HIWORD(number(0x18));
    return facts;
}

WideString KeyOf(const GUID& id, WORD major, WORD minor) {
    std::array<char, 20> version{};
    std::snprintf(version.data(), version.size(), "\\%X.%X", major, minor);
    return ToWide("Software\\Classes\\TypeLib\\" + FormatGuid(id) + version.data());
}

// A loaded type library: only who it is can be asked of it.
class TypeLibrary final : public ITypeLib {
  public:
    explicit TypeLibrary(const LibraryFacts& facts) : facts_(facts) {}
    virtual ~TypeLibrary() = default;
    [[nodiscard]] const LibraryFacts& Facts() const { return facts_; }

    HRESULT QueryInterface(REFIID, void** result) override {
        if (result)
            *result = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++references_; }
    ULONG Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            Call call = Call::Infallible("ITypeLib::Release", static_cast<const void*>(this));
            call.Closed("type library", static_cast<const void*>(this));
            delete this;
        }
        return left;
    }
    UINT GetTypeInfoCount() override { return 0; }
    HRESULT GetTypeInfo(UINT, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT GetTypeInfoType(UINT, TYPEKIND*) override { return E_NOTIMPL; }
    HRESULT GetTypeInfoOfGuid(REFGUID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT GetLibAttr(TLIBATTR** result) override {
        attributes_ = {facts_.id, facts_.locale, SYS_WIN64, facts_.major, facts_.minor, 0};
        *result = &attributes_;
        return S_OK;
    }
    HRESULT GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
    HRESULT GetDocumentation(INT, BSTR*, BSTR*, DWORD*, BSTR*) override { return E_NOTIMPL; }
    HRESULT IsName(LPOLESTR, ULONG, BOOL*) override { return E_NOTIMPL; }
    HRESULT FindName(LPOLESTR, ULONG, ITypeInfo**, MEMBERID*, USHORT*) override { return E_NOTIMPL; }
    void ReleaseTLibAttr(TLIBATTR*) override {}

  private:
    LibraryFacts facts_;
    TLIBATTR attributes_{};
    std::atomic<ULONG> references_{1};
};

HRESULT Load(Call& call, const OLECHAR* file, ITypeLib** result) {
    if (!file || !result)
        return call.Return(E_INVALIDARG);
    *result = nullptr;
    if (call.Faulted())
        return call.Return(TYPE_E_CANTLOADLIBRARY);
    const ResourceBytes bytes = FindModuleResource(ModuleOfFile(file), MAKEINTRESOURCEW(1), u"TYPELIB");
    const std::optional<LibraryFacts> facts = ReadTypeLibrary(bytes);
    if (!facts)
        return call.Return(TYPE_E_CANTLOADLIBRARY);
    auto* const library = new TypeLibrary(*facts);  // its last Release deletes it
    call.Opened("type library", static_cast<const void*>(library));
    *result = library;
    return call.Return(S_OK);
}

}  // namespace

HRESULT LoadTypeLib(const OLECHAR* file, ITypeLib** result) {
    Call call("LoadTypeLib", file);
    return Load(call, file, result);
}

HRESULT RegisterTypeLib(ITypeLib* library, OLECHAR* path, OLECHAR* help_directory) {
    Call call("RegisterTypeLib", static_cast<const void*>(library), static_cast<const WCHAR*>(path),
              static_cast<const WCHAR*>(help_directory));
    const auto* const known = dynamic_cast<TypeLibrary*>(library);
    if (!known || !path)
        return call.Return(E_INVALIDARG);
    if (call.Faulted())
        return call.Return(TYPE_E_REGISTRYACCESS);
    call.Changing();
    const LibraryFacts& facts = known->Facts();
    Machine& machine = Machine::Current();
    const WideString key = KeyOf(facts.id, facts.major, facts.minor);
    machine.MakeKey(key + u"\\0\\win64")->Set(u"", REG_SZ, TextBytes(path));
    machine.MakeKey(key + u"\\FLAGS")->Set(u"", REG_SZ, TextBytes(u"0"));
    if (help_directory)
        machine.MakeKey(key + u"\\HELPDIR")->Set(u"", REG_SZ, TextBytes(help_directory));
    return call.Return(S_OK);
}

HRESULT UnRegisterTypeLib(REFGUID id, WORD major, WORD minor, LCID locale, SYSKIND system) {
    Call call("UnRegisterTypeLib", &id, major, minor, locale, static_cast<DWORD>(system));
    if (call.Faulted())
        return call.Return(TYPE_E_REGISTRYACCESS);
    if (locale != LOCALE_NEUTRAL || system != SYS_WIN64)
        return call.Return(TYPE_E_REGISTRYACCESS);
    call.Changing();
    const WideString key = KeyOf(id, major, minor);
    Machine& machine = Machine::Current();
    if (!machine.DeleteKey(key))
        return call.Return(TYPE_E_REGISTRYACCESS);
    // The key of all versions goes with the last one.
    const WideString versions = key.substr(0, key.rfind(u'\\'));
    if (const auto left = machine.FindKey(versions); left && left->subkeys.empty())
        machine.DeleteKey(versions);
    return call.Return(S_OK);
}

}  // namespace qxsim
