// SPDX-License-Identifier: MIT
// A JSON file as a tree whose nodes know their places, and readers that note every mistake in it instead of
// stopping at the first: what is not as expected reads as nothing, and the file as a whole is refused later.
#pragma once

#include "platform/machine/machine.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qxsim {

struct FileMember;
struct FileNode {
    enum class Kind { Null, Bool, Number, Text, List, Object };
    Kind kind = Kind::Null;
    std::size_t at = 0;  // where it begins in the file
    bool truth = false;
    std::optional<std::uint64_t> number;  // none for a negative one, or one with a fraction
    std::string text;
    std::vector<FileNode> items;
    std::vector<FileMember> members;
};

struct FileMember {
    std::string name;
    std::size_t at = 0;
    FileNode node;
};

// The mistakes of a file. `file` stands before each of them when it has a name.
class Mistakes {
  public:
    Mistakes(std::string_view content, std::string file) : content_(content), file_(std::move(file)) {}

    void Note(std::size_t at, const std::string& what) { found_.emplace_back(at, what); }
    [[nodiscard]] bool None() const { return found_.empty(); }
    // Throws MachineFileError with them all, a line each, in the order of the file.
    void ThrowIfAny() const;

  private:
    std::string_view content_;
    std::string file_;
    std::vector<std::pair<std::size_t, std::string>> found_;
};

// Notes the first syntax error, and every key that stands twice.
[[nodiscard]] FileNode ParseFile(std::string_view content, Mistakes& mistakes);

// A node with the way to it.
class Place {
  public:
    Place(const FileNode& node, std::string path, Mistakes& mistakes)
        : node_(&node), path_(std::move(path)), mistakes_(&mistakes) {}

    void Fail(const std::string& what) const { FailAt(node_->at, what); }
    void FailAt(std::size_t at, const std::string& what) const;

    [[nodiscard]] FileNode::Kind Kind() const { return node_->kind; }
    [[nodiscard]] bool IsNull() const { return Kind() == FileNode::Kind::Null; }
    [[nodiscard]] bool IsText() const { return Kind() == FileNode::Kind::Text; }
    [[nodiscard]] std::string Text() const;
    [[nodiscard]] bool Truth() const;
    [[nodiscard]] std::uint32_t Number(std::uint32_t most = std::numeric_limits<std::uint32_t>::max(),
                                       std::uint32_t least = 0) const;
    [[nodiscard]] GUID Guid() const;
    [[nodiscard]] Bytes Hexadecimal() const;
    [[nodiscard]] std::vector<Place> List() const;
    [[nodiscard]] std::vector<std::string> Texts() const;

    struct Member;
    [[nodiscard]] std::vector<Member> Members() const;

  private:
    [[nodiscard]] bool Is(FileNode::Kind kind, const char* what) const;
    const FileNode* node_;
    std::string path_;
    Mistakes* mistakes_;
};

struct Place::Member {
    std::string name;
    std::size_t at;
    Place place;
};

// An object whose keys are known; any other key is a mistake.
class Fields {
  public:
    Fields(const Place& place, const std::vector<std::string>& keys);

    [[nodiscard]] std::optional<Place> Find(std::string_view name) const;
    [[nodiscard]] std::optional<Place> Need(std::string_view name) const;
    // What a key that is left out is read as.
    [[nodiscard]] bool Flag(std::string_view name, bool otherwise) const;

  private:
    Place place_;
    std::vector<Place::Member> members_;
};

}  // namespace qxsim
