#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include "bench/harness/measure.h"
#include "bench/harness/report.h"
#include "bench/jobs/jobs.h"
#ifdef RZ_BENCH_PEERS
#include "bench/harness/peers_itk.h"
#include "bench/harness/peers_numpy.h"
#include "bench/harness/peers_opencv.h"
#include "bench/harness/peers_vtk.h"
#endif

namespace {

using namespace rz_bench;

constexpr const char* kHelp =
    "rz_bench [--job NAME] [--case PART] [--quick] [--ct FOLDER] [--json FILE] [--list]\n"
    "  --job NAME    this job only\n"
    "  --case PART   only cases whose name contains PART\n"
    "  --quick       fewer rounds; the work of each case stays the same\n"
    "  --ct FOLDER   planes and slabs of this CT series instead of the phantom\n"
    "  --json FILE   append a line for each case\n"
    "  --list        names of jobs\n";

struct Arguments {
    std::string job;
    std::string part;
    std::string ct;
    std::string json;
    bool quick = false;
    bool list = false;
};

Arguments parse(int argc, char** argv) {
    Arguments arguments;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&]() -> std::string {
            if (i + 1 == argc) throw std::runtime_error(word + " needs a value");
            return argv[++i];
        };
        if (word == "--job") {
            arguments.job = value();
        } else if (word == "--case") {
            arguments.part = value();
        } else if (word == "--ct") {
            arguments.ct = value();
        } else if (word == "--json") {
            arguments.json = value();
        } else if (word == "--quick") {
            arguments.quick = true;
        } else if (word == "--list") {
            arguments.list = true;
        } else {
            throw std::runtime_error(std::string("unknown argument ") + word + "\n" + kHelp);
        }
    }
    return arguments;
}

std::vector<std::string> versions(const Volume& volume) {
#ifdef RZ_BENCH_PEERS
    std::vector<std::string> names = {vtk_name(), itk_name(), opencv_name()};
    if (volume.kind == Kind::kInt16) names.push_back(NumPy::of(volume).name());
    return names;
#else
    static_cast<void>(volume);
    return {};
#endif
}

bool run_cases(const std::vector<Case>& cases, const Arguments& arguments, std::FILE* json) {
    const Effort effort = arguments.quick ? Effort{0.3, 2, 1} : Effort{};
    bool right = true;
    for (const Case& c : cases) {
        if (c.name.find(arguments.part) == std::string::npos) continue;
        try {
            const Result result = measure(c, effort);
            print_result(result);
            if (json) write_json(json, result);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "rz_bench: %s/%s: %s\n", c.job.c_str(), c.name.c_str(), error.what());
            right = false;
        }
    }
    return right;
}

int run(const Arguments& arguments) {
    if (arguments.list) {
        for (const Job& job : all_jobs()) std::printf("%s\n", job.name);
        return 0;
    }
    std::FILE* const json = arguments.json.empty() ? nullptr : std::fopen(arguments.json.c_str(), "a");
    if (!arguments.json.empty() && !json) throw std::runtime_error("cannot write " + arguments.json);
    const auto volume = arguments.ct.empty() ? make_phantom(512, 512, 400) : read_ct(arguments.ct);
    const std::vector<std::string> peers = versions(*volume);
    for (const std::string& peer : peers) std::printf("%s\n", peer.c_str());
    if (json) write_json_head(json, peers);

    bool right = true;
    bool found = false;
    for (const Job& job : all_jobs()) {
        if (!arguments.job.empty() && arguments.job != job.name) continue;
        found = true;
        // only planes and slabs know volumes of any size
        if (!arguments.ct.empty() && std::strcmp(job.name, "plane") != 0 &&
            std::strcmp(job.name, "slab") != 0 && std::strcmp(job.name, "cubic") != 0)
            continue;
        MadeVolumes made;
        const auto cases = job.make(*volume, made);
        right = run_cases(cases, arguments, json) && right;
    }
    if (json) std::fclose(json);
    if (!found) throw std::runtime_error("no job " + arguments.job + "; --list names them");
    return right ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "rz_bench: %s\n", error.what());
        return 1;
    }
}
