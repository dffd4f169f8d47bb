// SPDX-License-Identifier: MIT
// Owners of platform handles: what is opened is closed on every path, with the last error kept.
#pragma once

#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#include <utility>

namespace qx {

// Keeps the calling thread's last error over the closing of handles, so that the caller of a failed operation
// still sees why it failed.
class LastErrorKeeper {
  public:
    LastErrorKeeper() noexcept : error_(GetLastError()) {}
    ~LastErrorKeeper() { SetLastError(error_); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

  private:
    DWORD error_;
};

// Owns one handle of the kind that `Traits` describes:
//   using Handle = ...;                      the platform's type
//   static Handle Invalid() noexcept;        what a failed opening yields and an empty owner holds
//   static void Close(Handle) noexcept;      the platform's closing call; its result is of no use to an owner
//
//   const RegistryKey key = OpenKey(HKEY_LOCAL_MACHINE, kPortsKey, KEY_READ);
//   if (!key)
//       return false;                        // nothing was opened, nothing is closed
//   Read(key.Get());                         // closed at the end of the block, the last error kept
template <typename Traits>
class Owned {
  public:
    using Handle = typename Traits::Handle;

    Owned() noexcept = default;
    explicit Owned(Handle handle) noexcept : handle_(handle) {}
    Owned(Owned&& other) noexcept : handle_(std::exchange(other.handle_, Traits::Invalid())) {}
    Owned& operator=(Owned&& other) noexcept {
        if (this != &other)
            Reset(std::exchange(other.handle_, Traits::Invalid()));
        return *this;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { Reset(); }

    [[nodiscard]] Handle Get() const noexcept { return handle_; }
    [[nodiscard]] explicit operator bool() const noexcept { return handle_ != Traits::Invalid(); }

    // Closes what is held and takes over `handle`.
    void Reset(Handle handle = Traits::Invalid()) noexcept {
        if (handle_ != Traits::Invalid()) {
            const LastErrorKeeper keeper;
            Traits::Close(handle_);
        }
        handle_ = handle;
    }

    // Gives the handle to the caller, who closes it.
    [[nodiscard]] Handle Release() noexcept { return std::exchange(handle_, Traits::Invalid()); }

    // Where an opening call stores its handle; what was held is closed first.
    [[nodiscard]] Handle* Put() noexcept {
        Reset();
        return &handle_;
    }

  private:
    Handle handle_ = Traits::Invalid();
};

// A registry key from RegOpenKeyExW or RegCreateKeyExW, which leave it null on failure.
struct RegistryKeyTraits {
    using Handle = HKEY;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle key) noexcept { RegCloseKey(key); }
};
using RegistryKey = Owned<RegistryKeyTraits>;

// A device's hardware key from SetupDiOpenDevRegKey: a registry key whose failure value is
// INVALID_HANDLE_VALUE.
struct HardwareKeyTraits {
    using Handle = HKEY;
    static Handle Invalid() noexcept { return static_cast<HKEY>(INVALID_HANDLE_VALUE); }
    static void Close(Handle key) noexcept { RegCloseKey(key); }
};
using HardwareKey = Owned<HardwareKeyTraits>;

// A device-information set.
struct DeviceSetTraits {
    using Handle = HDEVINFO;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle device_set) noexcept { SetupDiDestroyDeviceInfoList(device_set); }
};
using DeviceSet = Owned<DeviceSetTraits>;

// A file or device from CreateFileW.
struct FileTraits {
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { CloseHandle(file); }
};
using File = Owned<FileTraits>;

// A mutex, process or thread: kernel objects whose creation yields null on failure.
struct KernelObjectTraits {
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle object) noexcept { CloseHandle(object); }
};
using KernelObject = Owned<KernelObjectTraits>;

// Memory from LocalAlloc.
struct LocalMemoryTraits {
    using Handle = HLOCAL;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle memory) noexcept { LocalFree(memory); }
};
using LocalMemory = Owned<LocalMemoryTraits>;

}  // namespace qx
