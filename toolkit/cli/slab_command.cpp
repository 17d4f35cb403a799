#include <cstdio>
#include <memory>
#include <string>

#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"
#include "toolkit/cli/progress_bar.h"
#include "toolkit/cli/slice_arguments.h"
#include "toolkit/core/error.h"
#include "toolkit/core/slab.h"
#include "toolkit/core/text.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

struct SlabArguments {
    InputArguments input;
    SliceOutput out;
    PagingArgument paging;
    std::string range, type = "mean";
    bool slide = false, afresh = false;
};

void write_slide(const SlabArguments& arguments, const Volume& volume, const SliceRange& slices) {
    const OutputArguments& output = arguments.out.output;
    const Stopwatch watch;
    const Volume slabs = [&] {
        ProgressBar bar("combining slices", output.quiet);
        return sliding_slab(volume, slices, slabbing_type(arguments.type),
                            arguments.afresh ? Slide::Afresh : Slide::Incremental,
                            [&bar](double share) { bar.show(share); });
    }();
    const double combined = watch.milliseconds();
    {
        const Progress progress("writing " + output.path, output.quiet);
        write_volume(slabs, output.path, output.force);
    }
    if (!output.quiet)
        std::printf("%s: %d slabs of %d slices, %s mm apart, combined in %.2f ms\n", output.path.c_str(),
                    slabs.grid().size[2], slices.count(), text(slabs.grid().spacing[2]).c_str(), combined);
}

void run(const SlabArguments& arguments) {
    const SliceRange slices = range("--range", arguments.range);
    const RZ_OBL_SlabbingType combination = slabbing_type(arguments.type);
    if (arguments.afresh && !arguments.slide)
        throw Error("--afresh says how a sliding slab is summed; give --slide as well");
    arguments.out.check();
    if (arguments.slide) check_volume_output(arguments.out.output, "a sliding slab");
    arguments.paging.apply();
    const ReadResult input =
        read_input(arguments.input.path, arguments.input.options(), arguments.out.output.quiet);
    if (arguments.slide) return write_slide(arguments, input.volume, slices);
    const Stopwatch watch;
    const Image image = [&] {
        const Progress progress("combining slices", arguments.out.output.quiet);
        return slab(input.volume, slices, combination);
    }();
    arguments.out.write(image, "combined", watch.milliseconds());
}

}  // namespace

void add_slab(CLI::App& program) {
    const auto arguments = std::make_shared<SlabArguments>();
    SlabArguments& a = *arguments;
    CLI::App& slab = *program.add_subcommand("slab", "Combine slices of a volume into one, sample by sample");
    a.input.add_to(slab);
    a.out.add_to(slab);
    slab.add_option("--range", a.range, "First and last slice, both included, counted from 0")
        ->required()
        ->type_name("A:B");
    slab.add_option("--type", a.type, "mean (default), max or min")->type_name("NAME");
    slab.add_flag("--slide", a.slide,
                  "Move the slab on through the volume, slice by slice; OUT is the volume of all of them");
    slab.add_flag("--afresh", a.afresh,
                  "With --slide: sum every mean afresh instead of going on from the one before");
    a.paging.add_to(slab);
    slab.footer(
        "Slices count from 0, as in the library; rzobl info says how many there are. The result lies in the\n"
        "middle of the range and is as thick as all of it; its samples are 16-bit (8-bit volumes are "
        "widened).\n"
        "A PNG shows the slice as it is stored.\n"
        "\n"
        "A mean is the arithmetic mean of the stored samples, rounded to the nearest, whatever their signs:\n"
        "the library itself averages 16-bit patterns, so that signed samples are moved up by 32768 for it "
        "and\n"
        "the result back down.\n"
        "\n"
        "--slide goes on from the mean before where that pays: where the slab has 8 slices or more, each "
        "mean\n"
        "costs two slices instead of all. Such a mean starts from a rounded one, so that it may be off by a\n"
        "few units after many steps; --afresh has every mean exact.\n");
    slab.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
