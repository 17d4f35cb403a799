#include <dlfcn.h>
#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"

// Static objects are released at exit in the reverse order in which they were registered. This program stands
// in for the registration, so that it sees the order.

namespace {

constexpr int kMost = 4096;
const void* g_registered[kMost];
int g_count = 0;

int registrationOf(const void* object) {
    for (int i = 0; i < g_count; ++i) {
        if (g_registered[i] == object) return i;
    }
    return -1;
}

}  // namespace

extern "C" int __cxa_atexit(void (*release)(void*), void* object, void* library) {
    using Register = int (*)(void (*)(void*), void*, void*);
    static const auto next = reinterpret_cast<Register>(dlsym(RTLD_NEXT, "__cxa_atexit"));
    if (g_count < kMost) g_registered[g_count++] = object;
    return next(release, object, library);
}

namespace {

TEST(LoadOrder, processor_record_comes_first_and_weight_table_second) {
    const int features = registrationOf(&rz_obl::g_cpuFeatures);
    const int table = registrationOf(&rz_obl::g_cubicWeightTable);
    ASSERT_GE(features, 0) << "not registered for release";
    ASSERT_GE(table, 0) << "not registered for release";
    EXPECT_EQ(table, features + 1);
}

}  // namespace
