// SPDX-License-Identifier: MIT
// Device installation: device-information sets, class installers, interfaces.
#pragma once
#include <prsht.h>

typedef PVOID HDEVINFO;
typedef PVOID HSPFILEQ;
typedef UINT DI_FUNCTION;

#define DIF_SELECTDEVICE 0x00000001
#define DIF_INSTALLDEVICE 0x00000002
#define DIF_REMOVE 0x00000005
#define DIF_DESTROYPRIVATEDATA 0x0000000C
#define DIF_PROPERTYCHANGE 0x00000012
#define DIF_INSTALLDEVICEFILES 0x00000015
#define DIF_SELECTBESTCOMPATDRV 0x00000017
#define DIF_ALLOW_INSTALL 0x00000018
#define DIF_NEWDEVICEWIZARD_FINISHINSTALL 0x0000001E
#define DIF_INSTALLINTERFACES 0x00000020
#define DIF_REGISTER_COINSTALLERS 0x00000022
#define DIF_UPDATEDRIVER_UI 0x00000029

#define DI_PROPERTIES_CHANGE 0x00004000
#define DI_NEEDREBOOT 0x00000100
#define DI_CLASSINSTALLPARAMS 0x00100000
#define DI_FLAGSEX_PROPCHANGE_PENDING 0x00000400

#define DICS_ENABLE 0x00000001
#define DICS_DISABLE 0x00000002
#define DICS_PROPCHANGE 0x00000003
#define DICS_FLAG_GLOBAL 0x00000001
#define DICS_FLAG_CONFIGSPECIFIC 0x00000002
#define DIREG_DEV 0x00000001
#define DIREG_DRV 0x00000002

#define DIGCF_PRESENT 0x00000002
#define DIGCF_ALLCLASSES 0x00000004
#define DIGCF_DEVICEINTERFACE 0x00000010

#define SPDRP_DEVICEDESC 0x00000000
#define SPDRP_HARDWAREID 0x00000001
#define SPDRP_COMPATIBLEIDS 0x00000002
#define SPDRP_SERVICE 0x00000004
#define SPDRP_CLASS 0x00000007
#define SPDRP_CLASSGUID 0x00000008
#define SPDRP_DRIVER 0x00000009
#define SPDRP_CONFIGFLAGS 0x0000000A
#define SPDRP_MFG 0x0000000B
#define SPDRP_FRIENDLYNAME 0x0000000C
#define SPDRP_LOCATION_INFORMATION 0x0000000D
#define SPDRP_PHYSICAL_DEVICE_OBJECT_NAME 0x0000000E
#define SPDRP_ENUMERATOR_NAME 0x00000016

#define SPINT_ACTIVE 0x00000001

#define SPPSR_SELECT_DEVICE_RESOURCES 1
#define SPPSR_ENUM_BASIC_DEVICE_PROPERTIES 2
#define SPPSR_ENUM_ADV_DEVICE_PROPERTIES 3

#define APPLICATION_ERROR_MASK 0x20000000
#define ERROR_SEVERITY_ERROR 0xC0000000
#define ERROR_NO_SUCH_DEVINST (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x20B)
#define ERROR_CLASS_MISMATCH (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x201)
#define ERROR_INVALID_REG_PROPERTY (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x209)
#define ERROR_DI_DO_DEFAULT (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x20E)
#define ERROR_KEY_DOES_NOT_EXIST (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x204)
#define ERROR_DEVINFO_NOT_REGISTERED (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x208)
#define ERROR_NO_CLASSINSTALL_PARAMS (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x215)
#define ERROR_NO_SUCH_DEVICE_INTERFACE (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x225)
#define ERROR_DI_POSTPROCESSING_REQUIRED (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x226)
#define ERROR_DI_DONT_INSTALL (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR | 0x22B)

typedef struct _SP_DEVINFO_DATA {
    DWORD cbSize;
    GUID ClassGuid;
    DWORD DevInst;
    ULONG_PTR Reserved;
} SP_DEVINFO_DATA, *PSP_DEVINFO_DATA;

typedef struct _SP_DEVICE_INTERFACE_DATA {
    DWORD cbSize;
    GUID InterfaceClassGuid;
    DWORD Flags;
    ULONG_PTR Reserved;
} SP_DEVICE_INTERFACE_DATA, *PSP_DEVICE_INTERFACE_DATA;

typedef struct _SP_DEVICE_INTERFACE_DETAIL_DATA_W {
    DWORD cbSize;
    WCHAR DevicePath[1];
} SP_DEVICE_INTERFACE_DETAIL_DATA_W, *PSP_DEVICE_INTERFACE_DETAIL_DATA_W;

typedef UINT(CALLBACK* PSP_FILE_CALLBACK_W)(PVOID Context, UINT Notification, UINT_PTR Param1,
                                            UINT_PTR Param2);

typedef struct _SP_DEVINSTALL_PARAMS_W {
    DWORD cbSize;
    DWORD Flags;
    DWORD FlagsEx;
    HWND hwndParent;
    PSP_FILE_CALLBACK_W InstallMsgHandler;
    PVOID InstallMsgHandlerContext;
    HSPFILEQ FileQueue;
    ULONG_PTR ClassInstallReserved;
    DWORD Reserved;
    WCHAR DriverPath[MAX_PATH];
} SP_DEVINSTALL_PARAMS_W, *PSP_DEVINSTALL_PARAMS_W;

typedef struct _SP_CLASSINSTALL_HEADER {
    DWORD cbSize;
    DI_FUNCTION InstallFunction;
} SP_CLASSINSTALL_HEADER, *PSP_CLASSINSTALL_HEADER;

typedef struct _SP_PROPCHANGE_PARAMS {
    SP_CLASSINSTALL_HEADER ClassInstallHeader;
    DWORD StateChange;
    DWORD Scope;
    DWORD HwProfile;
} SP_PROPCHANGE_PARAMS, *PSP_PROPCHANGE_PARAMS;

typedef struct _COINSTALLER_CONTEXT_DATA {
    BOOL PostProcessing;
    DWORD InstallResult;
    PVOID PrivateData;
} COINSTALLER_CONTEXT_DATA, *PCOINSTALLER_CONTEXT_DATA;

typedef struct _SP_PROPSHEETPAGE_REQUEST {
    DWORD cbSize;
    DWORD PageRequested;
    HDEVINFO DeviceInfoSet;
    PSP_DEVINFO_DATA DeviceInfoData;
} SP_PROPSHEETPAGE_REQUEST, *PSP_PROPSHEETPAGE_REQUEST;

extern "C" {
HDEVINFO WINAPI SetupDiGetClassDevsW(const GUID* ClassGuid, PCWSTR Enumerator, HWND hwndParent, DWORD Flags);
HDEVINFO WINAPI SetupDiCreateDeviceInfoList(const GUID* ClassGuid, HWND hwndParent);
BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO DeviceInfoSet);
BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO DeviceInfoSet, DWORD MemberIndex, PSP_DEVINFO_DATA DeviceInfoData);
BOOL WINAPI SetupDiOpenDeviceInfoW(HDEVINFO DeviceInfoSet, PCWSTR DeviceInstanceId, HWND hwndParent,
                                   DWORD OpenFlags, PSP_DEVINFO_DATA DeviceInfoData);
BOOL WINAPI SetupDiEnumDeviceInterfaces(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                        const GUID* InterfaceClassGuid, DWORD MemberIndex,
                                        PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData);
BOOL WINAPI SetupDiGetDeviceInterfaceDetailW(HDEVINFO DeviceInfoSet,
                                             PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData,
                                             PSP_DEVICE_INTERFACE_DETAIL_DATA_W DeviceInterfaceDetailData,
                                             DWORD DeviceInterfaceDetailDataSize, PDWORD RequiredSize,
                                             PSP_DEVINFO_DATA DeviceInfoData);
HKEY WINAPI SetupDiOpenDevRegKey(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Scope,
                                 DWORD HwProfile, DWORD KeyType, REGSAM samDesired);
BOOL WINAPI SetupDiGetDeviceRegistryPropertyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                              DWORD Property, PDWORD PropertyRegDataType,
                                              PBYTE PropertyBuffer, DWORD PropertyBufferSize,
                                              PDWORD RequiredSize);
BOOL WINAPI SetupDiSetDeviceRegistryPropertyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                              DWORD Property, const BYTE* PropertyBuffer,
                                              DWORD PropertyBufferSize);
BOOL WINAPI SetupDiGetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                           PSP_DEVINSTALL_PARAMS_W DeviceInstallParams);
BOOL WINAPI SetupDiSetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                           PSP_DEVINSTALL_PARAMS_W DeviceInstallParams);
BOOL WINAPI SetupDiSetClassInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                          PSP_CLASSINSTALL_HEADER ClassInstallParams,
                                          DWORD ClassInstallParamsSize);
BOOL WINAPI SetupDiRemoveDevice(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData);
BOOL WINAPI SetupDiCallClassInstaller(DI_FUNCTION InstallFunction, HDEVINFO DeviceInfoSet,
                                      PSP_DEVINFO_DATA DeviceInfoData);
}
