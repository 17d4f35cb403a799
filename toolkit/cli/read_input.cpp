#include <cstdio>

#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"

namespace rzobl::cli {

ReadResult read_input(const std::string& path, const ReadOptions& options, bool quiet) {
    ReadResult result = [&] {
        const Progress progress("reading " + path, quiet);
        return read_volume(path, options);
    }();
    if (!quiet)
        for (const std::string& warning : result.warnings)
            std::fprintf(stderr, "rzobl: warning: %s\n", warning.c_str());
    return result;
}

}  // namespace rzobl::cli
