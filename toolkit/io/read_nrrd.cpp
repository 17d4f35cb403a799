#include "toolkit/io/read_nrrd.h"

#include "toolkit/io/read_affine.h"
#include "toolkit/io/read_nrrd_header.h"
#include "toolkit/io/read_regrid.h"

namespace rzobl {

ReadResult read_nrrd(const std::filesystem::path& file, const ReadOptions& options) {
    ReadResult result;
    const std::string name = file.string();
    const NrrdHeader header = read_nrrd_header(file);
    ItkImage image = read_with_itk(ItkFormat::Nrrd, file, header.image);
    const Stack stack = stack_of(header.image.size, image.axes(), image.origin, name);
    image.samples.rescale = header.rescale;
    result.volume = make_volume(stack, std::move(image.samples), options, name, result.warnings);
    result.format = "NRRD";
    if (header.space.empty())
        result.warnings.push_back(name +
                                  ": states no space; its axes are taken to run to the left, back and head");
    result.details = {{"stored samples", name_of(header.image.type)}, {"encoding", header.encoding}};
    if (!header.space.empty()) result.details.emplace_back("space", header.space);
    return result;
}

}  // namespace rzobl
