#include <cstdio>
#include <memory>
#include <string>

#include "toolkit/cli/arguments.h"
#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"
#include "toolkit/core/error.h"
#include "toolkit/core/phantom.h"
#include "toolkit/io/output_file.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

struct PhantomArguments {
    OutputArguments output;
    std::string kind = "ct", spacing = "1";
};

void run(const PhantomArguments& arguments) {
    const SampleKind samples = kind(arguments.kind);
    const Grid grid = phantom_grid(number("--spacing", arguments.spacing));
    if (output_format(arguments.output.path) == OutputFormat::Png)
        throw Error(
            "a phantom is a volume, and a PNG holds a picture; give OUT the ending .nrrd, .mha or .nii.gz");
    OutputFile::check(arguments.output.path, arguments.output.force);
    {
        const Progress progress("making " + arguments.output.path, arguments.output.quiet);
        write_volume(make_phantom(grid, samples), arguments.output.path, arguments.output.force);
    }
    if (!arguments.output.quiet)
        std::printf("%s: %d x %d x %d samples\n", arguments.output.path.c_str(), grid.size[0], grid.size[1],
                    grid.size[2]);
}

}  // namespace

void add_phantom(CLI::App& program) {
    const auto arguments = std::make_shared<PhantomArguments>();
    CLI::App& phantom =
        *program.add_subcommand("phantom", "Make a head to try things on, where no scan is at hand");
    arguments->output.add_to(phantom, ".mha, .nrrd, .nii or .nii.gz");
    phantom.add_option("--kind", arguments->kind, "ct (default, 16 bits), byte (8 bits) or colour (RGB)")
        ->type_name("NAME");
    phantom.add_option("--spacing", arguments->spacing, "Millimetres between samples (default 1)")
        ->type_name("MM");
    phantom.footer(
        "A skull with brain, ventricles, airways and lesions; a vessel that winds round the body axis; a\n"
        "cross of rods; three beads on the patient's left and one on the right.\n");
    phantom.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
