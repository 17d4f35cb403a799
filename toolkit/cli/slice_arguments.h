#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "toolkit/cli/arguments.h"
#include "toolkit/core/image.h"
#include "toolkit/core/slice_range.h"

// What the commands on whole slices have in common. Texts become values as in arguments.h.

namespace rzobl::cli {

/// "A:B", or "A" for a single slice.
SliceRange range(const std::string& option, const std::string& text);
int whole_number(const std::string& option, const std::string& text);
/// "mean", "max" or "min".
RZ_OBL_SlabbingType slabbing_type(const std::string& text);
/// "X,Y,Z", where "X" stands for three equal numbers.
Vec3 spacings(const std::string& option, const std::string& text);

/// --page-to.
struct PagingArgument {
    std::string folder;

    void add_to(CLI::App& command);
    /// Before the first volume.
    void apply() const;
};

/// OUT and --window of a command that makes one slice: a PNG picture or a volume of a slice.
struct SliceOutput {
    OutputArguments output;
    std::string window = "auto";

    void add_to(CLI::App& command);
    /// Throws Error for what can be refused before the work.
    void check() const;
    /// what: the work, for the line on standard output; milliseconds: of it.
    void write(const Image& image, const std::string& what, double milliseconds) const;
};

/// The same for a volume: refuses PNG and what cannot be written.
void check_volume_output(const OutputArguments& output, const char* what);

}  // namespace rzobl::cli
