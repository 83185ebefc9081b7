// The kernel's release.
#include "src/platform/BPSystem.h"

#include <cstdio>
#include <sys/utsname.h>

BPSystemVersion BPGetSystemVersion()
{
    utsname names = {};
    unsigned major = 0, minor = 0;
    if (uname(&names) != 0 || std::sscanf(names.release, "%6u.%6u", &major, &minor) != 2) return {};
    return {.major = major, .minor = minor};
}
