#include "toolkit/cli/slice_arguments.h"

#include <charconv>
#include <cstdio>
#include <optional>
#include <string_view>

#include "toolkit/cli/progress.h"
#include "toolkit/core/error.h"
#include "toolkit/core/memory.h"
#include "toolkit/core/text.h"
#include "toolkit/io/output_file.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

std::optional<int> integer(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

}  // namespace

SliceRange range(const std::string& option, const std::string& text) {
    const std::size_t colon = text.find(':');
    const auto first = integer(std::string_view(text).substr(0, colon));
    const auto last = colon == std::string::npos ? first : integer(std::string_view(text).substr(colon + 1));
    if (!first || !last)
        throw Error(option + " takes A:B, the first and the last slice counted from 0, not \"" + text + "\"");
    return {*first, *last};
}

int whole_number(const std::string& option, const std::string& text) {
    const auto number = integer(text);
    if (!number) throw Error(option + " takes a whole number, not \"" + text + "\"");
    return *number;
}

RZ_OBL_SlabbingType slabbing_type(const std::string& text) {
    switch (type(text)) {
        case RZ_OBL_RenditionType::Maximum:
            return RZ_OBL_SlabbingType::SlabMaximum;
        case RZ_OBL_RenditionType::Minimum:
            return RZ_OBL_SlabbingType::SlabMinimum;
        case RZ_OBL_RenditionType::Average:
            break;
    }
    return RZ_OBL_SlabbingType::SlabAverage;
}

Vec3 spacings(const std::string& option, const std::string& text) {
    if (text.find(',') != std::string::npos) return vector(option, text);
    const double same = number(option, text);
    return {same, same, same};
}

void PagingArgument::add_to(CLI::App& command) {
    command
        .add_option("--page-to", folder,
                    "Folder for temporary files to which volumes larger than memory page out")
        ->type_name("DIR");
}

void PagingArgument::apply() const {
    if (!folder.empty()) page_to(folder);
}

void SliceOutput::add_to(CLI::App& command) {
    output.add_to(command, ".png for a picture to look at; .mha, .nrrd, .nii, .nii.gz for the samples");
    command.add_option("--window", window, "Centre and width of the greys of a PNG, or auto (default)")
        ->type_name("C,W");
}

void SliceOutput::check() const {
    const OutputFormat format = output_format(output.path);
    if (cli::window(window) && format != OutputFormat::Png)
        throw Error("a window is for PNG pictures; " + output.path + " keeps the samples as they are");
    OutputFile::check(output.path, output.force);
}

void SliceOutput::write(const Image& image, const std::string& what, double milliseconds) const {
    const bool png = output_format(output.path) == OutputFormat::Png;
    const Window shown = cli::window(window).value_or(auto_window(image));
    {
        const Progress progress("writing " + output.path, output.quiet);
        if (png)
            write_png(image, shown, output.path, output.force);
        else
            write_volume(image, output.path, output.force);
    }
    if (output.quiet) return;
    std::printf("%s: %d x %d pixels, %s mm thick", output.path.c_str(), image.width(), image.height(),
                text(image.grid.spacing[2]).c_str());
    if (png) std::printf(", window %s,%s", text(shown.centre).c_str(), text(shown.width).c_str());
    std::printf(", %s in %.2f ms\n", what.c_str(), milliseconds);
}

void check_volume_output(const OutputArguments& output, const char* what) {
    if (output_format(output.path) == OutputFormat::Png)
        throw Error(std::string(what) +
                    " is a volume, and a PNG holds a picture; give OUT the ending .nrrd, .mha or .nii.gz");
    OutputFile::check(output.path, output.force);
}

}  // namespace rzobl::cli
