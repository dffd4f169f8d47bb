// SPDX-License-Identifier: MIT
#include "host/admin_command.h"

#include "host/commands.h"
#include "host/failure.h"
#include "host/session.h"

#include "admin/run.h"

#include <iostream>
#include <utility>

namespace qxhost {

namespace {

class TerminalSurroundings : public qxports::Surroundings {
  public:
    void Out(std::string_view text) override { std::cout << text << std::flush; }
    void Err(std::string_view text) override { std::cerr << text; }
    [[nodiscard]] std::size_t Columns() const override { return 0; }
    [[nodiscard]] bool CanAsk() const override { return TerminalIsThere(); }
    [[nodiscard]] std::string Ask(std::string_view question) override {
        Out(question);
        std::string line;
        std::getline(std::cin, line);
        return line;
    }
    [[nodiscard]] LPFNADDPROPSHEETPAGES PageProvider() override {
        return reinterpret_cast<LPFNADDPROPSHEETPAGES>(
            reinterpret_cast<void*>(LibraryEntry("QxUPortPropPage")));
    }
};

}  // namespace

int RunAdmin(Desk& desk, std::vector<std::string> arguments, const std::function<bool()>& user) {
    TerminalSurroundings surroundings;
    int code = kDone;
    desk.Use([&] { code = qxports::Run("qxhost MACHINE", std::move(arguments), surroundings); }, user);
    return code;
}

int RunAdminCommand(const MachineOptions& options, const std::vector<std::string>& arguments) {
    Session session(options);
    session.TraceCalls();
    const int code = RunAdmin(*OpenDesk(), arguments, {});
    session.Store();
    return code;
}

}  // namespace qxhost
