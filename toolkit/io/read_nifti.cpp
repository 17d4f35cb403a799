#include "toolkit/io/read_nifti.h"

#include "toolkit/io/read_affine.h"
#include "toolkit/io/read_itk.h"
#include "toolkit/io/read_nifti_header.h"
#include "toolkit/io/read_regrid.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

ReadResult read_nifti(const std::filesystem::path& file, const ReadOptions& options) {
    ReadResult result;
    const std::string name = file.string();
    const NiftiHeader header = read_nifti_header(file, result.warnings);
    const Stack stack = stack_of(header.image.size, header.axes, header.origin, name);
    require_even(measure(stack, name), options, name);

    StoredSamples samples = read_with_itk(ItkFormat::Nifti, file, header.image);
    const auto lost = static_cast<unsigned long long>(count_not_finite(header.source, header.image));
    if (lost > 0)
        result.warnings.push_back(
            sentence("%s: %llu of its samples are NaN or infinite and are read as 0", name.c_str(), lost));
    samples.rescale = header.rescale;
    result.volume = make_volume(stack, std::move(samples), options, name, result.warnings);
    result.format = "NIfTI";
    result.details = {{"stored samples", name_of(header.image.type)}, {"placed by", header.placedBy}};
    return result;
}

}  // namespace rzobl
