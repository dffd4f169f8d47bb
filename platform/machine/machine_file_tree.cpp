// SPDX-License-Identifier: MIT
#include "platform/machine/machine_file_tree.h"

#include "platform/machine/did_you_mean.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace qxsim {

namespace {

// Tells how far the parser has read.
class CountingIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(std::string_view content, std::size_t at, std::size_t& read)
        : content_(content), at_(at), read_(&read) {}
    reference operator*() const { return content_[at_]; }
    CountingIterator& operator++() {
        *read_ = ++at_;
        return *this;
    }
    friend bool operator==(const CountingIterator& a, const CountingIterator& b) { return a.at_ == b.at_; }

  private:
    std::string_view content_;
    std::size_t at_;
    std::size_t* read_;
};

class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
  public:
    TreeBuilder(std::string_view content, Mistakes& mistakes) : content_(content), mistakes_(mistakes) {}

    std::size_t read = 0;
    FileNode root;

    bool null() override {
        Add(FileNode::Kind::Null);
        return true;
    }
    bool boolean(bool value) override {
        Add(FileNode::Kind::Bool).truth = value;
        return true;
    }
    bool number_integer(number_integer_t) override { return AddNumber(std::nullopt); }
    bool number_unsigned(number_unsigned_t value) override { return AddNumber(value); }
    bool number_float(number_float_t, const string_t&) override { return AddNumber(std::nullopt); }
    bool string(string_t& value) override {
        Add(FileNode::Kind::Text).text = std::move(value);
        return true;
    }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return Open(FileNode::Kind::Object); }
    bool start_array(std::size_t) override { return Open(FileNode::Kind::List); }
    bool end_array() override { return Close(); }
    bool end_object() override {
        std::vector<const FileMember*> sorted;
        for (const FileMember& member : open_.back()->members)
            sorted.push_back(&member);
        std::ranges::stable_sort(sorted, {}, &FileMember::name);
        for (std::size_t i = 1; i < sorted.size(); ++i) {
            if (sorted[i]->name == sorted[i - 1]->name)
                mistakes_.Note(sorted[i]->at, "duplicate key \"" + sorted[i]->name + '"');
        }
        return Close();
    }
    bool key(string_t& name) override {
        key_at_ = Begin();
        key_ = std::move(name);
        last_ = read;
        return true;
    }
    // The parser's own words explain its grammar; what a reader needs is what stands there.
    bool parse_error(std::size_t at, const std::string&, const nlohmann::json::exception& error) override {
        std::string what = error.what();
        if (const std::size_t detail = what.find(" - "); detail != std::string::npos)
            what.erase(0, detail + 3);
        what.erase(std::min(what.find("; expected"), what.size()));
        mistakes_.Note(at == 0 ? 0 : at - 1, "not valid JSON: " + what);
        return false;
    }

  private:
    static constexpr std::size_t kDeepest = 64;

    // Where the token begins that has just been read: behind the one before it.
    [[nodiscard]] std::size_t Begin() const {
        std::size_t at = last_;
        while (at < read) {
            if (content_.substr(at).starts_with("/*"))
                at = content_.find("*/", at) + 2;
            else if (content_.substr(at).starts_with("//"))
                at = content_.find('\n', at);
            else if (std::string_view(" \t\r\n,:").find(content_[at]) == std::string_view::npos)
                break;
            else
                ++at;
        }
        return at;
    }
    FileNode& Add(FileNode::Kind kind) {
        FileNode* node = &root;
        if (!open_.empty() && open_.back()->kind == FileNode::Kind::List)
            node = &open_.back()->items.emplace_back();
        else if (!open_.empty())
            node = &open_.back()->members.emplace_back(FileMember{std::move(key_), key_at_, {}}).node;
        node->kind = kind;
        node->at = Begin();
        last_ = read;
        return *node;
    }
    bool AddNumber(std::optional<std::uint64_t> number) {
        Add(FileNode::Kind::Number).number = number;
        // The parser has read the character after the number, too.
        last_ = read - (open_.empty() ? 0 : 1);
        return true;
    }
    bool Open(FileNode::Kind kind) {
        FileNode& node = Add(kind);
        if (open_.size() == kDeepest) {
            mistakes_.Note(node.at, "nested too deeply");
            return false;
        }
        open_.push_back(&node);
        return true;
    }
    bool Close() {
        open_.pop_back();
        last_ = read;
        return true;
    }

    std::string_view content_;
    Mistakes& mistakes_;
    std::vector<FileNode*> open_;  // a container's own storage does not move while it is open
    std::string key_;
    std::size_t key_at_ = 0;
    std::size_t last_ = 0;
};

}  // namespace

void Mistakes::ThrowIfAny() const {
    if (found_.empty())
        return;
    constexpr std::size_t kMost = 20;
    // What is read twice is wrong only once.
    const std::set<std::pair<std::size_t, std::string>> sorted(found_.begin(), found_.end());
    std::string all;
    std::size_t told = 0;
    for (const auto& [at, what] : sorted) {
        if (told++ == kMost) {
            all += "\n... and " + std::to_string(sorted.size() - kMost) + " more";
            break;
        }
        const std::string_view before = content_.substr(0, at);
        const std::size_t line_begin = before.rfind('\n') + 1;  // 0 in the first line
        all += (all.empty() ? "" : "\n") + (file_.empty() ? "" : file_ + ": ") + "line " +
               std::to_string(std::ranges::count(before, '\n') + 1) + ", column " +
               std::to_string(before.size() - line_begin + 1) + ": " + what;
    }
    throw MachineFileError(all);
}

FileNode ParseFile(std::string_view content, Mistakes& mistakes) {
    TreeBuilder builder(content, mistakes);
    constexpr bool kStrict = true;
    constexpr bool kIgnoreComments = true;
    const bool whole = nlohmann::json::sax_parse(
        CountingIterator(content, 0, builder.read), CountingIterator(content, content.size(), builder.read),
        &builder, nlohmann::json::input_format_t::json, kStrict, kIgnoreComments);
    if (!whole)
        mistakes.ThrowIfAny();
    return std::move(builder.root);
}

void Place::FailAt(std::size_t at, const std::string& what) const {
    mistakes_->Note(at, (path_.empty() ? std::string() : path_ + ": ") + what);
}

bool Place::Is(FileNode::Kind kind, const char* what) const {
    if (node_->kind != kind)
        Fail(std::string("expected ") + what);
    return node_->kind == kind;
}

std::string Place::Text() const {
    return Is(FileNode::Kind::Text, "a text") ? node_->text : std::string();
}

bool Place::Truth() const {
    return Is(FileNode::Kind::Bool, "true or false") && node_->truth;
}

std::uint32_t Place::Number(std::uint32_t most, std::uint32_t least) const {
    if (!node_->number || *node_->number < least || *node_->number > most) {
        Fail("expected a number from " + std::to_string(least) + " to " + std::to_string(most));
        return least;
    }
    return static_cast<std::uint32_t>(*node_->number);
}

GUID Place::Guid() const {
    const std::optional<GUID> guid = IsText() ? ParseGuid(node_->text) : std::nullopt;
    if (!guid)
        Fail("expected a GUID in braces");
    return guid.value_or(GUID{});
}

Bytes Place::Hexadecimal() const {
    const std::string& text = node_->text;
    Bytes bytes;
    if (!IsText() || text.size() % 2 != 0 ||
        text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        Fail("expected bytes as pairs of hexadecimal digits");
        return bytes;
    }
    for (std::size_t at = 0; at < text.size(); at += 2)
        bytes.push_back(static_cast<BYTE>(std::stoul(text.substr(at, 2), nullptr, 16)));
    return bytes;
}

std::vector<Place> Place::List() const {
    std::vector<Place> places;
    if (Is(FileNode::Kind::List, "a list"))
        for (std::size_t at = 0; at < node_->items.size(); ++at)
            places.emplace_back(node_->items[at], path_ + "[" + std::to_string(at) + "]", *mistakes_);
    return places;
}

std::vector<std::string> Place::Texts() const {
    std::vector<std::string> texts;
    for (const Place& place : List())
        texts.push_back(place.Text());
    return texts;
}

std::vector<Place::Member> Place::Members() const {
    std::vector<Member> members;
    if (Is(FileNode::Kind::Object, "an object"))
        for (const auto& [name, at, node] : node_->members)
            members.push_back({name, at, Place(node, path_.empty() ? name : path_ + "." + name, *mistakes_)});
    return members;
}

Fields::Fields(const Place& place, const std::vector<std::string>& keys)
    : place_(place), members_(place.Members()) {
    for (const auto& [name, at, value] : members_) {
        if (std::ranges::find(keys, name) == keys.end())
            value.FailAt(at, "unknown key" + DidYouMean(name, keys));
    }
}

std::optional<Place> Fields::Find(std::string_view name) const {
    const auto found = std::ranges::find(members_, name, &Place::Member::name);
    return found == members_.end() ? std::nullopt : std::optional(found->place);
}

std::optional<Place> Fields::Need(std::string_view name) const {
    std::optional<Place> found = Find(name);
    if (!found)
        place_.Fail("\"" + std::string(name) + "\" is missing");
    return found;
}

bool Fields::Flag(std::string_view name, bool otherwise) const {
    const std::optional<Place> found = Find(name);
    return found ? found->Truth() : otherwise;
}

}  // namespace qxsim
