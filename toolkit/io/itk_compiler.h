#pragma once

// Debian's ITK refuses every compiler but the one it was built with, though its headers are good for both. Included
// before everything else in files that use ITK (see rzobl_itk), this lets clang++ answer the one question as g++.
#if defined(__clang__)
#pragma GCC system_header
#pragma push_macro("__clang__")
#pragma push_macro("__GNUC__")
#undef __clang__
#undef __GNUC__
#define __GNUC__ 12
#include <itk_compiler_detection.h>
#pragma pop_macro("__GNUC__")
#pragma pop_macro("__clang__")
#endif
