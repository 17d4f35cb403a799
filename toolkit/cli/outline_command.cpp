#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/cli/arguments.h"
#include "toolkit/cli/commands.h"
#include "toolkit/core/error.h"
#include "toolkit/core/outline.h"
#include "toolkit/core/text.h"
#include "toolkit/io/output_file.h"

namespace rzobl::cli {

namespace {

struct OutlineArguments {
    InputArguments input;
    std::string normal, centre, output;
    bool force = false, quiet = false;
};

bool is_svg(const std::string& path) {
    return path.size() > 4 && path.compare(path.size() - 4, 4, ".svg") == 0;
}

void write_svg(const std::string& path, bool force, const std::string& svg) {
    OutputFile file(path, force);
    std::ofstream stream(file.temporary());
    stream << svg;
    stream.close();
    if (!stream) throw Error("cannot write " + path + ": the disk may be full");
    file.commit();
}

void run(const OutlineArguments& arguments) {
    const Vec3 normal = vector("--normal", arguments.normal);
    std::optional<Vec3> centre;
    if (!arguments.centre.empty()) centre = vector("--centre", arguments.centre);
    if (!arguments.output.empty()) {
        if (!is_svg(arguments.output)) throw Error("a drawing is an SVG; give OUT the ending .svg");
        OutputFile::check(arguments.output, arguments.force);
    }
    const ReadResult input = read_input(arguments.input.path, arguments.input.options(), arguments.quiet);
    const Grid& grid = input.volume.grid();
    const Vec3 point = centre.value_or(grid.centre());
    const Stopwatch watch;
    const std::vector<Vec3> polygon = outline(grid, normal, point);
    const double taken = watch.milliseconds();
    if (polygon.empty())
        throw Error("the plane through " + text(point) + " with normal " + text(normal) +
                    " misses the volume, whose middle is " + text(grid.centre()));
    if (!arguments.output.empty()) write_svg(arguments.output, arguments.force, outline_svg(grid, polygon));
    if (arguments.quiet) return;
    if (!arguments.output.empty())
        std::printf("%s: %zu corners, found in %.3f ms\n", arguments.output.c_str(), polygon.size(), taken);
    else
        for (const Vec3& corner : polygon) std::printf("%s\n", text(corner).c_str());
}

}  // namespace

void add_outline(CLI::App& program) {
    const auto arguments = std::make_shared<OutlineArguments>();
    OutlineArguments& a = *arguments;
    CLI::App& outline =
        *program.add_subcommand("outline", "Tell where a plane cuts the outer faces of a volume");
    a.input.add_to(outline);
    outline.add_option("--normal", a.normal, "Direction at right angles to the plane")
        ->required()
        ->type_name("X,Y,Z");
    outline.add_option("--centre", a.centre, "A point of the plane (default: middle of the volume)")
        ->type_name("X,Y,Z");
    outline.add_option("-o,--output", a.output, "A drawing of the volume's box and the cut, .svg")
        ->type_name("OUT");
    outline.add_flag("--force", a.force, "Replace OUT if it exists");
    outline.add_flag("--quiet", a.quiet, "Print nothing but errors");
    outline.footer("Prints the corners of the cut in LPS millimetres, in their order round it.\n");
    outline.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
