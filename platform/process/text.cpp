// SPDX-License-Identifier: MIT
// Letter case, single-byte text, and environment variables in texts.
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <iterator>

namespace qxsim {

QX_PLATFORM_CALL(CharUpperW);
QX_PLATFORM_CALL(CharLowerW);
QX_PLATFORM_CALL(MultiByteToWideChar);
QX_PLATFORM_CALL(ExpandEnvironmentStringsW);
QX_PLATFORM_CALL(FormatMessageW);

namespace {

// Code page 1252: what its bytes 0x80 to 0x9F mean; all others are the unit of the same number. Unassigned
// bytes keep theirs.
constexpr std::uint16_t kHighControls[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                             0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                             0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                             0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

WCHAR FromSingleByte(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= 0x80 && value < 0xA0 ? static_cast<WCHAR>(kHighControls[value - 0x80])
                                         : static_cast<WCHAR>(value);
}

// One unit in the place of a pointer is converted by itself.
template <typename Convert>
LPWSTR ConvertCase(LPWSTR text, const Convert& convert) {
    const auto value = reinterpret_cast<std::uintptr_t>(text);
    if (value <= 0xFFFF)
        return MakeHandle<LPWSTR>(convert(static_cast<WCHAR>(value)));
    for (WCHAR* unit = text; *unit != WCHAR{}; ++unit)
        *unit = convert(*unit);
    return text;
}

// Puts converted text out, or answers its size.
int Answer(Call& call, const WideString& text, WCHAR* buffer, int room) {
    if (room == 0)
        return call.Return(static_cast<int>(text.size()));
    if (buffer == nullptr || room < 0)
        return call.Fail(ERROR_INVALID_PARAMETER, 0);
    if (static_cast<std::size_t>(room) < text.size())
        return call.Fail(ERROR_INSUFFICIENT_BUFFER, 0);
    std::ranges::copy(text, buffer);
    return call.Return(static_cast<int>(text.size()));
}

bool KnownCodePage(UINT code_page) {
    return code_page == CP_ACP || code_page == CP_UTF8 || code_page == 1252;
}

}  // namespace

LPWSTR WINAPI CharUpperW(LPWSTR text) {
    const Call call = Call::Infallible("CharUpperW", static_cast<const WCHAR*>(text));
    return ConvertCase(text, [](WCHAR unit) { return UpperCase(unit); });
}

LPWSTR WINAPI CharLowerW(LPWSTR text) {
    const Call call = Call::Infallible("CharLowerW", static_cast<const WCHAR*>(text));
    return ConvertCase(text, [](WCHAR unit) { return LowerCase(unit); });
}

int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR text, int length, LPWSTR buffer,
                               int room) {
    Call call("MultiByteToWideChar", code_page, flags, length, room);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), 0);
    if (text == nullptr || length == 0 || length < -1 || !KnownCodePage(code_page))
        return call.Fail(ERROR_INVALID_PARAMETER, 0);
    if (flags != 0)
        return call.Fail(ERROR_INVALID_FLAGS, 0);
    const std::string_view source(
        text, length < 0 ? std::char_traits<char>::length(text) + 1 : static_cast<std::size_t>(length));
    WideString wide;
    if (code_page == CP_UTF8)
        wide = ToWide(source);
    else
        std::ranges::transform(source, std::back_inserter(wide), FromSingleByte);
    return Answer(call, wide, buffer, room);
}

DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR buffer, DWORD size) {
    Call call("ExpandEnvironmentStringsW", source, size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), DWORD{0});
    const WideString root = ToWide("C:\\Windows");
    WideString text(source);
    for (const char* name : {"%SystemRoot%", "%windir%"}) {
        const WideString wanted = ToWide(name);
        for (std::size_t at = 0; at + wanted.size() <= text.size(); ++at) {
            if (EqualsCaseless(WideView(text).substr(at, wanted.size()), wanted))
                text.replace(at, wanted.size(), root);
        }
    }
    if (buffer != nullptr && size >= text.size() + 1)
        CopyOut(buffer, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
    return call.Return(static_cast<DWORD>(text.size() + 1));
}

// The system's English words for the codes that people meet here.
DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID, DWORD code, DWORD, LPWSTR buffer, DWORD size, va_list*) {
    constexpr std::pair<DWORD, const char*> kWords[] = {
        {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified."},
        {ERROR_ACCESS_DENIED, "Access is denied."},
        {ERROR_INVALID_HANDLE, "The handle is invalid."},
        {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory resources are available to process this command."},
        {ERROR_INVALID_DATA, "The data is invalid."},
        {ERROR_GEN_FAILURE, "A device attached to the system is not functioning."},
        {ERROR_SHARING_VIOLATION,
         "The process cannot access the file because it is being used by another process."},
        {ERROR_INVALID_PARAMETER, "The parameter is incorrect."},
    };
    Call call("FormatMessageW", flags, code, size);
    const auto* const known = std::ranges::find(kWords, code, &std::pair<DWORD, const char*>::first);
    if (call.Faulted() || known == std::end(kWords))
        return call.Fail(call.FaultError(317), DWORD{0});  // ERROR_MR_MID_NOT_FOUND
    const WideString words = ToWide(std::string(known->second) + "\r\n");
    if (buffer == nullptr || size < words.size() + 1)
        return call.Fail(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
    CopyOut(buffer, words.c_str(), (words.size() + 1) * sizeof(WCHAR));
    return call.Return(static_cast<DWORD>(words.size()));
}

}  // namespace qxsim
