#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "bench/floor/loads.h"
#include "bench/jobs/weights/weights.h"
#include "rz_obl/RZ_OBLplanar/weights/cubic_weight_table.h"
#include "tests/reference/cubic_weights.h"

namespace rz_bench {
namespace {

using rz_obl::CubicWeightTable;

// Every seventh entry, each with all of its weights.
std::string compare_entries(const Picture& ours) {
    rz_test::Branches branches;
    for (int entry = 0; entry < 64 * 64 * 64; entry += 7) {
        short want[64];
        rz_reference::cubic_entry(entry >> 12, (entry >> 6) & 63, entry & 63, want, branches);
        for (int i = 0; i < 64; ++i) {
            if (ours[static_cast<std::size_t>(entry) * 64 + static_cast<std::size_t>(i)] !=
                static_cast<float>(want[i]))
                throw std::runtime_error("our table differs from the plain one in entry " +
                                         std::to_string(entry));
        }
    }
    return "equal to the plain entries, every seventh compared";
}

}  // namespace

std::vector<Case> weights_cases() {
    Case c;
    c.job = "weights";
    c.name = "table of cubic weights";
    c.volume = "none";
    c.work = "262144 entries of 128 bytes";
    c.samples = 64.0 * 64 * 64;
    c.reference = compare_entries;
    c.contenders.push_back([] {
        const auto table = std::make_shared<std::unique_ptr<CubicWeightTable>>();
        Contender ours;
        ours.name = "ours";
        ours.prepare = [table](int) { *table = std::make_unique<CubicWeightTable>(); };
        ours.run = [table](int) { rz_obl::build_weight_table(**table); };
        ours.picture = [table](int) {
            const short* const weights = (*table)->weights;
            return Picture(weights, weights + CubicWeightTable::kBytes / 2);
        };
        return ours;
    });
    c.contenders.push_back([] {
        Contender floor;
        floor.name = "floor";
        // its memory, had anew and written once
        floor.run = [](int) {
            void* const memory = std::malloc(CubicWeightTable::kBytes);
            std::memset(memory, 1, CubicWeightTable::kBytes);
            keep(reinterpret_cast<std::uintptr_t>(memory));
            std::free(memory);
        };
        return floor;
    });
    return {c};
}

}  // namespace rz_bench
