#include "bench/harness/peers_numpy.h"

#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <cstring>
#include <map>
#include <stdexcept>

namespace rz_bench {
namespace {

void write_all(int file, const void* bytes, std::size_t count) {
    const auto* at = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = write(file, at, count);
        if (written <= 0)
            throw std::runtime_error("NumPy: the other process is gone (is python3-numpy installed?)");
        at += written;
        count -= static_cast<std::size_t>(written);
    }
}

void read_all(int file, void* bytes, std::size_t count) {
    auto* at = static_cast<char*>(bytes);
    while (count > 0) {
        const ssize_t got = read(file, at, count);
        if (got <= 0)
            throw std::runtime_error("NumPy: the other process is gone (is python3-numpy installed?)");
        at += got;
        count -= static_cast<std::size_t>(got);
    }
}

}  // namespace

NumPy::NumPy(const Volume& volume) {
    std::signal(SIGPIPE, SIG_IGN);
    int down[2];
    int up[2];
    if (pipe(down) != 0 || pipe(up) != 0) throw std::runtime_error("NumPy: no pipe");
    child_ = fork();
    if (child_ == 0) {
        dup2(down[0], 0);
        dup2(up[1], 1);
        for (const int file : {down[0], down[1], up[0], up[1]}) close(file);
        execl("/usr/bin/python3", "python3", RZ_BENCH_SOURCE "/harness/numpy_peer.py",
              static_cast<char*>(nullptr));
        _exit(127);
    }
    close(down[0]);
    close(up[1]);
    toChild_ = down[1];
    fromChild_ = up[0];
    send(std::to_string(volume.size[2]) + " " + std::to_string(volume.size[1]) + " " +
         std::to_string(volume.size[0]));
    write_all(toChild_, volume.block(), volume.blockBytes());
    name_ = line();
}

NumPy::~NumPy() {
    close(toChild_);
    close(fromChild_);
    waitpid(child_, nullptr, 0);
}

void NumPy::send(const std::string& command) {
    const std::string text = command + "\n";
    write_all(toChild_, text.data(), text.size());
}

std::string NumPy::line() {
    std::string text;
    for (char c = 0; read_all(fromChild_, &c, 1), c != '\n';) text += c;
    return text;
}

double NumPy::run(const std::string& command) {
    send(command);
    return std::stod(line());
}

Picture NumPy::picture() {
    send("picture");
    Picture pixels(std::stoul(line()));
    read_all(fromChild_, pixels.data(), pixels.size() * sizeof(float));
    return pixels;
}

NumPy& NumPy::of(const Volume& volume) {
    // by number, since a later volume may stand where an earlier one stood
    static std::map<long, std::unique_ptr<NumPy>> running;
    auto& one = running[volume.number];
    if (!one) one = std::make_unique<NumPy>(volume);
    return *one;
}

}  // namespace rz_bench
