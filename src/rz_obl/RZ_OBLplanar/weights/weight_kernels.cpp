#include <cmath>

#include "rz_obl/RZ_OBLplanar/weights/cubic_weight_table.h"

namespace rz_obl {

double bc_kernel(double x, double B, double C) {
    const double a = std::fabs(x);
    if (a < 1.0) {
        return ((12.0 - 9.0 * B - 6.0 * C) * (a * a * a) + (12.0 * B - 18.0 + 6.0 * C) * (a * a) +
                (6.0 - 2.0 * B)) /
               6.0;
    }
    if (a >= 1.0 && a < 2.0) {
        return ((-B - 6.0 * C) * (a * a * a) + (6.0 * B + 30.0 * C) * (a * a) + (-12.0 * B - 48.0 * C) * a +
                (8.0 * B + 24.0 * C)) /
               6.0;
    }
    return 0.0;
}

void weights_bc(double t, double w[4], double B, double C) {
    w[0] = bc_kernel(std::fabs(t - -1.0), B, C);
    w[1] = bc_kernel(std::fabs(t - 0.0), B, C);
    w[2] = bc_kernel(std::fabs(t - 1.0), B, C);
    w[3] = bc_kernel(std::fabs(t - 2.0), B, C);
}

void weights_catmull_rom(double t, double w[4]) {
    const double t2 = t * t;
    const double t3 = t2 * t;
    const double u = 3.0 * t3;
    w[0] = (t2 + t2 - t - t3) * 0.5;
    w[1] = (2.0 - 5.0 * t2 + u) * 0.5;
    w[2] = (4.0 * t2 + t - u) * 0.5;
    w[3] = (t3 - t2) * 0.5;
}

void normalise_weights(short entry[64]) {
    int sum = 0;
    for (int e = 0; e < CubicWeightTable::kWeightsPerEntry; ++e) sum += entry[e];
    // Every tie goes to the later pair and the later weight: this decides the content of the table.
    for (int missing = 16384 - sum; missing > 0; --missing) {
        const int lowerFirst = entry[21] + entry[22];
        const int lowerSecond = entry[25] + entry[26];
        const int upperFirst = entry[37] + entry[38];
        const int upperSecond = entry[41] + entry[42];
        int pair = 0;
        if (lowerFirst + lowerSecond < upperFirst + upperSecond) {
            pair = lowerFirst < lowerSecond ? 21 : 25;
        } else {
            pair = upperFirst < upperSecond ? 37 : 41;
        }
        short& weight = entry[pair] < entry[pair + 1] ? entry[pair] : entry[pair + 1];
        weight = static_cast<short>(weight + 1);
    }
}

}  // namespace rz_obl
