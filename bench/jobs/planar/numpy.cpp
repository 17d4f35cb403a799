#include <cmath>

#include "bench/harness/peers_numpy.h"
#include "bench/jobs/planar/planar.h"

namespace rz_bench {

Contender planar_numpy(Volume& volume, const PlanarRequest& request) {
    const auto n = request.orientation.normal();
    const std::size_t axis = std::fabs(n[2]) > 0.5 ? 2 : std::fabs(n[1]) > 0.5 ? 1 : 0;
    const int middle = static_cast<int>(std::lround(request.centre[axis] / volume.spacing[axis]));
    const int first = middle - request.planes / 2;
    std::string command = "mean ";
    if (request.type == RZ_OBL_RenditionType::Maximum) command = "max ";
    if (request.type == RZ_OBL_RenditionType::Minimum) command = "min ";
    command += std::string(1, "xyz"[axis]) + " " + std::to_string(first) + " " +
               std::to_string(first + request.planes);

    NumPy& process = NumPy::of(volume);
    Contender numpy;
    numpy.name = process.name();
    numpy.run = [&process, command](int) { process.run(command); };
    numpy.selfTimed = [&process, command] { return process.run(command); };
    numpy.picture = [&process](int) { return process.picture(); };
    return numpy;
}

}  // namespace rz_bench
