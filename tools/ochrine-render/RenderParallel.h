// One job cut into parts that do not depend on how many threads there are.
#pragma once

#include <cstdint>
#include <functional>

/// Calls part(0) to part(count - 1), on the calling thread and up to threads - 1 others. The caller waits for all.
/// Parts must not touch each other's data. Threads that cannot be had are done without.
void RenderParts(int threads, uint32_t count, const std::function<void(uint32_t part)>& part);
