// SPDX-License-Identifier: MIT
// The platform calls that the simulated computer answers.
//
// A service declares its calls with QX_PLATFORM_CALL(RegOpenKeyExW); in namespace qxsim and defines them
// there. The type is that of the SDK's own declaration, so a wrong signature does not compile. On Linux the
// function carries the platform's name as its symbol and so is what the library's call reaches; on Windows it
// keeps a name of its own, and the host program redirects the library's import to it.
#pragma once

#include <windows.h>

#ifdef _WIN32
#define QX_PLATFORM_CALL(name) decltype(::name) name
#else
// NOLINTNEXTLINE(bugprone-macro-parentheses): the argument is a name to declare
#define QX_PLATFORM_CALL(name) decltype(::name) name __asm__(#name)
#endif
