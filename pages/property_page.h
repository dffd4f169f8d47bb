// SPDX-License-Identifier: MIT
// The base of every page: its window, its colours and its part in a property sheet.
#pragma once

#include "base/handles.h"
#include "base/text.h"
#include "pages/activation_context.h"

#include <prsht.h>

#include <memory>
#include <span>

namespace qx {

// A control and the string-table text that belongs to it.
struct ControlText {
    int control;
    UINT text;
};

// A page of a property sheet.
//
// The object outlives its window, and is deleted by its owner: the sheet whose member it is, or, when it was
// handed over with CreateAndHandOver, the platform's sheet page. A page's window is made only when its tab is
// first shown. Everything runs on the thread of the sheet. No exception leaves a window message: a page that
// runs out of memory while it applies refuses, and otherwise leaves the message to the platform.
class CPropertyPage {
  public:
    // Handles one message of the page's window; true when it was handled, with `result` as the answer (the
    // result of a notification, the brush of a colour request). Pages handle what is theirs and pass the rest
    // on to their base.
    virtual bool ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result);
    virtual ~CPropertyPage();
    CPropertyPage(const CPropertyPage&) = delete;
    CPropertyPage& operator=(const CPropertyPage&) = delete;

    // The sheet page for this object, which must live longer than it; null when the platform cannot make it.
    [[nodiscard]] HPROPSHEETPAGE Create() noexcept;

    // The same, with the object becoming the sheet page's: it is deleted when the sheet page is destroyed,
    // whether it was ever shown or not. When the platform cannot make the sheet page, it is deleted at once.
    [[nodiscard]] static HPROPSHEETPAGE CreateAndHandOver(std::unique_ptr<CPropertyPage> page) noexcept;

  protected:
    // `page_template` is the dialog's id; `title` a text or a string id made with MAKEINTRESOURCEW.
    CPropertyPage(UINT page_template, const WCHAR* title) noexcept;

    // What a message means to a page.
    struct Event {
        enum class Kind {
            kInitialise,  // the page's window has been made
            kApply,       // the sheet applies; the result is kAccepted or kRefused
            kClick,
            kOther,
        };
        Kind kind;
        int control = 0;  // that was clicked
    };
    [[nodiscard]] static Event EventOf(UINT message, WPARAM wparam, LPARAM lparam) noexcept;

    // Results for the sheet.
    static constexpr LRESULT kAccepted = PSNRET_NOERROR;
    static constexpr LRESULT kRefused = PSNRET_INVALID;  // the sheet stays open on this page

    [[nodiscard]] HWND Window() const noexcept { return window_; }
    [[nodiscard]] HWND Item(int control) const noexcept { return GetDlgItem(window_, control); }
    void EnableItem(int control, bool enabled) const noexcept;
    void ShowItem(int control, bool shown) const noexcept;
    void SetItemText(int control, const Text& text) const noexcept;
    void SetCaptions(std::span<const ControlText> captions) const;
    // Shows a message box that belongs to the page and returns the button that closed it.
    int ShowMessage(const Text& text, const WCHAR* caption, UINT style) const noexcept;

    // Makes the brush that the page and its static controls are painted with.
    void CreateBackground() noexcept;
    // Whether the user needs the platform's own colours. The pages then use those, and no colour of their
    // own. To be asked at each painting, because the user can turn it on while a page is open.
    [[nodiscard]] static bool UserWantsHighContrast() noexcept;

  private:
    struct BrushTraits {
        using Handle = HBRUSH;
        static Handle Invalid() noexcept { return nullptr; }
        static void Close(Handle brush) noexcept { DeleteObject(brush); }
    };

    static INT_PTR CALLBACK DialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
    static UINT CALLBACK PageCallback(HWND window, UINT message, PROPSHEETPAGEW* sheet_page) noexcept;
    // Null when there is none, and the platform paints.
    [[nodiscard]] HBRUSH Background() const noexcept;
    bool Paint(HDC context) const noexcept;

    PROPSHEETPAGEW sheet_page_{};
    CActivationContext activation_context_;
    Owned<BrushTraits> background_;
    HWND window_ = nullptr;
    bool owned_by_sheet_page_ = false;
};

}  // namespace qx
