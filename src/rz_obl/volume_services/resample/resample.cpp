#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "lower/definitions/matrix.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/volume_services/resample/resample_rows.h"
#include "rz_obl/volume_services/volume_services.h"

namespace {

/// Whole part toward zero and the rest: between -0.5 and 0 the whole part is 0 and the fraction negative.
struct Position {
    explicit Position(float coordinate)
        : whole(rz_obl::trunc_to_int(coordinate)), fraction(coordinate - static_cast<float>(whole)) {}
    int whole;
    float fraction;
};

template <class Sample>
float bilinear(const Sample* slice, std::ptrdiff_t i, std::ptrdiff_t j, float fx, float fy) {
    const auto at = [slice](std::ptrdiff_t k) { return static_cast<float>(slice[k]); };
    return (at(i) * (1.0F - fx) + at(i + 1) * fx) * (1.0F - fy) + (at(j) * (1.0F - fx) + at(j + 1) * fx) * fy;
}

/// The rasters of a volume with one guard at each end, and the rule by which a point is sampled.
template <class Sample>
class Source {
  public:
    Source(const RZ_Box& box, Sample* const* rasters)
        : nx_(box.xDim),
          ny_(box.yDim),
          nz_(box.zDim),
          table_(new Sample*[static_cast<std::size_t>(rz_obl::wrap_add(box.zDim, 2))]) {
        if (nz_ <= 0) return;  // no point lies inside
        std::copy_n(rasters, nz_, table_.get() + 1);
        table_[0] = rasters[0];
        table_[static_cast<std::size_t>(nz_) + 1] = rasters[nz_ - 1];
    }

    float sample(float x, float y, float z, float outside) const {
        const auto width = static_cast<float>(nx_);
        const auto height = static_cast<float>(ny_);
        const auto depth = static_cast<float>(nz_);
        if (!(z >= -0.5F && z < depth - 0.5F)) return outside;
        if (x >= 0.0F && x < width - 1.0F && y >= 0.0F && y < height - 1.0F) {
            const Position px(x);
            const Position py(y);
            const Position pz(z);
            return blend(px, py, pz, px.whole, py.whole, pz.whole);
        }
        if (x >= -0.5F && x < width - 0.5F && y >= -0.5F && y < height - 0.5F) {
            const Position px(x);
            const Position py(y);
            const Position pz(z);
            // required: the fractions stay those of the unlimited position
            return blend(px, py, pz, limited(px.whole, nx_), limited(py.whole, ny_), limited(pz.whole, nz_));
        }
        return outside;
    }

    const void* const* slices() const { return reinterpret_cast<const void* const*>(table_.get() + 1); }

  private:
    static int limited(int whole, int count) { return std::min(count - 2, std::max(whole, 0)); }

    float blend(const Position& px, const Position& py, const Position& pz, int x, int y, int z) const {
        Sample* const* slices = table_.get() + 1 + z;
        const std::ptrdiff_t i = static_cast<std::ptrdiff_t>(y) * nx_ + x;
        const std::ptrdiff_t j = i + nx_;
        return bilinear(slices[0], i, j, px.fraction, py.fraction) * (1.0F - pz.fraction) +
               bilinear(slices[1], i, j, px.fraction, py.fraction) * pz.fraction;
    }

    int nx_;
    int ny_;
    int nz_;
    std::unique_ptr<Sample*[]> table_;
};

/// What the loops over voxels need for one that is not interior.
template <class Sample>
struct SampleAnywhere {
    const Source<Sample>& source;
    float outside;

    static float at(const void* self, float x, float y, float z) {
        const auto& own = *static_cast<const SampleAnywhere*>(self);
        return own.source.sample(x, y, z, own.outside);
    }
};

/// Rasters of equal size.
struct Blocks {
    const void* const* rasters;
    int count;
    std::size_t bytes;
};

Blocks blocks_of(const void* const* rasters, const RZ_Box& box, std::size_t bytesPerSample) {
    return {rasters, box.zDim,
            static_cast<std::size_t>(box.xDim) * static_cast<std::size_t>(box.yDim) * bytesPerSample};
}

bool overlap(const Blocks& a, const Blocks& b) {
    for (int i = 0; i < a.count; ++i) {
        const auto first = reinterpret_cast<std::uintptr_t>(a.rasters[i]);
        for (int k = 0; k < b.count; ++k) {
            const auto other = reinterpret_cast<std::uintptr_t>(b.rasters[k]);
            if (first < other + b.bytes && other < first + a.bytes) return true;
        }
    }
    return false;
}

using ResampleFunction = void (*)(const rz_obl::resample_args&);

/// Wide and narrow make the same bits, unless voxels already written are sampled again: then the order
/// counts.
ResampleFunction function_for(short, bool inOrder) {
    return inOrder || !rz_obl::g_cpuFeatures.hasAvx2() ? rz_obl::resample_16 : rz_obl::resample_16_avx2;
}

ResampleFunction function_for(float, bool inOrder) {
    return inOrder || !rz_obl::g_cpuFeatures.hasAvx2() ? rz_obl::resample_float : rz_obl::resample_float_avx2;
}

template <class Sample>
int resample(RZ_TVolume<Sample>& source, RZ_TVolume<float>& destination, float outside) {
    RZ_Box sourceBox;
    RZ_Box destinationBox;
    sourceBox = source;
    destinationBox = destination;
    float toSource[4][4];
    destinationBox.GetBoxToBoxTrans(&sourceBox, toSource);

    const Source<Sample> samples(sourceBox, source.GetRasters());
    if (destinationBox.xDim < 1 || destinationBox.yDim < 1 || destinationBox.zDim < 1) return 1;
    const SampleAnywhere<Sample> anywhere{samples, outside};
    float* const* const output = destination.GetRasters();
    rz_obl::resample_args args{};
    args.slices = samples.slices();
    args.width = sourceBox.xDim;
    args.height = sourceBox.yDim;
    args.depth = sourceBox.zDim;
    args.toSource = toSource;
    args.columns = destinationBox.xDim;
    args.rows = destinationBox.yDim;
    args.planes = destinationBox.zDim;
    args.output = output;
    args.sample = SampleAnywhere<Sample>::at;
    args.source = &anywhere;
    const auto* const written = reinterpret_cast<const void* const*>(output);
    const bool inOrder = overlap(blocks_of(samples.slices(), sourceBox, sizeof(Sample)),
                                 blocks_of(written, destinationBox, sizeof(float)));
    function_for(Sample{}, inOrder)(args);
    return 1;
}

}  // namespace

// Whatever the sample: a single voxel knows its source.
void rz_obl::resample_16(const resample_args& args) {
    for (int z = 0; z < args.planes; ++z) {
        for (int y = 0; y < args.rows; ++y) {
            float* const output = args.output[z] + static_cast<std::ptrdiff_t>(y) * args.columns;
            for (int x = 0; x < args.columns; ++x) {
                float point[4] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 1.0F};
                RZ_vectrans(point, args.toSource);
                output[x] = args.sample(args.source, point[0], point[1], point[2]);
            }
        }
    }
}

void rz_obl::resample_float(const resample_args& args) {
    resample_16(args);
}

int RZ_OBLUtils::Resample(RZ_TVolume<short>& source, RZ_TVolume<float>& destination, float outside_value,
                          int) {
    return resample(source, destination, outside_value);
}

int RZ_OBLUtils::Resample(RZ_TVolume<float>& source, RZ_TVolume<float>& destination, float outside_value,
                          int) {
    return resample(source, destination, outside_value);
}
