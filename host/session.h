// One run of the host program on one machine file.
#pragma once

#include "platform/machine/machine.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qxhost {

// A device in a device-information set of its own, the way the device installer and the device manager name
// it.
struct HandedDevice {
    HDEVINFO set = INVALID_HANDLE_VALUE;
    SP_DEVINFO_DATA element{};
};

class Session {
  public:
    // Loads the machine and makes it the computer that answers the platform's calls. Throws Failure.
    explicit Session(std::filesystem::path file);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    [[nodiscard]] qxsim::Machine& Machine() { return *machine_; }
    [[nodiscard]] const std::filesystem::path& File() const { return file_; }

    // From here on the machine says that it runs this version of the system ("6.0", "10.0"). Not stored.
    void PretendVersion(const std::string& version);
    // Prints every platform call of the library to standard error as it ends.
    void TraceCalls();

    // Stores the machine in its file: the old one or the new one, never half of it. Throws Failure.
    void Store();

    // The computer's ports by COM number; those without one come last.
    [[nodiscard]] std::vector<const qxsim::Device*> PortsInOrder() const;
    // The port that a COM name means. Throws Failure with the names there are, or with the ids of the ports
    // that share the name.
    [[nodiscard]] qxsim::Device& Port(const std::string& name);
    // The device that an instance id, a COM name, a friendly name, or a part of an id or of a name that fits
    // no other device means. Throws Failure when there is none, or several.
    [[nodiscard]] qxsim::Device& Named(const std::string& name);
    [[nodiscard]] HandedDevice Hand(const qxsim::Device& device);

  private:
    std::filesystem::path file_;
    std::unique_ptr<qxsim::Machine> machine_;
    std::optional<qxsim::CurrentMachine> current_;
    struct Version {
        DWORD major, minor;
    };
    std::optional<Version> true_version_;
};

// A short name for people: friendly name, else description, else instance id.
[[nodiscard]] std::string ShownName(const qxsim::Machine& machine, const qxsim::Device& device);

}  // namespace qxhost
