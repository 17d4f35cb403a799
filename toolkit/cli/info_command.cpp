#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "toolkit/cli/arguments.h"
#include "toolkit/cli/commands.h"
#include "toolkit/core/text.h"

namespace rzobl::cli {

namespace {

struct InfoArguments {
    InputArguments input;
    bool json = false;
};

template <class Sample>
std::pair<double, double> stored_range(const Volume& volume) {
    const Grid& grid = volume.grid();
    const auto count = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
    auto least = std::numeric_limits<Sample>::max();
    auto greatest = std::numeric_limits<Sample>::lowest();
    for (int k = 0; k < grid.size[2]; ++k) {
        const auto* const raster = static_cast<const Sample*>(volume.raster(k));
        const auto [a, b] = std::minmax_element(raster, raster + count);
        least = std::min(least, *a);
        greatest = std::max(greatest, *b);
    }
    return {static_cast<double>(least), static_cast<double>(greatest)};
}

/// Least and greatest value after rescale of a grey volume.
std::pair<double, double> value_range(const Volume& volume) {
    std::pair<double, double> range = volume.kind() == SampleKind::Int16 ? stored_range<std::int16_t>(volume)
                                      : volume.isSigned                  ? stored_range<std::int8_t>(volume)
                                                                         : stored_range<std::uint8_t>(volume);
    const double a = range.first * volume.rescale.slope + volume.rescale.intercept;
    const double b = range.second * volume.rescale.slope + volume.rescale.intercept;
    return std::minmax(a, b);
}

const char* samples_text(SampleKind kind) {
    return kind == SampleKind::Int16 ? "16-bit" : kind == SampleKind::UInt8 ? "8-bit" : "RGB";
}

nlohmann::ordered_json json_of(const ReadResult& input) {
    const Volume& volume = input.volume;
    const Grid& grid = volume.grid();
    nlohmann::ordered_json json;
    json["format"] = input.format;
    json["size"] = grid.size;
    json["spacing"] = grid.spacing;
    json["origin"] = grid.origin;
    json["direction"] = grid.direction;
    json["centre"] = grid.centre();
    json["samples"] = samples_text(volume.kind());
    if (volume.kind() != SampleKind::Rgb) {
        json["signed"] = volume.isSigned;
        json["bits"] = volume.bitDepth;
        json["rescale"] = {{"slope", volume.rescale.slope}, {"intercept", volume.rescale.intercept}};
        const auto [least, greatest] = value_range(volume);
        json["values"] = {least, greatest};
    }
    json["padding"] = volume.padding ? nlohmann::ordered_json(*volume.padding) : nlohmann::ordered_json();
    json["details"] = nlohmann::ordered_json::object();
    for (const auto& [name, value] : input.details) json["details"][name] = value;
    json["warnings"] = input.warnings;
    return json;
}

void line(const std::string& name, const std::string& value) {
    std::printf("%-17s %s\n", (name + ":").c_str(), value.c_str());
}

void print(const ReadResult& input) {
    const Volume& volume = input.volume;
    const Grid& grid = volume.grid();
    line("format", input.format);
    line("size", std::to_string(grid.size[0]) + " x " + std::to_string(grid.size[1]) + " x " +
                     std::to_string(grid.size[2]) + " samples");
    line("spacing",
         text(grid.spacing[0]) + " x " + text(grid.spacing[1]) + " x " + text(grid.spacing[2]) + " mm");
    line("origin", text(grid.origin) + " mm");
    line("centre", text(grid.centre()) + " mm");
    line("columns to", text(grid.direction[0]));
    line("rows to", text(grid.direction[1]));
    line("slices to", text(grid.direction[2]));
    std::string samples = samples_text(volume.kind());
    if (volume.kind() != SampleKind::Rgb)
        samples += std::string(volume.isSigned ? ", signed" : ", unsigned") + ", " +
                   std::to_string(volume.bitDepth) + " significant bits";
    line("samples", samples);
    if (volume.kind() != SampleKind::Rgb) {
        const auto [least, greatest] = value_range(volume);
        line("rescale", "stored x " + text(volume.rescale.slope) +
                            (volume.rescale.intercept < 0 ? " - " : " + ") +
                            text(std::abs(volume.rescale.intercept)));
        line("values", text(least) + " to " + text(greatest));
    }
    if (volume.padding) line("padding", std::to_string(*volume.padding) + " (stored)");
    for (const auto& [name, value] : input.details) line(name, value);
}

void run(const InfoArguments& arguments) {
    const ReadResult input = read_input(arguments.input.path, arguments.input.options(), arguments.json);
    if (arguments.json)
        // Text of a file may be in any encoding; what is not UTF-8 is replaced.
        std::printf(
            "%s\n",
            json_of(input).dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    else
        print(input);
}

}  // namespace

void add_info(CLI::App& program) {
    const auto arguments = std::make_shared<InfoArguments>();
    CLI::App& info = *program.add_subcommand("info", "Say what a volume is and where it lies");
    arguments->input.add_to(info);
    info.add_flag("--json", arguments->json, "As JSON, warnings included");
    info.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
