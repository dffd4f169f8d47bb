// SPDX-License-Identifier: MIT
// A parameter set of numbers and strings in any order, for the fuzzers of the settings stream.
#pragma once

#include "driver_access/information_set.h"
#include "fuzz/fuzz_input.h"

#include <deque>

namespace qxfuzz {

class ParameterSet {
  public:
    void AddNumber(std::uint32_t value) {
        numbers.push_back(value);
        Add(&numbers.back(), qx::kNumberElement);
    }
    void AddText(const std::basic_string<WCHAR>& text) {
        texts.push_back({qx::Text(qx::TextView(text)), 0});
        Add(&texts.back(), qx::kStringElement);
    }

    std::deque<DWORD> numbers;  // deques: their elements stay in place while more are added
    std::deque<qx::StringHolder> texts;
    qx::CSsInformationSet set;

  private:
    void Add(void* field, DWORD type) {
        qx::RegisteredDefault none;
        Require(set.AddElement(TEXT("Setting"), field, type, none), "an element is added");
    }
};

}  // namespace qxfuzz
