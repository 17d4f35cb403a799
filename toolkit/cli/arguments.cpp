#include "toolkit/cli/arguments.h"

#include <charconv>
#include <system_error>
#include <vector>

#include "toolkit/core/error.h"

namespace rzobl::cli {

namespace {

/// The whole text as a number, or nothing. Not the locale's business.
template <class Number>
std::optional<Number> parse(std::string_view text) {
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char letter : text) {
        if (letter == separator)
            parts.emplace_back();
        else
            parts.back() += letter;
    }
    return parts;
}

template <std::size_t N>
std::array<double, N> numbers(const std::string& option, const std::string& text, const char* form) {
    const std::vector<std::string> parts = split(text, ',');
    std::array<double, N> out{};
    if (parts.size() != N) throw Error(option + " takes " + form + ", not \"" + text + "\"");
    for (std::size_t i = 0; i < N; ++i) {
        const std::optional<double> number = parse<double>(parts[i]);
        if (!number) throw Error(option + " takes " + form + ", not \"" + text + "\"");
        out[i] = *number;
    }
    return out;
}

template <class Value, std::size_t N>
Value choose(const char* option, const std::string& text, const std::pair<const char*, Value> (&choices)[N]) {
    std::string names;
    for (std::size_t i = 0; i < N; ++i) {
        if (text == choices[i].first) return choices[i].second;
        names += (i == 0 ? "" : i + 1 == N ? " or " : ", ") + std::string(choices[i].first);
    }
    throw Error(std::string(option) + " takes " + names + ", not \"" + text + "\"");
}

}  // namespace

double number(const std::string& option, const std::string& text) {
    return numbers<1>(option, text, "a number")[0];
}

Vec3 vector(const std::string& option, const std::string& text) {
    return numbers<3>(option, text, "three numbers X,Y,Z");
}

std::pair<double, double> pair(const std::string& option, const std::string& text) {
    const std::array<double, 2> both = numbers<2>(option, text, "two numbers A,B");
    return {both[0], both[1]};
}

std::array<int, 2> size(const std::string& option, const std::string& text) {
    const std::vector<std::string> parts = split(text, 'x');
    const auto width = parse<int>(parts[0]);
    const auto height = parts.size() == 2 ? parse<int>(parts[1]) : std::nullopt;
    if (!width || !height)
        throw Error(option + " takes WxH in pixels, such as 512x512, not \"" + text + "\"");
    return {*width, *height};
}

std::optional<Window> window(const std::string& text) {
    if (text == "auto") return std::nullopt;
    const std::array<double, 2> both = numbers<2>("--window", text, "CENTRE,WIDTH or auto");
    const Window window{both[0], both[1]};
    check(window);
    return window;
}

RZ_OBL_RenditionType type(const std::string& text) {
    using Type = RZ_OBL_RenditionType;
    static constexpr std::pair<const char*, Type> kTypes[] = {
        {"mean", Type::Average}, {"max", Type::Maximum}, {"min", Type::Minimum}};
    return choose("--type", text, kTypes);
}

RZ_OBL_RenditionQuality quality(const std::string& text) {
    using Quality = RZ_OBL_RenditionQuality;
    static constexpr std::pair<const char*, Quality> kQualities[] = {{"nearest", Quality::Nearest},
                                                                     {"fast", Quality::LinearFast},
                                                                     {"semicubic", Quality::SemiCubic},
                                                                     {"cubic", Quality::Cubic},
                                                                     {"linear", Quality::Linear}};
    return choose("--quality", text, kQualities);
}

Preset preset(const std::string& text) {
    static constexpr std::pair<const char*, Preset> kPresets[] = {{"axial", Preset::Axial},
                                                                  {"coronal", Preset::Coronal},
                                                                  {"sagittal", Preset::Sagittal},
                                                                  {"oblique", Preset::Oblique}};
    return choose("--preset", text, kPresets);
}

SampleKind kind(const std::string& text) {
    static constexpr std::pair<const char*, SampleKind> kKinds[] = {
        {"ct", SampleKind::Int16}, {"byte", SampleKind::UInt8}, {"colour", SampleKind::Rgb}};
    return choose("--kind", text, kKinds);
}

void InputArguments::add_to(CLI::App& command) {
    command
        .add_option(
            "INPUT", path,
            "DICOM series (a folder, or one file of it), NIfTI, NRRD, MetaImage or a folder of PNG slices")
        ->required()
        ->type_name("");
    command
        .add_option("--series", series,
                    "Which DICOM series of several: its UID, or its number in the refusal")
        ->type_name("UID");
    command.add_flag("--regrid", regrid,
                     "Regrid what does not lie on an even grid (gantry tilt, unequal gaps, missing slices)");
    command
        .add_option("--float-range", floatRange,
                    "Values of a float volume that become the ends of the 16-bit range")
        ->type_name("A,B");
}

ReadOptions InputArguments::options() const {
    ReadOptions options;
    options.regrid = regrid;
    options.series = series;
    if (!floatRange.empty()) options.floatRange = pair("--float-range", floatRange);
    return options;
}

void OutputArguments::add_to(CLI::App& command, const char* what) {
    command.add_option("-o,--output", path, what)->required()->type_name("OUT");
    command.add_flag("--force", force, "Replace OUT if it exists");
    command.add_flag("--quiet", quiet, "Print nothing but errors");
}

}  // namespace rzobl::cli
