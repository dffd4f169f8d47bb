// SPDX-License-Identifier: MIT
// Drives real modal dialogs from inside the program that opened them.
#pragma once

#include <functional>

namespace qxhost {

// Runs `work` on the calling thread. While it has modal dialogs or message boxes open, `step` is called on
// the same thread, once whenever the dialogs have nothing to do, also in loops within loops; it does what a
// user does next and returns false when there is nothing more to do. Dialogs that are still open then are
// closed, one after the other.
//
// A step may open a modal loop itself (by sending a button its click): the next step runs inside that. Ends
// the program with exit code 1 when the dialogs do not answer for half a minute.
void RunWithUser(const std::function<void()>& work, const std::function<bool()>& step);

}  // namespace qxhost
