// SPDX-License-Identifier: MIT
// Globally unique identifiers.
//
// Left outside the include guard on purpose: a second inclusion after <initguid.h> makes DEFINE_GUID define.
#ifndef GUID_DEFINED
#define GUID_DEFINED
#include <cstdint>
#include <cstring>

struct GUID {
    std::uint32_t Data1;
    unsigned short Data2;
    unsigned short Data3;
    unsigned char Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;

inline bool operator==(const GUID& one, const GUID& other) {
    return std::memcmp(&one, &other, sizeof(GUID)) == 0;
}
inline bool operator!=(const GUID& one, const GUID& other) {
    return !(one == other);
}
inline int IsEqualGUID(REFGUID one, REFGUID other) {
    return one == other ? 1 : 0;
}
#endif

#undef DEFINE_GUID
#ifdef INITGUID
// The same identifier may be defined in several files; one of the definitions stays.
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
    extern "C" const GUID name;                                      \
    extern "C" __attribute__((weak)) const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) extern "C" const GUID name
#endif
