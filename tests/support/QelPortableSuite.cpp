// Linked into the portable suites only. Their own builds of the math and text scanner sources take
// the place of the library's definitions of the same classes (vtables and constants included); that
// doubling is the point, so AddressSanitizer is told not to report it as an ODR violation.
extern "C" const char* __asan_default_options()
{
    return "detect_odr_violation=0";
}
