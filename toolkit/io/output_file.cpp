#include "toolkit/io/output_file.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "toolkit/core/error.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

// A plain array, since a signal handler may read nothing else: the name of the unfinished file, or empty.
char unfinished[4096];

[[noreturn]] void fail(const fs::path& target, const std::string& why) {
    throw Error("cannot write " + target.string() + ": " + why);
}

/// Ending of a file name, "nii.gz" as one.
std::string ending(const fs::path& path) {
    const std::string last = path.extension().string();
    return last == ".gz" ? path.stem().extension().string() + last : last;
}

}  // namespace

void OutputFile::check(const fs::path& target, bool overwrite) {
    std::error_code error;
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    if (target.filename().empty()) fail(target, "it names no file");
    if (!fs::is_directory(folder, error)) fail(target, "there is no folder " + folder.string());
    const fs::file_status status = fs::status(target, error);
    if (fs::is_directory(status)) fail(target, "it is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status)) fail(target, "it is not a regular file");
    if (fs::exists(status) && !overwrite) fail(target, "it exists, and --force was not given");
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        fail(target, "the folder " + folder.string() + " is not writable");
}

OutputFile::OutputFile(fs::path target, bool overwrite) : target_(std::move(target)), overwrite_(overwrite) {
    check(target_, overwrite_);
    const std::string suffix = ending(target_);
    for (int attempt = 0; attempt < 1000; ++attempt) {
        temporary_ = target_;
        temporary_.replace_filename("." + target_.filename().string() + "." + std::to_string(getpid()) + "-" +
                                    std::to_string(attempt) + suffix);
        const int file = open(temporary_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file >= 0) {
            close(file);
            const std::string& name = temporary_.native();
            if (name.size() < sizeof unfinished) std::memcpy(unfinished, name.c_str(), name.size() + 1);
            return;
        }
        if (errno != EEXIST) fail(target_, std::strerror(errno));
    }
    fail(target_, "no temporary name is free in its folder");
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    if (!committed_) fs::remove(temporary_, ignored);
    unfinished[0] = '\0';
}

void OutputFile::remove_unfinished() {
    if (unfinished[0] != '\0') unlink(unfinished);
}

void OutputFile::commit() {
    // A link refuses to replace a file that somebody made meanwhile; where links cannot be had, renaming must
    // do.
    if (!overwrite_ && link(temporary_.c_str(), target_.c_str()) == 0) {
        unlink(temporary_.c_str());
    } else if (!overwrite_ && errno == EEXIST) {
        fail(target_, "it exists, and --force was not given");
    } else if (rename(temporary_.c_str(), target_.c_str()) != 0) {
        fail(target_, std::strerror(errno));
    }
    committed_ = true;
    unfinished[0] = '\0';
}

}  // namespace rzobl
