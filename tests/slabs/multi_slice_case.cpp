#include "tests/slabs/multi_slice_case.h"

#include <algorithm>

#include "tests/reference/slabs/multi_slice.h"

namespace rz_test {
namespace {

using Type = RZ_OBL_SlabbingType;

std::size_t up_to(std::size_t count, std::size_t block) {
    return (count + block - 1) / block * block;
}

unsigned short slice_near(Random& random, int slice, int reach, int count) {
    return static_cast<unsigned short>(std::clamp(slice + random.between(-reach, reach), 0, count - 1));
}

bool is_between(int k, int first, int last) {
    return k >= first && k <= last;
}

}  // namespace

MultiSliceCase::MultiSliceCase(Seed caseSeed) : seed(caseSeed) {
    Random random(seed);
    rows = random.between(1, random.once_in(4) ? 40 : 6);
    columns = random.between(1, random.once_in(4) ? 70 : 20);
    if (random.once_in(100)) {  // more samples than a cache would like at once
        rows = random.between(60, 130);
        columns = random.between(60, 90);
    }
    if (random.once_in(8)) {  // only the product counts
        rows = -rows;
        columns = -columns;
    }
    isSigned = random.once_in(2);
    type = random.pick({Type::SlabMinimum, Type::SlabAverage, Type::SlabAverage, Type::SlabAverage,
                        Type::SlabMaximum, static_cast<Type>(random.pick({-1, 3, 77}))});
    if (type == static_cast<Type>(3) && random.once_in(2)) type = Type::SlabMaximum;

    // Ranges that share much, so that both sides of the choice of path are met.
    const int count = random.between(1, random.once_in(2) ? 14 : 12);
    first = static_cast<unsigned short>(random.between(0, random.once_in(2) ? count - 1 : (count - 1) / 4));
    last = static_cast<unsigned short>(random.once_in(30) && first > 0 ? first - 1
                                                                       : random.between(first, count - 1));
    if (random.once_in(2))
        last = static_cast<unsigned short>(std::max<int>(first, count - 1 - random.between(0, 2)));
    const int reach = random.pick({0, 1, 1, 2, 14});
    previousFirst = slice_near(random, first, reach, count);
    previousLast = slice_near(random, last, reach, count);
    if (random.once_in(20)) std::swap(previousFirst, previousLast);

    const auto samples = static_cast<std::size_t>(rows * columns);
    // Every raster ends where the last block ends: a mean's load takes the 4 samples behind as well.
    const std::size_t meanSize = up_to(samples, 4) + 4;
    const std::size_t size = type == Type::SlabAverage ? meanSize : up_to(samples, 8);
    const int depth = random.between(7, 16);
    const bool alike = random.once_in(6);
    for (int k = 0; k < count; ++k) {
        rasters.push_back(std::make_unique<Slice16>(size, static_cast<std::size_t>(random.between(0, 7))));
        fill_nasty(random, rasters.back()->data(), size, isSigned, depth);
        if (alike) std::copy_n(rasters.front()->data(), size, rasters.back()->data());
        const bool inReach = is_between(k, first, last) || is_between(k, previousFirst, previousLast);
        const bool untouchedType = static_cast<int>(type) < 0 || static_cast<int>(type) > 2;
        const bool mayMiss = k != 0 && k != first && (!inReach || untouchedType);
        if (mayMiss && random.once_in(2)) rasters.back().reset();
        slices.push_back(rasters.back() ? rasters.back()->data() : nullptr);
    }

    output = std::make_unique<Fenced<short>>(meanSize, seed);
    target = output->data();
    previous = std::make_unique<Slice16>(meanSize, static_cast<std::size_t>(random.between(0, 7)));
    fill_nasty(random, previous->data(), meanSize, isSigned, random.between(1, 16));
    if (random.once_in(2)) fill_nasty(random, output->data(), meanSize, isSigned, random.between(1, 16));
    if (!random.once_in(5)) earlier = random.once_in(2) ? previous->data() : target;
    const int taken = random.between(0, count - 1);
    if (random.once_in(4) && slices[static_cast<std::size_t>(taken)]) {
        target = slices[static_cast<std::size_t>(taken)];
        if (earlier == output->data()) earlier = target;
    }
}

int MultiSliceCase::run() {
    return RZ_GetMultiSlicePlane(slices, rows, columns, isSigned, type, target, first, last, earlier,
                                 previousFirst, previousLast);
}

int MultiSliceCase::run_reference(Branches& branches) {
    return rz_reference::get_multi_slice_plane(slices, rows, columns, isSigned, type, target, first, last,
                                               earlier, previousFirst, previousLast, branches);
}

std::string MultiSliceCase::first_difference(const MultiSliceCase& want, const MultiSliceCase& got) {
    const std::string where = " (" + std::to_string(want.rows) + " x " + std::to_string(want.columns) +
                              ", type " + std::to_string(static_cast<int>(want.type)) + "), " +
                              replay(want.seed);
    if (!(*want.output == *got.output)) {
        for (std::size_t i = 0; i < want.output->size(); ++i) {
            const short a = want.output->data()[i];
            const short b = got.output->data()[i];
            if (a != b) {
                return "output sample " + std::to_string(i) + ": want " + std::to_string(a) + ", got " +
                       std::to_string(b) + where;
            }
        }
        return "the fence of the output" + where;
    }
    for (std::size_t k = 0; k < want.rasters.size(); ++k) {
        if (!want.rasters[k]) continue;
        const Slice16& a = *want.rasters[k];
        if (!std::equal(a.data(), a.data() + a.size(), got.rasters[k]->data()))
            return "slice " + std::to_string(k) + where;
    }
    const Slice16& a = *want.previous;
    if (!std::equal(a.data(), a.data() + a.size(), got.previous->data())) return "the earlier mean" + where;
    return "";
}

}  // namespace rz_test
