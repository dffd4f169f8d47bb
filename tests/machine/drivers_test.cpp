// SPDX-License-Identifier: MIT
// Control devices: finding, opening, and the five requests.
#include "tests/support/machine_fixture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

using qxtest::MachineTest;
using Bytes = std::vector<unsigned char>;

constexpr DWORD kSettingsSize = 0x8001E000;
constexpr DWORD kSettings = 0x8001E004;
constexpr DWORD kWrite = 0x8001E008;
constexpr DWORD kDefaults = 0x8001E014;

class DriversTest : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine().AddDevice(qxsim::Machine::kRoot, {.id = "QX\\P\\1", .port = "COM5"});
        path_ = qxsim::ToWide(machine().ControlPath(Dev("QX\\P\\1")));
    }
    [[nodiscard]] qxsim::ControlDevice& Control() { return *Dev("QX\\P\\1").control; }
    [[nodiscard]] HANDLE Open(DWORD share = 0) const {
        return CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE, share, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    }
    // Sends a request for a set and answers what came back; `last` has the error, 0 for success.
    Bytes Ask(DWORD code, std::uint32_t selector, DWORD room, const Bytes& body = {}) {
        Bytes input(8 + body.size(), 0xFF);
        std::memcpy(input.data(), &selector, 4);
        std::memcpy(input.data() + 4, &second_word, 4);
        std::ranges::copy(body, input.begin() + 8);
        Bytes output(room);
        HANDLE file = Open();
        const BOOL good = DeviceIoControl(file, code, input.data(), static_cast<DWORD>(input.size()),
                                          room != 0 ? output.data() : nullptr, room, &returned, nullptr);
        last = good != FALSE ? 0 : GetLastError();
        EXPECT_TRUE(CloseHandle(file));
        output.resize(good != FALSE ? std::min<std::size_t>(room, returned) : 0);
        return output;
    }
    DWORD last = 0;
    DWORD returned = 0;
    DWORD second_word = 0xFFFFFFFF;

  private:
    std::basic_string<WCHAR> path_;
};

TEST_F(DriversTest, TheInterfaceIsFoundByClassAndOpensForOne) {
    const GUID guid = machine().control_class;
    HDEVINFO set = SetupDiGetClassDevsW(&guid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVICE_INTERFACE_DATA data{};
    data.cbSize = sizeof(data);
    ASSERT_TRUE(SetupDiEnumDeviceInterfaces(set, nullptr, &guid, 0, &data));
    DWORD required = 0;
    EXPECT_FALSE(SetupDiGetDeviceInterfaceDetailW(set, &data, nullptr, 0, &required, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_W) std::array<BYTE, 512> buffer{};
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = 6;  // what another word size would want
    EXPECT_FALSE(SetupDiGetDeviceInterfaceDetailW(set, &data, detail, required, nullptr, nullptr));
    detail->cbSize = sizeof(*detail);
    EXPECT_TRUE(SetupDiGetDeviceInterfaceDetailW(set, &data, detail, required, nullptr, nullptr));
    const std::string path = qxsim::ToUtf8(reinterpret_cast<const WCHAR*>(buffer.data() + 4));
    EXPECT_EQ(path, machine().ControlPath(Dev("QX\\P\\1")));
    EXPECT_TRUE(path.ends_with("_{4d36e978-e325-11ce-bfc1-08002be10318}0000"));
    EXPECT_FALSE(SetupDiEnumDeviceInterfaces(set, nullptr, &guid, 1, &data));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));

    HANDLE alone = Open();
    ASSERT_NE(alone, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Open(FILE_SHARE_READ | FILE_SHARE_WRITE), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_TRUE(CloseHandle(alone));
    machine().Stop(Dev("QX\\P\\1"));
    EXPECT_EQ(Open(), INVALID_HANDLE_VALUE);
}

// The streams byte by byte, as a driver's documentation would print them.
TEST_F(DriversTest, StreamsAreLittleEndianNumbersWithTheBusTextInBetween) {
    Control().settings["Baudrate"] = 0x01020304;
    EXPECT_EQ(Ask(kSettingsSize, 0, 4), (Bytes{132, 0, 0, 0}));
    const Bytes port = Ask(kSettings, 0, 132);
    EXPECT_EQ(Bytes(port.begin() + 16, port.begin() + 20), (Bytes{4, 3, 2, 1}));
    EXPECT_EQ(Ask(kDefaults, 0, 132)[16], 0x80);  // 9600
    EXPECT_EQ(Ask(kSettingsSize, 1, 4), (Bytes{60, 0, 0, 0}));
    const Bytes bus = Ask(kSettings, 1, 60);
    EXPECT_EQ(Bytes(bus.begin() + 24, bus.begin() + 32), (Bytes{3, 0, 0, 0, 'U', 'S', 'B', 0}));
    EXPECT_EQ(std::tuple(last, returned), std::tuple(0U, 60U));
    Ask(kSettings, 1, 59);
    EXPECT_EQ(last, static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    Ask(kSettings, 2, 132);
    EXPECT_EQ(last, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    for (const DWORD code : {kSettingsSize, kSettings, kDefaults}) {
        Ask(code, 0, 132, {0});  // a byte behind the header
        EXPECT_EQ(last, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
    for (const DWORD code : {kSettings, kWrite}) {
        second_word = 0xFFFFFFFE;
        Ask(code, 0, 132, code == kWrite ? port : Bytes());
        EXPECT_EQ(last, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
        second_word = 0xFFFFFFFF;
        Ask(code, 0, 132, code == kWrite ? port : Bytes());
        EXPECT_EQ(last, 0U);
    }
    Ask(0x8001E00C, 0, 4);
    EXPECT_EQ(last, static_cast<DWORD>(ERROR_INVALID_FUNCTION));
}

TEST_F(DriversTest, AWriteIsTakenWholeOrNotAtAllAndOutlivesARestart) {
    Bytes port = Ask(kSettings, 0, 132);
    port[16] = 0x00;
    port[17] = 0xE1;  // 57600
    Bytes cut(port.begin(), port.end() - 1);
    Ask(kWrite, 0, 0, cut);
    EXPECT_EQ(last, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(Control().settings["Baudrate"], 9600U);
    Ask(kWrite, 0, 0, port);
    EXPECT_EQ(last, 0U);
    EXPECT_EQ(Control().settings["Baudrate"], 57600U);
    EXPECT_EQ(Control().writes.back().size(), 140U);
    // Kept in the hardware key, where a reinstallation's backup finds it; defaults are not.
    const std::string key = "System\\CurrentControlSet\\Enum\\QX\\P\\1\\Device Parameters";
    EXPECT_EQ(machine().ReadDword(key, "Baudrate"), 57600U);
    EXPECT_EQ(machine().ReadDword(key, "Parity"), std::nullopt);
    machine().WriteDword(key, "Parity", 2);
    machine().WriteDword(key, "SupportedParities", 0);
    const auto again = qxsim::Machine::Reopen(machine().Snapshot());
    EXPECT_EQ(again->Find("QX\\P\\1")->control->settings["Parity"], 2U);
    EXPECT_EQ(again->Find("QX\\P\\1")->control->settings["SupportedParities"], 0x1F00U);

    Bytes bus = Ask(kSettings, 1, 60);
    bus[24] = 4;  // one more than the text has
    Ask(kWrite, 1, 0, bus);
    EXPECT_EQ(last, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(DriversTest, DriversMisbehaveAsTold) {
    using qxsim::DriverRequest;
    Control().misbehaviour[{DriverRequest::Settings, 0}].refuse = ERROR_GEN_FAILURE;
    Ask(kSettings, 0, 132);
    EXPECT_EQ(last, static_cast<DWORD>(ERROR_GEN_FAILURE));
    Control().misbehaviour[{DriverRequest::Settings, 0}] = {.truncate = 131};
    EXPECT_EQ(Ask(kSettings, 0, 132).size(), 131U);
    Control().misbehaviour[{DriverRequest::Settings, 0}] = {.stream = Bytes{1, 2}, .extra = 1};
    EXPECT_EQ(Ask(kSettings, 0, 132), (Bytes{1, 2, 0xEE}));
    Control().misbehaviour[{DriverRequest::Settings, 0}] = {.claimed = 5000, .fill_what_fits = true};
    EXPECT_EQ(Ask(kSettings, 0, 10).size(), 10U);
    EXPECT_EQ(returned, 5000U);
    Control().misbehaviour[{DriverRequest::SettingsSize, 0}].size = 0xFFFFFFFF;
    EXPECT_EQ(Ask(kSettingsSize, 0, 4), (Bytes{255, 255, 255, 255}));
}

}  // namespace
