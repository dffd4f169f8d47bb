// Control codes of device requests.
#pragma once
#include <windef.h>

#define CTL_CODE(device, function, method, access) \
    (((device) << 16) | ((access) << 14) | ((function) << 2) | (method))
#define METHOD_BUFFERED 0
#define FILE_READ_ACCESS 0x0001
#define FILE_WRITE_ACCESS 0x0002
#define FILE_DEVICE_SERIAL_PORT 0x0000001b
