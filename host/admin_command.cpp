#include "host/commands.h"
#include "host/desk.h"
#include "host/failure.h"
#include "host/session.h"

#include "admin/run.h"

#include <iostream>

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

int RunAdminCommand(const MachineOptions& options, const std::vector<std::string>& arguments) {
    Session session(options.machine);
    if (options.trace)
        session.TraceCalls();
    TerminalSurroundings surroundings;
    const std::unique_ptr<Desk> desk = OpenDesk();
    int code = kDone;
    desk->Use([&] { code = qxports::Run("qxhost MACHINE", arguments, surroundings); }, {});
    if (qxsim::Instruments::The().Changes() != 0)
        session.Store();
    return code;
}

}  // namespace qxhost
