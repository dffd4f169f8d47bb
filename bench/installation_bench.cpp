// SPDX-License-Identifier: MIT
// What the naming operations cost on the simulated computer, by number of ports: time, and as a counter the
// platform calls that each run makes, which is what a real installation waits for.
#include "install/com_name.h"
#include "install/child_port_order.h"
#include "install/port_backup.h"
#include "platform/machine/machine.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

using qxsim::DeviceRecipe;
using qxsim::Machine;

constexpr const char* kAdapter = "USB\\VID_0F7A&PID_1116\\BENCH";

std::string PortId(unsigned index) {
    return "QXPORT\\PORT1\\BENCH&" + std::to_string(index);
}

// An adapter whose ports have the numbers from 1 on, ascending along the tree or descending.
std::unique_ptr<Machine> Adapter(unsigned ports, bool reversed) {
    auto machine = std::make_unique<Machine>();
    DeviceRecipe adapter;
    adapter.id = kAdapter;
    adapter.setup_class = "USB";
    const DEVINST node = machine->AddDevice(Machine::kRoot, adapter);
    for (unsigned i = 0; i < ports; ++i) {
        DeviceRecipe port;
        port.id = PortId(i);
        port.port = "COM" + std::to_string(reversed ? ports - i : i + 1);
        machine->AddDevice(node, port);
    }
    return machine;
}

// A fresh computer for every run, made while the clock stands still.
class Run {
  public:
    Run(benchmark::State& state, const Machine& model) : state_(state) {
        state_.PauseTiming();
        qxsim::Instruments::The().Reset();
        qxsim::Instruments::The().KeepTrace(false);
        machine_ = model.Clone();
        current_ = std::make_unique<qxsim::CurrentMachine>(*machine_);
    }
    void Begin() { state_.ResumeTiming(); }
    ~Run() {
        state_.PauseTiming();
        state_.counters["calls"] = static_cast<double>(qxsim::Instruments::The().CallCount());
        current_.reset();
        machine_.reset();
        state_.ResumeTiming();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    [[nodiscard]] HDEVINFO Hand(const std::string& id, SP_DEVINFO_DATA& element) {
        return qxsim::HandDevice(*machine_, *machine_->Find(id), element);
    }

  private:
    benchmark::State& state_;
    std::unique_ptr<Machine> machine_;
    std::unique_ptr<qxsim::CurrentMachine> current_;
};

void Rename(benchmark::State& state) {
    const auto model = Adapter(1, false);
    const qx::Text name(TEXT("COM77"));
    for ([[maybe_unused]] auto _ : state) {
        Run run(state, *model);
        SP_DEVINFO_DATA element{};
        const HDEVINFO set = run.Hand(PortId(0), element);
        run.Begin();
        benchmark::DoNotOptimize(qx::CCOMPortUtil(set, element).RenameComPort(name));
    }
}

void Order(benchmark::State& state, bool reversed) {
    const auto model = Adapter(static_cast<unsigned>(state.range(0)), reversed);
    for ([[maybe_unused]] auto _ : state) {
        Run run(state, *model);
        SP_DEVINFO_DATA element{};
        const HDEVINFO set = run.Hand(PortId(0), element);
        run.Begin();
        benchmark::DoNotOptimize(qx::OrderChildPortNames(set, element));
    }
}

void Save(benchmark::State& state) {
    const auto model = Adapter(static_cast<unsigned>(state.range(0)), false);
    for ([[maybe_unused]] auto _ : state) {
        Run run(state, *model);
        SP_DEVINFO_DATA element{};
        const HDEVINFO set = run.Hand(kAdapter, element);
        run.Begin();
        qx::SavePortBackups(set, element);
    }
}

// Ports that came up under other names get their own back.
void Restore(benchmark::State& state) {
    const auto ports = static_cast<unsigned>(state.range(0));
    const auto model = Adapter(ports, false);
    {
        const qxsim::CurrentMachine current(*model);
        SP_DEVINFO_DATA element{};
        qx::SavePortBackups(qxsim::HandDevice(*model, *model->Find(kAdapter), element), element);
        for (unsigned i = 0; i < ports; ++i) {
            const HDEVINFO set = qxsim::HandDevice(*model, *model->Find(PortId(i)), element);
            const qx::Text name = qx::Format(TEXT("COM%u"), 128 + i);
            if (!qx::CCOMPortUtil(set, element).RenameComPort(name))
                state.SkipWithError("the ports could not be given other names");
        }
    }
    for ([[maybe_unused]] auto _ : state) {
        Run run(state, *model);
        run.Begin();
        for (unsigned i = 0; i < ports; ++i) {
            SP_DEVINFO_DATA element{};
            const HDEVINFO set = run.Hand(PortId(i), element);
            benchmark::DoNotOptimize(qx::RestorePortBackup(set, element));
        }
    }
}

void ByPorts(benchmark::internal::Benchmark* family) {
    for (const int ports : {2, 4, 16, 64, 254})
        family->Arg(ports);
    family->Unit(benchmark::kMicrosecond);
}

BENCHMARK(Rename)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Order, ordered, false)->Apply(ByPorts);
BENCHMARK_CAPTURE(Order, reversed, true)->Apply(ByPorts);
BENCHMARK(Save)->Apply(ByPorts);
BENCHMARK(Restore)->Arg(2)->Arg(4)->Arg(16)->Arg(64)->Arg(127)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
