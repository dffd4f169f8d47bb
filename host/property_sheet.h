// The device manager's part in showing a port's properties.
#pragma once

#include "host/desk.h"
#include "host/session.h"

#include <functional>

namespace qxhost {

// Asks the library for the port's pages and shows them in a sheet "<friendly name> Properties", modally, with
// `user` in front of it (see Desk::Use). Answers what the sheet answered: above 0 when it closed with OK.
// Throws Failure when the library offers no page.
[[nodiscard]] INT_PTR ShowPropertySheet(Session& session, const qxsim::Device& port, Desk& desk,
                                        const std::function<bool()>& user);

}  // namespace qxhost
