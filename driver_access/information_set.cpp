// SPDX-License-Identifier: MIT
#include "driver_access/information_set.h"

#include "base/attempt.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <cwchar>
#include <limits>
#include <optional>

namespace qx {

namespace {

constexpr BYTE kHeaderTag = 0;
constexpr BYTE kNumberTag = 2;
constexpr BYTE kNarrowStringTag = 3;
constexpr BYTE kWideStringTag = 4;

constexpr std::size_t kNumberSize = 4;
// Lengths are 16-bit quantities in the format: the bytes of a wide string count in 16 bits, and a narrow
// string passes with its terminator through 256 bytes.
constexpr std::size_t kLongestNarrow = 255;
constexpr std::size_t kLongestWide = 32767;

// Streams are little-endian, as is every machine that the drivers run on; so a number is copied as it lies in
// memory.
static_assert(std::endian::native == std::endian::little);

void StoreNumber(BYTE* out, DWORD value) noexcept {
    std::memcpy(out, &value, kNumberSize);
}

DWORD LoadNumber(const BYTE* in) noexcept {
    DWORD value = 0;
    std::memcpy(&value, in, kNumberSize);
    return value;
}

// Calls `move` for 0 to `count` - 1, eight at a time: a port's numbers move in less time than the processor
// needs to notice the end of a plain loop.
template <typename Move>
void ForEachInStretch(std::size_t count, Move move) {
    std::size_t i = 0;
    for (; count - i >= 8; i += 8) {
        move(i);
        move(i + 1);
        move(i + 2);
        move(i + 3);
        move(i + 4);
        move(i + 5);
        move(i + 6);
        move(i + 7);
    }
    for (; i != count; ++i)
        move(i);
}

// How the options shape one item.
struct StreamFormat {
    explicit StreamFormat(DWORD options) noexcept
        : tag_size((options & SS_TAGGED) != 0 ? 1 : 0),
          unit_size((options & SS_WIDE) != 0 ? 2 : 1),
          header((options & SS_HEADER) != 0),
          prefixed((options & SS_LENGTH_PREFIXED) != 0),
          terminated((options & SS_TERMINATED) != 0) {}

    [[nodiscard]] bool Tagged() const noexcept { return tag_size != 0; }
    [[nodiscard]] bool Wide() const noexcept { return unit_size == 2; }
    [[nodiscard]] BYTE StringTag() const noexcept { return Wide() ? kWideStringTag : kNarrowStringTag; }
    [[nodiscard]] std::size_t LongestString() const noexcept {
        return Wide() ? kLongestWide : kLongestNarrow;
    }
    [[nodiscard]] std::size_t NumberSize() const noexcept { return tag_size + kNumberSize; }
    [[nodiscard]] std::uint64_t StringSize(std::size_t length) const noexcept {
        return tag_size + (prefixed ? kNumberSize : 0) + std::uint64_t{length} * unit_size +
               (terminated ? unit_size : 0);
    }

    std::size_t tag_size;   // 1 or 0
    std::size_t unit_size;  // 1 or 2
    bool header;
    bool prefixed;
    bool terminated;
};

// What is left of the caller's output buffer. Callers of the writing members have checked Fits.
class Writer {
  public:
    Writer(BYTE* buffer, DWORD& free) noexcept : at_(buffer), free_(free) {}

    [[nodiscard]] bool Fits(std::uint64_t size) const noexcept { return size <= free_; }
    [[nodiscard]] std::size_t Free() const noexcept { return free_; }
    void Byte(BYTE value) noexcept { *Advance(1) = value; }
    void Number(DWORD value) noexcept { StoreNumber(Advance(kNumberSize), value); }
    // The place of the next `size` bytes, which count as written.
    BYTE* Advance(std::size_t size) noexcept {
        free_ -= static_cast<DWORD>(size);
        BYTE* const place = at_;
        at_ += size;
        return place;
    }

  private:
    BYTE* at_;
    DWORD& free_;
};

// What is left of a driver's stream. Nothing is consumed until an item is complete: members that find too few
// bytes return false.
class Reader {
  public:
    Reader(const BYTE* buffer, DWORD& available) noexcept
        : at_(buffer), left_(available), available_(available) {}

    [[nodiscard]] std::size_t Left() const noexcept { return left_; }
    [[nodiscard]] const BYTE* At() const noexcept { return at_; }
    void Skip(std::size_t size) noexcept {
        at_ += size;
        left_ -= size;
    }
    [[nodiscard]] bool Byte(BYTE& value) noexcept {
        if (left_ < 1)
            return false;
        value = *at_;
        Skip(1);
        return true;
    }
    [[nodiscard]] bool Number(DWORD& value) noexcept {
        if (left_ < kNumberSize)
            return false;
        value = LoadNumber(at_);
        Skip(kNumberSize);
        return true;
    }
    // The tag, when the format has tags, must be this one.
    [[nodiscard]] bool Tag(const StreamFormat& format, BYTE expected) noexcept {
        BYTE tag = 0;
        return !format.Tagged() || (Byte(tag) && tag == expected);
    }
    // Tells the caller of the decoder what has been consumed so far.
    void ItemDone() noexcept { available_ = static_cast<DWORD>(left_); }

  private:
    const BYTE* at_;
    std::size_t left_;
    DWORD& available_;
};

bool EncodeString(Writer& writer, const StreamFormat& format, StringHolder& holder) noexcept {
    holder.status = 0;
    const TextView text = holder.text.view();
    if (!writer.Fits(format.StringSize(text.size())))
        return false;

    // The narrow bytes are known before anything of the item is written.
    std::array<BYTE, kLongestNarrow + 1> narrow;
    if (!format.Wide()) {
        const bool convertible =
            text.size() <= kLongestNarrow &&
            std::all_of(text.begin(), text.end(), [](WCHAR unit) { return unit <= 0xFF; });
        if (!convertible) {
            holder.status = -1;
            return false;
        }
        std::transform(text.begin(), text.end(), narrow.begin(),
                       [](WCHAR unit) { return static_cast<BYTE>(unit); });
    } else if (text.size() > kLongestWide) {
        return false;
    }

    if (format.Tagged())
        writer.Byte(format.StringTag());
    if (format.prefixed)
        writer.Number(static_cast<DWORD>(text.size()));
    BYTE* out = writer.Advance(text.size() * format.unit_size);
    if (!format.Wide()) {
        std::copy_n(narrow.begin(), text.size(), out);
    } else {
        for (const WCHAR unit : text) {
            *out++ = static_cast<BYTE>(unit);
            *out++ = static_cast<BYTE>(unit >> 8);
        }
    }
    if (format.terminated)
        std::fill_n(writer.Advance(format.unit_size), format.unit_size, BYTE{0});
    return true;
}

// The number of whole units before the first zero unit within `limit` units, or `limit` when there is none.
std::size_t LengthWithin(const BYTE* bytes, std::size_t limit, std::size_t unit_size) noexcept {
    if (unit_size == 1)
        return static_cast<std::size_t>(std::find(bytes, bytes + limit, BYTE{0}) - bytes);
    std::size_t length = 0;
    while (length != limit && (bytes[2 * length] != 0 || bytes[2 * length + 1] != 0))
        ++length;
    return length;
}

// Where a string's characters lie in the stream, found without looking beyond what is left.
struct StringPlace {
    const BYTE* characters;
    std::size_t length;  // units of the value, up to its first zero
};

std::optional<StringPlace> LocateString(Reader& reader, const StreamFormat& format) noexcept {
    if (!reader.Tag(format, format.StringTag()))
        return std::nullopt;
    DWORD prefix = 0;
    if (format.prefixed && !reader.Number(prefix))
        return std::nullopt;

    const BYTE* const characters = reader.At();
    const std::size_t units_left = reader.Left() / format.unit_size;
    if (format.terminated) {
        // A terminator beyond the longest string is as good as none.
        const std::size_t limit = std::min(units_left, format.LongestString() + 1);
        const std::size_t length = LengthWithin(characters, limit, format.unit_size);
        if (length == limit || (format.prefixed && prefix != length))
            return std::nullopt;
        reader.Skip((length + 1) * format.unit_size);
        return StringPlace{characters, length};
    }
    if (prefix > format.LongestString() || prefix > units_left)
        return std::nullopt;
    reader.Skip(prefix * format.unit_size);
    return StringPlace{characters, LengthWithin(characters, prefix, format.unit_size)};
}

// A converted narrow string; every single byte gives at most one unit.
struct NarrowConversion {
    std::array<WCHAR, kLongestNarrow + 1> units;
    std::size_t length = 0;
};

// By the ANSI code page, for strings with a terminator, which is converted with them.
bool ConvertByCodePage(const StringPlace& place, NarrowConversion& result) noexcept {
    const int converted = MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(place.characters),
                                              static_cast<int>(place.length) + 1, result.units.data(),
                                              static_cast<int>(result.units.size()));
    if (converted <= 0)
        return false;
    result.length = static_cast<std::size_t>(converted) - 1;
    return true;
}

// By the C library's multibyte conversion in the process's locale, for strings that are delimited by their
// length alone. Through wide characters: conversion to char16_t goes by the locale in some runtimes, and
// reads UTF-8 in every locale in others.
bool ConvertByLocale(const StringPlace& place, NarrowConversion& result) noexcept {
    std::mbstate_t state{};
    const char* at = reinterpret_cast<const char*>(place.characters);
    std::size_t left = place.length;
    result.length = 0;
    while (left != 0) {
        wchar_t wide = 0;
        const std::size_t used = std::mbrtowc(&wide, at, left, &state);
        if (used > left)
            return false;
        at += used;
        left -= used;
        auto character = static_cast<char32_t>(wide);
        // Where wide characters are whole characters, those beyond the basic plane become two units.
        if (character > 0xFFFF) {
            character -= 0x10000;
            result.units[result.length++] = static_cast<WCHAR>(0xD800 + (character >> 10));
            character = 0xDC00 + (character & 0x3FF);
        }
        result.units[result.length++] = static_cast<WCHAR>(character);
    }
    return true;
}

bool DecodeString(Reader& reader, const StreamFormat& format, StringHolder& holder) noexcept {
    holder.status = 0;
    const auto place = LocateString(reader, format);
    if (!place)
        return false;
    const bool converted = Attempt([&] {
        if (format.Wide()) {
            std::basic_string<WCHAR> units(place->length, WCHAR{0});
            for (std::size_t i = 0; i != place->length; ++i)
                units[i] = static_cast<WCHAR>(place->characters[2 * i] | place->characters[2 * i + 1] << 8);
            holder.text = Text(TextView(units));
            return true;
        }
        NarrowConversion narrow;
        if (!(format.terminated ? ConvertByCodePage(*place, narrow) : ConvertByLocale(*place, narrow)))
            return false;
        holder.text = Text(TextView(narrow.units.data(), narrow.length));
        return true;
    });
    holder.status = converted ? 0 : -1;
    return converted;
}

}  // namespace

DWORD* CSsInformationSet::Element::Number() const noexcept {
    return type_ == kNumberElement ? static_cast<DWORD*>(value_) : nullptr;
}

StringHolder* CSsInformationSet::Element::String() const noexcept {
    return type_ == kStringElement ? static_cast<StringHolder*>(value_) : nullptr;
}

bool CSsInformationSet::AddElement(const WCHAR* name, void* value, DWORD type,
                                   RegisteredDefault& registered) noexcept {
    if (!name || !value)
        return false;
    if (!Attempt([&] {
            Element element;
            element.name_ = Text(name);
            element.value_ = value;
            element.type_ = type;
            elements_.push_back(std::move(element));
        })) {
        complete_ = false;
        return false;
    }
    elements_.back().registered_ = std::move(registered);
    if (type == kNumberElement) {
        const std::size_t last = elements_.size() - 1;
        if (last == 0 || elements_[last - 1].type_ != kNumberElement)
            stretch_head_ = last;
        ++elements_[stretch_head_].stretch_;
    }
    return true;
}

void CSsInformationSet::Clear() noexcept {
    elements_.clear();
    position_ = 0;
    complete_ = true;
}

const CSsInformationSet::Element* CSsInformationSet::First() noexcept {
    position_ = 0;
    return elements_.empty() ? nullptr : elements_.data();
}

const CSsInformationSet::Element* CSsInformationSet::Next() noexcept {
    if (position_ < elements_.size())
        ++position_;
    return position_ < elements_.size() ? elements_.data() + position_ : nullptr;
}

const CSsInformationSet::Element* CSsInformationSet::Last() const noexcept {
    return elements_.empty() ? nullptr : &elements_.back();
}

DWORD CSsInformationSet::EncodedSize(DWORD options) noexcept {
    const DWORD in_force = options != 0 ? options : serialisation_.Options();
    if (!CSsSerialisationBase::AreValidOptions(in_force))
        return 0;
    const StreamFormat format(in_force);
    std::uint64_t size = format.header ? format.NumberSize() : 0;
    for (const Element* element = First(); element; element = Next()) {
        if (element->type_ == kNumberElement)
            size += format.NumberSize();
        else if (element->type_ == kStringElement)
            size += format.StringSize(element->String()->text.length());
        else
            return 0;
    }
    return size <= std::numeric_limits<DWORD>::max() ? static_cast<DWORD>(size) : 0;
}

bool CSsInformationSet::Encode(BYTE* buffer, DWORD& free_bytes, DWORD options) noexcept {
    const DWORD in_force = options != 0 ? options : serialisation_.Options();
    if (!CSsSerialisationBase::AreValidOptions(in_force))
        return false;
    const StreamFormat format(in_force);
    Writer writer(buffer, free_bytes);

    if (format.header) {
        if (!writer.Fits(format.NumberSize()))
            return false;
        if (format.Tagged())
            writer.Byte(kHeaderTag);
        writer.Number(serialisation_.CheckValue());
    }
    for (position_ = 0; position_ != elements_.size();) {
        const Element* const element = elements_.data() + position_;
        if (element->type_ == kNumberElement && !format.Tagged()) {
            // A stretch of numbers is as long as the buffer allows, which is checked once.
            const std::size_t fitting = std::min<std::size_t>(element->stretch_, writer.Free() / kNumberSize);
            const bool all_fit = fitting == element->stretch_;
            BYTE* const out = writer.Advance(fitting * kNumberSize);
            ForEachInStretch(fitting, [=](std::size_t i) {
                StoreNumber(out + i * kNumberSize, *static_cast<const DWORD*>(element[i].value_));
            });
            position_ += fitting;
            if (!all_fit)
                return false;
            continue;
        }
        if (element->type_ == kNumberElement) {
            if (!writer.Fits(format.NumberSize()))
                return false;
            writer.Byte(kNumberTag);
            writer.Number(*element->Number());
        } else if (element->type_ != kStringElement || !EncodeString(writer, format, *element->String())) {
            return false;
        }
        ++position_;
    }
    return true;
}

bool CSsInformationSet::Decode(const BYTE* buffer, DWORD& available_bytes, DWORD options) noexcept {
    const DWORD in_force = options != 0 ? options : serialisation_.Options();
    if (!CSsSerialisationBase::AreValidOptions(in_force))
        return false;
    const StreamFormat format(in_force);
    Reader reader(buffer, available_bytes);

    if (format.header) {
        DWORD check_value = 0;
        if (!reader.Tag(format, kHeaderTag) || !reader.Number(check_value) ||
            check_value != serialisation_.CheckValue())
            return false;
        reader.ItemDone();
    }
    for (position_ = 0; position_ != elements_.size();) {
        const Element* const element = elements_.data() + position_;
        if (element->type_ == kNumberElement && !format.Tagged()) {
            // A stretch of numbers goes as far as the stream does, which is checked once.
            const std::size_t present = std::min<std::size_t>(element->stretch_, reader.Left() / kNumberSize);
            const bool all_present = present == element->stretch_;
            const BYTE* const in = reader.At();
            ForEachInStretch(present, [=](std::size_t i) {
                *static_cast<DWORD*>(element[i].value_) = LoadNumber(in + i * kNumberSize);
            });
            reader.Skip(present * kNumberSize);
            reader.ItemDone();
            position_ += present;
            if (!all_present)
                return false;
            continue;
        }
        if (element->type_ == kNumberElement) {
            if (!reader.Tag(format, kNumberTag) || !reader.Number(*element->Number()))
                return false;
        } else if (element->type_ != kStringElement || !DecodeString(reader, format, *element->String())) {
            return false;
        }
        reader.ItemDone();
        ++position_;
    }
    return true;
}

}  // namespace qx
