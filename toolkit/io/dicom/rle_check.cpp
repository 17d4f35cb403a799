#include "toolkit/io/dicom/rle_check.h"

namespace rzobl::dicom {

namespace {

constexpr std::size_t kHeaderBytes = 64;

std::size_t header_word(const std::uint8_t* frame, std::size_t index) {
    const std::uint8_t* const b = frame + 4 * index;
    return b[0] | std::size_t{b[1]} << 8 | std::size_t{b[2]} << 16 | std::size_t{b[3]} << 24;
}

/// Whether the runs in [at, end) give `wanted` bytes and no more.
bool unpacks_to(const std::uint8_t* at, const std::uint8_t* end, std::size_t wanted) {
    std::size_t made = 0;
    while (made < wanted && at < end) {
        const std::uint8_t marker = *at++;
        if (marker == 128) continue;
        const bool literal = marker < 128;
        const std::size_t run = literal ? marker + 1U : 257U - marker, taken = literal ? run : 1;
        if (static_cast<std::size_t>(end - at) < taken) return false;
        at += taken;
        made += run;
    }
    return made == wanted;
}

}  // namespace

bool is_whole_rle_frame(const std::uint8_t* frame, std::size_t length, std::size_t segments,
                        std::size_t bytes) {
    if (length < kHeaderBytes || segments < 1 || segments > 15 || header_word(frame, 0) != segments)
        return false;
    for (std::size_t i = 1; i <= segments; ++i) {
        const std::size_t begin = header_word(frame, i),
                          end = i < segments ? header_word(frame, i + 1) : length;
        if (begin < kHeaderBytes || end < begin || end > length) return false;
        if (!unpacks_to(frame + begin, frame + end, bytes)) return false;
    }
    return true;
}

}  // namespace rzobl::dicom
