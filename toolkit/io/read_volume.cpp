#include "toolkit/io/read_volume.h"

#include <new>

#include "toolkit/core/error.h"
#include "toolkit/io/dicom/read_dicom.h"
#include "toolkit/io/read_metaimage.h"
#include "toolkit/io/read_nifti.h"
#include "toolkit/io/read_nrrd.h"
#include "toolkit/io/read_png_stack.h"
#include "toolkit/io/read_probe.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

ReadResult read_folder(const fs::path& folder, const ReadOptions& options) {
    const std::vector<fs::path> candidates = dicom_candidates(folder);
    if (!candidates.empty()) return read_dicom_folder(folder, candidates, options);
    const std::vector<fs::path> pictures = png_files(folder);
    if (!pictures.empty()) return read_png_stack(pictures, folder.string(), options);
    refuse("%s holds no DICOM and no PNG files", folder.c_str());
}

ReadResult read_file(const fs::path& file, const ReadOptions& options) {
    switch (probe(file)) {
        case FileFormat::Dicom:
            return read_dicom_file(file, options);
        case FileFormat::Nifti:
            return read_nifti(file, options);
        case FileFormat::Nrrd:
            return read_nrrd(file, options);
        case FileFormat::MetaImage:
            return read_metaimage(file, options);
        case FileFormat::Png:
            return read_png_stack({file}, file.string(), options);
        case FileFormat::Unknown:
            break;
    }
    refuse("%s is neither DICOM, NIfTI, NRRD, MetaImage nor PNG", file.c_str());
}

}  // namespace

ReadResult read_volume(const fs::path& input, const ReadOptions& options) {
    try {
        return fs::is_directory(input) ? read_folder(input, options) : read_file(input, options);
    } catch (const fs::filesystem_error& fault) {
        refuse("%s cannot be read: %s", input.c_str(), fault.code().message().c_str());
    } catch (const std::bad_alloc&) {
        refuse("%s needs more memory than there is", input.c_str());
    }
}

}  // namespace rzobl
