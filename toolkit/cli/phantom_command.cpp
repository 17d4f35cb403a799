#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "toolkit/cli/arguments.h"
#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"
#include "toolkit/core/error.h"
#include "toolkit/core/frames_phantom.h"
#include "toolkit/core/phantom.h"
#include "toolkit/io/output_file.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

struct PhantomArguments {
    OutputArguments output;
    std::string kind = "ct", spacing;
};

void run(const PhantomArguments& arguments) {
    const bool frames = arguments.kind == "frames";
    const SampleKind samples = frames ? SampleKind::Int16 : kind(arguments.kind);
    if (frames && !arguments.spacing.empty())
        throw Error("frames have a spacing of their own; leave --spacing out");
    const Grid grid = phantom_grid(arguments.spacing.empty() ? 1 : number("--spacing", arguments.spacing));
    if (output_format(arguments.output.path) == OutputFormat::Png)
        throw Error(
            "a phantom is a volume, and a PNG holds a picture; give OUT the ending .nrrd, .mha or .nii.gz");
    OutputFile::check(arguments.output.path, arguments.output.force);
    const Volume phantom = [&] {
        const Progress progress("making " + arguments.output.path, arguments.output.quiet);
        const Volume made = frames ? make_frames() : make_phantom(grid, samples);
        write_volume(made, arguments.output.path, arguments.output.force);
        return made;
    }();
    const std::array<int, 3>& size = phantom.grid().size;
    if (!arguments.output.quiet)
        std::printf("%s: %d x %d x %d samples\n", arguments.output.path.c_str(), size[0], size[1], size[2]);
}

}  // namespace

void add_phantom(CLI::App& program) {
    const auto arguments = std::make_shared<PhantomArguments>();
    CLI::App& phantom =
        *program.add_subcommand("phantom", "Make a head to try things on, where no scan is at hand");
    arguments->output.add_to(phantom, ".mha, .nrrd, .nii or .nii.gz");
    phantom
        .add_option("--kind", arguments->kind,
                    "ct (default, 16 bits), byte (8 bits), colour (RGB) or frames (angiography)")
        ->type_name("NAME");
    phantom.add_option("--spacing", arguments->spacing, "Millimetres between samples (default 1)")
        ->type_name("MM");
    phantom.footer(
        "A skull with brain, ventricles, airways and lesions; a vessel that winds round the body axis; a\n"
        "cross of rods; three beads on the patient's left and one on the right.\n"
        "\n"
        "Frames: four of ribs and spine, then four with contrast in a vessel tree, the patient having moved "
        "by\n"
        "0.4 columns and 2.6 rows; something to subtract.\n");
    phantom.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
