// Machine files: what is filled in, what comes back, and what is said about mistakes.
#include "tests/support/machine_fixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using qxsim::Machine;
using qxtest::MachineTest;
using testing::ElementsAre;

class MachineFileTest : public MachineTest {
  protected:
    static std::string ErrorOf(const std::string& json) {
        try {
            static_cast<void>(Machine::FromJson(json));
        } catch (const qxsim::MachineFileError& error) {
            return error.what();
        }
        return "no error";
    }
};

TEST_F(MachineFileTest, APortIsFilledInAsAnInstallerWould) {
    const auto loaded = Machine::FromJson(R"({"devices": [{"id": "QX\\A\\1", "class": "USB", "children": [
        {"id": "QX\\P\\1", "port": "COM12", "settings": {"Baudrate": 115200}},
        {"id": "QX\\P\\2", "port": "COM3", "foreign": true, "present": false},
        {"id": "QX\\P\\3", "class": "Ports", "port": null}]}]})");
    const qxsim::Device& port = *loaded->Find("qx\\p\\1");
    const Machine::PortNames names = loaded->NamesOf(port);
    EXPECT_EQ(names.port_name, "COM12");
    EXPECT_TRUE(names.claimed);
    EXPECT_THAT(names.dos_names, ElementsAre("COM12"));
    EXPECT_EQ(names.serial_comm, "COM12");
    EXPECT_EQ(names.friendly_name, "Veltramark Serial Port (COM12)");
    EXPECT_EQ(loaded->PropertyText(port, SPDRP_DRIVER), "{4d36e978-e325-11ce-bfc1-08002be10318}\\0000");
    ASSERT_TRUE(port.control);
    EXPECT_EQ(port.control->settings["Baudrate"], 115200U);
    EXPECT_EQ(port.control->defaults["Baudrate"], 9600U);
    const qxsim::Device& ghost = *loaded->Find("QX\\P\\2");
    EXPECT_FALSE(ghost.control || ghost.started || loaded->Present(ghost));
    EXPECT_TRUE(loaded->NamesOf(ghost).claimed);
    EXPECT_EQ(loaded->DosTarget("COM3"), std::nullopt);
    const qxsim::Device& nameless = *loaded->Find("QX\\P\\3");
    EXPECT_EQ(loaded->HardwareKey(nameless)->Find(TEXT("PortName")), nullptr);
    EXPECT_EQ(loaded->NamesOf(nameless).friendly_name, "");
}

TEST_F(MachineFileTest, ExamplesLoadWithNamesThatAgreeAndComeBackUnchanged) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QX_EXAMPLES)) {
        SCOPED_TRACE(entry.path().string());
        const auto loaded = Machine::Load(entry.path());
        for (const qxsim::Device* port : loaded->Ports()) {
            const Machine::PortNames names = loaded->NamesOf(*port);
            EXPECT_TRUE(names.claimed);
            EXPECT_EQ(names.serial_comm, names.started ? names.port_name : "");
        }
        const std::string saved = loaded->ToJson();
        EXPECT_EQ(Machine::FromJson(saved)->ToJson(), saved);
        EXPECT_THAT(saved, testing::StartsWith("{\n  \"about\": \"A "));
        EXPECT_EQ(Machine::Reopen(loaded->Snapshot())->ToJson(),
                  Machine::Reopen(*Machine::FromJson(saved))->ToJson());
        ++count;
    }
    EXPECT_GE(count, 4);
}

// What a field engineer's machine may hold: a state that nothing would be filled in to, odd values, odd
// drivers.
TEST_F(MachineFileTest, WhatIsMissingStaysMissing) {
    const auto first =
        Machine::FromJson(R"({"devices": [{"id": "QX\\P\\1", "port": "COM5"}, {"id": "QX\\P\\2"}]})");
    qxsim::Device& port = *first->Find("QX\\P\\1");
    first->SetClaimed(5, false);
    first->DropDosNamesOf(port.kernel_path);
    first->DefineDosName(TEXT("COM6"), TEXT("\\Device\\Older"));
    first->DefineDosName(TEXT("COM6"), port.kernel_path);
    port.properties.erase(SPDRP_DRIVER);
    port.properties[SPDRP_FRIENDLYNAME] = {REG_MULTI_SZ, {'x', 0, 'y', 0}};
    port.control->misbehaviour[{qxsim::DriverRequest::SettingsSize, 1}] = {.size = 0, .claimed = 9};
    port.control->bus.interface_type.clear();
    first->DeleteKey(Machine::HardwareKeyPath(first->Find("QX\\P\\2")->id));
    const auto key = first->HardwareKey(port);
    key->Set(TEXT("PortName"), REG_DWORD, {1, 2});
    key->Set(TEXT("Odd"), REG_SZ, {'C', 0, 'O'});
    key->Set(TEXT("Unknown"), 0x1234, {});
    first->MakeKey(Machine::HardwareKeyPath(port.id) + TEXT("\\UI1"))->Set(TEXT("a"), REG_QWORD, {1});
    key->refused = KEY_SET_VALUE;
    const std::string saved = first->ToJson();
    const auto second = Machine::FromJson(saved);
    EXPECT_EQ(second->ToJson(), saved);
    const qxsim::Device& again = *second->Find("QX\\P\\1");
    EXPECT_FALSE(second->Claimed(5));
    EXPECT_EQ(second->DosTarget("COM5"), std::nullopt);
    EXPECT_EQ(second->dos_names.at(TEXT("COM6")).size(), 2U);
    EXPECT_EQ(again.properties, port.properties);
    EXPECT_EQ(second->HardwareKey(again)->Find(TEXT("Odd"))->data, (qxsim::Bytes{'C', 0, 'O'}));
    EXPECT_EQ(second->HardwareKey(again)->refused, static_cast<REGSAM>(KEY_SET_VALUE));
    EXPECT_EQ(again.control->bus, port.control->bus);
    EXPECT_EQ(second->HardwareKey(*second->Find("QX\\P\\2")), nullptr);
}

TEST_F(MachineFileTest, MistakesAreNamedByLineAndKey) {
    EXPECT_EQ(ErrorOf("{\n \"devices\": [\n  {\"id\": \"A\\\\B\\\\C\", \"port\": \"COM5\", \"settings\":\n"
                      "   {\"Baudrate\": -1\n}}]}"),
              "line 4: devices[0].settings.Baudrate: expected a number 0..4294967295");
    EXPECT_EQ(ErrorOf("{\"devices\": [{\"id\": \"A\\\\B\\\\C\",\n\"prot\": \"COM5\"}]}"),
              "line 2: devices[0].prot: unknown key");
    EXPECT_EQ(ErrorOf(R"({"devices": [{"port": "COM5"}]})"), "line 1: devices[0]: \"id\" is missing");
    EXPECT_EQ(ErrorOf(R"({"devices": [{"id": "A"}, {"id": "a"}]})"),
              "line 1: devices[1].id: the id of a device must be its own");
    EXPECT_EQ(ErrorOf("{\n\"system\": {\"version\": \"ten\"}}"),
              "line 2: system.version: expected a version such as \"6.1\" or \"10.0\"");
    EXPECT_EQ(ErrorOf(R"({"system": {}, "system": {}})"), "line 1: \"system\" stands twice in one object");
    EXPECT_EQ(ErrorOf(R"({"portDatabase": {"claimed": [257]}})"),
              "line 1: portDatabase.claimed[0]: expected a number 1..256");
    EXPECT_THAT(ErrorOf("{\n\"devices\": [\n"), testing::StartsWith("line 2: syntax error"));
    EXPECT_THAT(ErrorOf(std::string(1000, '[')), testing::HasSubstr("nested too deeply"));
    EXPECT_EQ(ErrorOf("[]"), "line 1: expected an object");
}

TEST_F(MachineFileTest, SavingReplacesTheFileWholeOrLeavesIt) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "qx_machine_file_test";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    const std::filesystem::path file = folder / "m.json";
    machine().SetClaimed(7, true);
    machine().Save(file);
    EXPECT_THAT(Machine::Load(file)->ClaimedNumbers(), ElementsAre(7U));
    machine().SetClaimed(8, true);
    machine().Save(file);
    EXPECT_THAT(Machine::Load(file)->ClaimedNumbers(), ElementsAre(7U, 8U));
    EXPECT_EQ(
        std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()), 1);
    std::filesystem::create_directories(folder / "taken.json" / "full");
    EXPECT_THROW(machine().Save(folder / "taken.json"), qxsim::MachineFileError);
    const auto entries = [&] {
        return std::distance(std::filesystem::directory_iterator(folder),
                             std::filesystem::directory_iterator());
    };
    EXPECT_EQ(entries(), 2);
    // A link stays a link, the file private, and what lies beside it as it was.
    std::filesystem::permissions(file,
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::create_symlink("m.json", folder / "link.json");
    std::ofstream(folder / "m.json.new") << "mine";
    machine().SetClaimed(8, false);
    machine().Save(file);
    machine().Save(folder / "link.json");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.json"));
    EXPECT_THAT(Machine::Load(file)->ClaimedNumbers(), ElementsAre(7U));
    EXPECT_EQ(std::filesystem::status(file).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(std::filesystem::file_size(folder / "m.json.new"), 4U);
    EXPECT_EQ(entries(), 4);
    std::ofstream(file) << "{\n\"x\": 1}";
    try {
        static_cast<void>(Machine::Load(file));
        ADD_FAILURE();
    } catch (const qxsim::MachineFileError& error) {
        EXPECT_EQ(std::string(error.what()), file.string() + ": line 2: x: unknown key");
    }
    EXPECT_THROW(static_cast<void>(Machine::Load(folder / "none.json")), qxsim::MachineFileError);
    std::filesystem::remove_all(folder);
}

}  // namespace
