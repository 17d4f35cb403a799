#include "bench/jobs/curved/curved.h"

namespace rz_bench {

std::vector<Case> curved_cases(Volume& volume) {
    using Type = RZ_OBL_RenditionType;
    struct Variant {
        const char* name;
        float halfThickness;
        Type type;
    };
    std::vector<Case> cases;
    for (const Variant& variant :
         {Variant{"plane", 0.0F, Type::Average}, Variant{"slab of 21, mean", 10.99F, Type::Average},
          Variant{"slab of 21, maximum", 10.99F, Type::Maximum}}) {
        const float half = variant.halfThickness;
        const Type type = variant.type;
        Case c;
        c.job = "curved";
        c.name = variant.name;
        c.volume = volume.name;
        c.work = half > 0.0F ? "512 x 512 x 21" : "512 x 512";
        c.samples = Sheet(volume, half, type).samples();
        // our positions add up in single precision along a line: up to a tenth of a sample off at its end
        c.tolerance = half > 0.0F ? Tolerance{60.0, 1.5, 0.0} : Tolerance{8.0, 0.6, 0.0};
        c.coverage = 0.999;
        c.reference = [&volume, half, type](const Picture& ours) {
            return curved_reference(volume, half, type, ours);
        };
        c.contenders.push_back([&volume, half, type] { return curved_ours(volume, half, type); });
#ifdef RZ_BENCH_PEERS
        c.contenders.push_back([&volume, half, type] { return curved_vtk(volume, half, type); });
        c.contenders.push_back([&volume, half, type] { return curved_itk(volume, half, type); });
#endif
        c.contenders.push_back([&volume, half, type] { return curved_floor(volume, half, type); });
        cases.push_back(c);
    }
    return cases;
}

}  // namespace rz_bench
