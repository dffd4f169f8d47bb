// SPDX-License-Identifier: MIT
// The COM port database.
#pragma once
#include <windef.h>

DECLARE_HANDLE(HCOMDB);
typedef HCOMDB* PHCOMDB;
#define HCOMDB_INVALID_HANDLE_VALUE ((HCOMDB)INVALID_HANDLE_VALUE)

#define CDB_REPORT_BYTES 0x1

extern "C" {
LONG WINAPI ComDBOpen(PHCOMDB phComDB);
LONG WINAPI ComDBClose(HCOMDB hComDB);
LONG WINAPI ComDBGetCurrentPortUsage(HCOMDB hComDB, PBYTE Buffer, DWORD BufferSize, DWORD ReportType,
                                     LPDWORD MaxPortsReported);
LONG WINAPI ComDBClaimPort(HCOMDB hComDB, DWORD ComNumber, BOOL ForceClaim, PBOOL Forced);
LONG WINAPI ComDBReleasePort(HCOMDB hComDB, DWORD ComNumber);
}
