#include "toolkit/io/read_nrrd.h"

#include "toolkit/io/read_affine.h"
#include "toolkit/io/read_itk.h"
#include "toolkit/io/read_nrrd_header.h"
#include "toolkit/io/read_regrid.h"

namespace rzobl {

ReadResult read_nrrd(const std::filesystem::path& file, const ReadOptions& options) {
    ReadResult result;
    const std::string name = file.string();
    const NrrdHeader header = read_nrrd_header(file, result.warnings);
    const Stack stack = stack_of(header.image.size, header.axes, header.origin, name);
    require_even(measure(stack, name), options, name);

    StoredSamples samples = read_with_itk(ItkFormat::Nrrd, file, header.image);
    samples.rescale = header.rescale;
    result.volume = make_volume(stack, std::move(samples), options, name, result.warnings);
    result.format = "NRRD";
    result.details = {{"stored samples", name_of(header.image.type)}, {"encoding", header.encoding}};
    if (!header.space.empty()) result.details.emplace_back("space", header.space);
    return result;
}

}  // namespace rzobl
