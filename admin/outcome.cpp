// SPDX-License-Identifier: MIT
#include "admin/outcome.h"

#include "admin/failure.h"
#include "admin/name_report.h"
#include "admin/text.h"

#include <algorithm>

namespace qxports {

void RequireWritable(const Computer& computer, const Port& port) {
    SP_DEVINFO_DATA element = port.element;
    const qx::HardwareKey key(
        SetupDiOpenDevRegKey(computer.Set(), &element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_WRITE));
    if (key)
        return;
    const DWORD error = GetLastError();
    throw Failure(error == ERROR_ACCESS_DENIED ? kNoRight : kSystemFailed,
                  "nothing is changed, for the settings of " + port.Name() +
                      " may not be written: " + ErrorWords(error) +
                      (error == ERROR_ACCESS_DENIED ? ". This takes the rights of an administrator" : ""));
}

Computer AfterChange() {
    try {
        return {};
    } catch (const Failure& failure) {
        throw Failure(kNotAsItShould, "what was changed cannot be seen, for " + std::string(failure.what()));
    }
}

void RequireName(const std::string& id, const std::string& name) {
    const Computer computer = AfterChange();
    const NameReport report = ReportNames(computer);
    const auto found =
        std::ranges::find_if(report.ports, [&](const NamedPort& each) { return each.port.id == id; });
    if (found == report.ports.end() || found->port.Name() != name)
        throw Failure(kNotAsItShould,
                      id + " is not " + name + " but " +
                          (found == report.ports.end() || found->port.Name().empty() ? "without a name"
                                                                                     : found->port.Name()));
    std::vector<std::string> faults;
    if (!found->port.started)
        faults.emplace_back("it does not run");
    for (const NameFault& fault : found->faults)
        faults.push_back(fault.text);
    if (!report.claims_known)
        faults.emplace_back("the port database cannot be read");
    if (!faults.empty())
        throw Failure(kNotAsItShould, name + " is not in order (repair may mend it): " + Listed(faults));
}

}  // namespace qxports
