#include "toolkit/io/read_metaimage.h"

#include "toolkit/io/read_affine.h"
#include "toolkit/io/read_itk.h"
#include "toolkit/io/read_metaimage_header.h"
#include "toolkit/io/read_regrid.h"

namespace rzobl {

ReadResult read_metaimage(const std::filesystem::path& file, const ReadOptions& options) {
    ReadResult result;
    const std::string name = file.string();
    const MetaImageHeader header = read_metaimage_header(file, result.warnings);
    const Stack stack = stack_of(header.image.size, header.axes, header.origin, name);
    require_even(measure(stack, name), options, name);

    StoredSamples samples = read_with_itk(ItkFormat::MetaImage, file, header.image);
    samples.rescale = header.rescale;
    result.volume = make_volume(stack, std::move(samples), options, name, result.warnings);
    result.format = "MetaImage";
    result.details = {{"stored samples", name_of(header.image.type)},
                      {"compressed", header.source.compressed ? "yes" : "no"}};
    return result;
}

}  // namespace rzobl
