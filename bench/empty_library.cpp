// Holds nothing: what the loader itself costs.
extern "C" __attribute__((visibility("default"))) void Nothing() {}
