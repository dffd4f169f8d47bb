// SPDX-License-Identifier: MIT
// Data of the maker's products that the module carries. Replace it for a product of your own: an identifier
// given out twice makes two type libraries overwrite each other's registration.
//
// The resource and type-library compilers read this file too, so it holds nothing but definitions.
#pragma once

// The type library QxUUILib and the component class PropPage in it. module/QxUUILib.tlb is made from these:
// rebuild it (module/art/README.md says how) when they change.
// clang-format off
// NOLINTBEGIN(bugprone-macro-parentheses): the type-library compiler reads them as they stand
#define QX_TYPE_LIBRARY_ID 8a51c0d2-6f0e-4a3b-9d6c-71e5b2f4c810
#define QX_PROP_PAGE_CLASS_ID 8a51c0d3-6f0e-4a3b-9d6c-71e5b2f4c810
#define QX_PROP_PAGE_INTERFACE_ID 8a51c0d4-6f0e-4a3b-9d6c-71e5b2f4c810
// NOLINTEND(bugprone-macro-parentheses)
// clang-format on
#define QX_TYPE_LIBRARY_MAJOR 1
#define QX_TYPE_LIBRARY_MINOR 0

// Shown and opened by the About page.
#define QX_WEB_ADDRESS "https://www.veltramark.example/"
#define QX_MAKER "Veltramark"
