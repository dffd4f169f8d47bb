// Ports of one adapter that are installed at the same time, by two processes.
#include "tests/install/installer.h"

#include <map>
#include <thread>

namespace qxtest {
namespace {

class Exclusion : public InstallTest {};

TEST_F(Exclusion, NoProcessNamesPortsWhileAnotherDoes) {
    AdapterRecipe adapter;
    for (unsigned i = 0; i < 12; ++i)
        adapter.names.push_back("COM" + std::to_string(40 - i));
    AddAdapter(machine(), adapter);
    // One that restores, one that orders, one that finds everything done: all of it is under the mutex.
    const std::string backups = KeyPath(AdapterId(adapter));
    for (std::size_t i = 0; i < 12; i += 3)
        machine().WriteText(backups + "\\QXSER_" + std::to_string((i + 1) % 10) + "_" +
                                PortId(adapter, i).substr(PortId(adapter, i).rfind('\\') + 1),
                            "PortName", "COM" + std::to_string(100 + i));
    instruments().Reset();

    const auto install = [&](unsigned process, std::size_t first) {
        const qxsim::SimulatedProcess self(process);
        Installer mine(machine());
        for (std::size_t i = first; i < adapter.names.size(); i += 2)
            mine.CallBackPort(PortId(adapter, i));
        EXPECT_EQ(mine.wrong, std::vector<std::string>{});
    };
    std::thread one(install, 11, 0);
    std::thread two(install, 12, 1);
    one.join();
    two.join();

    // A waiting call is recorded when it begins; its process is inside from its next call on until it
    // releases.
    enum class State { kOutside, kWaiting, kInside };
    std::map<unsigned, State> state;
    unsigned inside = 0;
    unsigned turns = 0;
    unsigned switches = 0;
    unsigned last = 0;
    for (const qxsim::CallRecord& call : instruments().Trace()) {
        State& mine = state[call.process];
        if (call.function == "WaitForSingleObject") {
            ASSERT_EQ(mine, State::kOutside);
            mine = State::kWaiting;
            continue;
        }
        if (mine == State::kWaiting) {
            ASSERT_EQ(inside, 0U) << "process " << call.process << " came in beside " << inside;
            mine = State::kInside;
            inside = call.process;
            ++turns;
            switches += last != 0 && last != inside ? 1 : 0;
            last = inside;
        }
        if (mine == State::kOutside) {
            ASSERT_TRUE(call.function == "CreateMutexW" || call.function == "CloseHandle" ||
                        call.function.ends_with("LastError"))
                << call.function;
            continue;
        }
        ASSERT_EQ(inside, call.process) << call.function;
        if (call.function == "ReleaseMutex") {
            mine = State::kOutside;
            inside = 0;
        }
    }
    EXPECT_EQ(turns, 12U);
    RecordProperty("switches_between_processes", static_cast<int>(switches));
    EXPECT_EQ(Disagreements(), "");
}

}  // namespace
}  // namespace qxtest
