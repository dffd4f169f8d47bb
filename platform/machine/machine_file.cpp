// Machine files: a computer as JSON that a person can read and write.
//
// A file written by hand says what matters and leaves the rest out: {"id": "...", "port": "COM5"} is a port
// with its friendly name, driver key, claim, DOS name, SERIALCOMM entry and control device. A file written by
// Save says everything and carries "complete": nothing is filled in when it is read again, so that what is
// missing on the computer stays missing.
#include "platform/machine/machine_internal.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <system_error>
#include <utility>

namespace qxsim QX_SIMULATOR_API {

namespace {

using Json = nlohmann::ordered_json;

// --- the file as a tree whose nodes know their lines ---

struct JsonMember;
struct JsonNode {
    enum class Kind { Null, Bool, Number, Text, List, Object };
    Kind kind = Kind::Null;
    std::size_t line = 0;
    bool truth = false;
    std::uint64_t number = 0;
    bool whole = false;  // a number that is whole, and not negative
    std::string text;
    std::vector<JsonNode> items;
    std::vector<JsonMember> members;
};

struct JsonMember {
    std::string name;
    JsonNode node;
};

[[noreturn]] void Complain(std::size_t line, const std::string& what) {
    throw MachineFileError("line " + std::to_string(line) + ": " + what);
}

// Counts lines while the parser reads.
struct Progress {
    std::size_t line = 1;
    bool at_line_end = false;  // the parser looks one character ahead behind a number
    [[nodiscard]] std::size_t Line() const { return at_line_end ? line - 1 : line; }
};

class CountingIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, Progress* progress) : at_(at), progress_(progress) {}
    reference operator*() const { return *at_; }
    CountingIterator& operator++() {
        progress_->at_line_end = *at_ == '\n';
        progress_->line += progress_->at_line_end ? 1U : 0U;
        ++at_;
        return *this;
    }
    CountingIterator operator++(int) {
        const CountingIterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const CountingIterator& a, const CountingIterator& b) { return a.at_ == b.at_; }

  private:
    const char* at_;
    Progress* progress_;
};

class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
  public:
    explicit TreeBuilder(const Progress& progress) : progress_(progress) {}

    [[nodiscard]] JsonNode Take() { return std::move(root_); }

    bool null() override {
        Add(JsonNode::Kind::Null);
        return true;
    }
    bool boolean(bool value) override {
        Add(JsonNode::Kind::Bool).truth = value;
        return true;
    }
    bool number_integer(number_integer_t) override {  // a negative one: no value in these files is
        Add(JsonNode::Kind::Number);
        return true;
    }
    bool number_unsigned(number_unsigned_t value) override {
        JsonNode& node = Add(JsonNode::Kind::Number);
        node.number = value;
        node.whole = true;
        return true;
    }
    bool number_float(number_float_t, const string_t&) override {
        Add(JsonNode::Kind::Number);
        return true;
    }
    bool string(string_t& value) override {
        Add(JsonNode::Kind::Text).text = std::move(value);
        return true;
    }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return Open(JsonNode::Kind::Object); }
    bool end_object() override { return Close(); }
    bool start_array(std::size_t) override { return Open(JsonNode::Kind::List); }
    bool end_array() override { return Close(); }
    bool key(string_t& name) override {
        if (std::ranges::find(open_.back()->members, name, &JsonMember::name) != open_.back()->members.end())
            Complain(progress_.Line(), "\"" + name + "\" stands twice in one object");
        key_ = std::move(name);
        return true;
    }
    bool parse_error(std::size_t, const std::string& token, const nlohmann::json::exception& error) override {
        std::string what = error.what();
        if (const std::size_t start = what.find("syntax error"); start != std::string::npos)
            what.erase(0, start);
        Complain(progress_.Line(), what.empty() ? "not JSON near \"" + token + "\"" : what);
    }

  private:
    static constexpr std::size_t kDeepest = 64;

    JsonNode& Add(JsonNode::Kind kind) {
        JsonNode* node = &root_;
        if (!open_.empty() && open_.back()->kind == JsonNode::Kind::List)
            node = &open_.back()->items.emplace_back();
        else if (!open_.empty())
            node = &open_.back()->members.emplace_back(JsonMember{std::move(key_), {}}).node;
        node->kind = kind;
        node->line = progress_.Line();
        return *node;
    }
    bool Open(JsonNode::Kind kind) {
        if (open_.size() == kDeepest)
            Complain(progress_.Line(), "nested too deeply");
        open_.push_back(&Add(kind));
        return true;
    }
    bool Close() {
        open_.pop_back();
        return true;
    }

    const Progress& progress_;
    JsonNode root_;
    std::vector<JsonNode*> open_;  // a container's own storage does not move while it is open
    std::string key_;
};

// --- reading ---

// A node with the way to it, for messages.
class Place {
  public:
    Place(const JsonNode& node, std::string path) : node_(&node), path_(std::move(path)) {}

    [[nodiscard]] const JsonNode& Get() const { return *node_; }
    [[nodiscard]] const std::string& Path() const { return path_; }
    [[noreturn]] void Fail(const std::string& what) const {
        Complain(node_->line, (path_.empty() ? std::string() : path_ + ": ") + what);
    }
    [[nodiscard]] bool IsNull() const { return node_->kind == JsonNode::Kind::Null; }
    [[nodiscard]] const std::string& Text() const {
        Expect(JsonNode::Kind::Text, "a text");
        return node_->text;
    }
    [[nodiscard]] bool Truth() const {
        Expect(JsonNode::Kind::Bool, "true or false");
        return node_->truth;
    }
    [[nodiscard]] std::uint32_t Number(std::uint32_t most = std::numeric_limits<std::uint32_t>::max(),
                                       std::uint32_t least = 0) const {
        if (node_->kind != JsonNode::Kind::Number || !node_->whole || node_->number < least ||
            node_->number > most)
            Fail("expected a number " + std::to_string(least) + ".." + std::to_string(most));
        return static_cast<std::uint32_t>(node_->number);
    }
    [[nodiscard]] GUID Guid() const {
        const std::optional<GUID> guid = ParseGuid(Text());
        if (!guid)
            Fail("expected a GUID in braces");
        return *guid;
    }
    [[nodiscard]] Bytes Hexadecimal() const {
        const std::string& text = Text();
        Bytes bytes;
        if (text.size() % 2 != 0 || text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            Fail("expected bytes as pairs of hexadecimal digits");
        for (std::size_t at = 0; at < text.size(); at += 2)
            bytes.push_back(static_cast<BYTE>(std::stoul(text.substr(at, 2), nullptr, 16)));
        return bytes;
    }
    [[nodiscard]] std::vector<Place> List() const {
        Expect(JsonNode::Kind::List, "a list");
        std::vector<Place> places;
        for (std::size_t at = 0; at < node_->items.size(); ++at)
            places.emplace_back(node_->items[at], path_ + "[" + std::to_string(at) + "]");
        return places;
    }
    [[nodiscard]] std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Place& place : List())
            texts.push_back(place.Text());
        return texts;
    }
    [[nodiscard]] std::vector<std::pair<std::string, Place>> Members() const {
        Expect(JsonNode::Kind::Object, "an object");
        std::vector<std::pair<std::string, Place>> places;
        for (const auto& [name, node] : node_->members)
            places.emplace_back(name, Place(node, path_.empty() ? name : path_ + "." + name));
        return places;
    }

  private:
    void Expect(JsonNode::Kind kind, const char* what) const {
        if (node_->kind != kind)
            Fail(std::string("expected ") + what);
    }
    const JsonNode* node_;
    std::string path_;
};

// An object whose keys are known: whatever is not asked for is a mistake of the file's writer.
class Fields {
  public:
    explicit Fields(const Place& place) : place_(place), members_(place.Members()), used_(members_.size()) {}

    [[nodiscard]] std::optional<Place> Find(std::string_view name) {
        for (std::size_t at = 0; at < members_.size(); ++at) {
            if (members_[at].first == name) {
                used_[at] = true;
                return members_[at].second;
            }
        }
        return std::nullopt;
    }
    [[nodiscard]] Place Need(std::string_view name) {
        std::optional<Place> found = Find(name);
        if (!found)
            place_.Fail("\"" + std::string(name) + "\" is missing");
        return *found;
    }
    void Done() const {
        for (std::size_t at = 0; at < members_.size(); ++at) {
            if (!used_[at])
                members_[at].second.Fail("unknown key");
        }
    }

  private:
    Place place_;
    std::vector<std::pair<std::string, Place>> members_;
    std::vector<bool> used_;
};

struct TypeName {
    const char* name;
    DWORD type;
};
constexpr TypeName kTypes[] = {
    {"REG_NONE", REG_NONE},           {"REG_SZ", REG_SZ},
    {"REG_EXPAND_SZ", REG_EXPAND_SZ}, {"REG_BINARY", REG_BINARY},
    {"REG_DWORD", REG_DWORD},         {"REG_DWORD_BIG_ENDIAN", REG_DWORD_BIG_ENDIAN},
    {"REG_LINK", REG_LINK},           {"REG_MULTI_SZ", REG_MULTI_SZ},
    {"REG_QWORD", REG_QWORD}};

struct RightName {
    const char* name;
    REGSAM rights;
};
constexpr RightName kRights[] = {{"read", KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS},
                                 {"write", KEY_SET_VALUE},
                                 {"create", KEY_CREATE_SUB_KEY},
                                 {"delete", DELETE}};

struct RequestName {
    const char* name;
    DriverRequest request;
};
constexpr RequestName kRequests[] = {{"settingsSize", DriverRequest::SettingsSize},
                                     {"settings", DriverRequest::Settings},
                                     {"write", DriverRequest::Write},
                                     {"defaultsSize", DriverRequest::DefaultsSize},
                                     {"defaults", DriverRequest::Defaults}};

struct HiveName {
    const char* name;
    HKEY hive;
};
const HiveName kHives[] = {{"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
                           {"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
                           {"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
                           {"HKEY_USERS", HKEY_USERS},
                           {"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG}};

struct PropertyName {
    const char* name;
    DWORD property;
};
constexpr PropertyName kProperties[] = {
    {"description", SPDRP_DEVICEDESC}, {"friendlyName", SPDRP_FRIENDLYNAME},
    {"manufacturer", SPDRP_MFG},       {"location", SPDRP_LOCATION_INFORMATION},
    {"service", SPDRP_SERVICE},        {"driver", SPDRP_DRIVER},
    {"hardwareIds", SPDRP_HARDWAREID}, {"compatibleIds", SPDRP_COMPATIBLEIDS}};

// The entry of a table with this name; a complaint listing them all when there is none.
template <typename Table>
const auto& Named(const Table& table, const Place& place) {
    std::string all;
    for (const auto& entry : table) {
        if (place.Text() == entry.name)
            return entry;
        all += std::string(all.empty() ? "" : ", ") + entry.name;
    }
    place.Fail("expected one of " + all);
}

Bytes ListBytes(const std::vector<std::string>& texts) {
    Bytes bytes;
    for (const std::string& text : texts) {
        const Bytes one = TextBytes(ToWide(text));
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    bytes.resize(bytes.size() + sizeof(WCHAR));
    return bytes;
}

// A registry value or property: a number is a REG_DWORD, a text a REG_SZ, a list of texts a REG_MULTI_SZ,
// anything else an object with its type.
Property ReadData(const Place& place) {
    switch (place.Get().kind) {
        case JsonNode::Kind::Number:
            return {REG_DWORD, DwordBytes(place.Number())};
        case JsonNode::Kind::Text:
            return {REG_SZ, TextBytes(ToWide(place.Text()))};
        case JsonNode::Kind::List:
            return {REG_MULTI_SZ, ListBytes(place.Texts())};
        case JsonNode::Kind::Object:
            break;
        default:
            place.Fail("expected a number, a text, a list of texts or an object with \"type\"");
    }
    Fields fields(place);
    Property data;
    const Place type = fields.Need("type");
    data.type = type.Get().kind == JsonNode::Kind::Number ? type.Number() : Named(kTypes, type).type;
    const std::optional<Place> text = fields.Find("text");
    const std::optional<Place> bytes = fields.Find("hex");
    if (text.has_value() == bytes.has_value())
        place.Fail("expected either \"text\" or \"hex\"");
    data.data = text ? TextBytes(ToWide(text->Text())) : bytes->Hexadecimal();
    fields.Done();
    return data;
}

void ReadRefusals(const Place& place, RegistryKey& key) {
    for (const Place& right : place.List())
        key.refused |= Named(kRights, right).rights;
}

void ReadValues(const Place& place, RegistryKey& key) {
    for (const auto& [name, value] : place.Members()) {
        Property data = ReadData(value);
        key.Set(ToWide(name), data.type, std::move(data.data));
    }
}

void ReadKeys(const Place& place, RegistryKey& parent);

// What a key and a device have in common: values, subkeys, refusals.
void ReadKeyFields(Fields& fields, RegistryKey& key) {
    if (const auto values = fields.Find("values"))
        ReadValues(*values, key);
    if (const auto keys = fields.Find("keys"))
        ReadKeys(*keys, key);
    if (const auto refuses = fields.Find("refuses"))
        ReadRefusals(*refuses, key);
}

// Subkeys by path, each with its values; those on the way to one need not be named.
void ReadKeys(const Place& place, RegistryKey& parent) {
    for (const auto& [path, content] : place.Members()) {
        RegistryKey* key = &parent;
        const WideString wide = ToWide(path);
        for (std::size_t at = 0; at < wide.size();) {
            const std::size_t end = std::min(wide.find(static_cast<WCHAR>('\\'), at), wide.size());
            if (end == at)
                content.Fail("an empty name in the path of a key");
            const WideString part = wide.substr(at, end - at);
            std::shared_ptr<RegistryKey>& subkey = key->subkeys[part];
            if (!subkey) {
                subkey = std::make_shared<RegistryKey>();
                subkey->name = part;
                subkey->is_volatile = key->is_volatile;
            }
            key = subkey.get();
            at = end + 1;
        }
        Fields fields(content);
        if (const auto is_volatile = fields.Find("volatile"))
            key->is_volatile = is_volatile->Truth();
        ReadKeyFields(fields, *key);
        fields.Done();
    }
}

template <typename Settings, typename Names>
void ReadSettings(const Place& place, const Names& names, Settings& settings, std::string* text) {
    for (const auto& [name, value] : place.Members()) {
        if (text != nullptr && name == kBusTextName) {
            *text = value.Text();
        } else if (std::ranges::find(names, std::string_view(name)) == names.end()) {
            value.Fail("no such setting");
        } else {
            settings[name] = value.Number();
        }
    }
}

void ReadMisbehaviour(const Place& place, ControlDevice& control) {
    for (const Place& entry : place.List()) {
        Fields fields(entry);
        const DriverRequest request = Named(kRequests, fields.Need("request")).request;
        const auto set = fields.Find("set");
        Misbehaviour behaviour;
        const auto number = [&](const char* name, std::optional<std::uint32_t>& target) {
            if (const auto found = fields.Find(name))
                target = found->Number();
        };
        if (const auto refuse = fields.Find("refuse"))
            behaviour.refuse = refuse->Number();
        number("size", behaviour.size);
        number("truncate", behaviour.truncate);
        number("claimed", behaviour.claimed);
        if (const auto stream = fields.Find("stream"))
            behaviour.stream = stream->Hexadecimal();
        if (const auto extra = fields.Find("extra"))
            behaviour.extra = extra->Number(1U << 20);
        if (const auto fills = fields.Find("fillsWhatFits"))
            behaviour.fill_what_fits = fills->Truth();
        fields.Done();
        if (!set || set->Number(1) == 0)
            control.misbehaviour[{request, 0}] = behaviour;
        if (!set || set->Number(1) == 1)
            control.misbehaviour[{request, 1}] = std::move(behaviour);
    }
}

class MachineReader {
  public:
    explicit MachineReader(Machine& machine) : machine_(machine) {}

    void Read(const Place& file) {
        Fields fields(file);
        if (const auto complete = fields.Find("complete"))
            complete_ = complete->Truth();
        if (const auto about = fields.Find("about"))
            machine_.about = about->Text();
        if (const auto system = fields.Find("system"))
            ReadSystem(*system);
        if (const auto control_class = fields.Find("controlClass"))
            machine_.control_class = control_class->Guid();
        // First, so that a device finds the names of other devices' keys taken and its own as the file has
        // them.
        if (complete_)
            machine_.hives.at(0x80000002)->subkeys.clear();
        if (const auto registry = fields.Find("registry")) {
            for (const auto& [name, hive] : registry->Members()) {
                const auto known = std::ranges::find(
                    kHives, name, [](const HiveName& one) { return std::string(one.name); });
                if (known == std::end(kHives))
                    hive.Fail("unknown hive");
                ReadKeys(hive, *machine_.FindKey({}, known->hive));
            }
        }
        if (const auto devices = fields.Find("devices")) {
            for (const Place& device : devices->List())
                ReadDevice(device, Machine::kRoot, false);
        }
        if (const auto database = fields.Find("portDatabase"))
            ReadDatabase(*database);
        if (const auto programs = fields.Find("programs"))
            ReadPrograms(*programs);
        if (const auto mutexes = fields.Find("refusedMutexes")) {
            for (const std::string& name : mutexes->Texts())
                machine_.refused_mutexes.insert(ToWide(name));
        }
        names_ = fields.Find("dosNames");
        fields.Done();
    }

    // What the drivers' start would overwrite.
    void ReadAfterStart() {
        for (const auto& [node, program] : held_open_)
            machine_.devices[node].held_open_by = ToWide(program);
        if (!names_)
            return;
        for (const auto& [name, targets] : names_->Members()) {
            std::vector<WideString> wide;
            for (const std::string& target : targets.Texts())
                wide.push_back(ToWide(target));
            machine_.dos_names.erase(ToWide(name));
            if (!wide.empty())
                machine_.dos_names.emplace(ToWide(name), std::move(wide));
        }
    }

    [[nodiscard]] bool Complete() const { return complete_; }

  private:
    void ReadSystem(const Place& place) {
        Fields fields(place);
        if (const auto version = fields.Find("version")) {
            unsigned major = 0;
            unsigned minor = 0;
            int length = 0;
            const std::string& text = version->Text();
            if (std::sscanf(text.c_str(), "%3u.%3u%n", &major, &minor, &length) != 2 ||
                static_cast<std::size_t>(length) != text.size())
                version->Fail("expected a version such as \"6.1\" or \"10.0\"");
            machine_.major_version = major;
            machine_.minor_version = minor;
        }
        if (const auto build = fields.Find("build"))
            machine_.build = build->Number();
        if (const auto directory = fields.Find("systemDirectory"))
            machine_.system_directory = ToWide(directory->Text());
        fields.Done();
    }

    void ReadDatabase(const Place& place) {
        Fields fields(place);
        const auto size = fields.Find("size");
        const auto most = static_cast<std::uint32_t>(size ? size->Number(4096, 1) : machine_.claimed.size());
        machine_.claimed.resize(most);
        if (const auto claimed = fields.Find("claimed")) {
            machine_.claimed.assign(most, false);
            for (const Place& number : claimed->List())
                machine_.claimed[number.Number(most, 1) - 1] = true;
        }
        if (const auto more = fields.Find("alsoClaimed")) {
            for (const Place& number : more->List())
                machine_.claimed[number.Number(most, 1) - 1] = true;
        }
        if (const auto broken = fields.Find("broken"))
            machine_.database_broken = broken->Truth();
        fields.Done();
    }

    void ReadPrograms(const Place& place) {
        for (const auto& [name, content] : place.Members()) {
            Fields fields(content);
            Program program;
            if (const auto time = fields.Find("runsFor"))
                program.runs_for = time->Number();
            if (const auto code = fields.Find("exitCode"))
                program.exit_code = code->Number();
            fields.Done();
            const bool is_path = name.find('\\') != std::string::npos;
            machine_.programs[is_path ? ToWide(name) : machine_.system_directory + ToWide("\\" + name)] =
                program;
        }
    }

    void ReadDevice(const Place& place, DEVINST parent, bool foreign) {
        Fields fields(place);
        const Place id = fields.Need("id");
        if (id.Text().empty() || machine_.Find(id.Text()) != nullptr)
            id.Fail("the id of a device must be its own");
        if (const auto own = fields.Find("foreign"))
            foreign = own->Truth();
        const DEVINST node = complete_ ? NewDevice(fields, parent) : DescribedDevice(fields, parent, foreign);
        ReadCommon(fields, node);
        const std::optional<Place> children = fields.Find("children");
        fields.Done();
        if (children) {
            for (const Place& child : children->List())
                ReadDevice(child, node, foreign);
        }
    }

    // Class of a device: its name, and a GUID unless the class is a known one.
    static void ReadClass(Fields& fields, std::string& name, std::optional<GUID>& guid) {
        const auto class_name = fields.Find("class");
        const auto class_guid = fields.Find("classGuid");
        if (class_name)
            name = class_name->Text();
        if (class_guid)
            guid = class_guid->Guid();
        else if (class_name && FindSetupClass(name) == nullptr)
            class_name->Fail("unknown class; give its \"classGuid\", too");
    }

    static bool ReadFlag(Fields& fields, const char* name, bool otherwise) {
        const auto found = fields.Find(name);
        return found ? found->Truth() : otherwise;
    }

    // From a file that says everything.
    DEVINST NewDevice(Fields& fields, DEVINST parent) {
        const auto node = static_cast<DEVINST>(machine_.devices.size());
        Device& device = machine_.devices.emplace_back();
        machine_.devices[parent].children.push_back(node);
        device.node = node;
        device.parent = parent;
        device.id = ToWide(fields.Need("id").Text());
        std::string class_name;
        std::optional<GUID> guid;
        ReadClass(fields, class_name, guid);
        device.class_name = ToWide(class_name);
        const SetupClass* known = FindSetupClass(class_name);
        device.setup_class = guid ? *guid : known != nullptr ? known->guid : GUID{};
        device.plugged = ReadFlag(fields, "present", true);
        device.started = ReadFlag(fields, "started", device.plugged);
        device.disabled = ReadFlag(fields, "disabled", false);
        if (const auto problem = fields.Find("problem"))
            device.problem = problem->Number();
        if (const auto kernel = fields.Find("kernelDevice"))
            device.kernel_path = ToWide(kernel->Text());
        if (ReadFlag(fields, "control", false))
            device.control.emplace();
        if (const auto values = fields.Find("values"); values && !values->IsNull())
            machine_.MakeKey(Machine::HardwareKeyPath(device.id));
        return node;
    }

    // From a file that says what matters.
    DEVINST DescribedDevice(Fields& fields, DEVINST parent, bool foreign) {
        DeviceRecipe recipe;
        recipe.id = fields.Need("id").Text();
        recipe.foreign = foreign;
        ReadClass(fields, recipe.setup_class, recipe.class_guid);
        const auto text = [&](const char* name, std::optional<std::string>& target) {
            if (const auto found = fields.Find(name))
                target = found->IsNull() ? std::string() : found->Text();
        };
        if (const auto port = fields.Find("port"); port && !port->IsNull())
            recipe.port = port->Text();
        text("description", recipe.description);
        text("driver", recipe.driver);
        text("kernelDevice", recipe.kernel_path);
        if (const auto control = fields.Find("control"))
            recipe.control = control->Truth();
        recipe.plugged = ReadFlag(fields, "present", true);
        recipe.claim = ReadFlag(fields, "claim", true);
        const auto problem = fields.Find("problem");
        recipe.problem = problem ? problem->Number() : 0;
        recipe.started = ReadFlag(fields, "started", recipe.problem == 0);
        if (ReadFlag(fields, "disabled", false))
            recipe.problem = CM_PROB_DISABLED;
        const DEVINST node = machine_.AddDevice(parent, recipe);
        if (const auto values = fields.Find("values"); values && values->IsNull())
            machine_.DeleteKey(Machine::HardwareKeyPath(machine_.devices[node].id));
        return node;
    }

    void ReadCommon(Fields& fields, DEVINST node) {
        Device& device = machine_.devices[node];
        for (const PropertyName& known : kProperties) {
            const auto found = fields.Find(known.name);
            if (!found)
                continue;
            if (found->IsNull())
                device.properties.erase(known.property);
            else
                device.properties[known.property] = ReadData(*found);
        }
        if (const auto more = fields.Find("properties")) {
            for (const auto& [code, value] : more->Members()) {
                if (code.empty() || code.size() > 3 ||
                    code.find_first_not_of("0123456789") != std::string::npos)
                    value.Fail("expected the number of a property");
                device.properties[static_cast<DWORD>(std::stoul(code))] = ReadData(value);
            }
        }
        const auto values = fields.Find("values");
        if (!values || !values->IsNull()) {
            RegistryKey none;
            const std::shared_ptr<RegistryKey> key = machine_.HardwareKey(device);
            ReadKeyFields(fields, key ? *key : none);
        }
        ReadControl(fields, device);
        if (const auto interfaces = fields.Find("interfaces")) {
            if (complete_)
                device.interfaces.clear();
            for (const Place& entry : interfaces->List()) {
                Fields own(entry);
                DeviceInterface published;
                published.interface_class = own.Need("class").Guid();
                if (const auto reference = own.Find("reference"))
                    published.reference = ToWide(reference->Text());
                published.enabled = ReadFlag(own, "enabled", true);
                own.Done();
                device.interfaces.push_back(std::move(published));
            }
        }
        if (const auto program = fields.Find("openBy"))
            held_open_.emplace_back(node, program->Text());
    }

    void ReadControl(Fields& fields, Device& device) {
        const auto settings = fields.Find("settings");
        const auto defaults = fields.Find("defaults");
        const auto bus = fields.Find("bus");
        const auto bus_defaults = fields.Find("busDefaults");
        const auto misbehaves = fields.Find("misbehaves");
        for (const auto& field : {settings, defaults, bus, bus_defaults, misbehaves}) {
            if (field && !device.control)
                field->Fail("the device has no control device");
        }
        if (!device.control)
            return;
        ControlDevice& control = *device.control;
        if (defaults) {
            ReadSettings(*defaults, PortSettingNames(), control.defaults, nullptr);
            if (!complete_)
                control.settings = control.defaults;
        }
        if (bus_defaults) {
            ReadSettings(*bus_defaults, BusNumberNames(), control.bus_defaults,
                         &control.bus_defaults.interface_type);
            if (!complete_)
                control.bus = control.bus_defaults;
        }
        if (settings) {
            ReadSettings(*settings, PortSettingNames(), control.settings, nullptr);
            if (!complete_)
                machine_.StoreSettings(device);
        }
        if (bus)
            ReadSettings(*bus, BusNumberNames(), control.bus, &control.bus.interface_type);
        if (misbehaves)
            ReadMisbehaviour(*misbehaves, control);
    }

    Machine& machine_;
    bool complete_ = false;
    std::optional<Place> names_;
    std::vector<std::pair<DEVINST, std::string>> held_open_;
};

// --- writing ---

std::string HexadecimalOf(const Bytes& bytes) {
    std::string text;
    for (const BYTE byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

// The text in the bytes when they are nothing but that text, its NUL and no half characters.
std::optional<std::string> PlainText(const Bytes& bytes) {
    const std::string text = ToUtf8(BytesText(bytes));
    return TextBytes(ToWide(text)) == bytes ? std::optional(text) : std::nullopt;
}

Json WriteData(DWORD type, const Bytes& data) {
    const std::optional<std::string> text = PlainText(data);
    if (type == REG_SZ && text)
        return *text;
    if (type == REG_DWORD && data.size() == 4)
        return static_cast<std::uint32_t>(data[0]) | static_cast<std::uint32_t>(data[1]) << 8 |
               static_cast<std::uint32_t>(data[2]) << 16 | static_cast<std::uint32_t>(data[3]) << 24;
    if (type == REG_MULTI_SZ) {
        std::vector<std::string> texts;
        Bytes rest = data;
        while (rest.size() > sizeof(WCHAR)) {
            const WideString one = BytesText(rest);
            texts.push_back(ToUtf8(one));
            rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                        rest.size(), (one.size() + 1) * sizeof(WCHAR))));
        }
        if (ListBytes(texts) == data)
            return texts;
    }
    Json json;
    const auto known = std::ranges::find(kTypes, type, &TypeName::type);
    if (known != std::end(kTypes))
        json["type"] = known->name;
    else
        json["type"] = static_cast<std::uint32_t>(type);
    if (type == REG_EXPAND_SZ && text)
        json["text"] = *text;
    else
        json["hex"] = HexadecimalOf(data);
    return json;
}

Json WriteValues(const RegistryKey& key) {
    Json json = Json::object();
    for (const RegistryValue& value : key.values)
        json[ToUtf8(value.name)] = WriteData(value.type, value.data);
    return json;
}

Json WriteRefusals(const RegistryKey& key) {
    Json json = Json::array();
    for (const RightName& right : kRights) {
        if ((key.refused & right.rights) == right.rights)
            json.push_back(right.name);
    }
    return json;
}

// The keys below `key` by path, parents first. `leave_out` says which are written elsewhere.
template <typename LeaveOut>
void WriteKeys(Json& json, const RegistryKey& key, const WideString& path, const LeaveOut& leave_out) {
    for (const auto& [name, subkey] : key.subkeys) {
        WideString own = path;
        if (!own.empty())
            own += static_cast<WCHAR>('\\');
        own += name;
        if (leave_out(own))
            continue;
        const bool volatility_changes = subkey->is_volatile != key.is_volatile;
        if (subkey->subkeys.empty() || !subkey->values.empty() || subkey->refused != 0 ||
            volatility_changes) {
            Json content = Json::object();
            if (volatility_changes)
                content["volatile"] = subkey->is_volatile;
            if (!subkey->values.empty())
                content["values"] = WriteValues(*subkey);
            if (subkey->refused != 0)
                content["refuses"] = WriteRefusals(*subkey);
            json[ToUtf8(own)] = std::move(content);
        }
        WriteKeys(json, *subkey, own, leave_out);
    }
}

template <typename Settings, typename Names>
Json WriteSettings(const Settings& settings, const Names& names) {
    const Settings usual;
    Json json = Json::object();
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (settings.values[at] != usual.values[at])
            json[names[at]] = settings.values[at];
    }
    return json;
}

Json WriteSettings(const BusSettings& settings) {
    Json json = WriteSettings(settings, BusNumberNames());
    if (settings.interface_type != BusSettings().interface_type)
        json[kBusTextName] = settings.interface_type;
    return json;
}

Json WriteMisbehaviour(const ControlDevice& control) {
    Json list = Json::array();
    for (const auto& [where, behaviour] : control.misbehaviour) {
        Json json;
        json["request"] = std::ranges::find(kRequests, where.first, &RequestName::request)->name;
        json["set"] = static_cast<std::uint32_t>(where.second);
        const auto number = [&](const char* name, const auto& value) {
            if (value)
                json[name] = static_cast<std::uint32_t>(*value);
        };
        number("refuse", behaviour.refuse);
        number("size", behaviour.size);
        number("truncate", behaviour.truncate);
        number("claimed", behaviour.claimed);
        if (behaviour.stream)
            json["stream"] = HexadecimalOf(*behaviour.stream);
        if (behaviour.extra != 0)
            json["extra"] = behaviour.extra;
        if (behaviour.fill_what_fits)
            json["fillsWhatFits"] = true;
        list.push_back(std::move(json));
    }
    return list;
}

void WriteControl(Json& json, const ControlDevice& control) {
    json["control"] = true;
    const std::pair<const char*, Json> parts[] = {
        {"settings", WriteSettings(control.settings, PortSettingNames())},
        {"defaults", WriteSettings(control.defaults, PortSettingNames())},
        {"bus", WriteSettings(control.bus)},
        {"busDefaults", WriteSettings(control.bus_defaults)},
        {"misbehaves", WriteMisbehaviour(control)}};
    for (const auto& [name, part] : parts) {
        if (!part.empty())
            json[name] = part;
    }
}

Json WriteDevice(const Machine& machine, const Device& device) {
    Json json;
    json["id"] = ToUtf8(device.id);
    if (!device.class_name.empty())
        json["class"] = ToUtf8(device.class_name);
    const SetupClass* known = FindSetupClass(ToUtf8(device.class_name));
    if (known == nullptr || !IsEqualGUID(known->guid, device.setup_class))
        json["classGuid"] = FormatGuid(device.setup_class);
    if (!device.plugged)
        json["present"] = false;
    if (device.started != device.plugged)
        json["started"] = device.started;
    if (device.disabled)
        json["disabled"] = true;
    if (device.problem != 0)
        json["problem"] = static_cast<std::uint32_t>(device.problem);
    std::map<DWORD, Property> rest = device.properties;
    for (const PropertyName& name : kProperties) {
        if (const auto found = rest.find(name.property); found != rest.end()) {
            json[name.name] = WriteData(found->second.type, found->second.data);
            rest.erase(found);
        }
    }
    for (const auto& [code, property] : rest)
        json["properties"][std::to_string(code)] = WriteData(property.type, property.data);
    if (!device.kernel_path.empty())
        json["kernelDevice"] = ToUtf8(device.kernel_path);
    if (!device.held_open_by.empty())
        json["openBy"] = ToUtf8(device.held_open_by);
    if (const std::shared_ptr<RegistryKey> key = machine.HardwareKey(device)) {
        json["values"] = WriteValues(*key);
        Json keys = Json::object();
        WriteKeys(keys, *key, {}, [](const WideString&) { return false; });
        if (!keys.empty())
            json["keys"] = std::move(keys);
        if (key->refused != 0)
            json["refuses"] = WriteRefusals(*key);
    }
    if (device.control)
        WriteControl(json, *device.control);
    for (const DeviceInterface& published : device.interfaces) {
        Json entry;
        entry["class"] = FormatGuid(published.interface_class);
        if (!published.reference.empty())
            entry["reference"] = ToUtf8(published.reference);
        if (!published.enabled)
            entry["enabled"] = false;
        json["interfaces"].push_back(std::move(entry));
    }
    for (const DEVINST child : device.children)
        json["children"].push_back(WriteDevice(machine, machine.devices[child]));
    return json;
}

std::string ReadWhole(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream || std::filesystem::is_directory(file))
        throw MachineFileError("cannot read " + file.string());
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (stream.bad())
        throw MachineFileError("cannot read " + file.string());
    return content;
}

}  // namespace

std::unique_ptr<Machine> Machine::FromJson(std::string_view json) {
    Progress progress;
    TreeBuilder builder(progress);
    const char* begin = json.data();
    if (!nlohmann::json::sax_parse(CountingIterator(begin, &progress),
                                   CountingIterator(begin + json.size(), &progress), &builder))
        Complain(progress.Line(), "not a machine file");
    const JsonNode root = builder.Take();
    auto machine = std::make_unique<Machine>();
    MachineReader reader(*machine);
    reader.Read(Place(root, {}));
    if (!reader.Complete())
        machine->Boot();
    reader.ReadAfterStart();
    return machine;
}

std::unique_ptr<Machine> Machine::Load(const std::filesystem::path& file) {
    const std::string content = ReadWhole(file);
    try {
        return FromJson(content);
    } catch (const MachineFileError& error) {
        throw MachineFileError(file.string() + ": " + error.what());
    }
}

std::string Machine::ToJson() const {
    Json json;
    if (!about.empty())
        json["about"] = about;
    json["complete"] = true;
    json["system"]["version"] = std::to_string(major_version) + "." + std::to_string(minor_version);
    json["system"]["build"] = static_cast<std::uint32_t>(build);
    json["system"]["systemDirectory"] = ToUtf8(system_directory);
    json["controlClass"] = FormatGuid(control_class);
    json["devices"] = Json::array();
    for (const DEVINST child : devices[kRoot].children)
        json["devices"].push_back(WriteDevice(*this, devices[child]));
    if (claimed.size() != MachineState().claimed.size())
        json["portDatabase"]["size"] = claimed.size();
    json["portDatabase"]["claimed"] = ClaimedNumbers();
    if (database_broken)
        json["portDatabase"]["broken"] = true;
    json["dosNames"] = Json::object();
    for (const auto& [name, targets] : dos_names) {
        for (const WideString& target : targets)
            json["dosNames"][ToUtf8(name)].push_back(ToUtf8(target));
    }
    for (const auto& [path, program] : programs) {
        Json& entry = json["programs"][ToUtf8(path)];
        entry["runsFor"] = program.runs_for;
        entry["exitCode"] = static_cast<std::uint32_t>(program.exit_code);
    }
    for (const WideString& name : refused_mutexes)
        json["refusedMutexes"].push_back(ToUtf8(name));
    // Hardware keys stand with their devices.
    std::set<WideString, CaselessLess> elsewhere;
    for (const Device& device : devices) {
        if (!device.removed && device.node != kRoot)
            elsewhere.insert(HardwareKeyPath(device.id));
    }
    for (const HiveName& hive : kHives) {
        Json keys = Json::object();
        WriteKeys(keys, *FindKey({}, hive.hive), {}, [&](const WideString& path) {
            return hive.hive == HKEY_LOCAL_MACHINE && elsewhere.contains(path);
        });
        if (!keys.empty())
            json["registry"][hive.name] = std::move(keys);
    }
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

void Machine::Save(const std::filesystem::path& file) const {
    namespace fs = std::filesystem;
    const std::string content = ToJson();
    std::error_code error;
    const auto fail = [&](const std::string& what) {
        throw MachineFileError("cannot " + what + " " + file.string() +
                               (error ? ": " + error.message() : std::string()));
    };
    const fs::path target = fs::weakly_canonical(file, error);  // what a link leads to
    if (error)
        fail("replace");
    fs::path beside;
    std::random_device random;
    do {
        beside = target;
        beside += "." + std::to_string(random()) + ".new";
    } while (fs::exists(beside, error));
    std::ofstream stream(beside, std::ios::binary | std::ios::trunc);
    // Before there is anything to read.
    if (const fs::file_status before = fs::status(target, error); stream && fs::is_regular_file(before))
        fs::permissions(beside, before.permissions(), error);
    else
        error.clear();
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    const bool written = stream && !error;
    if (written)
        fs::rename(beside, target, error);
    if (written && !error)
        return;
    std::error_code ignored;
    fs::remove(beside, ignored);
    fail(written ? "replace" : "write");
}

}  // namespace QX_SIMULATOR_API
