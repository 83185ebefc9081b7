// A process of its own for the tests of the platform. The first argument is the role.
#include "src/platform/BPPlatform.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

void ExitOnBusError(int, siginfo_t* info, void*)
{
    _exit(info->si_code == BUS_ADRERR ? 42 : 43);
}

/// Had a handler of its own for the signal before the first block was mapped: it must still get the faults that are
/// not the block's, and only those. Ends with 42 when all is well.
int ChainedHandler()
{
    struct sigaction action = {};
    action.sa_sigaction = ExitOnBusError;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGBUS, &action, nullptr);

    BPPlatform platform;
    BPFillLinuxPlatform(&platform);
    BPSharedMemory block;
    if (platform.sharedMemory.create("chained", 8192, &block) != bpNoErr) return 1;
    char path[4096];
    snprintf(path, sizeof path, "%s/ochrine/chained", getenv("XDG_RUNTIME_DIR"));
    if (truncate(path, 0) != 0) return 2;
    const volatile uint8_t* bytes = block.address;
    if (bytes[0] != 0 || bytes[8191] != 0) return 3;

    const int other = memfd_create("other", 0);
    if (ftruncate(other, 4096) != 0) return 4;
    const volatile char* foreign = static_cast<char*>(mmap(nullptr, 4096, PROT_READ, MAP_SHARED, other, 0));
    if (foreign == MAP_FAILED || ftruncate(other, 0) != 0) return 5;
    return foreign[0]; // the handler ends the process
}

} // namespace

int main(int count, char** words)
{
    if (count == 2 && strcmp(words[1], "chained-handler") == 0) return ChainedHandler();
    return 64;
}
