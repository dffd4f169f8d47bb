// SPDX-License-Identifier: MIT
// What driver authors are told about the settings must be what the library does: the page, the header for C
// and the library's own sets are compared with each other.
#include "driver_access/bus_parameters.h"
#include "driver_access/product_data.h"
#include "driver_access/user_mode_config.h"
#include "driver_access/vcp_parameters.h"
#include "package/qxsettings.h"
#include "tests/package/sources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

std::string Narrow(qx::TextView text) {
    return {text.begin(), text.end()};
}

const std::string& Page() {
    static const std::string page = Contents("docs/settings-stream.md");
    return page;
}

struct Row {
    std::string number;
    std::string offset;
    std::string name;
    std::string usual;
    bool operator==(const Row&) const = default;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.number << " " << row.offset << " " << row.name << " " << row.usual;
}

// The rows of the table below a heading of the page.
std::vector<Row> RowsUnder(const std::string& heading) {
    static const std::regex kRow(R"(\n\| (\d+) \| (\d+) \| (\w+) \|[^|]*\|[^|]*\| (\S+) \|)");
    const std::size_t from = Page().find("\n## " + heading);
    const std::string section = Page().substr(from, Page().find("\n## ", from + 1) - from);
    std::vector<Row> rows;
    for (std::sregex_iterator row(section.begin(), section.end(), kRow), end; row != end; ++row)
        rows.push_back({(*row)[1], (*row)[2], (*row)[3], (*row)[4]});
    return rows;
}

std::vector<Row> RowsOf(qx::CSsInformationSet& set) {
    std::vector<Row> rows;
    std::size_t offset = 0;
    for (const auto* element = set.First(); element != nullptr; element = set.Next()) {
        const bool number = element->Type() == qx::kNumberElement;
        // An empty text is its length and its zero byte.
        rows.push_back({std::to_string(rows.size() + 1), std::to_string(offset),
                        Narrow(element->Name().view()),
                        number ? std::to_string(*std::get<1>(element->Registered())) : "(empty)"});
        offset += number ? 4 : 5;
    }
    return rows;
}

// "0x0F" as "15"; masks are easier to read so.
std::vector<Row> InDecimal(std::vector<Row> rows) {
    for (Row& row : rows)
        if (row.usual.starts_with("0x"))
            row.usual = std::to_string(std::stoul(row.usual, nullptr, 16));
    return rows;
}

// The names of the header's places in a set, in their order.
std::vector<std::string> PlacesIn(const char* prefix) {
    static const std::string header = Contents("package/qxsettings.h");
    const std::regex place("\n    " + std::string(prefix) + R"((\w+)(?: = \w+)?,)");
    std::vector<std::string> names;
    for (std::sregex_iterator name(header.begin(), header.end(), place), end; name != end; ++name)
        if ((*name)[1] != "NUMBERS_BEFORE_TEXT")
            names.push_back((*name)[1]);
    return names;
}

std::vector<std::string> NumbersOf(qx::CSsInformationSet& set) {
    std::vector<std::string> names;
    for (const auto* element = set.First(); element != nullptr; element = set.Next())
        if (element->Type() == qx::kNumberElement)
            names.push_back(Narrow(element->Name().view()));
    return names;
}

// Lines of bytes, each with its offset and what it is.
class Listing {
  public:
    explicit Listing(std::vector<BYTE> bytes) : bytes_(std::move(bytes)) {}
    void Add(std::size_t count, const std::string& what) {
        std::array<char, 8> number{};
        std::snprintf(number.data(), number.size(), "%5zu  ", at_);
        std::string line = number.data();
        for (const std::size_t end = at_ + count; at_ < end; ++at_) {
            std::snprintf(number.data(), number.size(), "%02X ", static_cast<unsigned>(bytes_.at(at_)));
            line += number.data();
        }
        line.resize(20, ' ');
        text_ += line + what + "\n";
    }
    [[nodiscard]] bool IsComplete() const { return at_ == bytes_.size(); }
    [[nodiscard]] const std::string& Text() const { return text_; }

  private:
    std::vector<BYTE> bytes_;
    std::size_t at_ = 0;
    std::string text_;
};

// The stream of a set behind `header`, line by line, as the real codec writes it.
std::string Listed(qx::CSsInformationSet& set, std::vector<BYTE> header) {
    std::vector<BYTE> bytes = header;
    bytes.resize(header.size() + set.EncodedSize());
    auto free_bytes = set.EncodedSize();
    EXPECT_TRUE(set.Encode(bytes.data() + header.size(), free_bytes));
    Listing listing(bytes);
    if (!header.empty()) {
        listing.Add(4, "the set: 0, the port's");
        listing.Add(4, "always so");
    }
    for (const auto* element = set.First(); element != nullptr; element = set.Next()) {
        const std::string name = Narrow(element->Name().view());
        if (element->Type() == qx::kNumberElement) {
            listing.Add(4, name + " = " + std::to_string(*element->Number()));
            continue;
        }
        const std::string text = Narrow(element->String()->text.view());
        listing.Add(4, name + ": " + std::to_string(text.size()) + " characters");
        listing.Add(text.size(), "\"" + text + "\"");
        listing.Add(1, "the zero byte behind them");
    }
    EXPECT_TRUE(listing.IsComplete());
    return "```\n" + listing.Text() + "```\n";
}

// Sets every number of a set to the value that is registered with it.
void UseRegistered(qx::CSsInformationSet& set) {
    for (const auto* element = set.First(); element != nullptr; element = set.Next())
        if (element->Type() == qx::kNumberElement)
            *element->Number() = *std::get<1>(element->Registered());
}

}  // namespace

TEST(SettingsContract, ThePageListsBothSets) {
    qx::CQxUVcpUserModeInterface port;
    qx::CQxUBusUserModeInterface bus;
    EXPECT_THAT(InDecimal(RowsUnder("The port set")), ElementsAreArray(RowsOf(port)));
    EXPECT_THAT(InDecimal(RowsUnder("The bus set")), ElementsAreArray(RowsOf(bus)));
    EXPECT_THAT(PlacesIn("QX_PORT_"), ElementsAreArray(NumbersOf(port)));
    EXPECT_THAT(PlacesIn("QX_BUS_"), ElementsAreArray(NumbersOf(bus)));
    EXPECT_EQ(port.EncodedSize(), DWORD{QX_PORT_STREAM_BYTES});
    bus.InterfaceType.text = TEXT("USB");
    EXPECT_EQ(bus.EncodedSize(), DWORD{QX_BUS_STREAM_BYTES(3)});
}

TEST(SettingsContract, ThePageShowsStreamsOfTheCodec) {
    qx::CQxUVcpUserModeInterface port;
    UseRegistered(port);
    port.Baudrate = 115200;
    port.Parity = 2;
    port.OverridBaudRates = 1;
    const std::string write = Listed(port, {QX_PORT_SET, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_NE(Page().find(write), std::string::npos) << write;
    qx::CQxUBusUserModeInterface bus;
    UseRegistered(bus);
    bus.InterfaceType.text = TEXT("USB");
    const std::string answer = Listed(bus, {});
    EXPECT_NE(Page().find(answer), std::string::npos) << answer;
}

TEST(SettingsContract, TheHeaderSpeaksOfTheLibrarysInterface) {
    const GUID control_class = QX_CONTROL_CLASS;
    EXPECT_TRUE(IsEqualGUID(control_class, qx::kControlInterfaceClass))
        << "package/qxsettings.h goes with driver_access/product_data.h";
    EXPECT_EQ(qx::Text(TEXT("") QX_REFERENCE_PREFIX), qx::Text(qx::kControlReferencePrefix));
    struct Request {
        const char* name;
        DWORD code;
        DWORD library;
    };
    for (const Request& request :
         {Request{"QX_GET_SETTINGS_SIZE", QX_GET_SETTINGS_SIZE, qx::IOCTL_GET_SETTINGS_SIZE},
          Request{"QX_GET_SETTINGS", QX_GET_SETTINGS, qx::IOCTL_GET_SETTINGS},
          Request{"QX_SET_SETTINGS", QX_SET_SETTINGS, qx::IOCTL_SET_SETTINGS},
          Request{"QX_GET_DEFAULT_SETTINGS_SIZE", QX_GET_DEFAULT_SETTINGS_SIZE,
                  qx::IOCTL_GET_DEFAULT_SETTINGS_SIZE},
          Request{"QX_GET_DEFAULT_SETTINGS", QX_GET_DEFAULT_SETTINGS, qx::IOCTL_GET_DEFAULT_SETTINGS}}) {
        EXPECT_EQ(request.code, request.library);
        std::array<char, 64> row{};
        std::snprintf(row.data(), row.size(), "| 0x%08X | 0x%X | `%s` |", request.code,
                      request.code >> 2 & 0xFFF, request.name);
        EXPECT_THAT(Page(), HasSubstr(row.data()));
    }
    EXPECT_EQ(QX_PORT_SET, qx::kPortSet);
    EXPECT_EQ(QX_BUS_SET, qx::kBusSet);
}
