#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/cli/arguments.h"
#include "toolkit/cli/commands.h"
#include "toolkit/cli/interrupt.h"
#include "toolkit/cli/progress.h"
#include "toolkit/cli/progress_bar.h"
#include "toolkit/core/background.h"
#include "toolkit/core/curved_request.h"
#include "toolkit/core/error.h"
#include "toolkit/core/mark_curve.h"
#include "toolkit/core/text.h"
#include "toolkit/io/output_file.h"
#include "toolkit/io/read_points.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

struct CurvedArguments {
    InputArguments input;
    OutputArguments output;
    std::string points, sweep, size, spacing, thickness = "0", band, type = "mean", window = "auto",
                                              background, plane;
    bool localFrames = false;
};

CurvedRequest request_of(const CurvedArguments& arguments) {
    CurvedRequest request;
    request.localFrames = arguments.localFrames;
    if (!arguments.sweep.empty()) request.sweep = vector("--sweep", arguments.sweep);
    if (!arguments.size.empty()) request.size = size("--size", arguments.size);
    if (!arguments.spacing.empty()) request.spacing = number("--spacing", arguments.spacing);
    request.thickness = number("--thickness", arguments.thickness);
    if (!arguments.band.empty()) {
        if (!arguments.localFrames)
            throw Error(
                "--band is the width of a picture whose sweep turns with the curve; give "
                "--local-frames too");
        request.band = number("--band", arguments.band);
    }
    request.type = type(arguments.type);
    if (!arguments.background.empty()) request.background = number("--background", arguments.background);
    request.points = read_points(arguments.points);
    return request;
}

void check_outputs(const CurvedArguments& arguments, bool window) {
    const std::string& path = arguments.output.path;
    if (window && output_format(path) != OutputFormat::Png)
        throw Error("a window is for PNG pictures; " + path + " keeps the samples as they are");
    OutputFile::check(path, arguments.output.force);
    if (arguments.plane.empty()) return;
    if (output_format(arguments.plane) != OutputFormat::Png)
        throw Error("--plane draws in colour over a picture, and its file ends in .png, not as " +
                    arguments.plane + " does");
    OutputFile::check(arguments.plane, arguments.output.force);
    const auto whole = [](const std::string& name) {
        return std::filesystem::absolute(name).lexically_normal();
    };
    if (whole(arguments.plane) == whole(path)) throw Error("--plane and --output name the same file");
}

double pixel_of(const CurvedImage& curved) {
    return curved.image.grid.spacing[curved.curveRunsDown ? 0 : 1];
}

CurvedImage draw(const Volume& volume, const CurvedRequest& request, const OutputArguments& output) {
    WKR_Task task;
    ProgressBar bar("drawing " + output.path, output.quiet);
    const CancelOnInterrupt interrupt(task);
    return draw_curved(volume, request, {&task, [&bar](double share) { bar.show(share); }});
}

/// The plane of the curve with the curve drawn in, about as fine as the picture of the curve. Returns a line
/// that says what was drawn.
std::string write_plane(const Volume& volume, const CurvedImage& curved, const std::optional<Window>& window,
                        const CurvedArguments& arguments) {
    std::vector<Vec3> points;
    for (const CurveLine& line : curved.lines) points.push_back(line.point);
    const Progress progress("drawing " + arguments.plane, arguments.output.quiet);
    PlaneRequest request = plane_of_curve(volume, points);
    const Grid& grid = volume.grid();
    const double extent = std::max(
        {grid.spacing[0] * grid.size[0], grid.spacing[1] * grid.size[1], grid.spacing[2] * grid.size[2]});
    request.spacing = std::max(pixel_of(curved), extent / 1024);
    const Stopwatch watch;
    const Image plane = reformat(volume, request);
    const Image marked = mark_curve(plane, window.value_or(auto_window(plane)), points);
    const double drawn = watch.milliseconds();
    write_png(marked, {127.5, 255}, arguments.plane, arguments.output.force);
    char line[80];
    std::snprintf(line, sizeof line, ": %d x %d pixels of %s mm, drawn in %.2f ms", marked.width(),
                  marked.height(), text(marked.grid.spacing[0]).c_str(), drawn);
    return arguments.plane + line;
}

void run(const CurvedArguments& arguments) {
    // What can be refused without the volume is refused first.
    const OutputFormat format = output_format(arguments.output.path);
    const std::optional<Window> asked = window(arguments.window);
    check_outputs(arguments, asked.has_value());
    CurvedRequest request = request_of(arguments);

    const ReadResult input =
        read_input(arguments.input.path, arguments.input.options(), arguments.output.quiet);
    // Looks at every sample, and is no part of drawing.
    if (!request.background) request.background = default_background(input.volume);
    const Stopwatch watch;
    const CurvedImage curved = draw(input.volume, request, arguments.output);
    const double drawn = watch.milliseconds();
    const Image& image = curved.image;
    const Window shown = asked.value_or(auto_window(image));
    {
        const Progress progress("writing " + arguments.output.path, arguments.output.quiet);
        if (format == OutputFormat::Png)
            write_png(image, shown, arguments.output.path, arguments.output.force);
        else
            write_volume(image, arguments.output.path, arguments.output.force);
    }
    std::string plane;
    if (!arguments.plane.empty()) plane = write_plane(input.volume, curved, asked, arguments);
    if (arguments.output.quiet) return;
    std::printf("%s: %d x %d pixels of %s mm, %s mm of curve from %s", arguments.output.path.c_str(),
                image.width(), image.height(), text(pixel_of(curved)).c_str(),
                text(curved.curveLength).c_str(), curved.curveRunsDown ? "top to bottom" : "left to right");
    if (format == OutputFormat::Png)
        std::printf(", window %s,%s", text(shown.centre).c_str(), text(shown.width).c_str());
    else
        std::printf(", written flat at the origin, since a curved picture lies in no plane");
    std::printf(", drawn in %.2f ms\n", drawn);
    if (!plane.empty()) std::printf("%s\n", plane.c_str());
}

}  // namespace

void add_curved(CLI::App& program) {
    const auto arguments = std::make_shared<CurvedArguments>();
    CurvedArguments& a = *arguments;
    CLI::App& curved =
        *program.add_subcommand("curved", "Draw the surface swept along a curve through a volume, unrolled");
    a.input.add_to(curved);
    a.output.add_to(curved, ".png for a picture to look at; .mha, .nrrd, .nii, .nii.gz for the samples");
    curved
        .add_option("--points", a.points,
                    "Points on the curve in their order along it: a file, or \"X,Y,Z;X,Y,Z;...\"")
        ->type_name("POINTS")
        ->required();
    curved.add_option("--sweep", a.sweep, "Direction across the curve (default: see below)")
        ->type_name("X,Y,Z");
    curved.add_flag("--local-frames", a.localFrames, "Let the sweep turn with the curve");
    curved.add_option("--size", a.size, "Pixels (default: the whole curve by the whole volume)")
        ->type_name("WxH");
    curved
        .add_option("--spacing", a.spacing,
                    "Side of a pixel (default: the finest spacing of the volume; with --size what shows "
                    "the whole curve)")
        ->type_name("MM");
    curved
        .add_option("--thickness", a.thickness,
                    "Whole thickness of a slab about the surface (default 0: none)")
        ->type_name("MM");
    curved.add_option("--band", a.band, "With --local-frames: draw only this much across the curve")
        ->type_name("MM");
    curved.add_option("--type", a.type, "mean (default), max or min over the slab")->type_name("NAME");
    curved.add_option("--window", a.window, "Centre and width of the greys of a PNG, or auto (default)")
        ->type_name("C,W");
    curved
        .add_option("--background", a.background,
                    "Value of pixels outside the volume (default: its padding value, or its least value)")
        ->type_name("V");
    curved
        .add_option("--plane", a.plane,
                    "A .png for the plane that fits the curve best, with the curve drawn in from yellow to "
                    "red")
        ->type_name("FILE");
    curved.footer(
        "The curve passes smoothly through all points. Equal steps along it are equal lengths of curve;\n"
        "across it the picture shows straight lines along the sweep, sampled linearly. Without --sweep they\n"
        "run along the normal of the plane that fits the curve best; for a straight curve to the left, or "
        "to\n"
        "the head where it does not run that way itself.\n"
        "\n"
        "How pictures lie: a sweep mostly to the left has the patient's right on the left, and the curve\n"
        "runs down; one mostly to the head has the head up, and the curve runs to the right. One mostly to\n"
        "the back has the front on the left where the curve runs along the body, else up. The curve starts\n"
        "at the left or at the top; with --size it lies in the middle of the picture.\n"
        "\n"
        "Files of points: tables with a point a line (comma, semicolon, tab or blanks; columns named x, y,\n"
        "z, or three numbers), JSON ([[x,y,z],...] or [{\"x\":x,\"y\":y,\"z\":z},...]), or markups as "
        "viewers\n"
        "write them, as tables or JSON. Points are LPS millimetres; files that say RAS are turned to LPS.\n"
        "\n"
        "For volumes of 16-bit and 8-bit samples, not for colours. A slab is drawn where both of its faces\n"
        "lie inside the volume. MetaImage, NRRD and NIfTI hold the picture flat, at the origin, with its\n"
        "spacing along and across the curve.\n"
        "\n"
        "Ctrl-C ends the drawing early and leaves no file; the exit code is then 130.\n");
    curved.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
