#include <sys/wait.h>
#include <unistd.h>
#include <chrono>
#include <stdexcept>

#include "bench/jobs/first_call/first_call.h"
#include "bench/jobs/planar/planar.h"

namespace rz_bench {
namespace {

double seconds_in_a_fork(const std::function<Contender()>& make) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        const Contender contender = make();
        if (contender.prepare) contender.prepare(0);
        const auto start = std::chrono::steady_clock::now();
        contender.run(0);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const bool sent = write(ends[1], &seconds, sizeof seconds) == sizeof seconds;
        _exit(sent ? 0 : 1);
    }
    close(ends[1]);
    double seconds = 0.0;
    const bool got = read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (!got) throw std::runtime_error("a first call did not come back");
    return seconds;
}

Contender first_call(const std::string& name, std::function<Contender()> make) {
    Contender contender;
    contender.name = name;
    contender.selfTimed = [make = std::move(make)] { return seconds_in_a_fork(make); };
    return contender;
}

}  // namespace

std::vector<Case> first_call_cases(Volume& volume) {
    PlanarRequest linear{};
    linear.orientation = turned(25, 20);
    linear.centre = {255.8, 255.3, 199.6};
    linear.width = linear.height = 512;
    linear.pixel = 0.85;
    linear.quality = RZ_OBL_RenditionQuality::Linear;
    PlanarRequest cubic = linear;
    cubic.quality = RZ_OBL_RenditionQuality::Cubic;

    std::vector<Case> cases;
    for (const bool isCubic : {false, true}) {
        const PlanarRequest request = isCubic ? cubic : linear;
        Case c;
        c.job = "first-call";
        c.name = isCubic ? "cubic plane, first of a process" : "linear plane, first of a process";
        c.volume = volume.name;
        c.work = isCubic ? "512 x 512, table included" : "512 x 512";
        c.samples = request.samples();
        c.contenders.push_back([&volume, request] {
            return first_call("ours", [&volume, request] { return planar_ours(volume, request); });
        });
#ifdef RZ_BENCH_PEERS
        c.contenders.push_back([&volume, request] {
            return first_call("VTK", [&volume, request] { return planar_vtk(volume, request); });
        });
#endif
        cases.push_back(c);
    }
    // the same plane, drawn again
    Case again;
    again.job = "first-call";
    again.name = "linear plane, drawn again";
    again.volume = volume.name;
    again.work = "512 x 512";
    again.samples = linear.samples();
    again.tolerance = {5.0, 4.0, 0.0};
    again.reference = [&volume, linear](const Picture& ours) {
        return planar_reference(volume, linear, ours);
    };
    again.contenders.push_back([&volume, linear] { return planar_ours(volume, linear); });
#ifdef RZ_BENCH_PEERS
    again.contenders.push_back([&volume, linear] { return planar_vtk(volume, linear); });
#endif
    cases.push_back(again);
    return cases;
}

}  // namespace rz_bench
