#include <algorithm>
#include <cstddef>
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

/// What a wide row needs for voxels that are not interior.
template <class Sample>
struct SampleAnywhere {
    const Source<Sample>& source;
    float outside;

    static float at(const void* self, float x, float y, float z) {
        const auto& own = *static_cast<const SampleAnywhere*>(self);
        return own.source.sample(x, y, z, own.outside);
    }
};

using RowFunction = void (*)(const rz_obl::resample_row_args&);

/// Wide and narrow make the same bits.
RowFunction row_function(short) {
    return rz_obl::g_cpuFeatures.hasAvx2() ? rz_obl::resample_row_16_avx2 : rz_obl::resample_row_16;
}

RowFunction row_function(float) {
    return rz_obl::g_cpuFeatures.hasAvx2() ? rz_obl::resample_row_float_avx2 : rz_obl::resample_row_float;
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
    if (destinationBox.xDim < 1) return 1;
    const SampleAnywhere<Sample> anywhere{samples, outside};
    const RowFunction drawRow = row_function(Sample{});
    float* const* output = destination.GetRasters();
    rz_obl::resample_row_args row{};
    row.slices = samples.slices();
    row.width = sourceBox.xDim;
    row.height = sourceBox.yDim;
    row.depth = sourceBox.zDim;
    row.toSource = toSource;
    row.columns = destinationBox.xDim;
    row.sample = SampleAnywhere<Sample>::at;
    row.source = &anywhere;
    for (row.z = 0; row.z < destinationBox.zDim; ++row.z) {
        for (row.y = 0; row.y < destinationBox.yDim; ++row.y) {
            row.output = output[row.z] + static_cast<std::ptrdiff_t>(row.y) * destinationBox.xDim;
            drawRow(row);
        }
    }
    return 1;
}

}  // namespace

// One voxel at a time, whatever the sample: a single one knows its source.
void rz_obl::resample_row_16(const resample_row_args& args) {
    for (int x = 0; x < args.columns; ++x) {
        float point[4] = {static_cast<float>(x), static_cast<float>(args.y), static_cast<float>(args.z),
                          1.0F};
        RZ_vectrans(point, args.toSource);
        args.output[x] = args.sample(args.source, point[0], point[1], point[2]);
    }
}

void rz_obl::resample_row_float(const resample_row_args& args) {
    resample_row_16(args);
}

int RZ_OBLUtils::Resample(RZ_TVolume<short>& source, RZ_TVolume<float>& destination, float outside_value,
                          int) {
    return resample(source, destination, outside_value);
}

int RZ_OBLUtils::Resample(RZ_TVolume<float>& source, RZ_TVolume<float>& destination, float outside_value,
                          int) {
    return resample(source, destination, outside_value);
}
