// SPDX-License-Identifier: MIT
#include "bench/port_message.h"

PB_BIND(PortMessage, PortMessage, AUTO)
