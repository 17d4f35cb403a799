#pragma once

#include <array>
#include <cstdint>

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/reference/scan_steps.h"
#include "tests/support/branches.h"

// What the references of the semi-cubic kernels and of the tricubic kernel do alike.

namespace rz_reference {

/// Four consecutive values of 16 bits.
using Four = std::array<std::int32_t, 4>;

/// Coefficients c0 to c3 of the Catmull-Rom polynomial, times 2.
Four cubic_coefficients(const Four& p);
/// The polynomial between p[1] and p[2] at a 15-bit fraction, in fixed point.
std::int32_t cubic_poly(const Four& p, std::int32_t fraction);

/// The value of one plane at p, or nothing if the plane is dropped.
struct PlaneValue {
    bool used;
    std::int32_t value;
};
using PlaneSampler = PlaneValue (*)(const rz_obl::scan_args_16&, const Point&, rz_test::Branches&);

/// Rows, serpentine walk, mean over all planes, clamp.
void scan_serpentine(const rz_obl::scan_args_16& args, PlaneSampler sampler, rz_test::Branches& branches);

/// Whether four samples along x and y exist; tells the branches why not.
bool has_neighbourhood(const rz_obl::scan_args_16& args, std::int32_t xi, std::int32_t yi,
                       rz_test::Branches& branches);

}  // namespace rz_reference
