// SPDX-License-Identifier: MIT
// The page provider that the device manager calls.
#pragma once

#include <windows.h>

#include <prsht.h>

// Called when the properties of one of the adapter's ports are opened; `request` is the platform's
// SP_PROPSHEETPAGE_REQUEST. Adds the "Port Settings" page to the sheet for advanced device properties, if the
// port's driver answers. Returns TRUE without a page for other kinds of sheets, and FALSE when no page could
// be added; nothing is shown then.
extern "C" QX_EXPORT BOOL CALLBACK QxUPortPropPage(LPVOID request, LPFNADDPROPSHEETPAGE add_page,
                                                   LPARAM argument) noexcept;
