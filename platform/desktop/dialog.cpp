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

TemplateItem TakeItem(Reader& reader) {
    TemplateItem item;
    reader.Align();
    reader.Skip(sizeof(DWORD));  // help id
    item.ex_style = reader.Take<DWORD>();
    item.style = reader.Take<DWORD>();
    item.units = TakeRect(reader);
    item.id = static_cast<int>(reader.Take<DWORD>());
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
    constexpr DWORD kExtended = 0xFFFF0001;  // the only form that our resource script makes
    if (reader.Take<DWORD>() != kExtended)
        return std::nullopt;
    reader.Skip(sizeof(DWORD));  // help id
    read.ex_style = reader.Take<DWORD>();
    read.style = reader.Take<DWORD>();
    const auto count = reader.Take<WORD>();
    const RECT rect = TakeRect(reader);
    read.width = rect.right - rect.left;
    read.height = rect.bottom - rect.top;
    WORD number = 0;
    reader.TakeText(number);  // menu
    reader.TakeText(number);  // class
    read.caption = reader.TakeText(number);
    if (read.style & DS_SETFONT) {
        reader.Skip(3 * sizeof(WORD));  // size, weight, italic and character set
        reader.TakeText(number);
    }
    for (int index = 0; index < count && !reader.Failed(); ++index)
        read.items.push_back(TakeItem(reader));
    if (reader.Failed())
        return std::nullopt;
    return read;
}

HWND MakeDialog(const DialogTemplate& description, const NewDialog& dialog, DWORD& error, Call* call) {
    NewWindow frame;
    frame.class_name = u"#32770";
    frame.text = description.caption;
    constexpr DWORD kOfFrames = WS_VISIBLE | WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_DISABLED;
    frame.style = (description.style & ~kOfFrames) | WS_CHILD;
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
        if (!MakeWindow(control, error, nullptr)) {
            Call undone = Call::Infallible("DestroyWindow", window);
            Destroy(window, undone);
            return nullptr;
        }
    }
    ref->dialog_procedure = dialog.procedure;
    Send(window, WM_INITDIALOG, reinterpret_cast<WPARAM>(FirstTabStop(window)), dialog.parameter);
    if (!FindWindowRef(window)) {
        error = ERROR_INVALID_WINDOW_HANDLE;
        return nullptr;
    }
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
    return DefaultProcedure(window, message, wparam, lparam);
}

HWND FirstTabStop(HWND dialog) {
    if (const WindowRef ref = FindWindowRef(dialog))
        for (const HWND child : ref->children)
            if (const WindowRef found = FindWindowRef(child);
                found && found->Visible() && found->Enabled() && (found->style & WS_TABSTOP))
                return child;
    return nullptr;
}

}  // namespace qxsim
