// SPDX-License-Identifier: MIT
// The settings stream, byte by byte, against a writing of it by hand.
#include "driver_access/information_set.h"
#include "tests/support/allocations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

namespace {

using qx::CSsInformationSet;
using qx::RegisteredDefault;
using qx::StringHolder;
using qx::Text;
using testing::ElementsAre;
using Bytes = std::vector<BYTE>;

constexpr DWORD kCheckValue = 0xC0FFEE42;

// A number, a string and another number.
struct Sample : CSsInformationSet {
    explicit Sample(DWORD options = 3) {
        EXPECT_TRUE(Serialisation().SetOptions(options));
        Serialisation().SetCheckValue(kCheckValue);
        RegisteredDefault none;
        EXPECT_TRUE(AddElement(TEXT("First"), &first, qx::kNumberElement, none));
        EXPECT_TRUE(AddElement(TEXT("Name"), &name, qx::kStringElement, none));
        EXPECT_TRUE(AddElement(TEXT("Last"), &last, qx::kNumberElement, none));
    }
    DWORD first = 0x11223344;
    StringHolder name;
    DWORD last = 0x55667788;
};

void Add(Bytes& out, DWORD value) {
    for (int shift = 0; shift != 32; shift += 8)
        out.push_back(static_cast<BYTE>(value >> shift));
}

// The stream of the sample's values, and where each of its items ends.
struct Expected {
    Bytes bytes;
    std::vector<std::size_t> ends;
};

Expected ExpectedStream(DWORD options, const std::string& name) {
    Expected out;
    const auto tag = [&](BYTE value) {
        if (options & qx::SS_TAGGED)
            out.bytes.push_back(value);
    };
    const auto unit = [&](char value) {
        out.bytes.push_back(static_cast<BYTE>(value));
        if (options & qx::SS_WIDE)
            out.bytes.push_back(0);
    };
    if (options & qx::SS_HEADER) {
        tag(0);
        Add(out.bytes, kCheckValue);
        out.ends.push_back(out.bytes.size());
    }
    tag(2);
    Add(out.bytes, 0x11223344);
    out.ends.push_back(out.bytes.size());
    tag(options & qx::SS_WIDE ? 4 : 3);
    if (options & qx::SS_LENGTH_PREFIXED)
        Add(out.bytes, static_cast<DWORD>(name.size()));
    for (const char c : name)
        unit(c);
    if (options & qx::SS_TERMINATED)
        unit(0);
    out.ends.push_back(out.bytes.size());
    tag(2);
    Add(out.bytes, 0x55667788);
    out.ends.push_back(out.bytes.size());
    return out;
}

// The end of the last item that lies within `size` bytes.
std::size_t ItemsWithin(const Expected& stream, std::size_t size) {
    std::size_t end = 0;
    for (const std::size_t item : stream.ends)
        end = item <= size ? item : end;
    return end;
}

bool Decode(CSsInformationSet& set, const Bytes& stream, DWORD* left = nullptr, DWORD options = 0) {
    auto count = static_cast<DWORD>(stream.size());
    // A copy of its own size, so that a sanitizer sees a single byte read beyond it.
    const std::unique_ptr<BYTE[]> copy(new BYTE[stream.size()]);
    std::copy(stream.begin(), stream.end(), copy.get());
    const bool good = set.Decode(copy.get(), count, options);
    if (left != nullptr)
        *left = count;
    return good;
}

// Every valid option word, used as the set's own and as the override of one call.
class EveryFormat : public testing::TestWithParam<DWORD> {};

INSTANTIATE_TEST_SUITE_P(Codec, EveryFormat, testing::Range(DWORD{1}, DWORD{34}));

TEST_P(EveryFormat, StreamIsExactAndEveryShorterBufferFailsWhereItEnds) {
    const DWORD options = GetParam();
    if (!qx::CSsSerialisationBase::AreValidOptions(options)) {
        EXPECT_TRUE((options & 3) == 0 || options > 31);
        Sample set;
        DWORD count = 64;
        BYTE buffer[64] = {};
        EXPECT_EQ(set.EncodedSize(options), 0U);
        EXPECT_FALSE(set.Encode(buffer, count, options));
        EXPECT_FALSE(set.Decode(buffer, count, options));
        EXPECT_EQ(count, 64U);
        EXPECT_EQ(set.first, 0x11223344U);
        EXPECT_EQ(set.Serialisation().Options(), 3U);
        return;
    }
    for (const std::string name : {"", "USB"}) {
        const Expected expected = ExpectedStream(options, name);
        const auto size = static_cast<DWORD>(expected.bytes.size());
        for (const bool as_override : {false, true}) {
            Sample set(as_override ? 3 : options);
            const DWORD call = as_override ? options : 0;
            set.name.text = Text(std::basic_string<WCHAR>(name.begin(), name.end()).c_str());
            EXPECT_EQ(set.EncodedSize(call), size);

            for (DWORD room = 0; room <= size + 1; ++room) {
                Bytes buffer(size + 8, 0xEE);
                DWORD left = room;
                EXPECT_EQ(set.Encode(buffer.data(), left, call), room >= size) << room;
                const std::size_t written = ItemsWithin(expected, room);
                EXPECT_EQ(left, room - written) << room;
                EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(written),
                                       expected.bytes.begin()));
                EXPECT_TRUE(std::all_of(buffer.begin() + static_cast<std::ptrdiff_t>(room), buffer.end(),
                                        [](BYTE byte) { return byte == 0xEE; }))
                    << "written beyond " << room;
            }

            for (DWORD length = 0; length <= size + 1; ++length) {
                Sample back(as_override ? 3 : options);
                back.first = back.last = 0xAAAAAAAA;
                back.name.text = TEXT("old");
                Bytes stream = expected.bytes;
                stream.resize(length, 0xEE);
                DWORD left = 0;
                EXPECT_EQ(Decode(back, stream, &left, call), length >= size) << length;
                EXPECT_EQ(left, length - ItemsWithin(expected, length)) << length;
                const std::size_t header = expected.ends.size() - 3;
                EXPECT_EQ(back.first, length >= expected.ends[header] ? 0x11223344U : 0xAAAAAAAAU) << length;
                EXPECT_EQ(back.name.text == set.name.text, length >= expected.ends[header + 1]) << length;
                EXPECT_EQ(back.last, length >= size ? 0x55667788U : 0xAAAAAAAAU) << length;
                EXPECT_EQ(back.name.status, 0);
                EXPECT_EQ(back.Serialisation().Options(), as_override ? 3 : options);
            }
        }
    }
}

TEST(Codec, EmptySetIsItsHeaderAlone) {
    CSsInformationSet set;
    set.Serialisation().SetCheckValue(0x01020304);
    DWORD count = 0;
    EXPECT_EQ(set.EncodedSize(), 0U);
    EXPECT_TRUE(set.Encode(nullptr, count));
    EXPECT_TRUE(set.Decode(nullptr, count));
    for (const DWORD options : {0x11U, 0x19U}) {
        Bytes buffer(set.EncodedSize(options));
        count = static_cast<DWORD>(buffer.size());
        ASSERT_TRUE(set.Encode(buffer.data(), count, options));
        EXPECT_THAT(Bytes(buffer.end() - 4, buffer.end()), ElementsAre(4, 3, 2, 1));
        EXPECT_EQ(buffer.size(), options == 0x19 ? 5U : 4U);
        EXPECT_TRUE(Decode(set, buffer, nullptr, options));
        buffer.back() ^= 1;
        EXPECT_FALSE(Decode(set, buffer, nullptr, options)) << "another check value";
    }
}

TEST(Codec, TagsOfOtherTypesFail) {
    for (const DWORD options : {0x1BU, 0x1FU}) {  // narrow and wide, both with header
        const Expected good = ExpectedStream(options, "USB");
        for (const std::size_t at : {std::size_t{0}, good.ends[0], good.ends[1], good.ends[2]}) {
            for (const int tag : {0, 1, 2, 3, 4, 5, 0x82}) {
                Sample set(options);
                Bytes stream = good.bytes;
                const bool right = stream[at] == tag;
                stream[at] = static_cast<BYTE>(tag);
                EXPECT_EQ(Decode(set, stream), right) << options << " tag " << tag << " at " << at;
            }
        }
    }
}

// What a driver can send as a string when it is broken or hostile.
TEST(Codec, LengthsThatLieFail) {
    struct Case {
        const char* what;
        DWORD options;
        Bytes string;
        bool good;
        std::string text;
    };
    const Case cases[] = {
        {"length of 4 GiB - 1", 3, {0xFF, 0xFF, 0xFF, 0xFF, 'U', 0}, false, ""},
        {"length of 4 GiB - 1 without terminator", 2, {0xFF, 0xFF, 0xFF, 0xFF, 'U', 0}, false, ""},
        {"wide length whose bytes overflow 32 bits", 6, {1, 0, 0, 0x80, 'U', 0, 'S', 0}, false, ""},
        {"length too long by one", 3, {4, 0, 0, 0, 'U', 'S', 'B', 0}, false, ""},
        {"length too short by one", 3, {2, 0, 0, 0, 'U', 'S', 'B', 0}, false, ""},
        {"no terminator", 1, Bytes(40, 'x'), false, ""},
        {"terminator of half a wide unit", 5, {'U', 0, 'S', 0, 0}, false, ""},
        {"cut at the first zero", 2, {4, 0, 0, 0, 'U', 'S', 0, 'B'}, true, "US"},
        {"wide, cut at the first zero", 6, {3, 0, 0, 0, 'U', 0, 0, 0, 'B', 0}, true, "U"},
        {"length without characters", 2, {3, 0, 0, 0, 'U', 'S'}, false, ""},
    };
    for (const Case& c : cases) {
        CSsInformationSet set;
        StringHolder name{Text(TEXT("old")), -1};
        RegisteredDefault none;
        ASSERT_TRUE(set.AddElement(TEXT("Name"), &name, qx::kStringElement, none));
        DWORD left = 0;
        EXPECT_EQ(Decode(set, c.string, &left, c.options), c.good) << c.what;
        EXPECT_EQ(left, c.good ? 0U : c.string.size()) << c.what;
        const std::string text(name.text.view().begin(), name.text.view().end());
        EXPECT_EQ(text, c.good ? c.text : "old") << c.what;
        EXPECT_EQ(name.status, 0) << c.what << ": the bytes were never converted";
    }
}

// A string without terminator is read by the C library in the process's locale: UTF-8 where there is one of
// that name, and over the C runtime of Windows byte by byte.
TEST(Codec, StringsDelimitedByTheirLengthFollowTheLocale) {
    const bool utf8 = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    CSsInformationSet set;
    StringHolder name;
    RegisteredDefault none;
    ASSERT_TRUE(set.AddElement(TEXT("Name"), &name, qx::kStringElement, none));
    EXPECT_TRUE(Decode(set, {7, 0, 0, 0, 'e', 0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80}, nullptr, 2));
    const std::basic_string<WCHAR> bytes{'e', 0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80};
    const std::basic_string<WCHAR> characters{'e', 0xE9, 0xD83D, 0xDE00};
    EXPECT_TRUE(name.text.view() == (utf8 ? characters : bytes));
    EXPECT_EQ(Decode(set, {1, 0, 0, 0, 0xC3}, nullptr, 2), !utf8) << "half a character";
    std::setlocale(LC_CTYPE, "C");
}

// The longest strings that the format holds go both ways; one character more goes neither way.
TEST(Codec, StringLengthsStopAtTheFormatsLimits) {
    struct Case {
        DWORD options;
        std::size_t longest;
    };
    for (const auto& [options, longest] :
         {Case{1, 255}, Case{2, 255}, Case{3, 255}, Case{5, 32767}, Case{6, 32767}, Case{7, 32767}}) {
        const std::size_t width = options & 4 ? 2 : 1;
        for (const std::size_t length : {longest, longest + 1}) {
            const bool fits = length == longest;
            Sample set(options);
            set.name.text = Text(std::basic_string<WCHAR>(length, TEXT('A')).c_str());
            Bytes buffer(4 * longest + 100);
            auto count = static_cast<DWORD>(buffer.size());
            EXPECT_EQ(set.Encode(buffer.data(), count), fits) << options << ' ' << length;
            EXPECT_EQ(set.name.status, fits || width == 2 ? 0 : -1);

            Bytes stream;
            Add(stream, 7);
            if (options & 2)
                Add(stream, static_cast<DWORD>(length));
            for (std::size_t i = 0; i != length; ++i) {
                stream.push_back('B');
                if (width == 2)
                    stream.push_back(0);
            }
            stream.insert(stream.end(), options & 1 ? width : 0, BYTE{0});
            Add(stream, 8);
            EXPECT_EQ(Decode(set, stream), fits) << options << ' ' << length;
            EXPECT_EQ(set.first, 7U);
            EXPECT_EQ(set.name.text.view()[0], fits ? TEXT('B') : TEXT('A'));
        }
    }
}

TEST(Codec, CharactersAboveOneByteFailANarrowStreamOnly) {
    Sample set;
    set.name.text = TEXT("\u00FF\u00E9");
    Bytes buffer(64);
    DWORD count = 64;
    ASSERT_TRUE(set.Encode(buffer.data(), count));
    EXPECT_EQ(buffer[8], 0xFF);
    EXPECT_EQ(buffer[9], 0xE9);

    set.name.text = TEXT("A\u0100");
    count = 64;
    EXPECT_FALSE(set.Encode(buffer.data(), count));
    EXPECT_EQ(count, 60U) << "only the first number was written";
    EXPECT_EQ(set.name.status, -1);
    count = 64;
    EXPECT_TRUE(set.Encode(buffer.data(), count, 7)) << "wide";
    EXPECT_EQ(set.name.status, 0) << "what failed before is forgotten";
}

TEST(Codec, ElementOfAnotherTypeStopsEverything) {
    Sample set;
    DWORD odd = 9;
    RegisteredDefault none;
    ASSERT_TRUE(set.AddElement(TEXT("Odd"), &odd, 3, none));
    EXPECT_EQ(set.EncodedSize(), 0U);
    BYTE buffer[64] = {};
    DWORD count = sizeof buffer;
    EXPECT_FALSE(set.Encode(buffer, count));
    EXPECT_EQ(count, sizeof buffer - 13) << "the items before it were written";
    EXPECT_FALSE(Decode(set, Bytes(64)));
    EXPECT_EQ(set.last, 0U) << "the items before it were stored";
    EXPECT_EQ(odd, 9U);
}

TEST(Codec, ElementsKeepTheirOrderAndOwnTheirDefaults) {
    CSsInformationSet set;
    DWORD field = 0;
    RegisteredDefault registered(std::make_unique<DWORD>(9600U));
    EXPECT_FALSE(set.AddElement(nullptr, &field, qx::kNumberElement, registered));
    EXPECT_FALSE(set.AddElement(TEXT("Baudrate"), nullptr, qx::kNumberElement, registered));
    ASSERT_NE(std::get<1>(registered), nullptr) << "a refused element leaves its default with the caller";
    EXPECT_EQ(set.Count(), 0U);
    EXPECT_EQ(set.First(), nullptr);
    EXPECT_EQ(set.Last(), nullptr);

    // Out of memory at every allocation that adding makes.
    std::size_t refused = 0;
    for (bool added = false; !added; ++refused) {
        const qxtest::FailingAllocation fail(refused + 1);
        added = set.AddElement(TEXT("A name too long to lie within the text itself"), &field,
                               qx::kNumberElement, registered);
        EXPECT_EQ(added, !fail.Fired());
        EXPECT_EQ(set.Count(), added ? 1U : 0U);
        EXPECT_EQ(std::get<1>(registered) == nullptr, added);
    }
    EXPECT_GT(refused, 1U);

    StringHolder name;
    ASSERT_TRUE(set.AddElement(TEXT("Second"), &name, qx::kStringElement, registered));
    const auto* first = set.First();
    EXPECT_EQ(first->Number(), &field);
    EXPECT_EQ(first->String(), nullptr);
    EXPECT_EQ(*std::get<1>(first->Registered()), 9600U);
    EXPECT_EQ(set.Next()->String(), &name);
    EXPECT_EQ(set.Last()->Name(), Text(TEXT("Second")));
    EXPECT_EQ(set.Next(), nullptr);
    EXPECT_EQ(set.Next(), nullptr);
    EXPECT_FALSE(set.IsComplete()) << "for all that came after the want of memory";

    set.Clear();
    EXPECT_TRUE(set.IsComplete());
    EXPECT_EQ(set.EncodedSize(), 0U);
    ASSERT_TRUE(set.AddElement(TEXT("Again"), &field, qx::kNumberElement, registered));
    EXPECT_EQ(set.EncodedSize(), 4U);
}

TEST(Codec, EncodingAllocatesNothingAndDecodingSurvivesWithoutMemory) {
    Sample set;
    const Text usb(TEXT("USB"));
    set.name.text = usb;
    Bytes buffer(64);
    for (const DWORD options : {2U, 3U, 7U, 31U}) {
        DWORD count = 64;
        const std::size_t before = qxtest::Allocations();
        const bool good = set.EncodedSize(options) != 0 && set.Encode(buffer.data(), count, options);
        EXPECT_EQ(qxtest::Allocations(), before);
        EXPECT_TRUE(good);

        if (options == 3)
            continue;  // the platform's conversion, too, allocates, and would be the one to fail
        set.name.text = TEXT("old");
        std::size_t nth = 1;
        for (bool decoded = false; !decoded; ++nth) {
            const qxtest::FailingAllocation fail(nth);
            DWORD left = 64;
            decoded = set.Decode(buffer.data(), left, options);
            EXPECT_EQ(decoded, !fail.Fired());
            EXPECT_EQ(set.name.status, decoded ? 0 : -1);
            EXPECT_EQ(set.name.text == usb, decoded);
        }
        EXPECT_GT(nth, 2U) << "no allocation was made to fail";
    }
}

}  // namespace
