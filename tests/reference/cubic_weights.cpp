#include "tests/reference/cubic_weights.h"

namespace rz_reference {

double cubic_weight(double x) {
    const double a = x < 0.0 ? -x : x;
    const double square = a * a;
    const double cube = square * a;
    if (a < 1.0) return (9.0 * cube - 15.0 * square + 6.0) / 6.0;
    if (a < 2.0) return (-3.0 * cube + 15.0 * square - 24.0 * a + 12.0) / 6.0;
    return 0.0;
}

void fill_up(short entry[64], rz_test::Branches& branches) {
    int sum = 0;
    for (int e = 0; e < 64; ++e) sum += entry[e];
    int missing = 16384 - sum;
    if (missing < 0) branches.met("sum above 16384");
    if (missing == 0) branches.met("sum of 16384");
    while (missing > 0) {
        const int lowerRow = entry[21] + entry[22];
        const int lowerNextRow = entry[25] + entry[26];
        const int upperRow = entry[37] + entry[38];
        const int upperNextRow = entry[41] + entry[42];
        int left = 0;
        if (lowerRow + lowerNextRow < upperRow + upperNextRow) {
            branches.met("unit to the lower slice");
            left = lowerRow < lowerNextRow ? 21 : 25;
        } else {
            branches.met("unit to the upper slice");
            left = upperRow < upperNextRow ? 37 : 41;
        }
        branches.met(left == 21 || left == 37 ? "unit to the first row" : "unit to the second row");
        const bool toLeft = entry[left] < entry[left + 1];
        branches.met(toLeft ? "unit to the left weight" : "unit to the right weight");
        entry[toLeft ? left : left + 1] += 1;
        missing -= 1;
    }
}

void cubic_entry(int fz, int fy, int fx, short entry[64], rz_test::Branches& branches) {
    const double x = fx * 0.015625;
    const double y = fy * 0.015625;
    const double z = fz * 0.015625;
    for (int k = 0; k < 4; ++k) {
        for (int j = 0; j < 4; ++j) {
            // Neighbour n lies at n - 1.
            const double outer = cubic_weight(y - (j - 1)) * cubic_weight(z - (k - 1));
            for (int i = 0; i < 4; ++i) {
                const double weight = cubic_weight(x - (i - 1)) * outer;
                const double scaled = weight * 16383.0;
                entry[16 * k + 4 * j + i] = static_cast<short>(scaled);
            }
        }
    }
    fill_up(entry, branches);
}

}  // namespace rz_reference
