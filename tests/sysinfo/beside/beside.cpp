// A library that lives only beside the test program, never in a system folder.
#if defined(_WIN32)
extern "C" __declspec(dllexport) int xoBeside() {
#else
extern "C" __attribute__((visibility("default"))) int xoBeside() {
#endif
    return 42;
}
