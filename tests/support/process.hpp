#pragma once

#include "support/files.hpp"

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvel::test {

// Signals whose default action ends the process (SIGKILL aside), a sample of each kind;
// the faults only where AddressSanitizer has not taken them over.
inline const int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGXCPU,
                                     SIGVTALRM, SIGPROF, SIGABRT, SIGSYS, SIGRTMIN,
#ifndef __SANITIZE_ADDRESS__
                                     SIGBUS, SIGSEGV,
#endif
};

// Starts sd2wav in `folder` without a shell, stdout on `out` and stderr on `err` (else
// /dev/null) and `closed` (a standard descriptor) closed, and returns its process id.
inline pid_t startSd2wav(const std::filesystem::path& folder, const std::vector<std::string>& args, int out = -1,
                         int err = -1, int closed = -1)
{
    std::vector<std::string> words{SD2WAV_PATH};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        const int null = ::open("/dev/null", O_RDWR);
        if (::chdir(folder.c_str()) != 0 || null < 0)
            _exit(99);
        ::dup2(null, STDIN_FILENO);
        ::dup2(out >= 0 ? out : null, STDOUT_FILENO);
        ::dup2(err >= 0 ? err : null, STDERR_FILENO);
        if (closed >= 0)
            ::close(closed);
        // As from a terminal, even when the test runs as a background job (SIGINT ignored).
        for (const int signal : kEndingSignals)
            ::signal(signal, SIG_DFL);
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        ::execv(argv[0], argv.data());
        _exit(98);
    }
    return pid;
}

struct Outcome {
    int exitCode;
    std::string out, err;
};

// Runs sd2wav in `folder` to its end; what it prints passes through two files there.
inline Outcome runSd2wav(const std::filesystem::path& folder, const std::vector<std::string>& args)
{
    const std::filesystem::path outFile = folder / "stdout.txt", errFile = folder / "stderr.txt";
    const int out = ::open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const int err = ::open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    int status = 0;
    ::waitpid(startSd2wav(folder, args, out, err), &status, 0);
    ::close(out);
    ::close(err);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(outFile), slurp(errFile)};
}

// What a shell command prints on standard output.
inline std::string commandOutput(const std::string& command)
{
    std::string out;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[256];
        while (std::fgets(buffer, sizeof buffer, pipe))
            out += buffer;
        ::pclose(pipe);
    }
    return out;
}

} // namespace quorvel::test
