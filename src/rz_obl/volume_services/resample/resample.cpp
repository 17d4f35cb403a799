#include <algorithm>
#include <cstddef>
#include <memory>

#include "lower/definitions/matrix.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
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

    float sample(const float point[4], float outside) const {
        const float x = point[0];
        const float y = point[1];
        const float z = point[2];
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

template <class Sample>
int resample(RZ_TVolume<Sample>& source, RZ_TVolume<float>& destination, float outside) {
    RZ_Box sourceBox;
    RZ_Box destinationBox;
    sourceBox = source;
    destinationBox = destination;
    float toSource[4][4];
    destinationBox.GetBoxToBoxTrans(&sourceBox, toSource);

    const Source<Sample> samples(sourceBox, source.GetRasters());
    float* const* output = destination.GetRasters();
    for (int z = 0; z < destinationBox.zDim; ++z) {
        for (int y = 0; y < destinationBox.yDim; ++y) {
            for (int x = 0; x < destinationBox.xDim; ++x) {
                float point[4] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 1.0F};
                RZ_vectrans(point, toSource);
                output[z][static_cast<std::ptrdiff_t>(y) * destinationBox.xDim + x] =
                    samples.sample(point, outside);
            }
        }
    }
    return 1;
}

}  // namespace

int RZ_OBLUtils::Resample(RZ_TVolume<short>& source, RZ_TVolume<float>& destination, float outside_value,
                          int) {
    return resample(source, destination, outside_value);
}

int RZ_OBLUtils::Resample(RZ_TVolume<float>& source, RZ_TVolume<float>& destination, float outside_value,
                          int) {
    return resample(source, destination, outside_value);
}
