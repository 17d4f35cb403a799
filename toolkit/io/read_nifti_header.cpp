#include "toolkit/io/read_nifti_header.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"
#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kHeaderBytes = 348;

/// The fields at their places, in either byte order.
class Fields {
  public:
    Fields(const std::vector<std::uint8_t>& bytes, bool swapped) : bytes_(bytes), swapped_(swapped) {}

    template <class T>
    T at(std::size_t place) const {
        std::array<std::uint8_t, sizeof(T)> raw;
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(place), sizeof(T), raw.begin());
        if (swapped_) std::reverse(raw.begin(), raw.end());
        T value;
        std::memcpy(&value, raw.data(), sizeof(T));
        return value;
    }

  private:
    const std::vector<std::uint8_t>& bytes_;
    bool swapped_;
};

struct Affine {
    std::array<Vec3, 3> axes{};
    Vec3 origin{};
};

/// NIfTI's x runs to the right and y to the front, ours to the left and to the back.
Vec3 to_lps(double x, double y, double z, double unit) {
    return {-x * unit, -y * unit, z * unit};
}

/// Millimetres per unit of the header's lengths.
double unit_of(const Fields& fields) {
    switch (fields.at<std::uint8_t>(123) & 7) {
        case 1:
            return 1000;
        case 3:
            return 0.001;
        default:
            return 1;
    }
}

Affine sform(const Fields& fields) {
    const double unit = unit_of(fields);
    const auto entry = [&](std::size_t row, std::size_t column) {
        return static_cast<double>(fields.at<float>(280 + 16 * row + 4 * column));
    };
    Affine affine;
    for (std::size_t axis = 0; axis < 3; ++axis)
        affine.axes[axis] = to_lps(entry(0, axis), entry(1, axis), entry(2, axis), unit);
    affine.origin = to_lps(entry(0, 3), entry(1, 3), entry(2, 3), unit);
    return affine;
}

double pixdim(const Fields& fields, std::size_t axis) {
    return static_cast<double>(fields.at<float>(76 + 4 * axis));
}

Affine qform(const Fields& fields) {
    const double unit = unit_of(fields);
    double b = static_cast<double>(fields.at<float>(256)), c = static_cast<double>(fields.at<float>(260)),
           d = static_cast<double>(fields.at<float>(264)), a = 1 - (b * b + c * c + d * d);
    if (a < 1e-7) {  // half a turn: the part that the file leaves out is rounding
        const double scale = 1 / std::sqrt(b * b + c * c + d * d);
        b *= scale, c *= scale, d *= scale, a = 0;
    } else {
        a = std::sqrt(a);
    }
    const double hand = pixdim(fields, 0) < 0 ? -1 : 1;
    const double x = pixdim(fields, 1), y = pixdim(fields, 2), z = pixdim(fields, 3) * hand;
    Affine affine;
    affine.axes[0] =
        to_lps((a * a + b * b - c * c - d * d) * x, 2 * (b * c + a * d) * x, 2 * (b * d - a * c) * x, unit);
    affine.axes[1] =
        to_lps(2 * (b * c - a * d) * y, (a * a + c * c - b * b - d * d) * y, 2 * (c * d + a * b) * y, unit);
    affine.axes[2] =
        to_lps(2 * (b * d + a * c) * z, 2 * (c * d - a * b) * z, (a * a + d * d - b * b - c * c) * z, unit);
    affine.origin =
        to_lps(static_cast<double>(fields.at<float>(268)), static_cast<double>(fields.at<float>(272)),
               static_cast<double>(fields.at<float>(276)), unit);
    return affine;
}

Affine plain(const Fields& fields) {
    const double unit = unit_of(fields);
    Affine affine;
    affine.axes = {to_lps(pixdim(fields, 1), 0, 0, unit), to_lps(0, pixdim(fields, 2), 0, unit),
                   to_lps(0, 0, pixdim(fields, 3), unit)};
    return affine;
}

/// The farthest that two placements take one corner of the volume apart, mm.
double apart(const Affine& p, const Affine& q, const std::array<std::size_t, 3>& size) {
    double farthest = 0;
    for (unsigned corner = 0; corner < 8; ++corner) {
        Vec3 between = added(p.origin, scaled(q.origin, -1));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double index = (corner >> axis & 1) != 0 ? static_cast<double>(size[axis] - 1) : 0;
            between = added(between, scaled(added(p.axes[axis], scaled(q.axes[axis], -1)), index));
        }
        farthest = std::max(farthest, length(between));
    }
    return farthest;
}

/// ITK cannot take such an sform apart: it says so on standard error, or never ends.
void refuse_unfit(const Fields& fields, const std::string& name) {
    constexpr float kFarthest = 1e9F;
    for (std::size_t at = 280; at < 328; at += 4) {
        const float number = fields.at<float>(at);
        if (std::fpclassify(number) == FP_SUBNORMAL)
            refuse("%s: its sform holds %g, too small a number to be meant", name.c_str(),
                   static_cast<double>(number));
        if (std::isfinite(number) && std::fabs(number) > kFarthest)
            refuse("%s: its sform holds %g, too large a number to be meant", name.c_str(),
                   static_cast<double>(number));
    }
}

void place(NiftiHeader& header, const Fields& fields, const std::string& name,
           std::vector<std::string>& warnings) {
    const int qcode = fields.at<std::int16_t>(252), scode = fields.at<std::int16_t>(254);
    Affine affine;
    if (scode > 0) {
        header.placedBy = "sform";
        affine = sform(fields);
        refuse_unfit(fields, name);
    } else if (qcode > 0) {
        header.placedBy = "qform";
        affine = qform(fields);
    } else {
        header.placedBy = "pixdim";
        affine = plain(fields);
        warnings.push_back(name +
                           ": states no orientation (no sform, no qform); columns are taken to run to the "
                           "right, rows to the front, slices to the head");
    }
    if (scode > 0 && qcode > 0) {
        const double distance = apart(affine, qform(fields), header.image.size);
        const double finest =
            std::min({length(affine.axes[0]), length(affine.axes[1]), length(affine.axes[2])});
        if (!(distance <= 0.1 * finest))
            warnings.push_back(
                sentence("%s: sform (code %d) and qform (code %d) differ by up to %.3g mm; the sform "
                         "is used",
                         name.c_str(), scode, qcode, distance));
    }
    header.axes = affine.axes;
    header.origin = affine.origin;
}

struct Coded {
    SampleType type;
    int channels;
};

std::optional<Coded> coded(int datatype) {
    switch (datatype) {
        case 2:
            return Coded{SampleType::UInt8, 1};
        case 4:
            return Coded{SampleType::Int16, 1};
        case 8:
            return Coded{SampleType::Int32, 1};
        case 16:
            return Coded{SampleType::Float32, 1};
        case 64:
            return Coded{SampleType::Float64, 1};
        case 128:
            return Coded{SampleType::UInt8, 3};
        case 256:
            return Coded{SampleType::Int8, 1};
        case 512:
            return Coded{SampleType::UInt16, 1};
        case 768:
            return Coded{SampleType::UInt32, 1};
        default:
            return std::nullopt;
    }
}

void take_size(NiftiHeader& header, const Fields& fields, const std::string& name) {
    std::array<int, 8> dim{};
    for (std::size_t i = 0; i < 8; ++i) dim[i] = fields.at<std::int16_t>(40 + 2 * i);
    const int dimensions = dim[0];
    if (dimensions < 1 || dimensions > 7) refuse("%s: states %d dimensions", name.c_str(), dimensions);
    for (int axis = 1; axis <= dimensions; ++axis) {
        const int size = dim[static_cast<std::size_t>(axis)];
        if (size < 1) refuse("%s: states a size of %d along axis %d", name.c_str(), size, axis);
        if (axis > 3 && size > 1)
            refuse("%s: holds %d volumes (dimension %d of %d is not 1); only single volumes can be read",
                   name.c_str(), size, axis, dimensions);
        if (axis <= 3) header.image.size[static_cast<std::size_t>(axis - 1)] = static_cast<std::size_t>(size);
    }
}

void take_source(NiftiHeader& header, const Fields& fields, const fs::path& file, bool compressed,
                 bool swapped) {
    const auto stated = static_cast<double>(fields.at<float>(108));
    if (!(stated >= kHeaderBytes + 4 && stated < 1e9 && stated == std::floor(stated)))
        refuse("%s: states that its samples begin at byte %g", file.c_str(), stated);
    const auto before = static_cast<std::uint64_t>(stated);
    header.source.range.file = file;
    header.source.range.offset = compressed ? 0 : before;
    header.source.range.skip = compressed ? before : 0;
    header.source.compressed = compressed;
    header.source.bigEndian = swapped;
}

}  // namespace

NiftiHeader read_nifti_header(const fs::path& file, std::vector<std::string>& warnings) {
    readable_size(file);
    const std::string name = file.string();
    std::vector<std::uint8_t> bytes = first_bytes(file, kHeaderBytes);
    const bool compressed = bytes.size() >= 2 && bytes[0] == 0x1f && bytes[1] == 0x8b;
    if (compressed) {
        bytes.clear();
        PackedRange range;
        range.file = file;
        unpack(range, kHeaderBytes, [&](const std::byte* piece, std::size_t count) {
            const auto* const first = reinterpret_cast<const std::uint8_t*>(piece);
            bytes.insert(bytes.end(), first, first + count);
        });
    }
    if (bytes.size() < kHeaderBytes)
        refuse("%s is no NIfTI file or is cut short: %zu bytes of a header of %zu", name.c_str(),
               bytes.size(), kHeaderBytes);

    const Fields native(bytes, false), foreign(bytes, true);
    const bool swapped = native.at<std::int32_t>(0) != static_cast<std::int32_t>(kHeaderBytes);
    const Fields& fields = swapped ? foreign : native;
    if (fields.at<std::int32_t>(0) == 540)
        refuse("%s is of the second version of NIfTI; only the first can be read", name.c_str());
    if (fields.at<std::int32_t>(0) != static_cast<std::int32_t>(kHeaderBytes) ||
        std::memcmp(bytes.data() + 344, "n+1", 4) != 0)
        refuse("%s is no NIfTI file in one piece (its header lacks the mark n+1)", name.c_str());

    NiftiHeader header;
    take_size(header, fields, name);
    const int datatype = fields.at<std::int16_t>(70), bitpix = fields.at<std::int16_t>(72);
    const std::optional<Coded> type = coded(datatype);
    if (!type) refuse("%s: samples of NIfTI type %d are not supported", name.c_str(), datatype);
    header.image.type = type->type;
    header.image.channels = type->channels;
    if (bitpix != static_cast<int>(bytes_of(type->type)) * 8 * type->channels)
        refuse("%s: states %d bits for samples of NIfTI type %d", name.c_str(), bitpix, datatype);
    take_source(header, fields, file, compressed, swapped);
    require_samples(header.source, header.image);
    place(header, fields, name, warnings);

    const auto slope = static_cast<double>(fields.at<float>(112));
    const auto intercept = static_cast<double>(fields.at<float>(116));
    // A slope of 0 says that there is no rescale.
    if (slope != 0) {
        if (std::isfinite(slope) && std::isfinite(intercept))
            header.rescale = {slope, intercept};
        else
            warnings.push_back(name + ": its rescale is not a number and is left out");
    }
    return header;
}

}  // namespace rzobl
