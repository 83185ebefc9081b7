#include "src/platform/BPProcess.h"

#include "tests/platform/PlatformTest.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace {

class BPProcessOnLinux : public PlatformTest {
  protected:
    const BPProcessOps& Ops() const { return platform_.process; }

    BPStatus Spawn(std::vector<const char*> words, uint32_t* process)
    {
        words.push_back(nullptr);
        return Ops().spawn(words.data(), process);
    }

    /// Waits for the child's end; -1 when it does not come.
    int32_t Reap(uint32_t process)
    {
        int32_t code = -1;
        for (int wait = 0; wait < 2000; ++wait) {
            if (Ops().reap(process, &code) == bpNoErr) return code;
            usleep(10000);
        }
        return -1;
    }
};

/// Waits until the process has ended, without taking its exit code.
void AwaitZombie(pid_t process)
{
    siginfo_t info;
    while (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
}

/// From now on the system refuses this process to make process descriptors, with this error.
bool RefuseDescriptors(uint32_t error)
{
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog program = {.len = 4, .filter = rules};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace

TEST_F(BPProcessOnLinux, WeAreAliveAndHaveProcessors)
{
    EXPECT_EQ(Ops().currentId(), static_cast<uint32_t>(getpid()));
    BPProcessWatch watch;
    ASSERT_EQ(Ops().watch(Ops().currentId(), &watch), bpNoErr);
    EXPECT_TRUE(Ops().isAlive(&watch));
    Ops().unwatch(&watch);
    EXPECT_EQ(watch.handle, 0u);
    EXPECT_FALSE(Ops().isAlive(&watch));
    Ops().unwatch(&watch);
    cpu_set_t set;
    ASSERT_EQ(sched_getaffinity(0, sizeof set, &set), 0);
    EXPECT_EQ(Ops().processorCount(), static_cast<uint32_t>(CPU_COUNT(&set)));
}

TEST_F(BPProcessOnLinux, OnlyProcessorsThatWeMayUseCount)
{
    EXPECT_EQ(RunInChild([this] {
                  cpu_set_t set;
                  sched_getaffinity(0, sizeof set, &set);
                  int first = 0;
                  while (!CPU_ISSET(first, &set)) first++;
                  CPU_ZERO(&set);
                  CPU_SET(first, &set);
                  if (sched_setaffinity(0, sizeof set, &set) != 0) return 100;
                  return static_cast<int>(Ops().processorCount());
              }),
              1);
}

TEST_F(BPProcessOnLinux, KilledProcessIsGoneBeforeItIsReaped)
{
    Child child([] {
        pause();
        return 0;
    });
    const uint32_t id = static_cast<uint32_t>(child.Id());
    BPProcessWatch watch;
    ASSERT_EQ(Ops().watch(id, &watch), bpNoErr);
    EXPECT_TRUE(Ops().isAlive(&watch));
    child.Kill();
    AwaitZombie(child.Id());
    EXPECT_FALSE(Ops().isAlive(&watch));
    BPProcessWatch late;
    ASSERT_EQ(Ops().watch(id, &late), bpNoErr);
    EXPECT_FALSE(Ops().isAlive(&late));
    child.Wait();
    EXPECT_FALSE(Ops().isAlive(&watch));
    EXPECT_FALSE(Ops().isAlive(&late));
    Ops().unwatch(&watch);
    Ops().unwatch(&late);
    EXPECT_EQ(Ops().watch(id, &watch), bpNotFoundErr);
    EXPECT_EQ(watch.handle, 0u);
}

TEST_F(BPProcessOnLinux, StoppedProcessLives)
{
    Child child([] {
        pause();
        return 0;
    });
    BPProcessWatch watch;
    ASSERT_EQ(Ops().watch(static_cast<uint32_t>(child.Id()), &watch), bpNoErr);
    kill(child.Id(), SIGSTOP);
    siginfo_t info;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child.Id()), &info, WSTOPPED | WNOWAIT), 0);
    EXPECT_TRUE(Ops().isAlive(&watch));
    Ops().unwatch(&watch);
}

TEST_F(BPProcessOnLinux, NumbersThatAreNoProcessAreTold)
{
    const size_t before = CountDescriptors();
    BPProcessWatch watch;
    for (const uint32_t id : {0u, static_cast<uint32_t>(INT_MAX), 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Ops().watch(id, &watch), bpNotFoundErr) << id;
        EXPECT_EQ(watch.handle, 0u);
        int32_t code = 77;
        EXPECT_EQ(Ops().reap(id, &code), bpNotFoundErr) << id;
        EXPECT_EQ(code, 77);
    }
    EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(BPProcessOnLinux, RefusedDescriptorMeansAliveAsLongAsTheProcessIs)
{
    for (const uint32_t error : {static_cast<uint32_t>(EPERM), static_cast<uint32_t>(ENOSYS)}) {
        EXPECT_EQ(RunInChild([&] {
                      Child peer([] {
                          pause();
                          return 0;
                      });
                      if (!RefuseDescriptors(error)) return 1;
                      const uint32_t id = static_cast<uint32_t>(peer.Id());
                      BPProcessWatch watch, first;
                      if (Ops().watch(id, &watch) != bpNoErr) return 2;
                      if (!Ops().isAlive(&watch)) return 3;
                      if (Ops().watch(1, &first) != bpNoErr || !Ops().isAlive(&first)) return 4;
                      peer.Kill();
                      AwaitZombie(peer.Id());
                      if (Ops().isAlive(&watch)) return 5;
                      peer.Wait();
                      if (Ops().isAlive(&watch)) return 6;
                      Ops().unwatch(&watch);
                      if (watch.handle != 0) return 7;
                      return Ops().watch(id, &watch) == bpNotFoundErr ? 0 : 8;
                  }),
                  0)
            << error;
    }
}

TEST_F(BPProcessOnLinux, WatchOfAnotherUsersProcessWorks)
{
    EXPECT_EQ(RunInChild([this] {
                  if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) return 1;
                  BPProcessWatch watch;
                  if (Ops().watch(1, &watch) != bpNoErr) return 2;
                  return Ops().isAlive(&watch) ? 0 : 3;
              }),
              0);
}

TEST_F(BPProcessOnLinux, ChildrenAreStartedAndReaped)
{
    uint32_t process = 0;
    ASSERT_EQ(Spawn({"sh", "-c", "exit 7"}, &process), bpNoErr);
    EXPECT_NE(process, 0u);
    EXPECT_EQ(Reap(process), 7);
    int32_t code = 0;
    EXPECT_EQ(Ops().reap(process, &code), bpNotFoundErr);
    ASSERT_EQ(Spawn({"sh", "-c", "kill -9 $$"}, &process), bpNoErr);
    EXPECT_EQ(Reap(process), 128 + SIGKILL);
    ASSERT_EQ(Spawn({"sh", "-c", "test \"$1\" = 'a b \"c\"'", "sh", "a b \"c\""}, &process), bpNoErr);
    EXPECT_EQ(Reap(process), 0);
}

TEST_F(BPProcessOnLinux, RunningChildIsNotReaped)
{
    uint32_t process = 0;
    ASSERT_EQ(Spawn({"sleep", "30"}, &process), bpNoErr);
    int32_t code = 77;
    EXPECT_EQ(Ops().reap(process, &code), bpNotFoundErr);
    EXPECT_EQ(code, 77);
    kill(static_cast<pid_t>(process), SIGTERM);
    EXPECT_EQ(Reap(process), 128 + SIGTERM);
    EXPECT_EQ(Ops().reap(1, &code), bpNotFoundErr); // not ours
}

TEST_F(BPProcessOnLinux, MissingProgramsAreTold)
{
    const std::string path = getenv("PATH") != nullptr ? getenv("PATH") : "";
    setenv("PATH", "/usr/bin:/bin", 1); // a folder that we may not search would be the error
    uint32_t process = 5;
    EXPECT_EQ(Spawn({"no-such-program-of-ours"}, &process), bpFileNotFoundErr);
    EXPECT_EQ(process, 0u);
    EXPECT_EQ(Spawn({"/no/such/program"}, &process), bpFileNotFoundErr);
    ASSERT_TRUE(WriteWhole(Path("plain"), "text"));
    EXPECT_EQ(Spawn({Path("plain").c_str()}, &process), bpPermissionErr);
    EXPECT_EQ(Spawn({}, &process), bpParamErr);
    EXPECT_EQ(Ops().spawn(nullptr, &process), bpParamErr);
    setenv("PATH", path.c_str(), 1);
}

TEST_F(BPProcessOnLinux, ChildrenStartWithCleanSignals)
{
    sigset_t set, before;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, &before);
    const auto handler = signal(SIGPIPE, SIG_IGN);
    uint32_t process = 0;
    const char* script = "grep -q '^SigBlk:[[:space:]]*0*$' /proc/self/status && "
                         "! grep -q '^SigIgn:.*[13579bdf]...$' /proc/self/status";
    ASSERT_EQ(Spawn({"sh", "-c", script}, &process), bpNoErr);
    EXPECT_EQ(Reap(process), 0);
    signal(SIGPIPE, handler);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(BPProcessOnLinux, WatchesDoNotLeakDescriptors)
{
    const size_t before = CountDescriptors();
    for (int round = 0; round < 50; ++round) {
        BPProcessWatch watch;
        ASSERT_EQ(Ops().watch(Ops().currentId(), &watch), bpNoErr);
        Ops().unwatch(&watch);
    }
    EXPECT_EQ(CountDescriptors(), before);
}
