// Names of registry keys and values.
#pragma once
#include <windef.h>

#define REGSTR_PATH_SYSTEMENUM TEXT("System\\CurrentControlSet\\Enum")
#define REGSTR_KEY_DEVICEPARAMETERS TEXT("Device Parameters")
#define REGSTR_KEY_DEVICE_PROPERTIES TEXT("Properties")
#define REGSTR_VAL_FRIENDLYNAME TEXT("FriendlyName")
