// SPDX-License-Identifier: MIT
// Holds nothing: what the loader itself costs.
#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED __attribute__((visibility("default")))
#endif
extern "C" EXPORTED void Nothing() {}
