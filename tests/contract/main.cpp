// SPDX-License-Identifier: MIT
#include "tests/contract/contract.h"

#include <cstdio>
#include <cstring>
#include <set>
#include <sstream>

namespace contract {

namespace {

class ContractTest : public testing::Test {
  public:
    explicit ContractTest(const Contract& contract) : contract_(contract) {}
    void TestBody() override {
        if (contract_.wine_lacks != nullptr && OnWine())
            GTEST_SKIP() << Name() << ", which Wine lacks: " << contract_.wine_lacks;
        try {
            contract_.check();
        } catch (const Lacking& lacking) {
            GTEST_SKIP() << Name() << " needs " << lacking.what;
        }
    }

  private:
    [[nodiscard]] std::string Name() const {
        return std::string("left out: ") + contract_.area + "." + contract_.name;
    }

    const Contract& contract_;
};

std::set<std::string> Stated() {
    std::set<std::string> stated;
    for (const Contract& contract : All()) {
        std::istringstream calls(contract.calls);
        for (std::string call; calls >> call;)
            stated.insert(call);
    }
    return stated;
}

void PrintSummary() {
    for (const Contract& contract : All())
        if (contract.wine_lacks != nullptr && OnWine())
            std::printf("  not asked: %s (%s)\n", contract.calls, contract.wine_lacks);
    std::printf("contract: %zu statements about %zu calls\n", All().size(), Stated().size());
}

}  // namespace

std::vector<Contract>& All() {
    static std::vector<Contract> all;
    return all;
}

bool Enter(const Contract& contract) {
    All().push_back(contract);
    return true;
}

}  // namespace contract

TEST(library, every_call_has_its_contract) {
    EXPECT_EQ(contract::CallsWithoutContract(contract::Stated()), std::vector<std::string>());
}

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    contract::bare = count == 2 && std::strcmp(arguments[1], "--bare") == 0;
    testing::AddGlobalTestEnvironment(new contract::Computer);
    for (const contract::Contract& entry : contract::All())
        testing::RegisterTest(entry.area, entry.name, nullptr, nullptr, __FILE__, __LINE__,
                              [&entry]() -> testing::Test* { return new contract::ContractTest(entry); });
    const int result = RUN_ALL_TESTS();
    contract::PrintSummary();
    return result;
}
