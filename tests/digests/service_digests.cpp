#include <cstddef>
#include <memory>
#include <vector>

#include "rz_obl/rz_obl.h"
#include "tests/cases/planar_request.h"
#include "tests/digests/digest.h"

namespace rz_digests {
namespace {

using namespace rz_test;

constexpr int kVolumes = 150;

/// A volume object over the rasters of a request, which it does not own.
std::unique_ptr<RZ_VolData> volume_of(PlanarRequest& request) {
    auto volume = std::make_unique<RZ_VolData>(&request.volume.box, 0);
    const PixelDataAttributes attributes{request.volume.box.xDim, request.volume.box.yDim, 16,
                                         request.volume.isSigned ? 1 : 0};
    int z = 0;
    for (short* raster : request.volume.shortRasters())
        volume->SetSlice(new RZ_ShortSlice(raster, attributes), z++);
    return volume;
}

void add(Digest& digest, const RZ_Box& box) {
    digest.add(box.xDim);
    digest.add(box.yDim);
    digest.add(box.zDim);
    float matrix[4][4];
    box.GetIndexToPhysicalTrans(matrix);
    digest.add(matrix[0], 16);
}

void add(Digest& digest, const RZ_VolData* volume) {
    digest.add(volume != nullptr);
    if (volume == nullptr) return;
    const RZ_Box& box = *volume->GetBox();
    add(digest, box);
    const auto samples = static_cast<std::size_t>(box.xDim) * static_cast<std::size_t>(box.yDim);
    for (int z = 0; z < box.zDim; ++z)
        digest.add(static_cast<const short*>(volume->GetSlice(static_cast<unsigned>(z))->MappedRaster()),
                   samples);
}

void oblique_volumes() {
    Digest planes;
    Digest ranges;
    Branches branches;
    for (Seed seed = 1; seed <= kVolumes; ++seed) {
        auto request = make_planar_request(seed, 0, branches);
        const auto volume = volume_of(request);
        Random random(seed);
        const float thickness = random.once_in(2) ? 0.0F : random.real(0.0F, 12.0F);
        const auto type = static_cast<RZ_OBL_RenditionType>(random.between(0, 2));
        const std::unique_ptr<RZ_VolData> plane(
            RZ_OBLUtils::CalcObliqueVoldata(*volume, request.plane, type, thickness));
        add(planes, plane.get());

        const int depth = request.volume.box.zDim;
        const int first = random.between(0, depth - 1);
        const int last = random.between(first, depth - 1);
        const float spacing =
            request.volume.box.GetZMmPerPixel() * random.pick({0.4F, 0.5F, 1.0F, 1.3F, 2.0F});
        if (!(spacing > 0.0F)) continue;
        const std::unique_ptr<RZ_VolData> range(RZ_OBLUtils::CalcObliqueVoldata(
            *volume, static_cast<unsigned>(first), static_cast<unsigned>(last), spacing));
        add(ranges, range.get());
    }
    print_line("CalcObliqueVoldata/plane", planes);
    print_line("CalcObliqueVoldata/range", ranges);
}

template <class T>
void resample(const char* name) {
    Digest digest;
    Branches branches;
    for (Seed seed = 1; seed <= kVolumes; ++seed) {
        Random random(seed + 33);
        const auto request = make_planar_request(seed, 0, branches);
        RZ_Box from = request.volume.box;
        if (from.xDim < 2 || from.yDim < 2) continue;
        RZ_BoxParams place = from.params;
        float start[3];
        place.GetStart(start);
        for (float& coordinate : start) coordinate += random.real(-3.0F, 3.0F);
        place.SetStart(start[0], start[1], start[2]);
        const RZ_Box to{random.between(2, 14), random.between(2, 14), random.between(1, 9), place};

        std::vector<std::vector<T>> source(static_cast<std::size_t>(from.zDim));
        std::vector<T*> sourceRasters;
        for (auto& raster : source) {
            for (int i = 0; i < from.xDim * from.yDim; ++i)
                raster.push_back(static_cast<T>(random.between(-32768, 32767)));
            sourceRasters.push_back(raster.data());
        }
        std::vector<std::vector<float>> destination(static_cast<std::size_t>(to.zDim));
        std::vector<float*> destinationRasters;
        for (auto& raster : destination) {
            raster.resize(static_cast<std::size_t>(to.xDim * to.yDim), 5.0F);
            destinationRasters.push_back(raster.data());
        }
        RZ_TVolumeRecord<T> sourceRecord{nullptr, sourceRasters.data()};
        RZ_TVolumeRecord<float> destinationRecord{nullptr, destinationRasters.data()};
        RZ_TVolume<T> in(from, &sourceRecord);
        RZ_TVolume<float> out(to, &destinationRecord);
        digest.add(RZ_OBLUtils::Resample(in, out, -1024.5F, 0));
        for (const auto& raster : destination) digest.add(raster.data(), raster.size());
    }
    print_line(name, digest);
}

void fast_index() {
    Digest digest;
    Branches branches;
    for (Seed seed = 1; seed <= kVolumes; ++seed) {
        auto request = make_planar_request(seed, 0, branches);
        auto rasters = request.volume.shortRasters();
        rasters.insert(rasters.begin(), rasters.front());
        rasters.push_back(rasters.back());
        FFastInd index;
        index.BuiltIndeces(rasters.data() + 1, request.volume.box);
        const auto& box = request.volume.box;
        for (int z = -1; z <= box.zDim; ++z) {
            for (int y = -1; y <= box.yDim; ++y)
                digest.add(index.GetArray()[z][y] - rasters[static_cast<std::size_t>(z + 1)]);
        }
    }
    print_line("FFastInd", digest);
}

}  // namespace

void service_digests() {
    oblique_volumes();
    resample<short>("Resample/16_bits");
    resample<float>("Resample/float");
    fast_index();
}

}  // namespace rz_digests
