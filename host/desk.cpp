// SPDX-License-Identifier: MIT
#include "host/desk.h"

#include <exception>

namespace qxhost {

void Desk::Use(const std::function<void()>& work, const std::function<bool()>& user) {
    std::exception_ptr thrown;
    const auto keep = [&thrown] {
        if (!thrown)
            thrown = std::current_exception();
    };
    std::function<bool()> careful_user;
    if (user)
        careful_user = [&] {
            try {
                return !thrown && user();
            } catch (...) {
                keep();
                return false;
            }
        };
    RunModal(
        [&] {
            try {
                work();
            } catch (...) {
                keep();
            }
        },
        careful_user);
    if (thrown)
        std::rethrow_exception(thrown);
}

}  // namespace qxhost
