#include "tests/services/voldata_recorder.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "lower/pager/mem_pager.h"
#include "lower/volume/slice.h"
#include "rz_obl/rendition.h"

namespace rz_test {

VoldataRecorder& voldata_recorder() {
    static VoldataRecorder recorder;
    return recorder;
}

namespace {

void note(const std::string& event) {
    if (voldata_recorder().active) voldata_recorder().events.push_back(event);
}

std::string hex(float x) {
    char text[32];
    std::snprintf(text, sizeof text, "%a", static_cast<double>(x));
    return text;
}

/// A handle that tells of its end.
class Handle : public MEM_MemPager {
  public:
    ~Handle() override { note("handle destroyed"); }
    static void operator delete(void*) { note("with the deleting flag"); }
};

MEM_MemPager* new_handle() {
    alignas(Handle) static unsigned char storage[sizeof(Handle)];
    return ::new (storage) Handle;
}

}  // namespace
}  // namespace rz_test

// The wrapped functions. Members take their object as first argument.

using rz_test::note;
using rz_test::voldata_recorder;

// clang-format off
bool real_map(RZ_Slice**, int, MEM_PagerInfo**, bool, bool)
    __asm__("__real__ZN14RZ_SliceVector13MapRZSliceVecEPP8RZ_SliceiPP13MEM_PagerInfobb");
bool wrap_map(RZ_Slice**, int, MEM_PagerInfo**, bool, bool)
    __asm__("__wrap__ZN14RZ_SliceVector13MapRZSliceVecEPP8RZ_SliceiPP13MEM_PagerInfobb");
bool real_unmap(RZ_Slice**, int, MEM_PagerInfo**, bool)
    __asm__("__real__ZN14RZ_SliceVector15UnMapRZSliceVecEPP8RZ_SliceiPP13MEM_PagerInfob");
bool wrap_unmap(RZ_Slice**, int, MEM_PagerInfo**, bool)
    __asm__("__wrap__ZN14RZ_SliceVector15UnMapRZSliceVecEPP8RZ_SliceiPP13MEM_PagerInfob");
MEM_MemPager* real_handle() __asm__("__real__ZN12MEM_MemPager14GetHandleForMPEv");
MEM_MemPager* wrap_handle() __asm__("__wrap__ZN12MEM_MemPager14GetHandleForMPEv");
int real_allocate(MEM_MemPager*, unsigned, MEM_PagerInfo*, int)
    __asm__("__real__ZN12MEM_MemPager8AllocateEjP13MEM_PagerInfoi");
int wrap_allocate(MEM_MemPager*, unsigned, MEM_PagerInfo*, int)
    __asm__("__wrap__ZN12MEM_MemPager8AllocateEjP13MEM_PagerInfoi");
int real_block_unmap(MEM_PagerInfo*) __asm__("__real__ZN13MEM_PagerInfo5UnmapEv");
int wrap_block_unmap(MEM_PagerInfo*) __asm__("__wrap__ZN13MEM_PagerInfo5UnmapEv");
void real_fill(unsigned short*, long long, unsigned short) __asm__("__real__Z14RZ_FillMemWordPtxt");
void wrap_fill(unsigned short*, long long, unsigned short) __asm__("__wrap__Z14RZ_FillMemWordPtxt");
int real_plane(RZ_ShortSlice**, const RZ_Box&, const RZ_BoxParams&, RZ_PlaneParams, const RZ_BoxParams*, short*,
               const RZ_Box&, int*, int*, int*, int*, int, int, RZ_OBL_RenditionQuality, float,
               RZ_OBL_RenditionType, bool, int)
    __asm__("__real__Z14RZ_CalcObliquePP13RZ_ShortSliceRK6RZ_BoxRK12RZ_BoxParams14RZ_PlaneParamsPS6_PsS4_PiSB_SB_SB_ii23RZ_OBL_RenditionQualityf20RZ_OBL_RenditionTypebi");
int wrap_plane(RZ_ShortSlice**, const RZ_Box&, const RZ_BoxParams&, RZ_PlaneParams, const RZ_BoxParams*, short*,
               const RZ_Box&, int*, int*, int*, int*, int, int, RZ_OBL_RenditionQuality, float,
               RZ_OBL_RenditionType, bool, int)
    __asm__("__wrap__Z14RZ_CalcObliquePP13RZ_ShortSliceRK6RZ_BoxRK12RZ_BoxParams14RZ_PlaneParamsPS6_PsS4_PiSB_SB_SB_ii23RZ_OBL_RenditionQualityf20RZ_OBL_RenditionTypebi");
// clang-format on

bool wrap_map(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool a, bool b) {
    note("map " + std::to_string(count) + (infos || a || b ? " odd arguments" : ""));
    return real_map(slices, count, infos, a, b);
}

bool wrap_unmap(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool a) {
    note("unmap " + std::to_string(count) + (infos || a ? " odd arguments" : ""));
    return real_unmap(slices, count, infos, a);
}

MEM_MemPager* wrap_handle() {
    note("handle");
    return voldata_recorder().active ? rz_test::new_handle() : real_handle();
}

int wrap_allocate(MEM_MemPager* pager, unsigned bytes, MEM_PagerInfo* info, int alignment) {
    note("allocate " + std::to_string(bytes) + (alignment == 16 ? "" : " odd arguments"));
    auto& recorder = voldata_recorder();
    if (recorder.active && recorder.granted == 0) return -1;
    if (recorder.active && recorder.granted > 0) --recorder.granted;
    const int result = real_allocate(pager, bytes, info, alignment);
    if (result != -1 && recorder.active)
        std::fill_n(static_cast<short*>(info->Ptr()), bytes / sizeof(short), recorder.fresh);
    return result;
}

int wrap_block_unmap(MEM_PagerInfo* info) {
    note("unmap block");
    return real_block_unmap(info);
}

void wrap_fill(unsigned short* destination, long long count, unsigned short value) {
    note("fill " + std::to_string(count) + (value == 0 ? "" : " odd arguments"));
    real_fill(destination, count, value);
}

int wrap_plane(RZ_ShortSlice** slices, const RZ_Box& volumeBox, const RZ_BoxParams& volumeParams,
               RZ_PlaneParams plane, const RZ_BoxParams* clipParams, short* output, const RZ_Box& outputBox,
               int* firstRow, int* lastRow, int* firstColumn, int* lastColumn, int first, int last,
               RZ_OBL_RenditionQuality quality, float halfThickness, RZ_OBL_RenditionType type, bool isSigned,
               int bitDepth) {
    auto& recorder = voldata_recorder();
    if (recorder.active) {
        const bool usual = quality == RZ_OBL_RenditionQuality::Linear && isSigned && bitDepth == 12;
        note("plane " + std::to_string(first) + ".." + std::to_string(last) + " half " +
             rz_test::hex(halfThickness) + " type " + std::to_string(static_cast<int>(type)) +
             (usual ? "" : " odd arguments"));
        rz_test::PlaneCall call;
        call.slices = slices;
        call.volumeBox = &volumeBox;
        call.volumeParams = &volumeParams;
        call.clippedByOutput = clipParams == &outputBox.params;
        call.raster.assign(output, output + outputBox.xDim * outputBox.yDim);
        call.plane = plane;
        recorder.planes.push_back(call);
        // Nobody reads the bounds, but each one needs its place.
        for (int* bound : {firstRow, lastRow, firstColumn, lastColumn}) *bound = 0;
        if (recorder.planeThrows) throw std::bad_alloc();
    }
    return real_plane(slices, volumeBox, volumeParams, plane, clipParams, output, outputBox, firstRow,
                      lastRow, firstColumn, lastColumn, first, last, quality, halfThickness, type, isSigned,
                      bitDepth);
}
