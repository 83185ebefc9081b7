// What the tests of the platform share: a world of their own for each test, and other processes.
#pragma once

#include "src/platform/BPPlatform.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/types.h>
#include <unistd.h>

/// Each test gets a fresh folder with a runtime and a configuration folder, the platform's table, and the log.
class PlatformTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// A path below the test's folder.
    std::string Path(const std::string& name) const { return folder_ + "/" + name; }

    /// The path of a block or a channel.
    std::string RuntimePath(const std::string& name) const { return Path("runtime/ochrine/" + name); }

    std::string folder_;
    BPPlatform platform_ = {};
    std::string log_;
};

/// A child process that the test forked. It is killed and reaped at the latest with this record.
class Child {
  public:
    /// Runs `body` in the child; what it returns is the exit code.
    template <typename Body> explicit Child(Body body)
    {
        process_ = fork();
        if (process_ == 0) _exit(body());
    }
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t Id() const { return process_; }
    void Kill() const;

    /// Waits for the end: the exit code, or 128 + the signal.
    int Wait();

  private:
    pid_t process_ = -1;
};

/// Runs `body` in a child to its end.
template <typename Body> int RunInChild(Body body)
{
    return Child(body).Wait();
}

/// A pipe by which processes wait for each other.
class Gate {
  public:
    Gate();
    ~Gate();
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void Open() const;

    /// False when nobody is left to open it, or after 20 seconds.
    bool Wait() const;

  private:
    int ends_[2] = {-1, -1};
};

size_t CountDescriptors();
bool WriteWhole(const std::string& path, const std::string& bytes, mode_t mode = 0600);
std::string ReadWhole(const std::string& path);
bool Exists(const std::string& path);

/// The names in a folder, sorted.
std::vector<std::string> NamesIn(const std::string& path);

/// Makes file modes hold for this process even when it runs as root. False when that is refused.
bool ObeyFileModes();

/// True under a sanitizer that reports the signals of faults itself.
bool FaultsAreReported();
