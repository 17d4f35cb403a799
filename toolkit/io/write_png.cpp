#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <png.h>

#include "toolkit/core/error.h"
#include "toolkit/io/output_file.h"
#include "toolkit/io/write_volume.h"

namespace rzobl {

namespace {

/// Plain C between setjmp and the last libpng call: nothing with a destructor may live there. Returns 0, or
/// the error number of the write that failed.
int encode(std::FILE* file, const Image& image, unsigned char* greys, std::size_t rowBytes) {
    png_structp png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, [](png_structp, png_const_charp) {});
    if (!png) return ENOMEM;
    png_infop info = png_create_info_struct(png);
    if (!info || setjmp(png_jmpbuf(png))) {
        const int why = errno ? errno : EIO;
        png_destroy_write_struct(&png, &info);
        return why;
    }
    png_init_io(png, file);
    const bool colour = image.kind == SampleKind::Rgb;
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width()), static_cast<png_uint_32>(image.height()),
                 8, colour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    const double perMetre = 1000 / image.grid.spacing[0];
    if (perMetre >= 1 && perMetre < 1e9)
        png_set_pHYs(png, info, static_cast<png_uint_32>(std::lround(perMetre)),
                     static_cast<png_uint_32>(std::lround(perMetre)), PNG_RESOLUTION_METER);
    png_write_info(png, info);
    for (int row = 0; row < image.height(); ++row)
        png_write_row(png, greys + static_cast<std::size_t>(row) * rowBytes);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return 0;
}

}  // namespace

void write_png(const Image& image, const Window& window, const std::filesystem::path& path, bool overwrite) {
    std::vector<unsigned char> greys = apply_window(image, window);
    OutputFile output(path, overwrite);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen(output.temporary().c_str(), "wb"), [](std::FILE* open) { return std::fclose(open); });
    if (!file) throw Error("cannot write " + path.string() + ": " + std::strerror(errno));
    errno = 0;
    int why =
        encode(file.get(), image, greys.data(), greys.size() / static_cast<std::size_t>(image.height()));
    // Buffered bytes can still meet a full disk.
    if (why == 0 && std::fflush(file.get()) != 0) why = errno;
    if (why != 0) throw Error("cannot write " + path.string() + ": " + std::strerror(why));
    output.commit();
}

}  // namespace rzobl
