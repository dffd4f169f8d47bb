// SPDX-License-Identifier: MIT
#include "platform/desktop/dialog.h"

#include "platform/desktop/controls.h"
#include "platform/desktop/modal_loop.h"

#include <algorithm>
#include <array>

namespace qxsim {

namespace {

// A dialog unit is a quarter of the dialog font's average width and an eighth of its height: 6 by 13 pixels
// for the shell font at 8 points.
constexpr int kBaseWidth = 6;
constexpr int kBaseHeight = 13;
constexpr int kChoiceBoxHeight = 21;  // in pixels, closed

constexpr std::array<const WCHAR*, 6> kClassAtoms{u"Button",  u"Edit",      u"Static",
                                                  u"ListBox", u"ScrollBar", u"ComboBox"};
constexpr WORD kFirstClassAtom = 0x80;

// Reads the fields of a template one after the other; past the end it reads zeros and remembers it.
class Reader {
  public:
    explicit Reader(ResourceBytes bytes) : bytes_(bytes) {}

    template <typename Value>
    Value Take() {
        const auto value = ReadAt<Value>(bytes_, at_);
        at_ += sizeof(Value);
        failed_ = failed_ || at_ > bytes_.size();
        return value;
    }

    // A text, or a number behind 0xFFFF.
    WideString TakeText(WORD& number) {
        number = 0;
        WideString text;
        for (auto unit = Take<WCHAR>(); unit != u'\0' && !failed_; unit = Take<WCHAR>()) {
            if (text.empty() && unit == 0xFFFF) {
                number = Take<WORD>();
                return text;
            }
            text.push_back(unit);
        }
        return text;
    }

    void Align() { at_ = (at_ + 3) & ~std::size_t{3}; }
    void Skip(std::size_t bytes) { at_ += bytes; }
    [[nodiscard]] bool Failed() const { return failed_; }

  private:
    ResourceBytes bytes_;
    std::size_t at_ = 0;
    bool failed_ = false;
};

RECT TakeRect(Reader& reader) {
    RECT rect{};
    rect.left = reader.Take<std::int16_t>();
    rect.top = reader.Take<std::int16_t>();
    rect.right = rect.left + reader.Take<std::int16_t>();
    rect.bottom = rect.top + reader.Take<std::int16_t>();
    return rect;
}

TemplateItem TakeItem(Reader& reader, bool extended) {
    TemplateItem item;
    reader.Align();
    if (extended) {
        reader.Skip(sizeof(DWORD));  // help id
        item.ex_style = reader.Take<DWORD>();
        item.style = reader.Take<DWORD>();
    } else {
        item.style = reader.Take<DWORD>();
        item.ex_style = reader.Take<DWORD>();
    }
    item.units = TakeRect(reader);
    item.id =
        extended ? static_cast<int>(reader.Take<DWORD>()) : static_cast<std::int16_t>(reader.Take<WORD>());
    WORD atom = 0;
    item.class_name = reader.TakeText(atom);
    if (atom >= kFirstClassAtom && atom < kFirstClassAtom + kClassAtoms.size())
        item.class_name = kClassAtoms[atom - kFirstClassAtom];
    item.text = reader.TakeText(item.picture);
    reader.Skip(reader.Take<WORD>());  // creation data
    return item;
}

// The messages whose answer is the dialog procedure's own result instead of DWLP_MSGRESULT.
bool AnswersByResult(UINT message) {
    return (message >= WM_CTLCOLORMSGBOX && message <= WM_CTLCOLORSTATIC) || message == WM_INITDIALOG;
}

HWND FirstTabStop(HWND dialog) {
    return NextTabStop(dialog, nullptr, false);
}

}  // namespace

RECT UnitsToPixels(const RECT& units) {
    const auto scaled = [](LONG value, int base, int parts) {
        return static_cast<LONG>((value * base + (value < 0 ? -parts : parts) / 2) / parts);
    };
    return {scaled(units.left, kBaseWidth, 4), scaled(units.top, kBaseHeight, 8),
            scaled(units.right, kBaseWidth, 4), scaled(units.bottom, kBaseHeight, 8)};
}

std::optional<DialogTemplate> ReadDialogTemplate(ResourceBytes bytes) {
    Reader reader(bytes);
    DialogTemplate read;
    const auto first = reader.Take<DWORD>();
    const bool extended = first == 0xFFFF0001;
    if (extended) {
        reader.Skip(sizeof(DWORD));  // help id
        read.ex_style = reader.Take<DWORD>();
        read.style = reader.Take<DWORD>();
    } else {
        read.style = first;
        read.ex_style = reader.Take<DWORD>();
    }
    const auto count = reader.Take<WORD>();
    const RECT rect = TakeRect(reader);
    read.width = rect.right - rect.left;
    read.height = rect.bottom - rect.top;
    WORD number = 0;
    reader.TakeText(number);  // menu
    reader.TakeText(number);  // class
    read.caption = reader.TakeText(number);
    if (read.style & DS_SETFONT) {
        reader.Skip(extended ? 3 * sizeof(WORD) : sizeof(WORD));  // size, weight, italic and character set
        reader.TakeText(number);
    }
    for (int index = 0; index < count && !reader.Failed(); ++index)
        read.items.push_back(TakeItem(reader, extended));
    if (reader.Failed())
        return std::nullopt;
    return read;
}

HWND MakeDialog(const DialogTemplate& description, const NewDialog& dialog, DWORD& error, Call* call) {
    NewWindow frame;
    frame.class_name = u"#32770";
    frame.text = description.caption;
    frame.style = description.style & ~static_cast<DWORD>(WS_VISIBLE);
    if (dialog.as_page)
        frame.style =
            (frame.style & ~static_cast<DWORD>(WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_DISABLED)) | WS_CHILD;
    frame.ex_style = description.ex_style;
    frame.units = {0, 0, description.width, description.height};
    frame.rect = UnitsToPixels(frame.units);
    frame.rect.left += dialog.position.x;
    frame.rect.right += dialog.position.x;
    frame.rect.top += dialog.position.y;
    frame.rect.bottom += dialog.position.y;
    frame.parent = dialog.parent;
    frame.instance = dialog.instance;
    frame.kind = WindowKind::kDialog;
    const HWND window = MakeWindow(frame, error, call);
    if (!window)
        return nullptr;
    const WindowRef ref = FindWindowRef(window);
    ref->is_dialog = true;
    for (const TemplateItem& item : description.items) {
        NewWindow control;
        control.class_name = item.class_name;
        control.text = item.text;
        control.style = item.style | WS_CHILD;
        control.ex_style = item.ex_style;
        control.units = item.units;
        control.rect = UnitsToPixels(item.units);
        if (EqualsCaseless(item.class_name, u"ComboBox"))  // the template says how far the list drops down
            control.rect.bottom = control.rect.top + kChoiceBoxHeight;
        control.parent = window;
        control.id = item.id;
        control.instance = dialog.instance;
        if (item.picture != 0)
            control.resource =
                ((item.style & SS_TYPEMASK) == SS_ICON ? "icon " : "bitmap ") + std::to_string(item.picture);
        if (!MakeWindow(control, error, nullptr) && !(description.style & DS_NOFAILCREATE)) {
            Call undone = Call::Infallible("DestroyWindow", window);
            Destroy(window, undone);
            return nullptr;
        }
        if ((item.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON && EqualsCaseless(item.class_name, u"Button"))
            ref->default_button = item.id;
    }
    ref->dialog_procedure = dialog.procedure;
    const HWND first = FirstTabStop(window);
    const LRESULT set_focus = Send(window, WM_INITDIALOG, reinterpret_cast<WPARAM>(first), dialog.parameter);
    if (!FindWindowRef(window)) {
        error = ERROR_INVALID_WINDOW_HANDLE;
        return nullptr;
    }
    if (set_focus != FALSE && !dialog.as_page && first)
        Focus(first);
    if (description.style & WS_VISIBLE && !dialog.as_page)
        Show(window, true);
    return window;
}

LRESULT DialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return 0;
    // Frames of sheets and message boxes are dialogs with a behaviour of the platform's own.
    if (ref->control)
        return ref->control->Message(message, wparam, lparam);
    if (ref->dialog_procedure) {
        ref->message_result = 0;
        const INT_PTR handled = ref->dialog_procedure(window, message, wparam, lparam);
        if (handled != 0 || message == WM_INITDIALOG)
            return AnswersByResult(message) ? handled : ref->message_result;
    }
    if (message == WM_CLOSE) {
        Post(window, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), ToLparam(ChildWithId(window, IDCANCEL)));
        return TRUE;
    }
    return DefaultProcedure(window, message, wparam, lparam);
}

HWND NextTabStop(HWND dialog, HWND control, bool previous) {
    const WindowRef ref = FindWindowRef(dialog);
    if (!ref)
        return nullptr;
    std::vector<HWND> stops;
    // The children of pages take part in their frame's order.
    const auto collect = [&](const auto& self, const Window& parent) -> void {
        for (const HWND child : parent.children) {
            const WindowRef found = FindWindowRef(child);
            if (!found || !found->Visible() || !found->Enabled())
                continue;
            if (found->is_dialog)
                self(self, *found);
            else if (found->style & WS_TABSTOP)
                stops.push_back(child);
        }
    };
    collect(collect, *ref);
    if (stops.empty())
        return nullptr;
    const auto at = std::ranges::find(stops, control);
    if (at == stops.end())
        return previous ? stops.back() : stops.front();
    if (previous)
        return at == stops.begin() ? stops.back() : *std::prev(at);
    return std::next(at) == stops.end() ? stops.front() : *std::next(at);
}

bool TakeDialogKey(HWND dialog, const MSG& message) {
    if (message.message != WM_KEYDOWN || RootOf(message.hwnd) != dialog)
        return false;
    // A control may want keys for itself.
    if (Send(message.hwnd, WM_GETDLGCODE, message.wParam, ToLparam(&message)) & DLGC_WANTALLKEYS)
        return false;
    switch (message.wParam) {
        case VK_TAB:
            if (const HWND next = NextTabStop(dialog, FocusedWindow(), false))
                Focus(next);
            return true;
        case VK_RETURN: {
            // A push button is the default one as long as it has the focus.
            if (const HWND focus = FocusedWindow(); RootOf(focus) == dialog && IsPushButton(focus)) {
                Send(focus, BM_CLICK, 0, 0);
                return true;
            }
            const LRESULT answer = Send(dialog, DM_GETDEFID, 0, 0);
            const WindowRef ref = FindWindowRef(dialog);
            const int id = HIWORD(answer) != 0 ? LOWORD(answer) : ref ? ref->default_button : IDOK;
            Send(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), ToLparam(ChildWithId(dialog, id)));
            return true;
        }
        case VK_ESCAPE:
            Send(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                 ToLparam(ChildWithId(dialog, IDCANCEL)));
            return true;
        default:
            return false;
    }
}

}  // namespace qxsim
