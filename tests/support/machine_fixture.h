// SPDX-License-Identifier: MIT
// The ground of every test that calls the platform: fresh instruments and a fresh computer before it, an
// empty handle ledger and no text without its NUL after it.
#pragma once

#include "platform/machine/machine.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qxtest {

class MachineTest : public testing::Test {
  public:
    void SetUp() override {
        qxsim::Instruments::The().Reset();
        Use(std::make_unique<qxsim::Machine>());
    }

    void TearDown() override {
        EXPECT_EQ(qxsim::Instruments::The().LedgerReport(), "");
        qxsim::Instruments::The().Reset();
        ExpectWholeTexts();
        current_.reset();
        machine_.reset();
    }

    // Goes on with another computer: one loaded from a file, or the one that a power cut left. The ledger is
    // the instruments', and stays.
    qxsim::Machine& Use(std::unique_ptr<qxsim::Machine> machine) {
        if (machine_)
            ExpectWholeTexts();
        current_.reset();
        machine_ = std::move(machine);
        current_.emplace(*machine_);
        return *machine_;
    }

    [[nodiscard]] qxsim::Machine& machine() { return *machine_; }
    [[nodiscard]] static qxsim::Instruments& instruments() { return qxsim::Instruments::The(); }

    // A device that the test names must exist.
    [[nodiscard]] qxsim::Device& Dev(std::string_view id) {
        qxsim::Device* found = machine_->Find(id);
        if (found == nullptr)
            throw std::out_of_range("no device " + std::string(id));
        return *found;
    }

    // A set of its own with one element for the device, the way the device installer hands a device to the
    // system. Not traced and not in the ledger.
    struct Handed {
        HDEVINFO set = INVALID_HANDLE_VALUE;
        SP_DEVINFO_DATA element{};
    };
    [[nodiscard]] Handed Hand(std::string_view id) {
        Handed handed;
        handed.set = qxsim::HandDevice(*machine_, Dev(id), handed.element);
        return handed;
    }

    // For tests that plant broken texts.
    bool texts_are_whole = true;

  private:
    // Whoever reads a text without its NUL by the platform's calls reads on behind it.
    void ExpectWholeTexts() const {
        for (const auto& [number, hive] : machine_->hives)
            if (texts_are_whole)
                ExpectWholeTexts(*hive);
    }
    static void ExpectWholeTexts(const qxsim::RegistryKey& key) {
        for (const qxsim::RegistryValue& value : key.values)
            if (value.type == REG_SZ) {
                EXPECT_TRUE(value.data.size() >= 2 && value.data.end()[-1] == 0 && value.data.end()[-2] == 0)
                    << qxsim::ToUtf8(value.name) << " has no NUL";
            }
        for (const auto& [name, subkey] : key.subkeys)
            ExpectWholeTexts(*subkey);
    }

    std::unique_ptr<qxsim::Machine> machine_;
    std::optional<qxsim::CurrentMachine> current_;
};

}  // namespace qxtest
