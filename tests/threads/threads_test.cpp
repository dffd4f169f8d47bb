// The library's entries on several threads at once, as the device installer may call them.
#include "driver_access/bus_parameters.h"
#include "driver_access/vcp_parameters.h"
#include "install/port_coinstaller.h"
#include "admin/name_report.h"
#include "tests/support/machine_fixture.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

class Threads : public qxtest::MachineTest {};

// Runs `work` on so many threads, each acting as a process of its own, all let loose at once.
template <typename Work>
void OnThreads(unsigned count, Work work) {
    std::atomic<unsigned> waiting{count};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            const qxsim::SimulatedProcess process(10 + i);
            --waiting;
            while (waiting != 0)
                std::this_thread::yield();
            work(i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(Threads, PortsOfTwoAdaptersInstalledByFourProcessesEndWithNamesThatAgree) {
    std::vector<std::string> ports;
    for (const char* adapter : {"A", "B"}) {
        qxsim::DeviceRecipe recipe;
        recipe.id = std::string("USB\\VID_0F7A&PID_1104\\") + adapter;
        recipe.setup_class = "USB";
        const DEVINST node = machine().AddDevice(qxsim::Machine::kRoot, recipe);
        for (int i = 0; i < 4; ++i) {
            qxsim::DeviceRecipe port;
            port.id = std::string("QXUSB\\PORT_1104\\") + adapter + std::to_string(i);
            port.port = "COM" + std::to_string(20 - 2 * static_cast<int>(ports.size()));
            machine().AddDevice(node, port);
            ports.push_back(port.id);
        }
    }
    std::atomic<unsigned> wrong{0};
    OnThreads(4, [&](unsigned thread) {
        for (std::size_t i = thread; i < ports.size(); i += 4) {
            SP_DEVINFO_DATA element{};
            HDEVINFO set = nullptr;
            {
                const std::lock_guard guard(instruments().Lock());
                set = qxsim::HandDevice(machine(), Dev(ports[i]), element);
            }
            COINSTALLER_CONTEXT_DATA context{};
            context.PostProcessing = TRUE;
            if (QxUCoInstallPort(DIF_INSTALLDEVICE, set, &element, &context) != NO_ERROR)
                ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(qxports::ReportNames(qxports::Computer()).Faults(), "");
}

TEST_F(Threads, SeparateSetsAreEncodedAndDecodedIndependently) {
    std::atomic<unsigned> wrong{0};
    OnThreads(4, [&](unsigned thread) {
        qx::CQxUVcpUserModeInterface sent;
        qx::CQxUVcpUserModeInterface received;
        qx::CQxUBusUserModeInterface bus;
        bus.InterfaceType.text = qx::Text(TEXT("USB"));
        for (DWORD round = 0; round < 500; ++round) {
            sent.Baudrate = thread * 1000 + round;
            BYTE stream[132];
            DWORD free_bytes = sizeof(stream);
            DWORD available = sizeof(stream);
            BYTE bus_stream[60];
            DWORD bus_free = sizeof(bus_stream);
            if (!sent.Encode(stream, free_bytes) || !received.Decode(stream, available) ||
                received.Baudrate != sent.Baudrate || !bus.Encode(bus_stream, bus_free) || bus_free != 0)
                ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0U);
}

}  // namespace
