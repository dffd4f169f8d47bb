#include "platform/machine/machine.h"
namespace qxsim {
std::unique_ptr<Machine> Machine::Load(const std::filesystem::path&) {
    throw MachineFileError("not yet");
}
std::unique_ptr<Machine> Machine::FromJson(std::string_view) {
    throw MachineFileError("not yet");
}
void Machine::Save(const std::filesystem::path&) const {
    throw MachineFileError("not yet");
}
std::string Machine::ToJson() const {
    throw MachineFileError("not yet");
}
}  // namespace qxsim
