// SPDX-License-Identifier: MIT
// Names of registry keys and values.
#pragma once
#include <windef.h>
