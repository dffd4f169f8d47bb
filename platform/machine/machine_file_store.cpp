// SPDX-License-Identifier: MIT
// Machine files on the disk: read, and replaced as a whole or not at all.
#include "platform/machine/machine_file.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace qxsim {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& what, const std::error_code& error) {
    throw MachineFileError(what + ": " + error.message());
}

[[noreturn]] void FailWithErrno(const std::string& what) {
    Fail(what, {errno, std::generic_category()});
}

// An end that is asked for meanwhile comes when the file is whole and nothing lies beside it; a program that
// is killed leaves what it has written.
class NoInterruption {
  public:
    NoInterruption() {
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            before_[i] = std::signal(kSignals[i], Note);
    }
    ~NoInterruption() {
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            std::signal(kSignals[i], before_[i]);
        if (const int signal = asked_; signal != 0) {
            asked_ = 0;
            std::raise(signal);
        }
    }
    NoInterruption(const NoInterruption&) = delete;
    NoInterruption& operator=(const NoInterruption&) = delete;

  private:
    static void Note(int signal) { asked_ = signal; }
    static constexpr std::array kSignals{
        SIGINT,
        SIGTERM,
#ifdef SIGXFSZ
        SIGXFSZ,
#endif
#ifdef SIGHUP
        SIGHUP,
#endif
    };
    static inline volatile std::sig_atomic_t asked_ = 0;
    std::array<void (*)(int), kSignals.size()> before_{};
};

void CheckThatItMayBeReplaced(const fs::path& file) {
    const fs::file_status status = fs::status(file);
    if (!fs::exists(status))
        return;
    if (!fs::is_regular_file(status))
        throw MachineFileError(file.string() + " is no ordinary file");
    // Also from those whom the system would let write all the same.
    if ((status.permissions() &
         (fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write)) == fs::perms::none)
        throw MachineFileError(file.string() + " is write-protected");
    if (!std::fstream(file, std::ios::in | std::ios::out | std::ios::binary))
        FailWithErrno("cannot write " + file.string());
}

}  // namespace

std::unique_ptr<Machine> Machine::Load(const fs::path& file) {
    if (fs::is_directory(file))
        throw MachineFileError(file.string() + " is a folder");
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        FailWithErrno("cannot read " + file.string());
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (stream.bad())
        FailWithErrno("cannot read " + file.string());
    return machine_file::Read(content, file.string());
}

void Machine::Save(const fs::path& file) const {
    const std::string content = ToJson();
    std::error_code error;
    const fs::path target = fs::weakly_canonical(file, error);  // what a link leads to
    if (error)
        Fail("cannot write " + file.string(), error);
    CheckThatItMayBeReplaced(target);
    const NoInterruption whole;
    std::random_device random;
    fs::path beside;
    do {
        beside = target;
        beside += "." + std::to_string(random()) + ".new";
    } while (fs::exists(beside, error));
    std::ofstream stream(beside, std::ios::binary | std::ios::trunc);
    if (!stream)
        FailWithErrno("cannot make " + beside.string());
    if (fs::exists(target))  // before there is anything to read
        fs::permissions(beside, fs::status(target).permissions(), error);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream && !error)
        error = {errno, std::generic_category()};
    std::string problem = "cannot write " + beside.string();
    if (!error) {
        problem = "cannot replace " + target.string();
        fs::rename(beside, target, error);
    }
    if (error) {
        std::error_code ignored;
        fs::remove(beside, ignored);
        Fail(problem, error);
    }
}

}  // namespace qxsim
