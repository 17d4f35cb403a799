#include "bench/harness/report.h"

#include <fstream>

namespace rz_bench {
namespace {

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + '"';
}

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

#if defined(__clang__)
constexpr const char* kCompiler = "clang++ " __clang_version__;
#else
constexpr const char* kCompiler = "g++ " __VERSION__;
#endif

}  // namespace

void print_result(const Result& result) {
    std::printf("\n%s/%s  (%s, %s)\n", result.job.c_str(), result.name.c_str(), result.work.c_str(),
                result.volume.c_str());
    const double ours = result.timings.front().warmMs;
    for (const Timing& timing : result.timings) {
        std::printf("  %-16s %9.3f ms  %7.3f ns/sample", timing.name.c_str(), timing.warmMs,
                    timing.warmMs * 1e6 / result.samples);
        if (&timing != &result.timings.front()) std::printf("  %6.2f x ours", timing.warmMs / ours);
        if (timing.coldMs) std::printf("  first call %.3f ms", *timing.coldMs);
        std::printf("\n");
    }
    if (!result.proof.empty()) std::printf("  proven: %s\n", result.proof.c_str());
    std::fflush(stdout);
}

void write_json(std::FILE* file, const Result& result) {
    std::fprintf(file,
                 "{\"job\": %s, \"case\": %s, \"volume\": %s, \"work\": %s, \"samples\": %.0f, \"proof\": %s",
                 quoted(result.job).c_str(), quoted(result.name).c_str(), quoted(result.volume).c_str(),
                 quoted(result.work).c_str(), result.samples, quoted(result.proof).c_str());
    std::fprintf(file, ", \"timings\": [");
    const char* separator = "";
    for (const Timing& timing : result.timings) {
        std::fprintf(file, "%s{\"name\": %s, \"warm_ms\": %.6f, \"calls\": %d", separator,
                     quoted(timing.name).c_str(), timing.warmMs, timing.calls);
        if (timing.coldMs) std::fprintf(file, ", \"cold_ms\": %.6f", *timing.coldMs);
        std::fprintf(file, "}");
        separator = ", ";
    }
    std::fprintf(file, "]}\n");
    std::fflush(file);
}

void write_json_head(std::FILE* file, const std::vector<std::string>& versions) {
    std::fprintf(file, "{\"processor\": %s, \"compiler\": %s, \"versions\": [", quoted(processor()).c_str(),
                 quoted(kCompiler).c_str());
    const char* separator = "";
    for (const std::string& version : versions) {
        std::fprintf(file, "%s%s", separator, quoted(version).c_str());
        separator = ", ";
    }
    std::fprintf(file, "]}\n");
}

}  // namespace rz_bench
