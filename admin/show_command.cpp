// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/computer.h"
#include "admin/port_sheet.h"
#include "admin/text.h"

namespace qxports {

int ShowSheet(const Context& context, const std::string& name) {
    const Computer computer = Computer::OfPorts();
    const Port& port = computer.Find(name);
    const LPFNADDPROPSHEETPAGES provider = context.around.PageProvider();
    const INT_PTR result = ShowPortSheet(provider, computer.Set(), port.element, Wide(port.shown));
    if (result == kNoPages)
        throw Failure(kNoAnswer, "there are no pages for " + port.Name() + ", " + port.shown +
                                     ": its driver does not run, does not answer, or is another maker's");
    if (result < 0)
        throw Failure(kSystemFailed, "the sheet of " + port.Name() + " cannot be shown");
    return kDone;
}

}  // namespace qxports
