// SPDX-License-Identifier: MIT
// Fuzzes the machine-file loader: any file is either a computer or an error that names its place.
#include "fuzz/fuzz_input.h"
#include "platform/machine/machine.h"

#include <memory>
#include <string_view>

namespace {

using qxfuzz::Require;

// The loader throws only what it documents; anything else ends the run by itself.
std::unique_ptr<qxsim::Machine> Load(std::string_view json) {
    try {
        return qxsim::Machine::FromJson(json);
    } catch (const qxsim::MachineFileError& error) {
        Require(std::string_view(error.what()).find("line ") != std::string_view::npos,
                "an error names its line");
        return nullptr;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::unique_ptr<qxsim::Machine> machine = Load({reinterpret_cast<const char*>(data), size});
    if (!machine)
        return 0;
    std::string stored = machine->ToJson();
#ifdef QX_CANARY
    if (const std::size_t at = stored.find("COM6"); at != std::string::npos)
        stored[at + 3] = '7';
#endif
    const std::unique_ptr<qxsim::Machine> again = Load(stored);
    Require(again != nullptr, "what was stored loads");
    Require(again->ToJson() == machine->ToJson(), "a computer stored and loaded is the same computer");
    return 0;
}
