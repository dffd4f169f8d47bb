// SPDX-License-Identifier: MIT
#include "admin/port_state.h"

#include "admin/text.h"
#include "device_records/port_access.h"
#include "driver_access/user_mode_config.h"
#include "driver_access/vcp_parameters.h"

namespace qxports {

std::string StateOf(const Port& port) {
    if (!port.present)
        return "absent";
    if (port.problem == CM_PROB_DISABLED)
        return "disabled";
    if (!port.started)
        return port.problem == 0 ? "not started"
                                 : "not started (problem " + std::to_string(port.problem) + ")";
    return "running";
}

std::string WhyNotOpened(const qx::Text& name) {
    if (qx::CanOpenPort(name))
        return {};
    const DWORD error = GetLastError();
    return error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION
               ? "held open"
               : "does not open: " + ErrorWords(error);
}

std::string KindOf(const Computer& computer, const Port& port) {
    qx::CQxUserModeConfig channel(computer.Set(), port.element);
    qx::CQxUVcpUserModeInterface settings;
    if (!channel.FindInterface() || !channel.ReadSettings(settings, qx::kPortSet))
        return {};
    return settings.PortType == qx::kRs422485Port ? "RS-422/485" : "ordinary";
}

}  // namespace qxports
