#include <cstdio>
#include <memory>
#include <string>

#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"
#include "toolkit/cli/slice_arguments.h"
#include "toolkit/core/subtract.h"

namespace rzobl::cli {

namespace {

struct SubtractArguments {
    InputArguments input;
    SliceOutput out;
    PagingArgument paging;
    std::string minuend, subtrahend, shift = "0,0", offset = "0";
    bool wholeRows = false;
};

void run(const SubtractArguments& arguments) {
    SubtractRequest request;
    request.minuend = range("--minuend", arguments.minuend);
    request.subtrahend = range("--subtrahend", arguments.subtrahend);
    const auto [across, down] = pair("--shift", arguments.shift);
    request.shift = {across, down};
    request.offset = whole_number("--offset", arguments.offset);
    request.wholeRows = arguments.wholeRows;
    arguments.out.check();
    arguments.paging.apply();
    const ReadResult input =
        read_input(arguments.input.path, arguments.input.options(), arguments.out.output.quiet);
    const Stopwatch watch;
    const Image image = [&] {
        const Progress progress("subtracting slices", arguments.out.output.quiet);
        return subtract(input.volume, request);
    }();
    const double taken = watch.milliseconds();
    arguments.out.write(image, "subtracted", taken);
    const int rows = image.lastRow - image.firstRow + 1;
    if (rows < image.height() && !arguments.out.output.quiet)
        std::fprintf(stderr, "rzobl: warning: the shift leaves %d of %d rows nothing to subtract\n",
                     image.height() - rows, image.height());
}

}  // namespace

void add_subtract(CLI::App& program) {
    const auto arguments = std::make_shared<SubtractArguments>();
    SubtractArguments& a = *arguments;
    CLI::App& subtract = *program.add_subcommand(
        "subtract", "Subtract the mean of some slices from the mean of others, shifted");
    a.input.add_to(subtract);
    a.out.add_to(subtract);
    subtract
        .add_option("--minuend", a.minuend,
                    "Slices subtracted from, both included, counted from 0 (A for one)")
        ->required()
        ->type_name("A:B");
    subtract.add_option("--subtrahend", a.subtrahend, "Slices that are subtracted")
        ->required()
        ->type_name("C:D");
    subtract
        .add_option("--shift", a.shift,
                    "In samples: pixel (c, r) takes the subtrahend at (c + X, r + Y) (default 0,0)")
        ->type_name("X,Y");
    subtract.add_option("--offset", a.offset, "Added to stored differences of unsigned samples (default 0)")
        ->type_name("N");
    subtract.add_flag("--whole-rows", a.wholeRows,
                      "The library's rows in one call, with the arithmetic of its blocks: see below");
    a.paging.add_to(subtract);
    subtract.footer(
        "Slices count from 0. X is 0 or more and less than 1: the library moves rows by any number of "
        "samples\n"
        "but columns only by a fraction, and its ignoring the rest in silence would be no answer. A negative "
        "Y\n"
        "takes its floor: -0.25 is one row up and 0.75 down again. Fractions up to 0.001 count as none.\n"
        "\n"
        "Rows that the shift moves off the picture have nothing subtracted from them: they hold the "
        "minuend's\n"
        "mean, without the offset, and a warning tells how many they are.\n"
        "\n"
        "Signed samples (CT) give signed differences and take no offset. Unsigned ones do not go below 0: "
        "an\n"
        "offset of half their range keeps both signs (0 to 32767; for 8-bit samples 0 to 255). The rescale "
        "of\n"
        "the result takes the offset off again.\n"
        "\n"
        "By default every sample is computed by the definition: means rounded to the nearest, shifts "
        "bilinear.\n"
        "--whole-rows subtracts as a viewer in motion does, and the arithmetic of the library's blocks "
        "shows:\n"
        "means of 3 and more 16-bit slices are some tenths of a percent low, those of very many further "
        "off;\n"
        "a fraction of Y moves along the columns and one of X along the rows, and X alone not at all; "
        "signed\n"
        "samples go wrong where one of the four weights reaches 1/2; 8-bit samples blend by pairs; the "
        "bottom\n"
        "row blends with black; the last columns of a row, which no block holds, come out unlike the rest.\n"
        "Without a fraction and with one slice a side both ways agree but there, where negative samples may\n"
        "differ by 1.\n");
    subtract.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
