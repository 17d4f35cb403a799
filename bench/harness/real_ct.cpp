#include <cstring>
#include <stdexcept>

#include "bench/harness/volume.h"
#ifdef RZ_BENCH_READERS
#include "toolkit/io/read_volume.h"
#endif

namespace rz_bench {

std::unique_ptr<Volume> read_ct(const std::string& folder) {
#ifdef RZ_BENCH_READERS
    const rzobl::Volume read = rzobl::read_volume(folder).volume;
    if (read.kind() != rzobl::SampleKind::Int16)
        throw std::runtime_error(folder + " holds no 16-bit samples");
    const auto& grid = read.grid();
    auto volume = std::make_unique<Volume>("CT", Kind::kInt16, grid.size[0], grid.size[1], grid.size[2],
                                           grid.spacing[0], grid.spacing[1], grid.spacing[2]);
    const std::size_t bytes = volume->sliceSamples() * 2;
    for (int z = 0; z < volume->size[2]; ++z)
        std::memcpy(static_cast<char*>(volume->block()) + static_cast<std::size_t>(z) * bytes, read.raster(z),
                    bytes);
    volume->refreshRasters();
    return volume;
#else
    throw std::runtime_error("built without readers: cannot read " + folder);
#endif
}

}  // namespace rz_bench
