// SPDX-License-Identifier: MIT
// The format of a settings stream.
#pragma once

#include <windows.h>

namespace qx {

// Options of a settings stream, a set of bits.
inline constexpr DWORD SS_TERMINATED = 0x01;       // a zero character follows every string
inline constexpr DWORD SS_LENGTH_PREFIXED = 0x02;  // every string's length, a 32-bit number, precedes it
inline constexpr DWORD SS_WIDE = 0x04;             // strings of 16-bit units instead of single bytes
inline constexpr DWORD SS_TAGGED = 0x08;           // one byte for the type precedes every item
inline constexpr DWORD SS_HEADER = 0x10;           // the stream begins with the check value

// Options and check value of a stream. The options are valid at all times.
class CSsSerialisationBase {
  public:
    // Known bits only, and strings that can be delimited: terminated, prefixed by their length, or both.
    [[nodiscard]] static constexpr bool AreValidOptions(DWORD options) noexcept {
        return (options & ~DWORD{0x1F}) == 0 && (options & (SS_TERMINATED | SS_LENGTH_PREFIXED)) != 0;
    }

    [[nodiscard]] DWORD Options() const noexcept { return options_; }
    // Returns false, and changes nothing, for invalid options.
    [[nodiscard]] bool SetOptions(DWORD options) noexcept;
    // What a stream with SS_HEADER begins with.
    [[nodiscard]] DWORD CheckValue() const noexcept { return check_value_; }
    void SetCheckValue(DWORD check_value) noexcept { check_value_ = check_value; }

  protected:
    // The format that the drivers speak.
    CSsSerialisationBase() = default;
    ~CSsSerialisationBase() = default;
    CSsSerialisationBase(const CSsSerialisationBase&) = default;
    CSsSerialisationBase& operator=(const CSsSerialisationBase&) = default;

  private:
    DWORD options_ = SS_TERMINATED | SS_LENGTH_PREFIXED;
    DWORD check_value_ = 0;
};

class CSsSerialisation : public CSsSerialisationBase {
  public:
    CSsSerialisation() = default;
    virtual ~CSsSerialisation() = default;
    CSsSerialisation(const CSsSerialisation&) = default;
    CSsSerialisation& operator=(const CSsSerialisation&) = default;
};

}  // namespace qx
