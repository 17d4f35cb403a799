#pragma once

// Marks what RZ_Obl exports; everything else stays hidden.
#if defined(RZ_OBL_BUILD)
#define RZ_OBL_API __attribute__((visibility("default")))
#else
#define RZ_OBL_API
#endif
