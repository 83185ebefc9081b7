#include "src/platform/BPMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

TEST(BPMemory, BlocksAreZeroedOn64Bytes)
{
    for (const size_t size : {size_t{0}, size_t{1}, size_t{63}, size_t{64}, size_t{65}, size_t{4097}, size_t{1} << 21,
                              (size_t{1} << 22) - 1, size_t{1} << 22, (size_t{1} << 22) + 5, size_t{9} << 20}) {
        for (int round = 0; round < 3; ++round) {
            uint8_t* block = static_cast<uint8_t*>(BPAllocate(size));
            ASSERT_NE(block, nullptr) << size;
            EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u) << size;
            EXPECT_EQ(std::count(block, block + size, 0), static_cast<ptrdiff_t>(size)) << size;
            memset(block, 0xA5, size);
            BPFree(block);
        }
    }
    BPFree(nullptr);
}

TEST(BPMemory, ImpossibleSizeIsNull)
{
    EXPECT_EQ(BPAllocate(SIZE_MAX), nullptr);
    EXPECT_EQ(BPAllocate(SIZE_MAX / 2 + 1), nullptr);
}

TEST(BPMemory, OnlyTheChosenRequestFails)
{
    for (uint64_t failing = 1; failing <= 5; ++failing) {
        BPFailAllocation(failing);
        for (uint64_t request = 1; request <= 5; ++request) {
            void* block = BPAllocate(16);
            EXPECT_EQ(block == nullptr, request == failing) << failing << " " << request;
            BPFree(block);
        }
        EXPECT_EQ(BPAllocationCount(), 5u);
    }
    BPFailAllocation(0);
    EXPECT_EQ(BPAllocationCount(), 0u);
    void* block = BPAllocate(16);
    EXPECT_NE(block, nullptr);
    BPFree(block);
}

TEST(BPMemory, RequestsOfAllThreadsAreCounted)
{
    BPFailAllocation(1000);
    std::vector<std::thread> threads;
    std::vector<int> failures(4, 0);
    for (size_t index = 0; index < 4; ++index) {
        threads.emplace_back([&failures, index] {
            for (int request = 0; request < 500; ++request) {
                void* block = BPAllocate(32);
                failures[index] += block == nullptr ? 1 : 0;
                BPFree(block);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(BPAllocationCount(), 2000u);
    EXPECT_EQ(failures[0] + failures[1] + failures[2] + failures[3], 1);
    BPFailAllocation(0);
}
