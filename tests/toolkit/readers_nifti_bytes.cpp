#include "readers_nifti_bytes.h"

#include <algorithm>
#include <cstring>

namespace rz_test {

Bytes NiftiFile::bytes() const {
    Bytes header(352, 0);
    const auto put = [&](std::size_t at, auto value) {
        std::uint8_t raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        if (bigEndian) std::reverse(raw, raw + sizeof value);
        std::copy(raw, raw + sizeof value, header.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(0, std::int32_t{348});
    put(40, static_cast<std::int16_t>(dim.size()));
    for (std::size_t i = 0; i < 7; ++i)
        put(42 + 2 * i, static_cast<std::int16_t>(i < dim.size() ? dim[i] : 1));
    put(70, static_cast<std::int16_t>(datatype));
    put(72, static_cast<std::int16_t>(bitpix));
    for (std::size_t i = 0; i < 4; ++i) put(76 + 4 * i, pixdim[i]);
    put(108, offset);
    put(112, slope);
    put(116, intercept);
    header[123] = static_cast<std::uint8_t>(units);
    put(252, static_cast<std::int16_t>(qformCode));
    put(254, static_cast<std::int16_t>(sformCode));
    for (std::size_t i = 0; i < 6; ++i) put(256 + 4 * i, quaternion[i]);
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 4; ++column)
            put(280 + 16 * row + 4 * column, srow[row][column]);
    }
    std::memcpy(header.data() + 344, "n+1", 4);
    Bytes whole(header);
    for (const std::uint8_t byte : samples) whole.push_back(byte);
    return whole;
}

}  // namespace rz_test
