#include "src/platform/BPLog.h"

#include "tests/platform/PlatformTest.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <set>
#include <sys/ioctl.h>
#include <thread>
#include <vector>

namespace {

class BPLog : public PlatformTest {
  protected:
    void TearDown() override
    {
        BPSetReportHandler(nullptr, nullptr);
        PlatformTest::TearDown();
    }
};

/// Runs `body` with a pipe as standard error and returns what came out.
template <typename Body> std::string StandardErrorOf(Body body)
{
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    (void)fcntl(ends[1], F_SETPIPE_SZ, 1 << 20);
    const int before = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    BPSetLogSink(nullptr, nullptr);
    body();
    int waiting = 0;
    ioctl(ends[0], FIONREAD, &waiting);
    dup2(before, STDERR_FILENO);
    close(before);
    close(ends[1]);
    std::string text(static_cast<size_t>(waiting), 0);
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t got = read(ends[0], text.data() + done, text.size() - done);
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    close(ends[0]);
    return text;
}

struct Reports {
    std::vector<std::string> lines;
    bool failsItself = false;
};

void KeepReport(void* context, const char* title, const char* text)
{
    Reports* reports = static_cast<Reports*>(context);
    reports->lines.push_back(std::string(title) + "|" + text);
    if (reports->failsItself) BPAssertFailed("inner", "Handler", 1);
}

} // namespace

TEST_F(BPLog, LineGoesToStandardErrorAtOnceAndAsItIs)
{
    EXPECT_EQ(StandardErrorOf([] {
                  BPDebugLog("ProcessImage: %d\n", 7);
                  BPDebugLog("no end at 0x%x", 255u);
              }),
              "ProcessImage: 7\nno end at 0xff");
}

TEST_F(BPLog, LineIsCutAt4095BytesAndStillEnds)
{
    struct Case {
        size_t written, kept;
    };
    for (const Case& row :
         {Case{4094, 4094}, Case{4095, 4095}, Case{4096, 4095}, Case{5000, 4095}, Case{100000, 4095}}) {
        log_.clear();
        const std::string text = std::string(row.written - 1, 'x') + "\n";
        BPDebugLog("%s", text.c_str());
        EXPECT_EQ(log_.size(), row.kept) << row.written;
        EXPECT_EQ(log_.back(), '\n') << row.written;
        EXPECT_EQ(log_.find_first_not_of('x'), row.kept - 1) << row.written;
    }
}

TEST_F(BPLog, TaggedLineHasTagDateAndTime)
{
    BPDebugLogTagged("Ochrine 3 UI", "No data passed to %s.\n", "UI");
    // d stands for a digit, the rest for itself; the month is any three letters.
    const std::string form = "Ochrine 3 UI: (dd-Mmm-dddd dd:dd:dd) No data passed to UI.\n";
    ASSERT_EQ(log_.size(), form.size()) << log_;
    for (size_t at = 0; at < form.size(); ++at) {
        const bool inDate = at >= 15 && at < 35;
        if (inDate && form[at] == 'd') {
            EXPECT_TRUE(log_[at] >= '0' && log_[at] <= '9') << log_;
        } else if (inDate && (form[at] == 'm' || form[at] == 'M')) {
            EXPECT_EQ((log_[at] >= 'A' && log_[at] <= 'Z'), form[at] == 'M') << log_;
        } else {
            EXPECT_EQ(log_[at], form[at]) << log_;
        }
    }
}

TEST_F(BPLog, TaggedLineIsBoundedToo)
{
    BPDebugLogTagged("Tag", "%s\n", std::string(9000, 'x').c_str());
    EXPECT_EQ(log_.size(), 4095u);
    EXPECT_EQ(log_.back(), '\n');
}

TEST_F(BPLog, NumbersHaveAPointWhateverTheLocale)
{
    const char* const commaLocales[] = {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "nl_NL.UTF-8"};
    bool set = false;
    for (const char* name : commaLocales) set = set || setlocale(LC_NUMERIC, name) != nullptr;
    if (!set) GTEST_SKIP() << "this machine has no locale with a decimal comma";
    BPDebugLog("%1.2f\n", 1.5);
    setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(log_, "1.50\n");
}

TEST_F(BPLog, ErrnoIsKept)
{
    errno = 77;
    BPDebugLog("x\n");
    BPDebugLogTagged("a", "x\n");
    EXPECT_EQ(errno, 77);
}

TEST_F(BPLog, ReaderThatIsGoneDoesNotEndTheProcess)
{
    EXPECT_EQ(RunInChild([] {
                  BPSetLogSink(nullptr, nullptr);
                  signal(SIGPIPE, SIG_DFL);
                  int ends[2];
                  if (pipe(ends) != 0) return 1;
                  close(ends[0]);
                  dup2(ends[1], STDERR_FILENO);
                  BPDebugLog("nobody reads this\n");
                  sigset_t pending, mask;
                  sigpending(&pending);
                  sigprocmask(SIG_SETMASK, nullptr, &mask);
                  if (sigismember(&pending, SIGPIPE) != 0) return 2;
                  if (sigismember(&mask, SIGPIPE) != 0) return 3;
                  return 0;
              }),
              0);
}

TEST_F(BPLog, SignalOfSomebodyElseIsNotSwallowed)
{
    EXPECT_EQ(RunInChild([] {
                  BPSetLogSink(nullptr, nullptr);
                  sigset_t set;
                  sigemptyset(&set);
                  sigaddset(&set, SIGPIPE);
                  sigprocmask(SIG_BLOCK, &set, nullptr);
                  raise(SIGPIPE);
                  int ends[2];
                  if (pipe(ends) != 0) return 1;
                  close(ends[0]);
                  dup2(ends[1], STDERR_FILENO);
                  BPDebugLog("nobody reads this\n");
                  sigset_t pending;
                  sigpending(&pending);
                  return sigismember(&pending, SIGPIPE) == 1 ? 0 : 2;
              }),
              0);
}

TEST_F(BPLog, ClosedStandardErrorIsNoError)
{
    EXPECT_EQ(RunInChild([] {
                  BPSetLogSink(nullptr, nullptr);
                  close(STDERR_FILENO);
                  BPDebugLog("x\n");
                  return 0;
              }),
              0);
}

TEST_F(BPLog, FullPipeThatMayNotWaitDoesNotHang)
{
    EXPECT_EQ(RunInChild([] {
                  BPSetLogSink(nullptr, nullptr);
                  int ends[2];
                  if (pipe2(ends, O_NONBLOCK) != 0) return 1;
                  dup2(ends[1], STDERR_FILENO);
                  alarm(20);
                  for (int line = 0; line < 2000; ++line) BPDebugLog("%4000d\n", line);
                  return 0;
              }),
              0);
}

TEST_F(BPLog, LinesOfManyThreadsStayWhole)
{
    const std::string text = StandardErrorOf([] {
        std::vector<std::thread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([index] {
                for (int line = 0; line < 200; ++line) BPDebugLog("thread %d line %d of 200\n", index, line);
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    std::set<std::string> lines;
    for (size_t begin = 0, end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
        lines.insert(text.substr(begin, end - begin));
    }
    EXPECT_EQ(lines.size(), 800u);
    for (int index = 0; index < 4; ++index) {
        for (int line = 0; line < 200; ++line) {
            const std::string wanted = "thread " + std::to_string(index) + " line " + std::to_string(line) + " of 200";
            ASSERT_TRUE(lines.contains(wanted)) << wanted;
        }
    }
}

TEST_F(BPLog, AssertionIsReportedAndReturns)
{
    Reports reports;
    BPSetReportHandler(KeepReport, &reports);
    const int clipCount = -1;
    BP_ASSERT(clipCount >= 0, "TincturaCallbackWin");
    const int line = __LINE__ - 1;
    BP_ASSERT(clipCount < 0, "TincturaCallbackWin");
    const std::string text = "Assert (clipCount >= 0) failed. [TincturaCallbackWin: " + std::to_string(line) + "]";
    EXPECT_EQ(log_, text + "\n");
    ASSERT_EQ(reports.lines.size(), 1u);
    EXPECT_EQ(reports.lines[0], "Ochrine 3 UI|" + text);
}

TEST_F(BPLog, AssertionInTheHandlerGoesToTheLogAlone)
{
    Reports reports = {.lines = {}, .failsItself = true};
    BPSetReportHandler(KeepReport, &reports);
    BPAssertFailed("outer", "Test", 2);
    EXPECT_EQ(log_, "Assert (outer) failed. [Test: 2]\nAssert (inner) failed. [Handler: 1]\n");
    EXPECT_EQ(reports.lines.size(), 1u);
    BPAssertFailed("later", "Test", 3);
    EXPECT_EQ(reports.lines.size(), 2u);
}

TEST_F(BPLog, FatalErrorIsLoggedAndReported)
{
    BPFatalError("no handler yet", "Ochrine 3 UI");
    Reports reports;
    BPSetReportHandler(KeepReport, &reports);
    BPFatalError("Insufficient memory", "Ochrine 3 UI");
    EXPECT_EQ(log_, "Ochrine 3 UI: no handler yet\nOchrine 3 UI: Insufficient memory\n");
    ASSERT_EQ(reports.lines.size(), 1u);
    EXPECT_EQ(reports.lines[0], "Ochrine 3 UI|Insufficient memory");
}
