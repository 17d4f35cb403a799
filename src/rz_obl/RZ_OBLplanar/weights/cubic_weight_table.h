#pragma once

#include <mutex>

namespace rz_obl {

/// Weights of a separable cubic interpolation over a 4x4x4 neighbourhood, for 64 x 64 x 64 sub-sample
/// positions, in 1/16384. Entry ((fz x 64 + fy) x 64 + fx) holds 64 weights, z slowest, x fastest: weight
/// 16 x k + 4 x j + i belongs to the sample at (i - 1, j - 1, k - 1). An entry sums to 16384, some to a
/// little more. One object per process, with static lifetime; built at the first cubic request.
class CubicWeightTable {
  public:
    static constexpr int kPositions = 64;
    static constexpr int kWeightsPerEntry = 64;
    static constexpr long kBytes = 0x2000000;

    CubicWeightTable() = default;
    ~CubicWeightTable();
    CubicWeightTable(const CubicWeightTable&) = delete;
    CubicWeightTable& operator=(const CubicWeightTable&) = delete;

    /// Null until built; read without the lock by kernels, which run after the build has returned.
    short* weights = nullptr;
    /// Assigned by nothing; released at exit.
    void* second = nullptr;
    /// Guards the build. Recursive, as a critical section is.
    std::recursive_mutex lock;
    /// Build from the closed form of Catmull-Rom; a dormant switch, set by tests only.
    bool UseClosedForm = false;
};

/// Builds the table under its lock, if it does not exist yet; any number of threads may call it at once.
/// Throws std::bad_alloc, and then leaves the lock held by the calling thread.
void build_weight_table(CubicWeightTable& table);

/// Mitchell-Netravali family of cubic kernels ("Reconstruction filters in computer graphics", SIGGRAPH 1988).
/// x in samples; 0 from 2 samples on, and for a NaN.
double bc_kernel(double x, double B, double C);
/// Weights of the samples at -1, 0, 1, 2 for a position t in [0, 1).
void weights_bc(double t, double w[4], double B, double C);
/// The same for B = 0, C = 0.5 (Catmull and Rom, "A class of local interpolating splines", 1974), closed
/// form.
void weights_catmull_rom(double t, double w[4]);
/// Raises the eight central weights, one unit at a time, until the entry sums to 16384; an entry that sums to
/// more stays as it is.
void normalise_weights(short entry[64]);

}  // namespace rz_obl
