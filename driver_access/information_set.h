// SPDX-License-Identifier: MIT
// A named, ordered list of settings that is exchanged with a driver as one stream of bytes.
#pragma once

#include "base/text.h"
#include "driver_access/serialisation.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

namespace qx {

// Which parameter set a request to a driver is about.
inline constexpr DWORD kPortSet = 0;  // CQxUVcpUserModeInterface
inline constexpr DWORD kBusSet = 1;   // CQxUBusUserModeInterface

// A string setting.
struct StringHolder {
    Text text;
    // 0 = ready, -1 = the last conversion between the wide text and the driver's single bytes failed.
    std::int32_t status = 0;

    friend bool operator==(const StringHolder& a, const StringHolder& b) noexcept { return a.text == b.text; }
};

// Element types.
inline constexpr DWORD kNumberElement = 1;  // a 32-bit unsigned number
inline constexpr DWORD kStringElement = 2;  // a StringHolder

// The value that the maker registers with a setting: a number, a string holder, or none.
using RegisteredDefault = std::variant<std::monostate, std::unique_ptr<DWORD>, std::unique_ptr<StringHolder>>;

// The ordered list of elements bound to the fields of its owner, and the format in which they travel.
//
// A set is used by one thread at a time, and the walking position lives in the set: two walks of one set
// (First/Next, EncodedSize, Encode, Decode) must not overlap. A set cannot be copied, because its elements
// point to the fields of one owner. Nothing throws; running out of memory is a failed operation.
//
//   DWORD rate = 9600;
//   RegisteredDefault none;
//   CSsInformationSet parameters;
//   if (parameters.AddElement(TEXT("Baudrate"), &rate, kNumberElement, none) && parameters.IsComplete())
//       decoded = parameters.Decode(bytes, size);  // rate has the driver's value now
//
// Options of a call: 0 stands for the set's own options; others apply to that call alone, and invalid ones
// fail it before anything is read or written.
class CSsInformationSet {
  public:
    // One setting.
    class Element {
      public:
        [[nodiscard]] const Text& Name() const noexcept { return name_; }
        [[nodiscard]] DWORD Type() const noexcept { return type_; }
        // The owner's field, by type; null for an element of the other type.
        [[nodiscard]] DWORD* Number() const noexcept;
        [[nodiscard]] StringHolder* String() const noexcept;
        [[nodiscard]] const RegisteredDefault& Registered() const noexcept { return registered_; }

      private:
        friend class CSsInformationSet;
        // What encoding and decoding look at comes first.
        void* value_ = nullptr;
        DWORD type_ = 0;
        // On the first of a stretch of neighbouring number elements: how many they are. 0 on every other
        // element.
        DWORD stretch_ = 0;
        Text name_;
        RegisteredDefault registered_;
    };

    CSsInformationSet() = default;
    virtual ~CSsInformationSet() = default;
    CSsInformationSet(const CSsInformationSet&) = delete;
    CSsInformationSet& operator=(const CSsInformationSet&) = delete;

    // Appends an element. `value` is the owner's field, a DWORD for kNumberElement and a StringHolder for
    // kStringElement; it must outlive the set's use. An element of any other type can be added but neither
    // encoded nor decoded. On success the set takes `registered` over; on failure (out of memory, no name, no
    // field) the elements are unchanged and the caller keeps it. Out of memory, the set is no longer
    // complete.
    [[nodiscard]] bool AddElement(const WCHAR* name, void* value, DWORD type,
                                  RegisteredDefault& registered) noexcept;
    // Destroys every element; the empty set is complete again.
    void Clear() noexcept;

    // Walks from the first element to the last: First starts a walk and Next goes on; null ends it.
    [[nodiscard]] const Element* First() noexcept;
    [[nodiscard]] const Element* Next() noexcept;
    [[nodiscard]] const Element* Last() const noexcept;
    [[nodiscard]] std::size_t Count() const noexcept { return elements_.size(); }

    // False from the first element that could not be added because memory ran out, until Clear. The stream
    // has no names, so a driver would take the values behind the gap for those of other settings: such a set
    // must not travel.
    [[nodiscard]] bool IsComplete() const noexcept { return complete_; }

    // The set's own format.
    [[nodiscard]] CSsSerialisation& Serialisation() noexcept { return serialisation_; }

    // Bytes that Encode will write. 0 for invalid options, for an element that is neither number nor string,
    // and when the stream would not fit in 4 GiB.
    [[nodiscard]] DWORD EncodedSize(DWORD options = 0) noexcept;

    // Writes the stream to `buffer` and reduces `free_bytes` by what it wrote. Allocates nothing. Fails, with
    // the items before the failing one written, when an item does not fit, when an element is neither number
    // nor string, and for a string that the format cannot hold: more than 255 characters or one above 255 in
    // a narrow stream (the holder's status becomes -1), more than 32767 in a wide one.
    [[nodiscard]] bool Encode(BYTE* buffer, DWORD& free_bytes, DWORD options = 0) noexcept;

    // Stores the stream's values into the fields and reduces `available_bytes` by the items it took. Bytes
    // after the last item are left alone. On failure the fields before the failing element hold their new
    // values and the others their old ones. The stream may come from a driver that sends nonsense: nothing
    // outside `available_bytes` is read, and lengths that the format cannot hold fail.
    [[nodiscard]] bool Decode(const BYTE* buffer, DWORD& available_bytes, DWORD options = 0) noexcept;

  private:
    // Contiguous rather than linked: the whole walk of a port's settings stays within a few cache lines and
    // does not wait for one pointer to find the next.
    std::vector<Element> elements_;
    std::size_t position_ = 0;
    bool complete_ = true;
    std::size_t stretch_head_ = 0;  // first element of the last stretch of numbers
    CSsSerialisation serialisation_;
};

}  // namespace qx
