// SPDX-License-Identifier: MIT
// The platform's headers for builds that run over the simulated computer and desktop.
//
// Only what this system uses is declared, with the names, signatures, values and record sizes of the
// platform's SDK, which the Windows build uses in this folder's place: the two builds compile one source, and
// tests/platform_abi holds their records and constants against each other.
#pragma once
#include <winresrc.h>

#ifndef RC_INVOKED
#include <windef.h>
#include <winerror.h>
#include <winreg.h>
#include <winnls.h>
#include <winbase.h>
#include <wingdi.h>
#include <winuser.h>
#endif
