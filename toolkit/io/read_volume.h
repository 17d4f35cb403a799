#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/core/volume.h"

namespace rzobl {

struct ReadOptions {
    /// Regrid what does not lie on an even grid (gantry tilt, unequal gaps, missing slices) instead of
    /// refusing it.
    bool regrid = false;
    /// DICOM series to take where a folder holds several: its UID or the number that the refusal names.
    std::string series;
    /// For float volumes: the value range that is mapped to the 16-bit range. Without it they are refused.
    std::optional<std::pair<double, double>> floatRange;
};

struct ReadResult {
    Volume volume;
    /// "DICOM", "NIfTI", "NRRD", "MetaImage" or "PNG".
    std::string format;
    /// One sentence each, for standard error.
    std::vector<std::string> warnings;
    /// Name and value of what else a person wants to know (modality, series, transfer syntax, ...), for
    /// `rzobl info`.
    std::vector<std::pair<std::string, std::string>> details;
};

/// Reads a DICOM series (a folder, or one file of it), NIfTI, NRRD, MetaImage, or a folder of PNG pictures of
/// one size. What a file promises is checked against what it holds before memory is taken. Throws Error with
/// one sentence. Threads: free.
ReadResult read_volume(const std::filesystem::path& input, const ReadOptions& options = {});

}  // namespace rzobl
