#pragma once

#include <mutex>

namespace rz_obl {

/// Weights of a separable cubic interpolation over a 4x4x4 neighbourhood, for 64 x 64 x 64 sub-sample
/// positions. Entry ((fz x 64 + fy) x 64 + fx) holds 64 weights, z slowest, x fastest, which sum to about
/// 16384.
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
    std::mutex lock;
    /// Build from the closed form of Catmull-Rom; a dormant switch, set by tests only.
    bool UseClosedForm = false;
};

/// Builds the table under its lock, if it does not exist yet. Throws std::bad_alloc.
void build_weight_table(CubicWeightTable& table);

/// Mitchell-Netravali family of cubic kernels ("Reconstruction filters in computer graphics", SIGGRAPH 1988).
double bc_kernel(double x, double B, double C);
/// Weights of the samples at -1, 0, 1, 2 for a position t in [0, 1).
void weights_bc(double t, double w[4], double B, double C);
/// The same for B = 0, C = 0.5 (Catmull-Rom), closed form.
void weights_catmull_rom(double t, double w[4]);
/// Raises central weights until the entry sums to 16384; an entry above that stays.
void normalise_weights(short entry[64]);

}  // namespace rz_obl
