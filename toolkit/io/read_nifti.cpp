#include "toolkit/io/read_nifti.h"

#include "toolkit/io/read_affine.h"
#include "toolkit/io/read_nifti_header.h"
#include "toolkit/io/read_regrid.h"

namespace rzobl {

ReadResult read_nifti(const std::filesystem::path& file, const ReadOptions& options) {
    ReadResult result;
    const std::string name = file.string();
    const NiftiHeader header = read_nifti_header(file, result.warnings);
    const Stack stack = stack_of(header.image.size, header.axes, header.origin, name);
    require_even(measure(stack, name), options, name);

    StoredSamples samples = load_samples(header.source, header.image);
    samples.rescale = header.rescale;
    result.volume = make_volume(stack, std::move(samples), options, name, result.warnings);
    result.format = "NIfTI";
    result.details = {{"stored samples", name_of(header.image.type)}, {"placed by", header.placedBy}};
    return result;
}

}  // namespace rzobl
