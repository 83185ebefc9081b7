// The worker pool: bands, equal bytes with any number of workers, failures of each creation, disposal.
#include "src/MPTasks.h"

#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <atomic>
#include <cstring>
#include <set>
#include <string>
#include <thread>

namespace {

struct Pool {
    MPTask* tasks = nullptr;
    uint32_t count;
    explicit Pool(uint32_t wanted) : count(MPStartTaskCount(&tasks, wanted)) {}
    ~Pool() { MPDisposeTasks(count, &tasks); }
};

FramePtr NoiseFrame(uint32_t width, uint32_t height, uint32_t seed)
{
    FramePtr frame = MakeFrame(width, height);
    Random random(seed);
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < height; ++row)
            for (uint32_t column = 0; column < frame->rowBytes / 4; ++column)
                At(*frame, plane, row, column) = RandomSignal(random);
    return frame;
}

std::vector<uint32_t> BandsOf(const Pool& pool)
{
    std::vector<uint32_t> rows;
    for (uint32_t i = 0; i < pool.count; ++i) rows.push_back(pool.tasks[i].source.height);
    return rows;
}

} // namespace

TEST(MPTasks, WithoutThreadsThereIsOneTaskAndNoArray)
{
    MPTask* tasks = reinterpret_cast<MPTask*>(1);
    EXPECT_EQ(MPStartTasks(&tasks, false), 1u);
    EXPECT_EQ(tasks, nullptr);
}

TEST(MPTasks, AUniprocessorGetsNoThreadsAndNoArray)
{
    for (uint32_t count : {0u, 1u}) {
        MPTask* tasks = reinterpret_cast<MPTask*>(1);
        BPFailAllocation(0);
        EXPECT_EQ(MPStartTaskCount(&tasks, count), count);
        EXPECT_EQ(tasks, nullptr);
        EXPECT_EQ(BPAllocationCount(), 0u);
    }
}

TEST(MPTasks, OneTaskAProcessor)
{
    EXPECT_GE(MPGetProcessorCount(), 1u);
    MPTask* tasks = nullptr;
    const uint32_t count = MPStartTasks(&tasks, true);
    EXPECT_EQ(count, MPGetProcessorCount());
    EXPECT_EQ(tasks != nullptr, count > 1);
    MPDisposeTasks(count, &tasks);
    EXPECT_EQ(tasks, nullptr);
}

TEST(MPTasks, EveryFailureOfACreationFallsBackToOneTask)
{
    constexpr uint32_t count = 4;
    for (uint64_t n = 1; n <= count * 3; ++n) { // two events and a thread each
        MPTask* tasks = nullptr;
        BPFailThreadCreation(n);
        EXPECT_EQ(MPStartTaskCount(&tasks, count), 1u) << n;
        EXPECT_EQ(tasks, nullptr);
    }
    BPFailThreadCreation(count * 3 + 1);
    Pool pool(count);
    EXPECT_EQ(pool.count, count);
    BPFailThreadCreation(0);
    MPTask* tasks = nullptr;
    BPFailAllocation(1);
    EXPECT_EQ(MPStartTaskCount(&tasks, count), 1u);
    EXPECT_EQ(tasks, nullptr);
    BPFailAllocation(0);
}

TEST(MPTasks, DisposalWithACountOfZeroOnlyFreesTheArray)
{
    MPTask* tasks = static_cast<MPTask*>(BPAllocate(sizeof(MPTask) * 2)); // slots without threads
    MPDisposeTasks(0, &tasks);
    EXPECT_EQ(tasks, nullptr);
    MPDisposeTasks(4, &tasks); // nothing to dispose of
    EXPECT_EQ(tasks, nullptr);
}

TEST(MPTasks, SlotsAreNumberedAndThreadsDiffer)
{
    Pool pool(3);
    ASSERT_EQ(pool.count, 3u);
    std::set<uint32_t> ids;
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(pool.tasks[i].taskIndex, i);
        EXPECT_NE(pool.tasks[i].thread.id, 0u);
        ids.insert(pool.tasks[i].thread.id);
    }
    EXPECT_EQ(ids.size(), 3u);
}

TEST(MPTasks, TheDiagnosticLogsThreadAndArgument)
{
    Pool pool(3);
    LogCatch log;
    MPDiagnose(42, pool.count, pool.tasks);
    for (uint32_t i = 0; i < 3; ++i)
        EXPECT_NE(log.Text().find("MP task " + std::to_string(pool.tasks[i].thread.id) + " was passed 42\n"),
                  std::string::npos);
    MPDiagnose(7, 1, nullptr);
}

TEST(MPTasks, BandsCoverTheRowsAsTold)
{
    EnginePtr engine = MakeEngine();
    const OCSettings grade = NeutralGrade();
    LogCatch log;
    const struct {
        uint32_t workers, rows;
        std::vector<uint32_t> bands;
    } cases[] = {
        {4, 10, {2, 2, 2, 4}}, {4, 8, {2, 2, 2, 2}}, {3, 17, {5, 5, 7}}, {2, 9, {4, 5}}, {7, 8, {1, 1, 1, 1, 1, 1, 2}}};
    for (const auto& c : cases) {
        Pool pool(c.workers);
        const FramePtr source = NoiseFrame(8, c.rows, 1), result = MakeFrame(8, c.rows);
        ProcessImage(engine.get(), source.get(), result.get(), &grade, 5, pool.count, pool.tasks);
        EXPECT_EQ(BandsOf(pool), c.bands);
        uint32_t first = 0;
        for (uint32_t i = 0; i < c.workers; ++i) {
            const MPTask& task = pool.tasks[i];
            EXPECT_EQ(task.source.baseAddr, source->baseAddr + first * source->rowBytes);
            EXPECT_EQ(task.destination.baseAddr, result->baseAddr + first * result->rowBytes);
            EXPECT_EQ(task.source.planeBytes, source->planeBytes) << "planes stay where they are";
            EXPECT_EQ(task.source.tagPrimary, source->tagPrimary);
            EXPECT_EQ(task.command, mpProcessImage);
            EXPECT_EQ(task.settings, &grade);
            EXPECT_EQ(task.argument, 5u);
            first += c.bands[i];
        }
    }
}

TEST(MPTasks, SmallFramesRunOnTheCallingThread)
{
    EnginePtr engine = MakeEngine();
    const OCSettings grade = NeutralGrade();
    LogCatch log;
    const struct {
        uint32_t workers, rows;
        bool banded;
    } cases[] = {{2, 7, false}, {2, 8, true}, {9, 9, false}, {9, 10, true}, {16, 12, false}, {4, 1, false}};
    for (const auto& c : cases) {
        Pool pool(c.workers);
        const FramePtr source = NoiseFrame(8, c.rows, 1), result = MakeFrame(8, c.rows);
        ProcessImage(engine.get(), source.get(), result.get(), &grade, 0, pool.count, pool.tasks);
        EXPECT_EQ(pool.tasks[0].command == mpProcessImage, c.banded) << c.workers << " workers, " << c.rows << " rows";
        EXPECT_EQ(At(*result, 2, c.rows - 1, 7), At(*source, 2, c.rows - 1, 7));
    }
    Pool pool(2); // both frames must pass
    const FramePtr high = NoiseFrame(8, 20, 1), low = MakeFrame(8, 6);
    ProcessImage(engine.get(), high.get(), low.get(), &grade, 0, pool.count, pool.tasks);
    EXPECT_NE(pool.tasks[0].command, mpProcessImage);
    ProcessImage(engine.get(), high.get(), nullptr, &grade, 0, pool.count, pool.tasks);
    EXPECT_NE(pool.tasks[0].command, mpProcessImage);
}

TEST(MPTasks, AnArrayWithoutACountRunsOnTheCallingThread)
{
    EnginePtr engine = MakeEngine();
    LogCatch log;
    Pool pool(2);
    for (uint32_t count : {0u, 1u}) {
        const FramePtr source = NoiseFrame(8, 20, 1), result = MakeFrame(8, 20);
        ProcessImage(engine.get(), source.get(), result.get(), nullptr, 0, count, pool.tasks);
        EXPECT_TRUE(SameFloat(At(*result, 0, 19, 7), At(*source, 0, 19, 7))) << count;
        EXPECT_NE(pool.tasks[0].command, mpProcessImage) << count;
    }
}

TEST(MPTasks, ProcessImageLogsTheTaskCount)
{
    EnginePtr engine = MakeEngine();
    const FramePtr source = NoiseFrame(8, 20, 1), result = MakeFrame(8, 20);
    LogCatch log;
    ProcessImage(engine.get(), source.get(), result.get(), nullptr, 0, 1, nullptr);
    Pool pool(3);
    ProcessImage(engine.get(), source.get(), result.get(), nullptr, 0, pool.count, pool.tasks);
    EXPECT_EQ(log.Text(), "ProcessImage: 1\nProcessImage: 3\n");
}

TEST(MPTasks, AnyNumberOfWorkersGivesEqualBytes)
{
    LogCatch log;
    EnginePtr engine = MakeEngine();
    Random random(77);
    for (uint32_t height : {1u, 7u, 8u, 9u, 10u, 31u, 64u}) {
        const OCSettings grade = height == 9 ? NeutralGrade() : RandomGrade(random, (1u << toolCount) - 1, reachKnob);
        OCUpdateParameters(engine.get(), &grade);
        const FramePtr source = NoiseFrame(37, height, height), expected = MakeFrame(37, height);
        OCProcessImageBandScalar(*OCParametersOf(engine.get()), source.get(), expected.get());
        for (uint32_t workers : {1u, 2u, 3u, 4u, 5u, 8u, 13u}) {
            Pool pool(workers);
            const FramePtr seen = MakeFrame(37, height);
            for (int round = 0; round < 3; ++round) {
                ProcessImage(engine.get(), source.get(), seen.get(), &grade, 0, pool.count, pool.tasks);
                ASSERT_TRUE(SamePlanes(*expected, *seen, height)) << workers << " workers, " << height << " rows";
            }
        }
    }
}

TEST(MPTasks, FramesOfDifferentHeightAreBandedByTheirOwn)
{
    LogCatch log;
    EnginePtr engine = MakeEngine();
    Pool pool(2);
    const FramePtr source = NoiseFrame(8, 20, 3), result = MakeFrame(8, 10);
    ProcessImage(engine.get(), source.get(), result.get(), nullptr, 0, pool.count, pool.tasks);
    EXPECT_EQ(pool.tasks[1].source.height, 10u);
    EXPECT_EQ(pool.tasks[1].destination.height, 5u);
    for (uint32_t row = 0; row < 10; ++row) // each band from the top of its own
        EXPECT_TRUE(SameFloat(At(*result, 1, row, 3), At(*source, 1, row < 5 ? row : row + 5, 3))) << row;
}

TEST(MPTasks, TransfersInBandsEqualTransfersInOne)
{
    Random random(5);
    for (uint32_t height : {7u, 8u, 23u}) {
        for (uint32_t workers : {1u, 2u, 5u}) {
            Pool pool(workers);
            const FramePtr alone = MakeFrame(13, height), banded = MakeFrame(13, height);
            std::vector<uint32_t> pixels(size_t{15} * height), out(pixels.size(), 1), outBanded(pixels.size(), 1);
            for (uint32_t& word : pixels) word = static_cast<uint32_t>(random());
            FBTransferPixToFBFrameSSE(pixels.data(), 60, 0, pixFormatARGB8, alone.get());
            FBTransferPixToFBFrame(pixels.data(), 60, 0, pixFormatARGB8, banded.get(), pool.count, pool.tasks);
            ASSERT_TRUE(SamePlanes(*alone, *banded, height));
            FBTransferFBFrameToPixSSE(alone.get(), nullptr, out.data(), 60, pixFormatBGRA8);
            FBTransferFBFrameToPix(alone.get(), nullptr, outBanded.data(), 60, pixFormatBGRA8, pool.count, pool.tasks);
            EXPECT_EQ(out, outBanded) << workers << " workers, " << height << " rows";
            const FBRect part = {.top = 1, .left = 2, .bottom = 6, .right = 9};
            std::fill(outBanded.begin(), outBanded.end(), 1u);
            std::fill(out.begin(), out.end(), 1u);
            FBTransferFBFrameToPixSSE(alone.get(), &part, out.data(), 60, pixFormatARGB8);
            FBTransferFBFrameToPix(alone.get(), &part, outBanded.data(), 60, pixFormatARGB8, pool.count, pool.tasks);
            EXPECT_EQ(out, outBanded);
        }
    }
}

TEST(MPTasks, LUTsAndLumaRangesInBandsEqualThoseInOne)
{
    EnginePtr engine = MakeEngine();
    Random random(6);
    uint8_t table[768];
    for (uint8_t& entry : table) entry = static_cast<uint8_t>(random());
    for (uint32_t height : {7u, 8u, 23u}) {
        std::vector<uint32_t> pixels(size_t{16} * height);
        for (uint32_t& word : pixels) word = static_cast<uint32_t>(random());
        const FramePtr source = NoiseFrame(16, height, 9);
        std::vector<uint32_t> alone = pixels, greys(pixels.size());
        FBApplyLUTBand(reinterpret_cast<uint8_t*>(alone.data()), 16, height, 64, table, pixFormatARGB8);
        OCRenderLumaRangesBand(engine.get(), source.get(), greys.data(), 64, pixFormatARGB8);
        for (uint32_t workers : {1u, 2u, 5u}) {
            Pool pool(workers);
            std::vector<uint32_t> banded = pixels, greysBanded(pixels.size());
            FBApplyLUT(reinterpret_cast<uint8_t*>(banded.data()), 16, height, 64, table, pixFormatARGB8, pool.count,
                       pool.tasks);
            EXPECT_EQ(alone, banded);
            OCRenderLumaRanges(engine.get(), source.get(), greysBanded.data(), 64, pixFormatARGB8, pool.count,
                               pool.tasks);
            EXPECT_EQ(greys, greysBanded);
        }
    }
}

TEST(MPTasks, AFunctionRunsOnceForEachTaskAndIsForgotten)
{
    struct Seen {
        uint32_t runs[5] = {};
    };
    const auto count = [](void* context, uint32_t index) { ++static_cast<Seen*>(context)->runs[index]; };
    for (uint32_t tasks = 1; tasks <= 4; ++tasks) {
        Pool pool(tasks);
        Seen seen;
        MPRunEach(count, &seen, pool.count, pool.tasks);
        MPRunEach(count, &seen, pool.count, pool.tasks);
        for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(seen.runs[i], i < pool.count ? 2u : 0u) << tasks << ", " << i;
        for (uint32_t i = 0; pool.tasks && i < pool.count; ++i) EXPECT_EQ(pool.tasks[i].each, nullptr);
    }
    // Without workers every part runs on this thread.
    Seen seen;
    MPRunEach(count, &seen, 3, nullptr);
    EXPECT_EQ(seen.runs[0] + seen.runs[1] + seen.runs[2], 3u);
}

TEST(MPTasks, TheCallerRunsItsErrandOnceBesideTheWorkers)
{
    struct Seen {
        std::atomic<uint32_t> runs{0};
    };
    const auto run = [](void* context, uint32_t) { ++static_cast<Seen*>(context)->runs; };
    for (uint32_t tasks = 1; tasks <= 4; ++tasks) {
        Pool pool(tasks);
        Seen seen;
        const std::thread::id caller = std::this_thread::get_id();
        uint32_t errands = 0;
        auto errand = [&] {
            ++errands;
            EXPECT_EQ(std::this_thread::get_id(), caller);
            // With workers the parts need nobody else; without them nothing has begun.
            if (!pool.tasks) {
                EXPECT_EQ(seen.runs, 0u);
            }
            while (pool.tasks && seen.runs < pool.count) std::this_thread::yield();
        };
        MPRunEach(run, &seen, pool.count, pool.tasks, MPErrandOf(errand));
        EXPECT_EQ(errands, 1u);
        EXPECT_EQ(seen.runs, pool.count);
    }
}

TEST(MPTasks, CommandsWithoutWorkAreAnsweredAndUnknownOnesEndTheThread)
{
    Pool pool(2);
    for (MPCommand command : {mpNothing, mpMedia, mpNothing}) {
        pool.tasks[0].command = command;
        BPSignalEvent(&pool.tasks[0].startEvent);
        BPWaitEvent(&pool.tasks[0].doneEvent);
    }
    pool.tasks[1].command = static_cast<MPCommand>(99);
    BPSignalEvent(&pool.tasks[1].startEvent);
    BPWaitEvent(&pool.tasks[1].doneEvent);
}
