// SPDX-License-Identifier: MIT
// To be included before the headers whose identifiers this file shall define.
#define INITGUID
#include <guiddef.h>
