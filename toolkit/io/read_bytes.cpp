#include "toolkit/io/read_bytes.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

std::uint64_t readable_size(const fs::path& file) {
    std::error_code fault;
    const fs::file_status status = fs::status(file, fault);
    if (status.type() == fs::file_type::none)
        refuse("%s cannot be opened: %s", file.c_str(), fault.message().c_str());
    if (!fs::exists(status)) refuse("%s does not exist", file.c_str());
    if (!fs::is_regular_file(status)) refuse("%s is not a regular file", file.c_str());
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream) refuse("%s cannot be opened: %s", file.c_str(), std::strerror(errno));
    const std::uintmax_t size = fs::file_size(file, fault);
    if (fault) refuse("%s cannot be opened: %s", file.c_str(), fault.message().c_str());
    return size;
}

std::vector<std::uint8_t> first_bytes(const fs::path& file, std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
    return bytes;
}

Unpacked unpack(const PackedRange& range, std::uint64_t limit,
                const std::function<void(const std::byte*, std::size_t)>& take) {
    Unpacked result;
    std::ifstream stream(range.file, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(range.offset));

    z_stream z{};
    if (inflateInit2(&z, 15 + 32) != Z_OK) throw std::bad_alloc();  // 32: gzip or zlib, by its first bytes
    const std::unique_ptr<z_stream, int (*)(z_stream*)> guard(&z, inflateEnd);

    std::vector<std::uint8_t> in(1U << 16), made(1U << 17);
    std::uint64_t left = range.length, skip = range.skip;
    bool ended = false;  // at the end of a member
    while (result.length < limit) {
        if (z.avail_in == 0) {
            stream.read(reinterpret_cast<char*>(in.data()),
                        static_cast<std::streamsize>(std::min<std::uint64_t>(in.size(), left)));
            z.next_in = in.data();
            z.avail_in = static_cast<uInt>(std::max<std::streamsize>(stream.gcount(), 0));
            left -= z.avail_in;
            if (z.avail_in == 0) break;
        }
        if (ended) {
            if (!range.members || *z.next_in != 0x1f) break;  // what follows is no further member
            inflateReset(&z);
            ended = false;
        }
        z.next_out = made.data();
        z.avail_out = static_cast<uInt>(made.size());
        const int state = inflate(&z, Z_NO_FLUSH);
        const std::uint64_t fresh = made.size() - z.avail_out, dropped = std::min(skip, fresh);
        const std::uint64_t count = std::min(fresh - dropped, limit - result.length);
        if (take) take(reinterpret_cast<const std::byte*>(made.data()) + dropped, count);
        result.length += count;
        skip -= dropped;
        ended = state == Z_STREAM_END;
        if (state != Z_OK && state != Z_STREAM_END) break;
    }
    result.whole = ended || result.length == limit;
    return result;
}

}  // namespace rzobl
