#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "toolkit/core/plane_request.h"
#include "toolkit/io/read_volume.h"

// Texts of the command line as values. All throw Error with a sentence that names the option.

namespace rzobl::cli {

double number(const std::string& option, const std::string& text);
/// "X,Y,Z".
Vec3 vector(const std::string& option, const std::string& text);
/// "A,B".
std::pair<double, double> pair(const std::string& option, const std::string& text);
/// "WxH".
std::array<int, 2> size(const std::string& option, const std::string& text);
/// "CENTRE,WIDTH", or nothing for "auto".
std::optional<Window> window(const std::string& text);
/// "mean", "max" or "min".
RZ_OBL_RenditionType type(const std::string& text);
/// "nearest", "fast", "semicubic", "cubic" or "linear".
RZ_OBL_RenditionQuality quality(const std::string& text);
/// "axial", "coronal", "sagittal" or "oblique".
Preset preset(const std::string& text);
/// "ct", "byte" or "colour".
SampleKind kind(const std::string& text);

/// INPUT and the options of reading it, as every command has them.
struct InputArguments {
    std::string path;
    std::string series;
    std::string floatRange;
    bool regrid = false;

    void add_to(CLI::App& command);
    ReadOptions options() const;
};

/// OUT, --force and --quiet.
struct OutputArguments {
    std::string path;
    bool force = false;
    bool quiet = false;

    void add_to(CLI::App& command, const char* what);
};

}  // namespace rzobl::cli
