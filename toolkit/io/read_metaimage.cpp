#include "toolkit/io/read_metaimage.h"

#include "toolkit/io/read_affine.h"
#include "toolkit/io/read_metaimage_header.h"
#include "toolkit/io/read_regrid.h"

namespace rzobl {

ReadResult read_metaimage(const std::filesystem::path& file, const ReadOptions& options) {
    ReadResult result;
    const std::string name = file.string();
    const MetaImageHeader header = read_metaimage_header(file);
    ItkImage image = read_with_itk(ItkFormat::MetaImage, file, header.image);
    const Stack stack = stack_of(header.image.size, image.axes(), image.origin, name);
    image.samples.rescale = header.rescale;
    result.volume = make_volume(stack, std::move(image.samples), options, name, result.warnings);
    result.format = "MetaImage";
    result.details = {{"stored samples", name_of(header.image.type)},
                      {"compressed", header.compressed ? "yes" : "no"}};
    return result;
}

}  // namespace rzobl
