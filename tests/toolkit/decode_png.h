#pragma once

#include <filesystem>
#include <stdexcept>
#include <vector>

#include <png.h>

namespace rz_test {

struct Decoded {
    int width = 0, height = 0;
    bool colour = false;
    /// As stored: one grey or three bytes red, green, blue per pixel.
    std::vector<unsigned char> bytes;

    int grey(int column, int row) const { return bytes[static_cast<std::size_t>(row * width + column)]; }
    int channel(int column, int row, int c) const {
        return bytes[static_cast<std::size_t>(3 * (row * width + column) + c)];
    }
};

/// Through libpng's simplified reader, which shares nothing with how we write.
inline Decoded decode_png(const std::filesystem::path& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) throw std::runtime_error(image.message);
    Decoded decoded;
    decoded.colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
    image.format = decoded.colour ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
    decoded.width = static_cast<int>(image.width);
    decoded.height = static_cast<int>(image.height);
    decoded.bytes.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, decoded.bytes.data(), 0, nullptr))
        throw std::runtime_error(image.message);
    return decoded;
}

}  // namespace rz_test
