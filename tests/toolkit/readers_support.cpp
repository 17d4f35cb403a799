#include "readers_support.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "toolkit/core/error.h"

namespace rz_test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "rz-readers-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void write_bytes(const fs::path& file, const Bytes& bytes) {
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void write_text(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

Bytes read_bytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(stream), {});
}

namespace {

Bytes packed(const Bytes& bytes, int window) {
    z_stream z{};
    if (deflateInit2(&z, 6, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::bad_alloc();
    Bytes out(deflateBound(&z, bytes.size()) + 64);
    z.next_in = const_cast<Bytef*>(bytes.data());
    z.avail_in = static_cast<uInt>(bytes.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

}  // namespace

Bytes gzipped(const Bytes& bytes) {
    return packed(bytes, 15 + 16);
}
Bytes deflated(const Bytes& bytes) {
    return packed(bytes, 15);
}

void expect_refused(const fs::path& input, const rzobl::ReadOptions& options,
                    std::initializer_list<const char*> parts) {
    try {
        rzobl::read_volume(input, options);
        ADD_FAILURE() << input << " was read";
    } catch (const rzobl::Error& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
        for (const char* part : parts)
            EXPECT_NE(text.find(part), std::string::npos) << '"' << part << "\" in: " << text;
    }
}

bool warned(const rzobl::ReadResult& result, const std::string& part) {
    for (const std::string& warning : result.warnings) {
        if (warning.find(part) != std::string::npos) return true;
    }
    return false;
}

int stored(const rzobl::Volume& volume, int i, int j, int k) {
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(j) * volume.grid().size[0] + i;
    if (volume.kind() == rzobl::SampleKind::UInt8)
        return static_cast<const std::uint8_t*>(volume.raster(k))[at];
    if (volume.kind() == rzobl::SampleKind::Rgb)
        return static_cast<int>(static_cast<const std::uint32_t*>(volume.raster(k))[at]);
    return volume.isSigned ? static_cast<const std::int16_t*>(volume.raster(k))[at]
                           : static_cast<const std::uint16_t*>(volume.raster(k))[at];
}

fs::path real_ct() {
    const char* const stated = std::getenv("RZ_TEST_DATA");
    const fs::path archive = fs::path(stated ? stated : RZ_TEST_DATA_DEFAULT) / "ct.tar.xz";
    if (!fs::exists(archive)) return {};
    // Several test processes may come here at once; one unpacks.
    const fs::path folder = fs::path(RZ_TEST_BUILD_FOLDER) / "real-ct";
    fs::create_directories(folder);
    const int lock = open((folder / "lock").c_str(), O_CREAT | O_RDWR, 0644);
    flock(lock, LOCK_EX);
    if (!fs::exists(folder / "done")) {
        const std::string command = "tar -xJf '" + archive.string() + "' -C '" + folder.string() + "'";
        if (std::system(command.c_str()) == 0) write_text(folder / "done", "");
    }
    close(lock);
    return fs::exists(folder / "done") ? folder / "ct" : fs::path();
}

}  // namespace rz_test
