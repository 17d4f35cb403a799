#pragma once

#include <cstddef>
#include <cstdint>

namespace rzobl::dicom {

/// Whether a frame in DICOM's run-length code holds `segments` segments that unpack to `bytes` each, with
/// every run inside its segment. DCMTK's decoder reads beyond frames that do not.
bool is_whole_rle_frame(const std::uint8_t* frame, std::size_t length, std::size_t segments,
                        std::size_t bytes);

}  // namespace rzobl::dicom
