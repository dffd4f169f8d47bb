// Loading and registering of type libraries.
#pragma once
#include <oaidl.h>

typedef enum tagREGKIND { REGKIND_DEFAULT = 0, REGKIND_REGISTER, REGKIND_NONE } REGKIND;

extern "C" {
HRESULT WINAPI LoadTypeLib(const OLECHAR* szFile, ITypeLib** pptlib);
HRESULT WINAPI LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib);
HRESULT WINAPI RegisterTypeLib(ITypeLib* ptlib, OLECHAR* szFullPath, OLECHAR* szHelpDir);
HRESULT WINAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind);
}
