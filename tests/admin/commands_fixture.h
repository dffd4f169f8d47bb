// SPDX-License-Identifier: MIT
// Runs commands on simulated computers, and keeps what they said.
#pragma once

#include "tests/support/machine_fixture.h"

#include "admin/failure.h"
#include "admin/name_report.h"
#include "admin/run.h"

#include <string>
#include <vector>

namespace qxtest {

class Recorder : public qxports::Surroundings {
  public:
    void Out(std::string_view text) override { out += text; }
    void Err(std::string_view text) override { err += text; }
    [[nodiscard]] std::size_t Columns() const override { return columns; }
    [[nodiscard]] bool CanAsk() const override { return !answer.empty(); }
    [[nodiscard]] std::string Ask(std::string_view question) override {
        out += question;
        return answer;
    }
    [[nodiscard]] LPFNADDPROPSHEETPAGES PageProvider() override {
        throw qxports::Failure(qxports::kSystemFailed, "no library here");
    }
    std::string out;
    std::string err;
    std::string answer;  // of the person at the terminal; empty: nobody is there
    std::size_t columns = 0;
};

struct Outcome {
    int code = -1;
    std::string out;
    std::string err;
};

class CommandsTest : public MachineTest {
  public:
    // "rename COM5 COM12 --yes"; words are parted by single blanks.
    static Outcome Command(const std::string& line, const std::string& answer = "") {
        std::vector<std::string> words(1);
        for (const char c : line)
            if (c == ' ')
                words.emplace_back();
            else
                words.back().push_back(c);
        Recorder recorder;
        recorder.answer = answer;
        const int code = qxports::Run("qxports", std::move(words), recorder);
        return {code, recorder.out, recorder.err};
    }
    qxsim::Device& AddPort(const std::string& id, const std::string& name, bool foreign = false,
                           bool plugged = true, DEVINST parent = qxsim::Machine::kRoot) {
        qxsim::DeviceRecipe port;
        port.id = id;
        port.port = name;
        port.foreign = foreign;
        port.plugged = plugged;
        machine().AddDevice(parent, port);
        return Dev(id);
    }
    static std::string Faults() { return qxports::ReportNames(qxports::Computer()).Faults(); }
};

}  // namespace qxtest
