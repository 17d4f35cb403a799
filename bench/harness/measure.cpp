#include "bench/harness/measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace rz_bench {
namespace {

double now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

double timed(const Contender& contender, int buffer) {
    if (contender.selfTimed) return contender.selfTimed();
    if (contender.prepare) contender.prepare(buffer);
    const double start = now();
    contender.run(buffer);
    return now() - start;
}

Picture picture_of(const Contender& contender) {
    if (contender.prepare) contender.prepare(0);
    contender.run(0);
    return contender.picture(0);
}

std::string text(const char* format, double a, double b = 0.0) {
    char line[160];
    std::snprintf(line, sizeof line, format, a, b);
    return line;
}

std::string same_work(const Case& c, const Picture& ours, const Picture& theirs, const std::string& name) {
    const std::string where = c.job + "/" + c.name + ": ";
    if (ours.size() != theirs.size()) throw std::runtime_error(where + name + " made another size");
    double sum = 0.0;
    double greatest = 0.0;
    std::size_t drawn = 0;
    std::size_t strays = 0;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        if (std::isnan(ours[i])) continue;
        // a pixel that only we drew is as far off as can be
        const double difference =
            std::isnan(theirs[i]) ? 1e9
                                  : std::fabs(static_cast<double>(ours[i]) - static_cast<double>(theirs[i]));
        ++drawn;
        strays += difference > c.tolerance.greatest;
        greatest = std::max(greatest, difference);
        sum += std::min(difference, 1e6);
    }
    const double mean = sum / static_cast<double>(std::max<std::size_t>(drawn, 1));
    const std::string found = text("differs by at most %.4g, in the mean %.3g", greatest, mean);
    if (static_cast<double>(strays) > c.tolerance.strays * static_cast<double>(drawn) ||
        mean > c.tolerance.mean)
        throw std::runtime_error(where + name + " did other work: " + found);
    return name + " " + found;
}

double drawn_fraction(const Picture& picture) {
    const auto drawn =
        std::count_if(picture.begin(), picture.end(), [](float value) { return !std::isnan(value); });
    return static_cast<double>(drawn) / static_cast<double>(std::max<std::size_t>(picture.size(), 1));
}

std::string prove(const Case& c, const std::vector<Contender>& contenders) {
    if (!contenders.front().picture) return "";
    const Picture ours = picture_of(contenders.front());
    const double fraction = drawn_fraction(ours);
    if (fraction < c.coverage)
        throw std::runtime_error(c.job + "/" + c.name + text(": only %.4f of the picture drawn", fraction));
    std::string proof;
    if (c.reference) proof = c.reference(ours);
    for (std::size_t i = 1; i < contenders.size(); ++i) {
        if (!contenders[i].picture) continue;
        proof +=
            (proof.empty() ? "" : "; ") + same_work(c, ours, picture_of(contenders[i]), contenders[i].name);
    }
    return proof;
}

// Several calls of one contender in a row: the first finds the caches as its rivals left them, the others as
// a viewer does that draws again.
constexpr int kCallsInARow = 3;

}  // namespace

const Timing* Result::find(const std::string& contender) const {
    for (const Timing& timing : timings) {
        if (timing.name == contender) return &timing;
    }
    return nullptr;
}

const Timing* Result::bestPeer() const {
    const Timing* best = nullptr;
    for (const Timing& timing : timings) {
        if (timing.name == "ours" || timing.name == "floor") continue;
        if (!best || timing.warmMs < best->warmMs) best = &timing;
    }
    return best;
}

Result measure(const Case& c, const Effort& effort) {
    std::vector<Contender> contenders;
    for (const auto& make : c.contenders) contenders.push_back(make());

    Result result{c.job, c.name, c.volume, c.work, c.samples, {}, prove(c, contenders)};
    const std::size_t count = contenders.size();
    std::vector<double> warm(count, 1e9);
    std::vector<double> cold(count, 1e9);
    std::vector<int> calls(count, 0);

    for (int call = 0; call < effort.coldCalls; ++call) {
        for (std::size_t i = 0; i < count; ++i) {
            if (!contenders[i].refresh) continue;
            contenders[i].refresh();
            cold[i] = std::min(cold[i], timed(contenders[i], call & 1));
        }
    }
    const double start = now();
    for (int round = 0; round < effort.leastRounds || now() - start < effort.seconds; ++round) {
        for (std::size_t i = 0; i < count; ++i) {
            for (int call = 0; call < kCallsInARow; ++call) {
                const double seconds = timed(contenders[i], (round + call) & 1);
                warm[i] = std::min(warm[i], seconds);
                ++calls[i];
                if (seconds > 0.05) break;  // too long to depend on what the caches held
            }
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        Timing timing{contenders[i].name, warm[i] * 1e3, {}, calls[i]};
        if (cold[i] < 1e9) timing.coldMs = cold[i] * 1e3;
        const auto known = std::find_if(result.timings.begin(), result.timings.end(),
                                        [&](const Timing& t) { return t.name == timing.name; });
        if (known == result.timings.end()) {
            result.timings.push_back(timing);
        } else if (timing.warmMs < known->warmMs) {
            *known = timing;
        }
    }
    return result;
}

}  // namespace rz_bench
