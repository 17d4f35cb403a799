#include "rz_obl/RZ_OBLplanar/weights/cubic_weight_table.h"

#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace rz_obl {
namespace {

constexpr int kPositions = CubicWeightTable::kPositions;
constexpr int kWeightsPerEntry = CubicWeightTable::kWeightsPerEntry;
constexpr std::size_t kTableBytes = CubicWeightTable::kBytes;

// A huge page of x86-64. Scans jump all over the table: with 4 KiB pages nearly every entry misses the TLB.
constexpr std::size_t kHugePage = 0x200000;

short* allocate_table() {
    void* block = std::aligned_alloc(kHugePage, kTableBytes);
    if (block == nullptr) throw std::bad_alloc();
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    // A hint only: where the system keeps to small pages, the table is as good.
    (void)madvise(block, kTableBytes, MADV_HUGEPAGE);
#endif
    return static_cast<short*>(block);
}

// required: 16383, not 16384; normalise_weights fills up what is missing
constexpr double kScale = 16383.0;

// The 64 entries of one (fz, fy). outer: the 16 products of the weights along y and z, z slow.
void fill_row(const double x_weights[][4], const double outer[16], short* entry) {
    for (int fx = 0; fx < kPositions; ++fx, entry += kWeightsPerEntry) {
        for (int kj = 0; kj < 16; ++kj) {
            for (int i = 0; i < 4; ++i) {
                const double product = x_weights[fx][i] * outer[kj];
                entry[4 * kj + i] = static_cast<short>(product * kScale);
            }
        }
        normalise_weights(entry);
    }
}

void fill_table(bool closed_form, short* weights) {
    double wz[kPositions][4];
    double wxy[kPositions][4];
    for (int p = 0; p < kPositions; ++p) {
        const double t = p * 0.015625;
        if (closed_form) {
            weights_catmull_rom(t, wxy[p]);
            for (int i = 0; i < 4; ++i) wz[p][i] = wxy[p][i];
        } else {
            weights_bc(t, wxy[p], 0.0, 0.5);
            weights_bc(t, wz[p], 0.0, 0.5);
        }
    }
    for (int fz = 0; fz < kPositions; ++fz) {
        for (int fy = 0; fy < kPositions; ++fy) {
            double outer[16];
            for (int k = 0; k < 4; ++k) {
                for (int j = 0; j < 4; ++j) outer[4 * k + j] = wxy[fy][j] * wz[fz][k];
            }
            fill_row(wxy, outer, weights);
            weights += kPositions * kWeightsPerEntry;
        }
    }
}

}  // namespace

CubicWeightTable::~CubicWeightTable() {
    std::free(weights);
    std::free(second);
}

void build_weight_table(CubicWeightTable& table) {
    // required: no guard object; an allocation that fails leaves the lock as it is
    table.lock.lock();
    if (table.weights == nullptr) {
        table.weights = allocate_table();
        fill_table(table.UseClosedForm, table.weights);
    }
    table.lock.unlock();
}

}  // namespace rz_obl
