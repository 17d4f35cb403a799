#include "tests/kernels/selection_recorder.h"

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_test {

std::vector<KernelCall>& kernel_calls() {
    static std::vector<KernelCall> calls;
    return calls;
}

namespace {

template <class Sample, class Step>
void note(const char* kernel, const rz_obl::scan_args<Sample, Step>& a, int fast = -1) {
    kernel_calls().push_back({kernel,
                              a.quality,
                              a.columnStep,
                              a.slabStep,
                              a.output,
                              a.slices,
                              a.rowSpans,
                              a.planeToIndex,
                              {a.firstRow, a.lastRow, a.firstColumn, a.lastColumn},
                              a.rowCount,
                              a.rowStride,
                              a.slabSteps,
                              a.sourceWidth,
                              a.sourceHeight,
                              a.isSigned,
                              a.bitDepth,
                              {static_cast<double>(a.slabStep[0]), static_cast<double>(a.slabStep[1]),
                               static_cast<double>(a.slabStep[2])},
                              fast});
}

}  // namespace
}  // namespace rz_test

using rz_obl::scan_args_16;
using rz_obl::scan_args_32;
using rz_obl::scan_args_8;

#define RZ_KERNEL(name, mangled, type)                             \
    void wrap_##name(const type& args) __asm__("__wrap_" mangled); \
    void wrap_##name(const type& args) {                           \
        rz_test::note(#name, args);                                \
    }

#define RZ_KERNEL_FAST(name, mangled)                                                 \
    void wrap_##name(const scan_args_16& args, bool fast) __asm__("__wrap_" mangled); \
    void wrap_##name(const scan_args_16& args, bool fast) {                           \
        rz_test::note(#name, args, fast ? 1 : 0);                                     \
    }

RZ_KERNEL(scan_linear, "_ZN6rz_obl11scan_linearERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_linear_avx2, "_ZN6rz_obl16scan_linear_avx2ERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_semicubic_x, "_ZN6rz_obl16scan_semicubic_xERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_semicubic_y, "_ZN6rz_obl16scan_semicubic_yERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_semicubic_z, "_ZN6rz_obl16scan_semicubic_zERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_semicubic_x_avx2, "_ZN6rz_obl21scan_semicubic_x_avx2ERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_semicubic_y_avx2, "_ZN6rz_obl21scan_semicubic_y_avx2ERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_semicubic_z_avx2, "_ZN6rz_obl21scan_semicubic_z_avx2ERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_cubic_sse, "_ZN6rz_obl14scan_cubic_sseERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_cubic_avx2, "_ZN6rz_obl15scan_cubic_avx2ERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_tricubic, "_ZN6rz_obl13scan_tricubicERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL(scan_tricubic_avx2, "_ZN6rz_obl18scan_tricubic_avx2ERKNS_9scan_argsIsiEE", scan_args_16)
RZ_KERNEL_FAST(scan_max_plane_major_avx2, "_ZN6rz_obl25scan_max_plane_major_avx2ERKNS_9scan_argsIsiEEb")
RZ_KERNEL_FAST(scan_max_pixel_major_avx2, "_ZN6rz_obl25scan_max_pixel_major_avx2ERKNS_9scan_argsIsiEEb")
RZ_KERNEL_FAST(scan_min_plane_major_avx2, "_ZN6rz_obl25scan_min_plane_major_avx2ERKNS_9scan_argsIsiEEb")
RZ_KERNEL_FAST(scan_min_pixel_major_avx2, "_ZN6rz_obl25scan_min_pixel_major_avx2ERKNS_9scan_argsIsiEEb")
RZ_KERNEL_FAST(scan_max_plane_major, "_ZN6rz_obl20scan_max_plane_majorERKNS_9scan_argsIsiEEb")
RZ_KERNEL_FAST(scan_max_pixel_major, "_ZN6rz_obl20scan_max_pixel_majorERKNS_9scan_argsIsiEEb")
RZ_KERNEL_FAST(scan_min_plane_major, "_ZN6rz_obl20scan_min_plane_majorERKNS_9scan_argsIsiEEb")
RZ_KERNEL_FAST(scan_min_pixel_major, "_ZN6rz_obl20scan_min_pixel_majorERKNS_9scan_argsIsiEEb")
RZ_KERNEL(scan_linear_8bits, "_ZN6rz_obl17scan_linear_8bitsERKNS_9scan_argsIhfEE", scan_args_8)
RZ_KERNEL(scan_max_linear_8bits, "_ZN6rz_obl21scan_max_linear_8bitsERKNS_9scan_argsIhfEE", scan_args_8)
RZ_KERNEL(scan_min_linear_8bits, "_ZN6rz_obl21scan_min_linear_8bitsERKNS_9scan_argsIhfEE", scan_args_8)
RZ_KERNEL(scan_linear_8bits_avx2, "_ZN6rz_obl22scan_linear_8bits_avx2ERKNS_9scan_argsIhfEE", scan_args_8)
RZ_KERNEL(scan_max_linear_8bits_avx2, "_ZN6rz_obl26scan_max_linear_8bits_avx2ERKNS_9scan_argsIhfEE",
          scan_args_8)
RZ_KERNEL(scan_min_linear_8bits_avx2, "_ZN6rz_obl26scan_min_linear_8bits_avx2ERKNS_9scan_argsIhfEE",
          scan_args_8)
RZ_KERNEL(scan_linear_32bits_avx2, "_ZN6rz_obl23scan_linear_32bits_avx2ERKNS_9scan_argsIjfEE", scan_args_32)
RZ_KERNEL(scan_linear_32bits, "_ZN6rz_obl18scan_linear_32bitsERKNS_9scan_argsIjfEE", scan_args_32)
RZ_KERNEL(scan_cubic_32bits, "_ZN6rz_obl17scan_cubic_32bitsERKNS_9scan_argsIjfEE", scan_args_32)
RZ_KERNEL(scan_cubic_32bits_avx2, "_ZN6rz_obl22scan_cubic_32bits_avx2ERKNS_9scan_argsIjfEE", scan_args_32)
