// SPDX-License-Identifier: MIT
// What the compiler's stack protector and Windows' loader look for in a library or program, and mingw-w64's
// run-time library does not have.
#include <windows.h>

#include <cstddef>
#include <cstdlib>

// In place of the C++ library's, which writes the exception's name where nobody reads it, and brings 47 KB
// for that.
namespace __gnu_cxx {
[[noreturn]] void __verbose_terminate_handler() {
    std::abort();
}
}  // namespace __gnu_cxx

namespace {

constexpr UINT_PTR kUnseeded = 0x00002B992DDFA232;  // what Windows takes for a cookie that is to be seeded

// The beginning of IMAGE_LOAD_CONFIG_DIRECTORY64, as long as needed. The SDK has the cookie's address as a
// number, which the compiler could not compute.
struct LoadConfig {
    DWORD size = 0;
    BYTE unused1[74]{};
    WORD dependent_load_flags = 0;
    BYTE unused2[8]{};
    UINT_PTR* security_cookie = nullptr;
    BYTE unused3[16]{};
};
static_assert(offsetof(LoadConfig, dependent_load_flags) ==
              offsetof(IMAGE_LOAD_CONFIG_DIRECTORY64, Reserved1));
static_assert(offsetof(LoadConfig, security_cookie) ==
              offsetof(IMAGE_LOAD_CONFIG_DIRECTORY64, SecurityCookie));
static_assert(sizeof(LoadConfig) == 0x70);

}  // namespace

extern "C" {

UINT_PTR __stack_chk_guard = kUnseeded;

// A function's frame has been written over: nothing in this process can be trusted, its handlers least of
// all. Windows 8 and later end it at once; before, the interrupt is an access violation.
[[noreturn]] void __stack_chk_fail() {
    constexpr unsigned kStackCookieCheckFailed = 2;
    __asm__ volatile("int $0x29" : : "c"(kStackCookieCheckFailed));
    __builtin_unreachable();
}

// The libraries that are loaded with this one are taken from the system directory only: a set-up program that
// installs in its own process may lie in a folder of downloads, where anybody's MSPORTS.DLL may lie, too.
// Windows before 10, version 1607, looks there all the same.
extern const LoadConfig _load_config_used;
const LoadConfig _load_config_used{
    .size = sizeof(LoadConfig),
    .dependent_load_flags = LOAD_LIBRARY_SEARCH_SYSTEM32,
    .security_cookie = &__stack_chk_guard,
};

}  // extern "C"

namespace {

// Before any other constructor, and so before any function that compares the cookie.
__attribute__((constructor(101))) void SeedCookie() {
    if (__stack_chk_guard != kUnseeded)
        return;  // the loader has done it
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    LARGE_INTEGER count{};
    QueryPerformanceCounter(&count);
    const UINT_PTR seed = (UINT_PTR{now.dwHighDateTime} << 32 | now.dwLowDateTime) ^
                          UINT_PTR { GetCurrentThreadId() } << 24 ^
                          static_cast<UINT_PTR>(count.QuadPart) << 16 ^ reinterpret_cast<UINT_PTR>(&now);
    // The last two bytes are zero: a text ends there, and cannot run on to the return address.
    __stack_chk_guard = (seed * 0x9E3779B97F4A7C15) >> 16;
}

}  // namespace
