#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

#include "toolkit/io/read_points.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

using Json = nlohmann::json;

class Reader {
  public:
    explicit Reader(const std::string& name) : name_(name) {}

    std::vector<Vec3> read(const Json& root) {
        if (root.is_array()) return list(root);
        if (root.contains("markups")) return markup(only_markup(root["markups"]));
        if (root.contains("controlPoints")) return markup(root);
        if (root.contains("points")) return in_lps(list(root["points"]), root);
        refuse("%s has neither \"points\" nor \"markups\"", name_.c_str());
    }

  private:
    const Json& only_markup(const Json& markups) const {
        if (!markups.is_array() || markups.size() != 1)
            refuse("%s holds %s, and a curve is made of one", name_.c_str(),
                   counted(markups.is_array() ? markups.size() : 0, "markup").c_str());
        return markups[0];
    }

    std::vector<Vec3> markup(const Json& markup) const {
        if (!markup.is_object() || !markup.contains("controlPoints") || !markup["controlPoints"].is_array())
            refuse("%s holds a markup without \"controlPoints\"", name_.c_str());
        const std::string units = text(markup, "coordinateUnits", "mm");
        if (units != "mm") refuse("%s is in \"%s\", not in mm", name_.c_str(), printable(units).c_str());
        std::vector<Vec3> found;
        for (const Json& point : markup["controlPoints"]) {
            ++at_;
            if (!point.is_object()) refuse_point();
            if (text(point, "positionStatus", "defined") == "undefined") continue;
            if (!point.contains("position")) refuse_point();
            found.push_back(numbers(point["position"]));
        }
        return in_lps(std::move(found), markup);
    }

    std::vector<Vec3> list(const Json& list) const {
        if (!list.is_array()) refuse("%s has \"points\" that are not an array", name_.c_str());
        std::vector<Vec3> found;
        for (const Json& item : list) {
            ++at_;
            if (!item.is_object()) {
                found.push_back(numbers(item));
                continue;
            }
            Json three = Json::array();
            for (const char* letter : {"x", "y", "z"}) three.push_back(item.value(letter, Json()));
            found.push_back(numbers(three));
        }
        return found;
    }

    Vec3 numbers(const Json& three) const {
        if (!three.is_array() || three.size() != 3) refuse_point();
        Vec3 point;
        for (std::size_t k = 0; k < 3; ++k) {
            if (!three[k].is_number()) refuse_point();
            point[k] = three[k].get<double>();
            if (!std::isfinite(point[k])) refuse_point();
        }
        return point;
    }

    std::vector<Vec3> in_lps(std::vector<Vec3> found, const Json& holder) const {
        const std::string system = text(holder, "coordinateSystem", "LPS");
        if (points::is_ras(system, name_)) points::ras_to_lps(found);
        return found;
    }

    /// A string of an object, or what stands for it where it has none.
    std::string text(const Json& holder, const char* key, const char* otherwise) const {
        if (!holder.contains(key)) return otherwise;
        if (!holder[key].is_string()) refuse("%s has a \"%s\" that is no text", name_.c_str(), key);
        return holder[key].get<std::string>();
    }

    [[noreturn]] void refuse_point() const {
        refuse("%s, point %zu: its position is not three finite numbers", name_.c_str(), at_);
    }

    std::string name_;
    mutable std::size_t at_ = 0;
};

}  // namespace

std::vector<Vec3> points::from_json(const std::string& text, const std::string& name) {
    Json root;
    try {
        root = Json::parse(text);
    } catch (const Json::parse_error& fault) {
        const auto before = text.begin() + static_cast<std::ptrdiff_t>(std::min(fault.byte, text.size()));
        refuse("%s, line %td: not valid JSON", name.c_str(), 1 + std::count(text.begin(), before, '\n'));
    } catch (const Json::exception&) {
        refuse("%s holds a number that is too large", name.c_str());
    }
    return Reader(name).read(root);
}

}  // namespace rzobl
