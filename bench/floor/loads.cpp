#include "bench/floor/loads.h"

#include <immintrin.h>

#include <cstring>

namespace rz_bench {
namespace {

template <class T>
T load(const char* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

std::int32_t plus(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t times(std::int32_t a, int n) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(n));
}

// sample(x, y, z): one sample at a position in Q18
template <class Sample>
void visit(const LoadWalk& walk, Sample&& sample) {
    for (int row = 0; row < walk.rows; ++row) {
        std::int32_t x = plus(walk.first[0], times(walk.rowStep[0], row));
        std::int32_t y = plus(walk.first[1], times(walk.rowStep[1], row));
        std::int32_t z = plus(walk.first[2], times(walk.rowStep[2], row));
        const std::int32_t backX = plus(walk.columnStep[0], -times(walk.planeStep[0], walk.planes));
        const std::int32_t backY = plus(walk.columnStep[1], -times(walk.planeStep[1], walk.planes));
        const std::int32_t backZ = plus(walk.columnStep[2], -times(walk.planeStep[2], walk.planes));
        for (int column = 0; column < walk.columns; ++column) {
            for (int plane = 0; plane < walk.planes; ++plane) {
                sample(x, y, z);
                x = plus(x, walk.planeStep[0]);
                y = plus(y, walk.planeStep[1]);
                z = plus(z, walk.planeStep[2]);
            }
            x = plus(x, backX);
            y = plus(y, backY);
            z = plus(z, backZ);
        }
    }
}

// Pair: two neighbouring samples of `Bytes` bytes each
template <class Pair>
std::uint64_t linear_loads(const LoadWalk& walk) {
    Pair sum[4] = {0, 0, 0, 0};
    const auto bytes = static_cast<std::ptrdiff_t>(sizeof(Pair) / 2);
    const std::ptrdiff_t width = walk.sourceWidth * bytes;
    visit(walk, [&](std::int32_t x, std::int32_t y, std::int32_t z) {
        const auto* const* const slice = walk.slices + (z >> 18);
        const std::ptrdiff_t offset = (y >> 18) * width + (x >> 18) * bytes;
        const char* const p = static_cast<const char*>(slice[0]) + offset;
        const char* const q = static_cast<const char*>(slice[1]) + offset;
        sum[0] = static_cast<Pair>(sum[0] + load<Pair>(p));
        sum[1] = static_cast<Pair>(sum[1] + load<Pair>(p + width));
        sum[2] = static_cast<Pair>(sum[2] + load<Pair>(q));
        sum[3] = static_cast<Pair>(sum[3] + load<Pair>(q + width));
    });
    return static_cast<std::uint64_t>(sum[0]) + sum[1] + sum[2] + sum[3];
}

std::uint64_t total(__m128i sum) {
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(sum, _mm_unpackhi_epi64(sum, sum))));
}

// Rows of four samples.
struct FourOf16 {
    static constexpr int kBytes = 2;
    static __m128i load(const char* from) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)); }
};

struct FourOf32 {
    static constexpr int kBytes = 4;
    static __m128i load(const char* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
};

// first sample of row `row` and slice `slice`, 0 to 3, of the neighbourhood about x, y, z
template <class Four>
const char* neighbour(const LoadWalk& walk, std::int32_t x, std::int32_t y, std::int32_t z, int row,
                      int slice) {
    const std::ptrdiff_t offset = ((y >> 18) - 1 + row) * std::ptrdiff_t{walk.sourceWidth} + (x >> 18) - 1;
    return static_cast<const char*>(walk.slices[(z >> 18) - 1 + slice]) + offset * Four::kBytes;
}

template <class Four>
__m128i neighbourhood(const LoadWalk& walk, std::int32_t x, std::int32_t y, std::int32_t z, __m128i sum) {
    const std::ptrdiff_t width = walk.sourceWidth * std::ptrdiff_t{Four::kBytes};
    for (int k = 0; k < 4; ++k) {
        const char* const p = neighbour<Four>(walk, x, y, z, 0, k);
        for (int j = 0; j < 4; ++j) sum = _mm_add_epi64(sum, Four::load(p + j * width));
    }
    return sum;
}

const short* entry_at(const short* table, std::int32_t x, std::int32_t y, std::int32_t z) {
    const int entry = ((z >> 12) & 63) << 12 | ((y >> 12) & 63) << 6 | ((x >> 12) & 63);
    return table + std::ptrdiff_t{entry} * 64;
}

template <class Four>
std::uint64_t table_loads(const LoadWalk& walk, const short* table) {
    __m128i sum = _mm_setzero_si128();
    visit(walk, [&](std::int32_t x, std::int32_t y, std::int32_t z) {
        sum = neighbourhood<Four>(walk, x, y, z, sum);
        const auto* const weights = reinterpret_cast<const __m128i*>(entry_at(table, x, y, z));
        for (int i = 0; i < 8; ++i) sum = _mm_add_epi64(sum, _mm_loadu_si128(weights + i));
    });
    return total(sum);
}

// The same with all addresses known `kAhead` samples before: whoever prefetches does no better.
template <class Four>
std::uint64_t table_loads_ahead(const LoadWalk& walk, const short* table) {
    constexpr std::size_t kAhead = 64;
    struct Position {
        std::int32_t x, y, z;
    };
    Position ring[kAhead];
    std::size_t count = 0;
    __m128i sum = _mm_setzero_si128();
    const auto read = [&](const Position& p) {
        sum = neighbourhood<Four>(walk, p.x, p.y, p.z, sum);
        const auto* const weights = reinterpret_cast<const __m128i*>(entry_at(table, p.x, p.y, p.z));
        for (int i = 0; i < 8; ++i) sum = _mm_add_epi64(sum, _mm_loadu_si128(weights + i));
    };
    visit(walk, [&](std::int32_t x, std::int32_t y, std::int32_t z) {
        Position& slot = ring[count % kAhead];
        if (count >= kAhead) read(slot);
        slot = {x, y, z};
        const auto* const weights = reinterpret_cast<const char*>(entry_at(table, x, y, z));
        _mm_prefetch(weights, _MM_HINT_T0);
        _mm_prefetch(weights + 64, _MM_HINT_T0);
        const int slice = static_cast<int>(count % 4);
        for (int j = 0; j < 4; ++j) _mm_prefetch(neighbour<Four>(walk, x, y, z, j, slice), _MM_HINT_T0);
        ++count;
    });
    for (std::size_t i = count < kAhead ? 0 : count - kAhead; i < count; ++i) read(ring[i % kAhead]);
    return total(sum);
}

}  // namespace

std::uint64_t linear_loads_16(const LoadWalk& walk) {
    return linear_loads<std::uint32_t>(walk);
}

std::uint64_t linear_loads_8(const LoadWalk& walk) {
    return linear_loads<std::uint16_t>(walk);
}

std::uint64_t linear_loads_32(const LoadWalk& walk) {
    return linear_loads<std::uint64_t>(walk);
}

__attribute__((target("avx2"))) std::uint64_t linear_loads_16_wide(const LoadWalk& walk) {
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256i sourceWidth = _mm256_set1_epi32(walk.sourceWidth);
    const std::ptrdiff_t width = walk.sourceWidth * std::ptrdiff_t{2};
    std::uint32_t sum[4] = {0, 0, 0, 0};
    for (int row = 0; row < walk.rows; ++row) {
        for (int column = 0; column < walk.columns; column += 8) {
            // the last columns once more rather than some beyond them
            const int from = column + 8 <= walk.columns ? column : walk.columns - 8;
            const __m256i columns = _mm256_add_epi32(_mm256_set1_epi32(from), lanes);
            __m256i p[3];
            for (int k = 0; k < 3; ++k) {
                const __m256i start = _mm256_set1_epi32(plus(walk.first[k], times(walk.rowStep[k], row)));
                p[k] = _mm256_add_epi32(start,
                                        _mm256_mullo_epi32(columns, _mm256_set1_epi32(walk.columnStep[k])));
            }
            for (int plane = 0; plane < walk.planes; ++plane) {
                alignas(32) std::int32_t offset[8];
                alignas(32) std::int32_t slice[8];
                const __m256i rows = _mm256_mullo_epi32(_mm256_srai_epi32(p[1], 18), sourceWidth);
                _mm256_store_si256(reinterpret_cast<__m256i*>(offset),
                                   _mm256_add_epi32(rows, _mm256_srai_epi32(p[0], 18)));
                _mm256_store_si256(reinterpret_cast<__m256i*>(slice), _mm256_srai_epi32(p[2], 18));
                for (int k = 0; k < 3; ++k)
                    p[k] = _mm256_add_epi32(p[k], _mm256_set1_epi32(walk.planeStep[k]));
                for (int lane = 0; lane < 8; ++lane) {
                    const auto* const* const at = walk.slices + slice[lane];
                    const char* const low =
                        static_cast<const char*>(at[0]) + 2 * std::ptrdiff_t{offset[lane]};
                    const char* const high =
                        static_cast<const char*>(at[1]) + 2 * std::ptrdiff_t{offset[lane]};
                    sum[0] += load<std::uint32_t>(low);
                    sum[1] += load<std::uint32_t>(low + width);
                    sum[2] += load<std::uint32_t>(high);
                    sum[3] += load<std::uint32_t>(high + width);
                }
            }
        }
    }
    return std::uint64_t{sum[0]} + sum[1] + sum[2] + sum[3];
}

std::uint64_t cubic_loads_16(const LoadWalk& walk, const short* table) {
    return table_loads<FourOf16>(walk, table);
}

std::uint64_t cubic_loads_16_ahead(const LoadWalk& walk, const short* table) {
    return table_loads_ahead<FourOf16>(walk, table);
}

std::uint64_t cubic_loads_32(const LoadWalk& walk, const short* table) {
    return table_loads<FourOf32>(walk, table);
}

std::uint64_t cubic_loads_32_ahead(const LoadWalk& walk, const short* table) {
    return table_loads_ahead<FourOf32>(walk, table);
}

std::uint64_t tricubic_loads(const LoadWalk& walk) {
    __m128i sum = _mm_setzero_si128();
    visit(walk, [&](std::int32_t x, std::int32_t y, std::int32_t z) {
        sum = neighbourhood<FourOf16>(walk, x, y, z, sum);
    });
    return total(sum);
}

std::uint64_t semicubic_loads(const LoadWalk& walk) {
    __m128i sum = _mm_setzero_si128();
    const std::ptrdiff_t width = walk.sourceWidth * std::ptrdiff_t{2};
    visit(walk, [&](std::int32_t x, std::int32_t y, std::int32_t z) {
        const std::ptrdiff_t offset = ((y >> 18) - 1) * width + ((x >> 18) - 1) * 2;
        for (int k = 0; k < 2; ++k) {
            const char* const p = static_cast<const char*>(walk.slices[(z >> 18) + k]) + offset;
            for (int j = 0; j < 4; ++j) sum = _mm_add_epi64(sum, FourOf16::load(p + j * width));
        }
    });
    return total(sum);
}

std::uint64_t stream(const void* bytes, std::size_t count) {
    const auto* at = static_cast<const char*>(bytes);
    __m128i sum[4] = {_mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128()};
    for (; count >= 64; count -= 64, at += 64) {
        for (int i = 0; i < 4; ++i)
            sum[i] = _mm_add_epi64(sum[i], _mm_loadu_si128(reinterpret_cast<const __m128i*>(at) + i));
    }
    std::uint64_t rest = 0;
    for (; count >= 8; count -= 8, at += 8) rest += load<std::uint64_t>(at);
    for (; count > 0; --count, ++at) rest += static_cast<unsigned char>(*at);
    return rest + total(_mm_add_epi64(_mm_add_epi64(sum[0], sum[1]), _mm_add_epi64(sum[2], sum[3])));
}

std::uint64_t stream_rows(const void* const* slices, int sliceCount, std::size_t offset, std::size_t bytes,
                          int rows, std::size_t stride) {
    std::uint64_t sum = 0;
    for (int slice = 0; slice < sliceCount; ++slice) {
        const char* at = static_cast<const char*>(slices[slice]) + offset;
        for (int row = 0; row < rows; ++row, at += stride) sum += stream(at, bytes);
    }
    return sum;
}

__attribute__((target("avx2"))) std::uint64_t stream_together(const void* const* slices, int sliceCount,
                                                              std::size_t bytes) {
    constexpr std::size_t kBlock = 256;
    constexpr std::size_t kAhead = 2 * kBlock;
    __m256i sum[4] = {};
    std::uint64_t rest = 0;
    for (std::size_t at = 0; at < bytes; at += kBlock) {
        for (int slice = 0; slice < sliceCount; ++slice) {
            const char* const from = static_cast<const char*>(slices[slice]) + at;
            if (bytes - at < kBlock) {
                rest += stream(from, bytes - at);
                continue;
            }
            for (std::size_t line = 0; line < kBlock; line += 64) {
                _mm_prefetch(from + line + kAhead, _MM_HINT_T0);
                const auto* const p = reinterpret_cast<const __m256i*>(from + line);
                sum[line / 64] = _mm256_add_epi64(sum[line / 64], _mm256_loadu_si256(p));
                sum[line / 64] = _mm256_add_epi64(sum[line / 64], _mm256_loadu_si256(p + 1));
            }
        }
    }
    const __m256i all = _mm256_add_epi64(_mm256_add_epi64(sum[0], sum[1]), _mm256_add_epi64(sum[2], sum[3]));
    return rest + total(_mm_add_epi64(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1)));
}

std::uint64_t copy_plane_16(const LoadWalk& walk, short* output) {
    const bool rows = walk.columnStep[0] == 1 << 18 && walk.columnStep[1] == 0 && walk.columnStep[2] == 0;
    for (int row = 0; row < walk.rows; ++row, output += walk.columns) {
        std::int32_t p[3];
        for (int k = 0; k < 3; ++k) p[k] = plus(walk.first[k], times(walk.rowStep[k], row));
        for (int column = 0; column < (rows ? 1 : walk.columns); ++column) {
            const auto* const slice = static_cast<const short*>(walk.slices[p[2] >> 18]);
            const short* const from = slice + (p[1] >> 18) * std::ptrdiff_t{walk.sourceWidth} + (p[0] >> 18);
            if (rows) {
                std::memcpy(output, from, static_cast<std::size_t>(walk.columns) * sizeof(short));
            } else {
                output[column] = *from;
            }
            for (int k = 0; k < 3; ++k) p[k] = plus(p[k], walk.columnStep[k]);
        }
    }
    return reinterpret_cast<std::uintptr_t>(output);
}

void keep(std::uint64_t number) {
    asm volatile("" : : "r"(number) : "memory");
}

}  // namespace rz_bench
