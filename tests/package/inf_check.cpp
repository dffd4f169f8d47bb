// SPDX-License-Identifier: MIT
#include "tests/package/inf_check.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <sstream>

namespace infcheck {

namespace {

std::string Lower(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// What stands before each `separator` outside quotes, and behind the last; at most `parts` of them.
std::vector<std::string> Split(const std::string& text, char separator, std::size_t parts = 100) {
    std::vector<std::string> found(1);
    bool quoted = false;
    for (const char letter : text) {
        quoted ^= letter == '"';
        if (letter == separator && !quoted && found.size() < parts)
            found.emplace_back();
        else
            found.back() += letter;
    }
    std::ranges::transform(found, found.begin(), Trimmed);
    return found;
}

std::string Unquoted(std::string text) {
    std::erase(text, '"');
    return text;
}

struct Line {
    std::string key;  // in front of "=", or nothing
    std::vector<std::string> fields;
    [[nodiscard]] std::string Field(std::size_t at) const {
        return at < fields.size() ? Unquoted(fields[at]) : "";
    }
};
using Section = std::vector<Line>;

// Setup classes, and the co-installer entry for each kind of device.
struct Class {
    const char* name;
    const char* guid;
    const char* entry;
};
constexpr Class kClasses[] = {
    {"USB", "{36FC9E60-C465-11CF-8056-444553540000}", "QxUCoInstallCard"},
    {"MultiPortSerial", "{50906CB8-BA12-11D1-BF5D-0000F805F530}", "QxUCoInstallCard"},
    {"Ports", "{4D36E978-E325-11CE-BFC1-08002BE10318}", "QxUCoInstallPort"},
    {"System", "{4D36E97D-E325-11CE-BFC1-08002BE10318}", "QxUCoInstallGpio"},
};

constexpr const char* kSystemDirectory = "11";
constexpr const char* kDriverDirectory = "12";
constexpr const char* kHelpDirectory = "18";

class InfCheck {
  public:
    InfCheck(const Package& package, std::string name, const std::string& text,
             std::vector<std::string>& complaints)
        : package_(package), name_(std::move(name)), complaints_(complaints) {
        Parse(text);
    }

    void Run() {
        CheckVersion();
        CheckDestinations();
        if (class_ == std::end(kClasses))
            return;
        for (const Line& maker : Use("Manufacturer"))
            CheckMaker(maker);
        for (const auto& [file, line] : ByKey("SourceDisksFiles")) {
            Expect(copied_.contains(file), file + " is on the disk, and no section copies it");
            Expect(Has("SourceDisksNames", line.Field(0)), "no disk " + line.Field(0));
        }
        CheckStrings();
        for (const auto& [section, lines] : sections_)
            Expect(used_.contains(section), "nothing names [" + section + "]");
    }

    std::map<std::string, std::string> copied_;  // directory ids by file
    std::set<std::string> ids_;                  // hardware ids
    std::string driver_version_;

  private:
    void Complain(const std::string& what) { complaints_.push_back(name_ + ": " + what); }
    void Expect(bool holds, const std::string& what) {
        if (!holds)
            Complain(what);
    }

    void Parse(const std::string& text) {
        std::istringstream stream(text);
        std::string section;
        for (std::string raw; std::getline(stream, raw);) {
            const std::string line = Split(raw, ';', 2).front();
            Expect(std::ranges::count(line, '"') % 2 == 0, "an open quote: " + line);
            for (std::sregex_iterator token(line.begin(), line.end(), kToken), end; token != end; ++token)
                tokens_.insert(Lower((*token)[1]));
            if (line.empty())
                continue;
            if (line.front() == '[') {
                section = Lower(line.substr(1, line.find(']') - 1));
                Expect(sections_.try_emplace(section).second, "[" + section + "] stands there twice");
                continue;
            }
            const std::vector<std::string> halves = Split(line, '=', 2);
            const bool named = halves.size() == 2;
            sections_[section].push_back(
                {named ? Lower(Unquoted(halves[0])) : "", Split(halves.back(), ',')});
        }
    }

    // The lines of a section that something names.
    const Section& Use(const std::string& name) {
        static const Section kNone;
        used_.insert(Lower(name));
        const auto found = sections_.find(Lower(name));
        if (found == sections_.end())
            Complain("there is no [" + name + "]");
        return found == sections_.end() ? kNone : found->second;
    }
    [[nodiscard]] bool HasSection(const std::string& name) const { return sections_.contains(Lower(name)); }

    // The lines of a section in which a key may stand once.
    std::map<std::string, Line> ByKey(const std::string& section) {
        std::map<std::string, Line> lines;
        for (const Line& line : Use(section))
            Expect(lines.try_emplace(line.key, line).second, line.key + " stands twice in [" + section + "]");
        return lines;
    }
    bool Has(const std::string& section, const std::string& key) {
        return std::ranges::any_of(Use(section), [&](const Line& line) { return line.key == Lower(key); });
    }
    std::string Value(const std::string& section, const std::string& key) {
        for (const Line& line : Use(section))
            if (line.key == Lower(key))
                return line.Field(0);
        return "";
    }
    // The sections that an install section lists for `key`.
    static std::vector<std::string> Listed(const Section& section, const std::string& key) {
        for (const Line& line : section)
            if (line.key == key)
                return line.fields;
        return {};
    }

    void CheckVersion() {
        Expect(Lower(Value("Version", "Signature")) == "$windows nt$", "wrong signature");
        const std::string class_name = Value("Version", "Class");
        class_ = std::ranges::find_if(kClasses, [&](const Class& one) { return class_name == one.name; });
        Expect(class_ != std::end(kClasses), "unknown class " + class_name);
        Expect(class_ == std::end(kClasses) || Value("Version", "ClassGuid") == class_->guid,
               "the GUID is not that of class " + class_name);
        Expect(!Value("Version", "Provider").empty(), "no provider");
        Expect(Lower(Value("Version", "CatalogFile")).ends_with(".cat"), "no catalogue");
        // Without it any administrator's program may replace what the package brought.
        Expect(Value("Version", "PnpLockdown") == "1", "PnpLockdown is not 1");
        for (const Line& line : Use("Version")) {
            if (line.key != "driverver")
                continue;
            driver_version_ = line.Field(0) + "," + line.Field(1);
            Expect(std::regex_match(line.Field(0), std::regex("(0[1-9]|1[0-2])/[0-3]\\d/20\\d\\d")),
                   "DriverVer has no date");
            Expect(line.Field(1) == package_.version + ".0",
                   "DriverVer is not of version " + package_.version);
        }
        Expect(!driver_version_.empty(), "no DriverVer");
    }

    void CheckDestinations() {
        for (const Line& line : Use("DestinationDirs")) {
            destinations_[line.key] = line.Field(0);
            Expect(HasSection(line.key), "a destination for [" + line.key + "], which is not there");
        }
    }

    void CheckMaker(const Line& maker) {
        Expect(maker.fields.size() == 2 && Lower(maker.Field(1)) == "ntamd64",
               "the models are not for NTamd64 alone");
        for (const Line& model : Use(maker.Field(0) + "." + maker.Field(1))) {
            for (std::size_t i = 1; i < model.fields.size(); ++i)
                CheckId(Unquoted(model.fields[i]));
            if (checked_.insert(Lower(model.Field(0))).second)
                CheckInstallation(model.Field(0) + ".NTamd64");
        }
    }

    void CheckId(const std::string& id) {
        Expect(ids_.insert(id).second, id + " stands there twice");
        Expect(std::ranges::any_of(package_.known_instances,
                                   [&](const std::string& instance) {
                                       return instance.starts_with(id) && instance.size() > id.size() &&
                                              std::string("\\&").find(instance[id.size()]) !=
                                                  std::string::npos;
                                   }),
               "nobody knows a device " + id);
    }

    void CheckInstallation(const std::string& name) {
        const Section& section = Use(name);
        const std::set<std::string> files = CheckCopies(section);
        CheckValues(section, files, "EnumPropPages32", "QxUPortPropPage",
                    class_->name == std::string("Ports"));
        const Section& coinstallers = Use(name + ".CoInstallers");
        const std::set<std::string> libraries = CheckCopies(coinstallers);
        CheckValues(coinstallers, libraries, "CoInstallers32", class_->entry, true);
        if (HasSection(name + ".HW"))
            CheckHardwareValues(Use(name + ".HW"));
        int functions = 0;
        for (const Line& service : Use(name + ".Services")) {
            if (service.key != "addservice")
                continue;
            functions += service.Field(1) == "0x00000002" ? 1 : 0;
            CheckService(service.Field(2));
        }
        Expect(functions == 1, "[" + name + "] needs one function driver");
    }

    // The files that the section copies; each must be on the disk and go to a directory for its kind.
    std::set<std::string> CheckCopies(const Section& section) {
        std::set<std::string> files;
        for (const std::string& list : Listed(section, "copyfiles")) {
            const std::string directory = destinations_[Lower(list)];
            for (const Line& line : Use(list)) {
                const std::string file = Lower(line.Field(0));
                const char* const wanted = file.ends_with(".sys")   ? kDriverDirectory
                                           : file.ends_with(".chm") ? kHelpDirectory
                                                                    : kSystemDirectory;
                Expect(directory == wanted,
                       file + " belongs into directory " + wanted + ", not " + directory);
                Expect(Has("SourceDisksFiles", file), file + " is copied, and not on the disk");
                copied_[file] = directory;
                files.insert(file);
            }
        }
        return files;
    }

    // The entry that `value` registers must be exported by a library that the same section copies, or that
    // the device's co-installers bring.
    void CheckValues(const Section& section, const std::set<std::string>& files, const std::string& value,
                     const std::string& entry, bool needed) {
        bool found = false;
        for (const std::string& list : Listed(section, "addreg")) {
            for (const Line& line : Use(list)) {
                Expect(line.Field(0) == "HKR", "a value outside the device's own keys: " + line.Field(0));
                if (line.Field(2) != value)
                    continue;
                found = true;
                const bool strings = value == "CoInstallers32";
                Expect(line.Field(3) == (strings ? "0x00010000" : ""), value + " has the wrong type");
                const std::vector<std::string> parts = Split(line.Field(4), ',');
                Expect(parts.size() == 2 && package_.entries.contains(parts[1]),
                       value + " names an entry that the library lacks: " + line.Field(4));
                Expect(parts.back() == entry, value + " should name " + entry);
                Expect(!strings || files.contains(Lower(parts[0])),
                       parts[0] + " is not copied with " + value);
            }
        }
        Expect(found == needed, value + (needed ? " is missing" : " is for ports alone"));
    }

    void CheckHardwareValues(const Section& section) {
        for (const std::string& list : Listed(section, "addreg")) {
            for (const Line& line : Use(list)) {
                Expect(line.Field(0) == "HKR", "a value outside the device's own keys: " + line.Field(0));
                if (line.Field(2) == "NoUpgrade")
                    Expect(class_->name == std::string("Ports") && line.Field(4) == "1",
                           "NoUpgrade = 1 sends users from a port to its adapter");
                if (line.Field(2) == "UnInstall")
                    uninstall_ = Lower(line.Field(4));
            }
        }
    }

    void CheckService(const std::string& name) {
        for (const char* const needed : {"ServiceType", "StartType", "ErrorControl"})
            Expect(Has(name, needed), "[" + name + "] lacks " + needed);
        const std::string binary = Lower(Value(name, "ServiceBinary"));
        Expect(binary.starts_with("%12%\\") && copied_.contains(binary.substr(5)),
               "the service's file is not copied: " + binary);
    }

    void CheckStrings() {
        const std::map<std::string, Line> strings = ByKey("Strings");
        for (const std::string& token : tokens_) {
            if (std::ranges::all_of(token, [](unsigned char letter) { return std::isdigit(letter) != 0; }))
                Expect(token == kSystemDirectory || token == kDriverDirectory || token == kHelpDirectory,
                       "unknown directory %" + token + "%");
            else
                Expect(strings.contains(token), "no string %" + token + "%");
        }
        for (const auto& [key, line] : strings)
            Expect(tokens_.contains(key), "nothing uses the string " + key);
        Expect(uninstall_.empty() || copied_.contains(uninstall_),
               "a program is named that is not copied: " + uninstall_);
    }

    inline static const std::regex kToken{"%([^%]+)%"};

    const Package& package_;
    std::string name_;
    std::vector<std::string>& complaints_;
    std::map<std::string, Section> sections_;  // by their names in small letters
    std::set<std::string> used_;
    std::set<std::string> tokens_;  // between % and %
    std::set<std::string> checked_;
    std::map<std::string, std::string> destinations_;
    const Class* class_ = std::end(kClasses);
    std::string uninstall_;
};

}  // namespace

std::vector<std::string> Complaints(const Package& package) {
    std::vector<std::string> complaints;
    std::set<std::string> ids;
    std::set<std::string> versions;
    for (const auto& [name, text] : package.infs) {
        InfCheck check(package, name, text, complaints);
        check.Run();
        versions.insert(check.driver_version_);
        for (const std::string& id : check.ids_)
            if (!ids.insert(id).second)
                complaints.push_back(name + ": another INF installs " + id + " too");
    }
    if (versions.size() > 1)
        complaints.emplace_back("the INFs have different DriverVer");
    return complaints;
}

}  // namespace infcheck
