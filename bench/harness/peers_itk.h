#pragma once

#include <itkImage.h>
#include <itkMultiThreaderBase.h>

#include <string>

#include "bench/harness/volume.h"

namespace rz_bench {

/// "ITK 5.2.1"
std::string itk_name();

/// An image over the volume's block.
template <class Sample>
typename itk::Image<Sample, 3>::Pointer itk_image(const Volume& volume) {
    using Image = itk::Image<Sample, 3>;
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(1);
    const auto image = Image::New();
    typename Image::SizeType size;
    typename Image::SpacingType spacing;
    for (unsigned k = 0; k < 3; ++k) {
        size[k] = static_cast<itk::SizeValueType>(volume.size[k]);
        spacing[k] = volume.spacing[k];
    }
    image->SetRegions(size);
    image->SetSpacing(spacing);
    image->GetPixelContainer()->SetImportPointer(static_cast<Sample*>(volume.block()),
                                                 volume.blockBytes() / sizeof(Sample), false);
    return image;
}

}  // namespace rz_bench
