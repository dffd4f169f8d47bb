#include "host/commands.h"
#include "host/failure.h"
#include "host/session.h"

#include "platform/machine/name_report.h"

#include <iostream>

namespace qxhost {

int ShowNames(const MachineOptions& options) {
    Session session(options.machine);
    if (options.trace)
        session.TraceCalls();
    const qxsim::NameReport report = qxsim::ReportNames(session.Machine());
    std::cout << report.Table();
    if (report.Agrees()) {
        std::cout << "All places agree.\n";
        return kDone;
    }
    std::cout << "\nDisagreements:\n" << report.Faults();
    return kNotAsItShould;
}

}  // namespace qxhost
