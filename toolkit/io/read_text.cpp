#include "toolkit/io/read_text.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <vector>

namespace rzobl {

namespace {

std::string formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::vector<char> text(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return text.data();
}

}  // namespace

std::string sentence(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = formatted(format, arguments);
    va_end(arguments);
    return text;
}

void refuse(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    throw Error(text);
}

std::string printable(const std::string& text) {
    std::string result = text.substr(0, 80);
    for (char& c : result) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    }
    return result.size() < text.size() ? result + "..." : result;
}

std::string counted(std::size_t count, const char* noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string lower_case(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::string trimmed(const std::string& text) {
    const char* const blanks = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool parse_number(const std::string& text, double& value) {
    const std::string bare = trimmed(text);
    const char* const begin = bare.c_str() + (!bare.empty() && bare[0] == '+' ? 1 : 0);
    const char* const end = bare.c_str() + bare.size();
    double parsed = 0;
    const auto [stop, fault] = std::from_chars(begin, end, parsed);
    if (fault != std::errc() || stop != end || begin == end || !std::isfinite(parsed)) return false;
    value = parsed;
    return true;
}

bool parse_integer(const std::string& text, long long& value) {
    const std::string bare = trimmed(text);
    const char* const begin = bare.c_str() + (!bare.empty() && bare[0] == '+' ? 1 : 0);
    const char* const end = bare.c_str() + bare.size();
    long long parsed = 0;
    const auto [stop, fault] = std::from_chars(begin, end, parsed);
    if (fault != std::errc() || stop != end || begin == end) return false;
    value = parsed;
    return true;
}

}  // namespace rzobl
