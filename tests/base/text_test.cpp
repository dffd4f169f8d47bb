// SPDX-License-Identifier: MIT
// The conversions that every COM name, id and caption goes through.
#include "base/text.h"

#include <climits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx {
namespace {

using testing::ElementsAre;

struct NumberCase {
    const WCHAR* text;
    int number;
};

TEST(ParseDecimal, ReadsWhatTheCLibraryReads) {
    const NumberCase cases[] = {
        {TEXT("12"), 12},
        {TEXT("007"), 7},
        {TEXT(" \t\r\n\v\f9"), 9},
        {TEXT("+3"), 3},
        {TEXT("-3"), -3},
        {TEXT("- 3"), 0},
        {TEXT("+-3"), 0},
        {TEXT("4x9"), 4},
        {TEXT("x1"), 0},
        {TEXT(""), 0},
        {TEXT("-"), 0},
        {TEXT("2147483647"), INT_MAX},
        {TEXT("-2147483648"), INT_MIN},
    };
    for (const NumberCase& c : cases)
        EXPECT_EQ(ParseDecimal(c.text), c.number);
}

TEST(ParseDecimal, HoldsWhatDoesNotFitAtTheEndOfTheRange) {
    EXPECT_EQ(ParseDecimal(TEXT("2147483648")), INT_MAX);
    EXPECT_EQ(ParseDecimal(TEXT("-2147483649")), INT_MIN);
    EXPECT_EQ(ParseDecimal(TEXT("99999999999999999999999999999999")), INT_MAX);
    EXPECT_EQ(ParseDecimal(TEXT("-99999999999999999999999999999999")), INT_MIN);
}

TEST(ComNumberOf, DropsThreeCharactersWhateverTheyAre) {
    EXPECT_EQ(ComNumberOf(TEXT("COM12")), 12);
    EXPECT_EQ(ComNumberOf(TEXT("com12")), 12);
    EXPECT_EQ(ComNumberOf(TEXT("LPT7")), 7);
    EXPECT_EQ(ComNumberOf(TEXT("COM")), 0);
    EXPECT_EQ(ComNumberOf(TEXT("CO")), 0);
    EXPECT_EQ(ComNumberOf(Text()), 0);
    EXPECT_EQ(ComNumberOf(TEXT("COM99999999999")), INT_MAX);
    EXPECT_EQ(ComNameOf(256), Text(TEXT("COM256")));
}

TEST(Format, ReplacesEachConversionByTheNextArgument) {
    EXPECT_EQ(Format(TEXT("%d,%d,%c,%s"), 115200U, 8, TEXT('n'), Text(TEXT("1.5"))),
              Text(TEXT("115200,8,n,1.5")));
    EXPECT_EQ(Format(TEXT("%s::/QxUUI.txt"), TEXT("QxUUI51.chm")), Text(TEXT("QxUUI51.chm::/QxUUI.txt")));
    EXPECT_EQ(Format(TEXT("%u%s%c%d"), 5U, TEXT("x"), TEXT('y'), 6), Text(TEXT("5xy6")));
    EXPECT_EQ(Format(TEXT("100%% of %d"), 0), Text(TEXT("100% of 0")));
}

TEST(Format, ReadsTheSameBitsWithAndWithoutASign) {
    EXPECT_EQ(Format(TEXT("%d %u"), 0xFFFFFFFFU, 0xFFFFFFFFU), Text(TEXT("-1 4294967295")));
    EXPECT_EQ(Format(TEXT("%d"), INT_MIN), Text(TEXT("-2147483648")));
}

TEST(Format, SurvivesArgumentsThatDoNotMatch) {
    EXPECT_EQ(Format(TEXT("[%d][%s]"), Text(TEXT("text"))), Text(TEXT("[][]")));
    EXPECT_EQ(Format(TEXT("%x%")), Text(TEXT("%x%")));
    EXPECT_EQ(Format(TEXT("")), Text());
    // A conversion inside an argument is text like any other: device names come from outside.
    EXPECT_EQ(Format(TEXT("%s-%d"), TEXT("%d%s"), 5), Text(TEXT("%d%s-5")));
}

TEST(ReplaceAll, GoesLeftToRightWithoutOverlaps) {
    EXPECT_EQ(ReplaceAll(TEXT("Port (COM3) COM3"), TEXT("COM3"), TEXT("COM12")),
              Text(TEXT("Port (COM12) COM12")));
    EXPECT_EQ(ReplaceAll(TEXT("aaa"), TEXT("aa"), TEXT("b")), Text(TEXT("ba")));
    EXPECT_EQ(ReplaceAll(TEXT("COM1 COM12"), TEXT("COM1"), TEXT("COM11")), Text(TEXT("COM11 COM112")));
    EXPECT_EQ(ReplaceAll(TEXT("com3"), TEXT("COM3"), TEXT("COM4")), Text(TEXT("com3")));
    EXPECT_EQ(ReplaceAll(TEXT("COM3"), TEXT(""), TEXT("x")), Text(TEXT("COM3")));
    EXPECT_EQ(ReplaceAll(TEXT("COM7 (in use)"), TEXT(" (in use)"), TEXT("")), Text(TEXT("COM7")));
}

TEST(SplitAtCommas, KeepsEmptyPartsSoThatPositionsCount) {
    EXPECT_THAT(SplitAtCommas(TEXT("Even,Odd,None")),
                ElementsAre(Text(TEXT("Even")), Text(TEXT("Odd")), Text(TEXT("None"))));
    EXPECT_THAT(SplitAtCommas(TEXT(",a,")), ElementsAre(Text(), Text(TEXT("a")), Text()));
    EXPECT_THAT(SplitAtCommas(Text()), ElementsAre(Text()));
}

TEST(Text, SharesItsStorageAndComparesUnitByUnit) {
    const Text name(TEXT("COM5"));
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is what is tested
    const Text copy = name;
    EXPECT_EQ(copy.c_str(), name.c_str());
    EXPECT_FALSE(name == Text(TEXT("com5")));
    EXPECT_FALSE(name == Text(TEXT("COM5 ")));
    EXPECT_EQ(Text(static_cast<const WCHAR*>(nullptr)), Text());
    EXPECT_EQ(Text().c_str()[0], WCHAR{0});
}

TEST(Text, TakesAFixedBufferUpToItsFirstNulOrWhole) {
    const WCHAR buffer[] = {'C', 'O', 'M', '5', 0, 'x'};
    EXPECT_EQ(Text::FromBuffer(buffer, 6), Text(TEXT("COM5")));
    EXPECT_EQ(Text::FromBuffer(buffer, 4), Text(TEXT("COM5")));
    EXPECT_EQ(Text::FromBuffer(buffer, 0), Text());
}

TEST(Text, ChangesCaseWithoutTouchingTheOriginal) {
    const Text id(TEXT("usb\\vid_0f7a&Pid_12aB"));
    EXPECT_EQ(UpperCase(id), Text(TEXT("USB\\VID_0F7A&PID_12AB")));
    EXPECT_EQ(LowerCase(id), Text(TEXT("usb\\vid_0f7a&pid_12ab")));
    EXPECT_EQ(id, Text(TEXT("usb\\vid_0f7a&Pid_12aB")));
    EXPECT_EQ(UpperCase(Text()), Text());
}

}  // namespace
}  // namespace qx
