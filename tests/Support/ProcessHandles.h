// What the test program holds of the system: open descriptors on Linux, handles on Windows.
#pragma once

int CountProcessHandles();

// How many more there are after each call. The system opens some once and for good, when threads first meet
// at one of its locks; a leak comes each time.
template <class Call>
int HandlesLeakedBy(Call iCall)
{
    int leaked = 1;
    for (int i = 0; i < 5 && leaked != 0; ++i) {
        const int before = CountProcessHandles();
        iCall();
        leaked = CountProcessHandles() - before;
    }
    return leaked;
}
