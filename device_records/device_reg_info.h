// SPDX-License-Identifier: MIT
// The registry record of one device: its registry properties and the values of its hardware key.
#pragma once

#include "base/handles.h"
#include "base/text.h"

#include <setupapi.h>

namespace qx {

// A text of a device's hardware key. COM names always fit.
using DeviceString = FixedText<150>;

// Reads and writes what the system needs of one device's registry data: class name, driver key and friendly
// name among its properties, and text values of its hardware key ("Device Parameters").
//
// The record holds a copy of the device's element and borrows the device-information set: whoever makes a
// record keeps the set alive for as long as the record, or the object it is part of, is used. It opens and
// closes what it needs within each call, so it can be copied and dropped freely.
//
// Every operation returns true on success. A failed read leaves the output as it was, and a failed write
// leaves the property or value as it was; nothing is shown to the user. No operation throws: running out of
// memory is a failed operation.
class CQXDeviceRegInfo {
  public:
    CQXDeviceRegInfo(HDEVINFO device_set, const SP_DEVINFO_DATA& element) noexcept
        : element_(element), device_set_(device_set) {}
    virtual ~CQXDeviceRegInfo() = default;
    CQXDeviceRegInfo(const CQXDeviceRegInfo&) = default;
    CQXDeviceRegInfo& operator=(const CQXDeviceRegInfo&) = default;

    // A registry property (SPDRP_ code) that holds text: all of a text, unexpanded, or the first string of a
    // list. Properties of any other registry type, numbers and raw bytes among them, are not text and fail.
    [[nodiscard]] bool GetPropertyString(DWORD property, Text& out) const noexcept;
    // The name of the device's setup class, "Ports" for a serial port.
    [[nodiscard]] bool GetClassString(Text& out) const noexcept;
    // Class GUID, backslash and four-digit instance number.
    [[nodiscard]] bool GetDriverKey(Text& out) const noexcept;
    // What the device manager shows for the device.
    [[nodiscard]] bool GetFriendlyName(Text& out) const noexcept;
    [[nodiscard]] bool SetFriendlyName(const Text& name) const noexcept;
    // Reads the friendly name and writes it back with every occurrence of `old` replaced. Needs no more
    // memory than the two calls of the platform do.
    [[nodiscard]] bool ReplaceInFriendlyName(TextView old, TextView replacement) const noexcept;

    // A value of the device's hardware key, whatever its registry type: its bytes, at most 300, are taken as
    // UTF-16 text up to the first NUL. Longer data fail.
    [[nodiscard]] bool GetDeviceString(const WCHAR* value_name, DeviceString& out) const noexcept;
    [[nodiscard]] bool GetDeviceString(const WCHAR* value_name, Text& out) const noexcept;
    // Stores `text` as REG_SZ, with its NUL, in the device's hardware key.
    [[nodiscard]] bool SetDeviceString(const WCHAR* value_name, const Text& text) const noexcept;

    // The pair that names the device to the platform, for operations beside the registry. The platform takes
    // the element by non-const pointer even where it only reads it.
    [[nodiscard]] HDEVINFO Devices() const noexcept { return device_set_; }
    [[nodiscard]] SP_DEVINFO_DATA& Element() const noexcept { return element_; }

  private:
    // The text of a property, in memory that the platform filled.
    struct PropertyText {
        LocalMemory memory;
        TextView text;
    };
    [[nodiscard]] bool ReadProperty(DWORD property, PropertyText& out) const noexcept;
    // Writes `name` with every occurrence of `old` replaced.
    [[nodiscard]] bool WriteFriendlyName(TextView name, TextView old, TextView replacement) const noexcept;

    mutable SP_DEVINFO_DATA element_;
    HDEVINFO device_set_;
};

}  // namespace qx
