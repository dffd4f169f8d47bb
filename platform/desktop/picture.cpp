#include "platform/desktop/picture.h"

#include "platform/desktop/text_width.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace qxsim {

namespace {

constexpr int kMarkSize = 13;  // of check boxes and radio buttons
constexpr int kMarkGap = 4;
constexpr int kCaptionHeight = 24;
constexpr int kArrowWidth = 18;  // of choice boxes
constexpr const char* kFace = "#f0f0f0";
constexpr const char* kInk = "#000000";
constexpr const char* kGray = "#6d6d6d";

int WidthOf(const RECT& rect) {
    return rect.right - rect.left;
}

int HeightOf(const RECT& rect) {
    return rect.bottom - rect.top;
}

// The room that a control leaves to its text.
TextSize TextRoom(const ControlPicture& control) {
    TextSize room{WidthOf(control.pixels), HeightOf(control.pixels)};
    if (control.kind == "check box" || control.kind == "radio button")
        room.width -= kMarkSize + kMarkGap;
    else if (control.kind == "push button")
        room.width -= 8;
    else if (control.kind == "group box")
        room.width -= 16;
    else if (control.kind == "choice box" || control.kind == "editable choice box")
        room.width -= kArrowWidth + 6;
    return room;
}

bool Fits(const ControlPicture& control, const std::string& text) {
    const TextSize room = TextRoom(control);
    if (control.kind != "label")
        return TextWidth(text) <= room.width;
    const TextSize needed = MeasureText(text, room.width);
    return needed.width <= room.width && needed.height <= room.height;
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char unit : text) {
        if (unit == '<')
            escaped += "&lt;";
        else if (unit == '>')
            escaped += "&gt;";
        else if (unit == '&')
            escaped += "&amp;";
        else if (unit == '"')
            escaped += "&quot;";
        else
            escaped.push_back(unit);
    }
    return escaped;
}

std::string ColorText(COLORREF color, const char* otherwise) {
    if (color == CLR_INVALID)
        return otherwise;
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", unsigned{GetRValue(color)},
                  unsigned{GetGValue(color)}, unsigned{GetBValue(color)});
    return text.data();
}

// The lines that text breaks into.
std::vector<std::string> Lines(const std::string& text, int most) {
    std::vector<std::string> lines{""};
    std::string word;
    const auto put = [&](char end) {
        std::string& line = lines.back();
        if (!line.empty() && TextWidth(line + " " + word) > most)
            lines.push_back(word);
        else
            line += (line.empty() ? "" : " ") + word;
        word.clear();
        if (end == '\n')
            lines.emplace_back();
    };
    for (const char unit : text) {
        if (unit == ' ' || unit == '\n')
            put(unit);
        else
            word.push_back(unit);
    }
    put(' ');
    return lines;
}

class SvgWriter {
  public:
    SvgWriter(int width, int height, double scale) {
        // Where the dialog font is missing, a condensed one comes closest to its widths.
        std::array<char, 400> head{};
        std::snprintf(
            head.data(), head.size(),
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 %d %d\" "
            "font-family=\"Tahoma, DejaVu Sans Condensed, DejaVu Sans, sans-serif\" "
            "font-stretch=\"condensed\" font-size=\"10.5\">\n",
            static_cast<int>(width * scale), static_cast<int>(height * scale), width, height);
        svg_ = head.data();
    }

    void Box(int x, int y, int width, int height, const std::string& fill, const std::string& stroke) {
        Add("<rect x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" width=\"" + Number(std::max(width, 0)) +
            "\" height=\"" + Number(std::max(height, 0)) + "\" fill=\"" + fill + "\" stroke=\"" + stroke +
            "\"/>");
    }
    void Circle(int x, int y, int radius, const std::string& fill, const std::string& stroke) {
        Add("<circle cx=\"" + Number(x) + "\" cy=\"" + Number(y) + "\" r=\"" + Number(radius) + "\" fill=\"" +
            fill + "\" stroke=\"" + stroke + "\"/>");
    }
    void Path(const std::string& data, const std::string& fill, const std::string& stroke) {
        Add("<path d=\"" + data + "\" fill=\"" + fill + "\" stroke=\"" + stroke + "\"/>");
    }
    // `y` is the middle of the line. The text takes the width that the dialog font gives it, whatever font
    // the viewer has.
    void Text(int x, int y, const std::string& text, const std::string& color, bool underlined = false) {
        if (text.empty())
            return;
        Add("<text x=\"" + Number(x) + "\" y=\"" + Number(y + 4) + "\" fill=\"" + color + "\" textLength=\"" +
            Number(TextWidth(text)) + "\" lengthAdjust=\"spacingAndGlyphs\"" +
            (underlined ? " text-decoration=\"underline\"" : "") + ">" + Escaped(text) + "</text>");
    }
    [[nodiscard]] std::string Finish() { return svg_ + "</svg>\n"; }

    static std::string Number(int value) { return std::to_string(value); }

  private:
    void Add(const std::string& element) { svg_ += element + "\n"; }

    std::string svg_;
};

// One control, at the place that its window has in the picture.
class ControlDrawer {
  public:
    ControlDrawer(SvgWriter& svg, const ControlPicture& control, int left, int top, std::string background)
        : svg_(svg),
          control_(control),
          x_(left + control.pixels.left),
          y_(top + control.pixels.top),
          width_(WidthOf(control.pixels)),
          height_(HeightOf(control.pixels)),
          text_(WithoutAccessKeys(control.text)),
          ink_(control.enabled ? ColorText(Desktop::The().ColorsOf(control.window).text, kInk) : kGray),
          background_(std::move(background)) {}

    void Draw() {
        if (control_.kind == "push button")
            DrawPushButton();
        else if (control_.kind == "check box" || control_.kind == "radio button")
            DrawMark();
        else if (control_.kind == "group box")
            DrawGroup();
        else if (control_.kind == "label")
            DrawLabel();
        else if (control_.kind == "picture")
            DrawPicture();
        else if (control_.kind == "slider")
            DrawSlider();
        else if (control_.kind == "edit" || control_.kind == "choice box" ||
                 control_.kind == "editable choice box")
            DrawField();
    }

  private:
    void DrawPushButton() {
        svg_.Box(x_, y_, width_, height_, "#e1e1e1", "#adadad");
        svg_.Text(x_ + (width_ - TextWidth(text_)) / 2, y_ + height_ / 2, text_, ink_);
    }

    void DrawMark() {
        const int middle = y_ + height_ / 2;
        const bool checked = control_.check.value_or(0) != 0;
        if (control_.kind == "radio button") {
            svg_.Circle(x_ + kMarkSize / 2, middle, kMarkSize / 2, "#ffffff", ink_);
            if (checked)
                svg_.Circle(x_ + kMarkSize / 2, middle, 3, ink_, "none");
        } else {
            svg_.Box(x_, middle - kMarkSize / 2, kMarkSize, kMarkSize, "#ffffff", ink_);
            if (checked)
                svg_.Path("M" + SvgWriter::Number(x_ + 3) + " " + SvgWriter::Number(middle) + " l3 3 l5 -6",
                          "none", ink_);
        }
        svg_.Text(x_ + kMarkSize + kMarkGap, middle, text_, ink_);
    }

    void DrawGroup() {
        svg_.Box(x_, y_ + kTextLineHeight / 2, width_, height_ - kTextLineHeight / 2, "none", "#dcdcdc");
        if (text_.empty())
            return;
        svg_.Box(x_ + 6, y_, TextWidth(text_) + 6, kTextLineHeight, background_, "none");
        svg_.Text(x_ + 9, y_ + kTextLineHeight / 2, text_, ink_);
    }

    void DrawLabel() {
        const DWORD alignment = control_.style & SS_TYPEMASK;
        int line_y = y_ + kTextLineHeight / 2;
        for (const std::string& line :
             Lines((control_.style & SS_NOPREFIX) ? control_.text : text_, width_)) {
            const int spare = width_ - TextWidth(line);
            const int indent = alignment == SS_RIGHT ? spare : alignment == SS_CENTER ? spare / 2 : 0;
            svg_.Text(x_ + indent, line_y, line, ink_, control_.underlined);
            line_y += kTextLineHeight;
        }
    }

    void DrawPicture() {
        svg_.Box(x_, y_, width_, height_, "#dbe6f4", "#9db4d0");
        if (width_ >= TextWidth(control_.resource) && height_ >= kTextLineHeight)
            svg_.Text(x_ + (width_ - TextWidth(control_.resource)) / 2, y_ + height_ / 2, control_.resource,
                      "#56708f");
    }

    void DrawSlider() {
        const int middle = y_ + height_ / 2;
        svg_.Box(x_ + 8, middle - 2, width_ - 16, 4, "#e7eaea", "#d6d6d6");
        const int range = std::max(1, control_.maximum - control_.minimum);
        const auto way =
            static_cast<std::int64_t>(width_ - 22) * (control_.position - control_.minimum) / range;
        svg_.Box(x_ + 6 + static_cast<int>(way), middle - 9, 10, 18, control_.enabled ? "#007ad9" : "#cccccc",
                 "none");
    }

    void DrawField() {
        svg_.Box(x_, y_, width_, height_, control_.enabled ? "#ffffff" : kFace, "#7a7a7a");
        svg_.Text(x_ + 4, y_ + height_ / 2, control_.text, ink_);
        if (control_.kind != "edit")
            svg_.Path("M" + SvgWriter::Number(x_ + width_ - kArrowWidth + 4) + " " +
                          SvgWriter::Number(y_ + height_ / 2 - 2) + " l5 5 l5 -5",
                      "none", ink_);
    }

    SvgWriter& svg_;
    const ControlPicture& control_;
    int x_, y_, width_, height_;
    std::string text_;
    std::string ink_;
    std::string background_;
};

void DrawControls(SvgWriter& svg, const WindowPicture& window, int left, int top,
                  const std::string& background) {
    // Group boxes lie under what they frame, in whatever order the template names them.
    for (const bool groups : {true, false})
        for (const ControlPicture& control : window.controls)
            if (control.visible && (control.kind == "group box") == groups)
                ControlDrawer(svg, control, left, top, background).Draw();
}

void DrawTabs(SvgWriter& svg, const WindowPicture& sheet, const ControlPicture& tabs, int top) {
    int x = tabs.pixels.left + 2;
    for (int index = 0; index < static_cast<int>(sheet.tabs.size()); ++index) {
        const std::string& text = sheet.tabs[static_cast<std::size_t>(index)];
        const int width = TextWidth(text) + 12;
        const bool current = index == sheet.current_tab;
        svg.Box(x, top + tabs.pixels.top + (current ? 0 : 2), width, current ? 22 : 20,
                current ? "#ffffff" : kFace, "#d9d9d9");
        svg.Text(x + 6, top + tabs.pixels.top + 11, text, kInk);
        x += width;
    }
}

void AddClipped(const WindowPicture& window, std::vector<std::string>& clipped) {
    const auto check = [&](const ControlPicture& control, const std::string& text) {
        if (!Fits(control, text))
            clipped.push_back(window.caption + ": " + control.kind + " " + std::to_string(control.id) +
                              " has no room for \"" + text + "\"");
    };
    for (const ControlPicture& control : window.controls) {
        if (control.kind == "picture" || control.kind == "slider" || control.kind == "tab")
            continue;
        check(control, control.kind == "label" && (control.style & SS_NOPREFIX)
                           ? control.text
                           : WithoutAccessKeys(control.text));
        for (const ChoiceEntry& entry : control.entries)
            check(control, entry.text);
    }
    for (const WindowPicture& page : window.pages)
        AddClipped(page, clipped);
}

}  // namespace

std::string SvgPicture(const WindowPicture& window, double scale) {
    const Desktop& desktop = Desktop::The();
    SvgWriter svg(window.width, window.height + kCaptionHeight, scale);
    svg.Box(0, 0, window.width, window.height + kCaptionHeight, kFace, "#888888");
    svg.Box(0, 0, window.width, kCaptionHeight, "#ffffff", "#888888");
    svg.Text(8, kCaptionHeight / 2, window.caption, kInk);
    for (const ControlPicture& control : window.controls)
        if (control.kind == "tab") {
            svg.Box(control.pixels.left, kCaptionHeight + control.pixels.top + 22, WidthOf(control.pixels),
                    HeightOf(control.pixels) - 22, "#ffffff", "#d9d9d9");
            DrawTabs(svg, window, control, kCaptionHeight);
        }
    const std::string face =
        window.kind == WindowKind::kDialog ? ColorText(desktop.BackgroundOf(window.window), kFace) : kFace;
    DrawControls(svg, window, 0, kCaptionHeight, face);
    for (const WindowPicture& page : window.pages) {
        if (page.window != window.current_page)
            continue;
        const std::string background = ColorText(desktop.BackgroundOf(page.window), "#ffffff");
        svg.Box(page.left, kCaptionHeight + page.top, page.width, page.height, background, "none");
        DrawControls(svg, page, page.left, kCaptionHeight + page.top, background);
    }
    return svg.Finish();
}

std::vector<std::string> ClippedTexts(const WindowPicture& window) {
    std::vector<std::string> clipped;
    AddClipped(window, clipped);
    return clipped;
}

}  // namespace qxsim
