#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

#include "toolkit/io/read_points.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

/// Which columns are coordinates, and in which frame.
struct Columns {
    std::array<std::size_t, 3> at{0, 1, 2};
    /// By the names of the columns, where they say it.
    std::optional<bool> ras;
};

/// The separator of a table, found in its first line that is no comment; 0 for blanks.
char separator_of(const std::string& line) {
    for (const char candidate : {'\t', ';', ','})
        if (line.find(candidate) != std::string::npos) return candidate;
    return 0;
}

std::vector<std::string> fields_of(const std::string& line, char separator) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (const char c : line) {
        const bool ends = separator ? c == separator : c == ' ' || c == '\t';
        if (c == '"')
            quoted = !quoted;
        else if (!ends || quoted)
            fields.back() += c;
        else if (separator || !fields.back().empty())
            fields.emplace_back();
    }
    for (std::string& field : fields) field = trimmed(field);
    if (!separator && fields.back().empty()) fields.pop_back();
    return fields;
}

/// The columns of x, y and z under these names, three letters.
std::optional<Columns> columns_under(const std::vector<std::string>& names, const char* letters,
                                     std::optional<bool> ras) {
    Columns columns;
    columns.ras = ras;
    for (std::size_t k = 0; k < 3; ++k) {
        const std::string wanted(1, letters[k]);
        const auto found = std::find_if(names.begin(), names.end(), [&wanted](const std::string& name) {
            return lower_case(name) == wanted;
        });
        if (found == names.end()) return std::nullopt;
        columns.at[k] = static_cast<std::size_t>(found - names.begin());
    }
    return columns;
}

std::optional<Columns> columns_named(const std::vector<std::string>& names) {
    if (const auto columns = columns_under(names, "xyz", std::nullopt)) return columns;
    if (const auto columns = columns_under(names, "lps", false)) return columns;
    return columns_under(names, "ras", true);
}

/// What follows "KEY =" in a comment.
std::optional<std::string> setting(const std::string& comment, const std::string& key) {
    const std::size_t equals = comment.find('=');
    if (equals == std::string::npos || lower_case(trimmed(comment.substr(0, equals))) != key)
        return std::nullopt;
    return trimmed(comment.substr(equals + 1));
}

class Table {
  public:
    explicit Table(const std::string& name) : name_(name) {}

    void take(const std::string& line, std::size_t number) {
        if (line.empty()) return;
        if (line[0] == '#')
            take_comment(trimmed(line.substr(1)));
        else
            take_row(line, number);
    }

    std::vector<Vec3> points() {
        const bool ras = system_.value_or(markups_);
        if (columns_ && columns_->ras && system_ && *columns_->ras != *system_)
            refuse("%s names columns of one coordinate system and says that it is in the other",
                   name_.c_str());
        if (columns_ && columns_->ras ? *columns_->ras : ras) points::ras_to_lps(points_);
        return std::move(points_);
    }

  private:
    void take_comment(const std::string& comment) {
        if (const auto system = setting(comment, "coordinatesystem"))
            system_ = points::is_ras(*system, name_);
        else if (const auto names = setting(comment, "columns"))
            columns_ = columns_named(fields_of(*names, separator_of(*names)));
        else if (lower_case(comment).compare(0, 7, "markups") == 0)
            markups_ = true;
    }

    void take_row(const std::string& line, std::size_t number) {
        if (!separator_) separator_ = separator_of(line);
        const std::vector<std::string> fields = fields_of(line, *separator_);
        if (points_.empty() && !columns_ && (columns_ = columns_named(fields))) return;
        if (!columns_ && fields.size() != 3)
            refuse("%s, line %zu: %s, and no line before it names those of x, y and z", name_.c_str(), number,
                   counted(fields.size(), "column").c_str());
        const Columns columns = columns_.value_or(Columns{});
        Vec3 point;
        for (std::size_t k = 0; k < 3; ++k) {
            if (columns.at[k] >= fields.size())
                refuse("%s, line %zu: %s are too few", name_.c_str(), number,
                       counted(fields.size(), "column").c_str());
            if (!parse_number(fields[columns.at[k]], point[k]))
                refuse("%s, line %zu: \"%s\" is not a finite number", name_.c_str(), number,
                       printable(fields[columns.at[k]]).c_str());
        }
        points_.push_back(point);
    }

    std::string name_;
    std::optional<char> separator_;
    std::optional<Columns> columns_;
    std::optional<bool> system_;
    /// Markup tables without a coordinate system are old, and RAS.
    bool markups_ = false;
    std::vector<Vec3> points_;
};

}  // namespace

std::vector<Vec3> points::from_table(const std::string& text, const std::string& name) {
    Table table(name);
    std::size_t begin = 0, number = 1;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        table.take(trimmed(text.substr(begin, end - begin)), number);
        begin = end + 1;
        ++number;
    }
    return table.points();
}

}  // namespace rzobl
