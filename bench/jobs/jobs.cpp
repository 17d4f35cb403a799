#include "bench/jobs/jobs.h"

#include <algorithm>
#include <iterator>

#include "bench/jobs/combine/combine.h"
#include "bench/jobs/curved/curved.h"
#include "bench/jobs/first_call/first_call.h"
#include "bench/jobs/planar/planar.h"
#include "bench/jobs/resample/resample.h"
#include "bench/jobs/restack/restack.h"
#include "bench/jobs/subtract/subtract.h"
#include "bench/jobs/weights/weights.h"

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

std::vector<Case> curved(Volume& phantom, MadeVolumes&) {
    return curved_cases(phantom);
}

std::vector<Case> combine(Volume& phantom, MadeVolumes& made) {
    made.push_back(make_stack(phantom));
    return combine_cases(*made.back());
}

std::vector<Case> subtract(Volume& phantom, MadeVolumes& made) {
    made.push_back(make_stack(phantom));
    std::vector<Case> cases = subtract_cases(*made.back());
    made.push_back(make_byte_stack(*made.back()));
    for (Case& c : subtract_cases(*made.back())) cases.push_back(std::move(c));
    return cases;
}

std::vector<Case> resample(Volume& phantom, MadeVolumes&) {
    return resample_cases(phantom);
}

std::vector<Case> restack(Volume& phantom, MadeVolumes&) {
    return restack_cases(phantom);
}

std::vector<Case> weights(Volume&, MadeVolumes&) {
    return weights_cases();
}

std::vector<Case> first_call(Volume& phantom, MadeVolumes&) {
    return first_call_cases(phantom);
}

}  // namespace

const std::vector<Job>& all_jobs() {
    static const std::vector<Job> jobs = {
        {"first-call", first_call},  // before any other has called the library
        {"plane", plane},           {"slab", slab},         {"slab-fast", slab_fast}, {"cubic", cubic},
        {"8-bit", bytes},           {"32-bit", colour},     {"curved", curved},       {"combine", combine},
        {"subtract", subtract},     {"resample", resample}, {"restack", restack},     {"weights", weights},
    };
    return jobs;
}

}  // namespace rz_bench
