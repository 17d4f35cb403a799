#include "toolkit/io/dicom/read_dicom.h"

#include <algorithm>

#include "toolkit/io/dicom/deep_stack.h"
#include "toolkit/io/dicom/pixels.h"
#include "toolkit/io/dicom/series.h"
#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_probe.h"
#include "toolkit/io/read_regrid.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

constexpr int kDepthLimit = 8;
constexpr std::size_t kFileLimit = 200000;

bool is_candidate(const fs::path& file) {
    return lower_case(file.filename().string()) != "dicomdir" &&
           (named_as_dicom(file) || starts_as_dicom(file));
}

ReadResult read_series(dicom::Series series, const std::string& input, const ReadOptions& options,
                       std::vector<std::string> warnings) {
    ReadResult result;
    result.warnings = std::move(warnings);
    const Stack stack = dicom::sort_slices(series, input, result.warnings);
    require_even(measure(stack, input), options, input);
    if (series.facts.hasLookupTable)
        result.warnings.push_back(input + ": its modality lookup table is not applied; values are as stored");
    if (series.frames.front().layout.photometric == "MONOCHROME1")
        result.warnings.push_back(input +
                                  ": its greys are stored inverted (MONOCHROME1); values are as stored");

    StoredSamples samples = dicom::read_pixels(series.frames, input, result.warnings);
    result.volume = make_volume(stack, std::move(samples), options, input, result.warnings);
    result.format = "DICOM";
    const dicom::PixelLayout& layout = series.frames.front().layout;
    const std::vector<std::pair<std::string, std::string>> details{
        {"modality", series.facts.modality},
        {"series number", series.facts.number},
        {"series", series.facts.description},
        {"series UID", series.facts.uid},
        {"manufacturer", series.facts.manufacturer},
        {"transfer syntax", series.facts.transferSyntax},
        {"slices", std::to_string(series.frames.size())},
        {"stored bits", sentence("%d %s in %d", layout.bitsStored, layout.isSigned ? "signed" : "unsigned",
                                 layout.bitsAllocated)},
    };
    for (const auto& [name, value] : details) {
        if (!value.empty()) result.details.emplace_back(name, printable(value));
    }
    return result;
}

/// What stays out of every series is told, unless nothing else is there.
void tell_unplaced(const std::vector<dicom::Header>& headers, bool alone, const std::string& input,
                   std::vector<std::string>& warnings) {
    std::size_t unplaced = 0;
    std::string example;
    for (const dicom::Header& header : headers) {
        for (const dicom::Frame& frame : header.frames) {
            if (frame.placed) continue;
            if (unplaced++ == 0) example = frame.file.filename().string();
        }
    }
    if (alone && unplaced == 0) refuse("%s holds DICOM files but no pictures", input.c_str());
    if (alone)
        refuse(
            "%s: its pictures (%s) do not say where they lie (ImagePositionPatient, ImageOrientationPatient, "
            "PixelSpacing), so they are no volume",
            input.c_str(), printable(example).c_str());
    if (unplaced > 0)
        warnings.push_back(sentence("%s: %s without a place in space (%s) left out", input.c_str(),
                                    counted(unplaced, "picture").c_str(), printable(example).c_str()));
}

ReadResult read_folder(const fs::path& folder, const std::vector<fs::path>& files,
                       const ReadOptions& options) {
    const std::string input = folder.string();
    std::vector<dicom::Header> headers;
    for (const fs::path& file : files) {
        readable_size(file);
        headers.push_back(dicom::read_header(file));
    }
    const std::vector<dicom::Series> all = dicom::group(headers);
    std::vector<std::string> warnings;
    tell_unplaced(headers, all.empty(), input, warnings);
    return read_series(dicom::choose(all, options.series, input), input, options, std::move(warnings));
}

ReadResult read_file(const fs::path& file, const ReadOptions& options) {
    const std::string input = file.string();
    readable_size(file);
    const dicom::Header own = dicom::read_header(file);
    if (own.frames.empty()) refuse("%s is a DICOM file without pictures", file.c_str());
    if (!own.frames.front().placed) {
        std::vector<std::string> none;
        tell_unplaced({own}, true, input, none);
    }

    // The file's own series first, so that its place in the list is known.
    std::vector<dicom::Header> headers{own};
    std::vector<std::string> warnings;
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    std::vector<fs::path> neighbours;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        std::error_code ignored;
        if (entry.is_regular_file(ignored) && !fs::equivalent(entry.path(), file, ignored) &&
            is_candidate(entry.path()))
            neighbours.push_back(entry.path());
    }
    std::sort(neighbours.begin(), neighbours.end());
    for (const fs::path& neighbour : neighbours) {
        try {
            dicom::Header header = dicom::read_header(neighbour);
            if (header.series.uid == own.series.uid) headers.push_back(std::move(header));
        } catch (const Error& fault) {
            warnings.push_back(sentence("%s; left out", fault.what()));
        }
    }
    return read_series(dicom::group(headers).front(), input, options, std::move(warnings));
}

}  // namespace

std::vector<fs::path> dicom_candidates(const fs::path& folder) {
    std::vector<fs::path> files;
    fs::recursive_directory_iterator entries(folder);
    for (; entries != fs::recursive_directory_iterator(); ++entries) {
        if (entries.depth() >= kDepthLimit) entries.disable_recursion_pending();
        std::error_code ignored;
        if (!entries->is_regular_file(ignored) || !is_candidate(entries->path())) continue;
        files.push_back(entries->path());
        if (files.size() > kFileLimit)
            refuse("%s holds more than %zu DICOM files", folder.c_str(), kFileLimit);
    }
    std::sort(files.begin(), files.end());
    return files;
}

ReadResult read_dicom_folder(const fs::path& folder, const std::vector<fs::path>& files,
                             const ReadOptions& options) {
    ReadResult result;
    dicom::run_on_deep_stack([&] { result = read_folder(folder, files, options); });
    return result;
}

ReadResult read_dicom_file(const fs::path& file, const ReadOptions& options) {
    ReadResult result;
    dicom::run_on_deep_stack([&] { result = read_file(file, options); });
    return result;
}

}  // namespace rzobl
