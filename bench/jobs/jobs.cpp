#include "bench/jobs/jobs.h"

#include <algorithm>
#include <iterator>

#include "bench/jobs/planar/planar.h"

namespace rz_bench {
namespace {

std::vector<Case> planar_job(Volume& volume, const std::string& name) {
    std::vector<Case> cases;
    for (Case& c : planar_cases(volume)) {
        if (c.job == name) cases.push_back(std::move(c));
    }
    return cases;
}

std::vector<Case> plane(Volume& phantom, MadeVolumes&) {
    return planar_job(phantom, "plane");
}

std::vector<Case> slab(Volume& phantom, MadeVolumes&) {
    return planar_job(phantom, "slab");
}

std::vector<Case> slab_fast(Volume& phantom, MadeVolumes&) {
    return planar_job(phantom, "slab-fast");
}

std::vector<Case> cubic(Volume& phantom, MadeVolumes&) {
    return planar_job(phantom, "cubic");
}

std::vector<Case> bytes(Volume& phantom, MadeVolumes& made) {
    made.push_back(make_phantom_of_kind(phantom, Kind::kUInt8));
    return byte_cases(*made.back());
}

std::vector<Case> colour(Volume& phantom, MadeVolumes& made) {
    made.push_back(make_phantom_of_kind(phantom, Kind::kPixels));
    return colour_cases(*made.back());
}

}  // namespace

const std::vector<Job>& all_jobs() {
    static const std::vector<Job> jobs = {
        {"plane", plane}, {"slab", slab},   {"slab-fast", slab_fast},
        {"cubic", cubic}, {"8-bit", bytes}, {"32-bit", colour},
    };
    return jobs;
}

}  // namespace rz_bench
