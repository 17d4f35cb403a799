#include "tests/reference/services/resample.h"

#include <algorithm>
#include <vector>

#include "lower/definitions/coord.h"

namespace rz_reference {
namespace {

template <class T>
float sample_plane(const T* s, int i, int j, float fx, float fy) {
    const auto s0 = static_cast<float>(s[i]);
    const auto s1 = static_cast<float>(s[i + 1]);
    const auto s2 = static_cast<float>(s[j]);
    const auto s3 = static_cast<float>(s[j + 1]);
    const float upper = s0 * (1.0F - fx) + s1 * fx;
    const float lower = s2 * (1.0F - fx) + s3 * fx;
    return upper * (1.0F - fy) + lower * fy;
}

}  // namespace

template <class T>
int resample(const RZ_TVolume<T>& source, const RZ_TVolume<float>& destination, float outside_value,
             rz_test::Branches& branches) {
    RZ_Box from;
    RZ_Box to;
    from = source;
    to = destination;
    float m[4][4];
    to.GetBoxToBoxTrans(&from, m);

    const int nx = from.xDim;
    const int ny = from.yDim;
    const int nz = from.zDim;
    // Entry 0 and entry nz + 1 are the guards: slice k stands at entry k + 1.
    std::vector<const T*> table(static_cast<std::size_t>(nz + 2), nullptr);
    for (int k = 0; k < nz; ++k) table[static_cast<std::size_t>(k + 1)] = source.GetRasters()[k];
    table[0] = table[1];
    table[static_cast<std::size_t>(nz + 1)] = table[static_cast<std::size_t>(nz)];
    const auto slice = [&table](int k) { return table[static_cast<std::size_t>(k + 1)]; };

    for (int z = 0; z < to.zDim; ++z) {
        for (int y = 0; y < to.yDim; ++y) {
            int interiorRun = 0;
            for (int x = 0; x < to.xDim; ++x) {
                RZ_3Coord point(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
                RZ_vectrans(point, m);
                const float sx = point.x;
                const float sy = point.y;
                const float sz = point.z;
                float v = outside_value;
                if (x % 8 == 0) interiorRun = 0;
                if (sz >= -0.5F && sz < static_cast<float>(nz) - 0.5F) {
                    const bool interior = sx >= 0.0F && sx < static_cast<float>(nx - 1) && sy >= 0.0F &&
                                          sy < static_cast<float>(ny - 1);
                    const bool edge = sx >= -0.5F && sx < static_cast<float>(nx) - 0.5F && sy >= -0.5F &&
                                      sy < static_cast<float>(ny) - 0.5F;
                    if (interior || edge) {
                        const auto ix = static_cast<int>(sx);
                        const auto iy = static_cast<int>(sy);
                        const auto iz = static_cast<int>(sz);
                        const float fx = sx - static_cast<float>(ix);
                        const float fy = sy - static_cast<float>(iy);
                        const float fz = sz - static_cast<float>(iz);
                        int cx = ix;
                        int cy = iy;
                        int cz = iz;
                        if (interior) {
                            branches.met("interior");
                            if (++interiorRun == 8) branches.met("eight interior voxels in a row");
                            if (iz == nz - 1) branches.met("interior with the upper guard");
                            if (fz < 0.0F) branches.met("interior below the first slice");
                        } else {
                            cx = std::min(nx - 2, std::max(ix, 0));
                            cy = std::min(ny - 2, std::max(iy, 0));
                            cz = std::min(nz - 2, std::max(iz, 0));
                            branches.met("clamped");
                            if (fx < 0.0F || fy < 0.0F) branches.met("clamped below");
                            if (ix > cx || iy > cy) branches.met("clamped above");
                            if (iz > cz) branches.met("clamped above in z");
                            if (cz == -1) branches.met("clamped with the lower guard");
                            if (cx == -1 || cy == -1) branches.met("one column or row");
                        }
                        const int i = cy * nx + cx;
                        const int j = i + nx;
                        const float pa = sample_plane(slice(cz), i, j, fx, fy);
                        const float pb = sample_plane(slice(cz + 1), i, j, fx, fy);
                        v = pa * (1.0F - fz) + pb * fz;
                    } else {
                        branches.met("outside in the slice");
                    }
                } else {
                    branches.met(sz < 0.0F ? "outside below" : "outside above");
                    if (sz == static_cast<float>(nz) - 0.5F) branches.met("just outside above");
                    if (!(sz == sz)) branches.met("no number");
                }
                if (sz == -0.5F || sx == -0.5F || sy == -0.5F) branches.met("on the lower face");
                destination.GetRasters()[z][y * to.xDim + x] = v;
            }
        }
    }
    return 1;
}

template int resample<short>(const RZ_TVolume<short>&, const RZ_TVolume<float>&, float, rz_test::Branches&);
template int resample<float>(const RZ_TVolume<float>&, const RZ_TVolume<float>&, float, rz_test::Branches&);

}  // namespace rz_reference
