// SPDX-License-Identifier: MIT
// Machine files: what is filled in, what comes back, and what is said about mistakes.
#include "platform/machine/machine_file.h"
#include "tests/support/machine_fixture.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

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
    EXPECT_EQ(loaded->PortName(port), "COM12");
    EXPECT_THAT(loaded->ClaimedNumbers(), ElementsAre(3U, 12U));
    EXPECT_EQ(loaded->DosTarget("COM12"), qxsim::ToUtf8(port.kernel_path));
    EXPECT_EQ(loaded->SerialCommName(port), "COM12");
    EXPECT_EQ(loaded->PropertyText(port, SPDRP_FRIENDLYNAME), "Veltramark Serial Port (COM12)");
    EXPECT_EQ(loaded->PropertyText(port, SPDRP_DRIVER), "{4d36e978-e325-11ce-bfc1-08002be10318}\\0000");
    ASSERT_TRUE(port.control);
    EXPECT_EQ(port.control->settings["Baudrate"], 115200U);
    EXPECT_EQ(port.control->defaults["Baudrate"], 9600U);
    const qxsim::Device& ghost = *loaded->Find("QX\\P\\2");
    EXPECT_FALSE(ghost.control || ghost.started || loaded->Present(ghost));
    EXPECT_EQ(loaded->DosTarget("COM3"), std::nullopt);
    const qxsim::Device& nameless = *loaded->Find("QX\\P\\3");
    EXPECT_EQ(loaded->HardwareKey(nameless)->Find(TEXT("PortName")), nullptr);
    EXPECT_EQ(loaded->PropertyText(nameless, SPDRP_FRIENDLYNAME), "");
}

TEST_F(MachineFileTest, ExamplesLoadWithNamesThatAgreeAndComeBackUnchanged) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QX_EXAMPLES)) {
        SCOPED_TRACE(entry.path().string());
        const auto loaded = Machine::Load(entry.path());
        for (const qxsim::Device* port : loaded->Ports()) {
            const std::string name = loaded->PortName(*port);
            EXPECT_TRUE(loaded->Claimed(static_cast<unsigned>(std::stoul(name.substr(3)))));
            EXPECT_EQ(loaded->SerialCommName(*port), port->started ? name : "");
        }
        const std::string saved = loaded->ToJson();
        EXPECT_EQ(Machine::FromJson(saved)->ToJson(), saved);
        EXPECT_THAT(saved, testing::StartsWith("{\n  \"format\": 1,\n  \"about\": \"A "));
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

// A stored file is changed by the keys that a file written by hand has, and each fact stands there once.
TEST_F(MachineFileTest, AStoredFileIsEditedLikeAnyOther) {
    const auto first = Machine::FromJson(R"({"devices": [{"id": "USB\\A\\1", "class": "USB", "children": [
        {"id": "QX\\P\\1", "port": "COM5", "settings": {"Baudrate": 115200}}]}]})");
    nlohmann::json file = nlohmann::json::parse(first->ToJson());
    nlohmann::json& ports = file["devices"][0]["children"];
    ports[0]["settings"]["Baudrate"] = 57600;
    ports[0]["port"] = "COM9";
    ports.push_back({{"id", "QX\\P\\2"}, {"port", "COM6"}});
    const auto edited = Machine::FromJson(file.dump());
    const auto restarted = Machine::Reopen(edited->Snapshot());
    for (const Machine* each : {edited.get(), restarted.get()}) {
        const qxsim::Device& port = *each->Find("QX\\P\\1");
        EXPECT_EQ(port.control->settings["Baudrate"], 57600U);
        EXPECT_EQ(each->PropertyText(port, SPDRP_FRIENDLYNAME), "Veltramark Serial Port (COM9)");
        EXPECT_EQ(each->DosTarget("COM9"), qxsim::ToUtf8(port.kernel_path));
        EXPECT_EQ(each->SerialCommName(*each->Find("QX\\P\\2")), "COM6");
        EXPECT_THAT(each->ClaimedNumbers(), ElementsAre(6U, 9U));
    }
    const std::string stored = edited->ToJson();
    EXPECT_EQ(stored.find("57600"), stored.rfind("57600"));
    EXPECT_EQ(nlohmann::json::parse(stored)["devices"][0]["children"][1]["port"], "COM6");
}

TEST_F(MachineFileTest, ADriverRunsWithOneSettingAndStartsWithAnother) {
    const auto first = Machine::FromJson(R"({"devices": [{"id": "QX\\P\\1", "port": "COM5",
        "settings": {"Baudrate": 115200, "Parity": 1}, "values": {"Baudrate": 4800, "Parity": null}},
        {"id": "QX\\P\\2", "port": "COM6"}]})");
    first->Find("QX\\P\\2")->disabled = true;  // while it was in use
    const auto again = Machine::FromJson(first->ToJson());
    EXPECT_EQ(again->ToJson(), first->ToJson());
    EXPECT_EQ(again->Find("QX\\P\\1")->control->settings["Baudrate"], 115200U);
    EXPECT_EQ(again->HardwareKey(*again->Find("QX\\P\\1"))->Find(TEXT("Parity")), nullptr);
    EXPECT_TRUE(again->Find("QX\\P\\2")->started);
    EXPECT_EQ(again->DosTarget("COM6"), first->DosTarget("COM6"));
    const auto restarted = Machine::Reopen(again->Snapshot());
    EXPECT_EQ(restarted->Find("QX\\P\\1")->control->settings["Baudrate"], 4800U);
    EXPECT_FALSE(restarted->Find("QX\\P\\2")->started);
}

TEST_F(MachineFileTest, MistakesAreNamedByPlaceAndKey) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"devices": [{"port": "COM5"}]})", R"(column 14: devices[0]: "id" is missing)"},
        {R"({"devices": [{"id": "A\\B\\C"}, {"id": "a\\b\\c"}]})",
         "column 40: devices[1].id: duplicate device id"},
        {R"({"devices": [{"id": "nobackslash"}]})", "three parts"},
        {R"({"devices": [{"id": "A\\B\\C", "port": "com7"}]})", "expected a COM name"},
        {R"({"devices": [{"id": "A\\B\\C", "port": "COM007"}]})", "expected a COM name"},
        {R"({"devices": [{"id": "A\\B\\C", "port": "LPT1"}]})", "expected a COM name"},
        {R"({"devices": [{"id": "A\\B\\C", "port": "COM300"}]})", "has 256 numbers"},
        {"{\n\"system\": {\"version\": \"ten\"}}", "line 2, column 23: system.version: expected a version"},
        {R"({"system": {}, "system": {}})", "line 1, column 16: duplicate key \"system\""},
        {R"({"portDatabase": {"alsoClaimed": [257]}})", "expected a number from 1 to 256"},
        {R"({"registry": {"HKEY_USERS": {"a\\\\b": {}}}})", "an empty name"},
        {"{\n\"devices\": [\n", "line 3, column 1: not valid JSON: unexpected end of input"},
        {R"({"format": 2, "anything": 1})", "column 12: format: this program reads files of format 1"},
        {"[]", "line 1, column 1: expected an object"},
    };
    for (const auto& [file, says] : cases)
        EXPECT_THAT(ErrorOf(file), testing::HasSubstr(says)) << file;
    EXPECT_THAT(ErrorOf(std::string(1000, '[')), testing::HasSubstr("nested too deeply"));
    // All of a file's mistakes in one go, past comments.
    EXPECT_EQ(
        ErrorOf(
            "{\"devices\": [ // the bench\n  {\"id\": \"A\\\\B\\\\C\", \"prot\": \"COM5\", \"settings\":\n"
            "   {\"Baudrate\": /* none */ -1,\n    \"Partiy\": 2}}], \"abuot\": 1}"),
        "line 2, column 21: devices[0].prot: unknown key; did you mean \"port\"?\n"
        "line 3, column 4: devices[0].settings: the device has no control device\n"
        "line 4, column 21: abuot: unknown key; did you mean \"about\"?");
    EXPECT_EQ(ErrorOf("{\"devices\": [{\"id\": \"A\\\\B\\\\C\", \"port\": \"COM5\", \"settings\":\n"
                      "   {\"Baudrate\": /* none */ -1,\n    \"Partiy\": 2}}]}"),
              "line 2, column 28: devices[0].settings.Baudrate: expected a number from 0 to 4294967295\n"
              "line 3, column 5: devices[0].settings.Partiy: no such setting; did you mean \"Parity\"?");
}

// Editors complete the keys that this has.
TEST_F(MachineFileTest, TheSchemaHasTheKeysThatTheReaderKnows) {
    std::ifstream in(QX_SCHEMA);
    const nlohmann::json schema = nlohmann::json::parse(in);
    const auto& keys = qxsim::MachineFileKeys();
    EXPECT_EQ(schema["$ref"], "#/$defs/machine");
    for (const auto& [object, known] : keys) {
        const nlohmann::json& definition = schema["$defs"][object];
        EXPECT_EQ(definition["additionalProperties"], false) << object;
        std::vector<std::string> properties;
        for (const auto& [name, about] : definition["properties"].items()) {
            properties.push_back(name);
            EXPECT_TRUE(about.contains("description")) << object << '.' << name;
        }
        EXPECT_THAT(properties, testing::UnorderedElementsAreArray(known)) << object;
    }
    const auto loaded = Machine::FromJson(R"({"$schema": "my.schema.json", "format": 1})");
    EXPECT_THAT(loaded->ToJson(),
                testing::StartsWith("{\n  \"$schema\": \"my.schema.json\",\n  \"format\": 1,"));
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
        EXPECT_EQ(std::string(error.what()), file.string() + ": line 2, column 1: x: unknown key");
    }
    EXPECT_THROW(static_cast<void>(Machine::Load(folder / "none.json")), qxsim::MachineFileError);
    // Write-protected also means: against those whom the system would let write.
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    try {
        machine().Save(file);
        ADD_FAILURE();
    } catch (const qxsim::MachineFileError& error) {
        EXPECT_EQ(std::string(error.what()), file.string() + " is write-protected");
    }
    std::filesystem::remove_all(folder);
}

}  // namespace
