#include "localdrive/media/process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "localdrive/disk/unique_fd.h"

namespace localdrive {
namespace {

constexpr int Niceness = 10;

class FileActions final
{
public:
    FileActions() { posix_spawn_file_actions_init(&m_actions); }
    ~FileActions() { posix_spawn_file_actions_destroy(&m_actions); }
    FileActions(const FileActions &) = delete;
    FileActions &operator=(const FileActions &) = delete;

    posix_spawn_file_actions_t *get() { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

// A program of ours must not inherit that its parent blocks the end signals.
class CleanSignals final
{
public:
    CleanSignals()
    {
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK);
    }
    ~CleanSignals() { posix_spawnattr_destroy(&m_attributes); }
    CleanSignals(const CleanSignals &) = delete;
    CleanSignals &operator=(const CleanSignals &) = delete;

    posix_spawnattr_t *get() { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

std::string readAll(int fd)
{
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        const ssize_t count = ::read(fd, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return text;
        }
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
}

} // namespace

pid_t Processes::spawn(const std::vector<std::string> &command, int input, int output)
{
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);

    FileActions actions;
    if (input >= 0) {
        posix_spawn_file_actions_adddup2(actions.get(), input, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    posix_spawn_file_actions_adddup2(actions.get(), output, STDOUT_FILENO);
    if (!std::getenv("MORAVU_LOCALDRIVE_VERBOSE")) {
        posix_spawn_file_actions_addopen(actions.get(), STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    posix_spawn_file_actions_addclosefrom_np(actions.get(), STDERR_FILENO + 1);

    CleanSignals signals;
    pid_t pid = -1;
    const std::lock_guard lock(m_mutex);
    if (m_stopped || posix_spawnp(&pid, arguments[0], actions.get(), signals.get(),
                                  arguments.data(), environ) != 0) {
        return -1;
    }
    setpriority(PRIO_PROCESS, static_cast<id_t>(pid), Niceness);
    m_running.insert(pid);
    return pid;
}

Processes::Result Processes::run(const std::vector<std::string> &command, int input)
{
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    const UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    const pid_t pid = spawn(command, input, writeEnd.get());
    writeEnd = UniqueFd();
    if (pid < 0) {
        return {};
    }
    Result result;
    result.output = readAll(readEnd.get());
    int status = 0;
    siginfo_t ended{};
    // The id stays taken until it is off the list, so that stop() hits nobody else.
    while (::waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    {
        const std::lock_guard lock(m_mutex);
        m_running.erase(pid);
    }
    if (::waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
        result.exitCode = WEXITSTATUS(status);
    }
    return result;
}

void Processes::stop()
{
    const std::lock_guard lock(m_mutex);
    m_stopped = true;
    for (const pid_t pid : m_running) {
        ::kill(pid, SIGKILL);
    }
}

} // namespace localdrive
