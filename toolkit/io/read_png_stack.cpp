#include "toolkit/io/read_png_stack.h"

#include <png.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_regrid.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

struct PngHeader {
    png_uint_32 width = 0, height = 0;
    int bits = 0;
    bool colour = false;
    /// As read: palettes and low depths expanded, no transparency.
    std::size_t rowBytes = 0;
};

struct Fault {
    char text[96] = "";
};

void on_error(png_structp png, png_const_charp text) {
    auto* const fault = static_cast<Fault*>(png_get_error_ptr(png));
    std::snprintf(fault->text, sizeof fault->text, "%s", text);
    png_longjmp(png, 1);
}

void on_warning(png_structp, png_const_charp) {}

/// C only between setjmp and the calls of libpng: no objects with destructors. With `rows` null only the
/// header is read. False if libpng gave up.
bool decode(std::FILE* stream, PngHeader* header, png_bytep samples, Fault* fault) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, fault, on_error, on_warning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    png_set_user_limits(png, 32767, 32767);
    png_init_io(png, stream);
    png_read_info(png, info);
    png_set_expand(png);
    png_set_strip_alpha(png);
    png_set_swap(png);  // samples of 16 bits to this machine's order
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    header->width = png_get_image_width(png, info);
    header->height = png_get_image_height(png, info);
    header->bits = png_get_bit_depth(png, info);
    header->colour = (png_get_color_type(png, info) & PNG_COLOR_MASK_COLOR) != 0;
    header->rowBytes = png_get_rowbytes(png, info);
    if (samples) {
        for (int pass = 0; pass < passes; ++pass) {
            for (png_uint_32 row = 0; row < header->height; ++row)
                png_read_row(png, samples + row * header->rowBytes, nullptr);
        }
        png_read_end(png, nullptr);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

PngHeader decode_file(const fs::path& file, png_bytep samples) {
    readable_size(file);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"), std::fclose);
    if (!stream) refuse("%s cannot be opened: %s", file.c_str(), std::strerror(errno));
    PngHeader header;
    Fault fault;
    if (!decode(stream.get(), &header, samples, &fault))
        refuse("%s cannot be read as PNG: %s", file.c_str(), printable(fault.text).c_str());
    return header;
}

/// "slice9" before "slice10".
bool by_number(const fs::path& a, const fs::path& b) {
    const std::string left = a.filename().string(), right = b.filename().string();
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t i = 0, j = 0;
    while (i < left.size() && j < right.size()) {
        if (!digit(left[i]) || !digit(right[j])) {
            if (left[i] != right[j]) return left[i] < right[j];
            ++i, ++j;
            continue;
        }
        while (i < left.size() && left[i] == '0') ++i;
        while (j < right.size() && right[j] == '0') ++j;
        const std::size_t leftBegin = i, rightBegin = j;
        while (i < left.size() && digit(left[i])) ++i;
        while (j < right.size() && digit(right[j])) ++j;
        if (i - leftBegin != j - rightBegin) return i - leftBegin < j - rightBegin;
        const int order = left.compare(leftBegin, i - leftBegin, right, rightBegin, j - rightBegin);
        if (order != 0) return order < 0;
    }
    if (left.size() - i != right.size() - j) return left.size() - i < right.size() - j;
    return left < right;
}

}  // namespace

std::vector<fs::path> png_files(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (lower_case(entry.path().extension().string()) == ".png") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end(), by_number);
    return files;
}

ReadResult read_png_stack(const std::vector<fs::path>& files, const std::string& name,
                          const ReadOptions& options) {
    const PngHeader first = decode_file(files.front(), nullptr);
    if (first.colour && first.bits != 8)
        refuse("%s: colours of %d bits are not supported, only of 8", files.front().c_str(), first.bits);
    if (files.size() > 32767)
        refuse("%s: %zu pictures; at most 32767 can be read", name.c_str(), files.size());
    const auto same = [&first](const PngHeader& header) {
        return header.width == first.width && header.height == first.height && header.bits == first.bits &&
               header.colour == first.colour;
    };
    // All headers before any pixels: one picture of another size must not cost the reading of all.
    for (const fs::path& file : files) {
        const PngHeader header = decode_file(file, nullptr);
        if (!same(header))
            refuse(
                "%s: %u x %u pixels, %d-bit %s, where %s has %u x %u, %d-bit %s; a stack needs equal "
                "pictures",
                file.c_str(), header.width, header.height, header.bits, header.colour ? "colour" : "grey",
                files.front().c_str(), first.width, first.height, first.bits,
                first.colour ? "colour" : "grey");
    }

    Stack stack;
    stack.columns = static_cast<int>(first.width);
    stack.rows = static_cast<int>(first.height);
    stack.singleDepth = 1;
    StoredSamples samples;
    samples.type = first.bits == 16 ? SampleType::UInt16 : SampleType::UInt8;
    samples.channels = first.colour ? 3 : 1;
    const std::size_t slice = first.rowBytes * first.height;
    samples.count = std::size_t{first.width} * first.height * files.size();
    samples.bytes = allocate_samples(slice * files.size());
    for (std::size_t k = 0; k < files.size(); ++k) {
        if (!same(decode_file(files[k], reinterpret_cast<png_bytep>(samples.bytes.get()) + k * slice)))
            refuse("%s changed while it was read", files[k].c_str());
        stack.positions.push_back({0, 0, static_cast<double>(k)});
    }

    ReadResult result;
    result.warnings.push_back(
        name + ": PNG files state no place in space; samples and slices are taken as 1 mm apart");
    result.volume = make_volume(stack, std::move(samples), options, name, result.warnings);
    result.format = "PNG";
    result.details = {{"pictures", std::to_string(files.size())}};
    return result;
}

}  // namespace rzobl
