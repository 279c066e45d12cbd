// A library to be found at run time.
#if defined(_WIN32)
#define TEST_EXPORT __declspec(dllexport)
#else
#define TEST_EXPORT __attribute__((visibility("default")))
#endif

extern "C" TEST_EXPORT int OstrelTestTwice(int iValue) { return 2 * iValue; }
