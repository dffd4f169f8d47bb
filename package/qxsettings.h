// SPDX-License-Identifier: MIT
// The contract between a port's driver and the library, for drivers in C. Its parts follow
// settings-stream.md, which says what the names mean. Nothing else is included, so it compiles in the kernel
// and in programs.
#ifndef QXSETTINGS_H
#define QXSETTINGS_H

// --- the control interface ---

// The class of the interface as the initialiser of a GUID, and as text: L"" QX_CONTROL_CLASS_TEXT is a wide
// one.
// clang-format off
#define QX_CONTROL_CLASS {0x6c1b7d42, 0x3e5a, 0x4f0b, {0x9a, 0x61, 0x2d, 0x8e, 0x57, 0xc4, 0xb9, 0x13}}
// clang-format on
#define QX_CONTROL_CLASS_TEXT "{6C1B7D42-3E5A-4F0B-9A61-2D8E57C4B913}"
// The port's driver key without its backslash follows.
#define QX_REFERENCE_PREFIX "qxgendrv_"

// --- the requests ---

#define QX_GET_SETTINGS_SIZE 0x8001E000u
#define QX_GET_SETTINGS 0x8001E004u
#define QX_SET_SETTINGS 0x8001E008u
#define QX_GET_DEFAULT_SETTINGS_SIZE 0x8001E010u
#define QX_GET_DEFAULT_SETTINGS 0x8001E014u

// --- the header of a request ---

#define QX_HEADER_BYTES 8u
#define QX_PORT_SET 0u
#define QX_BUS_SET 1u
#define QX_HEADER_ONES 0xFFFFFFFFu  // the second word

// --- the port set: places of its numbers ---

enum {
    QX_PORT_PortType,
    QX_PORT_MaxBaudRate,
    QX_PORT_MinBaudRate,
    QX_PORT_DuplexMode,
    QX_PORT_Baudrate,
    QX_PORT_Databits,
    QX_PORT_Parity,
    QX_PORT_Stopbits,
    QX_PORT_FlowControl,
    QX_PORT_LogLevel,
    QX_PORT_ReceiveTriggerLevel,
    QX_PORT_TransmitTriggerLevel,
    QX_PORT_FlowControlTriggerLevel,
    QX_PORT_SupportedBaudRates,
    QX_PORT_SupportedParities,
    QX_PORT_SupportedDataBits,
    QX_PORT_SupportedStopBits,
    QX_PORT_SupportedFlowControls,
    QX_PORT_SupportedDuplexModes,
    QX_PORT_OverridBaudRates,
    QX_PORT_OverrideDataBits,
    QX_PORT_OverrideParity,
    QX_PORT_OverrideStopbits,
    QX_PORT_OverrideFlowControl,
    QX_PORT_EmulateCTSTrue,
    QX_PORT_EmulateDSRTrue,
    QX_PORT_422485CtsTrue,
    QX_PORT_CtsSupported,
    QX_PORT_RtsSupported,
    QX_PORT_DtrSupported,
    QX_PORT_DsrSupported,
    QX_PORT_DcdSupported,
    QX_PORT_RiSupported,
    QX_PORT_NUMBERS
};

#define QX_PORT_STREAM_BYTES (4u * QX_PORT_NUMBERS)

// --- the bus set: places of its numbers, and of its one text ---

enum {
    QX_BUS_USB_TxTransferSize,
    QX_BUS_USB_RxTransferSize,
    QX_BUS_USB_LatencyTimer,
    QX_BUS_RxFifoSize,
    QX_BUS_TxFifoSize,
    QX_BUS_MaximumBaudRate,
    QX_BUS_NUMBERS_BEFORE_TEXT,
    // InterfaceType stands here.
    QX_BUS_PolicyType = QX_BUS_NUMBERS_BEFORE_TEXT,
    QX_BUS_MaximumLatency,
    QX_BUS_MaximumLatencySliderPos,
    QX_BUS_MaximumLatencyFineTuning,
    QX_BUS_LowCpuUsageFineTuning,
    QX_BUS_PortType,
    QX_BUS_SoftTxLimit,
    QX_BUS_NUMBERS
};

// With a text of `length` characters: its length in front of it, a zero byte behind it.
#define QX_BUS_STREAM_BYTES(length) (4u * QX_BUS_NUMBERS + 4 + (length) + 1)

#endif
