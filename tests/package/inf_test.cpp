// SPDX-License-Identifier: MIT
// The example INFs: that they can be installed as they are, and that the check would notice if they could
// not.
#include "tests/package/inf_check.h"
#include "tests/package/sources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

void AddInstances(const nlohmann::json& devices, std::vector<std::string>& instances) {
    for (const nlohmann::json& device : devices) {
        instances.push_back(device.at("id"));
        AddInstances(device.value("children", nlohmann::json::array()), instances);
    }
}

// As the build writes them.
std::string WithVersion(std::string inf) {
    static constexpr std::string_view kPlace = "@PROJECT_VERSION@";
    if (const std::size_t at = inf.find(kPlace); at != std::string::npos)
        inf.replace(at, kPlace.size(), QX_VERSION);
    return inf;
}

infcheck::Package ExamplePackage() {
    infcheck::Package package;
    package.version = QX_VERSION;
    for (const auto& file : std::filesystem::directory_iterator(kSource / "package"))
        if (file.path().extension() == ".inf")
            package.infs[file.path().filename().string()] = WithVersion(Contents(file.path()));
    std::istringstream definition(Contents("module/QxUUI10.def"));
    for (std::string word; definition >> word;)
        package.entries.insert(word);
    for (const auto& file : std::filesystem::directory_iterator(kSource / "examples"))
        AddInstances(nlohmann::json::parse(Contents(file.path())).at("devices"), package.known_instances);
    return package;
}

struct Mistake {
    const char* inf;
    const char* right;
    const char* wrong;
    const char* complaint;
};

constexpr Mistake kMistakes[] = {
    {"port", "PnpLockdown=1\n", "", "PnpLockdown is not 1"},
    {"port", "CatalogFile=QxUUI10-example.cat\n", "", "no catalogue"},
    {"port", "{4D36E978-", "{4D36E979-", "the GUID is not that of class Ports"},
    {"port", "[Port_Pages]", "[Port_Page]", "there is no [Port_Pages]"},
    {"port", "[Strings]\n", "[Old_Files]\nqxport.sys\n[Strings]\n", "nothing names [old_files]"},
    {"port", "UsbPort=\"Example", "OldPort=\"Example", "no string %usbport%"},
    {"port", "UsbPort=\"Example", "OldPort=\"Example", "nothing uses the string oldport"},
    {"port", "QxUUI51.chm=1\n", "", "qxuui51.chm is copied, and not on the disk"},
    {"port", "\n[Help_Files]\nQxUUI51.chm\n", "\n[Help_Files]\n", "no section copies it"},
    {"port", "Help_Files=18", "Help_Files=11", "qxuui51.chm belongs into directory 18, not 11"},
    {"port", "%12%\\qxport.sys", "%13%\\qxport.sys", "unknown directory %13%"},
    {"port", "%12%\\qxport.sys", "%12%\\qxports.sys", "the service's file is not copied"},
    {"port", "Ports,NTamd64", "Ports,NTx86", "the models are not for NTamd64 alone"},
    {"port", "[PciPort_Install.NTamd64.CoInstallers]\nCopyFiles=Library_Files\n",
     "[PciPort_Install.NTamd64.CoInstallers]\n", "QxUUI10.DLL is not copied with CoInstallers32"},
    {"port", "QxUPortPropPage", "QxUPortPropPages", "names an entry that the library lacks"},
    {"port", "QxUCoInstallPort", "QxUCoInstallCard", "CoInstallers32 should name QxUCoInstallPort"},
    {"port", "CoInstallers32,0x00010000", "CoInstallers32,", "CoInstallers32 has the wrong type"},
    {"port", "NoUpgrade,,\"1\"", "UnInstall,,\"qxgone.exe\"", "a program is named that is not copied"},
    {"port", "AddService=qxport,0x00000002", "AddService=qxport,", "needs one function driver"},
    {"port", "QXPCI\\PORT_4904", "QXUSB\\PORT_1102", "stands there twice"},
    {"port", "QXPCI\\PORT_4904", "QXPCI\\PORT_490", "nobody knows a device QXPCI\\PORT_490"},
    {"pci-card", "DEV_4904", "DEV_4902", "another INF installs PCI\\VEN_1F7A&DEV_4902 too"},
    {"pci-card", ".0\nCatalogFile", ".1\nCatalogFile", "DriverVer is not of version"},
    {"usb-adapter", "01/01/2024", "01/02/2024", "the INFs have different DriverVer"},
};

}  // namespace

TEST(ExampleInfs, CanBeInstalledTogether) {
    EXPECT_THAT(infcheck::Complaints(ExamplePackage()), IsEmpty());
}

TEST(ExampleInfs, MistakesInThemAreNoticed) {
    for (const Mistake& mistake : kMistakes) {
        infcheck::Package package = ExamplePackage();
        std::string& inf = package.infs.at("QxUUI10-example-" + std::string(mistake.inf) + ".inf");
        const std::size_t at = inf.find(mistake.right);
        ASSERT_NE(at, std::string::npos) << mistake.right;
        inf.replace(at, std::string(mistake.right).size(), mistake.wrong);
        EXPECT_THAT(infcheck::Complaints(package), Contains(HasSubstr(mistake.complaint)));
    }
}
