// Lines of commands.
#include "host/HostServe.h"

#include "host/HostProgress.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr size_t kLineLimit = 256; // what is longer is no command
constexpr int kPollMs = 200;       // a signal may come between the look and the wait

std::string gRest; // what was read behind the last line; main thread

/// Reads more. False at the end of the input.
bool ReadMore()
{
    char bytes[256];
    const ssize_t got = read(STDIN_FILENO, bytes, sizeof bytes);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return true;
    if (got <= 0) return false;
    gRest.append(bytes, static_cast<size_t>(got));
    if (gRest.find('\n') == std::string::npos && gRest.size() > kLineLimit) gRest.resize(kLineLimit);
    return true;
}

bool TakeLine(std::string* line)
{
    const size_t end = gRest.find('\n');
    if (end == std::string::npos) return false;
    *line = gRest.substr(0, end);
    gRest.erase(0, end + 1);
    return true;
}

} // namespace

bool ReadHostCommand(const std::string& line, HostCommand* command)
{
    constexpr char space[] = " \t\r";
    const size_t first = line.find_first_not_of(space);
    const std::string word =
        first == std::string::npos ? "" : line.substr(first, line.find_last_not_of(space) - first + 1);
    if (word.empty() || word == "open") {
        *command = HostCommand::open;
        return true;
    }
    if (word == "q" || word == "quit") {
        *command = HostCommand::quit;
        return true;
    }
    return false;
}

HostCommand HostAwaitCommand()
{
    for (;;) {
        std::string line;
        while (TakeLine(&line)) {
            HostCommand command;
            if (ReadHostCommand(line, &command)) return command;
            HostComplain("\"%.40s\" is no command; \"open\" and \"quit\" are", line.c_str());
        }
        if (HostIsInterrupted()) return HostCommand::interrupted;
        pollfd request = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
        if (poll(&request, 1, kPollMs) > 0 && !ReadMore()) return HostCommand::quit;
    }
}
