#include "tests/platform/PlatformTest.h"

#include "src/platform/BPLog.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/capability.h>
#include <poll.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

void PlatformTest::SetUp()
{
    // All tests share one base, as the program was given it; each takes a folder in it.
    static const std::string base = getenv("XDG_RUNTIME_DIR") != nullptr ? getenv("XDG_RUNTIME_DIR") : "/tmp";
    std::string pattern = base + "/testXXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr) << pattern;
    folder_ = pattern;
    ASSERT_EQ(mkdir(Path("runtime").c_str(), 0700), 0);
    setenv("XDG_RUNTIME_DIR", Path("runtime").c_str(), 1);
    setenv("XDG_CONFIG_HOME", Path("config").c_str(), 1);
    BPFillLinuxPlatform(&platform_);
    BPSetLogSink([](void* context, const char* bytes,
                    size_t byteCount) { static_cast<std::string*>(context)->append(bytes, byteCount); },
                 &log_);
}

void PlatformTest::TearDown()
{
    BPSetLogSink(nullptr, nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

Child::~Child()
{
    if (process_ <= 0) return;
    Kill();
    Wait();
}

void Child::Kill() const
{
    if (process_ > 0) kill(process_, SIGKILL);
}

int Child::Wait()
{
    if (process_ <= 0) return -1;
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Gate::Gate()
{
    if (pipe2(ends_, O_CLOEXEC) != 0) abort();
}

Gate::~Gate()
{
    close(ends_[0]);
    close(ends_[1]);
}

void Gate::Open() const
{
    if (write(ends_[1], "x", 1) != 1) abort();
}

bool Gate::Wait() const
{
    pollfd request = {.fd = ends_[0], .events = POLLIN, .revents = 0};
    if (poll(&request, 1, 20000) <= 0) return false;
    char byte = 0;
    return read(ends_[0], &byte, 1) == 1;
}

size_t CountDescriptors()
{
    return NamesIn("/proc/self/fd").size();
}

bool WriteWhole(const std::string& path, const std::string& bytes, mode_t mode)
{
    std::ofstream(path, std::ios::binary) << bytes;
    return chmod(path.c_str(), mode) == 0 && ReadWhole(path) == bytes;
}

std::string ReadWhole(const std::string& path)
{
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

bool Exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

std::vector<std::string> NamesIn(const std::string& path)
{
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(path, ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool ObeyFileModes()
{
    __user_cap_header_struct header = {.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    return syscall(SYS_capset, &header, none) == 0;
}

bool FaultsAreReported()
{
#if defined(OC_SANITIZES_MEMORY) || defined(OC_SANITIZES_THREADS)
    return true;
#else
    return false;
#endif
}
