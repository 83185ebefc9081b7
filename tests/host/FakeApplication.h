// An application for tests of the host: takes the block the way Ochrine does, as far as a host can tell, and in other
// ways. It runs in a thread of the test or in a process of its own.
#pragma once

#include "host/ochrine_host.h"
#include "src/platform/BPPlatform.h"

#include <string>
#include <vector>

/// A block that the application has mapped.
struct FakeApplication {
    BPPlatform platform;
    BPSharedMemory memory;
    OchrineBlock* block;
    BPFrameChannel channel;
};

/// Maps the block and stores 3. False when there is none within a second.
bool FakeAttach(FakeApplication* application);

/// Takes the frame out of the block, inline or in chunks, with the waits that Ochrine has. Empty after five seconds.
std::vector<uint8_t> FakeTakeFrame(FakeApplication* application);

/// Starts the frame channel and tells its name.
bool FakeListen(FakeApplication* application, const std::string& name);

/// Stores frameTime and 9, waits for a frame, stores 3, lets go. Empty when the host stores 11 or nothing comes within
/// five seconds.
std::vector<uint8_t> FakeRequest(FakeApplication* application, int32_t frameTime);

/// Stores a status, unmaps, stops listening.
void FakeLeave(FakeApplication* application, uint32_t status);
