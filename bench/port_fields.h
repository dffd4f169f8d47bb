// SPDX-License-Identifier: MIT
/* The 33 numbers of a port's parameter set in stream order, once for every contestant: name and field number.
 */
#ifndef QX_BENCH_PORT_FIELDS_H
#define QX_BENCH_PORT_FIELDS_H

#define QX_PORT_FIELDS(X)          \
    X(PortType, 1)                 \
    X(MaxBaudRate, 2)              \
    X(MinBaudRate, 3)              \
    X(DuplexMode, 4)               \
    X(Baudrate, 5)                 \
    X(Databits, 6)                 \
    X(Parity, 7)                   \
    X(Stopbits, 8)                 \
    X(FlowControl, 9)              \
    X(LogLevel, 10)                \
    X(ReceiveTriggerLevel, 11)     \
    X(TransmitTriggerLevel, 12)    \
    X(FlowControlTriggerLevel, 13) \
    X(SupportedBaudRates, 14)      \
    X(SupportedParities, 15)       \
    X(SupportedDataBits, 16)       \
    X(SupportedStopBits, 17)       \
    X(SupportedFlowControls, 18)   \
    X(SupportedDuplexModes, 19)    \
    X(OverridBaudRates, 20)        \
    X(OverrideDataBits, 21)        \
    X(OverrideParity, 22)          \
    X(OverrideStopbits, 23)        \
    X(OverrideFlowControl, 24)     \
    X(EmulateCTSTrue, 25)          \
    X(EmulateDSRTrue, 26)          \
    X(_422485CtsTrue, 27)          \
    X(CtsSupported, 28)            \
    X(RtsSupported, 29)            \
    X(DtrSupported, 30)            \
    X(DsrSupported, 31)            \
    X(DcdSupported, 32)            \
    X(RiSupported, 33)

#endif
