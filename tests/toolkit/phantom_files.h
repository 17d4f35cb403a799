#pragma once

#include <string>
#include <vector>

#include "tests/toolkit/readers_support.h"
#include "tests/toolkit/run_program.h"
#include "toolkit/core/volume.h"

// What tests of the command line work on.

namespace rz_test {

/// Small phantoms in a folder of their own, each made when it is first wanted.
class PhantomFiles {
  public:
    /// Samples of so many millimetres.
    explicit PhantomFiles(double spacing) : spacing_(spacing) {}

    std::string ct() const { return file("ct.nrrd", rzobl::SampleKind::Int16); }
    std::string byte() const { return file("byte.mha", rzobl::SampleKind::UInt8); }
    std::string colour() const { return file("colour.nrrd", rzobl::SampleKind::Rgb); }

  private:
    std::string file(const char* name, rzobl::SampleKind kind) const;

    double spacing_;
    TemporaryFolder folder_;
};

/// rzobl command input -o out with further arguments.
Finished rzobl_to(const std::string& command, const std::string& input, const std::filesystem::path& out,
                  const std::vector<std::string>& more);

}  // namespace rz_test
