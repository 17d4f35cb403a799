#include "bench/harness/peers_numpy.h"
#include "bench/jobs/combine/combine.h"

namespace rz_bench {

Contender combine_numpy(Volume& stack, Combination how) {
    NumPy& process = NumPy::of(stack);
    const std::string command = std::string(how == Combination::kMaximum ? "max" : "mean") + " z " +
                                std::to_string(kFirst) + " " + std::to_string(kFirst + kSlices) + " whole";
    Contender numpy;
    numpy.name = process.name();
    numpy.run = [&process, command](int) { process.run(command); };
    numpy.selfTimed = [&process, command] { return process.run(command); };
    numpy.picture = [&process](int) { return process.picture(); };
    return numpy;
}

}  // namespace rz_bench
