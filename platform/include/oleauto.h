// SPDX-License-Identifier: MIT
// Loading and registering of type libraries.
#pragma once
#include <oaidl.h>

extern "C" {
HRESULT WINAPI LoadTypeLib(const OLECHAR* szFile, ITypeLib** pptlib);
HRESULT WINAPI RegisterTypeLib(ITypeLib* ptlib, OLECHAR* szFullPath, OLECHAR* szHelpDir);
HRESULT WINAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind);
}
