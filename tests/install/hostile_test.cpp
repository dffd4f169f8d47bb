// SPDX-License-Identifier: MIT
// A registry and a device tree that no installer of ours has written. Nothing may be believed of them; ports
// that are in order must stay so.
#include "tests/install/installer.h"

#include "install/card_coinstaller.h"
#include "platform/desktop/desktop.h"

namespace qxtest {
namespace {

using qxsim::Bytes;

struct HostileValue {
    const char* what;
    DWORD type;
    Bytes data;
};

std::vector<HostileValue> HostileNames() {
    Bytes unterminated;
    for (int i = 0; i < 150; ++i)
        unterminated.insert(unterminated.end(), {'C', 0});
    Bytes too_long = unterminated;
    too_long.push_back('C');
    const auto text = [](const char* name) { return qxsim::TextBytes(qxsim::ToWide(name)); };
    return {{"empty", REG_SZ, text("")},
            {"no bytes", REG_SZ, {}},
            {"one byte", REG_SZ, {'C'}},
            {"without digits", REG_SZ, text("COMMODORE")},
            {"COM0", REG_SZ, text("COM0")},
            {"COM257", REG_SZ, text("COM257")},
            {"COM-5", REG_SZ, text("COM-5")},
            {"enormous", REG_SZ, text("COM99999999999")},
            {"a path", REG_SZ, text("..\\..\\COM5")},
            {"300 bytes without a NUL", REG_SZ, unterminated},
            {"301 bytes", REG_SZ, too_long},
            {"a number", REG_DWORD, qxsim::DwordBytes(5)},
            {"half a surrogate pair", REG_SZ, {'C', 0, 'O', 0, 'M', 0, 0x00, 0xD8, 0, 0}}};
}

class Hostile : public InstallTest {
  public:
    void SetUp() override {
        InstallTest::SetUp();
        texts_are_whole = false;
        qxsim::Desktop::The().Reset();
        qxsim::Desktop::The().SetAnswers([](const qxsim::ShownBox&) { return IDNO; });
    }
    void SetName(const std::string& id, const HostileValue& value) {
        machine().HardwareKey(Dev(id))->Set(TEXT("PortName"), value.type, value.data);
    }
};

TEST_F(Hostile, NamesAreNotBelieved) {
    for (const HostileValue& value : HostileNames()) {
        SCOPED_TRACE(value.what);
        Use(std::make_unique<qxsim::Machine>());
        instruments().Reset();
        AdapterRecipe adapter{.names = {"COM9", "COM8", "COM7"}};
        AddAdapter(machine(), adapter);
        SetName(PortId(adapter, 1), value);
        for (int round = 0; round < 2; ++round)
            for (std::size_t i = 0; i < 3; ++i)
                installer().CallBackPort(PortId(adapter, i));
        // Its neighbours have a number each, their own or the one of a swap that the bad name cut short, and
        // all their places agree.
        for (const qxports::NamedPort& port : qxports::ReportNames(qxports::Computer()).ports) {
            if (port.port.id == PortId(adapter, 1))
                continue;
            EXPECT_TRUE(port.faults.empty()) << port.port.id << ' ' << port.faults[0].text;
            EXPECT_TRUE(port.port.places.number == 3 || port.port.places.number == 7 ||
                        port.port.places.number == 9)
                << port.port.places.number;
        }
        installer().RemovePort(PortId(adapter, 1));
        EXPECT_EQ(Disagreements(), "");
    }
}

TEST_F(Hostile, SavedNamesDoNotReachThePort) {
    for (const HostileValue& value : HostileNames()) {
        if (value.type == REG_DWORD)
            continue;  // a number is a setting, whatever it is called
        SCOPED_TRACE(value.what);
        Use(std::make_unique<qxsim::Machine>());
        instruments().Reset();
        AdapterRecipe adapter{.names = {"COM9"}};
        AddAdapter(machine(), adapter);
        installer().BeginReinstall(adapter);
        auto& backups = machine().HardwareKey(Dev(AdapterId(adapter)))->subkeys;
        ASSERT_EQ(backups.size(), 1U);
        backups.begin()->second->Set(TEXT("PortName"), value.type, value.data);
        backups.begin()->second->Set(TEXT("Short"), REG_DWORD, {7});
        backups.begin()->second->Set(TEXT("Long"), REG_DWORD, Bytes(64, 1));
        installer().InstallPort(PortId(adapter, 0));
        EXPECT_EQ(PortName(PortId(adapter, 0)), "COM3");
        EXPECT_EQ(Disagreements(), "");
        EXPECT_EQ(machine().ReadDword(KeyPath(PortId(adapter, 0)), "Short"), 7U);
        EXPECT_EQ(machine().ReadDword(KeyPath(PortId(adapter, 0)), "Long"), 0x01010101U);
    }
}

// The copy of a key ends at the first value that does not fit the buffers; what came before it is saved.
TEST_F(Hostile, HugeValuesEndTheCopyOfTheirKeyOnly) {
    const qxsim::WideString longest_kept(16382, 'n');
    const qxsim::WideString too_long(16383, 'n');
    struct Case {
        const char* what;
        qxsim::WideString name;
        std::size_t bytes;
        bool ends;
    };
    const Case cases[] = {{"16383 bytes", TEXT("Big"), 16383, false},
                          {"16384 bytes", TEXT("Big"), 16384, true},
                          {"a name of 16382", longest_kept, 4, false},
                          {"a name of 16383", too_long, 4, true}};
    for (const Case& big : cases) {
        SCOPED_TRACE(big.what);
        Use(std::make_unique<qxsim::Machine>());
        instruments().Reset();
        AdapterRecipe adapter{.names = {"COM9", "COM10"}};
        AddAdapter(machine(), adapter);
        const std::string port = PortId(adapter, 0);
        machine().WriteDword(KeyPath(port), "Before", 1);
        machine().HardwareKey(Dev(port))->Set(big.name, big.bytes == 4 ? REG_DWORD : REG_SZ,
                                              Bytes(big.bytes, 'x'));
        machine().WriteDword(KeyPath(port), "After", 2);
        machine().WriteText(KeyPath(port) + "\\UI1", "Label", "Scale");
        installer().Reinstall(adapter);
        EXPECT_EQ(machine().ReadDword(KeyPath(port), "Before"), 1U);
        EXPECT_EQ(machine().ReadDword(KeyPath(port), "After").has_value(), !big.ends);
        EXPECT_EQ(machine().ReadText(KeyPath(port) + "\\UI1", "Label"), "Scale");
        EXPECT_EQ(NamesOf(machine(), adapter), adapter.names);
        EXPECT_EQ(Disagreements(), "");
    }
}

}  // namespace
}  // namespace qxtest
