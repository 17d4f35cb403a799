#include "tests/toolkit/run_program.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace rz_test {

Finished rzobl(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    std::string name = RZOBL_PROGRAM;
    std::vector<std::string> copies = arguments;
    argv.push_back(name.data());
    for (std::string& copy : copies) argv.push_back(copy.data());
    argv.push_back(nullptr);

    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork");
    if (child == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err[1]);

    Finished run;
    pollfd ends[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* const texts[2] = {&run.out, &run.err};
    int open = 2;
    while (open > 0) {
        if (poll(ends, 2, -1) < 0 && errno != EINTR) break;
        for (int i = 0; i < 2; ++i) {
            if (ends[i].fd < 0 || ends[i].revents == 0) continue;
            char buffer[4096];
            const ssize_t count = read(ends[i].fd, buffer, sizeof buffer);
            if (count > 0) {
                texts[i]->append(buffer, static_cast<std::size_t>(count));
            } else {
                close(ends[i].fd);
                ends[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    waitpid(child, &status, 0);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}

std::string refusal_of(const Finished& run) {
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.err.compare(0, 7, "rzobl: "), 0) << run.err;
    EXPECT_TRUE(run.err.size() > 20 && run.err.compare(run.err.size() - 2, 2, ".\n") == 0) << run.err;
    return run.err;
}

}  // namespace rz_test
