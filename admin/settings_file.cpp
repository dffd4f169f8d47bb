// SPDX-License-Identifier: MIT
#include "admin/settings_file.h"

#include "admin/failure.h"
#include "admin/json.h"
#include "admin/text.h"
#include "install/device_helpers.h"
#include "install/fixed_com_numbers.h"

#include <algorithm>
#include <map>

namespace qxports {

namespace {

constexpr int kFormat = 1;

constexpr const char* kSets[] = {"portSettings", "busSettings"};

[[noreturn]] void Refuse(std::size_t line, const std::string& what) {
    throw Failure(kBadUse, "line " + std::to_string(line) + ": " + what);
}

// Counts lines as they are read.
class LineCounter {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    LineCounter(const char* at, std::size_t* line) : at_(at), line_(line) {}
    reference operator*() const { return *at_; }
    LineCounter& operator++() {
        *line_ += *at_ == '\n' ? 1U : 0U;
        ++at_;
        return *this;
    }
    bool operator==(const LineCounter& other) const { return at_ == other.at_; }
    bool operator!=(const LineCounter& other) const { return at_ != other.at_; }

  private:
    const char* at_;
    std::size_t* line_;
};

// Reads the file. The values stand in a tree that is at most four deep: file, list of ports, port, set.
class Reader : public nlohmann::json_sax<nlohmann::json> {
  public:
    explicit Reader(const std::size_t& line) : line_(line) {}

    std::vector<FilePort> ports;
    std::string problem;

    bool null() override { return Unexpected(); }
    bool boolean(bool /*value*/) override { return Unexpected(); }
    bool number_float(number_float_t /*value*/, const string_t& text) override {
        return Unexpected("the number " + text);
    }
    bool binary(binary_t& /*value*/) override { return Unexpected(); }
    bool number_integer(number_integer_t value) override {
        return Unexpected("the number " + std::to_string(value));
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (value > 0xFFFFFFFF)
            return Unexpected("the number " + std::to_string(value));
        const auto number = static_cast<DWORD>(value);
        if (depth_ == 1 && key_ == "format") {
            format_ = number;
            return number == kFormat || Fail("format " + std::to_string(number) + " is not known here");
        }
        if (depth_ == 3 && key_ == "position") {
            ports.back().key.position = number;
            return true;
        }
        if (depth_ != 4)
            return Unexpected();
        ports.back().settings.push_back({key_, set_ == kSets[1], number, key_line_});
        return true;
    }
    bool string(string_t& value) override {
        if (depth_ == 3 && key_ == "port")
            ports.back().key.name = value;
        else if (depth_ == 3 && key_ == "adapter")
            ports.back().key.adapter = value;
        else
            return Unexpected("\"" + value + "\"");
        return true;
    }
    bool start_object(std::size_t /*count*/) override {
        ++depth_;
        if (depth_ == 1 || (depth_ == 4 && (key_ == kSets[0] || key_ == kSets[1]))) {
            set_ = key_;
            return true;
        }
        if (depth_ != 3)
            return Unexpected();
        ports.push_back({{}, line_, {}});
        return true;
    }
    bool end_object() override {
        --depth_;
        return depth_ != 0 || format_ == kFormat || Fail("the file does not say \"format\": 1");
    }
    bool start_array(std::size_t /*count*/) override {
        ++depth_;
        return (depth_ == 2 && key_ == "ports") || Unexpected();
    }
    bool end_array() override {
        --depth_;
        return true;
    }
    bool key(string_t& value) override {
        key_ = value;
        key_line_ = line_;
        return true;
    }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::detail::exception& error) override {
        const std::string what = error.what();
        key_line_ = line_;
        return Fail("no JSON: " +
                    what.substr(what.find("; ") == std::string::npos ? 0 : what.find("; ") + 2));
    }

  private:
    bool Fail(const std::string& what) {
        if (problem.empty())
            problem = "line " + std::to_string(key_line_) + ": " + what;
        return false;
    }
    bool Unexpected(const std::string& what = "something") {
        return Fail(what + " that cannot stand here" + (key_.empty() ? "" : ", at \"" + key_ + "\""));
    }

    const std::size_t& line_;
    int depth_ = 0;
    std::string key_;
    std::size_t key_line_ = 1;  // where a number ends, the line may have ended as well
    std::string set_;
    DWORD format_ = 0;
};

}  // namespace

PortKey KeyOf(const Computer& computer, const Port& port) {
    PortKey key{port.Name(), Utf8(qx::PortHardwareId(port.element.DevInst).view()), 0};
    const std::optional<DEVINST> parent = qx::ParentOf(port.element.DevInst);
    std::size_t position = 0;
    for (std::optional<DEVINST> node = parent ? qx::FirstChildOf(*parent) : std::nullopt; node;
         node = qx::NextSiblingOf(*node)) {
        const bool is_port = std::ranges::any_of(
            computer.Ports(), [&](const Port& each) { return each.element.DevInst == *node; });
        position += is_port ? 1 : 0;
        if (*node == port.element.DevInst)
            key.position = position;
    }
    return key;
}

std::string WriteSettingsFile(const Computer& computer, const std::vector<const Port*>& ports) {
    Json list = Json::array();
    for (const Port* const port : ports) {
        const PortKey key = KeyOf(computer, *port);
        Json entry{{"port", key.name}, {"adapter", key.adapter}, {"position", key.position}};
        for (const char* const set : kSets)
            entry[set] = Json::object();
        PortSettings settings(computer, *port);
        for (const Setting& each : settings.All())
            if (!each.IsCapability())
                entry[kSets[each.bus ? 1 : 0]][each.Name()] = *each.element->Number();
        list.push_back(std::move(entry));
    }
    return Dump({{"format", kFormat}, {"ports", list}});
}

std::vector<FilePort> ReadSettingsFile(std::string_view text) {
    // Editors of some systems begin a file with a byte order mark.
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    std::size_t line = 1;
    Reader reader(line);
    const bool read = nlohmann::json::sax_parse(LineCounter(text.data(), &line),
                                                LineCounter(text.data() + text.size(), &line), &reader);
    if (!read)
        throw Failure(kBadUse, reader.problem);
    std::map<std::string, std::size_t> seen;
    for (const FilePort& port : reader.ports) {
        if (port.key.name.empty())
            Refuse(port.line, "a port without a name");
        const std::string key = port.key.name;
        if (!seen.emplace(key, port.line).second)
            Refuse(port.line, key + " stands in the file twice");
    }
    return std::move(reader.ports);
}

}  // namespace qxports
