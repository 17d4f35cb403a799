#include <filesystem>
#include <string>

#include "readers_support.h"
#include "tests/fuzz/fuzz.h"
#include "toolkit/core/error.h"
#include "toolkit/io/read_volume.h"

// Files of every format: a reader refuses by Error, in one sentence, or reads. The first byte is the name
// that the file gets, the second the options.

namespace {

using rz_test::Bytes;

constexpr const char* kNames[] = {"file.dcm", "file.nii", "file.nii.gz", "file.nrrd", "file.mha", "file.mhd"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static const rz_test::TemporaryFolder folder;
    rz_fuzz::Input input(bytes, count);
    const std::string name = kNames[input.byte() % std::size(kNames)];
    const int flags = input.byte();
    Bytes content(input.data(), input.data() + input.size());
    if (name == "file.nii.gz") content = rz_test::gzipped(content);
    rz_test::write_bytes(folder / name, content);
    rzobl::ReadOptions options;
    options.regrid = (flags & 1) != 0;
    if ((flags & 2) != 0) options.floatRange = {-1024.0, 3000.0};
    try {
        const auto result = rzobl::read_volume(folder / name, options);
        rz_fuzz::stop_unless(!result.format.empty(), "no format");
    } catch (const rzobl::Error& error) {
        rz_fuzz::stop_unless(std::string(error.what()).find('\n') == std::string::npos, error.what());
    }
    std::filesystem::remove(folder / name);
    return 0;
}
