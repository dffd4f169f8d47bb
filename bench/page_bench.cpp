// SPDX-License-Identifier: MIT
// What it costs to open the Port Settings page and the advanced sheet on the simulated desktop: time until
// the user could act, and as counters the platform calls made until then and the requests that reached the
// driver.
#include "pages/page_provider.h"
#include "platform/desktop/desktop.h"
#include "platform/machine/machine.h"

#include <benchmark/benchmark.h>

#include <commctrl.h>

#include <vector>

namespace {

using qxsim::Machine;

constexpr const char* kPort = "QXPORT\\PORT0\\BENCH";
constexpr int kAdvanced = 840;

BOOL CALLBACK Collect(HPROPSHEETPAGE page, LPARAM pages) {
    reinterpret_cast<std::vector<HPROPSHEETPAGE>*>(pages)->push_back(page);
    return TRUE;
}

void Count(benchmark::State& state) {
    const auto& instruments = qxsim::Instruments::The();
    state.counters["calls"] = static_cast<double>(instruments.CallCount());
    state.counters["driver_requests"] = static_cast<double>(instruments.CallCount("DeviceIoControl"));
}

// Opens the sheet, has `user` act in it, and closes it. The clock runs from the request for pages to the call
// of `user`, which stands for the moment at which a person sees the page.
template <typename User>
void Open(benchmark::State& state, Machine& machine, User user) {
    qxsim::Instruments::The().Reset();
    qxsim::Instruments::The().KeepTrace(false);
    SP_DEVINFO_DATA element{};
    SP_PROPSHEETPAGE_REQUEST request{};
    request.cbSize = sizeof(request);
    request.PageRequested = SPPSR_ENUM_ADV_DEVICE_PROPERTIES;
    request.DeviceInfoSet = qxsim::HandDevice(machine, *machine.Find(kPort), element);
    request.DeviceInfoData = &element;
    qxsim::Desktop::The().SetUser(user);
    state.ResumeTiming();
    std::vector<HPROPSHEETPAGE> pages;
    if (!QxUPortPropPage(&request, Collect, reinterpret_cast<LPARAM>(&pages))) {
        state.SkipWithError("the library offers no page");
        return;
    }
    PROPSHEETHEADERW header{};
    header.dwSize = sizeof(header);
    header.nPages = static_cast<UINT>(pages.size());
    header.phpage = pages.data();
    benchmark::DoNotOptimize(PropertySheetW(&header));
}

void Close(HWND sheet) {
    SendMessageW(sheet, PSM_PRESSBUTTON, PSBTN_CANCEL, 0);
}

// A computer with one port that has a control device.
void AddPort(Machine& machine) {
    qxsim::DeviceRecipe port;
    port.id = kPort;
    port.port = "COM5";
    machine.AddDevice(Machine::kRoot, port);
}

void OpenPortSettings(benchmark::State& state) {
    Machine machine;
    const qxsim::CurrentMachine current(machine);
    AddPort(machine);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        bool seen = false;
        Open(state, machine, [&] {
            if (!seen) {
                state.PauseTiming();
                Count(state);
                Close(qxsim::Desktop::The().TopWindow());
            }
            return !std::exchange(seen, true);
        });
        qxsim::Desktop::The().Reset();
        state.ResumeTiming();
    }
}

void OpenAdvancedSettings(benchmark::State& state) {
    Machine machine;
    const qxsim::CurrentMachine current(machine);
    AddPort(machine);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        int step = 0;
        std::uint64_t calls_before = 0;
        std::uint64_t requests_before = 0;
        Open(state, machine, [&] {
            auto& desktop = qxsim::Desktop::The();
            const auto& instruments = qxsim::Instruments::The();
            switch (step++) {
                case 0: {  // the first page is open: start the clock and press its button
                    state.PauseTiming();
                    calls_before = instruments.CallCount();
                    requests_before = instruments.CallCount("DeviceIoControl");
                    const HWND page = desktop.Picture(desktop.TopWindow()).current_page;
                    state.ResumeTiming();
                    SendMessageW(GetDlgItem(page, kAdvanced), BM_CLICK, 0, 0);
                    return true;
                }
                case 1:  // the advanced sheet is open
                    state.PauseTiming();
                    state.counters["calls"] = static_cast<double>(instruments.CallCount() - calls_before);
                    state.counters["driver_requests"] =
                        static_cast<double>(instruments.CallCount("DeviceIoControl") - requests_before);
                    Close(desktop.TopWindow());
                    return true;
                case 2:
                    Close(desktop.TopWindow());
                    return true;
                default:
                    return false;
            }
        });
        qxsim::Desktop::The().Reset();
        state.ResumeTiming();
    }
}

BENCHMARK(OpenPortSettings)->Unit(benchmark::kMicrosecond);
BENCHMARK(OpenAdvancedSettings)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
