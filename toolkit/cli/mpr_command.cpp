#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "toolkit/cli/arguments.h"
#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"
#include "toolkit/core/error.h"
#include "toolkit/core/text.h"
#include "toolkit/io/output_file.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

struct MprArguments {
    InputArguments input;
    OutputArguments output;
    std::string preset, centre, normal, up, size, spacing, thickness = "0", type = "mean", quality = "linear",
                                                           window = "auto", background;
};

PlaneRequest request_of(const MprArguments& arguments) {
    if (!arguments.preset.empty() && !arguments.normal.empty())
        throw Error("--preset and --normal both say how the plane lies; give one of them");
    PlaneRequest request;
    if (arguments.normal.empty())
        request = preset_request(preset(arguments.preset.empty() ? "axial" : arguments.preset));
    else
        request.normal = vector("--normal", arguments.normal);
    if (!arguments.centre.empty()) request.centre = vector("--centre", arguments.centre);
    if (!arguments.up.empty()) request.up = vector("--up", arguments.up);
    if (!arguments.size.empty()) request.size = size("--size", arguments.size);
    if (!arguments.spacing.empty()) request.spacing = number("--spacing", arguments.spacing);
    if (!arguments.background.empty()) request.background = number("--background", arguments.background);
    request.thickness = number("--thickness", arguments.thickness);
    request.type = type(arguments.type);
    request.quality = quality(arguments.quality);
    return request;
}

void run(const MprArguments& arguments) {
    // What can be refused without the volume is refused first.
    PlaneRequest request = request_of(arguments);
    const OutputFormat format = output_format(arguments.output.path);
    const std::optional<Window> asked = window(arguments.window);
    if (asked && format != OutputFormat::Png)
        throw Error("a window is for PNG pictures; " + arguments.output.path +
                    " keeps the samples as they are");
    OutputFile::check(arguments.output.path, arguments.output.force);

    const ReadResult input =
        read_input(arguments.input.path, arguments.input.options(), arguments.output.quiet);
    request = resolve(input.volume, request);
    const Stopwatch watch;
    const Image image = [&] {
        const Progress progress("drawing " + arguments.output.path, arguments.output.quiet);
        return reformat(input.volume, request);
    }();
    const double drawn = watch.milliseconds();
    const Window shown = asked.value_or(auto_window(image));
    {
        const Progress progress("writing " + arguments.output.path, arguments.output.quiet);
        if (format == OutputFormat::Png)
            write_png(image, shown, arguments.output.path, arguments.output.force);
        else
            write_volume(image, arguments.output.path, arguments.output.force);
    }
    if (arguments.output.quiet) return;
    std::printf("%s: %d x %d pixels of %s mm", arguments.output.path.c_str(), image.width(), image.height(),
                text(image.grid.spacing[0]).c_str());
    if (format == OutputFormat::Png)
        std::printf(", window %s,%s", text(shown.centre).c_str(), text(shown.width).c_str());
    std::printf(", drawn in %.2f ms\n", drawn);
}

}  // namespace

void add_mpr(CLI::App& program) {
    const auto arguments = std::make_shared<MprArguments>();
    MprArguments& a = *arguments;
    CLI::App& mpr = *program.add_subcommand("mpr", "Draw a plane, or a slab about it, through a volume");
    a.input.add_to(mpr);
    a.output.add_to(mpr, ".png for a picture to look at; .mha, .nrrd, .nii, .nii.gz for the samples");
    mpr.add_option("--preset", a.preset, "axial (default), coronal, sagittal or oblique")->type_name("NAME");
    mpr.add_option("--centre", a.centre, "Middle of the picture (default: middle of the volume)")
        ->type_name("X,Y,Z");
    mpr.add_option("--normal", a.normal, "Direction of view, instead of a preset")->type_name("X,Y,Z");
    mpr.add_option("--up", a.up,
                   "What points up in the picture (default: the head, or the front in views "
                   "mostly along the body)")
        ->type_name("X,Y,Z");
    mpr.add_option("--size", a.size, "Pixels (default: what shows the whole volume)")->type_name("WxH");
    mpr.add_option("--spacing", a.spacing, "Side of a pixel (default: the finest spacing of the volume)")
        ->type_name("MM");
    mpr.add_option("--thickness", a.thickness, "Whole thickness of a slab (default 0: a plane)")
        ->type_name("MM");
    mpr.add_option("--type", a.type, "mean (default), max or min over the slab")->type_name("NAME");
    mpr.add_option("--quality", a.quality, "nearest, fast, semicubic, cubic or linear (default)")
        ->type_name("NAME");
    mpr.add_option("--window", a.window, "Centre and width of the greys of a PNG, or auto (default)")
        ->type_name("C,W");
    mpr.add_option("--background", a.background,
                   "Value of pixels outside the volume (default: its padding value, or its least value)")
        ->type_name("V");
    mpr.footer(
        "How pictures lie: as radiologists expect. The patient's right is on the left of axial and coronal\n"
        "pictures; the front is up in axial ones, on the left of sagittal ones; the head is up in coronal "
        "and\n"
        "sagittal ones. --normal points away from the viewer: 0,0,1 looks from the feet to the head.\n"
        "\n"
        "Coordinates are LPS millimetres, values are those after rescale (Hounsfield units for CT).\n"
        "\n"
        "Qualities: linear; fast, which for max and min draws every second row and column and fills in the\n"
        "rest; semicubic, cubic in the two axes nearest the plane; cubic, in all three (8-bit volumes are\n"
        "always linear, colours linear or cubic); nearest, the sample itself, for max and min. Every pixel\n"
        "stands where its position says, with one exception that is part of the method: nearest with mean "
        "is\n"
        "a linear picture half a sample off along each axis of the volume; use max for true samples.\n"
        "\n"
        "A slab is drawn where both of its faces lie inside the volume, in steps of one sample along the\n"
        "volume axis nearest the normal. The outermost samples of a volume have no neighbour to interpolate\n"
        "with, so that a picture along its axes has a border of one pixel of background, and of up to three "
        "with semicubic.\n");
    mpr.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
