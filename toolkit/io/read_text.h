#pragma once

#include <string>

#include "toolkit/core/error.h"

namespace rzobl {

/// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string sentence(const char* format, ...);

/// Throws Error with a printf-formatted sentence.
[[noreturn, gnu::format(printf, 1, 2)]] void refuse(const char* format, ...);

/// For sentences: control characters of a file's own text become '?', long texts are cut.
std::string printable(const std::string& text);

/// "1 slice", "3 slices".
std::string counted(std::size_t count, const char* noun);

/// Lower case, ASCII only.
std::string lower_case(std::string text);

/// Without white space at either end.
std::string trimmed(const std::string& text);

/// The whole of a text as a finite number; false if it is anything else.
bool parse_number(const std::string& text, double& value);
bool parse_integer(const std::string& text, long long& value);

}  // namespace rzobl
