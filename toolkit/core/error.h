#pragma once

#include <stdexcept>
#include <string>

namespace rzobl {

/// Bad input: a request, a file or an argument that cannot be served. The text is one clear sentence that a
/// person at the keyboard can act on. Any other exception is a fault of ours.
class Error : public std::runtime_error {
  public:
    explicit Error(const std::string& sentence) : std::runtime_error(sentence) {}
};

}  // namespace rzobl
