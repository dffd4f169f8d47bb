// SPDX-License-Identifier: MIT
// The library's entries in several processes and on several threads at once, as the device installer may call
// them.
#include "tests/install/installer.h"

#include "install/product_data.h"

#include <atomic>
#include <thread>

namespace qxtest {
namespace {

class Threads : public InstallTest {
  public:
    // What another process calls the installation's mutex.

    static void CallBack(unsigned process, qxsim::Machine& machine, const std::string& port) {
        const qxsim::SimulatedProcess self(process);
        Installer installer(machine);
        installer.CallBackPort(port);
        EXPECT_EQ(installer.wrong, std::vector<std::string>{});
    }
    // A process whose wait is recorded as begun and not as ended stands still there.
    static bool Waits(unsigned process) {
        for (const qxsim::CallRecord& call : instruments().Trace())
            if (call.process == process && call.function == "WaitForSingleObject" && call.result.empty())
                return true;
        return false;
    }
};

// Whichever change of one process another comes in at, it waits until the first is done: a port that is given
// its former name back, and one whose adapter is put in order.
TEST_F(Threads, NoProcessNamesPortsWhileAnotherDoes) {
    const AdapterRecipe adapter{.names = {"COM40", "COM39", "COM38"}};
    AddAdapter(machine(), adapter);
    const std::string restored = PortId(adapter, 0);
    machine().WriteText(KeyPath(AdapterId(adapter)) + "\\QXSER_1_QX000001&0001", "PortName", "COM100");
    const std::unique_ptr<qxsim::Machine> start = machine().Clone();
    for (const std::string& first : {restored, PortId(adapter, 1)}) {
        unsigned changes = 0;
        for (unsigned meeting = 1; changes == meeting - 1; ++meeting) {
            SCOPED_TRACE(first + ", change " + std::to_string(meeting));
            qxsim::Machine& computer = Use(start->Clone());
            instruments().Reset();
            std::atomic<bool> done{false};
            std::thread second;
            changes = 0;
            instruments().OnCall([&](const qxsim::CallRecord& call) {
                if (call.process != 11 || !call.changes_state || changes == meeting || ++changes != meeting)
                    return;
                second = std::thread([&] {
                    CallBack(12, computer, PortId(adapter, 2));
                    done = true;
                });
                // The call holds the computer.
                instruments().Lock().unlock();
                while (!Waits(12) && !done)
                    std::this_thread::yield();
                instruments().Lock().lock();
                EXPECT_FALSE(done) << "came in at " << call.function;
            });
            std::thread([&] { CallBack(11, computer, first); }).join();
            if (second.joinable())
                second.join();
            instruments().OnCall({});
            EXPECT_EQ(Disagreements(), "");
        }
        EXPECT_GT(changes, 5U);
    }
}

// Whoever holds the mutex may die; the next installation has it then, and gives it back.
TEST_F(Threads, AnInstallerThatDiedInsideKeepsNobodyOut) {
    const AdapterRecipe adapter{.names = {"COM9", "COM8"}};
    AddAdapter(machine(), adapter);
    const HANDLE mine = CreateMutexW(nullptr, FALSE, qx::kPortInstallationMutex);
    {
        const qxsim::SimulatedProcess other(7);
        WaitForSingleObject(CreateMutexW(nullptr, FALSE, qx::kPortInstallationMutex), INFINITE);
    }
    machine().EndProcess(7);
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(NamesOf(machine(), adapter), (std::vector<std::string>{"COM8", "COM9"}));
    {
        const qxsim::SimulatedProcess next(8);
        EXPECT_EQ(WaitForSingleObject(mine, 0), DWORD{WAIT_OBJECT_0});
    }
    CloseHandle(mine);
}

// Nothing here says who comes first; the thread sanitizer watches.
TEST_F(Threads, PortsOfTwoAdaptersInstalledByFourProcessesEndWithNamesThatAgree) {
    const AdapterRecipe adapters[] = {{.serial = "QXA", .names = {"COM20", "COM18", "COM16", "COM14"}},
                                      {.serial = "QXB", .names = {"COM12", "COM10", "COM8", "COM6"}}};
    for (const AdapterRecipe& adapter : adapters)
        AddAdapter(machine(), adapter);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            for (const AdapterRecipe& adapter : adapters)
                CallBack(10 + i, machine(), PortId(adapter, i));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(NamesOf(machine(), adapters[0]),
              (std::vector<std::string>{"COM14", "COM16", "COM18", "COM20"}));
    EXPECT_EQ(NamesOf(machine(), adapters[1]), (std::vector<std::string>{"COM6", "COM8", "COM10", "COM12"}));
    EXPECT_EQ(Disagreements(), "");
}

}  // namespace
}  // namespace qxtest
