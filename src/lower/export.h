#pragma once

// Marks what the lower library exports; everything else stays hidden.
#if defined(RZ_LOWER_BUILD)
#define RZ_LOWER_API __attribute__((visibility("default")))
#else
#define RZ_LOWER_API
#endif
