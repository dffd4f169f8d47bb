// SPDX-License-Identifier: MIT
// The maker's product data that installation goes by: DATA TO REPLACE when the product range changes.
//
// The ids are made up: a maker's vendor id with product ids that stand for nothing that is sold. Everything
// else in install/ works with whatever stands here.
#pragma once

#include "base/text.h"

#include <array>

namespace qx {

// Caption of the messages that installation shows.
inline constexpr const WCHAR* kMakerCaption = TEXT("Tessel");

// A product whose ports carry one COM number on every machine, because the software it is sold with looks for
// it there.
struct FixedComNumber {
    const WCHAR* port_hardware_id;  // upper case; compared whole, see PortHardwareId
    DWORD com_number;
};

// Searched in this order. Two rows may share a number: the port installed last has it then.
inline constexpr std::array<FixedComNumber, 8> FixedComNumberTable{{
    {TEXT("USB\\VID_0F7A&PID_2101"), 2},
    {TEXT("USB\\VID_0F7A&PID_2202&MI_00"), 2},
    {TEXT("USB\\VID_0F7A&PID_2202&MI_01"), 4},
    {TEXT("USB\\VID_0F7A&PID_2103"), 89},
    {TEXT("USB\\VID_0F7A&PID_2204&MI_00"), 4},
    {TEXT("USB\\VID_0F7A&PID_2204&MI_01"), 5},
    {TEXT("USB\\VID_0F7A&PID_2205&MI_00"), 6},
    {TEXT("USB\\VID_0F7A&PID_2205&MI_01"), 7},
}};

// Products built of several USB devices behind one hub: their ports are numbered through all of those
// devices, so the adapter is the node two levels above the port's own parent. Upper case; looked for anywhere
// in an instance id.
inline constexpr std::array<const WCHAR*, 31> MultiDeviceProductIds{
    TEXT("USB\\VID_0F7A&PID_3101"), TEXT("USB\\VID_0F7A&PID_3102"), TEXT("USB\\VID_0F7A&PID_3103"),
    TEXT("USB\\VID_0F7A&PID_3104"), TEXT("USB\\VID_0F7A&PID_3108"), TEXT("USB\\VID_0F7A&PID_3111"),
    TEXT("USB\\VID_0F7A&PID_3112"), TEXT("USB\\VID_0F7A&PID_3114"), TEXT("USB\\VID_0F7A&PID_3118"),
    TEXT("USB\\VID_0F7A&PID_311C"), TEXT("USB\\VID_0F7A&PID_3121"), TEXT("USB\\VID_0F7A&PID_3122"),
    TEXT("USB\\VID_0F7A&PID_3124"), TEXT("USB\\VID_0F7A&PID_3128"), TEXT("USB\\VID_0F7A&PID_312C"),
    TEXT("USB\\VID_0F7A&PID_3204"), TEXT("USB\\VID_0F7A&PID_3208"), TEXT("USB\\VID_0F7A&PID_3210"),
    TEXT("USB\\VID_0F7A&PID_3214"), TEXT("USB\\VID_0F7A&PID_3218"), TEXT("USB\\VID_0F7A&PID_3220"),
    TEXT("USB\\VID_0F7A&PID_3304"), TEXT("USB\\VID_0F7A&PID_3308"), TEXT("USB\\VID_0F7A&PID_3310"),
    TEXT("USB\\VID_0F7A&PID_3314"), TEXT("USB\\VID_0F7A&PID_3318"), TEXT("USB\\VID_0F7A&PID_3320"),
    TEXT("USB\\VID_0F7A&PID_3410"), TEXT("USB\\VID_0F7A&PID_3420"), TEXT("USB\\VID_0F7A&PID_3440"),
    TEXT("USB\\VID_0F7A&PID_3480"),
};

// Named mutexes. A name without a prefix belongs to the session of the process that creates it, so they
// exclude what runs in one session: the device installer's own processes. Every release of the library must
// use the same two names, or releases installed side by side would not keep out of each other's way.
inline constexpr const WCHAR* kPortInstallationMutex = TEXT("{6B0C7D52-9E1F-4A83-B5D4-27F1C0A9E6B8}");
inline constexpr const WCHAR* kGpioRemovalMutex = TEXT("{D1F4A3E7-58B2-4C96-8A0D-6E93B7C2F514}");

}  // namespace qx
