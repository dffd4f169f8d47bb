// SPDX-License-Identifier: MIT
// A kernel driver for tests: a COM port without hardware, with the control device by which its settings are
// read and written.
//
// It stands where an adapter's own port driver stands. For its device it publishes one interface of the
// control class whose reference string names the port, answers the five settings requests for the port set
// (selector 0) and the bus set (selector 1), and offers the port itself as an openable COM device. Settings
// live in memory: they outlast the program that wrote them, and end with the device.
//
// It is written for the I/O manager as documented and goes round four gaps that Wine 8 has; each is named
// where it is closed.
#include <ntddk.h>

#include <stddef.h>

#include "package/qxsettings.h"

// Documented, and missing from the mingw-w64 headers.
NTSYSAPI NTSTATUS NTAPI ZwCreateSymbolicLinkObject(HANDLE* link, ACCESS_MASK access,
                                                   OBJECT_ATTRIBUTES* attributes, UNICODE_STRING* target);
typedef struct {
    ULONG NameLength;
    WCHAR Name[];
} KeyName;  // what KeyNameInformation yields

// The compiler calls these by itself; a driver has no C library.
void* memcpy(void* to, const void* from, size_t count) {
    unsigned char* out = to;
    const unsigned char* in = from;
    while (count-- > 0)
        *out++ = *in++;
    return to;
}

void* memset(void* to, int value, size_t count) {
    unsigned char* out = to;
    while (count-- > 0)
        *out++ = (unsigned char)value;
    return to;
}

static const GUID kControlClass = QX_CONTROL_CLASS;

#define TEXT_CAPACITY 64u

typedef struct {
    ULONG port[QX_PORT_NUMBERS];
    ULONG bus[QX_BUS_NUMBERS];
    char interface_type[TEXT_CAPACITY];
    ULONG interface_type_length;
} Settings;

static const Settings kDefaults = {
    {0,    921600, 75, 0, 9600, 3, 0, 0, 0, 0, 75, 10, 85, 0x1007FFFF, 0x1F00, 0x0F, 0x07,
     0x0F, 0,      0,  0, 0,    0, 0, 0, 0, 0, 1,  1,  1,  1,          1,      1},
    {4096, 4096, 16, 128, 256, 921600, 1, 16, 16, 1, 1, 0, 13},
    "Test bus",
    8};

typedef struct {
    WCHAR text[512];
    UNICODE_STRING string;  // over `text`
} Name;

enum DeviceKind { kControlDevice, kLineDevice };

typedef struct {
    enum DeviceKind kind;
    DEVICE_OBJECT* below;  // the device stack under the control device
    DEVICE_OBJECT* physical;
    DEVICE_OBJECT* line;  // the COM device that programs open
    FILE_OBJECT* owner;   // who holds this device open
    Settings settings;    // the control device's
    ULONG number;
    HANDLE directory;    // the device's part of the interface path
    HANDLE reference;    // the link in it, named by the reference string
    HANDLE control_key;  // says that the interface is on
    Name port_link;      // \??\COMn, empty when the port has no name
} Extension;

static LONG device_count;

// --- names ---

static void Begin(Name* name) {
    name->string.Buffer = name->text;
    name->string.Length = 0;
    name->string.MaximumLength = sizeof(name->text);
}

static void Add(Name* name, const WCHAR* text, SIZE_T count) {
    while (count-- > 0 && name->string.Length < name->string.MaximumLength) {
        name->text[name->string.Length / sizeof(WCHAR)] = *text++;
        name->string.Length += sizeof(WCHAR);
    }
}

static void AddText(Name* name, const WCHAR* text) {
    while (*text != 0)
        Add(name, text++, 1);
}

static void AddDigit(Name* name, ULONG digit) {
    const WCHAR character = (WCHAR)(L'0' + digit % 10);
    Add(name, &character, 1);
}

static void DeviceName(Name* name, const WCHAR* prefix, ULONG number) {
    Begin(name);
    AddText(name, prefix);
    AddDigit(name, number / 10);
    AddDigit(name, number);
}

static SIZE_T CountUnits(const UNICODE_STRING* string) {
    return string->Length / sizeof(WCHAR);
}

// Where the last `parts` components of a path begin.
static SIZE_T LastParts(const WCHAR* path, SIZE_T length, int parts) {
    SIZE_T at = length;
    while (at > 0) {
        if (path[at - 1] == L'\\' && --parts == 0)
            return at;
        --at;
    }
    return 0;
}

// The reference string of the port: its driver key without backslashes behind a fixed word. The property that
// holds the driver key cannot be asked for in Wine, but the key itself tells its name.
static NTSTATUS ReferenceOf(DEVICE_OBJECT* physical, Name* reference) {
    ULONG key_name[256];  // a KeyName
    const WCHAR* name = ((const KeyName*)key_name)->Name;
    HANDLE key;
    ULONG size;
    SIZE_T length, i;
    NTSTATUS status = IoOpenDeviceRegistryKey(physical, PLUGPLAY_REGKEY_DRIVER, KEY_READ, &key);
    if (!NT_SUCCESS(status))
        return status;
    status = ZwQueryKey(key, KeyNameInformation, key_name, sizeof(key_name), &size);
    ZwClose(key);
    if (!NT_SUCCESS(status))
        return status;
    Begin(reference);
    AddText(reference, L"" QX_REFERENCE_PREFIX);
    length = ((const KeyName*)key_name)->NameLength / sizeof(WCHAR);
    for (i = LastParts(name, length, 2); i < length; ++i) {
        if (name[i] != L'\\')
            Add(reference, &name[i], 1);
    }
    return STATUS_SUCCESS;
}

// --- the interface ---

static NTSTATUS MakeObject(Name* path, const UNICODE_STRING* target, HANDLE* handle) {
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &path->string, OBJ_CASE_INSENSITIVE | OBJ_OPENIF, NULL, NULL);
    if (target == NULL)
        return ZwCreateDirectoryObject(handle, DIRECTORY_ALL_ACCESS, &attributes);
    return ZwCreateSymbolicLinkObject(handle, SYMBOLIC_LINK_ALL_ACCESS, &attributes, (UNICODE_STRING*)target);
}

// Turns the interface on. IoSetDeviceInterfaceState does not know reference strings in Wine, and the path
// "device\reference" leads nowhere there: so the "Linked" mark is written here, and the device's part of the
// path becomes a directory that holds a link of the reference's name.
static NTSTATUS PublishInterface(Extension* extension, const UNICODE_STRING* interface_link) {
    static const WCHAR root[] = L"\\??\\";
    Name path, device, target;
    const SIZE_T length = CountUnits(interface_link);
    const SIZE_T reference = LastParts(interface_link->Buffer, length, 1);
    const SIZE_T skipped = sizeof(root) / sizeof(WCHAR) - 1;
    OBJECT_ATTRIBUTES attributes;
    UNICODE_STRING linked;
    ULONG on = 1;
    NTSTATUS status;

    if (reference <= skipped)
        return STATUS_OBJECT_NAME_INVALID;
    Begin(&device);
    Add(&device, interface_link->Buffer + skipped, reference - 1 - skipped);

    Begin(&path);
    AddText(&path, root);
    Add(&path, device.text, CountUnits(&device.string));
    status = MakeObject(&path, NULL, &extension->directory);
    if (!NT_SUCCESS(status))
        return status;
    AddText(&path, L"\\");
    Add(&path, interface_link->Buffer + reference, length - reference);
    DeviceName(&target, L"\\Device\\QxTestControl", extension->number);
    status = MakeObject(&path, &target.string, &extension->reference);
    if (!NT_SUCCESS(status))
        return status;

    Begin(&path);
    AddText(&path, L"\\Registry\\Machine\\System\\CurrentControlSet\\Control\\DeviceClasses\\");
    AddText(&path, L"" QX_CONTROL_CLASS_TEXT L"\\##?#");
    Add(&path, device.text, CountUnits(&device.string));
    AddText(&path, L"\\#");
    Add(&path, interface_link->Buffer + reference, length - reference);
    AddText(&path, L"\\Control");
    InitializeObjectAttributes(&attributes, &path.string, OBJ_CASE_INSENSITIVE, NULL, NULL);
    status =
        ZwCreateKey(&extension->control_key, KEY_ALL_ACCESS, &attributes, 0, NULL, REG_OPTION_VOLATILE, NULL);
    if (!NT_SUCCESS(status))
        return status;
    RtlInitUnicodeString(&linked, L"Linked");
    return ZwSetValueKey(extension->control_key, &linked, 0, REG_DWORD, &on, sizeof(on));
}

static void CloseObject(HANDLE* handle) {
    if (*handle != NULL)
        ZwClose(*handle);
    *handle = NULL;
}

static void WithdrawInterface(Extension* extension) {
    if (extension->control_key != NULL)
        ZwDeleteKey(extension->control_key);
    CloseObject(&extension->control_key);
    CloseObject(&extension->reference);
    CloseObject(&extension->directory);
}

// Offers the port under the COM name that its hardware key gives, as a serial driver does: a DOS name and the
// entry in the map of serial devices.
static void PublishPort(Extension* extension) {
    ULONG port_name[64];  // a KEY_VALUE_PARTIAL_INFORMATION
    const KEY_VALUE_PARTIAL_INFORMATION* value = (const KEY_VALUE_PARTIAL_INFORMATION*)port_name;
    Name device;
    UNICODE_STRING name;
    HANDLE key;
    ULONG size;
    const WCHAR* text;
    NTSTATUS status = IoOpenDeviceRegistryKey(extension->physical, PLUGPLAY_REGKEY_DEVICE, KEY_READ, &key);
    Begin(&extension->port_link);
    if (!NT_SUCCESS(status))
        return;
    memset(port_name, 0, sizeof(port_name));
    RtlInitUnicodeString(&name, L"PortName");
    status = ZwQueryValueKey(key, &name, KeyValuePartialInformation, port_name,
                             sizeof(port_name) - sizeof(WCHAR), &size);
    ZwClose(key);
    if (!NT_SUCCESS(status) || value->Type != REG_SZ)
        return;
    text = (const WCHAR*)(port_name + offsetof(KEY_VALUE_PARTIAL_INFORMATION, Data) / sizeof(ULONG));
    AddText(&extension->port_link, L"\\??\\");
    AddText(&extension->port_link, text);
    DeviceName(&device, L"\\Device\\QxTestLine", extension->number);
    if (!NT_SUCCESS(IoCreateSymbolicLink(&extension->port_link.string, &device.string))) {
        Begin(&extension->port_link);
        return;
    }
    device.text[CountUnits(&device.string)] = 0;
    RtlWriteRegistryValue(RTL_REGISTRY_DEVICEMAP, L"SERIALCOMM", device.text, REG_SZ, (void*)text,
                          value->DataLength);
}

static void WithdrawPort(Extension* extension) {
    Name device;
    if (extension->port_link.string.Length == 0)
        return;
    IoDeleteSymbolicLink(&extension->port_link.string);
    DeviceName(&device, L"\\Device\\QxTestLine", extension->number);
    device.text[CountUnits(&device.string)] = 0;
    RtlDeleteRegistryValue(RTL_REGISTRY_DEVICEMAP, L"SERIALCOMM", device.text);
    Begin(&extension->port_link);
}

// --- settings streams ---

static void PutNumber(UCHAR* out, ULONG value) {
    int i;
    for (i = 0; i < 4; ++i)
        out[i] = (UCHAR)(value >> (8 * i));
}

static ULONG GetNumber(const UCHAR* in) {
    return (ULONG)in[0] | (ULONG)in[1] << 8 | (ULONG)in[2] << 16 | (ULONG)in[3] << 24;
}

static ULONG StreamBytes(const Settings* settings, ULONG selector) {
    return selector == QX_PORT_SET ? QX_PORT_STREAM_BYTES
                                   : QX_BUS_STREAM_BYTES(settings->interface_type_length);
}

static void WriteStream(const Settings* settings, ULONG selector, UCHAR* out) {
    ULONG i;
    if (selector == QX_PORT_SET) {
        for (i = 0; i < QX_PORT_NUMBERS; ++i, out += 4)
            PutNumber(out, settings->port[i]);
        return;
    }
    for (i = 0; i < QX_BUS_NUMBERS_BEFORE_TEXT; ++i, out += 4)
        PutNumber(out, settings->bus[i]);
    PutNumber(out, settings->interface_type_length);
    memcpy(out + 4, settings->interface_type, settings->interface_type_length);
    out += 4 + settings->interface_type_length;
    *out++ = 0;
    for (; i < QX_BUS_NUMBERS; ++i, out += 4)
        PutNumber(out, settings->bus[i]);
}

// Whether the divisor of a serial clock of 921600 Hz comes within 3 % of a baud rate.
static BOOLEAN ClockMakes(ULONG baud_rate) {
    ULONG divisor, actual, difference;
    if (baud_rate == 0 || baud_rate > 921600)
        return FALSE;
    divisor = (921600 + baud_rate / 2) / baud_rate;
    actual = 921600 / divisor;
    difference = actual > baud_rate ? actual - baud_rate : baud_rate - actual;
    return difference <= baud_rate / 33;
}

// Takes over a stream, all of it or nothing; an exact length is demanded.
static NTSTATUS ReadStream(Settings* settings, ULONG selector, const UCHAR* in, ULONG bytes) {
    Settings changed = *settings;
    ULONG i, text;
    if (selector == QX_PORT_SET) {
        if (bytes != QX_PORT_STREAM_BYTES)
            return STATUS_INVALID_PARAMETER;
        for (i = 0; i < QX_PORT_NUMBERS; ++i)
            changed.port[i] = GetNumber(in + 4 * i);
        if (!ClockMakes(changed.port[QX_PORT_Baudrate]))
            return STATUS_INVALID_PARAMETER;
    } else {
        if (bytes < QX_BUS_STREAM_BYTES(0))
            return STATUS_INVALID_PARAMETER;
        for (i = 0; i < QX_BUS_NUMBERS_BEFORE_TEXT; ++i)
            changed.bus[i] = GetNumber(in + 4 * i);
        in += 4 * QX_BUS_NUMBERS_BEFORE_TEXT;
        text = GetNumber(in);
        if (text >= TEXT_CAPACITY || bytes != QX_BUS_STREAM_BYTES(text) || in[4 + text] != 0)
            return STATUS_INVALID_PARAMETER;
        memcpy(changed.interface_type, in + 4, text);
        changed.interface_type_length = text;
        in += 4 + text + 1;
        for (; i < QX_BUS_NUMBERS; ++i, in += 4)
            changed.bus[i] = GetNumber(in);
    }
    *settings = changed;
    return STATUS_SUCCESS;
}

static NTSTATUS Answer(Extension* extension, ULONG request, UCHAR* buffer, ULONG in_bytes, ULONG out_bytes,
                       ULONG_PTR* returned) {
    const Settings* asked = &extension->settings;
    ULONG selector, needed;
    if (in_bytes < QX_HEADER_BYTES || buffer == NULL)
        return STATUS_INVALID_PARAMETER;
    selector = GetNumber(buffer);
    if (selector > QX_BUS_SET || GetNumber(buffer + 4) != QX_HEADER_ONES)
        return STATUS_INVALID_PARAMETER;
    if (request == QX_SET_SETTINGS)
        return ReadStream(&extension->settings, selector, buffer + QX_HEADER_BYTES,
                          in_bytes - QX_HEADER_BYTES);
    if (request == QX_GET_DEFAULT_SETTINGS_SIZE || request == QX_GET_DEFAULT_SETTINGS)
        asked = &kDefaults;
    needed = StreamBytes(asked, selector);
    if (request == QX_GET_SETTINGS_SIZE || request == QX_GET_DEFAULT_SETTINGS_SIZE) {
        if (out_bytes < 4)
            return STATUS_BUFFER_TOO_SMALL;
        PutNumber(buffer, needed);
        *returned = 4;
        return STATUS_SUCCESS;
    }
    if (request != QX_GET_SETTINGS && request != QX_GET_DEFAULT_SETTINGS)
        return STATUS_INVALID_DEVICE_REQUEST;
    if (out_bytes < needed)
        return STATUS_BUFFER_TOO_SMALL;
    WriteStream(asked, selector, buffer);
    *returned = needed;
    return STATUS_SUCCESS;
}

// --- requests of the I/O manager, which hands them over one at a time ---

static NTSTATUS Complete(IRP* irp, NTSTATUS status, ULONG_PTR information) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = information;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

// Both devices are for one opener at a time. Wine lets the opening succeed whatever is answered here, so the
// requests of a second opener are refused as well.
static NTSTATUS NTAPI OnCreate(DEVICE_OBJECT* device, IRP* irp) {
    Extension* extension = device->DeviceExtension;
    FILE_OBJECT* file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    if (extension->owner != NULL)
        return Complete(irp, STATUS_ACCESS_DENIED, 0);
    extension->owner = file;
    return Complete(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS NTAPI OnClose(DEVICE_OBJECT* device, IRP* irp) {
    Extension* extension = device->DeviceExtension;
    if (extension->owner == IoGetCurrentIrpStackLocation(irp)->FileObject)
        extension->owner = NULL;
    return Complete(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS NTAPI OnDeviceControl(DEVICE_OBJECT* device, IRP* irp) {
    Extension* extension = device->DeviceExtension;
    IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    ULONG_PTR returned = 0;
    NTSTATUS status;
    if (extension->kind != kControlDevice)
        return Complete(irp, STATUS_INVALID_DEVICE_REQUEST, 0);
    if (extension->owner != stack->FileObject)
        return Complete(irp, STATUS_ACCESS_DENIED, 0);
    status = Answer(extension, stack->Parameters.DeviceIoControl.IoControlCode,
                    irp->AssociatedIrp.SystemBuffer, stack->Parameters.DeviceIoControl.InputBufferLength,
                    stack->Parameters.DeviceIoControl.OutputBufferLength, &returned);
    return Complete(irp, status, returned);
}

static NTSTATUS NTAPI OnPlugAndPlay(DEVICE_OBJECT* device, IRP* irp) {
    Extension* extension = device->DeviceExtension;
    IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    Name reference;
    UNICODE_STRING link;
    NTSTATUS status;
    if (extension->kind != kControlDevice)
        return Complete(irp, STATUS_INVALID_DEVICE_REQUEST, 0);
    switch (stack->MinorFunction) {
        case IRP_MN_START_DEVICE:
            status = ReferenceOf(extension->physical, &reference);
            if (NT_SUCCESS(status))
                status =
                    IoRegisterDeviceInterface(extension->physical, &kControlClass, &reference.string, &link);
            if (NT_SUCCESS(status)) {
                status = PublishInterface(extension, &link);
                RtlFreeUnicodeString(&link);
            }
            if (!NT_SUCCESS(status)) {
                DbgPrint("qxtestport: no control interface, status %x\n", (unsigned)status);
                return Complete(irp, status, 0);
            }
            PublishPort(extension);
            irp->IoStatus.Status = STATUS_SUCCESS;
            break;
        case IRP_MN_REMOVE_DEVICE:
        case IRP_MN_SURPRISE_REMOVAL:
            WithdrawPort(extension);
            WithdrawInterface(extension);
            irp->IoStatus.Status = STATUS_SUCCESS;
            if (stack->MinorFunction == IRP_MN_REMOVE_DEVICE) {
                DEVICE_OBJECT* below = extension->below;
                IoSkipCurrentIrpStackLocation(irp);
                status = IoCallDriver(below, irp);
                IoDetachDevice(below);
                IoDeleteDevice(extension->line);
                IoDeleteDevice(device);
                return status;
            }
            break;
        default:
            break;
    }
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(extension->below, irp);
}

static NTSTATUS NTAPI OnAddDevice(DRIVER_OBJECT* driver, DEVICE_OBJECT* physical) {
    Name name;
    DEVICE_OBJECT *device, *line;
    Extension* extension;
    const ULONG number = (ULONG)InterlockedIncrement(&device_count);
    NTSTATUS status;
    DeviceName(&name, L"\\Device\\QxTestControl", number);
    status = IoCreateDevice(driver, sizeof(Extension), &name.string, FILE_DEVICE_UNKNOWN, 0, FALSE, &device);
    if (!NT_SUCCESS(status))
        return status;
    DeviceName(&name, L"\\Device\\QxTestLine", number);
    status =
        IoCreateDevice(driver, sizeof(Extension), &name.string, FILE_DEVICE_SERIAL_PORT, 0, FALSE, &line);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(device);
        return status;
    }
    memset(line->DeviceExtension, 0, sizeof(Extension));
    ((Extension*)line->DeviceExtension)->kind = kLineDevice;
    line->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;

    extension = device->DeviceExtension;
    memset(extension, 0, sizeof(*extension));
    extension->kind = kControlDevice;
    extension->physical = physical;
    extension->line = line;
    extension->number = number;
    extension->settings = kDefaults;
    Begin(&extension->port_link);
    extension->below = IoAttachDeviceToDeviceStack(device, physical);
    device->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

static void NTAPI OnUnload(DRIVER_OBJECT* driver) {
    (void)driver;
}

NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* path) {
    (void)path;
    driver->MajorFunction[IRP_MJ_CREATE] = OnCreate;
    driver->MajorFunction[IRP_MJ_CLOSE] = OnClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = OnDeviceControl;
    driver->MajorFunction[IRP_MJ_PNP] = OnPlugAndPlay;
    driver->DriverExtension->AddDevice = OnAddDevice;
    driver->DriverUnload = OnUnload;
    return STATUS_SUCCESS;
}
