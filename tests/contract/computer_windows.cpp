// SPDX-License-Identifier: MIT
// The computer that Windows programs run on: the test port driver is installed for the length of the program.
#include "tests/contract/contract.h"

#include "host/windows/user_thread.h"
#include "tests/windows/installed_port.h"

#include <memory>

namespace contract {

namespace {

std::unique_ptr<qxtest::InstalledPort> installed;
Port port;
std::wstring type_library;

}  // namespace

bool OnWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

const Port& TestPort() {
    if (bare)
        throw Lacking{"the test driver, which is made for Wine"};
    return port;
}

const WCHAR* TypeLibraryFile() {
    return type_library.c_str();
}

void RunModal(const std::function<void()>& work, const std::function<bool()>& step) {
    qxhost::RunWithUser(work, step);
}

void Computer::SetUp() {
    type_library = qxtest::BesideProgram(L"QxUUI10.DLL");
    if (bare)
        return;
    installed = std::make_unique<qxtest::InstalledPort>(L"COM7");
    ASSERT_EQ(installed->problem(), L"");
    port.set = installed->set();
    port.element = installed->element();
}

void Computer::TearDown() {
    installed.reset();
}

}  // namespace contract
