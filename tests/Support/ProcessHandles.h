// What the test program holds of the system: open descriptors on Linux, handles on Windows.
#pragma once

int CountProcessHandles();
