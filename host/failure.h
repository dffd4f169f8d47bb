// SPDX-License-Identifier: MIT
// How a command ends when it cannot do what it was asked.
#pragma once

#include "admin/failure.h"

namespace qxhost {

using qxports::ExitCode;
using qxports::Failure;
using qxports::kBadUse;
using qxports::kDone;
using qxports::kNoAnswer;
using qxports::kNotAsItShould;
// No port or adapter of that name, or several.
inline constexpr ExitCode kUnknownDevice = qxports::kUnknownPort;
// The machine file is missing, broken or cannot be written.
inline constexpr auto kBadMachine = static_cast<ExitCode>(3);
// Something that no command expects, such as a library that is not there.
inline constexpr auto kUnexpected = static_cast<ExitCode>(10);

}  // namespace qxhost
