// SPDX-License-Identifier: MIT
// One run of the host program on one machine file.
#pragma once

#include "host/commands.h"
#include "host/failure.h"
#include "platform/machine/machine.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qxhost {

class Session {
  public:
    // Loads the machine and makes it the computer that answers the platform's calls. Waits while another
    // program works on the same file. Throws Failure.
    explicit Session(const MachineOptions& options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    [[nodiscard]] qxsim::Machine& Machine() { return *machine_; }

    // Prints every platform call of the library to standard error as it ends, if the options say so.
    void TraceCalls() const;

    // Stores the machine if it has changed: the old file or the new one, never half of it. Throws Failure.
    void Store();

    // The device that an instance id, a COM name, a friendly name, or a part of an id or of a name that fits
    // no other device means. Throws Failure when there is none, or several.
    [[nodiscard]] qxsim::Device& Named(const std::string& name);

  private:
    // From here on the machine says that it runs this version of the system ("6.0", "10.0"). Not stored.
    void PretendVersion(const std::string& version);

    const MachineOptions options_;
    std::shared_ptr<void> lock_;
    std::unique_ptr<qxsim::Machine> machine_;
    std::optional<qxsim::CurrentMachine> current_;
    struct Version {
        DWORD major, minor;
    };
    Version true_version_{};
    std::string before_;
};

// Throws Failure.
void StoreMachine(const qxsim::Machine& machine, const std::filesystem::path& file);

// A short name for people: friendly name, else description, else instance id.
[[nodiscard]] std::string ShownName(const qxsim::Machine& machine, const qxsim::Device& device);

}  // namespace qxhost
