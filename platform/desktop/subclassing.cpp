// SPDX-License-Identifier: MIT
#include "platform/desktop/subclassing.h"

#include "platform/desktop/window.h"

#include <algorithm>
#include <map>

namespace qxsim {

namespace {

struct Subclass {
    SUBCLASSPROC procedure;
    UINT_PTR id;
    DWORD_PTR data;
};

struct Chain {
    WNDPROC original;
    std::vector<Subclass> subclasses;  // the one asked first last
};

std::map<HWND, Chain>& Chains() {
    static std::map<HWND, Chain> chains;
    return chains;
}

// The messages that are on their way through a chain on this thread, and how many subclasses are left to ask.
struct Passage {
    HWND window;
    std::size_t left;
};
thread_local std::vector<Passage> passages;

// Hands a message to the next subclass, or to the window's own procedure.
LRESULT Pass(HWND window, std::size_t left, UINT message, WPARAM wparam, LPARAM lparam) {
    Subclass next{};
    WNDPROC original = nullptr;
    {
        const std::lock_guard lock(Instruments::The().Lock());
        const auto chain = Chains().find(window);
        if (chain == Chains().end())
            return DefaultProcedure(window, message, wparam, lparam);
        original = chain->second.original;
        left = std::min(left, chain->second.subclasses.size());
        if (left > 0)
            next = chain->second.subclasses[left - 1];
    }
    if (left == 0)
        return CallProcedure(original, window, message, wparam, lparam);
    passages.push_back({window, left - 1});
    const LRESULT result = next.procedure(window, message, wparam, lparam, next.id, next.data);
    passages.pop_back();
    return result;
}

LRESULT SubclassedProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const LRESULT result = Pass(window, SIZE_MAX, message, wparam, lparam);
    if (message == WM_NCDESTROY) {
        const std::lock_guard lock(Instruments::The().Lock());
        Chains().erase(window);
    }
    return result;
}

auto Named(SUBCLASSPROC procedure, UINT_PTR id) {
    return [=](const Subclass& subclass) { return subclass.procedure == procedure && subclass.id == id; };
}

}  // namespace

void ForgetSubclasses() {
    const std::lock_guard lock(Instruments::The().Lock());
    Chains().clear();
}

BOOL SetWindowSubclass(HWND window, SUBCLASSPROC procedure, UINT_PTR id, DWORD_PTR data) {
    Call call("SetWindowSubclass", window, id);
    const WindowRef ref = FindWindowRef(window);
    if (call.Faulted() || !ref || !procedure)
        return call.Fail(call.FaultError(ERROR_INVALID_PARAMETER));
    const auto [chain, is_new] = Chains().try_emplace(window, Chain{ref->procedure, {}});
    if (is_new)
        ref->procedure = SubclassedProcedure;
    std::vector<Subclass>& subclasses = chain->second.subclasses;
    const auto known = std::ranges::find_if(subclasses, Named(procedure, id));
    if (known != subclasses.end())
        known->data = data;
    else
        subclasses.push_back({procedure, id, data});
    return call.Return(TRUE);
}

BOOL RemoveWindowSubclass(HWND window, SUBCLASSPROC procedure, UINT_PTR id) {
    Call call = Call::Infallible("RemoveWindowSubclass", window, id);
    const auto chain = Chains().find(window);
    if (chain == Chains().end())
        return call.Return(FALSE);
    return call.Return(std::erase_if(chain->second.subclasses, Named(procedure, id)) != 0 ? TRUE : FALSE);
}

LRESULT DefSubclassProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    // Part of handling one message: not a call that a trace should show.
    const auto passage = std::ranges::find(passages.rbegin(), passages.rend(), window, &Passage::window);
    return Pass(window, passage == passages.rend() ? 0 : passage->left, message, wparam, lparam);
}

}  // namespace qxsim
