// SPDX-License-Identifier: MIT
/* The port's numbers as a nanopb message, in the form that nanopb's generator writes. Every field is
   required, so that zeros travel too, and fixed in size, which is nanopb's quickest form and the nearest to
   the settings stream. */
#ifndef QX_BENCH_PORT_MESSAGE_H
#define QX_BENCH_PORT_MESSAGE_H

#include "bench/port_fields.h"

#include <pb.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct PortMessage {
#define QX_MEMBER(name, number) uint32_t name;
    QX_PORT_FIELDS(QX_MEMBER)
#undef QX_MEMBER
} PortMessage;

/* nanopb's own field list: its macro hands two arguments through, which the common list does not take. */
#define PortMessage_FIELDLIST(X, a)                              \
    X(a, STATIC, REQUIRED, FIXED32, PortType, 1)                 \
    X(a, STATIC, REQUIRED, FIXED32, MaxBaudRate, 2)              \
    X(a, STATIC, REQUIRED, FIXED32, MinBaudRate, 3)              \
    X(a, STATIC, REQUIRED, FIXED32, DuplexMode, 4)               \
    X(a, STATIC, REQUIRED, FIXED32, Baudrate, 5)                 \
    X(a, STATIC, REQUIRED, FIXED32, Databits, 6)                 \
    X(a, STATIC, REQUIRED, FIXED32, Parity, 7)                   \
    X(a, STATIC, REQUIRED, FIXED32, Stopbits, 8)                 \
    X(a, STATIC, REQUIRED, FIXED32, FlowControl, 9)              \
    X(a, STATIC, REQUIRED, FIXED32, LogLevel, 10)                \
    X(a, STATIC, REQUIRED, FIXED32, ReceiveTriggerLevel, 11)     \
    X(a, STATIC, REQUIRED, FIXED32, TransmitTriggerLevel, 12)    \
    X(a, STATIC, REQUIRED, FIXED32, FlowControlTriggerLevel, 13) \
    X(a, STATIC, REQUIRED, FIXED32, SupportedBaudRates, 14)      \
    X(a, STATIC, REQUIRED, FIXED32, SupportedParities, 15)       \
    X(a, STATIC, REQUIRED, FIXED32, SupportedDataBits, 16)       \
    X(a, STATIC, REQUIRED, FIXED32, SupportedStopBits, 17)       \
    X(a, STATIC, REQUIRED, FIXED32, SupportedFlowControls, 18)   \
    X(a, STATIC, REQUIRED, FIXED32, SupportedDuplexModes, 19)    \
    X(a, STATIC, REQUIRED, FIXED32, OverridBaudRates, 20)        \
    X(a, STATIC, REQUIRED, FIXED32, OverrideDataBits, 21)        \
    X(a, STATIC, REQUIRED, FIXED32, OverrideParity, 22)          \
    X(a, STATIC, REQUIRED, FIXED32, OverrideStopbits, 23)        \
    X(a, STATIC, REQUIRED, FIXED32, OverrideFlowControl, 24)     \
    X(a, STATIC, REQUIRED, FIXED32, EmulateCTSTrue, 25)          \
    X(a, STATIC, REQUIRED, FIXED32, EmulateDSRTrue, 26)          \
    X(a, STATIC, REQUIRED, FIXED32, _422485CtsTrue, 27)          \
    X(a, STATIC, REQUIRED, FIXED32, CtsSupported, 28)            \
    X(a, STATIC, REQUIRED, FIXED32, RtsSupported, 29)            \
    X(a, STATIC, REQUIRED, FIXED32, DtrSupported, 30)            \
    X(a, STATIC, REQUIRED, FIXED32, DsrSupported, 31)            \
    X(a, STATIC, REQUIRED, FIXED32, DcdSupported, 32)            \
    X(a, STATIC, REQUIRED, FIXED32, RiSupported, 33)
#define PortMessage_CALLBACK NULL
#define PortMessage_DEFAULT NULL

extern const pb_msgdesc_t PortMessage_msg;

#ifdef __cplusplus
}
#endif

#endif
