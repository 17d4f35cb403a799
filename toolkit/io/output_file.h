#pragma once

#include <filesystem>

namespace rzobl {

/// A file that appears whole or not at all: written under a temporary name in the same folder and renamed by
/// commit(). Without commit() the temporary file is removed and what stood there before stays.
class OutputFile {
  public:
    /// Throws Error if target cannot be written there, or exists and overwrite is false.
    OutputFile(std::filesystem::path target, bool overwrite);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Where to write; has the ending of target, since some writers choose their format by it.
    const std::filesystem::path& temporary() const { return temporary_; }
    /// Gives the file its name. Throws Error; then nothing was changed.
    void commit();

    /// Throws Error as the constructor does, and touches nothing: for a check before long work.
    static void check(const std::filesystem::path& target, bool overwrite);
    /// Removes the temporary file that is being written, if one is. For a signal handler that ends the
    /// process; knows of one file at a time.
    static void remove_unfinished();

  private:
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    bool overwrite_;
    bool committed_ = false;
};

}  // namespace rzobl
