// SPDX-License-Identifier: MIT
// What loading and unloading the library costs on Windows, beside a library that holds nothing. Prints the
// table's rows as Google Benchmark does, which is not to be had for Windows from Debian.
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <string>

namespace {

constexpr int kRounds = 20;
constexpr int kLoadsInARound = 25;

struct Candidate {
    const char* name;
    const wchar_t* file;
    double fastest = std::numeric_limits<double>::max();  // microseconds
};

// Microseconds for one load and unload; negative when the library does not load.
double Measure(const wchar_t* file) {
    LARGE_INTEGER frequency;
    LARGE_INTEGER begin;
    LARGE_INTEGER end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&begin);
    for (int i = 0; i < kLoadsInARound; ++i) {
        const HMODULE library = LoadLibraryW(file);
        if (!library)
            return -1;
        FreeLibrary(library);
    }
    QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - begin.QuadPart) * 1e6 /
           static_cast<double>(frequency.QuadPart) / kLoadsInARound;
}

}  // namespace

// Both libraries stand beside this program. The rounds take turns, and the fastest of each counts: what else
// the computer does falls on both.
int main() {
    // What both need is there before either, as it is in the device manager.
    for (const wchar_t* system : {L"comctl32.dll", L"setupapi.dll", L"cfgmgr32.dll", L"oleaut32.dll",
                                  L"shell32.dll", L"gdi32.dll", L"msports.dll"})
        LoadLibraryW(system);
    std::array candidates{Candidate{"Load/QxUUI10", L"QxUUI10.DLL"},
                          Candidate{"Load/empty_library", L"empty.dll"}};
    for (int round = 0; round < kRounds; ++round)
        for (Candidate& candidate : candidates) {
            const double time = Measure(candidate.file);
            if (time < 0) {
                std::fprintf(stderr, "%ls does not load: error %lu\n", candidate.file, GetLastError());
                return 1;
            }
            candidate.fastest = std::min(candidate.fastest, time);
        }
    std::printf("name,cpu_time,time_unit\n");
    for (const Candidate& candidate : candidates)
        std::printf("%s,%.2f,us\n", candidate.name, candidate.fastest);
}
